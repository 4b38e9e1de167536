// Drop shadow (Size 10, outer) and Outline (Width 4, centred) on a 2048 x 2048 shape image:
// the whole Activate on a fresh copy, on the one thread both operations use. The peers
// (bench/peers/shape_peers.py) run GEGL's drop shadow and OpenCV's distance transform on the
// same pixels.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <string>
#include <vector>

#include "host/zthost.h"
#include "operations/shape/chamfer.h"
#include "operations/shape/drop_shadow.h"
#include "operations/shape/outlines.h"

namespace {

constexpr uint32_t kSide = 2048;

// A disc of radius 700 with a soft rim of two pixels, and an opaque square; the same integer
// formula as the peers' script.
std::vector<TPixelChannel> Pixels() {
    std::vector<TPixelChannel> p(size_t(kSide) * kSide);
    for (uint32_t y = 0; y < kSide; ++y)
        for (uint32_t x = 0; x < kSide; ++x) {
            const int64_t dx = int64_t(x) - 1024, dy = int64_t(y) - 1024;
            const int64_t d2 = dx * dx + dy * dy;
            // Floor division, as numpy's // does for the negative values outside the rim.
            const int64_t num = 255 * (702 * 702 - d2), den = 702 * 702 - 700 * 700;
            const int64_t q = num >= 0 ? num / den : -((-num + den - 1) / den);
            int64_t alpha = std::clamp<int64_t>(q, 0, 255);
            if (x >= 200 && x < 600 && y >= 1500 && y < 1900) alpha = 255;
            TPixelChannel& px = p[size_t(y) * kSide + x];
            px.bB = uint8_t(x);
            px.bG = uint8_t(y);
            px.bR = 128;
            px.bA = uint8_t(alpha);
        }
    return p;
}

ComPtr<IDocument> Original() {
    static const std::vector<TPixelChannel> pixels = Pixels();
    zthost::RasterImageInit init;
    init.canvas = init.contentSize = {kSide, kSide};
    init.pixels = pixels.data();
    return zthost::CreateRasterDocument(init);
}

template <class T>
void Run(benchmark::State& state, std::vector<std::pair<std::string, std::string>> aSettings) {
    ComPtr<IClassFactory> factory;
    DllGetClassObject(T::classId, IClassFactory::iid, factory.out());
    ComPtr<IDocumentOperation> op;
    factory->CreateInstance(nullptr, IDocumentOperation::iid, op.out());
    ComPtr<IConfig> config;
    op->ConfigCreate(zthost::OperationManager(), config.out());
    std::string error;
    for (const auto& [key, value] : aSettings) zthost::ConfigSetFromString(config, key, value, &error);
    ComPtr<IDocument> original = Original();
    for (auto _ : state) {
        state.PauseTiming();
        ComPtr<IDocument> doc = zthost::CopyRasterDocument(original);  // both grow the content
        state.ResumeTiming();
        HRESULT hr = op->Activate(zthost::OperationManager(), doc, config, nullptr, nullptr, LANG_ENGLISH);
        if (FAILED(hr)) state.SkipWithError("Activate failed");
        state.PauseTiming();
        doc.reset();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kSide * kSide * 4);
}

void DropShadow(benchmark::State& state) {
    Run<zt::CDocumentOperationRasterImageDropShadow>(state, {{"Size", "10"}, {"Blending", "0"}});
}
void Outline(benchmark::State& state) {
    Run<zt::CDocumentOperationRasterImageOutlines>(state, {{"Width", "4"}, {"Position", "1"}});
}

// The two distance maps alone, as the outline computes them, beside OpenCV's transform.
void OutlineDistances(benchmark::State& state) {
    static const std::vector<TPixelChannel> pixels = Pixels();
    const uint32_t w = kSide + 2, h = kSide + 2, far = 7 << 8;
    std::vector<uint32_t> a(size_t(w) * h), b(size_t(w) * h);
    for (auto _ : state) {
        state.PauseTiming();
        std::fill(a.begin(), a.end(), 0u);
        std::fill(b.begin(), b.end(), far);
        for (uint32_t y = 0; y < kSide; ++y)
            for (uint32_t x = 0; x < kSide; ++x) {
                const uint32_t alpha = pixels[size_t(y) * kSide + x].bA;
                const size_t at = size_t(y + 1) * w + x + 1;
                a[at] = alpha == 0 ? 0 : alpha == 255 ? far : alpha;
                b[at] = alpha == 0 ? far : alpha == 255 ? 0 : 255 - alpha;
            }
        state.ResumeTiming();
        zt::ChamferDistance(a.data(), w, h, far, 256);
        zt::ChamferDistance(b.data(), w, h, far, far);
        benchmark::DoNotOptimize(a.data());
        benchmark::DoNotOptimize(b.data());
    }
}

BENCHMARK(DropShadow)->Name("DropShadow/size10-outer")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Outline)->Name("Outline/width4-centred")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(OutlineDistances)->Name("Outline/chamfer-two-maps")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
