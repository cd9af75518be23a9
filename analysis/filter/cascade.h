// A filter as a cascade of second-order sections, made from its roots.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "design/roots.h"
#include "filter/lane_section_kernels.h"
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

    // Whether all are of one design, by shareDesign, and at the start of a group: what it takes to
    // run them side by side.
    static bool canRunTogether(std::span<Cascade* const> cascades) noexcept;
    // Their states side by side, as LaneSectionKernels::Channels has them, and back.
    static void takeStates(std::span<Cascade* const> cascades, double* states) noexcept;
    static void giveStates(std::span<Cascade* const> cascades, const double* states) noexcept;
    // Of a cascade that has sections.
    std::span<const LaneSection> laneSections() const noexcept { return *design_; }

    // Takes the other's design for its own where both are equal; the state stays.
    void shareDesign(const Cascade& other) noexcept;

    int sectionCount() const noexcept { return design_ ? static_cast<int>(design_->size()) : 0; }
    // Samples that are missing to the start of a group.
    int toNextGroup() const noexcept { return (kGroup - phase_) % kGroup; }

private:
    using Design = std::vector<LaneSection>;

    double gain_ = 1.0;                     // used where there is no section
    std::shared_ptr<const Design> design_;  // none: no section
    std::vector<SectionState> states_;
    int phase_ = 0;  // place in the group of samples, the same in all sections
};

}  // namespace ovanlys
