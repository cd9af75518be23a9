#include <unistd.h>

#include <csignal>

#include "vynhost/run/interrupt.h"

namespace vynhost::platform {

void watchEndings(void (*note)(int signal), void (*)() noexcept) noexcept {
    for (const int signal : {SIGINT, SIGTERM, SIGQUIT})
        std::signal(signal, note);
    // A run that was started to outlive its terminal does.
    if (std::signal(SIGHUP, note) == SIG_IGN) std::signal(SIGHUP, SIG_IGN);
    // These become errors of the writing.
    for (const int signal : {SIGXFSZ, SIGPIPE})
        std::signal(signal, SIG_IGN);
}

void removeAtOnce(const char* path) noexcept { ::unlink(path); }

}  // namespace vynhost::platform
