#include "blocks/spectral/core/dual_spectrum_average.h"

#include <algorithm>

#include "blocks/spectral/core/dual_spectrum_kernels.h"
#include "blocks/spectral/core/spectrum_conversion.h"
#include "kernels/level.h"

namespace vynpack {

bool LineAverages::hold(std::size_t averages) {
    if (averages == averages_.size()) return false;
    averages_.assign(averages);
    return averages != 0;
}

const double* LineAverages::take(const AverageRule& rule, std::size_t first,
                                 std::span<const double> present) {
    const std::span<double> past{averages_.data() + first, present.size()};
    if (rule.progress.blocks() < 2) {
        std::copy(present.begin(), present.end(), past.begin());
    } else if (rule.mode == kWeightedMode) {
        vyn::kernelsAt<DualSpectrumKernels>().takeWeighted(past.data(), present.data(),
                                                           rule.progress.weight(), past.size());
    } else {
        averageSpectra(past, present, rule.progress.blocks(), rule.mode, past);
    }
    return past.data();
}

}  // namespace vynpack
