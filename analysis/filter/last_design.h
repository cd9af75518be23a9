// The design that was made last. The channels of a measurement get the same filter one after the
// other: it is designed for the first of them and copied for the rest.
#pragma once

#include <mutex>
#include <optional>

#include "filter/filter_object.h"

namespace ovanlys {

enum class Characteristic { butterworth, chebyshev, inverseChebyshev, elliptic, bessel };

// All that a design depends on. Frequencies in Hz; dB values that the characteristic lacks are 0.
struct DesignOrder {
    Characteristic characteristic;
    FilterKind kind;
    int order;
    double rate;
    double f1;
    double f2;
    double ripple;
    double attenuation;

    bool operator==(const DesignOrder&) const = default;
};

// May be asked from several threads at once.
class LastDesign {
public:
    // A filter at rest, if it is this one that was designed last. Errors: std::bad_alloc.
    std::optional<FilterObject> find(const DesignOrder& order) const;

    // Keeps a copy of a filter at rest. Errors: std::bad_alloc; nothing is kept then.
    void keep(const DesignOrder& order, const FilterObject& filter);

private:
    struct Design {
        DesignOrder order;
        FilterObject filter;
    };

    mutable std::mutex mutex_;
    std::optional<Design> design_;
};

}  // namespace ovanlys
