#include "filter/last_design.h"

namespace ovanlys {

std::optional<FilterObject> LastDesign::find(const DesignOrder& order) const {
    const std::lock_guard lock(mutex_);
    if (!design_ || design_->order != order) return std::nullopt;
    return design_->filter;
}

void LastDesign::keep(const DesignOrder& order, const FilterObject& filter) {
    const std::lock_guard lock(mutex_);
    design_.reset();
    design_.emplace(Design{order, filter});
}

}  // namespace ovanlys
