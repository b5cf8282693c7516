#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace bench {

/** Throws, and so ends the benchmark, if a step did not do its work: its time would mean nothing. */
inline void Require(bool done, const char* step)
{
    if (!done)
        throw std::runtime_error(step);
}

/** One way to do some work. Preparing and checking are not timed and may be left out. */
struct Side {
    std::function<void()> run;
    std::function<void()> prepare = [] {};
    std::function<void()> check = [] {};
};

/** Medians of one run, in milliseconds. */
struct Medians {
    double library;
    double plain;
    double Ratio() const { return library / plain; }
};

/**
 * Runs both sides in turn, again and again, so that a machine that slows down slows both. A round before is not
 * measured, unless there is to be one repetition alone.
 */
Medians Measure(const Side& library, const Side& plain, int repetitions);

struct Row {
    std::string work;
    std::string against;
    std::string library;
    std::string plain;
    std::string ratio;
    std::string atMost;
    bool holds;
};

/** The table of results, printed row by row. */
class Report {
public:
    Report();

    void Add(const Row& row);

    /** Adds a row of two times, whose ratio is bounded. */
    void Compare(const char* work, const char* against, double atMost, const Side& library, const Side& plain,
                 int repetitions = 9);

    bool AllHold() const { return allHold_; }

private:
    bool allHold_ = true;
};

[[gnu::format(printf, 1, 2)]] std::string Format(const char* format, ...);

} // namespace bench
