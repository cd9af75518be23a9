// The digital filter's design work: what the chosen filter is, whether it can be made at a sample
// rate, and how the analysis library is asked for it.
#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "blocks/filter/core/fir_filter_bank.h"

namespace vynpack {

struct FilterDesign {
    // Stored as the string ids of their names.
    enum Mode : std::int16_t { kLowPass = 114, kHighPass, kBandPass, kBandStop };
    enum Window : std::int16_t { kRectangular = 99, kTriangular, kHanning, kHamming, kBlackman };
    enum Characteristic : std::int16_t {
        kButterworth = 108,
        kChebyshev,
        kElliptic,
        kInverseChebyshev,
        kBessel,
        kNoCharacteristic = 114,
    };

    std::uint32_t fir = 1;  // 0: IIR
    std::int16_t mode = kLowPass;
    double cutoff = 500.0;  // Hz, low and high pass
    double upper = 1000.0;  // Hz, band pass and band stop
    double lower = 100.0;
    std::int16_t window = kBlackman;
    std::int32_t length = 25;  // taps
    std::uint32_t kaiser = 0;  // a Kaiser window stands in for the chosen one
    // Kept: no characteristic at first. An IIR filter passes samples through unchanged until the
    // dialog or a keyword chooses one.
    std::int16_t characteristic = kNoCharacteristic;
    double ripple = 1.2;        // dB in the pass band
    double attenuation = 40.0;  // dB in the stop band
    std::int32_t order = 2;

    bool isPass() const noexcept { return mode == kLowPass || mode == kHighPass; }
    bool isBand() const noexcept { return mode == kBandPass || mode == kBandStop; }
    // The library's number of the mode: 0 low pass to 3 band stop; others name no filter.
    int kind() const noexcept { return mode - kLowPass; }
    bool kindExists() const noexcept { return isPass() || isBand(); }
    // Hz, as the library's designs take them; without a band both are the cut-off frequency.
    double lowerEdge() const noexcept { return isBand() ? lower : cutoff; }
    double upperEdge() const noexcept { return isBand() ? upper : cutoff; }
};

// What lies at or above half the sample rate.
enum class EdgeFault { none, cutoff, upperEdge };

// Kept: of a band only the upper edge is compared; a lower edge above it reaches the design.
EdgeFault edgeFaultOf(const FilterDesign& design, double rate) noexcept;

// The window of a FIR design as the library names it. Windows that are none of the five act as the
// rectangular one.
struct FirWindow {
    int code;
    double kaiserBeta;  // of the Kaiser window that imitates the chosen one; 0 for all others
};
FirWindow firWindowOf(const FilterDesign& design) noexcept;

// False for a run whose filter would take more memory than a run should; it is refused at once,
// instead of driving the machine into swapping.
bool firFits(const FilterDesign& design, int channels) noexcept;

// A FIR filter for that many channels, by functions.designFir (ZABFunc335); nothing when it does
// not fit. Without a length it is silence. Errors: std::bad_alloc.
template <class Functions>
std::optional<FirFilterBank> makeFirBank(const FilterDesign& design, int channels, double rate,
                                         const Functions& functions) {
    if (!firFits(design, channels)) return std::nullopt;
    const std::int32_t length = design.length > 0 ? design.length : 0;
    std::vector<double> coefficients(static_cast<std::size_t>(length));
    if (length > 0) {
        const FirWindow window = firWindowOf(design);
        functions.designFir(design.kind(), rate, design.lowerEdge(), design.upperEdge(), length,
                            window.code, window.kaiserBeta, coefficients.data());
    }
    return FirFilterBank(std::move(coefficients), channels);
}

// Designs into an object of the library (ZABFunc18, 24, 61, 98 or 12). A characteristic that is
// none of the five leaves it as created. What a design answers is not looked at: a refused one
// leaves the object as created, too.
template <class Functions>
void designIir(const FilterDesign& design, double rate, const Functions& functions, void* object) {
    const double lower = design.lowerEdge();
    const double upper = design.upperEdge();
    const double ripple = design.ripple;
    const double attenuation = design.attenuation;
    switch (design.characteristic) {
        case FilterDesign::kButterworth:
            functions.designButterworth(rate, lower, upper, object);
            break;
        case FilterDesign::kChebyshev:
            functions.designChebyshev(rate, lower, upper, ripple, object);
            break;
        case FilterDesign::kElliptic:
            functions.designElliptic(rate, lower, upper, ripple, attenuation, object);
            break;
        case FilterDesign::kInverseChebyshev:
            functions.designInverseChebyshev(rate, lower, upper, attenuation, object);
            break;
        case FilterDesign::kBessel: functions.designBessel(rate, lower, upper, object); break;
        default: break;
    }
}

}  // namespace vynpack
