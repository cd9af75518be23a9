#include "blocks/spectral/core/spektrum_core.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "naive_transform.h"
#include "support/signals.h"

namespace vynpack {
namespace {

using signals::cosine;

struct Result {
    std::vector<float> amplitudes;
    std::vector<float> phases;
};

Result analyse(const SpectrumSettings& settings, const std::vector<float>& samples, int channels,
               double resolution = 1.0, bool phase = true) {
    SpectrumAnalysis analysis;
    const int n = static_cast<int>(samples.size()) / channels;
    analysis.prepare(n);
    Result result;
    result.amplitudes.resize(channels *
                             SpectrumAnalysis::amplitudeLines(settings.amplitudeType, n));
    if (phase) result.phases.resize(channels * SpectrumAnalysis::phaseLines(n));
    analysis.analyse(settings, samples, channels, resolution, test::naiveTransform,
                     result.amplitudes, result.phases);
    return result;
}

using test::kFloat;

TEST(SpectrumAnalysis, ASineStandsInItsLineWithItsAmplitudeType) {
    const auto samples = cosine(64, 5, 3.0, 0.5);
    SpectrumSettings settings;
    const auto line = [&](AmplitudeType type, double resolution = 1.0) {
        settings.amplitudeType = type;
        return analyse(settings, samples, 1, resolution).amplitudes.at(5);
    };
    EXPECT_NEAR(line(kPeak), 3.0, 3 * kFloat);
    EXPECT_NEAR(line(kRms), 3.0 / std::sqrt(2.0), 3 * kFloat);
    EXPECT_NEAR(line(kPowerSpectrum), 4.5, 9 * kFloat);
    EXPECT_NEAR(line(kPowerDensity, 0.25), 18.0, 36 * kFloat);
    EXPECT_NEAR(line(kAutoSpectrum), 9.0, 18 * kFloat);
    EXPECT_NEAR(line(kRealImaginary), 3.0 * std::cos(0.5), 3 * kFloat);
}

TEST(SpectrumAnalysis, PhaseAndImaginaryPartOfASine) {
    const auto samples = cosine(64, 5, 3.0, 0.5);
    SpectrumSettings settings;
    EXPECT_NEAR(analyse(settings, samples, 1).phases.at(5),
                0.5 * 180 / static_cast<double>(test::kPi), 1e-4);
    settings.amplitudeType = kRealImaginary;
    EXPECT_NEAR(analyse(settings, samples, 1).phases.at(5), 3.0 * std::sin(0.5), 3 * kFloat);
}

TEST(SpectrumAnalysis, LineCountsHalveAndACepstrumQuarters) {
    EXPECT_EQ(SpectrumAnalysis::amplitudeLines(kPeak, 1024), 512);
    EXPECT_EQ(SpectrumAnalysis::amplitudeLines(kPeak, 1023), 511);
    EXPECT_EQ(SpectrumAnalysis::amplitudeLines(kCepstrum, 1024), 256);
    EXPECT_EQ(SpectrumAnalysis::phaseLines(1023), 511);
}

TEST(SpectrumAnalysis, CorrectionsDivideTheWindowedSpectrum) {
    std::vector<float> samples = cosine(1024, 100, 2.0);
    SpectrumSettings settings{.window = kHanningWindow};
    const float windowed = analyse(settings, samples, 1).amplitudes.at(100);
    EXPECT_NEAR(windowed, 1.0, 2 * kFloat);
    settings.correction = kEnergyCorrection;
    EXPECT_NEAR(analyse(settings, samples, 1).amplitudes.at(100), windowed / std::sqrt(0.375),
                4 * kFloat);
    settings.correction = kAmplitudeCorrection;
    EXPECT_NEAR(analyse(settings, samples, 1).amplitudes.at(100), 2.0, 4 * kFloat);
}

TEST(SpectrumAnalysis, ACorrectionOutsideTheTableZeroesTheSpectrum) {
    SpectrumSettings settings{.window = kHanningWindow};
    for (const int correction : {0, 1101, 1105, 65535}) {
        settings.correction = static_cast<std::uint16_t>(correction);
        for (const float a : analyse(settings, cosine(64, 5, 1), 1).amplitudes)
            EXPECT_EQ(a, 0.0F);
    }
    // Without a window nothing is corrected, whatever the correction is.
    settings = {.window = kNoWindow, .correction = 1105};
    EXPECT_NEAR(analyse(settings, cosine(64, 5, 1), 1).amplitudes.at(5), 1.0, kFloat);
}

TEST(SpectrumAnalysis, EveryChannelIsItsOwnSignal) {
    constexpr int n = 48;
    for (const int channels : {2, 3, 8, 32}) {
        std::vector<float> interleaved(n * channels);
        for (int i = 0; i < n * channels; ++i) {
            interleaved[i] = std::sin(0.31F * static_cast<float>(i * i % 1000));
        }
        for (const int type : {50, 51, 52, 53, 54, 55, 56, 57}) {
            const SpectrumSettings settings{.amplitudeType = static_cast<std::uint16_t>(type),
                                            .window = kHanningWindow,
                                            .correction = kEnergyCorrection};
            const Result all = analyse(settings, interleaved, channels, 0.7);
            for (int c = 0; c < channels; ++c) {
                std::vector<float> own(n);
                for (int i = 0; i < n; ++i)
                    own[i] = interleaved[c + i * channels];
                const Result one = analyse(settings, own, 1, 0.7);
                for (std::size_t k = 0; k < one.amplitudes.size(); ++k) {
                    EXPECT_EQ(all.amplitudes[c + k * channels], one.amplitudes[k]) << type;
                }
                for (std::size_t k = 0; k < one.phases.size(); ++k) {
                    EXPECT_EQ(all.phases[c + k * channels], one.phases[k]) << type;
                }
            }
        }
    }
}

TEST(SpectrumAnalysis, ParsevalHoldsForEveryWindow) {
    // Sum of the squared windowed samples = (N/2)^2 / N * (2 * sum of the autospectrum + ...):
    // lines 1 to N/2 - 1 stand for two, line 0 for one, and line N/2, which is not put out, is
    // taken from a transform of its own.
    constexpr int n = 96;
    std::vector<float> samples(n);
    for (int i = 0; i < n; ++i)
        samples[i] = std::sin(0.7F * static_cast<float>(i)) + 0.1F * (i % 7);
    for (int choice = kNoWindow; choice <= kRiemannWindow; ++choice) {
        const SpectrumSettings settings{.amplitudeType = kAutoSpectrum,
                                        .window = static_cast<std::uint16_t>(choice)};
        const auto lines = analyse(settings, samples, 1).amplitudes;
        ChosenWindow window;
        window.choose(static_cast<std::uint16_t>(choice), 10.0, n);
        double energy = 0;
        double nyquist = 0;
        for (int i = 0; i < n; ++i) {
            const double w = window.weights() != nullptr ? window.weights()[i] : 1.0;
            energy += samples[i] * w * samples[i] * w;
            nyquist += (i % 2 == 0 ? 1 : -1) * samples[i] * w;
        }
        double fromLines = lines[0] * (n / 2.0) * (n / 2.0) + nyquist * nyquist;
        for (int k = 1; k < n / 2; ++k)
            fromLines += 2.0 * lines[k] * (n / 2.0) * (n / 2.0);
        EXPECT_NEAR(fromLines / n, energy, 1e-5 * energy) << choice;
    }
}

TEST(SpectrumAnalysis, ACepstrumComputesHalfOfItsLinesAndTheRestIsZero) {
    const auto samples = cosine(1024, 3.3, 1.0);
    const SpectrumSettings settings{.amplitudeType = kCepstrum};
    const auto cepstrum = analyse(settings, samples, 1).amplitudes;
    ASSERT_EQ(cepstrum.size(), 256U);
    for (int q = 0; q <= 128; ++q)
        EXPECT_GT(cepstrum[q], 0.0F) << q;
    for (int q = 129; q < 256; ++q)
        EXPECT_EQ(cepstrum[q], 0.0F) << q;
}

TEST(SpectrumAnalysis, AZoomFftIsZeroAlsoAfterAnotherTypeInTheSameRun) {
    SpectrumAnalysis analysis;
    analysis.prepare(16);
    const auto samples = cosine(16, 2, 1.0);
    std::vector<float> out(8);
    analysis.analyse({.amplitudeType = kPeak}, samples, 1, 1.0, test::naiveTransform, out, {});
    EXPECT_NEAR(out[2], 1.0, kFloat);
    analysis.analyse({.amplitudeType = kZoomFft}, samples, 1, 1.0, test::naiveTransform, out, {});
    EXPECT_EQ(out, std::vector<float>(8, 0.0F));
}

TEST(SpectrumAnalysis, SamplesAreScaledInSinglePrecision) {
    // One sample at N = 6: x / 3 rounded to float is the line 0 of a spectrum whose other samples
    // are 0.
    std::vector<float> samples(6, 0.0F);
    samples[0] = 1.0F;
    const auto amplitudes = analyse({}, samples, 1).amplitudes;
    EXPECT_EQ(amplitudes[0], 1.0F / 3.0F);
}

TEST(SpectrumAnalysis, TinyBlocksAreHandled) {
    for (int n = 1; n <= 5; ++n) {
        for (const int type : {50, 53, 55, 56, 57}) {
            const SpectrumSettings settings{.amplitudeType = static_cast<std::uint16_t>(type),
                                            .window = kHanningWindow};
            const auto result = analyse(settings, std::vector<float>(n * 3, 1.0F), 3);
            EXPECT_EQ(result.amplitudes.size(),
                      3U * static_cast<unsigned>(
                               SpectrumAnalysis::amplitudeLines(settings.amplitudeType, n)));
        }
    }
}

// --- Against a second calculation --------------------------------------------------------------

// The block's steps on plain arrays, for one channel. Windows have their own tests.
Result stepByStep(const SpectrumSettings& s, const std::vector<float>& samples, double resolution) {
    const int n = static_cast<int>(samples.size());
    const int m = s.amplitudeType == 55 ? n / 4 : n / 2;
    const bool windowed = s.window >= 65 && s.window <= 79;
    Window window;
    if (windowed) window = makeWindow(static_cast<WindowKind>(s.window - 65), s.windowParameter, n);
    std::vector<double> re(n + 2);
    std::vector<double> im(n);
    for (int i = 0; i < n; ++i) {
        const float scaled = samples[i] / static_cast<float>(n / 2);
        re[i] = windowed ? scaled * window.weights[i] : scaled;
    }
    test::naiveTransform(re.data(), im.data(), n);
    if (s.correction != 1102 && s.window != 64) {
        const double factor = s.correction == 1103   ? 1 / std::sqrt(window.factors.power)
                              : s.correction == 1104 ? 1 / window.factors.gain
                                                     : 0.0;
        for (int k = 0; k < m; ++k)
            re[k] *= factor, im[k] *= factor;
    }
    std::vector<double> cepstrum(m);
    if (s.amplitudeType == 55) {
        std::vector<double> logRe(m);
        std::vector<double> logIm(m);
        for (int k = 0; k < m; ++k)
            logRe[k] = std::log10(re[k] * re[k] + im[k] * im[k]);
        test::naiveTransform(logRe.data(), logIm.data(), m);
        for (int k = 0; k <= m / 2; ++k)
            cepstrum[k] = (logRe[k] * logRe[k] + logIm[k] * logIm[k]) / ((m / 2) * (m / 2));
    }
    Result result;
    for (int k = 0; k < m; ++k) {
        const double power = re[k] * re[k] + im[k] * im[k];
        double value = 0.0;
        switch (s.amplitudeType) {
            case 50: value = std::sqrt(power); break;
            case 51: value = std::sqrt(power / 2); break;
            case 52:
            case 53: value = power / 2; break;
            case 54: value = power; break;
            case 55: value = cepstrum[k]; break;
            case 56: value = re[k]; break;
            default: break;
        }
        auto single = static_cast<float>(value);
        if (s.amplitudeType == 53) single /= static_cast<float>(resolution);
        result.amplitudes.push_back(single);
    }
    for (int k = 0; k < n / 2; ++k) {
        const double angle = re[k] == 0 && im[k] == 0 ? 0.0 : std::atan2(im[k], re[k]);
        const double value =
            s.amplitudeType == 56 ? im[k] : angle * 180 / static_cast<double>(test::kPi);
        result.phases.push_back(static_cast<float>(value));
    }
    return result;
}

TEST(SpectrumAnalysis, EveryCombinationAgreesWithTheStepByStepCalculation) {
    constexpr double kLineStep = 0.7;
    for (const int n : {16, 21}) {
        // Noise, so that no phase stands at its wrap.
        std::vector<float> samples(n);
        unsigned random = 1;
        for (float& sample : samples) {
            random = random * 1664525U + 1013904223U;
            sample = static_cast<float>(random >> 8) / 8388608.0F - 1.0F;
        }
        for (int type = 50; type <= 57; ++type) {
            for (int window = 63; window <= 80; ++window) {
                for (int correction = 1102; correction <= 1105; ++correction) {
                    // The logarithm of a spectrum of zeros is no number to compare.
                    if (type == 55 && correction == 1105 && window != 64) continue;
                    const SpectrumSettings settings{
                        .amplitudeType = static_cast<std::uint16_t>(type),
                        .window = static_cast<std::uint16_t>(window),
                        .correction = static_cast<std::uint16_t>(correction),
                        .windowParameter = 7.0};
                    SCOPED_TRACE(std::to_string(n) + " samples, " + std::to_string(type) + " " +
                                 std::to_string(window) + " " + std::to_string(correction));
                    const Result result = analyse(settings, samples, 1, kLineStep);
                    const Result expected = stepByStep(settings, samples, kLineStep);
                    ASSERT_EQ(result.amplitudes.size(), expected.amplitudes.size());
                    for (std::size_t k = 0; k < expected.amplitudes.size(); ++k) {
                        const float value = expected.amplitudes[k];
                        EXPECT_NEAR(result.amplitudes[k], value, 1e-6 * std::abs(value)) << k;
                    }
                    ASSERT_EQ(result.phases.size(), expected.phases.size());
                    for (std::size_t k = 0; k < expected.phases.size(); ++k) {
                        const float value = expected.phases[k];
                        EXPECT_NEAR(result.phases[k], value, 1e-6 * std::abs(value)) << k;
                    }
                }
            }
        }
    }
}

TEST(SpectrumAnalysis, ACepstrumCorrectsItsOwnLinesAlone) {
    // A correction that zeroes: the phases of the first quarter are 0, the others are untouched.
    const auto samples = cosine(32, 3.3, 1.0, 0.4);
    SpectrumSettings settings{.amplitudeType = kCepstrum, .window = kHanningWindow};
    const auto plain = analyse(settings, samples, 1).phases;
    settings.correction = 1105;
    const auto corrected = analyse(settings, samples, 1).phases;
    ASSERT_EQ(corrected.size(), 16U);
    for (std::size_t k = 0; k < 16; ++k)
        EXPECT_EQ(corrected[k], k < 8 ? 0.0F : plain[k]) << k;
}

}  // namespace
}  // namespace vynpack
