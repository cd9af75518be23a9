// A host that refuses, spoils or withholds what a block asks for.
#include <algorithm>
#include <array>

#include "vynhost/validate/catalogue_of_checks.h"

namespace vynhost {
namespace {

struct Refusal {
    const char* name;
    Fault fault;
    int times;
};

constexpr Refusal kOnce = {"refuses it", Fault::answer, 1};
constexpr Refusal kForEver = {"refuses it, and all further ones", Fault::answer, Rule::kForEver};
constexpr Refusal kUnlockable = {"gives one that cannot be locked", Fault::unlockable, 1};
constexpr Refusal kUnlockableForEver = {"gives those that cannot be locked from then on",
                                        Fault::unlockable, Rule::kForEver};

// What `Simulation` answers when memory for a result is refused.
Int answerToARefusal(int type) {
    switch (type) {
        // Kept: these say the same as after their work.
        case kInverseFFT:
        case kDualSpektrum: return 1;
        case kSpektrum: return kNothingConsumed;
        default: return kFailed;
    }
}

// Whatever request of whichever data block is refused: nothing is lost, the next call works.
void refused(Session& session, int type, const Refusal& refusal) {
    constexpr int kMostRequests = 64;
    const std::vector<Outputs> expected = Subject(session, type).properRun(2);
    for (const std::size_t round : {0, 1}) {
        bool asked = true;
        for (int nth = 1; asked; ++nth) {
            session.expect(nth <= kMostRequests, "one data block makes more than 64 requests");
            session.begin();
            Subject block(session, type);
            block.wireAll();
            block.initSim();
            for (std::size_t before = 0; before < round; ++before) {
                block.feed(static_cast<unsigned>(before + 1));
                block.simulate();
                session.same(block.collect(), expected[before], "the data block before");
            }
            block.feed(static_cast<unsigned>(round + 1));
            const Handle input = block.block().inputData(0);
            session.host().setTraced(true);
            session.host().takeTrace();
            session.host().misbehave({.message = Message::newBlock,
                                      .fault = refusal.fault,
                                      .first = nth,
                                      .times = refusal.times});
            session.tell("at message 1134, number " + std::to_string(nth) + ", the host " +
                         refusal.name);
            const Int answer = block.simulate();
            session.host().behave();
            const auto requests =
                std::ranges::count_if(session.host().takeTrace(),
                                      [](const auto& line) { return line.starts_with("1134"); });
            session.host().setTraced(false);
            asked = requests >= nth;
            if (asked) {
                if (isKnown(type)) {
                    session.equal(answer, answerToARefusal(type), "Simulation answers");
                    session.expect(block.block().inputData(0) == input, "the input is gone");
                }
                for (int j = 0; j < block.outputs(); ++j)
                    session.expect(!block.block().delivered(j),
                                   "something lies at output " + std::to_string(j));
                block.nothingLost();
                block.feed(static_cast<unsigned>(round + 1));  // control inputs may be gone
                block.simulate();
            }
            session.same(block.collect(), expected[round], "the call after the refusal");
            block.stop();
            block.clear();
            session.takeBoxes();
            session.noOffences();
        }
    }
}

void sameBlockTwice(Session& session, int type) {
    for (int nth = 1; nth <= 3; ++nth) {
        session.begin();
        Subject block(session, type);
        block.wireAll();
        block.initSim();
        block.feed();
        session.tell("at message 1134, number " + std::to_string(nth) +
                     ", the host gives the block that it gave before");
        session.host().misbehave(
            {.message = Message::newBlock, .fault = Fault::sameBlock, .first = nth});
        block.simulate();
        session.host().behave();
        block.stop();
        block.clear();
        session.takeBoxes();
    }
    session.host().takeOffences();  // both outputs are the one block, so it may come back twice
}

void unlockableInput(Session& session, int type) {
    for (int i = 0; i < kMaxConnectors; ++i) {
        session.begin();
        {
            Subject block(session, type);
            block.wireAll();
            if (i >= block.inputs()) break;
            block.initSim();
            session.tell("input " + std::to_string(i) + ": memory that cannot be locked");
            block.block().put(i,
                              session.host().memory().allocateUnlockable(HostMemory::Kind::data));
            block.feed();
            block.simulate();
            block.nothingLost();
            block.collect();
            block.stop();
            block.clear();
            session.takeBoxes();
        }
        session.settle();
    }
}

void oddCounts(Session& session, int type) {
    constexpr std::array<Int, 8> kCounts = {-1, 0, 1, 32, 33, 1000, Int{1} << 31, Int{1} << 40};
    // One call with everything wired and data at every input; its answer and what came out.
    const auto answerTo = [&](Int inputs, Int outputs) {
        Subject block(session, type);
        block.wireAll();
        session.tell("wire all 32 inputs and outputs, data at every input");
        for (int i = 0; i < kMaxConnectors; ++i) {
            block.block().wireInput(i, i);
            block.block().wireOutput(i, i);
            block.block().put(i, suitableData(type, i));
        }
        block.initSim();
        session.tell("message 1188 is answered by " + std::to_string(inputs) + ", 1189 by " +
                     std::to_string(outputs));
        block.block().setCounts(inputs, outputs);
        const Int answer = block.simulate();
        block.nothingLost();
        Outputs taken;
        for (int j = 0; j < kMaxConnectors; ++j)
            taken.push_back(block.block().take(j));
        block.stop();
        session.takeBoxes();
        return std::pair{answer, taken};
    };
    for (const Int inputs : kCounts) {
        for (const Int outputs : kCounts) {
            session.begin();
            // No connectors for a negative count, and never more than a record has.
            const auto expected = answerTo(std::clamp(inputs, Int{0}, Int{kMaxConnectors}),
                                           std::clamp(outputs, Int{0}, Int{kMaxConnectors}));
            const auto found = answerTo(inputs, outputs);
            session.equal(found.first, expected.first, "Simulation answers");
            session.same(found.second, expected.second, "beside the nearest possible counts");
        }
    }
    session.takeBoxes();
}

void changingCounts(Session& session, int type) {
    for (const Int second : {Int{-1}, Int{0}, Int{33}, Int{1000}, Int{1} << 40}) {
        session.begin();
        Subject block(session, type);
        block.wireAll();
        block.initSim();
        block.feed();
        session.tell("messages 1188 and 1189 are answered by " + std::to_string(second) +
                     " when they are asked again");
        for (const Message message : {Message::inputCount, Message::outputCount})
            session.host().misbehave({.message = message, .value = second, .first = 2, .times = 1});
        const Int answer = block.simulate();
        session.host().behave();
        block.nothingLost();
        session.expect(answer != kNotWired || block.block().waits(0),
                       "2 is answered and the input is gone");
        block.collect();
        block.stop();
        block.clear();
        session.takeBoxes();
    }
}

void headNotCopied(Session& session, int type) {
    for (const Fault fault : {Fault::answer, Fault::garbage}) {
        session.begin();
        Subject block(session, type);
        block.wireAll();
        block.initSim();
        session.tell(fault == Fault::answer ? "message 1143 copies nothing"
                                            : "message 1143 fills the head with bytes FF");
        session.host().misbehave({.message = Message::copyHeader, .fault = fault});
        for (unsigned i = 0; i < 3; ++i) {
            block.feed(i + 1);
            block.simulate();
            block.nothingLost();
            block.collect();
        }
        session.host().behave();
        block.stop();
        block.clear();
        session.takeBoxes();
    }
}

void noThreshold(Session& session, int type) {
    for (const std::int32_t resetMode : {1, 2, 3}) {
        session.begin();
        Subject block(session, type);
        if (type == kMittelwert) {  // asks for it when it averages over blocks
            block.set("PkMode", 3);
            block.set("PkResetMode", resetMode);
        }
        block.wireAll();
        session.tell("message 1130 is answered by 0");
        session.host().misbehave({.message = Message::triggerThreshold, .value = 0});
        block.initSim();
        for (unsigned i = 0; i < 3; ++i) {
            block.feed(i + 1);
            block.simulate();
            block.nothingLost();
            block.collect();
        }
        session.host().behave();
        block.stop();
        block.clear();
        session.takeBoxes();
    }
}

void takesNothingBack(Session& session, int type) {
    session.host().setTraced(true);
    session.host().takeTrace();
    {
        Subject block(session, type);
        block.wireAll();
        block.initSim();
        session.tell("message 1135 is refused");
        session.host().misbehave({.message = Message::releaseBlock, .value = 0});
        for (unsigned round = 0; round < 3; ++round) {
            block.feed(round + 1);
            block.simulate();
            block.collect();
        }
        if (keepsABlock(type)) session.host().behave();  // nobody else knows that block
        block.stop();
        session.host().behave();
    }
    // What was given back in vain may live on, and nothing else.
    const auto trace = session.host().takeTrace();
    const auto givenBack = std::ranges::count_if(
        trace, [](const std::string& line) { return line.starts_with("1135"); });
    const auto alive = static_cast<Int>(session.host().memory().aliveData());
    for (const Handle handle : session.host().memory().dataHandles())
        session.host().memory().free(handle);
    session.expect(alive <= givenBack, std::to_string(alive) + " data blocks live, " +
                                           std::to_string(givenBack) + " were given back");
}

void saysNothing(Session& session, int type) {
    std::vector<Handle> inputs;
    {
        Subject block(session, type);
        block.wireAll();
        session.tell("SetInit(1, 0, 402): no window");
        session.host().setInit(kHostWindow, 0, kInterfaceVersion);
        block.initSim();
        block.feed();
        for (int i = 0; i < kMaxConnectors; ++i) {
            if (block.block().waits(i)) inputs.push_back(block.block().inputData(i));
        }
        block.simulate();
        block.stop();
    }
    // What the block meant to give back, nobody heard of.
    for (const Handle input : inputs)
        session.host().memory().free(input);
    session.host().setInit(kHostWindow, session.host().window(), kInterfaceVersion);
    session.takeBoxes();
    Subject again(session, type);
    again.properRun(1);
}

// Memory that ends at an unreadable page: everything a type can be asked for, within its bounds.
void staysWithinItsMemory(Session& session, const CheckList::Type& type) {
    Subject(session, type.code).properRun(3);
    session.settle();
    digestOfType(session, type);
    session.settle();
}

}  // namespace

void addHostChecks(CheckList& list) {
    const auto refusedBy = [](const Refusal& refusal) {
        return [refusal](Session& session, int type) { refused(session, type, refusal); };
    };
    list.ofEveryType("host.refusesOnce", 2,
                     "A refused output loses nothing, and the next call works.", refusedBy(kOnce));
    list.ofEveryType("host.refuses", 3, "Outputs refused from then on lose nothing.",
                     refusedBy(kForEver));
    list.ofEveryType("host.unlockableOnce", 3, "An output that cannot be locked loses nothing.",
                     refusedBy(kUnlockable));
    list.ofEveryType("host.unlockable", 3, "Outputs that cannot be locked lose nothing.",
                     refusedBy(kUnlockableForEver));
    list.ofEveryType("host.sameBlock", 3, "An output that is given twice is survived.",
                     sameBlockTwice);
    list.ofEveryType("host.unlockableInput", 2, "An input that cannot be locked is survived.",
                     unlockableInput);
    list.ofEveryType("host.oddCounts", 3,
                     "Odd counts of connectors are as the nearest possible ones.", oddCounts);
    list.ofEveryType("host.changingCounts", 3, "Counts may change between two questions.",
                     changingCounts);
    list.ofEveryType("host.headNotCopied", 3, "A head that the host does not copy is survived.",
                     headNotCopied);
    list.ofEveryType("host.noThreshold", 3, "A missing threshold of the trigger is survived.",
                     noThreshold);
    list.ofEveryType("host.takesNothingBack", 3, "A host that takes nothing back is survived.",
                     takesNothingBack);
    list.ofEveryType("host.saysNothing", 3, "A host without a window is survived.", saysNothing);
    ModuleHost::Options guarded = Session::usualOptions();
    guarded.guard = platform::Guard::pageAfter;
    for (const CheckList::Type& type : list.types()) {
        list.ofEveryType(
            "memory.bounds", 2, "Whatever is chosen, nothing is read or written behind memory.",
            [type](Session& session, int) { staysWithinItsMemory(session, type); },
            [code = type.code](const CheckList::Type& other) { return other.code == code; });
        list.withOptions(guarded);
    }
}

}  // namespace vynhost
