// Digital filters from analog prototypes.
#pragma once

#include <optional>

#include "design/roots.h"

namespace ovanlys {

enum class FilterKind { lowPass = 0, highPass = 1, bandPass = 2, bandStop = 3 };

constexpr bool isBandKind(FilterKind kind) {
    return kind == FilterKind::bandPass || kind == FilterKind::bandStop;
}

// Whether the edges (Hz) can be designed for at a sample rate: finite, between 0 and half the rate,
// and rising. Low and high pass have f1 alone.
bool edgesMakeSense(FilterKind kind, double rate, double f1, double f2);

// The prototype's filter of a kind: frequency transformation and bilinear transform, the edges
// pre-warped. Band kinds have twice the prototype's order.
Roots digitalFilter(const Roots& prototype, FilterKind kind, double rate, double f1, double f2);

}  // namespace ovanlys
