// The window functions and their gain factors.
//
// Source of the shapes but for the flat top's, some under other names there: F. J. Harris, "On the
// Use of Windows for Harmonic Analysis with the Discrete Fourier Transform", Proc. IEEE 66 (1978).
#pragma once

#include <cstdint>
#include <vector>

namespace vynpack {

// A block's window choice: string ids of the names. kNoWindow leaves the samples as they are.
enum WindowChoice : std::uint16_t {
    kNoWindow = 64,
    kRectangleWindow = 65,
    kHanningWindow = 66,
    kHammingWindow = 67,
    kBlackmanWindow = 68,
    kFlatTopWindow = 69,
    kKaiserWindow = 70,
    kCosine10Window = 71,
    kWelchWindow = 72,
    kParzenWindow = 73,
    kBartlettWindow = 74,
    kValleeWindow = 75,
    kCauchyWindow = 76,
    kGaussWindow = 77,
    kExponentialWindow = 78,
    kRiemannWindow = 79,
};

// A block's choice of what to correct the window's attenuation for: control ids of the dialog.
enum WindowCorrection : std::uint16_t {
    kNoCorrection = 1102,
    kEnergyCorrection = 1103,     // for random signals: divides by the root of the power factor
    kAmplitudeCorrection = 1104,  // for periodic signals: divides by the gain factor
};

// Kinds of the window routine, in the order of the choices from kRectangleWindow on.
enum WindowKind : int {
    kRectangle,
    kHanning,
    kHamming,
    kBlackman,
    kFlatTop,
    kKaiserBessel,
    kCosine10,
    kWelch,
    kParzen,
    kBartlett,
    kVallee,
    kCauchy,
    kGauss,
    kExponential,
    kRiemann,
    kGivenWeights,
};

// Mean of the squared weights and mean of the weights: tabulated for most kinds.
struct WindowFactors {
    double power = 1.0;
    double gain = 1.0;

    bool operator==(const WindowFactors&) const = default;
};

struct Window {
    std::vector<double> weights;  // one per sample
    WindowFactors factors;
};

// The window of one of the kinds kRectangle to kRiemann for n samples. `parameter` shapes the
// Kaiser-Bessel, Cauchy, Gauss and Exponential windows. Names and formulas go together as this
// system defines them, also where a textbook uses the name for another formula.
Window makeWindow(WindowKind kind, double parameter, int n);

// Status of a window kind above kGivenWeights.
inline constexpr int kUnknownWindow = 301;

// The window routine: out[i] = in[i] * w(i) for n samples (in and out may be the same array), and
// the two factors where an array is given. For kGivenWeights `parameter` points to n weights, else
// to the window's parameter. An unknown kind copies, sets both factors to 1 and answers
// kUnknownWindow; else 0.
int applyWindow(const double* in, const double* parameter, int n, int kind, double* out,
                WindowFactors* factors);

// The window that a block has chosen, made when choice, parameter or length change and else kept.
class ChosenWindow {
public:
    // Choices outside the table, and kNoWindow, weight nothing.
    void choose(std::uint16_t choice, double parameter, int n);
    void forget();

    // n weights, or null where the samples stay as they are.
    const double* weights() const {
        return window_.weights.empty() ? nullptr : window_.weights.data();
    }
    const WindowFactors& factors() const { return window_.factors; }

private:
    Window window_;
    std::uint16_t choice_ = kNoWindow;
    double parameter_ = 0.0;
    int n_ = 0;
};

// What a window correction multiplies a spectrum with: mode 0 for energy, 1 for amplitude, and 0.0
// for any other mode.
double correctionFactor(int mode, const WindowFactors& factors);

// The modified Bessel function of order 0 by its power series.
double besselI0(double x);

}  // namespace vynpack
