// A heap that is empty, at every place where the module or its library asks for something.
#include <ostream>

#include "interface/any_block_test.h"
#include "scarce/failing_heap.h"

namespace vynhost::test {
namespace {

struct Setting {
    const char* keyword;
    KeywordValue value;
};

struct Case {
    const char* name;
    int type;
    std::vector<Setting> settings;
};

void PrintTo(const Case& one, std::ostream* out) { *out << one.name; }

const std::vector<Case>& cases() {
    static const std::vector<Case> all = {
        {"Classification", kKlassierung, {}},
        {"ClassificationOfPassages",
         kKlassierung,
         {{"PkMethod", 3}, {"PkReset", 3}, {"PkNBlocks", 2}}},
        {"ThirdOctaves", kTerzOktave, {}},
        {"AllStatistics", kStatistik, {{"PkAllOn", 1}}},
        {"StatisticsApart", kStatistik, {{"PkAllOn", 1}, {"PkOutMode", 2}}},
        {"Reduction", kMittelwert, {}},
        {"Smoothing", kMittelwert, {{"PkMode", 2}}},
        {"BlockAverage", kMittelwert, {{"PkMode", 3}}},
        {"Spectrum", kSpektrum, {{"PkWndFct", "KAISER"}, {"PkPhase", 1}}},
        {"Cepstrum", kSpektrum, {{"PkAmplType", "CEPSTRUM"}}},
        {"InverseFft", kInverseFFT, {}},
        {"CrossSpectrum", kDualSpektrum, {}},
        {"TransferFunction",
         kDualSpektrum,
         {{"PkCrossSpectr", 1},
          {"PkTransFCTType", "SPECTRUM H1"},
          {"PkAverageType", "PEAKMINMAX"},
          {"PkTransPhase", 1},
          {"PkCoherence", 1}}},
        {"FirFilter", kDigitalFilter, {}},
        {"Butterworth",
         kDigitalFilter,
         {{"PkFIRFilter", 0}, {"PkFilterType", 0}, {"PkFilterOrder", 8}}},
        {"EllipticBandPass",
         kDigitalFilter,
         {{"PkFIRFilter", 0}, {"PkFilterType", 3}, {"PkFilterMode", 2}, {"PkFilterOrder", 4}}},
        {"AWeighting", kFreqWeight, {{"PkXweight", 1}}},
        {"Level", kLevel, {}},
        {"PeakLevel", kLevel, {{"PkRMS", 0}, {"PkTimeHold", 1.0}}},
    };
    return all;
}

class FailingHeap : public HostTest, public ::testing::WithParamInterface<Case> {
protected:
    FailingHeap() : HostTest({GetParam().type}) {}

    void prepare(PlacedBlock& block) {
        for (const KeywordRow& row : block.keywords()) {
            for (const Setting& setting : GetParam().settings) {
                if (row.name == setting.keyword) block.set(row, setting.value);
            }
        }
        block.wireAll();
    }

    // Another length every time, so that nothing the library remembers is of use.
    void feedLonger(PlacedBlock& block, int longer) {
        for (int i = 0; i < static_cast<int>(block.inputLabels().size()); ++i) {
            if (block.waits(i)) continue;
            ChannelData data = suitableData(GetParam().type, i);
            data.values.resize(data.values.size() + static_cast<std::size_t>(4 * longer), 0.25F);
            data.header.valueCount = static_cast<std::int32_t>(data.values.size());
            block.put(i, data);
        }
    }

    // Three data blocks from InitSim to Stoppen; the values that Simulation answered.
    std::vector<Int> runLonger(PlacedBlock& block, int longer) {
        std::vector<Int> answers;
        block.initSim();
        for (int i = 0; i < 3; ++i) {
            feedLonger(block, longer);
            answers.push_back(block.simulate());
            collect(block);
        }
        block.stop();
        for (int i = 0; i < kMaxConnectors; ++i)
            block.put(i, Handle::none);
        return answers;
    }
};

// A type that fails to allocate says so, or is not touched by it.
bool isAnswer(Int answer) { return answer == 0 || answer == 1 || answer == 8 || answer == 512; }

TEST_P(FailingHeap, IsSurvivedAndTheNextRunIsProper) {
    constexpr int kMost = 2000;
    std::vector<Outputs> expected;
    {
        PlacedBlock block(host, GetParam().type);
        prepare(block);
        expected = run(block, 2);
    }
    int failures = 0;
    for (const bool forEver : {false, true}) {
        bool refused = true;
        for (int n = 1; refused; ++n) {
            SCOPED_TRACE("allocation " + std::to_string(n) +
                         (forEver ? " and all later ones" : ""));
            ASSERT_LE(n, kMost) << "allocations in three data blocks";
            PlacedBlock block(host, GetParam().type);
            prepare(block);
            failing_heap::failAt(n, forEver);
            const auto answers = runLonger(block, n + (forEver ? kMost : 0));
            refused = failing_heap::stop();
            failures += refused ? 1 : 0;
            for (const Int answer : answers)
                EXPECT_TRUE(isAnswer(answer)) << answer;
            block.errorShow();
            takeBoxes();
            EXPECT_EQ(host.memory().aliveData(), 0U);

            const auto again = run(block, 2);
            ASSERT_EQ(again.size(), expected.size());
            for (std::size_t i = 0; i < again.size(); ++i)
                EXPECT_TRUE(sameBits(again[i], expected[i])) << "data block " << i;
            EXPECT_THAT(takeBoxes(), ::testing::IsEmpty());
            if (HasFailure()) return;
        }
    }
    EXPECT_GT(failures, 0) << "nothing was refused";
}

TEST_P(FailingHeap, MakesNoBlockOrAWholeOne) {
    std::string record;
    {
        PlacedBlock block(host, GetParam().type);
        prepare(block);
        record = block.save();
    }
    bool refused = true;
    for (int n = 1; refused && n < 100; ++n) {
        failing_heap::failAt(n, true);
        PlacedBlock block(host, GetParam().type, record);
        refused = failing_heap::stop();
        if (!block.created()) continue;
        EXPECT_EQ(block.save(), record);
        prepare(block);
        run(block, 1);
    }
    EXPECT_FALSE(refused) << "allocations in one restore";
    takeBoxes();
}

INSTANTIATE_TEST_SUITE_P(Blocks, FailingHeap, ::testing::ValuesIn(cases()),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace vynhost::test
