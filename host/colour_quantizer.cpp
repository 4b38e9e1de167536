// The reference host's colour quantiser: a variance-based median cut over a colour
// histogram, refined by a few k-means rounds, with Floyd-Steinberg error diffusion as the
// dithering method. Colours are compared premultiplied (with alpha as a fourth axis), so
// that differences of colour count less the more transparent a pixel is, and every fully
// transparent pixel is one colour.
#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <unordered_map>
#include <vector>

#include "frame/host_quantizer.h"
#include "host/object.h"
#include "host/registry.h"

namespace zthost {
namespace {

struct Vec4 {
    double v[4] = {0, 0, 0, 0};  // premultiplied red, green, blue; alpha; all 0 .. 255
};

Vec4 ToSpace(uint32_t aPixel) {
    const double a = aPixel >> 24, scale = a / 255.0;
    return {{double(aPixel >> 16 & 255) * scale, double(aPixel >> 8 & 255) * scale, double(aPixel & 255) * scale, a}};
}

uint32_t FromSpace(const Vec4& aV) {
    auto byte = [](double x) { return uint32_t(x <= 0 ? 0 : x >= 255 ? 255 : std::lround(x)); };
    const uint32_t a = byte(aV.v[3]);
    if (a == 0) return 0;
    const double unscale = 255.0 / aV.v[3];
    return a << 24 | byte(aV.v[0] * unscale) << 16 | byte(aV.v[1] * unscale) << 8 | byte(aV.v[2] * unscale);
}

double Distance(const Vec4& a, const Vec4& b) {
    double d = 0;
    for (int i = 0; i < 4; ++i) d += (a.v[i] - b.v[i]) * (a.v[i] - b.v[i]);
    return d;
}

// Every transparent pixel is the same colour.
uint32_t Normalize(uint32_t aPixel) { return aPixel >> 24 ? aPixel : 0; }

struct Entry {
    uint32_t color;
    uint64_t count;
    Vec4 position;
};

struct Box {
    size_t begin, end;  // range of entries
    double error;       // weighted squared distance from the mean
    int axis;           // of the largest variance
};

class ColorQuantizer : public IColorQuantizer {
public:
    void* FindInterfaceImpl(const IID& aIID) { return FindInterface<IColorQuantizer, IImageVisitor>(this, aIID); }

    HRESULT Init(uint32_t aColorCount, uint32_t aDitherMethod, uint32_t, uint32_t,
                 const TPixelChannel** aPalette) override {
        if (aColorCount == 0) return E_INVALIDARG;
        limit_ = std::min<uint32_t>(aColorCount, 65536);
        dither_ = aDitherMethod == QUANTIZER_DITHER_DIFFUSION;
        histogram_.clear();
        palette_.clear();
        made_ = false;
        if (aPalette) *aPalette = nullptr;
        palettePointer_ = aPalette;
        return S_OK;
    }

    HRESULT Visit(uint32_t aTileCount, const TImageTile* aTiles, void*) override {
        if (made_) return E_UNEXPECTED;
        try {
            for (uint32_t t = 0; t < aTileCount; ++t) {
                const TImageTile& tile = aTiles[t];
                if (!tile.pData) continue;
                if (tile.nStrideX == 0 && tile.nStrideY == 0) {
                    histogram_[Normalize(tile.pData->n)] += uint64_t(tile.nSizeX) * tile.nSizeY;
                    continue;
                }
                for (uint32_t y = 0; y < tile.nSizeY; ++y) {
                    const TPixelChannel* p = tile.pData + size_t(y) * tile.nStrideY;
                    for (uint32_t x = 0; x < tile.nSizeX; ++x, p += tile.nStrideX) ++histogram_[Normalize(p->n)];
                }
            }
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        return S_OK;
    }

    HRESULT EnumeratePalette(IEnum2UInts* aVisitor) override {
        if (!aVisitor) return E_POINTER;
        HRESULT hr = MakePalette();
        if (FAILED(hr)) return hr;
        std::vector<uint32_t> pairs;
        for (uint32_t i = 0; i < palette_.size(); ++i) {
            pairs.push_back(i);
            pairs.push_back(palette_[i].n);
        }
        return aVisitor->Consume(0, uint32_t(palette_.size()), pairs.data());
    }

    HRESULT Process(const TImagePoint*, const TImageSize* aSize, const TImageStride* aStride, uint32_t aPixelCount,
                    TPixelChannel* aPixels, void*) override {
        if (!aSize || !aPixels) return E_POINTER;
        const uint32_t w = aSize->nX, h = aSize->nY;
        const uint64_t strideX = aStride ? aStride->nX : 1, strideY = aStride ? aStride->nY : w;
        if (w == 0 || h == 0) return S_FALSE;
        // Every pixel the walk touches must lie in the array.
        if ((h - 1) * strideY + (w - 1) * strideX >= aPixelCount) return E_INVALIDARG;
        HRESULT hr = MakePalette();
        if (FAILED(hr)) return hr;
        if (palette_.empty()) return S_FALSE;
        try {
            if (dither_)
                Diffuse(aPixels, w, h, strideX, strideY);
            else
                Map(aPixels, w, h, strideX, strideY);
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        return S_OK;
    }

private:
    HRESULT MakePalette() {
        if (made_) return S_OK;
        try {
            std::vector<Entry> entries;
            entries.reserve(histogram_.size());
            for (const auto& [color, count] : histogram_) entries.push_back({color, count, ToSpace(color)});
            std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.color < b.color; });
            std::vector<Vec4> centres;
            if (entries.size() <= limit_) {
                for (const Entry& e : entries) palette_.push_back(TPixelChannel{{e.color}});
            } else {
                centres = MedianCut(entries);
                Refine(entries, centres);
                for (const Vec4& c : centres) {
                    const uint32_t color = FromSpace(c);
                    if (std::none_of(palette_.begin(), palette_.end(), [&](TPixelChannel p) { return p.n == color; }))
                        palette_.push_back(TPixelChannel{{color}});
                }
            }
            positions_.clear();
            for (TPixelChannel p : palette_) positions_.push_back(ToSpace(p.n));
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        made_ = true;
        if (palettePointer_) *palettePointer_ = palette_.data();
        return S_OK;
    }

    static Box Measure(const std::vector<Entry>& aEntries, size_t aBegin, size_t aEnd) {
        double n = 0, sum[4] = {}, sum2[4] = {};
        for (size_t i = aBegin; i < aEnd; ++i) {
            const double c = double(aEntries[i].count);
            n += c;
            for (int k = 0; k < 4; ++k) {
                sum[k] += c * aEntries[i].position.v[k];
                sum2[k] += c * aEntries[i].position.v[k] * aEntries[i].position.v[k];
            }
        }
        Box box{aBegin, aEnd, 0, 0};
        double best = -1;
        for (int k = 0; k < 4; ++k) {
            const double variance = sum2[k] - sum[k] * sum[k] / n;
            box.error += variance;
            if (variance > best) best = variance, box.axis = k;
        }
        if (aEnd - aBegin < 2) box.error = 0;
        return box;
    }

    // Splits the box of largest error at the weighted median of its widest axis until there
    // are as many boxes as colours allowed.
    std::vector<Vec4> MedianCut(std::vector<Entry>& aEntries) const {
        std::vector<Box> boxes{Measure(aEntries, 0, aEntries.size())};
        while (boxes.size() < limit_) {
            auto it = std::max_element(boxes.begin(), boxes.end(),
                                       [](const Box& a, const Box& b) { return a.error < b.error; });
            if (it->error <= 0) break;
            const Box box = *it;
            const int axis = box.axis;
            std::sort(aEntries.begin() + box.begin, aEntries.begin() + box.end, [axis](const Entry& a, const Entry& b) {
                return a.position.v[axis] < b.position.v[axis] ||
                       (a.position.v[axis] == b.position.v[axis] && a.color < b.color);
            });
            uint64_t total = 0, run = 0;
            for (size_t i = box.begin; i < box.end; ++i) total += aEntries[i].count;
            size_t split = box.begin + 1;
            for (size_t i = box.begin; i + 1 < box.end; ++i) {
                run += aEntries[i].count;
                split = i + 1;
                if (run * 2 >= total) break;
            }
            *it = Measure(aEntries, box.begin, split);
            boxes.push_back(Measure(aEntries, split, box.end));
        }
        std::vector<Vec4> centres;
        for (const Box& box : boxes) {
            Vec4 mean;
            double n = 0;
            for (size_t i = box.begin; i < box.end; ++i) {
                n += double(aEntries[i].count);
                for (int k = 0; k < 4; ++k) mean.v[k] += double(aEntries[i].count) * aEntries[i].position.v[k];
            }
            for (double& v : mean.v) v /= n;
            centres.push_back(mean);
        }
        return centres;
    }

    // A few rounds of k-means over the histogram: each centre moves to the mean of the
    // colours nearest to it.
    static void Refine(const std::vector<Entry>& aEntries, std::vector<Vec4>& aCentres) {
        for (int round = 0; round < 4; ++round) {
            std::vector<Vec4> sums(aCentres.size());
            std::vector<double> counts(aCentres.size(), 0);
            for (const Entry& e : aEntries) {
                const size_t k = Nearest(aCentres, e.position);
                counts[k] += double(e.count);
                for (int i = 0; i < 4; ++i) sums[k].v[i] += double(e.count) * e.position.v[i];
            }
            for (size_t k = 0; k < aCentres.size(); ++k)
                if (counts[k] > 0)
                    for (int i = 0; i < 4; ++i) aCentres[k].v[i] = sums[k].v[i] / counts[k];
        }
    }

    static size_t Nearest(const std::vector<Vec4>& aCentres, const Vec4& aV) {
        size_t best = 0;
        double bestDistance = Distance(aCentres[0], aV);
        for (size_t k = 1; k < aCentres.size(); ++k) {
            const double d = Distance(aCentres[k], aV);
            if (d < bestDistance) bestDistance = d, best = k;
        }
        return best;
    }

    void Map(TPixelChannel* aPixels, uint32_t aW, uint32_t aH, uint64_t aStrideX, uint64_t aStrideY) {
        std::unordered_map<uint32_t, uint32_t> cache;
        for (uint32_t y = 0; y < aH; ++y) {
            for (uint32_t x = 0; x < aW; ++x) {
                TPixelChannel& p = aPixels[y * aStrideY + x * aStrideX];
                const uint32_t key = Normalize(p.n);
                auto found = cache.find(key);
                if (found == cache.end())
                    found = cache.emplace(key, palette_[Nearest(positions_, ToSpace(key))].n).first;
                p.n = found->second;
            }
        }
    }

    // Floyd-Steinberg in the premultiplied space, in serpentine order, passing on 85% of the
    // error: the full error makes grain even where the palette is close, and costs more in
    // per-pixel error than it gains in tone. A pixel that is fully transparent neither takes nor passes on
    // error, so that no colour bleeds into empty areas.
    void Diffuse(TPixelChannel* aPixels, uint32_t aW, uint32_t aH, uint64_t aStrideX, uint64_t aStrideY) {
        constexpr double kShare = 0.85;
        std::vector<Vec4> current(size_t(aW) + 2), next(size_t(aW) + 2);
        std::unordered_map<uint32_t, uint32_t> cache;
        for (uint32_t y = 0; y < aH; ++y) {
            std::fill(next.begin(), next.end(), Vec4{});
            const bool leftward = y & 1;
            for (uint32_t i = 0; i < aW; ++i) {
                const uint32_t x = leftward ? aW - 1 - i : i;
                // Neighbour slots are shifted by one so that both ends have a spare.
                const size_t here = x + 1, ahead = leftward ? here - 1 : here + 1,
                             behind = leftward ? here + 1 : here - 1;
                TPixelChannel& p = aPixels[y * aStrideY + x * aStrideX];
                if (p.bA == 0) {
                    p.n = palette_[Nearest(positions_, Vec4{})].n;
                    continue;
                }
                Vec4 want = ToSpace(p.n);
                for (int k = 0; k < 4; ++k) want.v[k] = std::clamp(want.v[k] + current[here].v[k], 0.0, 255.0);
                for (int k = 0; k < 3; ++k) want.v[k] = std::min(want.v[k], want.v[3]);
                // Nearest colours are remembered by the wanted colour rounded to bytes.
                uint32_t key = 0;
                for (int k = 0; k < 4; ++k) key = key << 8 | uint32_t(std::lround(want.v[k]));
                auto found = cache.find(key);
                if (found == cache.end()) found = cache.emplace(key, uint32_t(Nearest(positions_, want))).first;
                const size_t index = found->second;
                const Vec4& got = positions_[index];
                p.n = palette_[index].n;
                for (int k = 0; k < 4; ++k) {
                    const double error = (want.v[k] - got.v[k]) * kShare;
                    current[ahead].v[k] += error * 7 / 16;
                    next[behind].v[k] += error * 3 / 16;
                    next[here].v[k] += error * 5 / 16;
                    next[ahead].v[k] += error * 1 / 16;
                }
            }
            std::swap(current, next);
        }
    }

    uint32_t limit_ = 256;
    bool dither_ = false;
    bool made_ = false;
    std::unordered_map<uint32_t, uint64_t> histogram_;
    std::vector<TPixelChannel> palette_;
    std::vector<Vec4> positions_;
    const TPixelChannel** palettePointer_ = nullptr;
};

}  // namespace

HRESULT CreateColorQuantizer(const IID& aIID, void** aOut) {
    if (!aOut) return E_POINTER;
    *aOut = nullptr;
    auto* quantizer = new (std::nothrow) HeapObject<ColorQuantizer>();
    if (!quantizer) return E_OUTOFMEMORY;
    HRESULT hr = quantizer->QueryInterface(aIID, aOut);
    quantizer->Release();
    return hr;
}

}  // namespace zthost
