#include "blocks/stats/core/averaging_kernels.h"

#include "kernels/lanes.h"

namespace vynpack {
namespace {

using namespace vyn;  // its lanes

void addRows(const float* x, std::size_t rows, std::size_t channels, double* sums) {
    forEachLaneGroup(channels, [=]<int lanes>(Lanes<lanes>, std::size_t first) {
        using Floats = typename Lanes<lanes>::Floats;
        using Doubles = typename Lanes<lanes>::Doubles;
        auto sum = load<Doubles>(sums + first);
        const float* row = x + first;
        for (std::size_t k = 0; k < rows; ++k, row += channels)
            sum += converted<Doubles>(load<Floats>(row));
        store(sum, sums + first);
    });
}

void groupMeans(const float* x, std::size_t groups, std::size_t width, std::size_t channels,
                float* out) {
    const auto divisor = static_cast<float>(width);
    forEachLaneGroup(channels, [=]<int lanes>(Lanes<lanes>, std::size_t first) {
        using Floats = typename Lanes<lanes>::Floats;
        using Doubles = typename Lanes<lanes>::Doubles;
        const float* row = x + first;
        float* mean = out + first;
        for (std::size_t p = 0; p < groups; ++p, mean += channels) {
            Doubles sum{};
            for (std::size_t k = 0; k < width; ++k, row += channels)
                sum += converted<Doubles>(load<Floats>(row));
            store(Floats(converted<Floats>(sum) / divisor), mean);
        }
    });
}

// `registers` registers full of neighbouring outputs.
template <int lanes, int registers>
inline void windowMeansOf(const float* x, std::size_t width, std::size_t channels, float* out) {
    using Floats = typename Lanes<lanes>::Floats;
    using Doubles = typename Lanes<lanes>::Doubles;
    Doubles sums[registers] = {};
    for (std::size_t k = 0; k < width; ++k, x += channels) {
        for (int r = 0; r < registers; ++r)
            sums[r] += converted<Doubles>(load<Floats>(x + r * lanes));
    }
    const auto divisor = static_cast<float>(width);
    for (int r = 0; r < registers; ++r)
        store(Floats(converted<Floats>(sums[r]) / divisor), out + r * lanes);
}

void windowMeans(const float* x, std::size_t count, std::size_t width, std::size_t channels,
                 float* out) {
    constexpr int kRegisters = 8;
    std::size_t i = 0;
    for (; i + kRegisters * kLanes <= count; i += kRegisters * kLanes)
        windowMeansOf<kLanes, kRegisters>(x + i, width, channels, out + i);
    for (; i + kLanes <= count; i += kLanes)
        windowMeansOf<kLanes, 1>(x + i, width, channels, out + i);
    for (; i < count; ++i)
        windowMeansOf<1, 1>(x + i, width, channels, out + i);
}

void mixIn(const float* x, std::size_t count, float weight, float divisor, float* average,
           float* out) {
    if (out == nullptr) {
        for (std::size_t i = 0; i < count; ++i)
            average[i] = (average[i] * weight + x[i]) / divisor;
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const float mixed = (average[i] * weight + x[i]) / divisor;
        average[i] = mixed;
        out[i] = mixed;
    }
}

constexpr AveragingKernels kTable = {addRows, groupMeans, windowMeans, mixIn};

}  // namespace

constinit const AveragingKernels AveragingKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
