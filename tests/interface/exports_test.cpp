// The sixteen exports.
#include <array>
#include <limits>

#include "interface/host_fixture.h"
#include "interface/leak_expected.h"

namespace vynhost::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr Int kTwoTo32 = Int{1} << 32;
constexpr Int kNoBlockHere = 900;  // tests create fewer blocks

class ExportsTest : public HostTest {
protected:
    ExportsTest() : HostTest(allTypes()) {}

    const Exports& exports = host.exports();
};

// --- GetInfo --------------------------------------------------------------------------------

struct TypeNames {
    int code;
    const char* longName;
    const char* shortName;
    bool needsEveryConnector;
};

constexpr std::array<TypeNames, kTypes> kTypeNames = {{
    {kKlassierung, "Klassierung", "Klassierung", false},
    {kTerzOktave, "Terz_Oktav_Analyse", "Terz_Oktav_Analyse", true},
    {kStatistik, "Statistik", "Statistik", true},
    {kMittelwert, "Mittelwert", "Mittelwert", false},
    {kSpektrum, "FFT", "FFT", true},
    {kInverseFFT, "Inverse FFT", "Inverse FFT", true},
    {kDualSpektrum, "FFT zweier Zeitsignale", "FFT zweier Zeitsignale", false},
    {kDigitalFilter, "Digitale Filter", "Filter", true},
    {kFreqWeight, "Frequenzbewertung", "A,B,C-Bewertung", false},
    {kLevel, "Pegelberechnung", "Pegel", false},
}};

TEST_F(ExportsTest, GetInfoNamesTheTenTypes) {
    EXPECT_EQ(host.getInfo(0, kTypeCount), 10);
    for (const TypeNames& type : kTypeNames) {
        EXPECT_EQ(host.infoText(type.code, kLongName), type.longName);
        EXPECT_EQ(host.infoText(type.code, kShortName), type.shortName);
        EXPECT_EQ(host.infoText(type.code, kConnectors), "E,;A,");
        EXPECT_EQ(host.getInfo(type.code, kIsType), 1);
    }
}

TEST_F(ExportsTest, GetInfoAcceptsExactlyItsTypeCodes) {
    EXPECT_EQ(host.getInfo(4999, kIsType), 0);
    EXPECT_EQ(host.getInfo(5010, kIsType), 0);
    EXPECT_EQ(host.getInfo(0, kIsType), 0);
    EXPECT_EQ(host.getInfo(-5004, kIsType), 0);
}

TEST_F(ExportsTest, GetInfoReadsTypeAndQueryAs32BitNumbers) {
    EXPECT_EQ(host.getInfo(kTwoTo32 + kSpektrum, kIsType), 1);
    EXPECT_EQ(host.getInfo(kSpektrum, kTwoTo32 + kInterface), 402);
}

TEST_F(ExportsTest, GetInfoAnswersTheFixedQueries) {
    EXPECT_EQ(host.getInfo(kSpektrum, kInterface), 402);
    EXPECT_EQ(host.getInfo(kSpektrum, 7), 1);
    EXPECT_EQ(host.getInfo(kSpektrum, 16), 0);
    for (const Int query : {Int{0}, Int{-1}, Int{8}, Int{9}, Int{15}, Int{17}, Int{1000}}) {
        EXPECT_EQ(host.getInfo(kSpektrum, query), -1) << query;
    }
}

TEST_F(ExportsTest, GetInfoSurvivesForeignTypeCodes) {
    for (const Int code : {Int{4999}, Int{5010}, Int{-1}, Int{1} << 31}) {
        for (const Int query : {Int{kLongName}, Int{kShortName}, Int{kConnectors}}) {
            EXPECT_NE(host.getInfo(code, query), 0);
        }
    }
}

TEST_F(ExportsTest, GetInfoAnswersTheConnectorsThatABlockHasNow) {
    PlacedBlock block(host, kSpektrum);
    EXPECT_EQ(block.connectors(), "E,;S,");
    block.set("PkPhase", 1);
    EXPECT_EQ(block.connectors(), "E,;S,P,");
    block.set("PkAmplType", "REALIMAGINAER");
    EXPECT_EQ(block.connectors(), "E,;R,I,");
}

TEST_F(ExportsTest, GetInfoWritesAllConnectorTextsIntoOneBuffer) {
    PlacedBlock block(host, kInverseFFT);
    const Int ofBlock = host.getInfo(kInverseFFT, kConnectors, block.handle());
    EXPECT_EQ(host.getInfo(kSpektrum, kConnectors), ofBlock);
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    EXPECT_STREQ(reinterpret_cast<const char*>(ofBlock), "E,;A,");
}

TEST_F(ExportsTest, GetInfoGivesTheDefaultConnectorsForAHandleThatNamesNothing) {
    for (const Int handle : {Int{-1}, kNoBlockHere, Int{1024}, kTwoTo32}) {
        EXPECT_EQ(host.infoText(kInverseFFT, kConnectors, handle), "E,;A,");
    }
}

// --- SetInit and the exports with fixed answers ---------------------------------------------

TEST_F(ExportsTest, AnOldHostIsWarnedByOneEmptyBox) {
    VYN_NEEDS_BOXES();
    EXPECT_EQ(host.setInit(kHostWindow, host.window(), 299), 0);
    const auto boxes = takeBoxes();
    ASSERT_THAT(boxes, SizeIs(1));
    EXPECT_EQ(boxes[0].caption, "");
    EXPECT_EQ(boxes[0].text, "");
    EXPECT_FALSE(boxes[0].exclamation.value_or(false));
}

TEST_F(ExportsTest, AHostOfVersion300OrLaterIsNotWarned) {
    EXPECT_EQ(host.setInit(kHostWindow, host.window(), 300), 0);
    EXPECT_EQ(host.setInit(kHostWindow, host.window(), -1), 0);  // unsigned, so very new
    EXPECT_THAT(host.boxes(), IsEmpty());
}

TEST_F(ExportsTest, OnlyTheLow32BitsOfTheHostVersionCount) {
    VYN_NEEDS_BOXES();
    host.setInit(kHostWindow, host.window(), kTwoTo32 + 299);
    EXPECT_THAT(takeBoxes(), SizeIs(1));
    host.setInit(kHostWindow, host.window(), kTwoTo32 + 300);
    EXPECT_THAT(takeBoxes(), IsEmpty());
}

TEST_F(ExportsTest, SetInitAnswersZeroToEveryMode) {
    for (const Int mode : {Int{0}, Int{2}, Int{4}, Int{-1}, kTwoTo32 + 1}) {
        EXPECT_EQ(host.setInit(mode, 0, 0), 0);
    }
    EXPECT_THAT(host.takeTrace(), IsEmpty());
}

TEST_F(ExportsTest, ExportsWithoutABlockAnswerFixedValues) {
    EXPECT_EQ(host.call(exports.Command, 1, 2, 3), 0);
    EXPECT_EQ(host.call(exports.GetGlobalPars, 1, 2), 0);
    EXPECT_EQ(host.call(exports.SetGlobalPars, 1, 2, 3), 1);
    EXPECT_EQ(host.call(exports.Starten, 1, 2, 3, 4), 1);
    EXPECT_EQ(host.call(exports.Pause, 1, 2, 3, 4), 1);
}

// --- Missing blocks -------------------------------------------------------------------------

TEST_F(ExportsTest, AHandleThatNamesNothingGetsTheUsualAnswers) {
    platform::ParameterFile file;
    for (const Int handle : {Int{-1}, kNoBlockHere, Int{1023}, Int{1024}, kTwoTo32 + 1}) {
        SCOPED_TRACE(handle);
        EXPECT_EQ(host.call(exports.GetParameters, 1, kSpektrum, handle, 0), handle);
        EXPECT_EQ(host.call(exports.SaveParameters, 1, kSpektrum, handle, file.handle()), 1);
        EXPECT_EQ(host.call(exports.InitSim, 1, kSpektrum, handle, 0), 1);
        EXPECT_EQ(host.call(exports.Stoppen, 1, kSpektrum, handle, 0), 1);
        EXPECT_EQ(host.call(exports.DestroyBlock, 1, kSpektrum, handle, 0), 1);
        EXPECT_EQ(host.call(exports.lRemoteControl, 1, handle, 0, kCountKeywords, 0), 0);
        EXPECT_EQ(host.call(exports.lErrorShow, 1, handle, 0, 0), 0);
    }
    EXPECT_EQ(file.contents(), "");
}

TEST_F(ExportsTest, AnUnknownTypeCreatesNothing) {
    EXPECT_EQ(host.call(exports.GetParameters, 1, 5010, 0, 0), 0);
    EXPECT_EQ(host.call(exports.GetParameters, 1, 4999, 0, 0), 0);
    platform::ParameterFile file("whatever is in the file");
    EXPECT_EQ(host.call(exports.RestoreParameters, 1, 5010, 0, file.handle()), 0);
    EXPECT_EQ(file.position(), 0U);
}

TEST_F(ExportsTest, ATypeCodeIsReadAsA32BitNumber) {
    const Int handle = host.call(exports.GetParameters, 1, kTwoTo32 + kSpektrum, 0, 0);
    EXPECT_NE(handle, 0);
    host.call(exports.DestroyBlock, 1, kSpektrum, handle, 0);
}

TEST_F(ExportsTest, RestoreIgnoresTheGivenHandle) {
    PlacedBlock first(host, kSpektrum);
    platform::ParameterFile file(first.save());
    const Int handle =
        host.call(exports.RestoreParameters, 1, kSpektrum, first.handle(), file.handle());
    EXPECT_NE(handle, first.handle());
    EXPECT_NE(handle, 0);
    host.call(exports.DestroyBlock, 1, kSpektrum, handle, 0);
}

TEST_F(ExportsTest, CreationShowsNothing) {
    for (const int type : allTypes())
        PlacedBlock block(host, type);
    EXPECT_THAT(host.boxes(), IsEmpty());
    EXPECT_THAT(host.takeTrace(), IsEmpty());
}

// --- Simulation's door ----------------------------------------------------------------------

class SimulationTest : public ExportsTest {
protected:
    Int simulate(Int context, Int typeCode, Int handle, Handle record) {
        return host.call(exports.Simulation, context, typeCode, handle, static_cast<Int>(record));
    }
};

TEST_F(SimulationTest, WithoutAHostContextNothingIsDone) {
    PlacedBlock block(host, kSpektrum);
    block.wireAll();
    block.put(0, timeSignal(std::vector<float>(8)));
    EXPECT_EQ(simulate(0, kSpektrum, block.handle(), block.record()), kNothingReady);
    EXPECT_EQ(host.call(exports.InitSim, 0, kSpektrum, block.handle(), 0), 1);
    EXPECT_EQ(host.call(exports.Stoppen, 0, kSpektrum, block.handle(), 0), 1);
    EXPECT_TRUE(block.waits(0));
    EXPECT_THAT(host.takeTrace(), IsEmpty());
}

TEST_F(SimulationTest, ABlockWaitsForDataAtEveryWiredInput) {
    PlacedBlock block(host, kInverseFFT);
    block.wireAll();
    EXPECT_EQ(block.simulate(), kNothingReady);
    block.put(1, timeSignal(std::vector<float>(8)));
    EXPECT_EQ(block.simulate(), kNothingReady);
    EXPECT_TRUE(block.waits(1));
    // The counts are asked, and nothing else.
    EXPECT_THAT(host.takeTrace(), ElementsAre("1188 -> 2", "1189 -> 1", "1188 -> 2", "1189 -> 1"));
}

TEST_F(SimulationTest, ABlockWaitsUntilItsOutputsAreTaken) {
    PlacedBlock block(host, kSpektrum);
    block.wireAll();
    block.initSim();
    block.put(0, timeSignal(std::vector<float>(8)));
    ASSERT_EQ(block.simulate(), 0);
    const Handle input = block.put(0, timeSignal(std::vector<float>(8)));
    EXPECT_EQ(block.simulate(), kNothingReady);
    EXPECT_EQ(block.inputData(0), input);
    block.take(0);
    EXPECT_EQ(block.simulate(), 0);
    EXPECT_FALSE(block.waits(0));
}

TEST_F(SimulationTest, OnlyAsManyConnectorsAsTheHostCountsAreLookedAt) {
    PlacedBlock block(host, kSpektrum);
    block.wireAll();
    block.wireInput(1, 5);  // wired and empty, but beyond the count
    block.wireOutput(7, 9);
    block.initSim();
    block.put(0, timeSignal(std::vector<float>(8)));
    EXPECT_EQ(block.simulate(), 0);
    EXPECT_FALSE(block.waits(0));
}

TEST_F(SimulationTest, AnUnwiredConnectorIsAnsweredWithTwoWhereTheTypeNeedsAll) {
    for (const TypeNames& type : kTypeNames) {
        SCOPED_TRACE(type.longName);
        PlacedBlock block(host, type.code);
        block.wireAll();
        block.wireOutput(0, -1);
        for (int i = 0; i < block.inputCount(); ++i) {
            block.put(i, timeSignal(std::vector<float>(8)));
        }
        block.initSim();
        const Int result = block.simulate();
        if (type.needsEveryConnector) {
            EXPECT_EQ(result, kNotWired);
            EXPECT_TRUE(block.waits(0));
        } else {
            EXPECT_NE(result, kNotWired);
        }
        block.stop();
    }
}

TEST_F(SimulationTest, TheConnectionTestGoesByTheGivenTypeCode) {
    PlacedBlock block(host, kSpektrum);
    block.wireAll();
    block.wireOutput(0, -1);
    block.initSim();
    block.put(0, timeSignal(std::vector<float>(8)));
    EXPECT_EQ(simulate(block.context(), kSpektrum, block.handle(), block.record()), kNotWired);
    // The block itself then finds its output missing.
    EXPECT_EQ(simulate(block.context(), kKlassierung, block.handle(), block.record()),
              kNothingConsumed);
    EXPECT_TRUE(block.waits(0));
}

TEST_F(SimulationTest, AMissingBlockIsAnsweredWithZero) {
    PlacedBlock block(host, kSpektrum);
    block.wireAll();
    block.put(0, timeSignal(std::vector<float>(8)));
    EXPECT_EQ(simulate(block.context(), kSpektrum, kNoBlockHere, block.record()), kMissing);
    EXPECT_TRUE(block.waits(0));
}

TEST_F(SimulationTest, ARecordThatCannotBeLockedIsAnsweredWithZero) {
    PlacedBlock block(host, kSpektrum);
    block.wireAll();
    const Handle unlockable = host.memory().allocateUnlockable(HostMemory::Kind::record);
    for (const Handle record : {Handle::none, unlockable}) {
        EXPECT_EQ(simulate(block.context(), kSpektrum, block.handle(), record), kMissing);
        // The counts are asked before the record is looked at, and not again.
        EXPECT_THAT(host.takeTrace(), ElementsAre("1188 -> 1", "1189 -> 1"));
    }
    host.memory().free(unlockable);
}

TEST_F(SimulationTest, TheRecordIsFreeWhileReadinessIsAsked) {
    if (!platform::kLocksAreCounted) GTEST_SKIP() << "locks are not counted here";
    PlacedBlock block(host, kSpektrum);
    block.wireAll();
    std::vector<int> locks;
    for (const Message message : {Message::inputCount, Message::outputCount}) {
        host.misbehave({.message = message, .fault = Fault::run, .before = [&] {
                            locks.push_back(platform::lockCount(block.record()));
                        }});
    }
    block.put(0, timeSignal(std::vector<float>(8)));
    EXPECT_EQ(block.simulate(), 0);
    // Locked for the connection test, which comes second.
    EXPECT_THAT(locks, ElementsAre(0, 0, 1, 1));
}

TEST_F(SimulationTest, ARecordThatIsLostWhileConnectorsAreCountedIsAnsweredWithZero) {
    PlacedBlock block(host, kSpektrum);
    block.wireAll();
    block.initSim();
    block.put(0, timeSignal(std::vector<float>(8)));
    if (!platform::setLockable(block.record(), true)) GTEST_SKIP() << "not on this system";
    host.misbehave(
        {.message = Message::outputCount, .fault = Fault::run, .times = 1, .before = [&] {
             platform::setLockable(block.record(), false);
         }});
    EXPECT_EQ(block.simulate(), kMissing);
    platform::setLockable(block.record(), true);
    EXPECT_TRUE(block.waits(0));
    EXPECT_EQ(block.simulate(), 0);
}

TEST_F(SimulationTest, AHostWithoutAWindowIsSurvived) {
    PlacedBlock block(host, kSpektrum);
    block.wireAll();
    block.initSim();
    block.put(0, timeSignal(std::vector<float>(8)));
    host.setInit(kHostWindow, 0, kInterfaceVersion);
    block.simulate();
    EXPECT_TRUE(block.waits(0));
    EXPECT_FALSE(block.delivered(0));
    host.setInit(kHostWindow, host.window(), kInterfaceVersion);
    EXPECT_EQ(block.simulate(), 0);
    EXPECT_TRUE(block.delivered(0));
}

// --- Errors of a run ------------------------------------------------------------------------

TEST_F(ExportsTest, ErrorShowOfABlockThatRecordsNoErrorsShowsNothing) {
    for (const int type : {kKlassierung, kTerzOktave, kSpektrum, kInverseFFT, kDualSpektrum}) {
        PlacedBlock block(host, type);
        EXPECT_EQ(block.errorShow(), 0);
    }
    EXPECT_THAT(host.boxes(), IsEmpty());
}

TEST_F(ExportsTest, ErrorShowWithoutAnErrorShowsNothing) {
    for (const int type : allTypes()) {
        PlacedBlock block(host, type);
        block.initSim();
        EXPECT_EQ(block.errorShow(), 0) << type;
        EXPECT_THAT(host.boxes(), IsEmpty()) << type;
    }
}

// --- Block table ----------------------------------------------------------------------------

class BlockTableTest : public ExportsTest {
protected:
    Int create(Int type) { return host.call(exports.GetParameters, 1, type, 0, 0); }
    void destroy(Int handle) { host.call(exports.DestroyBlock, 1, kSpektrum, handle, 0); }
    void TearDown() override {
        for (Int handle = 1; handle <= kMaxBlocks; ++handle)
            destroy(handle);
        ExportsTest::TearDown();
    }
};

TEST_F(BlockTableTest, GivesTheLowestFreeHandle) {
    EXPECT_EQ(create(kSpektrum), 1);
    EXPECT_EQ(create(kSpektrum), 2);
    EXPECT_EQ(create(kSpektrum), 3);
    EXPECT_EQ(create(kSpektrum), 4);
    destroy(3);
    destroy(2);
    EXPECT_EQ(create(kSpektrum), 2);
    EXPECT_EQ(create(kSpektrum), 3);
    EXPECT_EQ(create(kSpektrum), 5);
}

TEST_F(BlockTableTest, Holds1023Blocks) {
    const std::vector<int> types = allTypes();
    for (int i = 0; i < kMaxBlocks; ++i) {
        ASSERT_EQ(create(types[static_cast<std::size_t>(i) % types.size()]), i + 1);
    }
    {
        const LeakExpected lost;  // a block that finds the table full is not destroyed
        EXPECT_EQ(create(types[0]), 0);
        platform::ParameterFile file("a record that is restored into a full table");
        EXPECT_EQ(host.call(exports.RestoreParameters, 1, types[0], 0, file.handle()), 0);
    }
    destroy(500);
    EXPECT_EQ(create(types[0]), 500);
}

TEST_F(BlockTableTest, KeepsItsOrderThroughAHundredThousandRandomSteps) {
    const std::vector<int> types = allTypes();
    std::uint32_t random = 12345;
    const auto next = [&](std::uint32_t below) {
        random = random * 1664525U + 1013904223U;
        return (random >> 8) % below;
    };
    std::array<bool, kMaxBlocks + 1> taken{};
    for (int step = 0; step < 100000; ++step) {
        if (next(2) == 0) {
            const auto handle = 1 + next(64);
            destroy(static_cast<Int>(handle));
            taken[handle] = false;
            continue;
        }
        std::size_t lowest = 1;
        while (taken[lowest])
            ++lowest;
        if (lowest > 64) continue;
        ASSERT_EQ(create(types[next(static_cast<std::uint32_t>(types.size()))]),
                  static_cast<Int>(lowest))
            << "step " << step;
        taken[lowest] = true;
    }
}

// --- Any numbers ----------------------------------------------------------------------------

// Handles of memory, files and windows must name something real; every other argument may be any
// number.
TEST_F(BlockTableTest, EveryNumberIsSurvived) {
    constexpr Int kLargest = std::numeric_limits<Int>::max();
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
                                              kLargest,
                                              -kLargest - 1};
    constexpr Int kNoFile = -1;
    // The one block that stays. Its dialog is not opened: a real one would wait for its user.
    const Int block = create(kSpektrum);
    for (const Int a : kNumbers) {
        for (const Int b : kNumbers) {
            for (const Int c : kNumbers) {
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
    host.takeOffences();  // unknown contexts were asked for on purpose
}

}  // namespace
}  // namespace vynhost::test
