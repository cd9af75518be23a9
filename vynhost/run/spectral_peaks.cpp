#include "vynhost/run/spectral_peaks.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "vynhost/base/messages.h"
#include "vynhost/diagram/block_settings.h"
#include "vynhost/interface/placed_block.h"

namespace vynhost {
namespace {

constexpr int kSamples = 1024;
constexpr int kLine = kSamples / 4;  // far from 0 Hz and from the highest line
constexpr int kOffsets = 64;         // in half a line

// A tone of an rms of 1, so many lines above line 0.
ChannelData toneAt(double line) {
    std::vector<float> samples(kSamples);
    for (int i = 0; i < kSamples; ++i) {
        samples[static_cast<std::size_t>(i)] = static_cast<float>(
            std::numbers::sqrt2 * std::sin(2 * std::numbers::pi * line * i / kSamples));
    }
    return timeSignal(std::move(samples), 1, 1.0 / kSamples);
}

double medianAround(std::span<const double> values, std::size_t place) {
    constexpr std::size_t kReach = 32;
    const std::size_t from = place > kReach ? place - kReach : 0;
    const std::size_t to = std::min(values.size(), place + kReach + 1);
    std::vector<double> around(values.begin() + static_cast<std::ptrdiff_t>(from),
                               values.begin() + static_cast<std::ptrdiff_t>(to));
    const auto middle = around.begin() + std::ssize(around) / 2;
    std::nth_element(around.begin(), middle, around.end());
    return *middle;
}

}  // namespace

WindowShape::WindowShape(ModuleHost& host, std::span<const TypeInfo> types, const BlockEntry& block)
    : leakage_(kLine, 0.0) {
    const auto probe = placeBlock(host, types, block);
    probe->wireAll();
    probe->initSim();
    for (int i = 0; i <= kOffsets; ++i) {
        const double offset = 0.5 * i / kOffsets;
        const auto lines = probe->process(toneAt(kLine + offset));
        if (!lines || lines->samples() < 2 * kLine) break;
        const double highest = lines->at(kLine, 0);
        const double skew = (lines->at(kLine + 1, 0) - lines->at(kLine - 1, 0)) / highest;
        heights_.push_back(highest);
        skews_.push_back(skews_.empty() ? 0 : std::max(skew, skews_.back()));
        for (int line = 1; line < 2 * kLine; ++line) {
            const auto distance = static_cast<std::size_t>(std::abs(line - kLine - offset));
            if (distance >= leakage_.size()) continue;
            leakage_[distance] = std::max<double>(leakage_[distance], lines->at(line, 0));
        }
    }
    probe->stop();
    if (heights_.size() != kOffsets + 1)
        throw RunError(kBlockError, tr("the FFT block gives no lines"));
    // Between two zeros of the window's spectrum a tone of another phase may leave more.
    for (std::size_t i = leakage_.size() - 1; i-- > 0;)
        leakage_[i] = std::max(leakage_[i], leakage_[i + 1]);
}

WindowShape::Tone WindowShape::toneOf(double before, double highest, double behind) const {
    const double skew = (behind - before) / highest;
    const auto above = std::ranges::upper_bound(skews_, std::abs(skew));
    double place = 0;  // among the offsets
    if (above == skews_.end()) {
        place = kOffsets;
    } else if (above != skews_.begin()) {
        const auto below = above - 1;
        place = static_cast<double>(below - skews_.begin()) +
                (std::abs(skew) - *below) / (*above - *below);
    }
    const auto index = std::min<std::size_t>(static_cast<std::size_t>(place), kOffsets - 1);
    const double part = place - static_cast<double>(index);
    const double height = heights_[index] + part * (heights_[index + 1] - heights_[index]);
    return {std::copysign(0.5 * place / kOffsets, skew), highest / height};
}

double WindowShape::leakage(double lines) const {
    const auto index = static_cast<std::size_t>(std::abs(lines));
    return leakage_[std::min(index, leakage_.size() - 1)];
}

std::vector<SpectralPeak> findPeaks(std::span<const double> amplitudes, double step,
                                    const WindowShape& shape, std::size_t most) {
    constexpr double kAboveMedian = 3.1622776601683795;  // 10 dB
    constexpr double kAboveLeakage = 2;                  // beside what several tones leave
    std::vector<std::size_t> candidates;
    for (std::size_t line = 1; line + 1 < amplitudes.size(); ++line) {
        if (amplitudes[line] >= amplitudes[line - 1] && amplitudes[line] > amplitudes[line + 1]) {
            candidates.push_back(line);
        }
    }
    std::ranges::stable_sort(candidates, std::ranges::greater{},
                             [&](std::size_t line) { return amplitudes[line]; });
    struct Found {
        double line;
        double value;
    };
    std::vector<Found> found;
    for (const std::size_t line : candidates) {
        if (found.size() == most) break;
        double leaked = 0;
        for (const Found& peak : found) {
            const double part = peak.value * shape.leakage(static_cast<double>(line) - peak.line);
            leaked += part * part;
        }
        if (amplitudes[line] <= kAboveLeakage * std::sqrt(leaked)) continue;
        if (amplitudes[line] <= kAboveMedian * medianAround(amplitudes, line)) continue;
        const WindowShape::Tone tone =
            shape.toneOf(amplitudes[line - 1], amplitudes[line], amplitudes[line + 1]);
        found.push_back({static_cast<double>(line) + tone.offset, tone.value});
    }
    std::vector<SpectralPeak> peaks;
    peaks.reserve(found.size());
    for (const Found& peak : found)
        peaks.push_back({peak.line * step, peak.value});
    return peaks;
}

}  // namespace vynhost
