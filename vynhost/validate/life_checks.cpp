// The life of one block: its names and connectors, its run, its turn.
#include <algorithm>
#include <array>
#include <cmath>

#include "vynhost/validate/catalogue_of_checks.h"

namespace vynhost {
namespace {

struct KnownType {
    const char* longName;
    const char* shortName;
    const char* connectors;  // of a new block
    bool needsEveryConnector;
};

constexpr std::array<KnownType, kTypes> kKnownTypes = {{
    {"Klassierung", "Klassierung", "E,;A,", false},
    {"Terz_Oktav_Analyse", "Terz_Oktav_Analyse", "E,;A,", true},
    {"Statistik", "Statistik", "E,;A,", true},
    {"Mittelwert", "Mittelwert", "E,;A,", false},
    {"FFT", "FFT", "E,;S,", true},
    {"Inverse FFT", "Inverse FFT", "R,I,;A,", true},
    {"FFT zweier Zeitsignale", "FFT zweier Zeitsignale", "E,A,T,;A,-,-,", false},
    {"Digitale Filter", "Filter", "E,;A,", true},
    {"Frequenzbewertung", "A,B,C-Bewertung", "E,S,;A,", false},
    {"Pegelberechnung", "Pegel", "E,S,;A,", false},
}};

const KnownType& knownType(int type) {
    return kKnownTypes.at(static_cast<std::size_t>(type - kFirstType));
}

bool isKnownType(const CheckList::Type& type) { return isKnown(type.code); }

void sameText(Session& session, const std::string& found, const std::string& expected,
              const std::string& what) {
    session.expect(found == expected, what + ": \"" + found + "\" instead of \"" + expected + "\"");
}

void names(Session& session, int type) {
    for (const Int query : {Int{kLongName}, Int{kShortName}}) {
        session.tell("GetInfo(1, " + std::to_string(type) + ", " + std::to_string(query) + ", 0)");
        const std::string name = session.host().infoText(type, query);
        session.expect(!name.empty() && name.size() < 256, "a name has 1 to 255 letters");
        sameText(session, session.host().infoText(type, query), name, "the name, asked again");
    }
}

void knownNames(Session& session, int type) {
    const KnownType& known = knownType(type);
    session.tell("GetInfo(1, " + std::to_string(type) + ", 2 and 3, 0)");
    sameText(session, session.host().infoText(type, kLongName), known.longName, "the long name");
    sameText(session, session.host().infoText(type, kShortName), known.shortName, "the short name");
}

void wellFormed(Session& session, const std::string& text) {
    const auto separators = std::ranges::count(text, ';');
    session.expect(separators == 1, "a connector text has one semicolon: \"" + text + "\"");
    const std::size_t middle = text.find(';');
    for (const std::string& side : {text.substr(0, middle), text.substr(middle + 1)}) {
        session.expect(side.empty() || side.back() == ',',
                       "a comma ends each label: \"" + text + "\"");
        session.expect(std::ranges::count(side, ',') <= kMaxConnectors,
                       "there are 32 connectors at most: \"" + text + "\"");
        session.expect(!side.starts_with(',') && side.find(",,") == std::string::npos,
                       "a label has a letter: \"" + text + "\"");
    }
}

void connectorForm(Session& session, int type) {
    session.tell("GetInfo(1, " + std::to_string(type) + ", 4, 0)");
    wellFormed(session, session.host().infoText(type, kConnectors));
    Subject block(session, type);
    session.tell("GetInfo 4 of the block");
    wellFormed(session, block.block().connectors());
}

void knownConnectors(Session& session, int type) {
    session.tell("GetInfo(1, " + std::to_string(type) + ", 4, 0)");
    sameText(session, session.host().infoText(type, kConnectors), "E,;A,",
             "the connectors without a block");
    Subject block(session, type);
    session.tell("GetInfo 4 of the block");
    sameText(session, block.block().connectors(), knownType(type).connectors,
             "the connectors of a new block");
}

void createAndDestroy(Session& session, int type) {
    session.host().setTraced(true);
    for (int i = 0; i < 3; ++i) {
        session.begin();
        const Subject block(session, type);
        session.equal(block.handle(), 1, "the handle of the only block");
    }
    session.expect(std::ranges::none_of(session.host().takeTrace(),
                                        [](const std::string& line) { return !line.empty(); }),
                   "the life of a block without a run sends messages");
}

void properLife(Session& session, int type) {
    Subject block(session, type);
    block.properRun(3);
    session.noOffences();
}

void destroyedInARun(Session& session, int type) {
    for (int dataBlocks = 0; dataBlocks < 3; ++dataBlocks) {
        session.begin();
        {
            Subject block(session, type);
            block.wireAll();
            block.initSim();
            for (int i = 0; i < dataBlocks; ++i) {
                block.feed();
                block.simulate();
                block.collect();
            }
        }
        session.settle();
    }
}

void stoppedTwice(Session& session, int type) {
    Subject block(session, type);
    block.stop();
    block.properRun(2);
    block.stop();
    block.properRun(2);
}

void soundHeads(Session& session, int type) {
    Subject block(session, type);
    for (const Outputs& outputs : block.properRun(3)) {
        for (const auto& output : outputs) {
            if (!output) continue;
            const ChannelHeader& head = output->header;
            session.equal(head.valueCount, static_cast<Int>(output->values.size()),
                          "an output's value count, beside what its memory holds");
            session.expect(head.channelCount >= 1, "an output has no channel");
            session.equal(head.valueCount % std::max(head.channelCount, 1), 0,
                          "values of an output that belong to no channel");
            session.expect(std::isfinite(head.xStep) && std::isfinite(head.xStart),
                           "an output's x axis is not finite");
        }
    }
}

void waitsForData(Session& session, int type) {
    Subject block(session, type);
    block.wireAll();
    block.initSim();
    session.host().setTraced(true);
    session.equal(block.simulate(), kNothingReady, "Simulation without data answers");
    for (const std::string& line : session.host().takeTrace())
        session.expect(line.starts_with("1188") || line.starts_with("1189"),
                       "without data the module sends " + line);
}

void waitsForItsOutput(Session& session, int type) {
    Subject block(session, type);
    block.wireAll();
    block.initSim();
    block.feed();
    block.simulate();
    if (!block.block().delivered(0)) return;
    block.feed(2);  // where the input is free: what waits may be held
    const Handle input = block.block().inputData(0);
    session.equal(block.simulate(), kNothingReady,
                  "Simulation while an output has not been taken answers");
    session.expect(block.block().inputData(0) == input, "the input is gone");
    // A block may have several results for one data block.
    for (int i = 0; i < 1000 && block.block().inputData(0) == input; ++i) {
        block.collect();
        block.feed(3);  // controls may be gone before
        block.simulate();
    }
    session.expect(block.block().inputData(0) != input, "the input stays when the output is free");
    block.collect();
    block.stop();
    block.clear();
}

void unwired(Session& session, int type) {
    Subject block(session, type);
    block.wireAll();
    session.tell("output 0 is not wired");
    block.block().wireOutput(0, kUnwired);
    block.initSim();
    block.feed();
    const Int answer = block.simulate();
    const bool missed = answer == kNotWired;
    if (isKnown(type)) {
        session.expect(missed == knownType(type).needsEveryConnector,
                       "Simulation with an unwired output answers " + std::to_string(answer));
    }
    session.expect(!missed || block.block().waits(0), "2 is answered and the input is gone");
    block.nothingLost();
    block.stop();
    block.clear();
}

void noContext(Session& session, int type) {
    Subject block(session, type);
    block.wireAll();
    block.feed();
    session.host().setTraced(true);
    const auto handleOf = [](Handle handle) { return static_cast<Int>(handle); };
    session.tell("InitSim, Simulation and Stoppen with the context 0");
    session.equal(session.host().call(session.exports().InitSim, 0, type, block.handle(), 0), 1,
                  "InitSim without a context answers");
    session.equal(session.host().call(session.exports().Simulation, 0, type, block.handle(),
                                      handleOf(block.block().record())),
                  kNothingReady, "Simulation without a context answers");
    session.equal(session.host().call(session.exports().Stoppen, 0, type, block.handle(), 0), 1,
                  "Stoppen without a context answers");
    session.expect(block.block().waits(0), "the input is gone");
    session.expect(session.host().takeTrace().empty(), "messages are sent");
    block.clear();
}

void noRecord(Session& session, int type) {
    Subject block(session, type);
    block.wireAll();
    const Handle unlockable = session.host().memory().allocateUnlockable(HostMemory::Kind::record);
    for (const Handle record : {Handle::none, unlockable}) {
        session.tell(record == Handle::none ? "Simulation with the record 0"
                                            : "Simulation with a record that cannot be locked");
        session.equal(session.host().call(session.exports().Simulation, block.block().context(),
                                          type, block.handle(), static_cast<Int>(record)),
                      kMissing, "it answers");
    }
    session.host().memory().free(unlockable);
}

void noErrorToShow(Session& session, int type) {
    Subject block(session, type);
    block.errorShow();
    session.expect(session.host().boxes().empty(), "an error is shown before any");
    block.initSim();
    block.errorShow();
    session.expect(session.host().boxes().empty(), "an error is shown before any");
    block.stop();
}

}  // namespace

void addLifeChecks(CheckList& list) {
    list.ofEveryType("life.names", 1, "It has a long and a short name.", names);
    list.ofEveryType("life.knownNames", 1, "Its names are the known ones.", knownNames,
                     isKnownType);
    list.ofEveryType("life.connectorForm", 1, "Its connector text is well-formed.", connectorForm);
    list.ofEveryType("life.knownConnectors", 1, "A new block has the known connectors.",
                     knownConnectors, isKnownType);
    list.ofEveryType("life.createAndDestroy", 1,
                     "A block comes and goes without a message or a box.", createAndDestroy);
    list.ofEveryType("life.run", 1, "A run gives results and gives back all that it was lent.",
                     properLife);
    list.ofEveryType("life.heads", 1, "The head of every result fits its values.", soundHeads);
    list.ofEveryType("life.stoppedTwice", 2, "Ends without a start do no harm.", stoppedTwice);
    list.ofEveryType("life.destroyedInARun", 2,
                     "A block that is destroyed in its run gives back all that it was lent.",
                     destroyedInARun);
    list.ofEveryType("life.waitsForData", 2,
                     "Without data it is not a block's turn, and nothing but counts is asked.",
                     waitsForData);
    list.ofEveryType("life.waitsForItsOutput", 2,
                     "As long as an output is not taken, the input stays.", waitsForItsOutput);
    list.ofEveryType("life.unwired", 2, "An unwired output is told, or loses nothing.", unwired);
    list.ofEveryType("life.noContext", 2, "Without a context nothing is done.", noContext);
    list.ofEveryType("life.noRecord", 2, "A record that cannot be locked is answered with 0.",
                     noRecord);
    list.ofEveryType("life.noErrorToShow", 2, "Without an error none is shown.", noErrorToShow);
}

}  // namespace vynhost
