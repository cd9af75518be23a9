// Parameter values that size memory, divide or index: set before a run and in the middle of one.
// Each run must come to its end with nothing lost and the next one must not notice.
#include <array>
#include <limits>
#include <ostream>
#include <utility>

#include "interface/any_block_test.h"

namespace vynhost::test {
namespace {

constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();

struct Setting {
    const char* keyword;
    KeywordValue value;
};
using Settings = std::vector<Setting>;

// `first` holds for the whole of the first run; `sharp` is set once before it and once in its
// middle, a value after the other.
struct Case {
    const char* name;
    int type;
    Settings first;
    Settings sharp;
};

void PrintTo(const Case& one, std::ostream* out) { *out << one.name; }

Settings each(const char* keyword, std::initializer_list<KeywordValue> values) {
    Settings settings;
    for (const KeywordValue& value : values)
        settings.push_back({keyword, value});
    return settings;
}

const std::vector<Case>& cases() {
    static const std::vector<Case> all = {
        {"ClassNumber", kKlassierung, {}, each("PkNumber", {20, 200, 1, 1 << 20, kLargest, 3})},
        {"ClassNumberOfPassages",
         kKlassierung,
         {{"PkMethod", 3}},
         each("PkNumber", {200, 5, 1 << 20, kLargest})},
        {"ClassWidth",
         kKlassierung,
         {},
         each("PkWidth", {1e-300, 1e9, kNaN, kInfinity, -1.0, 1e-320, 1e308})},
        {"ClassRange", kKlassierung, {}, each("PkRange", {1e-300, 0.0, kNaN, kInfinity, 1e308})},
        {"ClassEnd",
         kKlassierung,
         {},
         each("PkEnd", {-10.0, -11.0, kNaN, kInfinity, -kInfinity, 1e308})},
        {"ClassBegin",
         kKlassierung,
         {},
         each("PkBegin", {10.0, 11.0, kNaN, kInfinity, -kInfinity, -1e308})},
        {"ClassMethod", kKlassierung, {}, each("PkMethod", {1, 2, 3, 2, 1, 4, 0})},
        {"ClassReset", kKlassierung, {{"PkReset", 3}}, each("PkNBlocks", {1, kLargest, 2, 0, -1})},
        {"ClassHysteresis",
         kKlassierung,
         {{"PkMethod", 2}},
         each("PkHyst", {1e308, -1e308, kNaN, kInfinity, 100.0})},
        {"BandAnalysis", kTerzOktave, {}, each("PkAnalysis", {2, 1, 2, 0, 3})},
        {"StatisticSelection",
         kStatistik,
         {{"PkYMax", 1}},
         {{"PkAllOn", 1}, {"PkAllOn", 0}, {"PkAllOn", 7}, {"PkOutMode", 2}, {"PkAllOn", 0}}},
        {"ReductionFactor", kMittelwert, {}, each("PkReduceVal", {0, 65535, 3, 1, -1, 65536, 100})},
        {"SmoothingWidth",
         kMittelwert,
         {{"PkMode", 2}},
         each("PkSmoothNVal", {101, 199, 200, 201, 65535, 0, 1, 2, -1, 7})},
        {"AveragingMode", kMittelwert, {}, each("PkMode", {2, 3, 1, 3, 2, 0})},
        {"AveragingReset",
         kMittelwert,
         {{"PkMode", 3}, {"PkResetMode", 3}},
         each("PkResNBlocks", {-1, kLargest, kLowest, 1, 2})},
        {"AveragingWeight", kMittelwert, {{"PkMode", 3}}, each("PkWFactor", {0.0, 1.0, 2.0, kNaN})},
        {"SpectrumType",
         kSpektrum,
         {},
         each("PkAmplType", {"REALIMAGINAER", "CEPSTRUM", "PSD", "no such type", "PEAK"})},
        {"SpectrumPhase", kSpektrum, {}, each("PkPhase", {1, 0, -1, kLargest})},
        {"WindowParameter",
         kSpektrum,
         {{"PkWndFct", "KAISER"}, {"PkWndCorrectTyp", 2}},
         each("PkWndPara", {0.0, -1.0, 1e308, kNaN, kInfinity, 1e-320, 800.0})},
        {"GaussParameter",
         kSpektrum,
         {{"PkWndFct", "GAUSS"}, {"PkWndCorrectTyp", 1}},
         each("PkWndPara", {0.0, -1.0, 1e308, kNaN, kInfinity, 1e-320})},
        {"AverageType",
         kDualSpektrum,
         {{"PkCrossSpectr", 1}, {"PkCoherence", 1}},
         each("PkAverageType",
              {"NO", "EXPONENTIAL", "PEAKMINMAX", "NO", "MINMAXAVERAGE", "PEAKMIN", "NO"})},
        {"AverageSource", kDualSpektrum, {}, each("PkAverageSource", {1, 0, 1, 2, -1, 65535})},
        {"CoherenceInTheRun", kDualSpektrum, {}, each("PkCoherence", {1, 0, 1, 65535})},
        {"CoherenceInAnAverage",
         kDualSpektrum,
         {{"PkAverageType", "EXPONENTIAL"}},
         each("PkCoherence", {1, 0, 1})},
        {"QuantityInTheRun",
         kDualSpektrum,
         {{"PkAverageType", "ARITHMETIC"}},
         each("PkCrossSpectr", {1, 0, 1, 7})},
        {"DualReset",
         kDualSpektrum,
         {{"PkAverageType", "ARITHMETIC"}, {"PkResetMode", 2}},
         each("PkResetCount", {0, -1, 1, kLargest, kLowest})},
        {"AverageFactor",
         kDualSpektrum,
         {{"PkAverageType", "MINMAXAVERAGE"}},
         each("PkAvgFactor", {0.0, -1.0, kNaN, kInfinity, 1e308})},
        {"FirLength",
         kDigitalFilter,
         {},
         each("PkFilterLength", {0, -5, 1, 2, 1 << 17, (1 << 20) + 1, kLargest, kLowest})},
        {"FirAndIir", kDigitalFilter, {{"PkFilterType", 0}}, each("PkFIRFilter", {0, 1, 0, 2, -1})},
        {"FilterOrder",
         kDigitalFilter,
         {{"PkFIRFilter", 0}, {"PkFilterType", 0}},
         each("PkFilterOrder", {0, -1, 64, 65, 1000, 1 << 20, kLargest, kLowest})},
        {"BesselOrder",
         kDigitalFilter,
         {{"PkFIRFilter", 0}, {"PkFilterType", 4}},
         each("PkFilterOrder", {0, 64, 65, 1000, kLargest})},
        {"FilterCharacteristic",
         kDigitalFilter,
         {{"PkFIRFilter", 0}},
         each("PkFilterType", {6, 0, 1, 2, 3, 4, 5, -1, 65535})},
        {"FilterMode",
         kDigitalFilter,
         {{"PkFIRFilter", 0}, {"PkFilterType", 2}},
         each("PkFilterMode", {1, 2, 3, 4, -1, 0})},
        {"FilterEdge",
         kDigitalFilter,
         {{"PkFIRFilter", 0}, {"PkFilterType", 0}},
         each("PkCutoffFreq", {0.0, -1.0, kNaN, kInfinity, 24000.0, 23999.999, 1e-300})},
        {"BandEdges",
         kDigitalFilter,
         {{"PkFIRFilter", 0}, {"PkFilterType", 1}, {"PkFilterMode", 2}},
         each("PkLowerFreq", {1000.0, 2000.0, 0.0, -1.0, kNaN, kInfinity})},
        {"Ripple",
         kDigitalFilter,
         {{"PkFIRFilter", 0}, {"PkFilterType", 1}},
         each("PkRipple", {0.0, -1.0, kNaN, kInfinity, 1e308, 1e-300})},
        {"Attenuation",
         kDigitalFilter,
         {{"PkFIRFilter", 0}, {"PkFilterType", 2}},
         each("PkAttenuation", {0.0, -1.0, kNaN, kInfinity, 1e308, 1e-300})},
        {"Weighting", kFreqWeight, {}, each("PkXweight", {1, 2, 3, 0, -1, 4, 65535, 1})},
        {"OutputFrequency",
         kLevel,
         {},
         each("PkFreqOut", {1e-300, -1.0, kNaN, kInfinity, 0.0, 1e300, 1000.0, 3.0})},
        {"BlankingTime", kLevel, {}, each("PkTimeHold", {1e9, -1.0, kNaN, kInfinity, 1.0, 60.0})},
        {"LevelType", kLevel, {}, each("PkRMS", {0, 1, 2, -1})},
        {"TimeWeighting", kLevel, {}, each("PkTimeTc", {1, 2, 3, -1, 32767})},
        {"ClockPeriod", kLevel, {}, each("PkTimeTx", {0, 2, 3, -1, 32767})},
    };
    return all;
}

class SharpValues : public HostTest, public ::testing::WithParamInterface<Case> {
protected:
    SharpValues() : HostTest({GetParam().type}, modestOptions()) {}

    static ModuleHost::Options modestOptions() {
        ModuleHost::Options options = defaultOptions();
        options.mostValues = std::size_t{1} << 22;
        return options;
    }

    void set(PlacedBlock& block, const Setting& setting) {
        const auto rows = block.keywords();
        const auto row = std::find_if(rows.begin(), rows.end(), [&](const KeywordRow& candidate) {
            return candidate.name == setting.keyword;
        });
        ASSERT_NE(row, rows.end()) << setting.keyword;
        block.set(*row, setting.value);
    }
    void set(PlacedBlock& block, const Settings& settings) {
        for (const Setting& setting : settings)
            set(block, setting);
    }

    void play(PlacedBlock& block, int dataBlocks) {
        for (int i = 0; i < dataBlocks; ++i) {
            block.wireAll();
            feed(block, static_cast<unsigned>(i + 1));
            block.simulate();
            collect(block);
        }
    }
    void finish(PlacedBlock& block) {
        block.errorShow();
        block.stop();
        for (int i = 0; i < kMaxConnectors; ++i)
            block.put(i, Handle::none);
        takeBoxes();
        EXPECT_EQ(host.memory().aliveData(), 0U);
    }

    std::vector<Outputs> properRun() {
        PlacedBlock block(host, GetParam().type);
        set(block, GetParam().first);
        return run(block, 2);
    }
};

TEST_P(SharpValues, FromTheStartOfARun) {
    for (const Setting& sharp : GetParam().sharp) {
        PlacedBlock block(host, GetParam().type);
        set(block, GetParam().first);
        set(block, sharp);
        block.initSim();
        play(block, 3);
        finish(block);
    }
}

TEST_P(SharpValues, OneAfterTheOtherInARun) {
    const auto expected = properRun();
    PlacedBlock block(host, GetParam().type);
    set(block, GetParam().first);
    const std::string record = block.save();
    block.initSim();
    play(block, 2);
    for (const Setting& sharp : GetParam().sharp) {
        set(block, sharp);
        play(block, 2);
    }
    finish(block);
    // A fresh block with the parameters of the start.
    PlacedBlock restored(host, GetParam().type, record);
    const auto again = run(restored, 2);
    ASSERT_EQ(again.size(), expected.size());
    for (std::size_t i = 0; i < again.size(); ++i)
        EXPECT_TRUE(sameBits(again[i], expected[i])) << "data block " << i;
}

INSTANTIATE_TEST_SUITE_P(Parameters, SharpValues, ::testing::ValuesIn(cases()),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace vynhost::test
