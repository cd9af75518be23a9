#include "filter/filter_object.h"

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "filter/floating_point.h"

namespace ovanlys {

// The handle is the head's address.
static_assert(std::is_standard_layout_v<FilterObject>);

namespace {

bool countMakesSense(std::int32_t count) { return count >= 0 && count <= FilterHead::kMaxRoots; }

std::int32_t store(const std::vector<std::complex<long double>>& roots, double* list) {
    for (const auto root : roots) {
        *list++ = static_cast<double>(root.real());
        *list++ = static_cast<double>(root.imag());
    }
    return static_cast<std::int32_t>(roots.size());
}

std::vector<std::complex<long double>> load(const double* list, std::int32_t count) {
    std::vector<std::complex<long double>> roots;
    roots.reserve(static_cast<std::size_t>(std::max(count, 0)));
    for (std::int32_t i = 0; i < count; ++i)
        roots.emplace_back(list[2 * i], list[2 * i + 1]);
    return roots;
}

}  // namespace

FilterObject::FilterObject(FilterKind filterKind, int filterOrder)
    : kind_(filterKind), order_(filterOrder) {
    head_.gain = 1.0;
}

bool FilterObject::design(const Roots& roots) {
    auto cascade = Cascade::fromRoots(roots);
    if (!cascade) return false;
    cascade_ = *std::move(cascade);
    head_.zeroCount = store(roots.zeros, head_.zeros);
    head_.poleCount = store(roots.poles, head_.poles);
    head_.gain = static_cast<double>(roots.gain);
    head_.changed = 0;
    return true;
}

bool FilterObject::takeHead() {
    const StandardMode mode;
    if (!countMakesSense(head_.zeroCount) || !countMakesSense(head_.poleCount)) return false;
    auto cascade = Cascade::fromRoots(
        {load(head_.zeros, head_.zeroCount), load(head_.poles, head_.poleCount), head_.gain});
    if (!cascade) return false;
    cascade_ = *std::move(cascade);
    head_.changed = 0;
    return true;
}

bool FilterObject::filter(const double* x, double* y, int n) {
    if (!takeEdits()) return false;
    const DenormalsFlushed mode;
    cascade_.run(x, y, n);
    return true;
}

}  // namespace ovanlys
