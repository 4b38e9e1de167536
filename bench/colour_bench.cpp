// Color adjustments (byte table and linear path) and Colorize on a 4096x4096 image: the
// pixel task alone and the whole Activate, on one thread and on all. The peers' lookup
// tables on the same pixels are in peers/colour_peers.py.
#include <benchmark/benchmark.h>

#include <thread>
#include <vector>

#include "host/zthost.h"
#include "operations/colour/color_transformations.h"
#include "operations/colour/color_transformations_kernels.h"
#include "operations/colour/colorize.h"
#include "operations/colour/colorize_kernels.h"
#include "operations/colour/colour_run.h"

namespace {

constexpr uint32_t kSide = 4096;

// The same pixels as the peers: the linear congruential pattern from seed 1.
const std::vector<TPixelChannel>& Pixels() {
    static const std::vector<TPixelChannel> pixels = [] {
        std::vector<TPixelChannel> p(size_t(kSide) * kSide);
        uint32_t x = 1;
        for (auto& px : p) px.n = (x = x * 1664525u + 1013904223u);
        return p;
    }();
    return pixels;
}

ComPtr<IDocument> Document() {
    zthost::RasterImageInit init;
    init.canvas = init.contentSize = {kSide, kSide};
    init.pixels = Pixels().data();
    return zthost::CreateRasterDocument(init);
}

uint32_t AllThreads() { return std::max(1u, std::thread::hardware_concurrency()); }

const uint16_t* GammaTable() {
    static ComPtr<IGammaTableCache> cache = zthost::Create<IGammaTableCache>(CLSID_GammaTableCache);
    return cache->GetSRGBTable();
}

template <class Op>
void RunTaskBench(benchmark::State& aState, const Op& aOp) {
    zthost::SetThreadCount(uint32_t(aState.range(0)));
    ComPtr<IDocument> doc = Document();
    ComPtr<IDocumentRasterImage> image;
    doc->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
    std::vector<TPixelChannel> dst(size_t(kSide) * kSide);
    const zt::SContent content{{0, 0}, {kSide, kSide}};
    for (auto _ : aState) {
        zt::RunPixelOp(image.get(), content, dst.data(), aOp, true);
        benchmark::DoNotOptimize(dst.data());
    }
    aState.SetBytesProcessed(int64_t(aState.iterations()) * dst.size() * 4);
}

void AdjustBytesTask(benchmark::State& state) {
    uint8_t table[256];
    zt::BuildColorTransformationsByteTable(20, 120, 1.2f, table);
    RunTaskBench(state, zt::CColorTransformOp{table});
}
void AdjustLinearTask(benchmark::State& state) {
    int32_t table[256];
    zt::BuildColorTransformationsLinearTable(20, 120, 1.2f, table);
    const zt::SSaturationWeights w = zt::SaturationWeights(150);
    RunTaskBench(state, zt::CColorTransformWithSaturationOp{table, w.w[0], w.w[1], w.w[2], w.w[3], w.w[4], w.w[5],
                                                            GammaTable()});
}
void ColorizeTask(benchmark::State& state) {
    uint32_t table[256];
    zt::BuildColorizeTable(200.0f, 0.6f, table);
    std::atomic<uint64_t> total{0};
    RunTaskBench(state, zt::CColorizeOp{table, &total});
}

#define ZT_COLOUR_BENCH(fn, name)                                                                 \
    BENCHMARK(fn)->Name(name "/threads:1")->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime(); \
    BENCHMARK(fn)->Name(name "/threads:all")->Arg(AllThreads())->Unit(benchmark::kMillisecond)->UseRealTime()

ZT_COLOUR_BENCH(AdjustBytesTask, "ColorTransformations/bytes/task");
ZT_COLOUR_BENCH(AdjustLinearTask, "ColorTransformations/linear/task");
ZT_COLOUR_BENCH(ColorizeTask, "Colorize/task");

template <class T>
void ActivateBench(benchmark::State& aState, const std::vector<std::pair<std::string, std::string>>& aSettings) {
    zthost::SetThreadCount(uint32_t(aState.range(0)));
    static auto module =
        zthost::Module::FromFunctions({DllGetClassObject, DllEnumClasses, DllCanUnloadNow, ZTSetHostCreateInstance});
    ComPtr<IClassFactory> factory;
    DllGetClassObject(T::classId, IClassFactory::iid, factory.out());
    ComPtr<IDocumentOperation> op;
    factory->CreateInstance(nullptr, IDocumentOperation::iid, op.out());
    ComPtr<IConfig> config;
    op->ConfigCreate(zthost::OperationManager(), config.out());
    std::string error;
    for (const auto& [key, value] : aSettings) zthost::ConfigSetFromString(config, key, value, &error);
    ComPtr<IDocument> doc = Document();
    for (auto _ : aState) {
        if (FAILED(op->Activate(zthost::OperationManager(), doc, config, nullptr, nullptr, LANG_ENGLISH)))
            aState.SkipWithError("Activate failed");
    }
    aState.SetBytesProcessed(int64_t(aState.iterations()) * kSide * kSide * 4);
}

void AdjustBytesActivate(benchmark::State& state) {
    ActivateBench<zt::CDocumentOperationRasterImageColorTransformations>(
        state, {{"Brightness", "20"}, {"Contrast", "120"}, {"Gamma", "1.2"}});
}
void AdjustLinearActivate(benchmark::State& state) {
    ActivateBench<zt::CDocumentOperationRasterImageColorTransformations>(
        state, {{"Brightness", "20"}, {"Contrast", "120"}, {"Gamma", "1.2"}, {"Saturation", "150"}});
}
void ColorizeActivate(benchmark::State& state) {
    ActivateBench<zt::CDocumentOperationRasterImageColorize>(state, {{"Hue", "200"}, {"Saturation", "0.6"}});
}

ZT_COLOUR_BENCH(AdjustBytesActivate, "ColorTransformations/bytes/Activate");
ZT_COLOUR_BENCH(AdjustLinearActivate, "ColorTransformations/linear/Activate");
ZT_COLOUR_BENCH(ColorizeActivate, "Colorize/Activate");

}  // namespace
