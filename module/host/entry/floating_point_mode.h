// The floating-point mode that the module's numbers are defined for.
#pragma once

#include <cstdint>

namespace vynpack {

// For the length of a scope: round to nearest, denormals kept, no traps, the x87 unit at full
// precision. The caller's mode, with its exception flags, is as before afterwards.
class FloatingPointMode {
public:
    FloatingPointMode() noexcept;
    ~FloatingPointMode();
    FloatingPointMode(const FloatingPointMode&) = delete;
    FloatingPointMode& operator=(const FloatingPointMode&) = delete;

private:
    std::uint32_t callersX87_[7];
    std::uint32_t callersVector_;
};

}  // namespace vynpack
