#include "vynhost/run/calibrator_tone.h"

#include <pocketfft_hdronly.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <limits>
#include <numbers>
#include <span>
#include <utility>

#include "vynhost/base/errors.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/run/interrupt.h"

namespace vynhost {
namespace {

constexpr double kSectionSeconds = 0.25;
constexpr double kSectionPeriods = 50;
constexpr std::int64_t kFewestSections = 4;

// The tone of one section; angular frequencies are radians per sample.
struct Tone {
    double meanSquare = 0;
    double omega = 0;
    double restMeanSquare = 0;  // of what is neither tone nor mean
};

// Where the strongest tone lies, from the lines of a Hann-windowed spectrum: the two largest
// neighbours tell where between them it is (T. Grandke, Interpolation Algorithms for Discrete
// Fourier Transforms of Weighted Signals, IEEE Trans. Instrum. Meas. 32, 1983, eq. 9).
double interpolatedPeak(std::span<const double> values, double mean) {
    const std::size_t count = values.size();
    std::vector<double> windowed(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double turns = static_cast<double>(i) / static_cast<double>(count);
        windowed[i] = (values[i] - mean) * (0.5 - 0.5 * std::cos(2 * std::numbers::pi * turns));
    }
    std::vector<std::complex<double>> lines(count / 2 + 1);
    pocketfft::r2c({count}, {sizeof(double)}, {sizeof(std::complex<double>)}, 0, true,
                   windowed.data(), lines.data(), 1.0);
    std::size_t peak = 1;
    for (std::size_t k = 2; k + 1 < lines.size(); ++k) {
        if (std::norm(lines[k]) > std::norm(lines[peak])) peak = k;
    }
    const double before = std::abs(lines[peak - 1]);
    const double behind = std::abs(lines[peak + 1]);
    const std::size_t lower = behind > before ? peak : peak - 1;
    const double ratio = std::abs(lines[lower + 1]) / std::abs(lines[lower]);
    const double between = (2 * ratio - 1) / (ratio + 1);
    return 2 * std::numbers::pi * (static_cast<double>(lower) + between) /
           static_cast<double>(count);
}

// A row for each unknown, its right side last.
template <std::size_t Count>
using Equations = std::array<std::array<double, Count + 1>, Count>;

// Elimination with the largest pivot; not a number where the equations do not tell the unknowns.
template <std::size_t Count>
std::array<double, Count> solved(Equations<Count> rows) {
    for (std::size_t i = 0; i < Count; ++i) {
        const auto pivot = std::max_element(
            rows.begin() + static_cast<std::ptrdiff_t>(i), rows.end(),
            [&](const auto& a, const auto& b) { return std::abs(a[i]) < std::abs(b[i]); });
        std::swap(rows[i], *pivot);
        for (std::size_t row = 0; row < Count; ++row) {
            if (row == i) continue;
            const double factor = rows[row][i] / rows[i][i];
            for (std::size_t column = i; column <= Count; ++column)
                rows[row][column] -= factor * rows[i][column];
        }
    }
    std::array<double, Count> unknowns{};
    for (std::size_t i = 0; i < Count; ++i)
        unknowns[i] = rows[i][Count] / rows[i][i];
    return unknowns;
}

// The sums of squares and products of Count columns and the values, which least squares is made of.
template <std::size_t Count, class Columns>
std::array<double, Count> leastSquares(std::span<const double> values, Columns columnsAt) {
    Equations<Count> sums{};
    for (std::size_t n = 0; n < values.size(); ++n) {
        const std::array<double, Count> columns = columnsAt(n);
        for (std::size_t i = 0; i < Count; ++i) {
            for (std::size_t j = 0; j < Count; ++j)
                sums[i][j] += columns[i] * columns[j];
            sums[i][Count] += columns[i] * values[n];
        }
    }
    return solved<Count>(sums);
}

// A cos + B sin + C, by least squares (IEEE Std 1057, three-parameter fit at a known frequency and
// four-parameter fit, whose fourth unknown corrects the frequency). Time runs from the middle.
class SineFit {
public:
    explicit SineFit(std::span<const double> values)
        : values_(values), middle_(static_cast<double>(values.size() - 1) / 2) {}

    Tone from(double omega) const {
        constexpr int kMostSteps = 10;
        constexpr double kNear = 1e-9;  // radians at the section's end
        const double line = 2 * std::numbers::pi / static_cast<double>(values_.size());
        double found = omega;
        std::array<double, 3> tone = atFrequency(found);
        for (int step = 0; step < kMostSteps; ++step) {
            const double change = correction(found, tone);
            found += change;
            // Away from the spectrum's peak there is nothing to converge to: noise, or a tone that
            // wanders. The fit at the peak then tells how much of it that is.
            if (!(std::abs(found - omega) < line)) {
                found = omega;
                tone = atFrequency(found);
                break;
            }
            tone = atFrequency(found);
            if (std::abs(change) * middle_ < kNear) break;
        }
        return {(tone[0] * tone[0] + tone[1] * tone[1]) / 2, found, restOf(found, tone)};
    }

private:
    double angle(double omega, std::size_t n) const {
        return omega * (static_cast<double>(n) - middle_);
    }

    std::array<double, 3> atFrequency(double omega) const {
        return leastSquares<3>(values_, [&](std::size_t n) {
            return std::array{std::cos(angle(omega, n)), std::sin(angle(omega, n)), 1.0};
        });
    }

    double correction(double omega, const std::array<double, 3>& tone) const {
        // The derivative by the frequency, over the middle so that all columns are alike in size.
        const auto fit = leastSquares<4>(values_, [&](std::size_t n) {
            const double cosine = std::cos(angle(omega, n));
            const double sine = std::sin(angle(omega, n));
            const double time = (static_cast<double>(n) - middle_) / middle_;
            return std::array{cosine, sine, 1.0, time * (tone[1] * cosine - tone[0] * sine)};
        });
        return fit[3] / middle_;
    }

    double restOf(double omega, const std::array<double, 3>& tone) const {
        double sum = 0;
        for (std::size_t n = 0; n < values_.size(); ++n) {
            const double rest = values_[n] - tone[0] * std::cos(angle(omega, n)) -
                                tone[1] * std::sin(angle(omega, n)) - tone[2];
            sum += rest * rest;
        }
        return sum / static_cast<double>(values_.size());
    }

    std::span<const double> values_;
    double middle_;
};

// What the sections of one channel tell together.
class Channel {
public:
    void take(std::span<const double> values, double rate) {
        double sum = 0;
        for (const double value : values) {
            sum += value;
            finding_.peak = std::max(finding_.peak, std::abs(value));
            finding_.isFinite = finding_.isFinite && std::isfinite(value);
        }
        const auto [lowest, highest] = std::ranges::minmax(values);
        finding_.isSilent = finding_.isSilent || lowest == highest;
        if (!finding_.isFinite || finding_.isSilent) return;
        const Tone tone = SineFit(values).from(
            interpolatedPeak(values, sum / static_cast<double>(values.size())));
        lowest_ = std::min(lowest_, tone.meanSquare);
        highest_ = std::max(highest_, tone.meanSquare);
        squares_ += tone.meanSquare;
        rests_ += tone.restMeanSquare;
        frequencies_ += tone.omega * rate / (2 * std::numbers::pi);
    }

    ToneFinding finding(double sections) const {
        ToneFinding finding = finding_;
        if (!finding.isFinite || finding.isSilent) return finding;
        finding.rms = std::sqrt(squares_ / sections);
        finding.frequency = frequencies_ / sections;
        finding.drift = 10 * std::log10(highest_ / lowest_);
        finding.distortion = 100 * std::sqrt(rests_ / squares_);
        return finding;
    }

private:
    ToneFinding finding_;
    double lowest_ = std::numeric_limits<double>::infinity();
    double highest_ = 0;
    double squares_ = 0;
    double rests_ = 0;
    double frequencies_ = 0;
};

}  // namespace

std::vector<ToneFinding> findTones(Recording& recording, double frequency) {
    const double rate = recording.rate();
    if (!(frequency >= kLowestToneFrequency && frequency < rate / 2)) {
        throw RecordingError(
            tr("a calibrator's frequency is from %1 Hz to below half the sample rate (%2 Hz), not "
               "%3 Hz",
               kLowestToneFrequency, rate / 2, frequency));
    }
    const double shortest =
        std::ceil(rate * std::max(kSectionSeconds, kSectionPeriods / frequency));
    const auto sections =
        static_cast<std::int64_t>(static_cast<double>(recording.frames()) / shortest);
    if (sections < kFewestSections) {
        throw TooShort(tr("is too short to calibrate by: %1 s, at least %2 s are needed",
                          toText(static_cast<double>(recording.frames()) / rate, 3),
                          toText(static_cast<double>(kFewestSections) * shortest / rate, 3)));
    }
    const auto channels = static_cast<std::size_t>(recording.channels());
    std::vector<Channel> found(channels);
    std::vector<float> interleaved;
    std::vector<double> values;
    for (std::int64_t section = 0; section < sections; ++section) {
        // Sections of equal length, but for one sample, so that none is left over. As two factors,
        // whose product is in range for the longest recordings.
        const std::int64_t each = recording.frames() / sections;
        const std::int64_t longer = recording.frames() % sections;
        const auto frames = static_cast<std::size_t>(each + (section < longer ? 1 : 0));
        interleaved.resize(frames * channels);
        if (recording.read(interleaved) != frames) {
            throw RecordingError(tr("can't be read to its end"));
        }
        values.resize(frames);
        for (std::size_t channel = 0; channel < channels; ++channel) {
            for (std::size_t i = 0; i < frames; ++i)
                values[i] = static_cast<double>(interleaved[i * channels + channel]);
            found[channel].take(values, rate);
        }
        if (interrupted()) throw RunError(kInterrupted, tr("interrupted, no file is written"));
    }
    std::vector<ToneFinding> findings;
    findings.reserve(channels);
    for (const Channel& channel : found)
        findings.push_back(channel.finding(static_cast<double>(sections)));
    return findings;
}

std::optional<std::string> flawOf(const ToneFinding& tone, double frequency, bool countsFullScale) {
    // The largest positive value of 16 bits.
    constexpr double kFullScale = 32767.0 / 32768.0;
    constexpr int kShown = 3;
    if (!tone.isFinite) return tr("holds values that are no numbers");
    // What lies above 1 is no clipped integer, but a number in some unit.
    if (countsFullScale && tone.peak >= kFullScale && tone.peak <= 1) {
        return tr("clipping: the values reach digital full scale");
    }
    if (tone.isSilent) return tr("there is silence in it");
    const double error = 100 * std::abs(tone.frequency - frequency) / frequency;
    if (!(error <= kMostFrequencyError)) {
        return tr("the strongest tone is at %1 Hz, more than %2 % from %3 Hz",
                  toText(tone.frequency, 5), kMostFrequencyError, frequency);
    }
    if (!(tone.distortion <= kMostDistortion)) {
        return tr("distortion and noise are %1 %, more than %2 %", toText(tone.distortion, kShown),
                  kMostDistortion);
    }
    if (!(tone.drift <= kMostDrift)) {
        return tr("the level drifts by %1 dB, more than %2 dB", toText(tone.drift, kShown),
                  kMostDrift);
    }
    return std::nullopt;
}

}  // namespace vynhost
