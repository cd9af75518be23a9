#include "blocks/classify/core/dwell_time_kernels.h"

#include "kernels/lanes.h"

namespace vynpack {
namespace {

using namespace vyn;  // its lanes

// All classes look at every line: no branch depends on the signal, and the sums stay in registers.
void add(const SamplePairs& pairs, const DwellRules& rules, double* sums) {
    using Reals = Lanes<kLanes>::Doubles;
    constexpr std::size_t kLinesTogether = 16;
    const double infinity = __builtin_inf();
    const Reals zero{};
    const Reals step = zero + rules.step;
    double last = pairs.last;
    for (std::size_t done = 0; done < pairs.count; done += kLinesTogether) {
        const std::size_t now =
            pairs.count - done < kLinesTogether ? pairs.count - done : kLinesTogether;
        double samples[kLinesTogether + 1] = {last};
        for (std::size_t i = 0; i < now; ++i)
            samples[i + 1] = pairs.x[(done + i) * pairs.stride];
        last = samples[now];
        // Where each line runs, or the reverse of everywhere where it counts in no class.
        double low[kLinesTogether];
        double high[kLinesTogether];
        for (std::size_t i = 0; i < kLinesTogether; ++i) {
            const double a = samples[i];
            const double b = samples[i + 1];
            const bool counts = (rules.begin <= b) & (b <= rules.end) & (a == a);
            const double smaller = a < b ? a : b;
            const double larger = a < b ? b : a;
            low[i] = counts ? smaller : infinity;
            high[i] = counts ? larger : -infinity;
        }
        double lowest = infinity;
        double highest = -infinity;
        for (std::size_t i = 0; i < now; ++i) {
            lowest = low[i] < lowest ? low[i] : lowest;
            highest = high[i] > highest ? high[i] : highest;
        }
        for (int k = 0; k < rules.n; k += kLanes) {
            const double* limits = rules.limits + k;
            if (highest < limits[0] || lowest > limits[kLanes]) continue;
            const auto lower = load<Reals>(limits);
            const auto upper = load<Reals>(limits + 1);
            auto sum = load<Reals>(sums + k);
            for (std::size_t i = 0; i < now; ++i) {
                const Reals from = zero + low[i];
                const Reals to = zero + high[i];
                const Reals top = upper < to ? upper : to;
                const Reals bottom = lower > from ? lower : from;
                const Reals part = step * (top - bottom) / (to - from);
                const Reals time = top > bottom ? part : zero;
                // A line that rests on the end is in no class.
                const auto inside = (lower <= from) & (to <= upper) & (from < upper);
                sum += inside ? step : time;
            }
            store(sum, sums + k);
        }
    }
}

constexpr DwellKernels kTable = {add};

}  // namespace

constinit const DwellKernels DwellKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
