// Finds the classes of many values without a division, with the result that the division has.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "blocks/classify/core/class_scale.h"

namespace vynpack {

// A value's distance from the first class's lower limit, in class widths, rounded to the nearest
// whole number: the limit that lies nearest. A rough product does for that; where the value stands
// to this one limit decides. The exact limits are the lowest values that the formula itself puts
// into each class, found once: the formula rises with the value, as each of its steps does, and so
// does the nearest limit. That the limits before and behind a value's nearest one never matter
// is checked at every limit when they are found; scales without that are not `ready`.
template <class Number>
class ClassFinder {
public:
    // Finding the limits takes time.
    static constexpr int kMostClasses = 4096;

    // How the nearest limit is found: kernels do the same.
    struct Ruler {
        Number begin;
        Number classesPerUnit;
        Number classes;
        // How far the limits lie from whole numbers at the most: a value that lies further from
        // its nearest one is in the class on its side of the number.
        Number play = 0;

        // Adding and subtracting it rounds to an integer.
        static constexpr Number kRounder = sizeof(Number) == sizeof(float)
                                               ? static_cast<Number>(0x1.8p+23)
                                               : static_cast<Number>(0x1.8p+52);

        Number placeOf(Number x) const { return (x - begin) * classesPerUnit; }

        // 0 to `classes`; `classes` for NaN.
        Number nearestLimit(Number x) const {
            const Number place = placeOf(x);
            const Number notAbove = place < classes ? place : classes;
            const Number inside = notAbove > 0 ? notAbove : 0;
            return (inside + kRounder) - kRounder;
        }
    };

    // `betweenEnds`: values count from above the begin up to the end alone.
    ClassFinder(const ClassScale& scale, bool betweenEnds);

    bool ready() const { return !lowest_.empty(); }
    const Ruler& ruler() const { return ruler_; }
    // The lowest value of each class, and the lowest above all of them.
    const Number* limits() const { return lowest_.data(); }

    // The class of x, whose nearest limit this is; -1 below all classes, their number above and for
    // NaN.
    std::ptrdiff_t classOf(Number x, std::int32_t nearestLimit) const {
        return static_cast<std::ptrdiff_t>(nearestLimit) -
               static_cast<std::ptrdiff_t>(x < lowest_[static_cast<std::size_t>(nearestLimit)]);
    }

private:
    void findLimits(const ClassScale& scale, bool betweenEnds);
    bool decides(int limit) const;

    Ruler ruler_;
    std::vector<Number> lowest_;
};

extern template class ClassFinder<float>;
extern template class ClassFinder<double>;

}  // namespace vynpack
