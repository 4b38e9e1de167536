// The blender's Compose over 4096 x 4096: SrcOver, Multiply and SoftLight of one document into
// another, on the one thread Compose runs on, beside a memcpy of the image. Pillow's
// alpha_composite on the same pixels is in peers/compose_peers.py.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "host/zthost.h"
#include "operations/script/compose.h"
#include "operations/script/compose_kernels.h"

namespace {

constexpr uint32_t kSide = 4096;

// The same pixels as the peers: the linear congruential pattern from a seed.
std::vector<TPixelChannel> Pattern(uint32_t aSeed) {
    std::vector<TPixelChannel> p(size_t(kSide) * kSide);
    uint32_t x = aSeed;
    for (auto& px : p) px.n = (x = x * 1664525u + 1013904223u);
    return p;
}

ComPtr<IDocument> Document(const std::vector<TPixelChannel>& aPixels) {
    zthost::RasterImageInit init;
    init.canvas = init.contentSize = {kSide, kSide};
    init.pixels = aPixels.data();
    return zthost::CreateRasterDocument(init);
}

void Compose(benchmark::State& state, uint32_t aMode) {
    static const std::vector<TPixelChannel> dst = Pattern(1), src = Pattern(2);
    ComPtr<IDocument> source = Document(src);
    TVariant object = zt::VariantEmpty();
    object.vt = VT_UNKNOWN;
    object.punkVal = source.get();
    TVariant none = zt::VariantEmpty();
    none.vt = VT_NULL;
    TVariant missing = zt::VariantEmpty();
    missing.vt = VT_ERROR;
    missing.scode = DISP_E_PARAMNOTFOUND;
    for (auto _ : state) {
        state.PauseTiming();
        ComPtr<IDocument> target = Document(dst);
        state.ResumeTiming();
        const HRESULT hr = zt::ComposeRectangle(target, 0, 0, kSide, kSide, object, 0, 0, none, aMode, missing);
        if (FAILED(hr)) state.SkipWithError("Compose failed");
        state.PauseTiming();
        target = nullptr;
        state.ResumeTiming();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kSide * kSide * 4);
}

void Copy(benchmark::State& state) {
    static const std::vector<TPixelChannel> pixels = Pattern(1);
    std::vector<TPixelChannel> copy(pixels.size());
    for (auto _ : state) {
        std::memcpy(copy.data(), pixels.data(), pixels.size() * sizeof(TPixelChannel));
        benchmark::DoNotOptimize(copy.data());
    }
}

BENCHMARK_CAPTURE(Compose, SrcOver, zt::OpSrcOver)
    ->Name("Compose/src-over")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(Compose, Multiply, zt::OpMultiply)
    ->Name("Compose/multiply")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(Compose, SoftLight, zt::OpSoftLight)
    ->Name("Compose/soft-light")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(Copy)->Name("Compose/memcpy-4096x4096")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
