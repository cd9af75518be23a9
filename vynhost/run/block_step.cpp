#include "vynhost/run/block_step.h"

#include <cstring>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/diagram/block_settings.h"
#include "vynhost/diagram/keyword_check.h"

namespace vynhost {

bool checkAtRate(PlacedBlock& block, const BlockEntry& entry, const ChannelHeader& head) {
    const bool milliseconds = head.xAxisKind == kMilliseconds;
    if (!milliseconds && head.xAxisKind != kSeconds) return false;
    const double rate = (milliseconds ? 1000.0 : 1.0) / head.xStep;
    const auto type = static_cast<std::int32_t>(block.typeCode());
    const KeywordValues values = valuesOf(block, entry);
    checkValuesAtRate(meaningOf(type), entry, values, rate);
    if (type == kDigitalFilter && values.is("PkFIRFilter", "IIR")) {
        checkFilterDesign(block, entry, rate);
    }
    return true;
}

DataAtConnectors dataAtConnectors(const PlacedBlock& block) {
    const platform::View view(block.record());
    SimulationRecord record;
    std::memcpy(&record, view.address(), sizeof record);
    return {record.inputData, record.outputData};
}

std::string ownErrorText(PlacedBlock& block) {
    block.errorShow();
    std::string text;
    for (const Box& box : block.host().takeBoxes()) {
        if (text.empty()) text = onOneLine(box.text);  // the first says it
    }
    return text.empty() ? tr("failed without a message") : text;
}

bool showIntervalEnd(PlacedBlock& block, const LevelIntervals& intervals, int& followers) {
    constexpr int kMostFollowers = 4;  // two intervals wait at most, of one sample each
    if (!intervals.isComplete() || block.waits(0)) return false;
    if (++followers > kMostFollowers) return false;
    return block.put(0, intervals.follower()) != Handle::none;
}

}  // namespace vynhost
