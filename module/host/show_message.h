// Message boxes with texts of the string table, and the report of errors found during a run.
#pragma once

#include "platform/message.h"

namespace vynpack {

// Box styles.
inline constexpr unsigned kBoxPlain = 0;
inline constexpr unsigned kBoxExclamation = 48;

// String table ids that the module's code names.
enum TextId : unsigned {
    kTextError = 2,
    kTextMathEngineNotFound = 3,
    kTextMathEngineVersion = 4,
    kTextClassLimits = 12,
    kTextNeedsFrequencyAxis = 31,
    kTextReduceWidthTooLarge = 32,
    kTextSmoothingWidthTooLarge = 33,
    kTextReduceWidthZero = 34,
    kTextWeightOutOfRange = 35,
    kTextResetCountZero = 36,
    kTextCutoffAboveNyquist = 123,
    kTextUpperEdgeAboveNyquist = 124,
    kTextOutOfMemory = 125,
    kTextSampleRateChanged = 126,
    kTextChannelCountChanged = 127,
    kTextEdgesCrossed = 128,
    kTextErrorCaption = 129,
    kTextRippleZeroChebyshev = 130,
    kTextRippleZeroElliptic = 131,
    kTextRippleAboveAttenuation = 132,
    kTextAttenuationZero = 133,
    kTextAxisUnitUnknown = 135,
    kTextAxisUnitChanged = 136,
    kTextNotATimeSignal = 137,
    kTextOutputFrequencyZero = 138,
    kTextBlankingPeriodRange = 139,
    kTextOutputFrequencyRange = 140,
    kTextFilterLength = 141,
    kTextFilterOrder = 142,
    kTextFrequencyZero = 143,
    // Without entries in the string table, so that their box is empty.
    kTextHostTooOldCaption = 1000,
    kTextHostTooOld = 1001,
};

// Shows a modal box: caption and text from the string table, the text formatted printf-style with
// the further arguments. Returns the pressed button.
int ShowMessage(HostWindow owner, unsigned style, unsigned captionId, unsigned textId,
                ...) noexcept;

// An error found during a run: kept by the block, shown when the host asks for it. It stays set
// until the next run starts.
class DeferredError {
public:
    explicit DeferredError(unsigned defaultText = kTextErrorCaption) noexcept
        : defaultText_(defaultText), text_(defaultText) {}

    void clear() noexcept {
        pending_ = false;
        text_ = defaultText_;
    }
    void report(TextId text) noexcept {
        pending_ = true;
        text_ = text;
    }
    bool pending() const noexcept { return pending_; }

    // Shows the box if an error is pending; always 1.
    int show() const noexcept;

private:
    unsigned defaultText_;
    unsigned text_;
    bool pending_ = false;
};

}  // namespace vynpack
