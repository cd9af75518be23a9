// The floating-point mode that the module's numbers are defined for.
#pragma once

#include <cfenv>

namespace vynpack {

// For the length of a scope: round to nearest, denormals kept, no traps. The caller's mode, with
// its exception flags, is as before afterwards.
class FloatingPointMode {
public:
    FloatingPointMode() noexcept {
        std::fegetenv(&callers_);
        std::fesetenv(FE_DFL_ENV);
    }
    ~FloatingPointMode() { std::fesetenv(&callers_); }
    FloatingPointMode(const FloatingPointMode&) = delete;
    FloatingPointMode& operator=(const FloatingPointMode&) = delete;

private:
    std::fenv_t callers_{};
};

}  // namespace vynpack
