#include "operations/geometry/transformers.h"

#include "frame/boundary.h"
#include "operations/geometry/transform_kernels.h"

namespace zt {

namespace {

// One ProcessTile call, its arrays as regions.
struct STile {
    uint32_t channelCount;
    float gamma;
    const TPixelChannel* fill;
    const TMatrix3x3f* matrix;
    SSourcePixels source;
    STargetPixels target;
};

// The tile contract: every producer needs the default pixel, the matrix and both arrays;
// then aProduce checks what is its own and runs its kernel.
template <class F>
HRESULT Produce(const STile& aTile, F&& aProduce) {
    return GuardEntry([&]() -> HRESULT {
        if (!aTile.fill || !aTile.matrix || !aTile.source.pixels || !aTile.target.pixels) return E_POINTER;
        return aProduce();
    });
}

// A row step shorter than a row would make the target's rows overlap: the array is too small.
bool TargetRowsFit(const STargetPixels& aTarget) {
    return !aTarget.size.nX ||
           (aTarget.stride.nX != 0 && aTarget.stride.nY >= uint64_t(aTarget.size.nX - 1) * aTarget.stride.nX + 1);
}

HRESULT Transform(const STile& t) {
    return Produce(t, [&] {
        transform::TransformTile(t.gamma, *t.fill, *t.matrix, t.source, t.target);
        return S_OK;
    });
}

}  // namespace

#define ZT_TILE_ARGS                                                                                                 \
    uint32_t aChannelCount, float aGamma, const TPixelChannel *aDefault, const TMatrix3x3f *aMatrix,                 \
        const TPixelChannel *aSource, TImagePoint aSourceOrigin, TImageSize aSourceSize, TImageStride aSourceStride, \
        TPixelChannel *aTarget, TImagePoint aTargetOrigin, TImageSize aTargetSize, TImageStride aTargetStride
#define ZT_TILE                                                                                           \
    STile {                                                                                               \
        aChannelCount, aGamma, aDefault, aMatrix, {aSource, aSourceOrigin, aSourceSize, aSourceStride}, { \
            aTarget, aTargetOrigin, aTargetSize, aTargetStride                                            \
        }                                                                                                 \
    }

HRESULT CResamplingHelperNearest::ProcessTile(ZT_TILE_ARGS) {
    const STile t = ZT_TILE;
    return Produce(t, [&] {
        const resample::SNearestSteps steps = resample::NearestSteps(*t.matrix);
        if (steps.x <= 0 || steps.y <= 0) return E_INVALIDARG;
        resample::NearestTile(steps, *t.fill, t.source, t.target);
        return S_OK;
    });
}

HRESULT CResamplingHelperCoverage::ProcessTile(ZT_TILE_ARGS) {
    if (aChannelCount != 1) return E_NOTIMPL;
    const STile t = ZT_TILE;
    return Produce(t, [&] {
        if (!TargetRowsFit(t.target)) return E_FAIL;
        resample::CoverageTile(setup_, t.gamma, *t.fill, *t.matrix, t.source, t.target);
        return S_OK;
    });
}

HRESULT CTransformHelperRotate::ProcessTile(ZT_TILE_ARGS) {
    const STile t = ZT_TILE;
    return Produce(t, [&] {
        transform::RotateTile(t.gamma, *t.fill, *t.matrix, t.source, t.target);
        return S_OK;
    });
}

HRESULT CTransformHelperTransform::ProcessTile(ZT_TILE_ARGS) { return Transform(ZT_TILE); }

HRESULT CStackTransformHelper::ProcessTile(ZT_TILE_ARGS) { return Transform(ZT_TILE); }

#undef ZT_TILE
#undef ZT_TILE_ARGS

}  // namespace zt
