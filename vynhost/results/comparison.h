// How far two signals of a run differ, worked out while they come.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "vynhost/base/memory_limit.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/run/runner.h"

namespace vynhost {

struct Comparison {
    std::string line;  // for the reader
    bool within = true;
    double largest = 0;
    double rms = 0;
    double relative = 0;     // the largest difference, of the reference's peak
    double relativeRms = 0;  // of the signal's rms
    std::string unit = {};
    std::uint64_t values = 0;
    std::uint64_t early = 0;  // values by which one of the two ended before the other
};

// What comes to one side earlier than to the other is held until the other has it, too.
class Comparer {
public:
    // Listens to the runner, which it must not outlive.
    Comparer(const CompareEntry& entry, Runner& runner);
    Comparer(const Comparer&) = delete;
    Comparer& operator=(const Comparer&) = delete;

    // After the run. Raises InputError when there is nothing to compare.
    Comparison result() const;

private:
    struct Side {
        std::optional<ChannelHeader> first;
        std::deque<float> ahead;
    };
    void take(Side& side, const ChannelData& block);
    InputError failure(const std::string& what) const;

    const CompareEntry& entry_;
    std::string unit_;
    MemoryPart memory_;
    Side of_;
    Side with_;
    std::uint64_t count_ = 0;
    double largest_ = 0;
    double peak_ = 0;
    double power_ = 0;
    double errorPower_ = 0;
};

}  // namespace vynhost
