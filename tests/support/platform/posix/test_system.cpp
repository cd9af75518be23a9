#include "support/platform/test_system.h"

#include <sys/resource.h>
#include <sys/wait.h>

#include <cstdlib>

#include "vynhost/interface/platform/system.h"

// Present when the program is built with a sanitizer.
extern "C" __attribute__((weak)) void __sanitizer_set_report_fd(void* file);

namespace vynhost::platform {

const char* const kHostProgram = "vynhost";

bool setLockable(Handle handle, bool lockable) noexcept {
    const View view(handle);
    if (view.address() == nullptr) return false;
    // A handle is the address of the pointer to the memory.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    *reinterpret_cast<void**>(handle) = lockable ? view.address() : nullptr;
    return true;
}

Int sendToWindow(Int window, std::uint32_t message, Int first, Int second) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<Int (*)(std::uint32_t, Int, Int)>(window)(message, first, second);
}

bool boxesCanBeCaught() noexcept { return true; }

void limitMemory(std::size_t bytes) noexcept {
    if (__sanitizer_set_report_fd != nullptr) return;  // its shadow needs the address space
    const rlimit limit{bytes, bytes};
    ::setrlimit(RLIMIT_AS, &limit);
}

int runShell(const std::string& command) {
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace vynhost::platform
