#include "blocks/classify/core/class_scale.h"

#include <cmath>
#include <limits>

namespace vynpack {

ClassLimits::ClassLimits(const ClassScale& scale)
    : limits_(static_cast<std::size_t>(scale.number) + 1 + kPadding,
              std::numeric_limits<double>::infinity()),
      rising_(scale.width() > 0.0 && std::isfinite(1.0 / scale.width())) {
    for (std::size_t k = 0; k + kPadding < limits_.size(); ++k) {
        const double limit = scale.lowerLimit(static_cast<int>(k));
        limits_[k] = limit;
        rising_ = rising_ && std::isfinite(limit);
    }
}

}  // namespace vynpack
