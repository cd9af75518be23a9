#include "classify/class_scale.h"

#include <cmath>

namespace vynpack {

ClassLimits::ClassLimits(const ClassScale& scale)
    : limits_(static_cast<std::size_t>(scale.number) + 1) {
    for (std::size_t k = 0; k < limits_.size(); ++k)
        limits_[k] = scale.lowerLimit(static_cast<int>(k));
    perWidth_ = 1.0 / scale.width();
    rising_ = scale.width() > 0.0 && std::isfinite(limits_.front()) && std::isfinite(perWidth_) &&
              std::isfinite(limits_.back());
}

}  // namespace vynpack
