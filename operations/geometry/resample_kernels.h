// Resampling kernels: nearest-pixel sampling, and coverage resampling (box average when an
// axis shrinks, 2-tap linear or 4-tap cubic B-spline when it grows) driven by streamed
// integer filter tables. Pure functions over pixel regions; no interfaces.
#pragma once

#include <cstdint>
#include <vector>

#include "frame/host.h"
#include "pixel/region.h"

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

// One target's taps as a table gives them: count 2 or 4 sources index[j] with weight[j] (in
// 1/256); or, count 0, a span when shrinking: source index[0] with weight[0], then mids
// sources from mid on (each clamped, weight 256), then source index[1] with weight[1], all
// over total.
struct STaps {
    uint32_t count;
    uint32_t index[4];
    uint32_t weight[4];
    uint32_t mids, mid, total;
};

// The one reader of the filter tables: walks a table front to back, one target at a time,
// keeping the window of sources the stream moves along. Stops at the table's end whatever
// the table holds.
class CFilterReader {
public:
    CFilterReader(EFilter aFilter, const std::vector<uint32_t>& aTable, uint32_t aSources);
    // The next target's taps; false at the end. F is the table's filter, fixed at compile
    // time so that the passes' loops know their tap counts.
    template <EFilter F>
    bool Next(STaps& aTaps);
    // A source index held to the last source.
    uint32_t Clamp(uint32_t aIndex) const { return aIndex < last_ ? aIndex : last_; }

private:
    const uint32_t* t_;
    const uint32_t* end_;
    uint32_t last_;
    uint32_t next_;      // the next source to enter the window
    uint32_t left_ = 0;  // targets left in the current group
    bool first_ = true;
    uint32_t window_[4] = {0, 0, 0, 0};
};

template <EFilter F>
inline bool CFilterReader::Next(STaps& aTaps) {
    if constexpr (F == EFilter::linear) {
        if (left_ == 0) {
            if (t_ >= end_ || (left_ = *t_++) == 0) return false;
            window_[0] = window_[1];
            window_[1] = Clamp(next_++);
        }
        if (t_ >= end_) return false;
        --left_;
        aTaps.count = 2;
        aTaps.index[0] = window_[0];
        aTaps.index[1] = window_[1];
        aTaps.weight[1] = *t_++;
        aTaps.weight[0] = 256 - aTaps.weight[1];
        return true;
    } else if constexpr (F == EFilter::cubic) {
        if (left_ == 0) {
            if (t_ >= end_) return false;
            // A 0 before a count: the window's last source stays (nothing is left to fetch).
            bool repeat = false;
            if ((left_ = *t_++) == 0) {
                repeat = true;
                if (t_ >= end_ || (left_ = *t_++) == 0) return false;
            }
            if (first_) {
                window_[0] = window_[1] = 0;
                window_[2] = 1;
                window_[3] = repeat ? 1 : Clamp(2);
                first_ = false;
            } else {
                window_[0] = window_[1];
                window_[1] = window_[2];
                window_[2] = window_[3];
                if (!repeat) window_[3] = Clamp(next_++);
            }
        }
        if (end_ - t_ < 4) return false;
        --left_;
        aTaps.count = 4;
        for (int j = 0; j < 4; ++j) {
            aTaps.index[j] = window_[j];
            aTaps.weight[j] = *t_++;
        }
        return true;
    } else if constexpr (F == EFilter::reduction) {
        if (t_ >= end_) return false;
        const uint32_t n = *t_++;
        if (n) {
            if (end_ - t_ < 3) return false;
            aTaps.count = 0;
            aTaps.index[0] = window_[0];
            aTaps.weight[0] = t_[0];
            aTaps.weight[1] = t_[1];
            aTaps.total = t_[2];
            t_ += 3;
            aTaps.mids = n;
            aTaps.mid = next_;
            next_ += n;
            aTaps.index[1] = window_[0] = Clamp(next_++);
        } else {
            if (t_ >= end_) return false;
            aTaps.count = 2;
            aTaps.index[0] = window_[0];
            aTaps.index[1] = window_[0] = Clamp(next_++);
            aTaps.weight[0] = *t_++;
            aTaps.weight[1] = 256 - aTaps.weight[0];
        }
        return true;
    } else {
        return false;
    }
}

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

// Moves a region into another placed on the canvas, filling what the source does not cover
// with aFill.
void CopyWithBorder(const SSourcePixels& aSource, const STargetPixels& aTarget, TPixelChannel aFill);

// ---- the tiles (the checks of the tile contract are the caller's)

// Nearest pixel: the source step per target pixel in 2^-28 pixel, from the axis scales of the
// matrix. A step of 0 or less cannot be walked.
struct SNearestSteps {
    int64_t x, y;
};
SNearestSteps NearestSteps(const TMatrix3x3f& aMatrix);
void NearestTile(SNearestSteps aSteps, TPixelChannel aFill, const SSourcePixels& aSource, const STargetPixels& aTarget);

// Coverage: the whole image resampled at once when the tile is the whole image at the origin,
// otherwise the tile is placed in a whole image of aFill, resampled, and the target cut out
// at the matrix's translation. Throws std::bad_alloc.
struct SCoverageSetup {
    TImageSize sourceSize;  // the whole image before scaling
    TImageSize targetSize;  // the scaled image (not the canvas)
    bool cubic;
};
void CoverageTile(const SCoverageSetup& aSetup, float aGamma, TPixelChannel aFill, const TMatrix3x3f& aMatrix,
                  const SSourcePixels& aSource, const STargetPixels& aTarget);

}  // namespace zt::resample
