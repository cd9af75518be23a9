#include "blocks/spectral/core/dual_spektrum_core.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "blocks/spectral/core/dual_spectrum_average.h"
#include "blocks/spectral/core/dual_spectrum_kernels.h"
#include "blocks/spectral/core/spectrum_kernels.h"
#include "naive_transform.h"
#include "support/signals.h"
#include "unit/kernels/levels_of_machine.h"

namespace vynpack {
namespace {

using signals::noise;
using Samples = std::vector<float>;

struct Lines {
    Samples amplitudes;
    Samples phases;
    Samples coherences;
};

// Bit for bit, so that what is no number equals itself.
bool sameBits(const Samples& a, const Samples& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](float x, float y) {
               return std::bit_cast<std::uint32_t>(x) == std::bit_cast<std::uint32_t>(y);
           });
}
bool operator==(const Lines& a, const Lines& b) {
    return sameBits(a.amplitudes, b.amplitudes) && sameBits(a.phases, b.phases) &&
           sameBits(a.coherences, b.coherences);
}

constexpr double kResolution = 0.7;

Lines analyse(DualSpectrum& spectrum, const DualSpectrumSettings& settings,
              const Samples& excitation, const Samples& response, int channels = 1,
              double growth = 1.0) {
    const int n = static_cast<int>(excitation.size()) / channels;
    const std::size_t values = static_cast<std::size_t>(n / 2) * channels;
    Lines lines;
    lines.amplitudes.assign(values, -99.0F);
    lines.phases.assign(settings.phase || settings.realImaginary() ? values : 0, -99.0F);
    lines.coherences.assign(settings.coherence ? values : 0, -99.0F);
    spectrum.prepare(settings, n, channels);
    spectrum.analyse(settings, {excitation, response}, kResolution, growth, test::naiveTransform,
                     {lines.amplitudes, lines.phases, lines.coherences});
    return lines;
}

// The taps around the circle, so that a block's spectrum is filtered exactly.
Samples filtered(const Samples& samples, const std::vector<float>& taps) {
    Samples out(samples.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
        double sum = 0;
        for (std::size_t j = 0; j < taps.size(); ++j)
            sum +=
                static_cast<double>(taps[j]) * samples[(i + samples.size() - j) % samples.size()];
        out[i] = static_cast<float>(sum);
    }
    return out;
}

std::complex<double> frequencyResponse(const std::vector<float>& taps, int line, int n) {
    std::complex<double> sum = 0;
    for (std::size_t j = 0; j < taps.size(); ++j) {
        sum += static_cast<double>(taps[j]) *
               std::polar(1.0, -2 * std::numbers::pi * line * static_cast<double>(j) / n);
    }
    return sum;
}

double degrees(double radians) { return radians * 180 / std::numbers::pi; }

constexpr double kFewUnits = 1e-6;  // single-precision samples and results, a few units each

DualSpectrumSettings transferSettings(TransferType type) {
    return {.crossSpectrum = false, .transferType = type};
}

// --- What it measures -----------------------------------------------------------------------

TEST(DualSpectrum, EveryTransferFunctionOfAFilterIsTheFilterWithCoherenceOne) {
    const std::vector<float> taps = {0.5F, 0.25F, -0.125F};
    constexpr int n = 64;
    for (const TransferType type : {kTransferH0, kTransferH1, kTransferH2}) {
        for (const std::uint16_t average : {kNoAveraging, kArithmeticAveraging}) {
            DualSpectrum spectrum;
            DualSpectrumSettings settings = transferSettings(type);
            settings.phase = settings.coherence = true;
            settings.averageType = average;
            for (unsigned block = 0; block < 4; ++block) {
                const Samples x = noise(n, block);
                const Lines lines = analyse(spectrum, settings, x, filtered(x, taps));
                for (int k = 1; k < n / 2; ++k) {
                    const auto h = frequencyResponse(taps, k, n);
                    EXPECT_NEAR(lines.amplitudes[k], std::abs(h), 2e-5) << type << " line " << k;
                    EXPECT_NEAR(lines.phases[k], degrees(std::arg(h)), 5e-3) << type;
                    EXPECT_NEAR(lines.coherences[k], 1.0, 1e-5);
                }
            }
        }
    }
}

TEST(DualSpectrum, NoiseOnTheResponseAveragesOutOfH1AndStaysInH2) {
    const std::vector<float> taps = {0.5F, 0.25F};
    constexpr int n = 32;
    constexpr int blocks = 600;
    DualSpectrumSettings settings = transferSettings(kTransferH1);
    settings.averageType = kArithmeticAveraging;
    settings.coherence = true;
    DualSpectrum h1;
    DualSpectrum h2;
    Lines first;
    Lines second;
    for (unsigned block = 0; block < blocks; ++block) {
        const Samples x = noise(n, 2 * block);
        Samples y = filtered(x, taps);
        const Samples disturbance = noise(n, 2 * block + 1, -0.5F, 0.5F);
        for (int i = 0; i < n; ++i)
            y[i] += disturbance[i];
        settings.transferType = kTransferH1;
        first = analyse(h1, settings, x, y);
        settings.transferType = kTransferH2;
        second = analyse(h2, settings, x, y);
    }
    for (int k = 1; k < n / 2; ++k) {
        const double power = std::norm(frequencyResponse(taps, k, n));
        // Spectra of equally distributed noise: its power at the response is a quarter of the
        // excitation's. The scatter of so many averages is sqrt((1 - c) / (2 c blocks)) for
        // coherence c.
        const double coherence = power / (power + 0.25);
        const double scatter = std::sqrt((1 - coherence) / (2 * coherence * blocks));
        EXPECT_NEAR(first.amplitudes[k] / std::sqrt(power), 1.0, 5 * scatter) << k;
        EXPECT_NEAR(second.amplitudes[k] / std::sqrt(power), 1.0 / coherence,
                    5 * scatter / coherence + 0.1)
            << k;
        EXPECT_NEAR(first.coherences[k], coherence, 0.06) << k;
        // H1 = coherence * H2, whatever the signals.
        EXPECT_NEAR(first.amplitudes[k], first.coherences[k] * second.amplitudes[k], 2e-6);
        EXPECT_EQ(first.coherences[k], second.coherences[k]);
    }
}

TEST(DualSpectrum, TheCrossSpectrumOfTwoSinesByHand) {
    // Amplitudes 3 and 2 in line 5, the response 0.5 rad behind: magnitude 6, and X conj(Y) leads
    // by 0.5 rad, which goes out negated.
    constexpr int n = 64;
    Samples x(n);
    Samples y(n);
    for (int i = 0; i < n; ++i) {
        const double angle = 2 * std::numbers::pi * 5 * i / n;
        x[i] = static_cast<float>(3 * std::cos(angle));
        y[i] = static_cast<float>(2 * std::cos(angle - 0.5));
    }
    DualSpectrum spectrum;
    const Lines lines = analyse(spectrum, {.phase = true}, x, y);
    EXPECT_NEAR(lines.amplitudes[5], 6.0, 6 * kFewUnits);
    EXPECT_NEAR(lines.phases[5], -degrees(0.5), 1e-4);
    const Lines parts = analyse(spectrum, {.amplitudeType = kRealImaginary}, x, y);
    EXPECT_NEAR(parts.amplitudes[5], 6.0 * std::cos(0.5), 6 * kFewUnits);
    EXPECT_NEAR(parts.phases[5], 6.0 * std::sin(0.5), 6 * kFewUnits);
}

TEST(DualSpectrum, ImaginaryPartsOfH0AndH2AreThoseOfTheConjugate) {
    const std::vector<float> taps = {0.0F, 1.0F};  // a delay: H = e^(-j w)
    constexpr int n = 32;
    const Samples x = noise(n, 1);
    for (const TransferType type : {kTransferH0, kTransferH1, kTransferH2}) {
        DualSpectrum spectrum;
        DualSpectrumSettings settings = transferSettings(type);
        settings.amplitudeType = kRealImaginary;
        const Lines parts = analyse(spectrum, settings, x, filtered(x, taps));
        for (int k = 1; k < n / 2; ++k) {
            EXPECT_NEAR(parts.amplitudes[k], std::cos(2 * std::numbers::pi * k / n), 1e-5);
            const double imaginary = -std::sin(2 * std::numbers::pi * k / n);
            EXPECT_NEAR(parts.phases[k], type == kTransferH1 ? imaginary : -imaginary, 1e-5);
        }
    }
}

TEST(DualSpectrum, PhasesAreNegatedByTheChosenTransferFunctionAlsoOfTheCrossSpectrum) {
    const Samples x = noise(32, 1);
    const Samples y = noise(32, 2);
    DualSpectrum spectrum;
    const auto phases = [&](TransferType type) {
        return analyse(spectrum, {.transferType = type, .phase = true}, x, y).phases;
    };
    const Samples plain = phases(kTransferH1);
    for (const TransferType type : {kTransferH0, kTransferH2}) {
        const Samples negated = phases(type);
        for (std::size_t k = 0; k < plain.size(); ++k)
            EXPECT_EQ(negated[k], -plain[k]);
    }
}

TEST(DualSpectrum, ANegatedPhaseOfZeroHasItsSignBitSet) {
    DualSpectrum spectrum;
    const Samples silence(16, 0.0F);
    const Lines lines = analyse(spectrum, {.phase = true}, silence, silence);
    for (const float phase : lines.phases) {
        EXPECT_EQ(phase, 0.0F);
        EXPECT_TRUE(std::signbit(phase));
    }
}

TEST(DualSpectrum, SilenceGivesZeroAndNoDivisionByZero) {
    const Samples silence(32, 0.0F);
    for (const TransferType type : {kTransferH0, kTransferH1, kTransferH2}) {
        DualSpectrum spectrum;
        DualSpectrumSettings settings = transferSettings(type);
        settings.coherence = true;
        settings.averageType = kArithmeticAveraging;
        for (int block = 0; block < 3; ++block) {
            const Lines lines = analyse(spectrum, settings, silence, silence);
            EXPECT_EQ(lines.amplitudes, Samples(16, 0.0F)) << type;
            EXPECT_EQ(lines.coherences, Samples(16, 0.0F)) << type;
        }
    }
}

TEST(DualSpectrum, CoherenceOfASingleBlockIsOneWhereBothSignalsHaveALine) {
    DualSpectrum spectrum;
    const Lines lines = analyse(spectrum, {.coherence = true}, noise(64, 3), noise(64, 4));
    for (const float coherence : lines.coherences)
        EXPECT_NEAR(coherence, 1.0, kFewUnits);
}

// --- Against a second calculation --------------------------------------------------------------

// A value per line.
using Column = std::vector<double>;

struct Spectrum {
    Column re, im;
};

// Per line of the excitation's spectrum X and the response's Y.
struct Products {
    Spectrum cross;     // conj(Y) X
    Column excitation;  // |X|^2
    Column response;    // |Y|^2
};

Samples single(const Column& column) { return {column.begin(), column.end()}; }

// The block's calculation, step by step on plain arrays, for one channel.
class Model {
public:
    Model(int n, int window) : n_(n), m_(n / 2), window_(window) {
        for (Column& average : averages_)
            average.assign(m_, 0.0);
    }

    Lines block(const DualSpectrumSettings& s, const Samples& e, const Samples& a, double growth) {
        ++counter_;
        const Spectrum x = spectrumOf(e);
        const Spectrum y = spectrumOf(a);
        const Products products = productsOf(x, y);
        const Spectrum result = s.crossSpectrum ? products.cross : transfer(s, x, y, products);
        Lines lines;
        if (s.amplitudeType == kRealImaginary) {
            const Spectrum parts = averagedParts(s, result);
            lines.amplitudes = single(parts.re);
            lines.phases = single(parts.im);
        } else {
            lines.amplitudes =
                single(s.averageSource == kAverageAmplitude ? averagedAmplitudes(s, result)
                                                            : amplitudesOfAveragedPower(s, result));
            if (s.amplitudeType == kPowerDensity) {
                for (float& amplitude : lines.amplitudes)
                    amplitude /= static_cast<float>(kResolution);
            }
            if (s.phase) lines.phases = single(phases(s, result));
        }
        if (s.coherence) lines.coherences = single(coherence(products));
        weight_ = (weight_ + 1.0) * growth;
        return lines;
    }

    void reset() {
        counter_ = 0;
        weight_ = 1.0;
    }

private:
    // Averages from block to block. The first four places are those of the quotients H1 and H2,
    // which are averaged before the division, and of every other result, which is averaged itself;
    // the coherence has places of its own.
    enum Place {
        kNumeratorRe,
        kNumeratorIm,
        kDenominatorRe,
        kDenominatorIm,
        kResultRe = kNumeratorRe,
        kResultIm = kNumeratorIm,
        kResponsePower = 4,
        kExcitationPower,
        kCrossRe,
        kCrossIm,
        kPlaces,
    };

    static bool dividesProducts(const DualSpectrumSettings& s) {
        return s.transferType == kTransferH1 || s.transferType == kTransferH2;
    }
    // Averaging comes last, unless it came before a division.
    static bool averagesResult(const DualSpectrumSettings& s) {
        return s.averageType != kNoAveraging && (s.crossSpectrum || !dividesProducts(s));
    }

    // Lines of one-sided amplitudes: 2 FFT / n, with a Hanning window and its amplitude correction
    // of 2, or none.
    Spectrum spectrumOf(const Samples& samples) const {
        Spectrum s{Column(samples.begin(), samples.end()), Column(n_)};
        s.re.resize(n_ + 2);
        if (window_ == kHanningWindow) {
            for (int i = 0; i < n_; ++i)
                s.re[i] *= 0.5 * (1 - std::cos(2 * std::numbers::pi * i / n_));
        }
        test::naiveTransform(s.re.data(), s.im.data(), n_);
        const double correction = window_ == kHanningWindow ? 2.0 : 1.0;
        for (Column* part : {&s.re, &s.im}) {
            part->resize(m_);
            for (double& line : *part)
                line = line / m_ * correction;
        }
        return s;
    }

    Products productsOf(const Spectrum& x, const Spectrum& y) const {
        Products p{{Column(m_), Column(m_)}, Column(m_), Column(m_)};
        for (int k = 0; k < m_; ++k) {
            p.cross.re[k] = y.re[k] * x.re[k] + y.im[k] * x.im[k];
            p.cross.im[k] = y.re[k] * x.im[k] - y.im[k] * x.re[k];
            p.excitation[k] = x.re[k] * x.re[k] + x.im[k] * x.im[k];
            p.response[k] = y.re[k] * y.re[k] + y.im[k] * y.im[k];
        }
        return p;
    }

    // The conjugate of Y / X, of H1 = conj(Y) X / |X|^2 or of H2 = |Y|^2 / (conj(Y) X).
    Spectrum transfer(const DualSpectrumSettings& s, const Spectrum& x, const Spectrum& y,
                      const Products& products) {
        const Column zeros(m_, 0.0);
        Spectrum numerator = y;
        Spectrum denominator = x;
        if (s.transferType == kTransferH1) {
            numerator = products.cross;
            denominator = {products.excitation, zeros};
        } else if (s.transferType == kTransferH2) {
            numerator = {products.response, zeros};
            denominator = products.cross;
        }
        if (dividesProducts(s) && s.averageType != kNoAveraging) {
            // What is real has no imaginary part to average.
            average(kNumeratorRe, numerator.re, s.averageType);
            if (s.transferType == kTransferH1) {
                average(kNumeratorIm, numerator.im, s.averageType);
            }
            average(kDenominatorRe, denominator.re, s.averageType);
            if (s.transferType == kTransferH2) {
                average(kDenominatorIm, denominator.im, s.averageType);
            }
        }
        Spectrum quotient{zeros, zeros};
        for (int k = 0; k < m_; ++k) {
            const std::complex<double> above(numerator.re[k], numerator.im[k]);
            const std::complex<double> below(denominator.re[k], denominator.im[k]);
            if (std::norm(below) == 0.0) continue;
            const auto line = std::conj(above * std::conj(below)) / std::norm(below);
            quotient.re[k] = line.real();
            quotient.im[k] = line.imag();
        }
        return quotient;
    }

    Spectrum averagedParts(const DualSpectrumSettings& s, Spectrum result) {
        if (averagesResult(s)) {
            average(kResultRe, result.re, s.averageType);
            average(kResultIm, result.im, s.averageType);
        }
        return result;
    }

    // With R for a line of the result: |R|, |R| / sqrt(2), |R|^2 / 2, |R|^2 or the cepstrum.
    Column averagedAmplitudes(const DualSpectrumSettings& s, const Spectrum& result) {
        Column amplitudes =
            s.amplitudeType == kCepstrum ? cepstrum(result) : converted(s.amplitudeType, result);
        if (averagesResult(s)) average(kResultRe, amplitudes, s.averageType);
        return amplitudes;
    }

    Column converted(std::uint16_t amplitudeType, const Spectrum& result) const {
        Column amplitudes(m_, 0.0);
        for (int k = 0; k < m_; ++k) {
            const double power = result.re[k] * result.re[k] + result.im[k] * result.im[k];
            switch (amplitudeType) {
                case kPeak: amplitudes[k] = std::sqrt(power); break;
                case kRms: amplitudes[k] = std::sqrt(power) / std::sqrt(2.0); break;
                case kPowerSpectrum:
                case kPowerDensity: amplitudes[k] = power / 2; break;
                case kAutoSpectrum: amplitudes[k] = power; break;
                default: break;
            }
        }
        return amplitudes;
    }

    // Kept: what is averaged as power is the cepstrum, and is averaged without averaging too.
    Column amplitudesOfAveragedPower(const DualSpectrumSettings& s, const Spectrum& result) {
        Column amplitudes = cepstrum(result);
        average(kResultRe, amplitudes, s.averageType);
        for (double& amplitude : amplitudes) {
            switch (s.amplitudeType) {
                case kPeak: amplitude = std::sqrt(amplitude); break;
                case kRms: amplitude = std::sqrt(amplitude / 2); break;
                case kPowerSpectrum:
                case kPowerDensity: amplitude /= 2; break;
                default: break;
            }
        }
        return amplitudes;
    }

    // In degrees, -180 to 180; the result is the conjugate of what it is named for, except H1.
    Column phases(const DualSpectrumSettings& s, const Spectrum& result) const {
        const double sign = s.transferType == kTransferH1 ? 1.0 : -1.0;
        Column phases(m_);
        for (int k = 0; k < m_; ++k) {
            // An imaginary part of 0 has no sign here.
            const double im = result.im[k] == 0 ? 0.0 : result.im[k];
            const bool none = result.re[k] == 0 && im == 0;
            phases[k] = sign * degrees(none ? 0.0 : std::atan2(im, result.re[k]));
        }
        return phases;
    }

    // |mean of conj(Y) X|^2 / (mean of |Y|^2 times mean of |X|^2), arithmetic means always.
    Column coherence(Products p) {
        average(kResponsePower, p.response, kArithmeticAveraging);
        average(kExcitationPower, p.excitation, kArithmeticAveraging);
        average(kCrossRe, p.cross.re, kArithmeticAveraging);
        average(kCrossIm, p.cross.im, kArithmeticAveraging);
        Column coherence(m_, 0.0);
        for (int k = 0; k < m_; ++k) {
            const double powers = p.response[k] * p.excitation[k];
            const double cross = p.cross.re[k] * p.cross.re[k] + p.cross.im[k] * p.cross.im[k];
            if (powers != 0) coherence[k] = cross / powers;
        }
        return coherence;
    }

    // Power of the FFT of log10 |R|^2 over the m lines, amplitudes 2 FFT / m; the second half is 0.
    Column cepstrum(const Spectrum& result) const {
        Column re(m_ + 2);
        Column im(m_ + 2);
        for (int k = 0; k < m_; ++k)
            re[k] = std::log10(result.re[k] * result.re[k] + result.im[k] * result.im[k]);
        test::naiveTransform(re.data(), im.data(), m_);
        Column out(m_, 0.0);
        const int half = m_ / 2;
        for (int k = 0; k <= half && k < m_; ++k)
            out[k] = (re[k] * re[k] + im[k] * im[k]) / (half * half);
        return out;
    }

    // From the second block on the present values become the average with those of the place, which
    // keeps it. An unknown type is arithmetic.
    void average(Place place, Column& present, std::uint16_t type) {
        Column& past = averages_.at(place);
        for (int k = 0; k < m_ && counter_ >= 2; ++k)
            present[k] = averaged(past[k], present[k], type);
        past = present;
    }
    double averaged(double past, double present, std::uint16_t type) const {
        const double n = counter_;
        switch (type) {
            case kExponentialAveraging: return present + (past - present) / n;
            case kMinimumAveraging: return std::min(past, present);
            case kMaximumAveraging: return std::max(past, present);
            case kWeightedAveraging: return (past * weight_ + present) / (weight_ + 1);
            default: return past + (present - past) / n;
        }
    }

    int n_;
    int m_;
    int window_;
    int counter_ = 0;
    double weight_ = 1.0;
    std::array<Column, kPlaces> averages_;
};

void expectNear(const Samples& actual, const Samples& expected, const std::string& what,
                double tolerance) {
    ASSERT_EQ(actual.size(), expected.size()) << what;
    for (std::size_t k = 0; k < actual.size(); ++k) {
        if (std::isnan(expected[k])) {
            EXPECT_TRUE(std::isnan(actual[k])) << what << " line " << k;
            continue;
        }
        if (actual[k] == expected[k]) continue;  // infinities too, whose difference is no number
        EXPECT_NEAR(actual[k], expected[k],
                    tolerance * std::max(1.0, std::abs(static_cast<double>(expected[k]))))
            << what << " line " << k;
    }
}

// Channel c of interleaved samples.
Samples channelOf(const Samples& samples, int c, int channels) {
    Samples channel;
    for (std::size_t i = static_cast<std::size_t>(c); i < samples.size(); i += channels)
        channel.push_back(samples[i]);
    return channel;
}

std::string nameOf(const DualSpectrumSettings& s) {
    return std::to_string(s.crossSpectrum ? 0 : s.transferType) + " amplitude " +
           std::to_string(s.amplitudeType) + " average " + std::to_string(s.averageType) + "/" +
           std::to_string(s.averageSource) + " coherence " + std::to_string(s.coherence);
}

// The cross spectrum and the three transfer functions.
std::vector<DualSpectrumSettings> allQuantities() {
    std::vector<DualSpectrumSettings> all = {{.crossSpectrum = true, .transferType = kTransferH0}};
    for (const TransferType type : {kTransferH0, kTransferH1, kTransferH2})
        all.push_back(transferSettings(type));
    return all;
}

std::vector<DualSpectrumSettings> allSettings() {
    constexpr std::uint16_t kUnknownAveraging = kMinMaxAveraging + 1;
    std::vector<DualSpectrumSettings> all;
    for (DualSpectrumSettings s : allQuantities()) {
        s.phase = true;
        for (std::uint16_t amplitude = kPeak; amplitude <= kZoomFft; ++amplitude) {
            s.amplitudeType = amplitude;
            for (std::uint16_t type = kNoAveraging; type <= kUnknownAveraging; ++type) {
                s.averageType = type;
                for (const AverageSource source : {kAverageAmplitude, kAveragePower}) {
                    s.averageSource = source;
                    for (const bool coherence : {false, true}) {
                        s.coherence = coherence;
                        all.push_back(s);
                    }
                }
            }
        }
    }
    return all;
}

TEST(DualSpectrum, EveryCombinationAgreesWithTheStepByStepCalculation) {
    constexpr int n = 16;
    constexpr int channels = 2;
    for (DualSpectrumSettings settings : allSettings()) {
        settings.window = kHanningWindow;
        settings.correction = kAmplitudeCorrection;
        DualSpectrum spectrum;
        std::vector<Model> models(channels, Model(n, kHanningWindow));
        for (unsigned block = 0; block < 6; ++block) {
            const Samples e = noise(n * channels, 2 * block);
            const Samples a = noise(n * channels, 2 * block + 1);
            const Lines lines = analyse(spectrum, settings, e, a, channels, 1.25);
            for (int c = 0; c < channels; ++c) {
                const Lines expected = models[static_cast<std::size_t>(c)].block(
                    settings, channelOf(e, c, channels), channelOf(a, c, channels), 1.25);
                const std::string what = nameOf(settings) + " block " + std::to_string(block);
                // Both round differently in double; single precision is what is left. Minima,
                // maxima and weights may divide by small values.
                constexpr double kTolerance = 5e-6;
                expectNear(channelOf(lines.amplitudes, c, channels), expected.amplitudes, what,
                           kTolerance);
                expectNear(channelOf(lines.phases, c, channels), expected.phases, what, kTolerance);
                expectNear(channelOf(lines.coherences, c, channels), expected.coherences, what,
                           kTolerance);
            }
            if (block == 3) {
                spectrum.restartAverage();
                for (Model& model : models)
                    model.reset();
            }
            if (HasFailure()) return;
        }
    }
}

TEST(DualSpectrum, ManyLinesAreWorkedOnInPiecesWithoutSeams) {
    // More lines than are worked on together, and no multiple of them.
    constexpr int n = 270;
    for (DualSpectrumSettings settings : allQuantities()) {
        for (const AmplitudeType amplitude : {kPeak, kCepstrum, kRealImaginary}) {
            settings.amplitudeType = amplitude;
            settings.averageType = kExponentialAveraging;
            settings.phase = settings.coherence = true;
            DualSpectrum spectrum;
            Model model(n, kNoWindow);
            for (unsigned block = 0; block < 2; ++block) {
                const Samples e = noise(n, 2 * block);
                const Samples a = noise(n, 2 * block + 1);
                const Lines lines = analyse(spectrum, settings, e, a);
                const Lines expected = model.block(settings, e, a, 1.0);
                expectNear(lines.amplitudes, expected.amplitudes, nameOf(settings), 5e-6);
                expectNear(lines.phases, expected.phases, nameOf(settings), 5e-6);
                expectNear(lines.coherences, expected.coherences, nameOf(settings), 5e-6);
            }
        }
    }
}

// --- Runs --------------------------------------------------------------------------------------

TEST(DualSpectrum, EveryChannelGivesTheBitsThatItGivesAlone) {
    constexpr int n = 12;
    for (const int channels : {2, 3, 8, 32}) {
        for (const DualSpectrumSettings& settings : allSettings()) {
            if (channels > 3 && settings.averageType > kArithmeticAveraging) continue;
            DualSpectrum together;
            std::vector<DualSpectrum> alone(static_cast<std::size_t>(channels));
            for (unsigned block = 0; block < 2; ++block) {
                const auto values = static_cast<std::size_t>(n) * channels;
                const Samples e = noise(values, 2 * block);
                const Samples a = noise(values, 2 * block + 1);
                const Lines lines = analyse(together, settings, e, a, channels);
                for (const int c : {0, channels - 1}) {
                    const Lines own = analyse(alone[static_cast<std::size_t>(c)], settings,
                                              channelOf(e, c, channels), channelOf(a, c, channels));
                    EXPECT_TRUE(sameBits(channelOf(lines.amplitudes, c, channels), own.amplitudes));
                    EXPECT_TRUE(sameBits(channelOf(lines.phases, c, channels), own.phases));
                    EXPECT_TRUE(sameBits(channelOf(lines.coherences, c, channels), own.coherences));
                }
            }
        }
    }
}

TEST(DualSpectrum, ASecondRunGivesTheSameBits) {
    for (const DualSpectrumSettings& settings : allSettings()) {
        DualSpectrum spectrum;
        std::array<std::vector<Lines>, 2> runs;
        for (auto& run : runs) {
            for (unsigned block = 0; block < 3; ++block)
                run.push_back(analyse(spectrum, settings, noise(16, block), noise(16, block + 9)));
            spectrum.release();
        }
        EXPECT_EQ(runs[0], runs[1]) << nameOf(settings);
    }
}

TEST(DualSpectrum, AChangeOfLengthOrChannelsBeginsANewAverage) {
    DualSpectrumSettings settings = transferSettings(kTransferH1);
    settings.averageType = kArithmeticAveraging;
    settings.coherence = true;
    struct Shape {
        int n;
        int channels;
    };
    for (const Shape& other : {Shape{32, 1}, Shape{16, 2}, Shape{8, 2}, Shape{7, 3}}) {
        DualSpectrum spectrum;
        analyse(spectrum, settings, noise(16, 1), noise(16, 2));
        analyse(spectrum, settings, noise(16, 3), noise(16, 4));
        EXPECT_EQ(spectrum.progress().blocks(), 2U);
        const auto values = static_cast<std::size_t>(other.n) * other.channels;
        const Lines changed =
            analyse(spectrum, settings, noise(values, 5), noise(values, 6), other.channels);
        EXPECT_EQ(spectrum.progress().blocks(), 1U);
        EXPECT_EQ(spectrum.progress().weight(), 2.0);
        DualSpectrum fresh;
        EXPECT_EQ(changed,
                  analyse(fresh, settings, noise(values, 5), noise(values, 6), other.channels));
    }
}

TEST(DualSpectrum, AveragingSwitchedOnDuringARunBeginsWithThatBlock) {
    DualSpectrumSettings settings;
    DualSpectrum spectrum;
    for (unsigned block = 0; block < 3; ++block)
        analyse(spectrum, settings, noise(16, block), noise(16, block + 9));
    settings.averageType = kMaximumAveraging;
    DualSpectrum fresh;
    for (unsigned block = 3; block < 6; ++block) {
        EXPECT_EQ(analyse(spectrum, settings, noise(16, block), noise(16, block + 9)),
                  analyse(fresh, settings, noise(16, block), noise(16, block + 9)));
    }
    EXPECT_EQ(spectrum.progress().blocks(), 3U);
}

TEST(DualSpectrum, SwitchingAveragingOffShowsThePresentBlock) {
    DualSpectrumSettings settings = transferSettings(kTransferH1);
    settings.averageType = kWeightedAveraging;
    DualSpectrum spectrum;
    for (unsigned block = 0; block < 3; ++block)
        analyse(spectrum, settings, noise(16, block), noise(16, block + 9));
    settings.averageType = kNoAveraging;
    DualSpectrum fresh;
    EXPECT_EQ(analyse(spectrum, settings, noise(16, 5), noise(16, 6)),
              analyse(fresh, settings, noise(16, 5), noise(16, 6)));
}

TEST(DualSpectrum, CoherenceSwitchedOnDuringAnAverageLeavesTheAverageAlone) {
    DualSpectrumSettings settings = transferSettings(kTransferH1);
    settings.averageType = kArithmeticAveraging;
    DualSpectrumSettings withCoherence = settings;
    withCoherence.coherence = true;
    DualSpectrum switched;
    DualSpectrum plain;
    DualSpectrum late;
    for (unsigned block = 0; block < 8; ++block) {
        const Samples e = noise(16, block);
        const Samples a = noise(16, block + 20);
        const bool on = block >= 3;
        const Lines lines = analyse(switched, on ? withCoherence : settings, e, a);
        EXPECT_EQ(lines.amplitudes, analyse(plain, settings, e, a).amplitudes);
        if (!on) continue;
        // What is averaged from the fourth block on is what an average of its own would hold.
        const Lines own = analyse(late, withCoherence, e, a);
        expectNear(lines.coherences, own.coherences, "coherence", 1e-6);
    }
}

TEST(DualSpectrum, CoherenceChangesNoBitOfTheOtherOutputs) {
    for (DualSpectrumSettings settings : allSettings()) {
        if (settings.coherence) continue;
        DualSpectrum with;
        DualSpectrum without;
        for (unsigned block = 0; block < 5; ++block) {
            const Samples e = noise(16, block);
            const Samples a = noise(16, block + 20);
            settings.coherence = true;
            const Lines lines = analyse(with, settings, e, a);
            settings.coherence = false;
            const Lines own = analyse(without, settings, e, a);
            EXPECT_TRUE(sameBits(lines.amplitudes, own.amplitudes)) << nameOf(settings);
            EXPECT_TRUE(sameBits(lines.phases, own.phases)) << nameOf(settings);
        }
    }
}

TEST(DualSpectrum, EveryChangeOfSettingsInTheMiddleOfAnAverageIsFollowed) {
    // Types, sources and coherence change from block to block while averaging stays on; each
    // change takes the averages as the steps have left them.
    constexpr int n = 16;
    std::mt19937 random(2026);
    for (int run = 0; run < 200; ++run) {
        DualSpectrum spectrum;
        Model model(n, kNoWindow);
        DualSpectrumSettings settings;
        settings.phase = true;
        settings.coherence = true;
        std::string history;
        for (unsigned block = 0; block < 8; ++block) {
            if (block == 0 || random() % 2 == 0) {
                settings.crossSpectrum = random() % 4 == 0;
                settings.transferType = static_cast<std::uint16_t>(kTransferH0 + random() % 3);
                settings.averageType =
                    random() % 2 == 0
                        ? std::uint16_t{kArithmeticAveraging}
                        : static_cast<std::uint16_t>(kArithmeticAveraging + random() % 6);
                settings.averageSource = random() % 4 == 0 ? kAveragePower : kAverageAmplitude;
                settings.amplitudeType = random() % 4 == 0 ? kRealImaginary : kAutoSpectrum;
            }
            if (block > 0 && random() % 6 == 0) {
                spectrum.restartAverage();
                model.reset();
            }
            const Samples e = noise(n, 100 * run + 2 * block);
            const Samples a = noise(n, 100 * run + 2 * block + 1);
            const Lines lines = analyse(spectrum, settings, e, a);
            const Lines expected = model.block(settings, e, a, 1.0);
            history += nameOf(settings) + "\n";
            // Averages of different quantities in one place may cancel.
            expectNear(lines.amplitudes, expected.amplitudes, history, 1e-4);
            expectNear(lines.coherences, expected.coherences, history, 1e-5);
            if (HasFailure()) return;
        }
    }
}

TEST(DualSpectrum, ThePowerIsAveragedAlsoWhileAveragingIsOff) {
    DualSpectrumSettings settings{.amplitudeType = kAutoSpectrum, .averageSource = kAveragePower};
    DualSpectrum spectrum;
    std::vector<double> sum(8, 0.0);
    for (unsigned block = 0; block < 4; ++block) {
        const Samples e = noise(16, block);
        const Samples a = noise(16, block + 20);
        const Lines lines = analyse(spectrum, settings, e, a);
        DualSpectrum single;
        const Lines cepstrum = analyse(single, {.amplitudeType = kCepstrum}, e, a);
        for (std::size_t k = 0; k < sum.size(); ++k) {
            sum[k] += cepstrum.amplitudes[k];
            EXPECT_NEAR(lines.amplitudes[k], sum[k] / (block + 1), 1e-5 * sum[k] + 1e-9);
        }
    }
}

TEST(DualSpectrum, ValuesThatNoConversionMakesAreZero) {
    const Samples e = noise(64, 1);
    const Samples a = noise(64, 2);
    DualSpectrum spectrum;
    const Lines cepstrum = analyse(spectrum, {.amplitudeType = kCepstrum}, e, a);
    EXPECT_GT(cepstrum.amplitudes[16], 0.0F);
    for (std::size_t k = 17; k < 32; ++k)
        EXPECT_EQ(cepstrum.amplitudes[k], 0.0F);
    for (const int type : {0, 49, 57, 58, 65535}) {
        const Lines none =
            analyse(spectrum, {.amplitudeType = static_cast<std::uint16_t>(type)}, e, a);
        EXPECT_EQ(none.amplitudes, Samples(32, 0.0F)) << type;
    }
}

TEST(DualSpectrum, ATransferFunctionOutsideTheTableIsH0) {
    const Samples e = noise(32, 1);
    const Samples a = noise(32, 2);
    DualSpectrumSettings settings = transferSettings(kTransferH0);
    settings.phase = true;
    settings.averageType = kArithmeticAveraging;
    DualSpectrum spectrum;
    const Lines h0 = analyse(spectrum, settings, e, a);
    for (const int type : {0, 89, 93, 65535}) {
        settings.transferType = static_cast<std::uint16_t>(type);
        DualSpectrum other;
        EXPECT_EQ(analyse(other, settings, e, a), h0) << type;
    }
}

TEST(DualSpectrum, ACorrectionOutsideTheTableZeroesAWindowedSpectrum) {
    DualSpectrum spectrum;
    const DualSpectrumSettings settings = {.window = kHanningWindow, .correction = 1105};
    EXPECT_EQ(analyse(spectrum, settings, noise(16, 1), noise(16, 2)).amplitudes, Samples(8, 0.0F));
}

TEST(DualSpectrum, NaNDoesNotOutliveTheAverage) {
    DualSpectrumSettings settings = transferSettings(kTransferH1);
    settings.averageType = kArithmeticAveraging;
    settings.coherence = true;
    DualSpectrum spectrum;
    Samples broken = noise(16, 1);
    broken[5] = std::numeric_limits<float>::quiet_NaN();
    analyse(spectrum, settings, broken, noise(16, 2));
    const Lines after = analyse(spectrum, settings, noise(16, 3), noise(16, 4));
    EXPECT_TRUE(std::isnan(after.amplitudes[3]));
    spectrum.restartAverage();
    DualSpectrum fresh;
    EXPECT_EQ(analyse(spectrum, settings, noise(16, 5), noise(16, 6)),
              analyse(fresh, settings, noise(16, 5), noise(16, 6)));
}

TEST(DualSpectrum, BlocksOfZeroToFiveSamplesAreHandled) {
    for (const DualSpectrumSettings& settings : allSettings()) {
        for (int n = 0; n <= 5; ++n) {
            DualSpectrum spectrum;
            for (int block = 0; block < 3; ++block) {
                const Lines lines =
                    analyse(spectrum, settings, Samples(n * 3, 1.0F), Samples(n * 3, 0.5F), 3);
                EXPECT_EQ(lines.amplitudes.size(), 3U * static_cast<unsigned>(n / 2));
            }
        }
    }
}

TEST(DualSpectrum, WithoutOutputsItAveragesAllTheSame) {
    DualSpectrumSettings settings;
    settings.averageType = kArithmeticAveraging;
    settings.phase = settings.coherence = true;
    DualSpectrum silent;
    DualSpectrum loud;
    for (unsigned block = 0; block < 3; ++block) {
        const Samples e = noise(16, block);
        const Samples a = noise(16, block + 20);
        analyse(loud, settings, e, a);
        silent.prepare(settings, 16, 1);
        silent.analyse(settings, {e, a}, kResolution, 1.0, test::naiveTransform, {});
    }
    EXPECT_EQ(analyse(silent, settings, noise(16, 7), noise(16, 8)),
              analyse(loud, settings, noise(16, 7), noise(16, 8)));
}

// --- Averages ----------------------------------------------------------------------------------

TEST(AverageProgress, StartsAgainAt0AfterBlock4294967294) {
    AverageProgress progress(4294967292U);
    progress.beginBlock();
    EXPECT_EQ(progress.blocks(), 4294967293U);
    EXPECT_EQ(progress.nextBlock(), 4294967294U);
    progress.beginBlock();
    EXPECT_EQ(progress.blocks(), 4294967294U);
    EXPECT_EQ(progress.nextBlock(), 0U);
    progress.beginBlock();
    EXPECT_EQ(progress.blocks(), 0U);
    progress.beginBlock();
    EXPECT_EQ(progress.blocks(), 1U);
}

TEST(LineAverages, TakeTheValuesAsTheyAreAtBlocks0And1) {
    LineAverages averages;
    averages.hold(1);
    for (const std::uint32_t before : {4294967293U, 4294967294U, 0U, 1U}) {
        AverageProgress progress(before);
        progress.beginBlock();
        const std::vector<double> present = {10.0};
        const double* result = averages.take(averageRule(kMinimumAveraging, progress), 0, present);
        const bool takesAsItIs = progress.blocks() < 2;
        EXPECT_EQ(result[0], takesAsItIs ? 10.0 : std::min(result[0], 10.0));
        if (takesAsItIs) {
            const std::vector<double> larger = {11.0};
            EXPECT_EQ(averages.take(averageRule(kMinimumAveraging, progress), 0, larger)[0], 11.0);
        }
    }
}

TEST(LineAverages, EveryTypeByHand) {
    struct Row {
        std::uint16_t type;
        double second;
        double third;
    };
    // Values 8, 4, 1; the weight is 1 at the first block, (1 + 1) * 1.5 at the second, (3 + 1) *
    // 1.5 at the third.
    for (const Row& row : {Row{kArithmeticAveraging, 6.0, 13.0 / 3},
                           Row{kExponentialAveraging, 6.0, 1.0 + (6.0 - 1.0) / 3},
                           Row{kMinimumAveraging, 4.0, 1.0}, Row{kMaximumAveraging, 8.0, 8.0},
                           Row{kWeightedAveraging, (8.0 * 3 + 4) / 4, (7.0 * 6 + 1) / 7},
                           Row{kMinMaxAveraging, 6.0, 13.0 / 3}, Row{87, 6.0, 13.0 / 3},
                           Row{0, 6.0, 13.0 / 3}, Row{kNoAveraging, 6.0, 13.0 / 3}}) {
        LineAverages averages;
        averages.hold(1);
        AverageProgress progress;
        std::vector<double> results;
        for (const double value : {8.0, 4.0, 1.0}) {
            progress.beginBlock();
            const std::vector<double> present = {value};
            results.push_back(*averages.take(averageRule(row.type, progress), 0, present));
            progress.endBlock(1.5);
        }
        EXPECT_EQ(results[0], 8.0) << row.type;
        EXPECT_NEAR(results[1], row.second, 1e-15) << row.type;
        EXPECT_NEAR(results[2], row.third, 1e-15) << row.type;
    }
}

TEST(LineAverages, AreMadeAnewOnlyWhereTheyWereNotHeld) {
    LineAverages averages;
    EXPECT_FALSE(averages.hold(0));
    EXPECT_TRUE(averages.hold(3));
    EXPECT_FALSE(averages.hold(3));
    EXPECT_FALSE(averages.hold(0));
    EXPECT_TRUE(averages.hold(3));
}

// --- Kernels -----------------------------------------------------------------------------------

TEST(DualSpectrumKernels, EveryLevelGivesTheSameBits) {
    constexpr std::size_t n = 1003;
    std::array<std::vector<double>, 4> in;
    for (std::size_t j = 0; j < in.size(); ++j) {
        for (std::size_t k = 0; k < n; ++k)
            in[j].push_back(k % 97 == 0 ? 0.0 : std::sin(1.7 * static_cast<double>(k * (j + 1))));
    }
    const DualSpectrumKernels& base =
        vyn::kernelsAt<DualSpectrumKernels>(vyn::KernelLevel::baseline);
    using Out = std::array<std::vector<double>, 4>;
    const auto run = [&](const DualSpectrumKernels& kernels, const LineScale& scale) {
        std::vector<Out> all;
        const auto room = [] {
            Out out;
            out.fill(std::vector<double>(n));
            return out;
        };
        const ConstComplexLines y = {in[0].data(), in[1].data()};
        const ConstComplexLines x = {in[2].data(), in[3].data()};
        Out out = room();
        kernels.multiply(y, x, scale, {out[0].data(), out[1].data()}, out[2].data(), out[3].data(),
                         n);
        all.push_back(out);
        Out quotients = room();
        kernels.divideConjugate(y, x, {quotients[0].data(), quotients[1].data()}, n);
        kernels.coherence({out[0].data(), out[1].data()}, out[2].data(), out[3].data(),
                          quotients[2].data(), n);
        kernels.takeWeighted(quotients[3].data(), in[0].data(), 2.7, n);
        all.push_back(quotients);
        Out scaled = in;
        kernels.scaleLines({scaled[0].data(), scaled[1].data()}, scale, n);
        all.push_back(scaled);
        return all;
    };
    for (const LineScale& scale : {LineScale{512.0, true, 1.0}, LineScale{512.0, true, 1.7},
                                   LineScale{301.0, false, 1.0}, LineScale{301.0, false, 1.7}}) {
        const auto expected = run(base, scale);
        for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
            EXPECT_EQ(run(vyn::kernelsAt<DualSpectrumKernels>(level), scale), expected);
        }
    }
    // An exact reciprocal serves as well as the division.
    EXPECT_EQ(run(base, {512.0, true, 1.7}), run(base, {512.0, false, 1.7}));
}

// Whatever stands above the line of division: 0 with its sign bit clear, no NaN.
TEST(DualSpectrumKernels, AQuotientByExactSilenceIsPlusZero) {
    constexpr std::size_t n = 37;
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    for (const double above : {1.0, -1.0, kInfinity, -kInfinity, std::nan("")}) {
        for (const double zero : {0.0, -0.0}) {
            const std::vector<double> numerator(n, above);
            const std::vector<double> silence(n, zero);
            for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
                std::vector<double> re(n, -99.0);
                std::vector<double> im(n, -99.0);
                vyn::kernelsAt<DualSpectrumKernels>(level).divideConjugate(
                    {numerator.data(), numerator.data()}, {silence.data(), silence.data()},
                    {re.data(), im.data()}, n);
                for (std::size_t k = 0; k < n; ++k) {
                    EXPECT_EQ(std::bit_cast<std::uint64_t>(re[k]), 0U) << above << " line " << k;
                    EXPECT_EQ(std::bit_cast<std::uint64_t>(im[k]), 0U) << above << " line " << k;
                }
            }
        }
    }
}

// With lines of all sizes, zeros and lines that stay as they are among them.
TEST(DualSpectrumKernels, OnePassGivesTheBitsOfItsSteps) {
    constexpr std::size_t n = 1003;
    using Columns = std::array<std::vector<double>, 4>;
    const auto columns = [](double phase) {
        Columns made;
        for (std::size_t j = 0; j < made.size(); ++j) {
            for (std::size_t k = 0; k < n; ++k) {
                const double size =
                    k % 5 == 0 ? std::pow(10.0, static_cast<double>(k % 301) - 150) : 1.0;
                const double angle = 1.7 * static_cast<double>(k * (j + 1));
                made[j].push_back(k % 97 == 0 ? 0.0 : size * std::sin(angle + phase));
            }
        }
        // The response is the reference times a middle between two singles, as near as doubles go:
        // whichever way a step rounds shows in the result.
        for (std::size_t k = 400; k < 800; ++k) {
            const auto part = static_cast<double>(k);
            const double middle = 1.0 + (2.0 * part + 1.0) * 0x1p-24;
            made[2][k] = std::sin(part + phase);
            made[0][k] = middle * made[2][k];
            made[1][k] = made[3][k] = 0.0;
        }
        // As averages: powers whose product leaves the range though the result is ordinary.
        for (std::size_t k = 744; k < 752 && phase != 0.0; ++k) {
            made[0][k] = made[1][k] = 1e90;
            made[2][k] = 1e250;
            made[3][k] = 1e100;
        }
        made[1][7] = made[2][8] = std::numeric_limits<double>::infinity();
        made[3][9] = std::numeric_limits<double>::quiet_NaN();
        // Infinity and NaN, and tiny and NaN, among the products of one line.
        made[0][20] = made[2][20] = made[0][21] = std::numeric_limits<double>::infinity();
        for (const std::size_t k : {30U, 31U})
            made[0][k] = made[1][k] = 1e-160;
        made[2][30] = std::numeric_limits<double>::quiet_NaN();
        return made;
    };
    const Columns lines = columns(0.0);
    const ConstComplexLines y = {lines[0].data(), lines[1].data()};
    const ConstComplexLines x = {lines[2].data(), lines[3].data()};
    const LineScale scale = {512.0, true, 1.7};
    const std::vector<double> zeros(n);
    // A float's value as a double has its sign and all its digits.
    const auto bits = [](const auto& numbers) {
        std::vector<std::uint64_t> made;
        for (const double number : numbers)
            made.push_back(std::isnan(number) ? 1 : std::bit_cast<std::uint64_t>(number));
        return made;
    };
    const auto& base = vyn::kernelsAt<DualSpectrumKernels>(vyn::KernelLevel::baseline);
    const auto& spectrum = vyn::kernelsAt<SpectrumKernels>(vyn::KernelLevel::baseline);
    for (const double count : {1.0, 2.0, 7.0, 4294967294.0}) {
        for (const bool h2 : {false, true}) {
            for (std::size_t kind = 0; kind < 4; ++kind) {
                // The steps.
                Columns present = columns(0.0);
                base.multiply(y, x, scale, {present[0].data(), present[1].data()},
                              present[2].data(), present[3].data(), n);
                Columns averages = columns(0.5);
                for (std::size_t j = 0; j < 4; ++j) {
                    if (count < 2.0) {
                        averages[j] = present[j];
                    } else {
                        spectrum.moveTowards(averages[j].data(), present[j].data(), count,
                                             averages[j].data(), n);
                    }
                }
                const ConstComplexLines cross = {averages[0].data(), averages[1].data()};
                std::vector<double> re(n);
                std::vector<double> im(n);
                if (h2) {
                    base.divideConjugate({averages[2].data(), zeros.data()}, cross,
                                         {re.data(), im.data()}, n);
                } else {
                    base.divideConjugate(cross, {averages[3].data(), zeros.data()},
                                         {re.data(), im.data()}, n);
                }
                std::vector<float> amplitudes(n);
                spectrum.putConverted[kind](re.data(), im.data(), 1.0, 3.7F, amplitudes.data(), n);
                std::vector<double> coherence(n);
                base.coherence(cross, averages[2].data(), averages[3].data(), coherence.data(), n);
                const std::vector<float> coherences(coherence.begin(), coherence.end());

                for (const vyn::KernelLevel level : vyn::levelsOfThisMachine()) {
                    Columns taken = columns(0.5);
                    std::vector<float> first(n);
                    std::vector<float> second(n);
                    vyn::kernelsAt<DualSpectrumKernels>(level).averageAndDivide(
                        y, x, scale,
                        {taken[0].data(), taken[1].data(), taken[2].data(), taken[3].data()}, count,
                        {h2, static_cast<int>(kind), 3.7F, first.data(), second.data()}, n);
                    for (std::size_t j = 0; j < 4; ++j)
                        EXPECT_EQ(bits(taken[j]), bits(averages[j])) << count;
                    EXPECT_EQ(bits(first), bits(amplitudes)) << count << " " << kind;
                    EXPECT_EQ(bits(second), bits(coherences)) << count;
                }
            }
        }
    }
}

}  // namespace
}  // namespace vynpack
