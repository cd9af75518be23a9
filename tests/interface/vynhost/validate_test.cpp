// The validator: the sound module passes, and each of the broken ones is found by the check that is
// meant for it.
#include <filesystem>
#include <ostream>

#include "interface/vynhost/diagram_fixture.h"
#include "support/platform/test_system.h"
#include "vynhost/base/text.h"
#include "vynhost/validate/catalogue_of_checks.h"

namespace vynhost::test {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

class ValidateTest : public DiagramTest {
protected:
    struct Outcome {
        int code;
        std::string out;
        std::string error;
    };

    static std::string quoted(const std::filesystem::path& path) {
        return "\"" + textOf(path) + "\"";
    }

    Outcome validate(const std::string& arguments) const {
        const std::filesystem::path out = folder() / "stdout.txt";
        const std::filesystem::path error = folder() / "stderr.txt";
        const int code = platform::runShell(
            quoted(platform::programFolder() / platform::kHostProgram) + " validate " + arguments +
            " > " + quoted(out) + " 2> " + quoted(error));
        std::string said = read(out);
        std::erase(said, '\r');
        return {code, said, read(error)};
    }

    // The module that stands before the sound one, with the library beside it.
    std::filesystem::path brokenModule() const {
        const std::filesystem::path bin = platform::programFolder();
        const std::filesystem::path to = folder() / "broken";
        std::filesystem::create_directories(to / "Analysis");
        std::filesystem::copy_file(
            bin.parent_path() / "fixtures" / "broken_module" / platform::kModuleFile,
            to / platform::kModuleFile, std::filesystem::copy_options::overwrite_existing);
        std::filesystem::copy_file(bin / "Analysis" / platform::kLibraryFile,
                                   to / "Analysis" / platform::kLibraryFile,
                                   std::filesystem::copy_options::overwrite_existing);
        return to / platform::kModuleFile;
    }

    Outcome validateWith(const std::string& fault, const std::string& arguments) const {
        platform::setVariable("VYN_SOUND_MODULE",
                              textOf(platform::programFolder() / platform::kModuleFile));
        platform::setVariable("VYN_FAULT", fault);
        const Outcome outcome = validate(quoted(brokenModule()) + " " + arguments);
        platform::setVariable("VYN_SOUND_MODULE", "");
        platform::setVariable("VYN_FAULT", "");
        return outcome;
    }
};

TEST_F(ValidateTest, TheSoundModulePasses) {
    const Outcome outcome = validate("--level 1");
    EXPECT_EQ(outcome.code, 0) << outcome.out << outcome.error;
    EXPECT_THAT(outcome.out, HasSubstr("\nSUCCESS 1"));
    EXPECT_THAT(outcome.out, EndsWith(" checks\n"));
    EXPECT_THAT(outcome.out, HasSubstr("ok      life"));
    EXPECT_EQ(outcome.error, "");
}

TEST_F(ValidateTest, AModuleThatOnlyHandsCallsOnPasses) {
    for (const char* checks : {"life.", "records.c", "surroundings.f"}) {
        const Outcome outcome = validateWith("", std::string("--level 2 --check ") + checks);
        EXPECT_EQ(outcome.code, 0) << outcome.out << outcome.error;
    }
}

// How many checks there are up to each level: none is lost, none moves to another level unseen.
TEST_F(ValidateTest, HasItsChecksAtTheirLevels) {
    const auto types = typesOf(host);
    std::vector<std::size_t> counts;
    for (const int level : {1, 2, 3, 4, 5, 10})
        counts.push_back(checksFor(types, level).size());
    // One per type where memory knows its size.
    const std::size_t more = platform::kLocksAreCounted ? types.size() : 0;
    EXPECT_THAT(counts, ::testing::ElementsAre(137, 626, 995 + more, 1105 + more, 1125 + more,
                                               1125 + more));
}

TEST_F(ValidateTest, SaysTheSameAsJson) {
    const Outcome text = validate("--level 1 --check exports.");
    const Outcome json = validate("--level 1 --check exports. --json");
    EXPECT_EQ(json.code, 0);
    EXPECT_THAT(text.out, HasSubstr("SUCCESS 7 checks"));
    EXPECT_THAT(json.out, HasSubstr("\"count\": 7"));
    EXPECT_THAT(json.out, HasSubstr("\"findings\": 0"));
    EXPECT_THAT(json.out, HasSubstr("\"sentence\": \"A query that is none is answered by -1.\""));
}

TEST_F(ValidateTest, RefusesWhatItDoesNotKnow) {
    EXPECT_EQ(validate("--level 0").code, 2);
    EXPECT_EQ(validate("--level 11").code, 2);
    const Outcome unknown = validate("--check nothing");
    EXPECT_EQ(unknown.code, 2);
    EXPECT_THAT(unknown.error, HasSubstr("no check's name begins with \"nothing\""));
}

TEST_F(ValidateTest, AFileThatIsNoModuleEndsWithCode4) {
    write("none.so", "no module");
    const Outcome outcome = validate(quoted(folder() / "none.so"));
    EXPECT_EQ(outcome.code, 4);
    EXPECT_THAT(outcome.error, HasSubstr("does not load"));
}

// --- Broken modules -------------------------------------------------------------------------

struct Broken {
    const char* fault;
    const char* check;    // the one that is meant for it
    const char* finding;  // part of what it says
    const char* call;     // part of the calls that lead there
    enum class Where {
        anywhere,
        locksAreCounted,
        handlesAreCounted,
        endsAreSeen,
        memoryIsMeasured,
        nothingElseLooks
    } where = Where::anywhere;
};

void PrintTo(const Broken& broken, std::ostream* out) { *out << broken.fault; }

constexpr Broken kBroken[] = {
    {"leaves a lock", "life.run:5004", "while it is locked", "Simulation",
     Broken::Where::locksAreCounted},
    {"forgets a block", "life.run:5004", "data blocks live, the record names", "Simulation"},
    {"writes behind its output", "memory.bounds:5007", "", "Simulation"},
    {"keeps a floating-point mode", "surroundings.floatingPoint:5008",
     "the floating-point mode has changed", "Simulation"},
    {"names the wrong connectors", "life.knownConnectors:5006",
     "\"E,;B,\" instead of \"E,A,T,;A,-,-,\"", "GetInfo 4 of the block"},
    {"answers a start by 0", "life.run:5000", "InitSim answers: 0 instead of 1", "InitSim"},
    {"crashes on a cut record", "records.cut:5004", "the process ends by",
     "RestoreParameters type 5004, file without a byte"},
    {"divides by the channel count", "headers.lies:5002", "the process ends by", "0 channels"},
    {"takes time by the channel count", "headers.manyChannels:5009", "s of 256 values",
     "100000000 channels"},
    {"other bits in a second run", "bits.secondRun:5007", "the second run, data block 1: output 0",
     "InitSim"},
    {"other bits by other kernels", "bits.kernels:5004", "other bits than with the kernels",
     "VYNPACK_KERNELS=baseline"},
    {"crashes before a start", "order.short:5003", "the process ends by", "Simulation"},
    {"works on one block at a time", "reentry.sameType:5004", "the block within the message",
     "within message"},
    {"lists a keyword too many", "keywords.rows:5007", "behind the last row", "lRemoteControl 30",
     Broken::Where::nothingElseLooks},
    {"grows with every run", "long.runs:5001", "the process grows by", "a run of 5 data blocks",
     Broken::Where::memoryIsMeasured},
    {"forgets a file", "long.lives:5001", "handles of the system that are open",
     "destroyed in its run", Broken::Where::handlesAreCounted},
    {"crashes on an unknown mode", "exports.anyNumbers", "the process ends by",
     "every export with (1023, "},
    {"takes the handle that is given", "records.givenHandle:5001",
     "the restored block has the handle",
     "RestoreParameters with the handle of the block that there is"},
    {"names channels that do not divide its values", "life.heads:5001",
     "values of an output that belong to no channel", "Simulation"},
    {"answers a sub-code that is none", "keywords.otherSubCodes:5004", "it answers: 1 instead of 0",
     "lRemoteControl 4711"},
    {"knows no small letters", "keyword.reading:5004:PkPhase", "reads something else than PkPhase",
     "lRemoteControl 50 PkPhase"},
    {"crashes at its end", "life.unwired:5004", "the process that has done these checks ends by",
     "", Broken::Where::endsAreSeen},
    {"crashes without its output", "host.refusesOnce:5004", "the process ends by",
     "at message 1134, number 1, the host"},
    {"forgets older records", "records.packedClassification", "PkMode reads",
     "RestoreParameters type 5000"},
    {"other bits in other cuts", "bits.cuts:5007", " of blocks of 5000", "Simulation"},
    {"changes the folder", "surroundings.folder:5000", "the current folder is now", "Simulation"},
};

#if defined(VYN_SANITIZED)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

class BrokenModule : public ValidateTest, public ::testing::WithParamInterface<Broken> {};

TEST_P(BrokenModule, IsFoundByTheCheckThatIsMeantForIt) {
    const Broken& broken = GetParam();
    if (broken.where == Broken::Where::locksAreCounted && !platform::kLocksAreCounted)
        GTEST_SKIP() << "locks are not counted here";
    if (broken.where == Broken::Where::handlesAreCounted && platform::kLocksAreCounted)
        GTEST_SKIP() << "handles are not counted here";
    if (broken.where == Broken::Where::endsAreSeen && platform::kLocksAreCounted)
        GTEST_SKIP() << "a process that is ending cannot crash there";
    if (broken.where == Broken::Where::memoryIsMeasured && kSanitized)
        GTEST_SKIP() << "the size of a process says little under a sanitizer";
    if (broken.where == Broken::Where::nothingElseLooks && kSanitized)
        GTEST_SKIP() << "a sanitizer ends the process before the checks begin";
    const Outcome outcome =
        validateWith(broken.fault, std::string("--level 4 --check ") + broken.check);
    EXPECT_EQ(outcome.code, 1) << outcome.out << outcome.error;
    EXPECT_THAT(outcome.out, HasSubstr(std::string("FAILED  ") + broken.check));
    EXPECT_THAT(outcome.out, HasSubstr(broken.finding));
    EXPECT_THAT(outcome.out, HasSubstr(broken.call));
    EXPECT_THAT(outcome.out, EndsWith("FAILURE 1 of 1\n"));
    EXPECT_THAT(outcome.out, Not(HasSubstr("alone, it does not")));
    EXPECT_THAT(outcome.out, Not(HasSubstr("lRemoteControl 4710"))) << "leads nowhere";
    if (platform::kLocksAreCounted) return;  // a process takes its time there
    // The same check holds of the module without the fault.
    const Outcome sound = validateWith("", std::string("--level 4 --check ") + broken.check);
    EXPECT_EQ(sound.code, 0) << sound.out << sound.error;
}

TEST_F(ValidateTest, ACheckThatFailsInCompanyAloneSaysSo) {
    const Outcome outcome =
        validateWith("crashes in company", "--level 1 --check life.createAndDestroy");
    EXPECT_EQ(outcome.code, 1) << outcome.out << outcome.error;
    EXPECT_THAT(outcome.out, HasSubstr("alone, it does not"));
}

// A helper that the module or the system has started takes over what the process writes to.
TEST_F(ValidateTest, AProcessIsOverWhenItHasEndedWhoeverKeepsItsOutputOpen) {
    const Outcome well =
        validateWith("leaves its output open", "--level 1 --check life.createAndDestroy:5004");
    EXPECT_EQ(well.code, 0) << well.out << well.error;
    EXPECT_THAT(well.out, EndsWith("SUCCESS 1 checks\n"));
}

INSTANTIATE_TEST_SUITE_P(Faults, BrokenModule, ::testing::ValuesIn(kBroken), [](const auto& test) {
    std::string name = test.param.fault;
    std::erase_if(name, [](char c) { return (c < 'a' || c > 'z') && (c < 'A' || c > 'Z'); });
    return name;
});

}  // namespace
}  // namespace vynhost::test
