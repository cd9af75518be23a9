// What the run of one block is made of, whoever moves its data: a diagram, or a program by itself.
#pragma once

#include <array>
#include <string>

#include "vynhost/diagram/diagram.h"
#include "vynhost/interface/channel_data.h"
#include "vynhost/interface/placed_block.h"
#include "vynhost/run/level_intervals.h"

namespace vynhost {

// What can be said about the settings only when the rate of the signal is known: whether this was
// the head of a signal over time. Raises InputError.
bool checkAtRate(PlacedBlock& block, const BlockEntry& entry, const ChannelHeader& head);

// What lies at the connectors: a step that changes nothing has done nothing.
struct DataAtConnectors {
    std::array<Handle, kMaxConnectors> inputs;
    std::array<Handle, kMaxConnectors> outputs;
    bool operator==(const DataAtConnectors&) const = default;
};
DataAtConnectors dataAtConnectors(const PlacedBlock& block);

// The text of a block that has failed, in one line.
std::string ownErrorText(PlacedBlock& block);

// A level block puts out an interval when it sees that data follow. When none come any more, a
// sample behind the data shows it the end of an interval that is complete; it belongs to no row.
// Whether it was laid at the input; `followers` counts those since the run began.
bool showIntervalEnd(PlacedBlock& block, const LevelIntervals& intervals, int& followers);

}  // namespace vynhost
