#include "blocks/spectral/core/shared_averages.h"

namespace vynpack {

void SharedAverages::hold(const DualSpectrumSettings& settings, std::size_t lines,
                          AverageProgress& progress) {
    const bool shares = settings.averages() && settings.dividesProducts() && settings.coherence &&
                        !settings.averagesPower() && averagesArithmetically(settings.averageType);
    const std::uint16_t sharedBy = shares ? settings.transferType : std::uint16_t{0};
    if (sharedBy != sharedBy_) endSharing();

    for (LineAverages& average : results_) {
        const bool powers = &average == &results_[0] && settings.averagesPower();
        if (average.hold(settings.averages() || powers ? lines : 0)) progress.restart();
    }
    // Begun in the middle of an average these hold sums over fewer blocks than the progress says,
    // all four alike, which the quotient of the coherence does not see.
    for (LineAverages* average : {&coherence_.crossRe, &coherence_.crossIm,
                                  &coherence_.responsePower, &coherence_.excitationPower})
        average->hold(settings.coherence ? lines : 0);
    if (progress.nextBlock() < 2) sharedBy_ = sharedBy;
}

// Kept: in the places of the results, so that power averaged before its conversion, and a change of
// the settings in the middle of an average, go on from what stands there.
SharedAverages::Divided SharedAverages::dividedBy(std::uint16_t transferType) {
    if (transferType == kTransferH1)
        return {.crossRe = results_[0], .crossIm = results_[1], .power = results_[2]};
    return {.crossRe = results_[2], .crossIm = results_[3], .power = results_[0]};
}

void SharedAverages::endSharing() {
    if (sharedBy_ == 0) return;
    const Divided divided = dividedBy(sharedBy_);
    divided.crossRe = coherence_.crossRe;
    divided.crossIm = coherence_.crossIm;
    divided.power =
        sharedBy_ == kTransferH1 ? coherence_.excitationPower : coherence_.responsePower;
    sharedBy_ = 0;
}

Products SharedAverages::forCoherence(const AverageProgress& progress, Lines lines,
                                      const Products& present) {
    // Kept: arithmetic, whatever the averaging type, and also when averaging is off.
    const AverageRule rule = averageRule(kArithmeticAveraging, progress);
    return {
        .cross = {take(coherence_.crossRe, rule, lines, present.cross.re),
                  take(coherence_.crossIm, rule, lines, present.cross.im)},
        .responsePower = take(coherence_.responsePower, rule, lines, present.responsePower),
        .excitationPower = take(coherence_.excitationPower, rule, lines, present.excitationPower)};
}

Products SharedAverages::forTransfer(const DualSpectrumSettings& settings,
                                     const AverageProgress& progress, Lines lines,
                                     const Products& present, const Products& coherence) {
    if (sharedBy_ != 0) return coherence;
    if (!settings.averages()) return present;
    const AverageRule rule = averageRule(settings.averageType, progress);
    const Divided divided = dividedBy(settings.transferType);
    Products averaged = present;
    averaged.cross.re = take(divided.crossRe, rule, lines, present.cross.re);
    averaged.cross.im = take(divided.crossIm, rule, lines, present.cross.im);
    if (settings.transferType == kTransferH1) {
        averaged.excitationPower = take(divided.power, rule, lines, present.excitationPower);
    } else {
        averaged.responsePower = take(divided.power, rule, lines, present.responsePower);
    }
    return averaged;
}

}  // namespace vynpack
