#include "vynhost/run/interrupt.h"

#include <array>
#include <atomic>
#include <csignal>
#include <utility>

namespace vynhost {
namespace {

using Name = const std::filesystem::path::value_type*;

std::atomic<bool> noted{false};
std::atomic<bool> watching{false};  // the next one is the first
std::array<std::atomic<Name>, 256> doomed{};
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<Name>::is_always_lock_free);

void removeDoomed() noexcept {
    for (const auto& name : doomed) {
        const Name path = name.load();
        if (path != nullptr) platform::removeAtOnce(path);
    }
}

extern "C" void noteInterrupt(int signal) {
    noted = true;
    if (watching.exchange(false)) {
        std::signal(signal, noteInterrupt);  // which some systems take back with each signal
        return;
    }
    removeDoomed();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

}  // namespace

void watchInterrupts() noexcept {
    noted = false;
    watching = true;
    platform::watchEndings(noteInterrupt, removeDoomed);
}

bool interrupted() noexcept { return noted.exchange(false); }

RemovedWhenInterrupted::RemovedWhenInterrupted(std::filesystem::path path) noexcept
    : path_(std::move(path)), slot_(0) {
    for (; slot_ < doomed.size(); ++slot_) {
        Name empty = nullptr;
        if (doomed[slot_].compare_exchange_strong(empty, path_.c_str())) return;
    }
}

RemovedWhenInterrupted::~RemovedWhenInterrupted() {
    if (slot_ < doomed.size()) doomed[slot_] = nullptr;
}

}  // namespace vynhost
