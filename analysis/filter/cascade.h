// A filter as a cascade of second-order sections, made from its roots.
#pragma once

#include <optional>
#include <vector>

#include "design/roots.h"
#include "filter/section.h"
#include "kernels/level.h"

namespace ovanlys {

class Cascade {
public:
    // Makes the sections from roots in any order: complex ones in conjugate pairs, all finite. More
    // zeros than poles would look into the future; the output is delayed by as many samples.
    // Nothing for roots that make no real filter. Errors: std::bad_alloc.
    static std::optional<Cascade> fromRoots(const Roots& roots);

    // Passes samples through.
    Cascade() = default;

    // Filters n samples from x to y, which may be the same; the state goes on from call to call.
    // Bit for bit the same however a signal is cut into calls, and at every level.
    void run(const double* x, double* y, int n,
             vyn::KernelLevel level = vyn::kernelLevel()) noexcept;

    int sectionCount() const noexcept { return static_cast<int>(sections_.size()); }

private:
    double gain_ = 1.0;  // used where there is no section
    std::vector<Section> sections_;
    std::vector<SectionState> states_;
    int phase_ = 0;  // place in the group of samples, the same in all sections
};

}  // namespace ovanlys
