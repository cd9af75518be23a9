#include "blocks/classify/core/class_scale.h"

#include <cmath>
#include <limits>

namespace vynpack {

ClassLimits::ClassLimits(const ClassScale& scale)
    : limits_(1 + static_cast<std::size_t>(scale.number) + 1 + kPadding,
              std::numeric_limits<double>::infinity()),
      rising_(scale.width() > 0.0 && std::isfinite(1.0 / scale.width())) {
    limits_[0] = -limits_[0];
    for (int k = 0; k <= scale.number; ++k) {
        const double limit = scale.lowerLimit(k);
        limits_[1 + static_cast<std::size_t>(k)] = limit;
        rising_ = rising_ && std::isfinite(limit);
    }
}

}  // namespace vynpack
