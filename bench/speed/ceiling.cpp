#include "ceiling.h"

#include <algorithm>
#include <ctime>

#include "kernels/lanes.h"

namespace vynpack::bench {
namespace {

using vyn::kLanes;
using vyn::Register;

double processorNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return 1e9 * static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec);
}

// The compiler must neither fuse two steps nor leave one out.
inline void made(Register& value) { asm volatile("" : "+v"(value)); }

}  // namespace

double nanosecondsPerOperation() {
    // Six chains of each kind, more than a result's waiting time. (As arrays they would stay in
    // memory.)
    constexpr int kPerStep = 12;
    constexpr int kSteps = 200000;
    Register factor = Register{} + 0.999999;
    Register term = Register{} + 1e-9;
    Register p0 = Register{} + 1.0;
    Register p1 = p0, p2 = p0, p3 = p0, p4 = p0, p5 = p0;
    Register s0 = p0, s1 = p0, s2 = p0, s3 = p0, s4 = p0, s5 = p0;
    const auto both = [&](Register& product, Register& sum) {
        product = product * factor;
        made(product);
        sum = sum + term;
        made(sum);
    };
    double least = 1e9;
    for (int turn = 0; turn < 25; ++turn) {
        const double start = processorNanoseconds();
        for (int step = 0; step < kSteps; ++step) {
            both(p0, s0);
            both(p1, s1);
            both(p2, s2);
            both(p3, s3);
            both(p4, s4);
            both(p5, s5);
        }
        const double taken = processorNanoseconds() - start;
        least = std::min(least, taken / (double{kPerStep} * kSteps * kLanes));
    }
    return least;
}

}  // namespace vynpack::bench
