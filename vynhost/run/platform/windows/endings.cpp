#include <windows.h>

#include <csignal>

#include "vynhost/run/interrupt.h"

namespace vynhost::platform {
namespace {

void (*atTheEnd)() noexcept = nullptr;

// The console is closed, the user logs off, the machine goes down: nobody waits for the run.
BOOL WINAPI onConsoleEnd(DWORD what) {
    if (what == CTRL_C_EVENT || what == CTRL_BREAK_EVENT) return FALSE;  // a signal
    atTheEnd();
    return FALSE;
}

}  // namespace

void watchEndings(void (*note)(int signal), void (*end)() noexcept) noexcept {
    for (const int signal : {SIGINT, SIGTERM, SIGBREAK})
        std::signal(signal, note);
    if (atTheEnd == nullptr) {
        atTheEnd = end;
        ::SetConsoleCtrlHandler(onConsoleEnd, TRUE);
    }
}

void removeAtOnce(const wchar_t* path) noexcept { ::DeleteFileW(path); }

}  // namespace vynhost::platform
