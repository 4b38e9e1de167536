// Blur on a 4096 x 4096 image with partial alpha, both axes, on all threads: the whole
// Activate for Constant, Linear and Gaussian at radius 10 (the Gaussian's sigma is 5).
// The peers (bench/peers/blur_peers.py) blur the same pixels.
#include <benchmark/benchmark.h>

#include <string>
#include <thread>
#include <vector>

#include "host/zthost.h"
#include "operations/blur/blur.h"

namespace {

constexpr uint32_t kSide = 4096;

// The same formula as the peers' script: colour from the position, alpha 64 .. 191 and
// one transparent square.
std::vector<TPixelChannel> Pixels() {
    std::vector<TPixelChannel> p(size_t(kSide) * kSide);
    for (uint32_t y = 0; y < kSide; ++y)
        for (uint32_t x = 0; x < kSide; ++x) {
            TPixelChannel& px = p[size_t(y) * kSide + x];
            px.bB = uint8_t(x * 3 + y);
            px.bG = uint8_t(x + y * 5);
            px.bR = uint8_t(x * y);
            px.bA = (x >= 1024 && x < 2048 && y >= 1024 && y < 2048) ? 0 : uint8_t(64 + ((x ^ y) & 127));
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

uint32_t AllThreads() { return std::max(1u, std::thread::hardware_concurrency()); }

void BlurActivate(benchmark::State& state, const char* aMethod) {
    zthost::SetThreadCount(AllThreads());
    static auto module =
        zthost::Module::FromFunctions({DllGetClassObject, DllEnumClasses, DllCanUnloadNow, ZTSetHostCreateInstance});
    ComPtr<IClassFactory> factory;
    DllGetClassObject(zt::CDocumentOperationRasterImageBlur::classId, IClassFactory::iid, factory.out());
    ComPtr<IDocumentOperation> op;
    factory->CreateInstance(nullptr, IDocumentOperation::iid, op.out());
    ComPtr<IConfig> config;
    op->ConfigCreate(zthost::OperationManager(), config.out());
    std::string error;
    zthost::ConfigSetFromString(config, "Method", aMethod, &error);
    zthost::ConfigSetFromString(config, "Radius", "10", &error);
    ComPtr<IDocument> original = Original();
    for (auto _ : state) {
        state.PauseTiming();
        ComPtr<IDocument> doc = zthost::CopyRasterDocument(original);  // the blur grows its content
        state.ResumeTiming();
        HRESULT hr = op->Activate(zthost::OperationManager(), doc, config, nullptr, nullptr, LANG_ENGLISH);
        if (FAILED(hr)) state.SkipWithError("Activate failed");
        state.PauseTiming();
        doc.reset();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kSide * kSide * 4);
}

BENCHMARK_CAPTURE(BlurActivate, constant, "0")
    ->Name("Blur/constant-r10/threads:all")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BlurActivate, linear, "1")
    ->Name("Blur/linear-r10/threads:all")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BlurActivate, gaussian, "3")
    ->Name("Blur/gaussian-r10/threads:all")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
