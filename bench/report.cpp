#include "report.h"

#include <windows.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <vector>

namespace bench {
namespace {

using Times = std::vector<double>;

double Now()
{
    LARGE_INTEGER ticks;
    LARGE_INTEGER ticksPerSecond;
    QueryPerformanceCounter(&ticks);
    QueryPerformanceFrequency(&ticksPerSecond);
    return static_cast<double>(ticks.QuadPart) * 1000 / static_cast<double>(ticksPerSecond.QuadPart);
}

double TimeOf(const Side& side)
{
    side.prepare();
    const double start = Now();
    side.run();
    const double time = Now() - start;
    side.check();
    return time;
}

double Median(Times times)
{
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

void PrintRow(const char* work, const char* against, const char* library, const char* plain, const char* ratio,
              const char* atMost, const char* holds)
{
    printf("| %-60s | %-50s | %10s | %10s | %6s | %11s | %-5s |\n", work, against, library, plain, ratio, atMost,
           holds);
    fflush(stdout);
}

} // namespace

Medians Measure(const Side& library, const Side& plain, int repetitions)
{
    if (repetitions > 1) { // what either side does only once is not what is compared
        TimeOf(library);
        TimeOf(plain);
    }
    Times libraryTimes;
    Times plainTimes;
    for (int repetition = 0; repetition < repetitions; ++repetition) {
        libraryTimes.push_back(TimeOf(library));
        plainTimes.push_back(TimeOf(plain));
    }
    return {Median(libraryTimes), Median(plainTimes)};
}

Report::Report()
{
    PrintRow("work", "against", "TARVO.DLL", "against", "ratio", "at most", "holds");
    PrintRow("---", "---", "---:", "---:", "---:", "---:", "---");
}

void Report::Add(const Row& row)
{
    PrintRow(row.work.c_str(), row.against.c_str(), row.library.c_str(), row.plain.c_str(), row.ratio.c_str(),
             row.atMost.c_str(), row.holds ? "yes" : "NO");
    allHold_ = allHold_ && row.holds;
}

void Report::Compare(const char* work, const char* against, double atMost, const Side& library, const Side& plain,
                     int repetitions)
{
    const Medians medians = Measure(library, plain, repetitions);
    Add({work, against, Format("%.1f ms", medians.library), Format("%.1f ms", medians.plain),
         Format("%.3g", medians.Ratio()), Format("%.3g", atMost), medians.Ratio() <= atMost});
}

std::string Format(const char* format, ...)
{
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

} // namespace bench
