#pragma once

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

namespace bench {

/// The middle one; of an even number the upper of the two.
inline double median(std::vector<double> values) {
    const auto middle = values.begin() + long(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Says what a value should be at most and whether it is. With FLX_BENCH_BARS in the environment the line goes into
/// that file, too, for scripts/bench: question, measured, value, limit, apart by tabs.
inline void bar(const std::string& question, const std::string& measured, double value, double limit) {
    std::printf("  bar: %s: %.4g, at most %.4g: %s\n", measured.c_str(), value, limit,
                value <= limit ? "holds" : "MISSED");
    std::fflush(stdout);
    const char* file = std::getenv("FLX_BENCH_BARS");
    std::FILE* out = file ? std::fopen(file, "a") : nullptr;
    if (!out) return;
    std::fprintf(out, "%s\t%s\t%.6g\t%.6g\n", question.c_str(), measured.c_str(), value, limit);
    std::fclose(out);
}

/// Cases run round-robin in one process, so that what disturbs the machine meets all of them alike. Ratios are the
/// median over the rounds of the two times of one round; the times themselves belong to the machine of the day.
class Comparison {
public:
    explicit Comparison(std::string title)
        : myTitle(std::move(title)) {}

    /// `units` is what one run handles (particles); `before` runs untimed ahead of each. Returns the case's number.
    size_t add(std::string name, double units, std::function<void()> run, std::function<void()> before = {}) {
        myCases.push_back({std::move(name), units, std::move(run), std::move(before), {}});
        return myCases.size() - 1;
    }

    /// One round more than asked for: the first warms up and does not count.
    void run(int rounds) {
        for (int round = -1; round < rounds; ++round)
            for (Case& c : myCases) {
                const double seconds = timed(c);
                if (round >= 0) c.times.push_back(seconds * 1e9 / c.units);
            }
    }

    /// Nanoseconds per unit of every case, and ratios to `reference`.
    void print(size_t reference) const {
        std::printf("\n%s (%zu rounds)\n", myTitle.c_str(), myCases[reference].times.size());
        std::printf("  %-66s %9s %9s %7s\n", "case", "median ns", "min ns", "ratio");
        for (size_t i = 0; i < myCases.size(); ++i) {
            const std::vector<double>& times = myCases[i].times;
            std::printf("  %-66s %9.2f %9.2f %7.2f\n", myCases[i].name.c_str(), median(times),
                        *std::min_element(times.begin(), times.end()), ratio(i, reference));
        }
    }

    double nanoseconds(size_t which) const { return median(myCases[which].times); }

    double ratio(size_t which, size_t reference) const {
        std::vector<double> ratios;
        for (size_t i = 0; i < myCases[which].times.size(); ++i)
            ratios.push_back(myCases[which].times[i] / myCases[reference].times[i]);
        return median(ratios);
    }

    /// Says what the ratio should be at most and whether it is.
    void bar(size_t which, size_t reference, double limit) const {
        bench::bar(myTitle, myCases[which].name + " / " + myCases[reference].name, ratio(which, reference), limit);
    }

private:
    struct Case {
        std::string name;
        double units;
        std::function<void()> run, before;
        std::vector<double> times; // nanoseconds per unit
    };

    // Processor time of this thread, the kernel's share included: waiting for a processor that others use does not
    // count.
    static double now() {
        timespec t{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
        return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
    }
    static double timed(Case& c) {
        if (c.before) c.before();
        const double start = now();
        c.run();
        return now() - start;
    }

    std::string myTitle;
    std::vector<Case> myCases;
};

} // namespace bench
