// The sixteen exports and the table of blocks, without a run.
#include <algorithm>
#include <array>
#include <limits>
#include <set>
#include <utility>

#include "vynhost/validate/catalogue_of_checks.h"
#include "vynhost/validate/platform/process.h"

namespace vynhost {
namespace {

constexpr Int kTwoTo32 = Int{1} << 32;
constexpr Int kNoBlockHere = 900;  // checks create fewer blocks
constexpr std::array<Int, 14> kNumbers = {0,
                                          1,
                                          -1,
                                          2,
                                          1023,
                                          1024,
                                          kSpektrum,
                                          5010,
                                          Int{1} << 31,
                                          kTwoTo32,
                                          kTwoTo32 + 1,
                                          -kTwoTo32,
                                          std::numeric_limits<Int>::max(),
                                          std::numeric_limits<Int>::min()};

std::string callText(const std::string& name, std::initializer_list<Int> arguments) {
    std::string text;
    for (const Int argument : arguments)
        text += (text.empty() ? "" : ", ") + std::to_string(argument);
    return name + "(" + text + ")";
}

// Calls an export, tells it, and compares the answer.
template <class... Arguments>
void answers(Session& session, Int expected, const std::string& name, Int (*function)(Arguments...),
             std::type_identity_t<Arguments>... arguments) {
    const std::string call = callText(name, {arguments...});
    session.tell(call);
    session.equal(session.host().call(function, arguments...), expected, call + " answers");
}

void fixedAnswers(Session& session) {
    const Exports& exports = session.exports();
    for (const Int number : kNumbers) {
        session.begin();
        answers(session, 0, "Command", exports.Command, number, 2, 3);
        answers(session, 0, "GetGlobalPars", exports.GetGlobalPars, number, 2);
        answers(session, 1, "SetGlobalPars", exports.SetGlobalPars, number, 2, 3);
        answers(session, 1, "Starten", exports.Starten, number, 2, 3, 4);
        answers(session, 1, "Pause", exports.Pause, number, 2, 3, 4);
        answers(session, 1, "GetInfo", exports.GetInfo, number, kFirstType, kAlwaysOne, 0);
        answers(session, 0, "GetInfo", exports.GetInfo, number, kFirstType, kAlwaysZero, 0);
        answers(session, kInterfaceVersion, "GetInfo", exports.GetInfo, number, kFirstType,
                kInterface, 0);
    }
}

void unknownQueries(Session& session) {
    const std::set<Int> known = {kTypeCount, kLongName, kShortName, kConnectors,
                                 kInterface, kIsType,   kAlwaysOne, kAlwaysZero};
    for (Int query = -100; query < 1000; ++query) {
        session.begin();
        if (known.contains(query)) continue;
        answers(session, kUnknownQuery, "GetInfo", session.exports().GetInfo, 1, kFirstType, query,
                0);
    }
}

void thirtyTwoBits(Session& session) {
    const Exports& exports = session.exports();
    for (const Int wide : {kTwoTo32, -kTwoTo32, 5 * kTwoTo32}) {
        session.begin();
        answers(session, kInterfaceVersion, "GetInfo", exports.GetInfo, 1, kFirstType,
                wide + kInterface, 0);
        answers(session, 1, "GetInfo", exports.GetInfo, 1, wide + kFirstType, kIsType, 0);
    }
}

void noSuchBlock(Session& session) {
    const Exports& exports = session.exports();
    for (const Int handle : {Int{-1}, kNoBlockHere, Int{1023}, Int{1024}, kTwoTo32 + 900,
                             std::numeric_limits<Int>::min()}) {
        session.begin();
        const platform::ParameterFile file;
        const Int open = file.handle();
        answers(session, handle, "GetParameters", exports.GetParameters, 1, kFirstType, handle, 0);
        answers(session, 1, "SaveParameters", exports.SaveParameters, 1, kFirstType, handle, open);
        answers(session, 1, "InitSim", exports.InitSim, 1, kFirstType, handle, 0);
        answers(session, 1, "Stoppen", exports.Stoppen, 1, kFirstType, handle, 0);
        answers(session, 1, "DestroyBlock", exports.DestroyBlock, 1, kFirstType, handle, 0);
        answers(session, 0, "lRemoteControl", exports.lRemoteControl, 1, handle, 0, kCountKeywords,
                0);
        answers(session, 0, "lErrorShow", exports.lErrorShow, 1, handle, 0, 0);
        session.equal(static_cast<Int>(file.position()), 0, "the file of no block is written to");
    }
}

void unknownType(Session& session) {
    const Exports& exports = session.exports();
    for (const Int type : kNumbers) {
        session.begin();
        if (session.host().getInfo(type, kIsType) == 1) continue;
        const platform::ParameterFile file("whatever is in the file");
        answers(session, 0, "GetParameters", exports.GetParameters, 1, type, 0, 0);
        answers(session, 0, "RestoreParameters", exports.RestoreParameters, 1, type, 0,
                file.handle());
        session.equal(static_cast<Int>(file.position()), 0, "the file's position");
    }
}

void foreignTypeTexts(Session& session) {
    for (const Int type : {Int{4999}, Int{5010}, Int{-1}, Int{0}, Int{1} << 31}) {
        for (const Int query : {Int{kLongName}, Int{kShortName}, Int{kConnectors}}) {
            session.begin();
            session.tell(callText("GetInfo", {1, type, query, 0}));
            session.expect(session.host().getInfo(type, query) != 0,
                           "a text's address is 0 for a type that does not exist");
        }
    }
}

void setInitModes(Session& session) {
    const Exports& exports = session.exports();
    for (const Int mode : {Int{0}, Int{2}, Int{4}, Int{-1}, kTwoTo32 + 1}) {
        session.begin();
        session.host().setTraced(true);
        answers(session, 0, "SetInit", exports.SetInit, mode, 0, 0);
        session.expect(session.host().takeTrace().empty(), "SetInit sends messages");
        session.host().setTraced(false);
    }
    for (const Int version : {Int{300}, kInterfaceVersion, Int{100000}}) {
        session.begin();
        answers(session, 0, "SetInit", exports.SetInit, kHostWindow, session.host().window(),
                version);
        session.settle();  // no box warns of such a host
    }
}

// Handles of memory, files and windows must name something real; every other argument may be any
// number.
void anyNumbers(Session& session) {
    constexpr Int kNoFile = -1;
    const Exports& exports = session.exports();
    const Int block = exports.GetParameters(1, kSpektrum, 0, 0);
    const auto destroy = [&](Int handle) {
        if (handle != block) exports.DestroyBlock(1, kSpektrum, handle, 0);
    };
    for (const Int a : kNumbers) {
        for (const Int b : kNumbers) {
            for (const Int c : kNumbers) {
                session.begin();
                session.tell("every export with " + callText("", {a, b, c}) +
                             " as its first arguments, 0 as its handles");
                if (a != kShutDown && a != kHostWindow) exports.SetInit(a, b, c);
                exports.GetInfo(a, b, c, b);
                exports.Command(a, b, c);
                exports.GetGlobalPars(a, b);
                exports.SetGlobalPars(a, b, c);
                exports.Starten(a, b, c, a);
                exports.Pause(a, b, c, a);
                exports.InitSim(a, b, c, a);
                exports.Stoppen(a, b, c, a);
                exports.Simulation(a, b, c, 0);
                exports.SaveParameters(a, b, c, kNoFile);
                exports.lRemoteControl(a, b, 0, c, 0);
                exports.lErrorShow(a, b, c, a);
                if (c != 0 && c != block) exports.GetParameters(a, b, c, a);
            }
            destroy(exports.GetParameters(a, b, 0, a));
            destroy(exports.RestoreParameters(a, b, 0, kNoFile));
        }
    }
    exports.DestroyBlock(1, kSpektrum, block, 0);
    session.host().takeOffences();  // unknown contexts were asked for on purpose
    session.host().takeBoxes();
}

// --- The table of blocks --------------------------------------------------------------------

// Handles that are destroyed whatever happens.
class Handles {
public:
    explicit Handles(Session& session) : session_(session) {}
    ~Handles() {
        for (Int handle = 1; handle <= kMaxBlocks; ++handle)
            destroy(handle);
    }
    Handles(const Handles&) = delete;
    Handles& operator=(const Handles&) = delete;

    Int create(int type) {
        session_.tell(callText("GetParameters", {1, type, 0, 0}));
        return session_.host().call(session_.exports().GetParameters, 1, type, 0, 0);
    }
    void destroy(Int handle) {
        session_.host().call(session_.exports().DestroyBlock, 1, kFirstType, handle, 0);
    }

private:
    Session& session_;
};

void lowestHandle(Session& session, int type) {
    Handles handles(session);
    for (Int expected = 1; expected <= 4; ++expected)
        session.equal(handles.create(type), expected, "the handle of a new block");
    for (const Int handle : {3, 2}) {
        session.tell(callText("DestroyBlock", {1, type, handle, 0}));
        handles.destroy(handle);
    }
    for (const Int expected : {2, 3, 5})
        session.equal(handles.create(type), expected, "the handle of a new block");
}

void fullTable(Session& session, int type) {
    Handles handles(session);
    for (Int expected = 1; expected <= kMaxBlocks; ++expected)
        session.equal(handles.create(type), expected, "the handle of a new block");
    session.begin();
    session.tell("make " + std::to_string(kMaxBlocks) + " blocks of type " + std::to_string(type));
    {
        const platform::ForgivenLeak lost;  // Kept: nobody destroys a block that finds no place
        session.equal(handles.create(type), kNoBlock, "the handle beyond a full table");
        const platform::ParameterFile file("a record that is restored into a full table");
        session.tell("RestoreParameters type " + std::to_string(type) + " from any file");
        session.equal(
            session.host().call(session.exports().RestoreParameters, 1, type, 0, file.handle()),
            kNoBlock, "the handle beyond a full table");
    }
    session.tell(callText("DestroyBlock", {1, type, 500, 0}));
    handles.destroy(500);
    session.equal(handles.create(type), 500, "the handle of a new block");
}

void randomTable(Session& session, const std::vector<CheckList::Type>& types) {
    constexpr std::size_t kAtOnce = 64;
    Handles handles(session);
    std::array<bool, kAtOnce + 1> taken{};
    const auto random = [&](std::size_t below) { return session.random()() % below; };
    for (int step = session.rounds(5000); step > 0; --step) {
        if (random(2) == 0) {
            const std::size_t handle = 1 + random(kAtOnce);
            session.tell(callText("DestroyBlock", {1, kFirstType, static_cast<Int>(handle), 0}));
            handles.destroy(static_cast<Int>(handle));
            taken.at(handle) = false;
            continue;
        }
        const auto lowest = std::find(taken.begin() + 1, taken.end(), false);
        if (lowest == taken.end()) continue;
        session.equal(handles.create(types[random(types.size())].code), lowest - taken.begin(),
                      "the handle of a new block");
        *lowest = true;
    }
}

}  // namespace

void addExportChecks(CheckList& list) {
    list.ofModule("exports.typeCount", 1, "GetInfo counts as many types as it names.",
                  [count = static_cast<Int>(list.types().size())](Session& session) {
                      answers(session, count, "GetInfo", session.exports().GetInfo, 1, 0,
                              kTypeCount, 0);
                      session.expect(count > 0, "the module offers no type");
                  });
    list.ofModule("exports.fixedAnswers", 1,
                  "Exports and queries without a block have their fixed answers.", fixedAnswers);
    list.ofModule("exports.unknownQueries", 1, "A query that is none is answered by -1.",
                  unknownQueries);
    list.ofModule("exports.thirtyTwoBits", 1, "Types and queries are numbers of 32 bits.",
                  thirtyTwoBits);
    list.ofModule("exports.noSuchBlock", 1,
                  "A handle that names no block gets the usual answers, and nothing happens.",
                  noSuchBlock);
    list.ofModule("exports.unknownType", 1, "A type that is none gives no block and reads nothing.",
                  unknownType);
    list.ofModule("exports.foreignTypeTexts", 2, "The texts of a type that is none have addresses.",
                  foreignTypeTexts);
    list.ofModule("exports.setInit", 1,
                  "SetInit answers 0 to every mode and warns no host of version 300 or later.",
                  setInitModes);
    list.ofModule("exports.anyNumbers", 3, "Every number is survived by every export.", anyNumbers);
    list.ofEveryType("table.lowestHandle", 1, "A new block gets the lowest free handle.",
                     lowestHandle);
    list.ofEveryType("table.full", 3, "There may be 1023 blocks; one more has the handle 0.",
                     fullTable);
    list.ofModule("table.random", 4, "Handles stay in order however blocks come and go.",
                  [types = list.types()](Session& session) { randomTable(session, types); });
}

}  // namespace vynhost
