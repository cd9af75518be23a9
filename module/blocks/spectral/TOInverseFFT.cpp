#include "blocks/spectral/TOInverseFFT.h"

#include <limits>

#include "host/TOGlobal.h"
#include "host/channel_block.h"

namespace vynpack {
namespace {

enum Input { kReals, kImaginaries };
enum Output { kSignal };

// The two spectra belong together and have lines enough to make a signal of: one per channel will
// do, when there are values enough in all.
bool match(const ChannelBlock& reals, const ChannelBlock& imaginaries) {
    constexpr int kFewestValues = 4;
    return reals.valueCount() == imaginaries.valueCount() &&
           reals.channels() == imaginaries.channels() && reals.valueCount() >= kFewestValues &&
           reals.samplesPerChannel() >= 1;
}

void describeSignal(ChannelBlockHeader& header, const ChannelBlockHeader& spectrum, int n) {
    header.xAxisKind = kAxisSeconds;
    header.valueCount = n * spectrum.channelCount;
    header.channelCount = spectrum.channelCount;
    header.xStart = 0.0;
    header.xStep = 1.0 / (n * spectrum.xStep);
    header.yUnit = kUnitNone;
    header.displayMinimum = spectrum.displaySpan * -0.5;
    header.displaySpan = spectrum.displaySpan;
}

}  // namespace

void TOInverseFFT::GetConnectors(ConnectorText& text) const { writeConnectors(text, "R,I,;A,"); }

int TOInverseFFT::InitSim() {
    synthesis_.release();
    firstBlock_ = 1;
    return kDone;
}

int TOInverseFFT::Stoppen() {
    synthesis_.release();
    return kDone;
}

int TOInverseFFT::Simulation(SimulationRecord& record) {
    if (!record.outputFree(kSignal) || !record.inputWaits(kReals) ||
        !record.inputWaits(kImaginaries)) {
        return kDone;
    }
    firstBlock_ = 0;
    ChannelBlock reals(record.inputData[kReals]);
    ChannelBlock imaginaries(record.inputData[kImaginaries]);
    if (!reals || !imaginaries || !reals.sound() || !imaginaries.sound()) return kDone;
    if (!match(reals, imaginaries)) return kDone;

    const std::int64_t channels = reals.channels();
    const std::int64_t n = 2 * static_cast<std::int64_t>(reals.valueCount()) / channels;
    if (n * channels > std::numeric_limits<std::int32_t>::max()) return kDone;
    const InverseRealTransform transform =
        theGlobal().analysis().functions().inverseRealTransform.address();
    synthesis_.prepare(static_cast<int>(n));

    OutputBlock signal(record, kSignal, n * channels, reals.handle());
    if (!signal) return kDone;
    describeSignal(signal.header(), reals.header(), static_cast<int>(n));
    synthesis_.synthesise(reals.values(), imaginaries.values(), reals.channels(), transform,
                          signal.values());
    signal.deliver();
    consumeInput(record, kReals, reals);
    consumeInput(record, kImaginaries, imaginaries);
    return kDone;
}

}  // namespace vynpack
