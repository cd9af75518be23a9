#include "dialogs/dual_spektrum_draft.h"

#include <algorithm>
#include <cstdint>

#include "dialogs/window_rules.h"

namespace vynpack {
namespace {

// Entries of the lists of amplitude and averaging types.
constexpr int kRealImaginaryEntry = 5;
constexpr int kWeightedEntry = 5;

// Entry numbers are stored as the string ids of a consecutive range.
std::int16_t idOfEntry(int entry, int first) { return static_cast<std::int16_t>(entry + first); }

}  // namespace

bool DualSpectrumDraft::phaseOffered() const { return amplitudeEntry != kRealImaginaryEntry; }

bool DualSpectrumDraft::transferTypeOffered() const {
    return quantity == TODualSpektrum::Parameters::kTransferFunction;
}

bool DualSpectrumDraft::averageFactorOffered() const { return averageTypeEntry == kWeightedEntry; }

bool DualSpectrumDraft::resetCountOffered() const {
    return resetMode == TODualSpektrum::Parameters::kResetByCount;
}

bool DualSpectrumDraft::dataOnResetOffered() const {
    return resetMode != TODualSpektrum::Parameters::kNeverReset;
}

void rewriteForDialog(TODualSpektrum::Parameters& parameters) {
    if (parameters.amplitudeType == kRealImaginary) parameters.amplitudeType = kCepstrum;
}

DualSpectrumDraft draftOf(const TODualSpektrum::Parameters& parameters) {
    return {.amplitudeEntry = parameters.amplitudeType - kPeak,
            .quantity = parameters.quantity,
            .transferEntry = parameters.transferType - kTransferH0,
            .phase = parameters.phase != 0,
            .coherence = parameters.coherence != 0,
            .windowEntry = parameters.window - kNoWindow,
            .correction = parameters.correction,
            .windowParameter = showNumber(parameters.windowParameter),
            .averageTypeEntry = parameters.averageType - kNoAveraging,
            .averageSourceEntry = parameters.averageSource - kAverageAmplitude,
            .averageFactor = showNumber(parameters.averageFactor),
            .resetMode = parameters.resetMode,
            .resetCount = showInteger(parameters.resetCount),
            .dataOnReset = parameters.dataOnReset != 0};
}

void accept(const DualSpectrumDraft& draft, TODualSpektrum::Parameters& parameters) {
    parameters.phase = draft.phase ? 1 : 0;
    parameters.coherence = draft.coherence ? 1 : 0;
    parameters.amplitudeType = idOfEntry(draft.amplitudeEntry, kPeak);
    // The list has real and imaginary parts in the cepstrum's place.
    if (parameters.amplitudeType == kCepstrum) parameters.amplitudeType = kRealImaginary;
    parameters.averageType = idOfEntry(draft.averageTypeEntry, kNoAveraging);
    parameters.averageSource = idOfEntry(draft.averageSourceEntry, kAverageAmplitude);
    parameters.quantity = static_cast<std::int16_t>(draft.quantity);
    parameters.transferType = idOfEntry(draft.transferEntry, kTransferH0);
    parameters.window = idOfEntry(draft.windowEntry, kNoWindow);
    parameters.correction = static_cast<std::int16_t>(draft.correction);
    parameters.windowParameter = windowParameterOf(draft.windowParameter);
    parameters.resetMode = static_cast<std::int16_t>(draft.resetMode);
    // The arrows may have left an exponent in the text.
    parameters.resetCount = std::max(1, wholePart(readNumber(draft.resetCount)));
    parameters.dataOnReset = draft.dataOnReset ? 1 : 0;
    parameters.averageFactor = readNumber(draft.averageFactor);
}

}  // namespace vynpack
