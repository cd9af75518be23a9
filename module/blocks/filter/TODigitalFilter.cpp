#include "blocks/filter/TODigitalFilter.h"

#include <utility>

#include "host/TOGlobal.h"
#include "host/host_messages.h"
#include "host/keyword_members.h"

namespace vynpack {
namespace {

enum Input { kSignal };
enum Output { kFiltered };

double sampleRateOf(const ChannelBlockHeader& header) {
    const double rate = 1.0 / header.xStep;
    return header.xAxisKind == kAxisMilliseconds ? rate * 1000.0 : rate;
}

using P = FilterDesign;

// Enumerations travel as numbers from 0 on; no range is checked.
constexpr Keyword<P> kKeywords[] = {
    {"PkFIRFilter", integer<&P::fir>(), ValueType::flag},
    {"PkFilterMode", integer<&P::mode, P::kLowPass>()},
    {"PkCutoffFreq", real<&P::cutoff>()},
    {"PkUpperFreq", real<&P::upper>()},
    {"PkLowerFreq", real<&P::lower>()},
    {"PkWindowFunction", integer<&P::window, P::kRectangular>()},
    {"PkFilterLength", integer<&P::length>()},
    {"PkKaiserWindow", integer<&P::kaiser>(), ValueType::flag},
    {"PkFilterType", integer<&P::characteristic, P::kButterworth>()},
    {"PkRipple", real<&P::ripple>()},
    {"PkAttenuation", real<&P::attenuation>()},
    {"PkFilterOrder", integer<&P::order>()},
};

}  // namespace

std::span<const Keyword<FilterDesign>> DigitalFilterParameters::keywords() { return kKeywords; }

void TODigitalFilter::GetConnectors(ConnectorText& text) const { writeConnectors(text, "E,;A,"); }

int TODigitalFilter::InitSim() {
    firstBlock_ = 1;
    held_ = MemoryHandle::none;
    forgetError();
    return kDone;
}

int TODigitalFilter::Simulation(SimulationRecord& record) {
    if (!record.outputFree(kFiltered) || !record.inputWaits(kSignal)) return kDoneZero;
    held_ = record.inputData[kSignal];
    ChannelBlock input(held_);
    if (!input || !input.sound()) return kFailed;

    const double rate = sampleRateOf(input.header());
    if (std::exchange(firstBlock_, 0) != 0 && !startRun(input.channels(), rate)) return kFailed;
    if (std::holds_alternative<std::monostate>(filter_)) return kFailed;
    if (!(rate == rate_)) return fail(kTextSampleRateChanged);  // a rate that is no number, too
    if (input.channels() != channels_) return fail(kTextChannelCountChanged);

    OutputBlock output(record, kFiltered, input.valueCount(), input.handle());
    if (!output) return fail(kTextOutOfMemory);
    filterValues(input.values(), output.values());

    output.deliver();
    consumeInput(record, kSignal, input);
    held_ = MemoryHandle::none;
    return kDoneZero;
}

int TODigitalFilter::Stoppen() {
    host_message::giveBack(held_);
    filter_ = std::monostate{};
    return kDone;
}

bool TODigitalFilter::startRun(int channels, double rate) {
    filter_ = std::monostate{};
    switch (edgeFaultOf(parameters_, rate)) {
        case EdgeFault::cutoff: fail(kTextCutoffAboveNyquist); return false;
        case EdgeFault::upperEdge: fail(kTextUpperEdgeAboveNyquist); return false;
        case EdgeFault::none: break;
    }
    channels_ = channels;
    rate_ = rate;
    filter_ = makeFilter();
    const bool made = !std::holds_alternative<std::monostate>(filter_);
    if (!made) fail(kTextOutOfMemory);
    return made;
}

TODigitalFilter::Filter TODigitalFilter::makeFilter() const {
    const AnalysisFunctions& functions = theGlobal().analysis().functions();
    if (parameters_.fir != 0) {
        if (auto bank = makeFirBank(parameters_, channels_, rate_, functions))
            return *std::move(bank);
        return {};
    }
    if (!parameters_.kindExists()) return {};
    auto filters =
        ChannelFilters::create(functions, parameters_.kind(), parameters_.order, channels_);
    if (!filters) return {};
    for (const FilterObject& object : filters.objects())
        designIir(parameters_, rate_, functions, object.handle());
    return filters;
}

void TODigitalFilter::filterValues(std::span<const float> in, std::span<float> out) {
    if (auto* fir = std::get_if<FirFilterBank>(&filter_)) {
        const AnalysisFunctions& functions = theGlobal().analysis().functions();
        fir->filter(functions.convolve.address(), in, out,
                    functions.convolveChannels.addressOrNull());
    } else if (auto* iir = std::get_if<ChannelFilters>(&filter_)) {
        iir->filter(in, out);
    }
}

}  // namespace vynpack
