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

constexpr BandKernels kTable = {addLines, addSquares, addTerms, powersOf};

}  // namespace

constinit const BandKernels BandKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
