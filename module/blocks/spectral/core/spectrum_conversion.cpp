#include "blocks/spectral/core/spectrum_conversion.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <numbers>

#include "blocks/spectral/core/spectrum_kernels.h"
#include "kernels/level.h"

namespace vynpack {
namespace {

double phaseInDegrees(double re, double im) {
    using std::numbers::pi;
    double angle = 0.0;
    if (re != 0.0) {
        angle = std::atan(im / re);
        if (re < 0.0) angle += im < 0.0 ? -pi : pi;
    } else if (im > 0.0) {
        angle = pi / 2.0;
    } else if (im < 0.0) {
        angle = -pi / 2.0;
    } else if (im != 0.0) {
        angle = im;  // not a number stays that
    }
    return angle * (180.0 / pi);
}

int toCepstrum(std::span<const double> re, std::span<const double> im, std::span<double> out,
               RealTransform transform, std::vector<double>& work) {
    const std::size_t m = re.size();
    if (m == 0) return 0;
    try {
        work.assign(2 * m, 0.0);
    } catch (const std::bad_alloc&) {
        return kCepstrumOutOfMemory;
    }
    double* const logRe = work.data();
    double* const logIm = work.data() + m;
    for (std::size_t k = 0; k < m; ++k)
        logRe[k] = std::log10(re[k] * re[k] + im[k] * im[k]);

    const int status = transform(logRe, logIm, static_cast<int>(m));
    if (status < 0) return status;

    const auto half = static_cast<double>(m / 2);
    const std::size_t values = std::min(m / 2 + 1, out.size());
    for (std::size_t k = 0; k < values; ++k) {
        out[k] = (logRe[k] * logRe[k] + logIm[k] * logIm[k]) / (half * half);
    }
    return 0;
}

}  // namespace

int conversionKind(std::uint16_t amplitudeType) {
    const int kind = amplitudeType - kPeak;
    const bool afterSharedKind = amplitudeType >= kPowerDensity && amplitudeType <= kCepstrum;
    return afterSharedKind ? kind - 1 : kind;
}

int convertSpectrum(std::span<const double> re, std::span<const double> im, int kind,
                    std::span<double> out, RealTransform transform, std::vector<double>& work) {
    const SpectrumKernels& kernels = vyn::kernelsAt<SpectrumKernels>();
    const std::size_t n = re.size();
    switch (kind) {
        case kToMagnitude: kernels.magnitude(re.data(), im.data(), out.data(), n); return 0;
        case kToRms: kernels.rms(re.data(), im.data(), out.data(), n); return 0;
        case kToHalfPower: kernels.halfPower(re.data(), im.data(), out.data(), n); return 0;
        case kToPower: kernels.power(re.data(), im.data(), out.data(), n); return 0;
        case kToCepstrum: return toCepstrum(re, im, out, transform, work);
        case kToPhase:
            std::transform(re.begin(), re.end(), im.begin(), out.begin(), phaseInDegrees);
            return 0;
        default: return 0;
    }
}

double frequencyStep(double start, double end, int count) {
    const double n = count;
    return (n - 1.0) / (n * (end - start));
}

int averageSpectra(std::span<const double> a, std::span<const double> b, std::int64_t count,
                   int mode, std::span<double> out) {
    if (count < 2) return kAverageCountTooSmall;
    const SpectrumKernels& kernels = vyn::kernelsAt<SpectrumKernels>();
    const auto n = static_cast<double>(count);
    switch (mode) {
        case kAverageExponential:
            kernels.moveTowards(b.data(), a.data(), n, out.data(), out.size());
            return 0;
        case kAverageMinimum: kernels.smaller(a.data(), b.data(), out.data(), out.size()); return 0;
        case kAverageMaximum: kernels.larger(a.data(), b.data(), out.data(), out.size()); return 0;
        default:
            kernels.moveTowards(a.data(), b.data(), n, out.data(), out.size());
            return mode == kAverageArithmetic ? 0 : kAverageModeUnknown;
    }
}

}  // namespace vynpack
