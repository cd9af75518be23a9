// What is lost while one of these lives is lost on purpose: the leak check passes over it.
#pragma once

#if defined(VYN_SANITIZED)
#include <sanitizer/lsan_interface.h>
#endif

namespace vynhost::test {

class LeakExpected {
public:
#if defined(VYN_SANITIZED)
    LeakExpected() noexcept { __lsan_disable(); }
    ~LeakExpected() { __lsan_enable(); }
#else
    LeakExpected() noexcept {}
    ~LeakExpected() {}
#endif
    LeakExpected(const LeakExpected&) = delete;
    LeakExpected& operator=(const LeakExpected&) = delete;
};

}  // namespace vynhost::test
