#include "vynhost/run/interrupt.h"

#include <atomic>
#include <csignal>

namespace vynhost {
namespace {

std::atomic<bool> noted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void noteInterrupt(int signal) {
    noted = true;
    std::signal(signal, SIG_DFL);
}

}  // namespace

void watchInterrupts() noexcept {
    std::signal(SIGINT, noteInterrupt);
    std::signal(SIGTERM, noteInterrupt);
}

bool interrupted() noexcept { return noted.exchange(false); }

}  // namespace vynhost
