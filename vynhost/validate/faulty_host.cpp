#include "vynhost/validate/faulty_host.h"

#include <cstring>

namespace vynhost {
namespace {

// NOLINTNEXTLINE(performance-no-int-to-ptr)
void* addressOf(Int value) { return reinterpret_cast<void*>(value); }

}  // namespace

Int FaultyHost::serve(Message message, Int first, Int second) {
    if (!traced_) return serveByRule(message, first, second);
    const std::string named = memory().name(handleOf(first));  // a release ends the handle's life
    const Int result = serveByRule(message, first, second);
    note(message, named, second, result);
    return result;
}

Int FaultyHost::serveByRule(Message message, Int first, Int second) {
    const Rule* rule = ruleFor(message);
    const Fault fault = rule == nullptr ? Fault::run : rule->fault;
    if (fault == Fault::answer) return rule->value;
    if (rule != nullptr && rule->before) rule->before();
    if (message == Message::newBlock && second >= 0) return newBlock(second, fault);
    if (message == Message::copyHeader && fault == Fault::garbage &&
        memory().isData(handleOf(first)) && memory().dataAt(addressOf(second)) != Handle::none) {
        std::memset(addressOf(second), 0xFF, kValuesOffset);
        return 0;
    }
    return ModuleHost::serve(message, first, second);
}

const Rule* FaultyHost::ruleFor(Message message) {
    const Rule* applies = nullptr;
    for (ActiveRule& active : rules_) {
        if (active.rule.message != message) continue;
        const int call = ++active.calls - active.rule.first;
        if (call >= 0 && call < active.rule.times && applies == nullptr) applies = &active.rule;
    }
    return applies;
}

Int FaultyHost::newBlock(Int values, Fault fault) {
    if (fault == Fault::unlockable) {
        return intOf(memory().allocateUnlockable(HostMemory::Kind::data));
    }
    if (fault == Fault::sameBlock && memory().isData(lastNewBlock_)) return intOf(lastNewBlock_);
    const Int size = fault == Fault::halfSize ? values / 2 : values;
    const Int block = ModuleHost::serve(Message::newBlock, 0, size);
    if (block != 0) lastNewBlock_ = handleOf(block);
    if (block != 0 && filling_) {
        const platform::View view(handleOf(block));
        std::memset(view.address(), static_cast<int>(*filling_),
                    memory().find(handleOf(block))->bytes);
    }
    return block;
}

void FaultyHost::note(Message message, const std::string& first, Int second, Int result) {
    std::string line = std::to_string(static_cast<std::uint32_t>(message));
    switch (message) {
        case Message::newBlock:
            line += " " + std::to_string(second) + " -> " + memory().name(handleOf(result));
            break;
        case Message::releaseBlock: line += " " + first; break;
        case Message::copyHeader:
            line += " " + first + " " + memory().name(memory().dataAt(addressOf(second)));
            break;
        case Message::inputCount:
        case Message::outputCount: line += " -> " + std::to_string(result); break;
        default: break;
    }
    trace_.push_back(std::move(line));
}

}  // namespace vynhost
