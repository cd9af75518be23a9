// The filter object behind the handles: its public head, and the cascade made from it.
#pragma once

#include "design/iir_design.h"
#include "filter/cascade.h"
#include "ovanlys/filter_head.h"

namespace ovanlys {

inline constexpr int kMaxOrder = 64;

class FilterObject {
public:
    FilterObject(FilterKind filterKind, int filterOrder);

    FilterKind kind() const noexcept { return kind_; }
    int order() const noexcept { return order_; }

    // Takes a design over: head and sections are made from it, the state is cleared. False, and
    // everything as it was, for roots that make no filter. Errors: std::bad_alloc, as it was too.
    bool design(const Roots& roots);

    // Filters n samples from x to y, which may be the same. After an edit of the head, the sections
    // are first made anew: false, and nothing is filtered, if its lists make no filter. Errors:
    // std::bad_alloc before anything is filtered.
    bool filter(const double* x, double* y, int n);

    // Makes the sections anew after an edit of the head, as `filter` does first.
    bool takeEdits() { return head_.changed == 0 || takeHead(); }
    Cascade& cascade() noexcept { return cascade_; }

private:
    bool takeHead();

    FilterHead head_{};
    FilterKind kind_;
    int order_;
    Cascade cascade_;
};

}  // namespace ovanlys
