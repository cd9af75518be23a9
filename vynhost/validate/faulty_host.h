// A host that remembers the messages, and does wrong what it is told to.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "vynhost/interface/module_host.h"
#include "vynhost/interface/placed_block.h"

namespace vynhost {

// What the host does wrong when a rule applies.
enum class Fault {
    answer,      // answers `value`, does nothing
    unlockable,  // 1134: a block that cannot be locked
    halfSize,    // 1134: a block of half the size asked for
    sameBlock,   // 1134: the block of the answer before, again
    garbage,     // 1143: fills the head with bytes 0xFF
    run,         // calls `before`, then answers properly
};

// The rule applies to the calls first, first + 1, … of a message, counted from when it was given.
struct Rule {
    static constexpr int kForEver = 1 << 30;

    Message message{};
    Fault fault = Fault::answer;
    Int value = 0;
    int first = 1;
    int times = kForEver;
    std::function<void()> before = nullptr;
};

class FaultyHost : public ModuleHost {
public:
    using ModuleHost::ModuleHost;

    // The messages since the last time, a line each: "1134 64 -> D2", "1143 D1 D2", "1135 D1".
    std::vector<std::string> takeTrace() { return std::exchange(trace_, {}); }
    void setTraced(bool traced) noexcept { traced_ = traced; }

    // What the memory of new blocks holds instead of zeros.
    void fillNewBlocks(std::optional<std::byte> filling) noexcept { filling_ = filling; }

    void misbehave(Rule rule) { rules_.push_back({std::move(rule), 0}); }
    void behave() noexcept { rules_.clear(); }

protected:
    Int serve(Message message, Int first, Int second) override;

private:
    struct ActiveRule {
        Rule rule;
        int calls = 0;
    };

    const Rule* ruleFor(Message message);
    Int serveByRule(Message message, Int first, Int second);
    Int newBlock(Int values, Fault fault);
    void note(Message message, const std::string& first, Int second, Int result);

    bool traced_ = true;
    std::optional<std::byte> filling_;
    Handle lastNewBlock_ = Handle::none;
    std::vector<ActiveRule> rules_;
    std::vector<std::string> trace_;
};

}  // namespace vynhost
