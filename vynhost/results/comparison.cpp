#include "vynhost/results/comparison.h"

#include <algorithm>
#include <cmath>

#include "vynhost/base/text.h"

namespace vynhost {

Comparer::Comparer(const CompareEntry& entry, Runner& runner)
    : entry_(entry),
      unit_(runner.outlet(entry.with).kind.values.unitText()),
      memory_(runner.memory(), entry.of.place) {
    runner.listen(entry.of, [this](const ChannelData& block) { take(of_, block); });
    runner.listen(entry.with, [this](const ChannelData& block) { take(with_, block); });
}

InputError Comparer::failure(const std::string& what) const {
    return {entry_.of.place, entry_.of.text() + " and " + entry_.with.text() + " " + what};
}

void Comparer::take(Side& side, const ChannelData& block) {
    if (!side.first) {
        side.first = block.header;
        if (of_.first && with_.first) {
            const ChannelHeader& first = *of_.first;
            const ChannelHeader& second = *with_.first;
            if (first.channelCount != second.channelCount) {
                throw failure("have different channel counts");
            }
            if (first.xAxisKind != second.xAxisKind ||
                std::abs(first.xStep - second.xStep) > 1e-9 * std::abs(second.xStep)) {
                throw failure("have different x axes");
            }
        }
    }
    memory_.set((of_.ahead.size() + with_.ahead.size() + block.values.size()) * sizeof(float),
                "what one side has and the other not yet");
    side.ahead.insert(side.ahead.end(), block.values.begin(), block.values.end());
    const std::size_t common = std::min(of_.ahead.size(), with_.ahead.size());
    for (std::size_t i = 0; i < common; ++i) {
        const double expected = with_.ahead[i];
        const double difference = std::abs(of_.ahead[i] - expected);
        peak_ = std::max(peak_, std::abs(expected));
        // A difference that is no number must not pass for none, nor be forgotten.
        if (!std::isnan(largest_) && !(difference <= largest_)) largest_ = difference;
        power_ += expected * expected;
        errorPower_ += difference * difference;
    }
    const auto passed = static_cast<std::ptrdiff_t>(common);
    of_.ahead.erase(of_.ahead.begin(), of_.ahead.begin() + passed);
    with_.ahead.erase(with_.ahead.begin(), with_.ahead.begin() + passed);
    count_ += common;
}

Comparison Comparer::result() const {
    if (count_ == 0) throw failure("brought nothing to compare");
    Comparison result;
    result.largest = largest_;
    result.rms = std::sqrt(errorPower_ / static_cast<double>(count_));
    // Of silence everything is infinitely much, but for nothing.
    const double relative = result.largest == 0 ? 0 : result.largest / peak_;
    const double relativeRms = errorPower_ == 0 ? 0 : std::sqrt(errorPower_ / power_);
    result.relative = relative;
    result.relativeRms = relativeRms;
    result.unit = unit_;
    result.values = count_;
    result.within = !entry_.tolerance || relative <= *entry_.tolerance;
    result.line = entry_.name + ": " + entry_.of.text() + " against " + entry_.with.text() +
                  " over " + std::to_string(count_) + " values: largest difference " +
                  toText(result.largest, 3) + (unit_.empty() ? "" : " " + unit_) + " = " +
                  toText(relative, 3) + " of the peak, rms " + toText(relativeRms, 3) +
                  " of the signal's rms";
    if (entry_.tolerance) {
        result.line += result.within ? " (within " : " (NOT within ";
        result.line += toText(*entry_.tolerance) + " of the peak)";
    }
    const std::size_t more = std::max(of_.ahead.size(), with_.ahead.size());
    if (more > 0) {
        const ConnectorName& shorter = of_.ahead.empty() ? entry_.of : entry_.with;
        result.within = false;
        result.early = more;
        result.line += ", NOT equally long: " + shorter.text() + " ends " + std::to_string(more) +
                       (more == 1 ? " value" : " values") + " early";
    }
    return result;
}

}  // namespace vynhost
