// The shape effects on a 2048 x 2048 logo-like image (a disc with a soft rim and a square):
// the whole Activate on a fresh copy. Drop shadow, Outline, Satin, Shape gradient, Long shadow
// and Projected shadow run on the calling thread; Bevel on the pool, timed on all threads and
// on one. A memcpy of the image stands beside them. The peers (bench/peers/shape_peers.py) run
// GEGL's drop shadow and long shadow, ImageMagick's -shade and OpenCV's building blocks on the
// same pixels.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "host/zthost.h"
#include "operations/shape/bevel.h"
#include "operations/shape/chamfer.h"
#include "operations/shape/contour_gradient.h"
#include "operations/shape/drop_shadow.h"
#include "operations/shape/long_shadow.h"
#include "operations/shape/outlines.h"
#include "operations/shape/projected_shadow.h"
#include "operations/shape/satin.h"

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

void Bevel(benchmark::State& state) {
    Run<zt::CRasterImageBevel>(state, {{"Amount", "10"}, {"Blur", "2"}, {"Method", "1"}});
}
// The same on one thread of the pool, for the ratio of the threads.
void BevelOneThread(benchmark::State& state) {
    zthost::SetThreadCount(1);
    Bevel(state);
    zthost::SetThreadCount(0);
}
void Satin(benchmark::State& state) { Run<zt::CDocumentOperationRasterImageSatin>(state, {}); }
void ShapeGradient(benchmark::State& state) { Run<zt::CRasterImageContourGradient>(state, {}); }
void LongShadow(benchmark::State& state) { Run<zt::CDocumentOperationLongShadow>(state, {{"Length", "64"}}); }
void ProjectedShadow(benchmark::State& state) { Run<zt::CRasterImageProjectedShadow>(state, {}); }

// Copying the image once: the floor that every one of these stands beside.
void Copy(benchmark::State& state) {
    static const std::vector<TPixelChannel> pixels = Pixels();
    std::vector<TPixelChannel> copy(pixels.size());
    for (auto _ : state) {
        std::memcpy(copy.data(), pixels.data(), pixels.size() * sizeof(TPixelChannel));
        benchmark::DoNotOptimize(copy.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kSide * kSide * 4);
}

BENCHMARK(DropShadow)->Name("DropShadow/size10-outer")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Outline)->Name("Outline/width4-centred")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(OutlineDistances)->Name("Outline/chamfer-two-maps")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Bevel)->Name("Bevel/round-amount10-blur2-all-threads")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BevelOneThread)->Name("Bevel/round-amount10-blur2-one-thread")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Satin)->Name("Satin/defaults")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ShapeGradient)->Name("ShapeGradient/scale50")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(LongShadow)->Name("LongShadow/length64")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ProjectedShadow)->Name("ProjectedShadow/defaults")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Copy)->Name("Copy/memcpy-2048x2048")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
