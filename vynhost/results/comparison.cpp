#include "vynhost/results/comparison.h"

#include <algorithm>
#include <cmath>

#include "vynhost/base/messages.h"
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
    return {entry_.of.place, tr("%1 and %2 %3", entry_.of.text(), entry_.with.text(), what)};
}

void Comparer::take(Side& side, const ChannelData& block) {
    if (!side.first) {
        side.first = block.header;
        if (of_.first && with_.first) {
            const ChannelHeader& first = *of_.first;
            const ChannelHeader& second = *with_.first;
            if (first.channelCount != second.channelCount) {
                throw failure(tr("have different channel counts"));
            }
            if (first.xAxisKind != second.xAxisKind ||
                std::abs(first.xStep - second.xStep) > 1e-9 * std::abs(second.xStep)) {
                throw failure(tr("have different x axes"));
            }
        }
    }
    memory_.set((of_.ahead.size() + with_.ahead.size() + block.values.size()) * sizeof(float),
                tr("what one side has and the other not yet").c_str());
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
    if (count_ == 0) throw failure(tr("brought nothing to compare"));
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
    result.line = tr(
        "%1: %2 against %3 over %4 values: largest difference %5 = %6 of the peak, rms %7 of the "
        "signal's rms",
        entry_.name, entry_.of.text(), entry_.with.text(), count_,
        toText(result.largest, 3) + (unit_.empty() ? "" : " " + unit_), toText(relative, 3),
        toText(relativeRms, 3));
    if (entry_.tolerance) {
        result.line += tr(result.within ? words(" (within %1 of the peak)")
                                        : words(" (NOT within %1 of the peak)"),
                          *entry_.tolerance);
    }
    const std::size_t more = std::max(of_.ahead.size(), with_.ahead.size());
    if (more > 0) {
        const ConnectorName& shorter = of_.ahead.empty() ? entry_.of : entry_.with;
        result.within = false;
        result.early = more;
        result.line += tr(more == 1 ? words(", NOT equally long: %1 ends %2 value early")
                                    : words(", NOT equally long: %1 ends %2 values early"),
                          shorter.text(), more);
    }
    return result;
}

}  // namespace vynhost
