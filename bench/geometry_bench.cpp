// Resampling and rotation of a 4096x4096 RGBA image on one thread, as the operations run
// them: the coverage helper in both directions, linear and cubic, plain and with gamma, and
// the rotation helper at 30 degrees onto the enlarged canvas.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "operations/geometry/resample_kernels.h"
#include "operations/geometry/rotate.h"
#include "operations/geometry/transform_kernels.h"
#include "operations/geometry/transformers.h"

namespace {

constexpr uint32_t kSide = 4096;

// The pixels of the peers' script: the same pattern with a transparent block.
const std::vector<TPixelChannel>& Pixels() {
    static const std::vector<TPixelChannel> pixels = [] {
        std::vector<TPixelChannel> p(size_t(kSide) * kSide);
        for (uint32_t y = 0; y < kSide; ++y)
            for (uint32_t x = 0; x < kSide; ++x) {
                TPixelChannel& px = p[size_t(y) * kSide + x];
                px.bB = uint8_t((x * 3 + y) & 255);
                px.bG = uint8_t((x + y * 5) & 255);
                px.bR = uint8_t((x * y) & 255);
                const bool hole = x >= 1024 && x < 2048 && y >= 1024 && y < 2048;
                px.bA = hole ? 0 : uint8_t(64 + ((x ^ y) & 127));
            }
        return p;
    }();
    return pixels;
}

void Resample(benchmark::State& state, uint32_t aTarget, bool aCubic, bool aGamma) {
    const auto& src = Pixels();
    std::vector<TPixelChannel> dst(size_t(aTarget) * aTarget);
    const TMatrix3x3f m = {{float(aTarget) / kSide, 0, 0, 0, float(aTarget) / kSide, 0, 0, 0, 1}};
    const zt::resample::SCoverageSetup setup{{kSide, kSide}, {aTarget, aTarget}, aCubic};
    const TPixelChannel fill{};
    for (auto _ : state) {
        // The helper's direct case: whole image in, whole scaled image out, tables per call.
        zt::CResamplingHelperCoverage(setup.sourceSize, setup.targetSize, setup.cubic)
            .ProcessTile(1, aGamma ? 2.2f : 1.0f, &fill, &m, src.data(), {0, 0}, {kSide, kSide}, {1, kSide}, dst.data(),
                         {0, 0}, {aTarget, aTarget}, {1, aTarget});
        benchmark::DoNotOptimize(dst.data());
    }
}

void Rotate(benchmark::State& state, bool aGamma) {
    const auto& src = Pixels();
    const zt::SRotatePlan plan = zt::PlanRotation(30.0f, 2, {kSide, kSide}, {0, 0}, {kSide, kSide});
    std::vector<TPixelChannel> dst(size_t(plan.canvas.nX) * plan.canvas.nY);
    const TPixelChannel fill{};
    for (auto _ : state) {
        zt::CTransformHelperRotate().ProcessTile(1, aGamma ? 2.2f : 1.0f, &fill, &plan.matrix, src.data(), {0, 0},
                                                 {kSide, kSide}, {1, kSide}, dst.data(), {0, 0}, plan.canvas,
                                                 {1, plan.canvas.nX});
        benchmark::DoNotOptimize(dst.data());
    }
}

#define ZT_RESAMPLE(name, target, cubic, gamma)             \
    BENCHMARK_CAPTURE(Resample, name, target, cubic, gamma) \
        ->Name("Resample/ours-" #name)                      \
        ->Unit(benchmark::kMillisecond)                     \
        ->UseRealTime()                                     \
        ->Iterations(3)

ZT_RESAMPLE(linear50, 2048, false, false);
ZT_RESAMPLE(linear50 - gamma, 2048, false, true);
ZT_RESAMPLE(linear200, 8192, false, false);
ZT_RESAMPLE(linear200 - gamma, 8192, false, true);
ZT_RESAMPLE(cubic50, 2048, true, false);
ZT_RESAMPLE(cubic200, 8192, true, false);
ZT_RESAMPLE(cubic200 - gamma, 8192, true, true);

BENCHMARK_CAPTURE(Rotate, plain, false)
    ->Name("Rotate/ours-30")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(3);
BENCHMARK_CAPTURE(Rotate, gamma, true)
    ->Name("Rotate/ours-30-gamma")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(3);

}  // namespace
