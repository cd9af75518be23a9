#include "libs/math_engine.h"

#include "host/show_message.h"

namespace vynpack {
namespace {

constexpr std::array<const char*, MathEngine::kFunctions> kNames = {
    "window",    "fft",        "zoomfft", "rfft",       "magcorr",   "spectrum",
    "frequency", "bessel01",   "average", "correlate",  "responsef", "specaverage",
    "loudness",  "octavespec", nullptr,   "intel_rfft", "intel_fft"};

}  // namespace

bool MathEngine::load() {
    if (library_ != nullptr) return true;

    library_ = platform::loadLibrary(platform::kMathEngineFile);
    const bool found = library_ != nullptr;
    if (found) {
        for (std::size_t i = 0; i < kFunctions; ++i) {
            if (i != kUnboundEntry) functions_[i] = platform::findFunction(library_, kNames[i]);
        }
    } else {
        ShowMessage(HostWindow::none, kBoxPlain, kTextHostTooOldCaption, kTextMathEngineNotFound);
    }

    for (std::size_t i = 0; i < kFunctions; ++i) {
        if (i == kUnboundEntry || functions_[i] != nullptr) continue;
        // Kept: a missing engine is reported twice, as not found and as of a wrong version.
        ShowMessage(HostWindow::none, kBoxPlain, kTextHostTooOldCaption, kTextMathEngineVersion);
        return false;
    }
    return found;
}

void MathEngine::unload() noexcept {
    // Kept: the handle survives, so a later load answers true without loading again.
    if (library_ != nullptr) platform::unloadLibrary(library_);
}

}  // namespace vynpack
