// The floating-point mode that the module's numbers are defined for.
#pragma once

#include <cstdint>

namespace vynpack {

// For the length of a scope: round to nearest, denormals kept, no traps, the x87 unit at full
// precision and with an empty stack. The caller's mode, with its exception flags, is as before
// afterwards.
class FloatingPointMode {
public:
    FloatingPointMode() noexcept;
    ~FloatingPointMode();
    FloatingPointMode(const FloatingPointMode&) = delete;
    FloatingPointMode& operator=(const FloatingPointMode&) = delete;

    // To be called where the module has started: a C runtime that has set up an x87 unit in its
    // default mode counts as having used it, which makes every scope of the thread slower.
    static void forgetStart() noexcept;

private:
    // As the processor stores it; the reserved halves of the first words are not looked at.
    struct X87Environment {
        std::uint16_t control, reserved1;
        std::uint16_t status, reserved2;
        std::uint16_t tags, reserved3;
        std::uint32_t pointers[4];
    };

    X87Environment callersX87_;  // where it is not unused
    std::uint32_t callersVector_;
    bool unused_;  // the x87 unit: as after a start
    bool restarted_;
};

}  // namespace vynpack
