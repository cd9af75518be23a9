#include "blocks/classify/core/class_finder.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <numeric>
#include <type_traits>

namespace vynpack {
namespace {

// The formula, with all that lies below the classes as -1.
int classByFormula(const ClassScale& scale, bool betweenEnds, double x) {
    if (betweenEnds && !(x > scale.begin)) return -1;
    if (betweenEnds && x > scale.end) return scale.number;
    const double k = (x - scale.begin) / scale.range * scale.number;
    if (!(k >= 0.0)) return -1;
    return k < scale.number ? static_cast<int>(k) : scale.number;
}

// Integers in the order of the numbers that they stand for.
template <class Number>
using Ordinal = std::conditional_t<sizeof(Number) == sizeof(float), std::int32_t, std::int64_t>;

template <class Number>
Ordinal<Number> ordinalOf(Number x) {
    const auto bits = std::bit_cast<Ordinal<Number>>(x);
    return bits < 0 ? std::numeric_limits<Ordinal<Number>>::min() - bits : bits;
}
template <class Number>
Number numberOf(Ordinal<Number> ordinal) {
    return std::bit_cast<Number>(ordinal < 0 ? std::numeric_limits<Ordinal<Number>>::min() - ordinal
                                             : ordinal);
}

}  // namespace

template <class Number>
ClassFinder<Number>::ClassFinder(const ClassScale& scale, bool betweenEnds)
    : ruler_{static_cast<Number>(scale.begin), static_cast<Number>(scale.number / scale.range),
             static_cast<Number>(scale.number)} {
    const bool sound = scale.number > 0 && scale.number <= kMostClasses && scale.range > 0.0 &&
                       std::isfinite(scale.begin) && std::isfinite(scale.begin + scale.range) &&
                       std::isfinite(ruler_.classesPerUnit);
    if (sound) findLimits(scale, betweenEnds);
    for (int limit = 0; ready() && limit <= scale.number; ++limit) {
        if (!decides(limit)) {
            lowest_.clear();
            break;
        }
        const Number place = ruler_.placeOf(lowest_[static_cast<std::size_t>(limit)]);
        ruler_.play = std::max(ruler_.play, std::fabs(place - static_cast<Number>(limit)));
    }
}

// Each limit by halving the numbers between half a class below and half a class above the place
// where it should lie.
template <class Number>
void ClassFinder<Number>::findLimits(const ClassScale& scale, bool betweenEnds) {
    const double width = scale.range / scale.number;
    for (int k = 0; k <= scale.number; ++k) {
        const double middle = scale.begin + k * width;
        Ordinal<Number> below = ordinalOf(static_cast<Number>(middle - 0.5 * width));
        Ordinal<Number> above = ordinalOf(static_cast<Number>(middle + 0.5 * width));
        const auto reaches = [&](Ordinal<Number> ordinal) {
            const Number x = numberOf<Number>(ordinal);
            return classByFormula(scale, betweenEnds, static_cast<double>(x)) >= k;
        };
        if (reaches(below) || !reaches(above)) {
            lowest_.clear();
            return;
        }
        for (Ordinal<Number> between = std::midpoint(below, above); between != below;
             between = std::midpoint(below, above)) {
            (reaches(between) ? above : below) = between;
        }
        lowest_.push_back(numberOf<Number>(above));
    }
}

// No value from this limit on has a lower one as its nearest, and none below it a higher one.
template <class Number>
bool ClassFinder<Number>::decides(int limit) const {
    const Number here = lowest_[static_cast<std::size_t>(limit)];
    const Number below = std::nextafter(here, -std::numeric_limits<Number>::infinity());
    const auto number = static_cast<Number>(limit);
    return ruler_.nearestLimit(here) >= number && ruler_.nearestLimit(below) <= number;
}

template class ClassFinder<float>;
template class ClassFinder<double>;

}  // namespace vynpack
