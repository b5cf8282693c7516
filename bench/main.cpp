// tarvo_bench [SUBSYSTEM...]: prints the table of docs/benchmarks.md, or the rows of some subsystems. Exits with 1 if a
// figure is above its limit, with 2 if something could not be measured.

#include <cstdio>
#include <exception>
#include <string_view>

#include "benchmarks.h"

namespace {

struct Benchmark {
    std::string_view name;
    void (*run)(bench::Report& report);
};

constexpr Benchmark kBenchmarks[] = {
    {"pending", bench::MeasurePending},
    {"trace", bench::MeasureTrace},
    {"registry", bench::MeasureRegistry},
    {"recording", bench::MeasureRecording},
    {"uninstall", bench::MeasureUninstall},
    {"product", bench::MeasureProduct},
    {"registrations", bench::MeasureRegistrations},
    {"security", bench::MeasureSecurity},
    {"library", bench::ExamineLibraryImage},
};

bool IsAskedFor(const Benchmark& benchmark, int count, char** names)
{
    for (int index = 0; index < count; ++index) {
        if (benchmark.name == names[index])
            return true;
    }
    return count == 0;
}

} // namespace

int main(int argc, char** argv)
try {
    bench::Report report;
    for (const Benchmark& benchmark : kBenchmarks) {
        if (IsAskedFor(benchmark, argc - 1, argv + 1))
            benchmark.run(report);
    }
    return report.AllHold() ? 0 : 1;
} catch (const std::exception& failure) {
    fprintf(stderr, "tarvo_bench: failed: %s\n", failure.what());
    return 2;
}
