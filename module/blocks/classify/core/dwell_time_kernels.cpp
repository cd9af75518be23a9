#include "blocks/classify/core/dwell_time_kernels.h"

#include <cstddef>
#include <cstdint>

#include "kernels/lanes.h"

namespace vynpack {
namespace {

using namespace vyn;  // its lanes

constexpr std::size_t kLinesTogether = 64;

// Lines between neighbouring samples; NaN where a line counts in no class.
struct Lines {
    double from[kLinesTogether];
    double to[kLinesTogether];
    std::int32_t place[kLinesTogether];  // the class that a line begins in; -1 below, n above all
    double firstEnd[kLinesTogether];     // of that class
    double secondEnd[kLinesTogether];    // and of the next
    double first[kLinesTogether];        // time in the one class and in the other
    double second[kLinesTogether];
};

// Where the lines run. Their number is always the same: those behind the last count nowhere.
inline void takeLines(const double* samples, const DwellRules& rules, Lines& lines) {
    const double nowhere = __builtin_nan("");
    const double classes = rules.n;
    for (std::size_t i = 0; i < kLinesTogether; ++i) {
        const double a = samples[i];
        const double b = samples[i + 1];
        const bool counts = (rules.begin <= b) & (b <= rules.end) & (a == a);
        const double smaller = a < b ? a : b;
        const double larger = a < b ? b : a;
        lines.from[i] = counts ? smaller : nowhere;
        lines.to[i] = counts ? larger : nowhere;
        // Near the class that the line begins in.
        const double guess = (lines.from[i] - rules.begin) * rules.classesPerUnit;
        const double notAbove = guess < classes ? guess : classes;
        const double inside = notAbove > 0.0 ? notAbove : 0.0;
        lines.place[i] = static_cast<std::int32_t>(inside);
    }
}

inline void findClasses(const double* limits, Lines& lines) {
    for (std::size_t i = 0; i < kLinesTogether; ++i) {
        const double from = lines.from[i];
        std::ptrdiff_t k = lines.place[i];
        while (from < limits[k])
            --k;
        while (from >= limits[k + 1])
            ++k;
        lines.place[i] = static_cast<std::int32_t>(k);
        lines.firstEnd[i] = limits[k + 1];
        lines.secondEnd[i] = limits[k + 2];
    }
}

inline void shareTimes(double step, Lines& lines) {
    for (std::size_t i = 0; i < kLinesTogether; ++i) {
        const double from = lines.from[i];
        const double to = lines.to[i];
        const double border = lines.firstEnd[i];
        const double top = lines.secondEnd[i] < to ? lines.secondEnd[i] : to;
        const double before = step * (border - from) / (to - from);
        const double behind = step * (top - border) / (to - from);
        lines.first[i] = to <= border ? step : before;
        lines.second[i] = to > border ? behind : 0.0;
    }
}

// Classes from k on, as far as a steep line reaches.
inline void addRest(const DwellRules& rules, double from, double to, std::ptrdiff_t k,
                    double* sums) {
    using Reals = Lanes<kLanes>::Doubles;
    const Reals zero{};
    for (; k < rules.n && rules.limits[k] < to; k += kLanes) {
        const auto lower = load<Reals>(rules.limits + k);
        const auto upper = load<Reals>(rules.limits + k + 1);
        const Reals top = upper < to ? upper : zero + to;
        const Reals part = rules.step * (top - lower) / (zero + (to - from));
        store(load<Reals>(sums + k) + (lower < to ? part : zero), sums + k);
    }
}

// Most lines stay in a class or go into the next: two classes are made for every line, and no
// branch depends on which; steep lines go on from there. A class gets its times in the order of the
// lines.
void add(const SamplePairs& pairs, const DwellRules& rules, double* sums) {
    Lines lines;
    double samples[kLinesTogether + 1];
    samples[0] = pairs.last;
    for (std::size_t done = 0; done < pairs.count; done += kLinesTogether) {
        const std::size_t left = pairs.count - done;
        const std::size_t now = left < kLinesTogether ? left : kLinesTogether;
        const float* x = pairs.x + done * pairs.stride;
        for (std::size_t i = 0; i < now; ++i)
            samples[i + 1] = x[i * pairs.stride];
        for (std::size_t i = now; i < kLinesTogether; ++i)
            samples[i + 1] = __builtin_nan("");
        takeLines(samples, rules, lines);
        findClasses(rules.limits, lines);
        shareTimes(rules.step, lines);
        for (std::size_t i = 0; i < now; ++i) {
            const std::ptrdiff_t k = lines.place[i];
            sums[k] += lines.first[i];
            sums[k + 1] += lines.second[i];
            if (lines.to[i] > lines.secondEnd[i])
                addRest(rules, lines.from[i], lines.to[i], k + 2, sums);
        }
        samples[0] = samples[now];
    }
}

constexpr DwellKernels kTable = {add};

}  // namespace

constinit const DwellKernels DwellKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
