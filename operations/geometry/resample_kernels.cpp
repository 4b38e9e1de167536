#include "operations/geometry/resample_kernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace zt::resample {

// ---------------------------------------------------------------- tables

namespace {
// The clamped position of a target index when enlarging.
struct SPos {
    double pos, c;
    uint32_t k;
};
SPos Position(uint32_t aS, uint32_t aD, uint32_t aI) {
    SPos p;
    p.pos = (aI + 0.5) * aS / aD - 0.5;
    p.c = p.pos < 0 ? 0.0 : (p.pos >= aS - 1.0 ? aS - 1.0001 : p.pos);
    p.k = static_cast<uint32_t>(p.c);
    return p;
}
}  // namespace

std::vector<uint32_t> LinearTable(uint32_t aS, uint32_t aD) {
    std::vector<uint32_t> t;
    t.reserve(2 * size_t(aD) + aS + 2);
    t.push_back(0);  // the count of k = 0, growing below
    size_t countAt = 0;
    uint32_t k = 0;
    for (uint32_t i = 0; i < aD; ++i) {
        const SPos p = Position(aS, aD, i);
        if (p.k != k) {
            k = p.k;
            countAt = t.size();
            t.push_back(0);
        }
        ++t[countAt];
        t.push_back(static_cast<uint32_t>((p.c - p.k) * 256 + 0.5));
    }
    t.push_back(0);
    return t;
}

void CubicWeights(uint32_t aS, double aPos, uint32_t aW[4]) {
    if (aPos < 0) {
        aW[0] = aW[3] = 0;
        aW[2] = static_cast<uint32_t>((aPos + 0.5) * 0.333333333333333 * 256 + 0.499);
        aW[1] = 256 - aW[2];
        return;
    }
    if (aPos >= aS - 1.0) {
        aW[0] = aW[3] = 0;
        aW[1] = static_cast<uint32_t>((aS - 0.5 - aPos) * 0.333333333333333 * 256 + 0.499);
        aW[2] = 256 - aW[1];
        return;
    }
    const double t = aPos - static_cast<uint32_t>(aPos);
    const double u = 1 - t;
    double exact[4] = {
        u * u * u * 0.166666666666666 * 256,
        ((t * 0.5 - 1) * t * t + 0.666666666666666) * 256,
        ((u * 0.5 - 1) * u * u + 0.666666666666666) * 256,
        t * t * t * 0.166666666666666 * 256,
    };
    uint32_t sum = 0;
    for (int j = 0; j < 4; ++j) {
        aW[j] = static_cast<uint32_t>(exact[j]);
        sum += aW[j];
    }
    // Missing units go one at a time to the largest remainder; a raised weight has none left.
    while (sum < 256) {
        double f[4];
        for (int j = 0; j < 4; ++j) f[j] = exact[j] - aW[j];
        int pick;
        if (f[0] > f[1]) {
            if (f[2] > f[3])
                pick = f[2] > f[0] ? 2 : 0;
            else
                pick = f[3] > f[0] ? 3 : 0;
        } else {
            if (f[2] > f[3])
                pick = f[2] > f[1] ? 2 : 1;
            else
                pick = f[3] > f[1] ? 3 : 1;
        }
        ++aW[pick];
        exact[pick] = aW[pick];
        ++sum;
    }
}

std::vector<uint32_t> CubicTable(uint32_t aS, uint32_t aD) {
    std::vector<uint32_t> t;
    t.reserve(4 * size_t(aD) + 3 + aS);
    if (aS == 2) t.push_back(0);  // k starts at S - 2: nothing past source 1 is ever fetched
    t.push_back(0);               // the count of k = 0, growing below
    size_t countAt = t.size() - 1;
    uint32_t k = 0;
    for (uint32_t i = 0; i < aD; ++i) {
        const SPos p = Position(aS, aD, i);
        if (p.k != k) {
            k = p.k;
            if (k == aS - 2) t.push_back(0);
            countAt = t.size();
            t.push_back(0);
        }
        ++t[countAt];
        uint32_t w[4];
        CubicWeights(aS, p.pos, w);
        t.insert(t.end(), w, w + 4);
    }
    t.push_back(0);
    t.push_back(0);
    return t;
}

std::vector<uint32_t> ReductionTable(uint32_t aS, uint32_t aD) {
    std::vector<uint32_t> t;
    t.reserve(4 * size_t(aD));
    uint32_t cur = 0;
    for (uint32_t i = 0; i < aD; ++i) {
        const double lo = double(i) * aS / aD;
        double hi = double(i + 1) * aS / aD;
        if (hi >= aS) hi = aS - 0.0001;
        const uint32_t f = static_cast<uint32_t>(hi);
        if (f > cur + 1) {
            const uint32_t n = f - cur - 1;
            const uint32_t wFirst = static_cast<uint32_t>((std::trunc(lo) + 1 - lo) * 256 + 0.5);
            const uint32_t wLast = static_cast<uint32_t>((hi - f) * 256 + 0.5);
            t.insert(t.end(), {n, wFirst, wLast, n * 256 + wFirst + wLast});
            cur = f;
        } else {
            t.push_back(0);
            t.push_back(static_cast<uint32_t>((f - lo) / (hi - lo) * 256 + 0.5));
            cur = cur + 1;
        }
    }
    return t;
}

EFilter ChooseFilter(uint32_t aS, uint32_t aD, bool aCubic) {
    if (aS == aD || aS == 1) return EFilter::none;
    if (aD < aS) return EFilter::reduction;
    return aCubic ? EFilter::cubic : EFilter::linear;
}

CFilterReader::CFilterReader(EFilter aFilter, const std::vector<uint32_t>& aTable, uint32_t aSources)
    : t_(aTable.data()), end_(aTable.data() + aTable.size()), last_(aSources - 1) {
    // Linear and reduction start with source 0 behind them, cubic with 0, 0, 1 in its window
    // and source 3 the next to enter.
    next_ = aFilter == EFilter::cubic ? 3 : 1;
}

bool UsesGamma(float aGamma) { return aGamma != 1.0f && aGamma > 0.1f && aGamma < 10.0f; }

void MakeGammaTables(float aGamma, SGammaTables& aTables) {
    for (int i = 0; i < 256; ++i)
        aTables.toLinear[i] = static_cast<uint16_t>(std::pow(i / 255.0, double(aGamma)) * 65535 + 0.5);
    aTables.toGamma.assign(65536 + 16, 255);
    const double inverse = 1.0 / aGamma;
    for (int i = 0; i < 65536; ++i)
        aTables.toGamma[i] = static_cast<uint8_t>(std::pow(i / 65535.0, inverse) * 255 + 0.5);
}

// ---------------------------------------------------------------- the two stages

namespace {

// x / d through a reciprocal m = (2^64 - 1) / d + 1: exact while x * d < 2^64 (the error is
// below x / 2^64, less than the 1 / d that separates a quotient from the next), otherwise a
// plain division.
inline uint64_t Reciprocal(uint64_t aD) { return aD > 1 ? UINT64_MAX / aD + 1 : 0; }
inline uint64_t DivideBy(uint64_t aX, uint64_t aD, uint64_t aM) {
    if (aD <= 1 || (static_cast<unsigned __int128>(aX) * aD) >> 64) return aD ? aX / aD : 0;
    return static_cast<uint64_t>((static_cast<unsigned __int128>(aX) * aM) >> 64);
}

// T: accumulator width, 32 bits on the plain path and 64 on the gamma path.
template <class T>
class CCoverage {
public:
    CCoverage(const TPixelChannel* aSource, TImageSize aSourceSize, uint32_t aSourceRow, TPixelChannel* aTarget,
              TImageSize aTargetSize, uint32_t aTargetRow, bool aCubic, const SGammaTables* aGamma)
        : src_(aSource),
          ss_(aSourceSize),
          srow_(aSourceRow),
          dst_(aTarget),
          ds_(aTargetSize),
          drow_(aTargetRow),
          g_(aGamma) {
        fx_ = ChooseFilter(ss_.nX, ds_.nX, aCubic);
        fy_ = ChooseFilter(ss_.nY, ds_.nY, aCubic);
        xt_ = Table(fx_, ss_.nX, ds_.nX);
        yt_ = Table(fy_, ss_.nY, ds_.nY);
        pre_.resize(size_t(ss_.nX) * 4);
        if (g_) gammaMax_ = static_cast<uint32_t>(g_->toGamma.size() - 1);
    }

    void Run() {
        switch (fy_) {
            case EFilter::none: ColumnNone(); break;
            case EFilter::linear: ColumnTaps<EFilter::linear>(); break;
            case EFilter::cubic: ColumnTaps<EFilter::cubic>(); break;
            case EFilter::reduction: ColumnTaps<EFilter::reduction>(); break;
        }
    }

private:
    // Every target row from the row stages that the table of filter F names.
    template <EFilter F>
    void ColumnTaps() {
        constexpr uint32_t kTaps = F == EFilter::cubic ? 4 : 2;
        // Row stages of the last four source rows asked for, by row index: the taps of one
        // target read at most four successive rows, so they never evict each other.
        const size_t len = size_t(ds_.nX) * 4;
        std::vector<T> ring(4 * len);
        uint32_t held[4] = {UINT32_MAX, UINT32_MAX, UINT32_MAX, UINT32_MAX};
        auto row = [&](uint32_t aIndex) -> const T* {
            T* slot = ring.data() + (aIndex & 3) * len;
            if (held[aIndex & 3] != aIndex) {
                RowStage(aIndex, slot);
                held[aIndex & 3] = aIndex;
            }
            return slot;
        };
        std::vector<T> mid;
        std::vector<uint64_t> acc;
        CFilterReader reader(F, yt_, ss_.nY);
        STaps k;
        for (uint32_t y = 0; reader.Next<F>(k); ++y) {
            if (F != EFilter::reduction || k.count) {
                const T* rows[kTaps];
                for (uint32_t j = 0; j < kTaps; ++j) rows[j] = row(k.index[j]);
                OutputColumn(rows, k.weight, int(kTaps), TargetRow(y));
                continue;
            }
            // A span: the first row's product is taken before the last row may take its slot.
            mid.resize(len);
            acc.resize(len);
            const T* first = row(k.index[0]);
            for (size_t i = 0; i < len; ++i) acc[i] = uint64_t(first[i]) * k.weight[0];
            for (uint32_t m = 0; m < k.mids; ++m) {
                RowStage(reader.Clamp(k.mid + m), mid.data());
                for (size_t i = 0; i < len; ++i) acc[i] += uint64_t(mid[i]) << 8;
            }
            const T* last = row(k.index[1]);
            for (size_t i = 0; i < len; ++i) acc[i] += uint64_t(last[i]) * k.weight[1];
            OutputSpan(acc.data(), k.total, TargetRow(y));
        }
    }

    static std::vector<uint32_t> Table(EFilter aFilter, uint32_t aS, uint32_t aD) {
        switch (aFilter) {
            case EFilter::linear: return LinearTable(aS, aD);
            case EFilter::cubic: return CubicTable(aS, aD);
            case EFilter::reduction: return ReductionTable(aS, aD);
            default: return {};
        }
    }

    // ---- row stage: one source row to D_x values of four channels with 8 fraction bits

    void RowStage(uint32_t aY, T* aOut) {
        const TPixelChannel* s = src_ + size_t(aY) * srow_;
        T* p = pre_.data();
        for (uint32_t x = 0; x < ss_.nX; ++x, p += 4) {
            const T a = s[x].bA;
            if (g_) {
                p[0] = T(g_->toLinear[s[x].bB]) * a;
                p[1] = T(g_->toLinear[s[x].bG]) * a;
                p[2] = T(g_->toLinear[s[x].bR]) * a;
            } else {
                p[0] = T(s[x].bB) * a;
                p[1] = T(s[x].bG) * a;
                p[2] = T(s[x].bR) * a;
            }
            p[3] = a;
        }
        const T* pre = pre_.data();
        if (fx_ == EFilter::none) {
            for (uint32_t x = 0; x < ds_.nX; ++x) {
                const T* q = pre + (ss_.nX == 1 ? 0 : size_t(x) * 4);
                for (int c = 0; c < 4; ++c) aOut[4 * size_t(x) + c] = q[c] << 8;
            }
            return;
        }
        switch (fx_) {
            case EFilter::linear: RowTaps<EFilter::linear>(pre, aOut); break;
            case EFilter::cubic: RowTaps<EFilter::cubic>(pre, aOut); break;
            default: RowTaps<EFilter::reduction>(pre, aOut); break;
        }
    }

    // The taps of every target of a row, as the table of filter F gives them.
    template <EFilter F>
    void RowTaps(const T* aPre, T* aOut) const {
        constexpr uint32_t kTaps = F == EFilter::cubic ? 4 : 2;
        CFilterReader reader(F, xt_, ss_.nX);
        STaps k;
        for (T* o = aOut; reader.Next<F>(k); o += 4) {
            if (F != EFilter::reduction || k.count) {
                const T* p0 = aPre + 4 * size_t(k.index[0]);
                for (int c = 0; c < 4; ++c) o[c] = p0[c] * T(k.weight[0]);
                for (uint32_t j = 1; j < kTaps; ++j) {
                    const T* pj = aPre + 4 * size_t(k.index[j]);
                    for (int c = 0; c < 4; ++c) o[c] += pj[c] * T(k.weight[j]);
                }
                continue;
            }
            // A span: the sums pass 32 bits for long ones, 64-bit accumulators here.
            const T* first = aPre + 4 * size_t(k.index[0]);
            uint64_t acc[4];
            for (int c = 0; c < 4; ++c) acc[c] = uint64_t(first[c]) * k.weight[0];
            for (uint32_t m = 0; m < k.mids; ++m) {
                const T* mid = aPre + 4 * size_t(reader.Clamp(k.mid + m));
                for (int c = 0; c < 4; ++c) acc[c] += uint64_t(mid[c]) << 8;
            }
            const T* last = aPre + 4 * size_t(k.index[1]);
            for (int c = 0; c < 4; ++c) acc[c] += uint64_t(last[c]) * k.weight[1];
            if (acc[3] == 0) {
                for (int c = 0; c < 4; ++c) o[c] = 0;
            } else {
                const uint64_t total = k.total, m = Reciprocal(total);
                for (int c = 0; c < 4; ++c) o[c] = T(DivideBy((total >> 1) + (acc[c] << 8), total, m));
            }
        }
    }

    // ---- output of one target row

    // Division of the three colour sums by one alpha sum, by one reciprocal: with
    // m = 2^48 / d + 1 the quotient of x is exact while x * d < 2^48, which the sums keep
    // (colour sums below 2^32, alpha sums below 2^17).
    struct SDivider {
        explicit SDivider(uint64_t aD) : m((uint64_t(1) << 48) / aD + 1) {}
        uint64_t operator()(uint64_t aX) const { return static_cast<uint64_t>((aX * m) >> 48); }
        unsigned __int128 m;
    };

    uint8_t Encode(uint64_t aQuotient) const {
        if (g_) return g_->toGamma[std::min<uint64_t>(aQuotient, gammaMax_)];
        return static_cast<uint8_t>(std::min<uint64_t>(aQuotient, 255));
    }

    // A row stage alone: the row values are the sums.
    void OutputRow(const T* aRow, TPixelChannel* aOut) const {
        for (uint32_t x = 0; x < ds_.nX; ++x, aRow += 4) {
            TPixelChannel& px = aOut[x];
            const T A = aRow[3];
            if (A < 256) {
                px.n = 0;
                continue;
            }
            const SDivider div(A);
            if (g_) {
                px.bB = Encode(div(aRow[0] & ~T(255)));
                px.bG = Encode(div(aRow[1] & ~T(255)));
                px.bR = Encode(div(aRow[2] & ~T(255)));
            } else {
                // (C << 8) / (A << 8) is C / A while nothing overflows. Colours can pass the byte
                // where a faint neighbour was cut by the shifts: Encode caps them.
                px.bB = Encode(div(aRow[0]));
                px.bG = Encode(div(aRow[1]));
                px.bR = Encode(div(aRow[2]));
            }
            px.bA = static_cast<uint8_t>(A >> 8);
        }
    }

    // A column stage over aTaps rows with their weights.
    void OutputColumn(const T* const* aRows, const uint32_t* aW, int aTaps, TPixelChannel* aOut) const {
        for (uint32_t x = 0; x < ds_.nX; ++x) {
            const size_t at = 4 * size_t(x);
            T C[3] = {0, 0, 0}, A = 0;
            for (int j = 0; j < aTaps; ++j) {
                const T* r = aRows[j] + at;
                const T w = aW[j];
                C[0] += (r[0] >> 8) * w;
                C[1] += (r[1] >> 8) * w;
                C[2] += (r[2] >> 8) * w;
                A += (g_ ? r[3] : (r[3] >> 8)) * w;
            }
            TPixelChannel& px = aOut[x];
            if (g_) {
                if (A <= 65535) {
                    px.n = 0;
                    continue;
                }
                const SDivider div(A >> 8);
                px.bB = Encode(div(C[0]));
                px.bG = Encode(div(C[1]));
                px.bR = Encode(div(C[2]));
                px.bA = static_cast<uint8_t>(A >> 16);
            } else {
                if (A < 256) {
                    px.n = 0;
                    continue;
                }
                const SDivider div(A);
                px.bB = Encode(div(C[0]));
                px.bG = Encode(div(C[1]));
                px.bR = Encode(div(C[2]));
                px.bA = static_cast<uint8_t>(A >> 8);
            }
        }
    }

    TPixelChannel* TargetRow(uint32_t aY) const { return dst_ + size_t(aY) * drow_; }

    // ---- column stages

    void ColumnNone() {
        std::vector<T> row(size_t(ds_.nX) * 4);
        if (ss_.nY == 1) {
            RowStage(0, row.data());
            for (uint32_t y = 0; y < ds_.nY; ++y) OutputRow(row.data(), TargetRow(y));
            return;
        }
        for (uint32_t y = 0; y < ds_.nY; ++y) {
            RowStage(y, row.data());
            OutputRow(row.data(), TargetRow(y));
        }
    }

    // A column span's sums over its total.
    void OutputSpan(const uint64_t* aAcc, uint64_t aTotal, TPixelChannel* aOut) const {
        const uint64_t totalM = Reciprocal(aTotal);
        for (uint32_t x = 0; x < ds_.nX; ++x) {
            const uint64_t* v = aAcc + 4 * size_t(x);
            TPixelChannel& px = aOut[x];
            const uint64_t alpha = DivideBy(v[3], aTotal, totalM) >> 8;
            if (alpha == 0) {
                px.n = 0;
                continue;
            }
            const uint64_t m = Reciprocal(v[3]);
            px.bB = Encode(DivideBy(v[0], v[3], m));
            px.bG = Encode(DivideBy(v[1], v[3], m));
            px.bR = Encode(DivideBy(v[2], v[3], m));
            px.bA = static_cast<uint8_t>(std::min<uint64_t>(alpha, 255));
        }
    }

    const TPixelChannel* src_;
    TImageSize ss_;
    uint32_t srow_;
    TPixelChannel* dst_;
    TImageSize ds_;
    uint32_t drow_;
    const SGammaTables* g_;
    uint32_t gammaMax_ = 0;
    EFilter fx_, fy_;
    std::vector<uint32_t> xt_, yt_;
    std::vector<T> pre_;
};

}  // namespace

void Resample(const TPixelChannel* aSource, TImageSize aSourceSize, uint32_t aSourceRow, TPixelChannel* aTarget,
              TImageSize aTargetSize, uint32_t aTargetRow, bool aCubic, const SGammaTables* aGamma) {
    if (!aSourceSize.nX || !aSourceSize.nY || !aTargetSize.nX || !aTargetSize.nY) return;
    const EFilter fx = ChooseFilter(aSourceSize.nX, aTargetSize.nX, aCubic);
    const EFilter fy = ChooseFilter(aSourceSize.nY, aTargetSize.nY, aCubic);
    if (fx == EFilter::none && fy == EFilter::none) {
        // A plain copy, replicating a single row or column.
        for (uint32_t y = 0; y < aTargetSize.nY; ++y) {
            const TPixelChannel* s = aSource + uint64_t(y) * aSourceSize.nY / aTargetSize.nY * aSourceRow;
            TPixelChannel* d = aTarget + size_t(y) * aTargetRow;
            for (uint32_t x = 0; x < aTargetSize.nX; ++x) d[x] = s[uint64_t(x) * aSourceSize.nX / aTargetSize.nX];
        }
        return;
    }
    if (aGamma) {
        CCoverage<uint64_t>(aSource, aSourceSize, aSourceRow, aTarget, aTargetSize, aTargetRow, aCubic, aGamma).Run();
    } else {
        CCoverage<uint32_t>(aSource, aSourceSize, aSourceRow, aTarget, aTargetSize, aTargetRow, aCubic, nullptr).Run();
    }
}

// ---------------------------------------------------------------- copying and the entries

void CopyWithBorder(const SSourcePixels& aSource, const STargetPixels& aTarget, TPixelChannel aFill) {
    const int64_t tx0 = aTarget.origin.nX, ty0 = aTarget.origin.nY;
    const int64_t tx1 = tx0 + aTarget.size.nX, ty1 = ty0 + aTarget.size.nY;
    const int64_t sx0 = aSource.origin.nX, sy0 = aSource.origin.nY;
    const int64_t ox0 = std::max(tx0, sx0), oy0 = std::max(ty0, sy0);
    const int64_t ox1 = std::min<int64_t>(tx1, sx0 + aSource.size.nX);
    const int64_t oy1 = std::min<int64_t>(ty1, sy0 + aSource.size.nY);
    const bool overlap = ox0 < ox1 && oy0 < oy1;
    const size_t tStep = aTarget.stride.nX, sStep = aSource.stride.nX;
    for (int64_t y = ty0; y < ty1; ++y) {
        TPixelChannel* d = aTarget.Row(size_t(y - ty0));
        if (!overlap || y < oy0 || y >= oy1) {
            for (int64_t x = 0; x < tx1 - tx0; ++x) d[size_t(x) * tStep] = aFill;
            continue;
        }
        for (int64_t x = tx0; x < ox0; ++x) d[size_t(x - tx0) * tStep] = aFill;
        const TPixelChannel* s = aSource.Row(size_t(y - sy0));
        if (tStep == 1 && sStep == 1) {
            std::memcpy(d + (ox0 - tx0), s + (ox0 - sx0), size_t(ox1 - ox0) * sizeof(TPixelChannel));
        } else {
            for (int64_t x = ox0; x < ox1; ++x) d[size_t(x - tx0) * tStep] = s[size_t(x - sx0) * sStep];
        }
        for (int64_t x = ox1; x < tx1; ++x) d[size_t(x - tx0) * tStep] = aFill;
    }
}

SNearestSteps NearestSteps(const TMatrix3x3f& aMatrix) {
    const float* m = aMatrix.m;
    const float sx = std::sqrt(m[0] * m[0] + m[3] * m[3]);
    const float sy = std::sqrt(m[1] * m[1] + m[4] * m[4]);
    const float one = float(int64_t(1) << 28);
    return {static_cast<int64_t>(double(one / sx) + 0.5), static_cast<int64_t>(double(one / sy) + 0.5)};
}

void NearestTile(SNearestSteps aSteps, TPixelChannel aFill, const SSourcePixels& aSource,
                 const STargetPixels& aTarget) {
    const int64_t one = int64_t(1) << 28, stepX = aSteps.x, stepY = aSteps.y;
    const int64_t xFirst = (int64_t(aSource.origin.nX) * one - 1 + stepX) / stepX;
    const int64_t xEnd = ((int64_t(aSource.origin.nX) + aSource.size.nX) * one - 1 + stepX) / stepX;
    const int64_t yFirst = (int64_t(aSource.origin.nY) * one - 1 + stepY) / stepY;
    const int64_t yEnd = ((int64_t(aSource.origin.nY) + aSource.size.nY) * one - 1 + stepY) / stepY;
    const size_t tStep = aTarget.stride.nX, sStep = aSource.stride.nX;
    for (uint32_t j = 0; j < aTarget.size.nY; ++j) {
        const int64_t y = int64_t(aTarget.origin.nY) + j;
        TPixelChannel* d = aTarget.Row(j);
        if (y < yFirst || y >= yEnd) {
            for (uint32_t i = 0; i < aTarget.size.nX; ++i) d[size_t(i) * tStep] = aFill;
            continue;
        }
        // Centre sampling can land one past the last row or column: keep it on the edge.
        const int64_t sr =
            std::clamp<int64_t>(((y * stepY + stepY / 2) >> 28) - aSource.origin.nY, 0, int64_t(aSource.size.nY) - 1);
        const TPixelChannel* s = aSource.Row(size_t(sr));
        for (uint32_t i = 0; i < aTarget.size.nX; ++i) {
            const int64_t x = int64_t(aTarget.origin.nX) + i;
            if (x < xFirst || x >= xEnd) {
                d[size_t(i) * tStep] = aFill;
                continue;
            }
            const int64_t sc = std::clamp<int64_t>(((x * stepX + stepX / 2) >> 28) - aSource.origin.nX, 0,
                                                   int64_t(aSource.size.nX) - 1);
            d[size_t(i) * tStep] = s[size_t(sc) * sStep];
        }
    }
}

void CoverageTile(const SCoverageSetup& aSetup, float aGamma, TPixelChannel aFill, const TMatrix3x3f& aMatrix,
                  const SSourcePixels& aSource, const STargetPixels& aTarget) {
    const float* m = aMatrix.m;
    SGammaTables tables;
    const SGammaTables* gamma = nullptr;
    if (UsesGamma(aGamma)) {
        MakeGammaTables(aGamma, tables);
        gamma = &tables;
    }
    const TImageSize ss = aSetup.sourceSize, ts = aSetup.targetSize;
    const bool direct = aSource.origin.nX == 0 && aSource.origin.nY == 0 && aSource.size.nX == ss.nX &&
                        aSource.size.nY == ss.nY && aSource.stride.nX == 1 && aTarget.origin.nX == 0 &&
                        aTarget.origin.nY == 0 && aTarget.size.nX == static_cast<uint32_t>(ss.nX * m[0] + 0.5f) &&
                        aTarget.size.nY == static_cast<uint32_t>(ss.nY * m[4] + 0.5f) && aTarget.stride.nX == 1;
    if (direct) {
        Resample(aSource.pixels, aSource.size, aSource.stride.nY, aTarget.pixels, aTarget.size, aTarget.stride.nY,
                 aSetup.cubic, gamma);
        return;
    }
    std::vector<TPixelChannel> whole(size_t(ss.nX) * ss.nY);
    CopyWithBorder(aSource, {whole.data(), {0, 0}, ss, {1, ss.nX}}, aFill);
    std::vector<TPixelChannel> scaled(size_t(ts.nX) * ts.nY);
    Resample(whole.data(), ss, ss.nX, scaled.data(), ts, ts.nX, aSetup.cubic, gamma);
    const TImagePoint at{static_cast<int32_t>(m[6] + 0.5f), static_cast<int32_t>(m[7] + 0.5f)};
    CopyWithBorder({scaled.data(), at, ts, {1, ts.nX}}, aTarget, aFill);
}

}  // namespace zt::resample
