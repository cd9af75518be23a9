#include "blocks/spectral/bands/band_kernels.h"

#include "kernels/exponential.h"
#include "kernels/lanes.h"

namespace vynpack {
namespace {

using namespace vyn;  // its lanes

void addLines(const float* lines, std::size_t rows, std::size_t channels, double* sums) {
    forEachLaneGroup(channels, [=]<int lanes>(Lanes<lanes>, std::size_t first) {
        using Floats = typename Lanes<lanes>::Floats;
        using Doubles = typename Lanes<lanes>::Doubles;
        auto sum = load<Doubles>(sums + first);
        const float* row = lines + first;
        for (std::size_t i = 0; i < rows; ++i, row += channels)
            sum += converted<Doubles>(load<Floats>(row));
        store(sum, sums + first);
    });
}

void addSquares(const float* lines, std::size_t rows, std::size_t channels, double* sums) {
    forEachLaneGroup(channels, [=]<int lanes>(Lanes<lanes>, std::size_t first) {
        using Floats = typename Lanes<lanes>::Floats;
        using Doubles = typename Lanes<lanes>::Doubles;
        auto sum = load<Doubles>(sums + first);
        const float* row = lines + first;
        for (std::size_t i = 0; i < rows; ++i, row += channels) {
            const auto value = converted<Doubles>(load<Floats>(row));
            sum += value * value;
        }
        store(sum, sums + first);
    });
}

void addTerms(const double* terms, std::size_t rows, std::size_t channels, double* sums) {
    forEachLaneGroup(channels, [=]<int lanes>(Lanes<lanes>, std::size_t first) {
        using Doubles = typename Lanes<lanes>::Doubles;
        auto sum = load<Doubles>(sums + first);
        const double* row = terms + first;
        for (std::size_t i = 0; i < rows; ++i, row += channels)
            sum += load<Doubles>(row);
        store(sum, sums + first);
    });
}

// The sum of a band goes on line by line, one addition waiting for the other.
struct Chain {
    const float* next;
    int left;  // lines
    double sum;
    double* target;
};

// The same line of four bands side by side.
using Four = Lanes<4>::Doubles;
using FourLines = Lanes<4>::Floats;

// Four lines of each of four bands: the sums take them in their order. (Where a register has two
// lanes, turning them takes as long as it saves.)
template <class Term>
[[gnu::always_inline]] inline void addFourOfEach(const float* const (&at)[4], std::ptrdiff_t i,
                                                 Four& sums, Term term) {
    const auto a = load<FourLines>(at[0] + i);
    const auto b = load<FourLines>(at[1] + i);
    const auto c = load<FourLines>(at[2] + i);
    const auto d = load<FourLines>(at[3] + i);
    const FourLines ab01 = __builtin_shufflevector(a, b, 0, 4, 1, 5);
    const FourLines ab23 = __builtin_shufflevector(a, b, 2, 6, 3, 7);
    const FourLines cd01 = __builtin_shufflevector(c, d, 0, 4, 1, 5);
    const FourLines cd23 = __builtin_shufflevector(c, d, 2, 6, 3, 7);
    sums += term(converted<Four>(FourLines(__builtin_shufflevector(ab01, cd01, 0, 1, 4, 5))));
    sums += term(converted<Four>(FourLines(__builtin_shufflevector(ab01, cd01, 2, 3, 6, 7))));
    sums += term(converted<Four>(FourLines(__builtin_shufflevector(ab23, cd23, 0, 1, 4, 5))));
    sums += term(converted<Four>(FourLines(__builtin_shufflevector(ab23, cd23, 2, 3, 6, 7))));
}

// Goes on with `count` sums as long as none of them ends.
template <int count, class Term>
[[gnu::always_inline]] inline void goOn(Chain* chains, Term term) {
    int lines = chains[0].left;
    for (int c = 1; c < count; ++c)
        lines = chains[c].left < lines ? chains[c].left : lines;
    const float* at[count];
    double sum[count];
#pragma GCC unroll 4
    for (int c = 0; c < count; ++c) {
        at[c] = chains[c].next;
        sum[c] = chains[c].sum;
    }
    std::ptrdiff_t i = 0;
    if constexpr (count == 4 && kLanes >= 4) {
        auto sums = load<Four>(sum);
        for (; i + 4 <= lines; i += 4)
            addFourOfEach(at, i, sums, term);
        store(sums, sum);
    }
    for (; i < lines; ++i) {
#pragma GCC unroll 4
        for (int c = 0; c < count; ++c)
            sum[c] += term(static_cast<double>(at[c][i]));
    }
#pragma GCC unroll 4
    for (int c = 0; c < count; ++c) {
        chains[c].sum = sum[c];
        chains[c].next += lines;
        chains[c].left -= lines;
    }
}

// Four bands abreast; one that has ended is replaced by the next. The last bands come first: they
// have most lines, so that the four end at much the same time. Short ones are summed one by one:
// the processor itself begins the next before the last has ended.
template <class Term>
[[gnu::always_inline]] inline void addBands(const float* lines, const BandRun* runs,
                                            std::size_t count, double* sums, Term term) {
    constexpr int kShort = 16;
    Chain chains[4];
    int active = 0;
    while (true) {
        while (active < 4 && count > 0) {
            const BandRun& run = runs[--count];
            double* const target = sums + run.band;
            const float* const first = lines + run.firstLine;
            if (run.lines >= kShort) {
                chains[active++] = {first, run.lines, *target, target};
                continue;
            }
            double sum = *target;
            for (std::ptrdiff_t i = 0; i < run.lines; ++i)
                sum += term(static_cast<double>(first[i]));
            *target = sum;
        }
        switch (active) {
            case 4: goOn<4>(chains, term); break;
            case 3: goOn<3>(chains, term); break;
            case 2: goOn<2>(chains, term); break;
            case 1: goOn<1>(chains, term); break;
            default: return;
        }
        for (int c = active - 1; c >= 0; --c) {
            if (chains[c].left > 0) continue;
            *chains[c].target = chains[c].sum;
            chains[c] = chains[--active];
        }
    }
}

// The sum of numbers in their order, on from `sum`; at least one number. Without a loop for the
// last eight: sums are short here, and a jump to the right place is foreseen more often than a
// loop's end.
[[gnu::always_inline]] inline double sumOf(const double* first, const double* end, double sum) {
    for (; end - first > 8; first += 8) {
#pragma GCC unroll 8
        for (int k = 0; k < 8; ++k)
            sum += first[k];
    }
    switch (end - first) {
        case 8: sum += end[-8]; [[fallthrough]];
        case 7: sum += end[-7]; [[fallthrough]];
        case 6: sum += end[-6]; [[fallthrough]];
        case 5: sum += end[-5]; [[fallthrough]];
        case 4: sum += end[-4]; [[fallthrough]];
        case 3: sum += end[-3]; [[fallthrough]];
        case 2: sum += end[-2]; [[fallthrough]];
        default: return sum + end[-1];
    }
}

// Few lines: their terms are made side by side first, so that a band takes one addition per line
// and nothing else. The processor itself begins the next bands while the longest go on.
constexpr int kFewLines = 512;

template <class Term>
[[gnu::always_inline]] inline void addBandsOfFewLines(const float* lines, int count,
                                                      const BandRun* runs, std::size_t runCount,
                                                      double* sums, Term term) {
    double terms[kFewLines];
    int i = 0;
    for (; i + 4 <= count; i += 4)
        store(term(converted<Four>(load<FourLines>(lines + i))), terms + i);
    for (; i < count; ++i)
        terms[i] = term(static_cast<double>(lines[i]));
    while (runCount > 0) {
        const BandRun& run = runs[--runCount];
        const double* const first = terms + (run.firstLine - runs[0].firstLine);
        sums[run.band] = sumOf(first, first + run.lines, sums[run.band]);
    }
}

template <class Term>
[[gnu::always_inline]] inline void addAllBands(const float* lines, const BandRun* runs,
                                               std::size_t count, double* sums, Term term) {
    if constexpr (kLanes >= 4) {
        if (count == 0) return;
        const BandRun& last = runs[count - 1];
        const int reach = last.firstLine + last.lines - runs[0].firstLine;
        if (reach <= kFewLines) {
            addBandsOfFewLines(lines + runs[0].firstLine, reach, runs, count, sums, term);
            return;
        }
    }
    addBands(lines, runs, count, sums, term);
}

void addRuns(const float* lines, const BandRun* runs, std::size_t count, double* sums) {
    addAllBands(lines, runs, count, sums, [](auto line) { return line; });
}

void addSquaresOfRuns(const float* lines, const BandRun* runs, std::size_t count, double* sums) {
    addAllBands(lines, runs, count, sums, [](auto line) { return line * line; });
}

bool powersOf(const float* levels, std::size_t count, double* out) {
    constexpr double kCoarse = 0x1.d791c58p-3;  // ln(10) / 10 = coarse + fine, 28 bits in coarse
    constexpr double kFine = 0x1.e222089abeeacp-29;
    constexpr float kLargest = 3000.0F;
    int outside = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const double level = levels[i];
        out[i] = exponential({level * kCoarse, level * kFine});
        outside |= levels[i] >= -kLargest && levels[i] <= kLargest ? 0 : 1;
    }
    return outside == 0;
}

// At most four at a time: the widest registers would slow down the sums before and after, which
// have no use for them.
void rootsOf(const double* sums, std::size_t count, float* out) {
    std::size_t i = 0;
#if defined(__AVX2__)
    for (; i + 4 <= count; i += 4)
        store(converted<FourLines>(Four(_mm256_sqrt_pd(load<Four>(sums + i)))), out + i);
#endif
    for (; i < count; ++i)
        out[i] = static_cast<float>(__builtin_sqrt(sums[i]));
}

constexpr BandKernels kTable = {addLines,         addSquares, addTerms, addRuns,
                                addSquaresOfRuns, powersOf,   rootsOf};

}  // namespace

constinit const BandKernels BandKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
