// Resampling kernels: nearest-pixel sampling, and coverage resampling (box average when an
// axis shrinks, 2-tap linear or 4-tap cubic B-spline when it grows) driven by streamed
// integer filter tables. Pure functions over pixel arrays; no interfaces.
#pragma once

#include <cstdint>
#include <vector>

#include "frame/host.h"

namespace zt::resample {

// ---- filter tables (streams read front to back together with the source samples)

// Enlarging, 2 taps: [count k=0, w...] [count, w...]... 0. Weight is the share of source k + 1.
std::vector<uint32_t> LinearTable(uint32_t aS, uint32_t aD);
// Enlarging, 4 taps per target; a 0 before a count: no pixel is left to fetch, repeat the last.
std::vector<uint32_t> CubicTable(uint32_t aS, uint32_t aD);
// The four B-spline weights of one target index (before streaming), for tests.
void CubicWeights(uint32_t aS, double aPos, uint32_t aW[4]);
// Shrinking: records (n, wFirst, wLast, total) with n > 0, or (0, w). No closing entry.
std::vector<uint32_t> ReductionTable(uint32_t aS, uint32_t aD);

enum class EFilter { none, linear, cubic, reduction };
// Which filter an axis takes; S = 1 or S = D need none.
EFilter ChooseFilter(uint32_t aS, uint32_t aD, bool aCubic);

// ---- gamma tables of one resampling

struct SGammaTables {
    uint16_t toLinear[256];
    std::vector<uint8_t> toGamma;  // 65536 + 16 guard entries of 255
};
// True when the gamma is worth tables: not 1 and strictly inside (0.1, 10).
bool UsesGamma(float aGamma);
void MakeGammaTables(float aGamma, SGammaTables& aTables);

// Resamples a whole image of aSourceSize (pixel step 1, row step aSourceRow) into aTargetSize
// (pixel step 1, row step aTargetRow). aGamma null: the plain path. Throws std::bad_alloc.
void Resample(const TPixelChannel* aSource, TImageSize aSourceSize, uint32_t aSourceRow, TPixelChannel* aTarget,
              TImageSize aTargetSize, uint32_t aTargetRow, bool aCubic, const SGammaTables* aGamma);

// Moves a rectangle between arrays placed on the canvas, filling what the source does not
// cover with aDefault.
void CopyWithBorder(const TPixelChannel* aSource, TImagePoint aSourceOrigin, TImageSize aSourceSize,
                    TImageStride aSourceStride, TPixelChannel* aTarget, TImagePoint aTargetOrigin,
                    TImageSize aTargetSize, TImageStride aTargetStride, TPixelChannel aDefault);

// ---- the two ProcessTile bodies

HRESULT NearestProcessTile(const TPixelChannel* aDefault, const TMatrix3x3f* aMatrix, const TPixelChannel* aSource,
                           TImagePoint aSourceOrigin, TImageSize aSourceSize, TImageStride aSourceStride,
                           TPixelChannel* aTarget, TImagePoint aTargetOrigin, TImageSize aTargetSize,
                           TImageStride aTargetStride);

struct SCoverageSetup {
    TImageSize sourceSize;  // the whole image before scaling
    TImageSize targetSize;  // the scaled image (not the canvas)
    bool cubic;
};
HRESULT CoverageProcessTile(const SCoverageSetup& aSetup, uint32_t aChannelCount, float aGamma,
                            const TPixelChannel* aDefault, const TMatrix3x3f* aMatrix, const TPixelChannel* aSource,
                            TImagePoint aSourceOrigin, TImageSize aSourceSize, TImageStride aSourceStride,
                            TPixelChannel* aTarget, TImagePoint aTargetOrigin, TImageSize aTargetSize,
                            TImageStride aTargetStride);

}  // namespace zt::resample
