#include "blocks/filter/TODigitalFilter.h"

#include <algorithm>
#include <new>
#include <utility>

#include "host/TOGlobal.h"
#include "host/host_messages.h"
#include "host/keyword_members.h"
#include "host/parameter_record.h"

namespace vynpack {
namespace {

constexpr std::int32_t kRecordSizeWord = 184;
enum Input { kSignal };
enum Output { kFiltered };

// A run whose filter would take more is refused at once, instead of driving the machine into
// swapping.
constexpr double kLargestFirBank = 512.0 * 1024 * 1024;  // bytes
constexpr int kMostTaps = 1 << 20;
constexpr int kMostIirObjects = 16384;

// The library's window codes, and the beta of the Kaiser window that imitates each window.
struct WindowRow {
    TODigitalFilter::Window window;
    int code;
    double kaiserBeta;
};
constexpr std::array<WindowRow, 5> kWindows = {{
    {TODigitalFilter::kRectangular, 0, 0.0},
    {TODigitalFilter::kTriangular, 30, 1.33},
    {TODigitalFilter::kHanning, 1, 3.86},
    {TODigitalFilter::kHamming, 2, 4.86},
    {TODigitalFilter::kBlackman, 5, 7.04},
}};
constexpr int kKaiserCode = 60;

// Other window numbers act as the rectangular window.
WindowRow windowOf(std::int16_t number) {
    const auto row = std::find_if(kWindows.begin(), kWindows.end(),
                                  [&](const WindowRow& window) { return window.window == number; });
    return row == kWindows.end() ? kWindows.front() : *row;
}

double sampleRateOf(const ChannelBlockHeader& header) {
    const double rate = 1.0 / header.xStep;
    return header.xAxisKind == kAxisMilliseconds ? rate * 1000.0 : rate;
}

using P = TODigitalFilter::Parameters;

// Enumerations travel as numbers from 0 on; no range is checked.
constexpr Keyword<P> kKeywords[] = {
    {"PkFIRFilter", integer<&P::fir>(), ValueType::flag},
    {"PkFilterMode", integer<&P::mode, TODigitalFilter::kLowPass>()},
    {"PkCutoffFreq", real<&P::cutoff>()},
    {"PkUpperFreq", real<&P::upper>()},
    {"PkLowerFreq", real<&P::lower>()},
    {"PkWindowFunction", integer<&P::window, TODigitalFilter::kRectangular>()},
    {"PkFilterLength", integer<&P::length>()},
    {"PkKaiserWindow", integer<&P::kaiser>(), ValueType::flag},
    {"PkFilterType", integer<&P::characteristic, TODigitalFilter::kButterworth>()},
    {"PkRipple", real<&P::ripple>()},
    {"PkAttenuation", real<&P::attenuation>()},
    {"PkFilterOrder", integer<&P::order>()},
};

}  // namespace

void TODigitalFilter::GetConnectors(ConnectorText& text) const { writeConnectors(text, "E,;A,"); }

int TODigitalFilter::SaveParameters(FileHandle file) {
    saveRecord(file, kRecordSizeWord, parameters_);
    return 1;
}

int TODigitalFilter::RestoreParameters(FileHandle file) {
    restoreRecord(file, parameters_);
    return 1;
}

int TODigitalFilter::InitSim() {
    firstBlock_ = 1;
    held_ = MemoryHandle::none;
    error_.clear();
    return 1;
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
    if (held_ != MemoryHandle::none)
        host_message::release(std::exchange(held_, MemoryHandle::none));
    filter_ = std::monostate{};
    return 1;
}

int TODigitalFilter::RemoteControl(MemoryHandle info, MemoryHandle value, std::uint16_t subCode) {
    return answerRemoteControl<Parameters>(kKeywords, parameters_, info, value, subCode);
}

int TODigitalFilter::ErrorShow() { return error_.show(); }

void TODigitalFilter::noteOutOfMemory() noexcept { error_.report(kTextOutOfMemory); }

int TODigitalFilter::fail(TextId text) noexcept {
    error_.report(text);
    return kFailed;
}

bool TODigitalFilter::startRun(int channels, double rate) {
    filter_ = std::monostate{};
    if (!cutsBelowNyquist(rate)) return false;
    channels_ = channels;
    rate_ = rate;
    if (parameters_.fir != 0) {
        designFir(channels, rate);
    } else {
        designIir(channels, rate);
    }
    if (std::holds_alternative<std::monostate>(filter_)) error_.report(kTextOutOfMemory);
    return !std::holds_alternative<std::monostate>(filter_);
}

// Kept: of a band only the upper edge is compared; a lower edge above it reaches the design.
bool TODigitalFilter::cutsBelowNyquist(double rate) {
    const double nyquist = rate / 2.0;
    const std::int16_t mode = parameters_.mode;
    if ((mode == kLowPass || mode == kHighPass) && parameters_.cutoff >= nyquist) {
        error_.report(kTextCutoffAboveNyquist);
        return false;
    }
    if ((mode == kBandPass || mode == kBandStop) && parameters_.upper >= nyquist) {
        error_.report(kTextUpperEdgeAboveNyquist);
        return false;
    }
    return true;
}

int TODigitalFilter::kind() const noexcept { return parameters_.mode - kLowPass; }

double TODigitalFilter::lowerEdge() const noexcept {
    const bool band = parameters_.mode == kBandPass || parameters_.mode == kBandStop;
    return band ? parameters_.lower : parameters_.cutoff;
}

double TODigitalFilter::upperEdge() const noexcept {
    const bool band = parameters_.mode == kBandPass || parameters_.mode == kBandStop;
    return band ? parameters_.upper : parameters_.cutoff;
}

void TODigitalFilter::designFir(int channels, double rate) {
    const int length = std::max(parameters_.length, 0);
    if (length > kMostTaps) return;
    if (FirFilterBank::bytesFor(length, channels) > kLargestFirBank) return;
    std::vector<double> coefficients(static_cast<std::size_t>(length));
    if (length > 0) {
        const WindowRow window = windowOf(parameters_.window);
        const bool kaiser = parameters_.kaiser != 0;
        theGlobal().analysis().functions().designFir(
            kind(), rate, lowerEdge(), upperEdge(), length, kaiser ? kKaiserCode : window.code,
            kaiser ? window.kaiserBeta : 0.0, coefficients.data());
    }
    filter_.emplace<FirFilterBank>(std::move(coefficients), channels);
}

void TODigitalFilter::designIir(int channels, double rate) {
    if (kind() < 0 || kind() > kBandStop - kLowPass || channels > kMostIirObjects) return;
    IirFilters filters;
    filters.objects.reserve(static_cast<std::size_t>(channels));
    for (int channel = 0; channel < channels; ++channel) {
        FilterObject object(theGlobal().analysis().functions(), kind(), parameters_.order);
        if (!object) return;
        designInto(object, rate);
        filters.objects.push_back(std::move(object));
    }
    filter_ = std::move(filters);
}

// A characteristic that is none of these leaves the object as created.
void TODigitalFilter::designInto(const FilterObject& object, double rate) const {
    const AnalysisFunctions& design = theGlobal().analysis().functions();
    const double lower = lowerEdge();
    const double upper = upperEdge();
    const double ripple = parameters_.ripple;
    const double attenuation = parameters_.attenuation;
    void* filter = object.handle();
    switch (parameters_.characteristic) {
        case kButterworth: design.designButterworth(rate, lower, upper, filter); break;
        case kChebyshev: design.designChebyshev(rate, lower, upper, ripple, filter); break;
        case kElliptic:
            design.designElliptic(rate, lower, upper, ripple, attenuation, filter);
            break;
        case kInverseChebyshev:
            design.designInverseChebyshev(rate, lower, upper, attenuation, filter);
            break;
        case kBessel: design.designBessel(rate, lower, upper, filter); break;
        default: break;
    }
}

void TODigitalFilter::IirFilters::filter(std::span<const float> in, int channels,
                                         std::span<float> out) {
    rows.filter(in, channels, out, [this](int channel, std::span<double> row) {
        objects[static_cast<std::size_t>(channel)].filter(row);
    });
}

void TODigitalFilter::filterValues(std::span<const float> in, std::span<float> out) {
    if (auto* fir = std::get_if<FirFilterBank>(&filter_)) {
        fir->filter(theGlobal().analysis().functions().convolve.address(), in, out);
    } else if (auto* iir = std::get_if<IirFilters>(&filter_)) {
        iir->filter(in, channels_, out);
    }
}

}  // namespace vynpack
