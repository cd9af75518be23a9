// Calls in any order, and calls within a message.
#include <array>
#include <memory>

#include "vynhost/validate/catalogue_of_checks.h"

namespace vynhost {
namespace {

enum class Call { initSim, simulate, stop, errorShow, save, keywords, restore, others };
constexpr int kCalls = 8;

// A block in the hands of a host that calls at any time.
class Player {
public:
    Player(Session& session, int type) : session_(session), type_(type) { place(); }

    void play(Call call) {
        switch (call) {
            case Call::initSim:
                // A start without an end before it forgets the block that such a type keeps.
                if (keepsABlock(type_)) block_->stop();
                block_->initSim();
                break;
            case Call::simulate:
                block_->feed(seed_++);
                block_->simulate();
                block_->nothingLost();
                block_->collect();
                break;
            case Call::stop: block_->stop(); break;
            case Call::errorShow:
                // Each box is a window of its own on some systems.
                if (session_.host().boxes().empty()) block_->errorShow();
                break;
            case Call::save: block_->save(); break;
            case Call::keywords:
                session_.tell("lRemoteControl 10, 30 and 50 of every keyword");
                for (const KeywordRow& row : block_->block().keywords())
                    block_->block().get(row);
                break;
            case Call::restore: {
                const std::string record = block_->save();
                block_ = std::make_unique<Subject>(session_, type_, record);
                block_->wireAll();
                break;
            }
            case Call::others:
                session_.tell("Starten, Pause, Command");
                const Exports& exports = session_.exports();
                const Int context = block_->block().context();
                session_.host().call(exports.Starten, context, type_, block_->handle(), 0);
                session_.host().call(exports.Pause, context, type_, block_->handle(), 0);
                session_.host().call(exports.Command, context, type_, block_->handle());
                break;
        }
    }

    // A run after all that equals a fresh block's.
    void finish(const std::vector<Outputs>& expected) {
        block_->stop();
        block_->clear();
        session_.takeBoxes();
        session_.same(block_->run(1), expected, "a proper run afterwards");
        block_.reset();
        session_.settle();
    }

private:
    void place() {
        block_ = std::make_unique<Subject>(session_, type_);
        block_->wireAll();
    }

    Session& session_;
    int type_;
    std::unique_ptr<Subject> block_;
    unsigned seed_ = 1;
};

std::vector<Outputs> properOutputs(Session& session, int type) {
    return Subject(session, type).properRun(1);
}

void allShortOrders(Session& session, int type) {
    constexpr std::size_t kLongest = 3;
    const std::vector<Outputs> expected = properOutputs(session, type);
    for (std::size_t length = 1, orders = kCalls; length <= kLongest; ++length, orders *= kCalls) {
        for (std::size_t order = 0; order < orders; ++order) {
            session.begin();
            Player player(session, type);
            for (std::size_t i = 0, rest = order; i < length; ++i, rest /= kCalls)
                player.play(static_cast<Call>(rest % kCalls));
            player.finish(expected);
        }
    }
}

// From short orders to long ones, so that the first that fails is short.
void randomOrders(Session& session, int type) {
    const std::vector<Outputs> expected = properOutputs(session, type);
    const int stories = session.rounds(60);
    for (int story = 0; story < stories; ++story) {
        session.begin();
        Player player(session, type);
        for (int calls = 4 + story * 60 / stories; calls > 0; --calls)
            player.play(static_cast<Call>(session.random()() % kCalls));
        player.finish(expected);
    }
}

// --- Re-entry -------------------------------------------------------------------------------

constexpr std::array<Message, 5> kMessages = {Message::newBlock, Message::copyHeader,
                                              Message::releaseBlock, Message::inputCount,
                                              Message::outputCount};

// A host whose message leads back into the module: another block works while this one waits.
void anotherBlockWithinAMessage(Session& session, int outerType, int innerType) {
    const std::vector<Outputs> outerExpected = Subject(session, outerType).properRun(2);
    const std::vector<Outputs> innerExpected = Subject(session, innerType).properRun(2);
    for (const Message message : kMessages) {
        session.begin();
        Subject outer(session, outerType);
        outer.wireAll();
        outer.initSim();
        for (unsigned i = 0; i < outerExpected.size(); ++i) {
            std::vector<Outputs> inner;
            outer.feed(i + 1);
            session.host().misbehave(
                {.message = message, .fault = Fault::run, .times = 1, .before = [&] {
                     session.tell("within message " +
                                  std::to_string(static_cast<std::uint32_t>(message)) +
                                  ": a whole run of a block of type " + std::to_string(innerType));
                     WorkingBlock block(session.host(), innerType);
                     inner = run(block, static_cast<int>(innerExpected.size()));
                 }});
            outer.simulate();
            session.host().behave();
            session.same(outer.collect(), outerExpected[i], "the block that waited");
            if (!inner.empty()) session.same(inner, innerExpected, "the block within the message");
        }
        outer.stop();
        outer.clear();
        session.noOffences();
    }
}

}  // namespace

void addOrderChecks(CheckList& list) {
    list.ofEveryType("order.short", 4, "Any three calls one after the other harm nothing.",
                     allShortOrders);
    list.ofEveryType("order.random", 3, "Calls in any order harm nothing.", randomOrders);
    list.ofEveryType(
        "reentry.sameType", 3, "Within a message of a block another of its type may work.",
        [](Session& session, int type) { anotherBlockWithinAMessage(session, type, type); });
    list.ofEveryType("reentry.otherType", 4,
                     "Within a message of a block one of any other type may work.",
                     [types = list.types()](Session& session, int type) {
                         for (const auto& other : types)
                             anotherBlockWithinAMessage(session, type, other.code);
                     });
}

}  // namespace vynhost
