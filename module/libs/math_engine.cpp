#include "libs/math_engine.h"

namespace vynpack {
namespace {

constexpr std::array<const char*, MathEngine::kFunctions> kNames = {
    "window",    "fft",        "zoomfft", "rfft",       "magcorr",   "spectrum",
    "frequency", "bessel01",   "average", "correlate",  "responsef", "specaverage",
    "loudness",  "octavespec", nullptr,   "intel_rfft", "intel_fft"};

}  // namespace

MathEngine::Found MathEngine::load() noexcept {
    if (library_ != nullptr) return Found::complete;

    library_ = platform::loadLibrary(platform::kMathEngineFile);
    if (library_ == nullptr) return Found::nothing;
    auto found = Found::complete;
    for (std::size_t i = 0; i < kFunctions; ++i) {
        if (i == kUnboundEntry) continue;
        functions_[i] = platform::findFunction(library_, kNames[i]);
        if (functions_[i] == nullptr) found = Found::incomplete;
    }
    return found;
}

void MathEngine::unload() noexcept {
    // Kept: the handle survives, so a later load answers true without loading again.
    if (library_ != nullptr) platform::unloadLibrary(library_);
}

}  // namespace vynpack
