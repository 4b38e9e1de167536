// Shift hue on a 4096x4096 image: the whole Activate and the pixel task alone, on one
// thread and on all, beside a memcpy of the same buffer.
#include <benchmark/benchmark.h>

#include <cstring>
#include <thread>
#include <vector>

#include "host/zthost.h"
#include "operations/colour/shift_hue.h"
#include "operations/colour/shift_hue_kernels.h"
#include "pixel/pixel_task.h"

namespace {

constexpr uint32_t kSide = 4096;

std::vector<TPixelChannel> Pattern() {
    std::vector<TPixelChannel> p(size_t(kSide) * kSide);
    uint32_t x = 1;
    for (auto& px : p) px.n = (x = x * 1664525u + 1013904223u);
    return p;
}

ComPtr<IDocument> Document() {
    static const std::vector<TPixelChannel> pixels = Pattern();
    zthost::RasterImageInit init;
    init.canvas = init.contentSize = {kSide, kSide};
    init.pixels = pixels.data();
    return zthost::CreateRasterDocument(init);
}

uint32_t AllThreads() { return std::max(1u, std::thread::hardware_concurrency()); }

void Memcpy(benchmark::State& state) {
    std::vector<TPixelChannel> src = Pattern(), dst(src.size());
    for (auto _ : state) {
        std::memcpy(dst.data(), src.data(), src.size() * 4);
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * src.size() * 4);
}
BENCHMARK(Memcpy)->Name("Memcpy/4096x4096")->Unit(benchmark::kMillisecond)->UseRealTime();

void ShiftHueKernel(benchmark::State& state) {
    zthost::SetThreadCount(uint32_t(state.range(0)));
    ComPtr<IDocument> doc = Document();
    ComPtr<IDocumentRasterImage> image;
    doc->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
    std::vector<TPixelChannel> dst(size_t(kSide) * kSide);
    zt::CLockedImageBuffer source(image);
    std::atomic<uint64_t> alpha{0};
    zt::CShiftHueOp op{zt::ShiftHueShift(40.0f), &alpha};
    for (auto _ : state) {
        zt::CPixelLevelTask<zt::CShiftHueOp> task(&source, TPixelChannel{}, {0, 0}, {int32_t(kSide), int32_t(kSide)},
                                                  dst.data(), &op);
        zt::RunShares(task, kSide, zt::PoolIf(true));
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * dst.size() * 4);
}
BENCHMARK(ShiftHueKernel)->Name("ShiftHue/task/threads:1")->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ShiftHueKernel)
    ->Name("ShiftHue/task/threads:all")
    ->Arg(AllThreads())
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void ShiftHueActivate(benchmark::State& state) {
    zthost::SetThreadCount(uint32_t(state.range(0)));
    ComPtr<IDocumentOperation> op;
    zthost::Module::FromFunctions({DllGetClassObject, DllEnumClasses, DllCanUnloadNow, ZTSetHostCreateInstance});
    ComPtr<IClassFactory> factory;
    DllGetClassObject(zt::CDocumentOperationRasterImageShiftHue::classId, IClassFactory::iid, factory.out());
    factory->CreateInstance(nullptr, IDocumentOperation::iid, op.out());
    ComPtr<IConfig> config;
    op->ConfigCreate(zthost::OperationManager(), config.out());
    std::string error;
    zthost::ConfigSetFromString(config, "Angle", "40", &error);
    ComPtr<IDocument> doc = Document();
    for (auto _ : state) {
        HRESULT hr = op->Activate(zthost::OperationManager(), doc, config, nullptr, nullptr, LANG_ENGLISH);
        if (FAILED(hr)) state.SkipWithError("Activate failed");
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kSide * kSide * 4);
}
BENCHMARK(ShiftHueActivate)->Name("ShiftHue/Activate/threads:1")->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ShiftHueActivate)
    ->Name("ShiftHue/Activate/threads:all")
    ->Arg(AllThreads())
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
