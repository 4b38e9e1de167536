// Runs the benchmarks and then prints each one's time as a ratio to the memcpy baseline of
// the same image size, so that runs on different machines can be compared.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace {

class CRatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& aRuns) override {
        ConsoleReporter::ReportRuns(aRuns);
        for (const Run& run : aRuns)
            if (run.run_type == Run::RT_Iteration) times_.emplace_back(run.benchmark_name(), run.GetAdjustedRealTime());
    }
    void Finalize() override {
        ConsoleReporter::Finalize();
        double baseline = 0;
        for (const auto& [name, time] : times_)
            if (name.rfind("Memcpy", 0) == 0) baseline = time;
        if (baseline <= 0) return;
        std::printf("\nRatio to memcpy of the same buffer (lower is faster):\n");
        for (const auto& [name, time] : times_) std::printf("  %-44s %8.2f\n", name.c_str(), time / baseline);
    }

private:
    std::vector<std::pair<std::string, double>> times_;
};

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    CRatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
