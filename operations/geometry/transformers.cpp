#include "operations/geometry/transformers.h"

#include "frame/boundary.h"
#include "operations/geometry/transform_kernels.h"

namespace zt {

#define ZT_TILE_ARGS                                                                                              \
    uint32_t aChannelCount, float aGamma, const TPixelChannel *aDefault, const TMatrix3x3f *aMatrix,               \
        const TPixelChannel *aSource, TImagePoint aSourceOrigin, TImageSize aSourceSize, TImageStride aSourceStride, \
        TPixelChannel *aTarget, TImagePoint aTargetOrigin, TImageSize aTargetSize, TImageStride aTargetStride

HRESULT CResamplingHelperNearest::ProcessTile(ZT_TILE_ARGS) {
    return GuardEntry([&] {
        return resample::NearestProcessTile(aDefault, aMatrix, aSource, aSourceOrigin, aSourceSize, aSourceStride,
                                            aTarget, aTargetOrigin, aTargetSize, aTargetStride);
    });
}

HRESULT CResamplingHelperCoverage::ProcessTile(ZT_TILE_ARGS) {
    return GuardEntry([&] {
        return resample::CoverageProcessTile(setup_, aChannelCount, aGamma, aDefault, aMatrix, aSource, aSourceOrigin,
                                             aSourceSize, aSourceStride, aTarget, aTargetOrigin, aTargetSize,
                                             aTargetStride);
    });
}

HRESULT CTransformHelperRotate::ProcessTile(ZT_TILE_ARGS) {
    return GuardEntry([&] {
        return transform::RotateProcessTile(aGamma, aDefault, aMatrix, aSource, aSourceOrigin, aSourceSize,
                                            aSourceStride, aTarget, aTargetOrigin, aTargetSize, aTargetStride);
    });
}

HRESULT CTransformHelperTransform::ProcessTile(ZT_TILE_ARGS) {
    return GuardEntry([&] {
        return transform::TransformProcessTile(aGamma, aDefault, aMatrix, aSource, aSourceOrigin, aSourceSize,
                                               aSourceStride, aTarget, aTargetOrigin, aTargetSize, aTargetStride);
    });
}

HRESULT CStackTransformHelper::ProcessTile(ZT_TILE_ARGS) {
    return GuardEntry([&] {
        return transform::TransformProcessTile(aGamma, aDefault, aMatrix, aSource, aSourceOrigin, aSourceSize,
                                               aSourceStride, aTarget, aTargetOrigin, aTargetSize, aTargetStride);
    });
}

#undef ZT_TILE_ARGS

}  // namespace zt
