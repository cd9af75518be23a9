// Every keyword of every type: what it means in the host's table, what the module makes of it, and
// what becomes of values that mean nothing.
#include <cmath>
#include <limits>
#include <numbers>
#include <set>

#include "interface/vynhost/diagram_fixture.h"
#include "vynhost/base/text.h"
#include "vynhost/diagram/block_settings.h"
#include "vynhost/diagram/catalogue.h"
#include "vynhost/diagram/diagram_text.h"
#include "vynhost/diagram/keyword_check.h"
#include "vynhost/diagram/keyword_table.h"

namespace vynhost::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr double kRate = 48000;

std::string tableOf(int code, const std::string& settings) {
    return "[block.b]\ntype = " + std::to_string(code) + "\n" + settings;
}

class Keywords : public DiagramTest {
protected:
    Keywords() { writeWav("s.wav", sine(480, 4), 1, static_cast<int>(kRate)); }

    // Of a diagram in which the block "b" has these settings (from line 3 on) and a signal.
    std::string errorWith(int code, const std::string& settings) {
        return errorOf(tableOf(code, settings) +
                       "[source.s]\nfile = \"s.wav\"\nblock = 480\n[wire]\n\"b.E\" = \"s\"\n" +
                       (code == kDualSpektrum ? "\"b.A\" = \"s\"\n" : ""));
    }
};

// --- The table and the module ---------------------------------------------------------------

TEST_F(Keywords, OfTheTableAreThoseOfTheModuleInItsOrder) {
    for (const BlockMeaning& meaning : blockMeanings()) {
        SCOPED_TRACE(meaning.code);
        PlacedBlock block(host, meaning.code);
        const std::vector<KeywordRow> rows = block.keywords();
        ASSERT_EQ(rows.size(), meaning.keywords.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            EXPECT_EQ(rows[i].name, meaning.keywords[i].name);
            EXPECT_EQ(rows[i].type, meaning.keywords[i].type) << rows[i].name;
            EXPECT_FALSE(meaning.keywords[i].says.empty()) << rows[i].name;
        }
    }
}

TEST_F(Keywords, AndInputsAreThoseOfTheModule) {
    for (const BlockMeaning& meaning : blockMeanings()) {
        SCOPED_TRACE(meaning.code);
        PlacedBlock block(host, meaning.code);
        for (const InputMeaning& input : meaning.inputs) {
            if (input.need != InputNeed::conditional) continue;
            block.set(input.keyword, meaning.keyword(input.keyword)->choice("trigger")->number);
        }
        block.initSim();
        std::vector<std::string> letters;
        for (const InputMeaning& input : meaning.inputs)
            letters.emplace_back(input.letter);
        EXPECT_EQ(connectorNames(block.inputLabels()), letters);
        block.stop();
    }
}

TEST_F(Keywords, NeedTheInputsThatTheTableCallsNeeded) {
    int tried = 0;
    for (const BlockMeaning& meaning : blockMeanings()) {
        for (std::size_t missing = 0; missing < meaning.inputs.size(); ++missing) {
            if (meaning.inputs[missing].need != InputNeed::always) continue;
            SCOPED_TRACE(std::string(meaning.inputs[missing].letter));
            PlacedBlock block(host, meaning.code);
            block.initSim();
            block.wireAll();
            block.wireInput(static_cast<int>(missing), kUnwired);
            for (std::size_t i = 0; i < block.inputLabels().size(); ++i) {
                if (i != missing) block.put(static_cast<int>(i), timeSignal(sine(480, 4)));
            }
            block.simulate();
            for (std::size_t i = 0; i < block.outputLabels().size(); ++i)
                EXPECT_FALSE(block.delivered(static_cast<int>(i))) << meaning.code;
            block.stop();
            ++tried;
        }
    }
    EXPECT_EQ(tried, 12);  // E of all but the inverse, its R and I, the response of two signals
}

TEST_F(Keywords, OfANewBlockHaveTheValuesThatTheTableGivesIt) {
    for (const BlockMeaning& meaning : blockMeanings()) {
        SCOPED_TRACE(meaning.code);
        PlacedBlock untouched(host, meaning.code);
        const std::string record = untouched.save();
        for (const KeywordRow& row : untouched.keywords()) {
            const KeywordMeaning& keyword = *meaning.keyword(row.name);
            if (std::holds_alternative<std::monostate>(keyword.initial)) continue;
            PlacedBlock block(host, meaning.code);
            if (const auto expected = valueReadBack(keyword, keyword.initial)) {
                EXPECT_EQ(block.get(row), *expected) << row.name;
            }
            block.set(row, valueToSend(keyword, keyword.initial));
            EXPECT_EQ(block.save(), record) << row.name;
        }
    }
}

TEST_F(Keywords, ThatANewBlockHasWithoutAWayToWriteItAreThreeAndTheOneThatSetsAll) {
    std::set<std::string> unwritten;
    for (const BlockMeaning& meaning : blockMeanings()) {
        for (const KeywordMeaning& keyword : meaning.keywords) {
            if (!std::holds_alternative<std::monostate>(keyword.initial)) continue;
            unwritten.insert(std::to_string(meaning.code) + " " + std::string(keyword.name));
            EXPECT_FALSE(keyword.note.empty()) << keyword.name;
        }
    }
    EXPECT_THAT(unwritten, ::testing::ElementsAre("5002 PkAllOn", "5004 PkWndFct", "5006 PkWndFct",
                                                  "5007 PkFilterType"));
}

TEST_F(Keywords, ReadBackAsTheTableSaysForEveryChoice) {
    for (const BlockMeaning& meaning : blockMeanings()) {
        SCOPED_TRACE(meaning.code);
        PlacedBlock block(host, meaning.code);
        for (const KeywordRow& row : block.keywords()) {
            const KeywordMeaning& keyword = *meaning.keyword(row.name);
            std::set<std::string> records;
            for (const NamedChoice& choice : keyword.choices) {
                if (!choice.writable) continue;
                block.set(row, valueToSend(keyword, choice.name));
                if (const auto expected = valueReadBack(keyword, choice.name)) {
                    EXPECT_EQ(block.get(row), *expected) << row.name << " " << choice.name;
                    EXPECT_EQ(meaningOfRead(keyword, block.get(row)), WrittenValue(choice.name));
                }
                EXPECT_TRUE(records.insert(block.save()).second) << row.name << " " << choice.name;
            }
        }
    }
}

// --- Values that mean nothing ---------------------------------------------------------------

TEST_F(Keywords, RefuseEverythingBelowAndAboveWithThePlaceAndWhatIsAllowed) {
    for (const BlockMeaning& meaning : blockMeanings()) {
        for (const KeywordMeaning& keyword : meaning.keywords) {
            std::vector<std::string> wrong = {"nan",         "inf",  "-inf",       "0.5",
                                              "\"neither\"", "\"\"", "5000000000", "-5000000000"};
            if (!keyword.choices.empty()) {
                std::int32_t least = std::numeric_limits<std::int32_t>::max();
                std::int32_t most = 0;
                for (const NamedChoice& choice : keyword.choices) {
                    least = std::min(least, choice.number);
                    most = std::max(most, choice.number);
                    if (!choice.writable) {
                        wrong.push_back(std::to_string(choice.number));
                        wrong.push_back("\"" + std::string(choice.name) + "\"");
                    }
                }
                wrong.push_back(std::to_string(least - 1));
                wrong.push_back(std::to_string(most + 1));
                wrong.push_back(std::to_string(65536 + least));
            } else if (keyword.type == ValueType::real) {
                wrong = {"nan", "inf", "-inf", "\"1\""};
                const NumberRange& range = keyword.range;
                constexpr double kMost = std::numeric_limits<double>::max();
                if (range.least > -kMost) {
                    wrong.push_back(toText(range.above ? range.least : range.least - 0.001));
                    wrong.push_back(toText(range.least - 1));
                }
                if (range.most < kMost) wrong.push_back(toText(range.most + 0.001));
            } else {
                wrong.push_back(std::to_string(static_cast<std::int64_t>(keyword.range.least) - 1));
                wrong.push_back(std::to_string(static_cast<std::int64_t>(keyword.range.most) + 1));
                if (keyword.range.odd) wrong.push_back("4");
            }
            for (const std::string& value : wrong) {
                EXPECT_THAT(
                    errorWith(meaning.code, std::string(keyword.name) + " = " + value + "\n"),
                    AllOf(StartsWith("d.toml:3: block.b." + std::string(keyword.name) + ": "),
                          HasSubstr("allowed is " + keyword.allowed())))
                    << value;
            }
        }
    }
}

struct WrongSettings {
    int code;
    std::string settings;
    std::string error;
};

TEST_F(Keywords, ThatDoNotFitTogetherAreRefusedWithThePlace) {
    const std::string iir = "PkFIRFilter = \"IIR\"\n";
    const std::vector<WrongSettings> all = {
        {kSpektrum, "PkWndCorrectTyp = 3\n",
         "d.toml:3: block.b.PkWndCorrectTyp: 3 is none of its values, allowed is none (0), energy "
         "(1) or amplitude (2)"},
        {kSpektrum, "PkWndCorrectTyp = -7\n",
         "d.toml:3: block.b.PkWndCorrectTyp: -7 is none of its values, allowed is none (0), energy "
         "(1) or amplitude (2)"},
        {kDigitalFilter, iir,
         "d.toml:3: block.b.PkFIRFilter: an IIR filter needs a characteristic: Butterworth (0), "
         "Chebyshev (1), elliptic (2), inverse Chebyshev (3) or Bessel (4) (PkFilterType is not "
         "set, "
         "PkFIRFilter is \"IIR\")"},
        {kDigitalFilter, iir + "PkFilterType = \"Bessel\"\nPkFilterOrder = 30\n",
         "d.toml:5: block.b.PkFilterOrder: a Bessel filter has an order of 1 to 25 (PkFilterOrder "
         "is "
         "30, PkFilterType is \"Bessel\")"},
        {kDigitalFilter, "PkRipple = 0\n",
         "d.toml:3: block.b.PkRipple: 0 is out of range, allowed is above 0 to 100 dB"},
        {kDigitalFilter, iir + "PkFilterType = 2\nPkRipple = 3\nPkAttenuation = 3.0\n",
         "d.toml:5: block.b.PkRipple: the ripple of an elliptic filter lies below its attenuation "
         "(PkRipple is 3, PkAttenuation is 3, PkFilterType is \"elliptic\")"},
        {kDigitalFilter, "PkFilterMode = 2\nPkUpperFreq = 100\nPkLowerFreq = 1000\n",
         "d.toml:5: block.b.PkLowerFreq: the lower edge of a band lies below its upper edge "
         "(PkLowerFreq is 1000, PkUpperFreq is 100, PkFilterMode is \"band pass\")"},
        {kDigitalFilter, "PkFilterMode = \"band stop\"\nPkUpperFreq = 50\n",
         "d.toml:4: block.b.PkUpperFreq: the lower edge of a band lies below its upper edge "
         "(PkLowerFreq is 100, PkUpperFreq is 50, PkFilterMode is \"band stop\")"},
        {kDigitalFilter, "PkCutoffFreq = 24000.0\n",
         "d.toml:3: block.b.PkCutoffFreq: the edge of a low pass or high pass lies below half the "
         "sample rate, 48000 Hz (PkCutoffFreq is 24000)"},
        {kDigitalFilter, "PkFilterMode = \"band pass\"\nPkUpperFreq = 30000\n",
         "d.toml:4: block.b.PkUpperFreq: the edges of a band lie below half the sample rate, 48000 "
         "Hz (PkUpperFreq is 30000, PkLowerFreq is 100)"},
        {kDigitalFilter, "PkFilterMode = 9\n",
         "d.toml:3: block.b.PkFilterMode: 9 is none of its values, allowed is low pass (0), high "
         "pass (1), band pass (2) or band stop (3)"},
        {kDigitalFilter, "PkCutoffFreq = 0\n",
         "d.toml:3: block.b.PkCutoffFreq: 0 is out of range, allowed is above 0 Hz"},
        {kDigitalFilter, "PkCutoffFreq = -1\n",
         "d.toml:3: block.b.PkCutoffFreq: -1 is out of range, allowed is above 0 Hz"},
        {kDigitalFilter, "PkFilterLength = 24\n",
         "d.toml:3: block.b.PkFilterLength: 24 is out of range, allowed is odd, 3 to 1048575"},
        {kDigitalFilter, "PkFilterLength = 3\n",
         "d.toml:3: block.b.PkFilterLength: an FIR filter with a Hanning or Blackman window has 5 "
         "taps or more (PkFilterLength is 3, PkWindowFunction is \"Blackman\")"},
        {kDigitalFilter,
         iir + "PkFilterType = 2\nPkFilterOrder = 64\nPkRipple = 0.1\n"
               "PkAttenuation = 0.2\nPkFilterMode = 2\n",
         "d.toml:1: block.b: this filter cannot be designed at 48000 Hz, the signal would pass as "
         "it "
         "is: it takes a lower order, a wider band, or more room between ripple and attenuation"},
        {kKlassierung, "PkBegin = 20\n",
         "d.toml:3: block.b.PkBegin: the class begin lies below the class end (PkBegin is 20, "
         "PkEnd "
         "is 10, PkRange is -10, PkWidth is -0.5)"},
        {kKlassierung, "PkEnd = -10\n",
         "d.toml:3: block.b.PkEnd: the class begin lies below the class end (PkBegin is -10, PkEnd "
         "is -10, PkRange is 0, PkWidth is 0)"},
        {kKlassierung, "PkWidth = 1000\n",
         "d.toml:3: block.b.PkWidth: the class begin lies below the class end (PkBegin is -10, "
         "PkEnd "
         "is -10, PkRange is 0, PkWidth is 1000)"},
        {kKlassierung, "PkBegin = -1e308\nPkEnd = 1e308\n",
         "d.toml:1: block.b.PkWidth: comes out as inf, allowed is above 0"},
        {kFreqWeight, "PkXweight = 9\n",
         "d.toml:3: block.b.PkXweight: 9 is none of its values, allowed is linear (0), A (1), B "
         "(2) "
         "or C (3)"},
        {kLevel, "PkTimeTc = 7\n",
         "d.toml:3: block.b.PkTimeTc: 7 is none of its values, allowed is Slow (0), Fast (1) or "
         "Impulse (2)"},
        {kLevel, "PkTimeTx = 9\n",
         "d.toml:3: block.b.PkTimeTx: 9 is none of its values, allowed is 1 s (0), 3 s (1) or 5 s "
         "(2)"},
        {kLevel, "PkFreqOut = 0\n",
         "d.toml:3: block.b.PkFreqOut: 0 is out of range, allowed is above 0 Hz"},
        {kLevel, "PkFreqOut = -3.5\n",
         "d.toml:3: block.b.PkFreqOut: -3.5 is out of range, allowed is above 0 Hz"},
        {kLevel, "PkFreqOut = 48001\n",
         "d.toml:3: block.b.PkFreqOut: levels come at most at the sample rate, 48000 Hz (PkFreqOut "
         "is 48001)"},
        {kStatistik, "PkOutMode = 2\n",
         "d.toml:1: block.b.PkAllOn: at least one measure must be on"},
    };
    for (const WrongSettings& wrong : all) {
        EXPECT_THAT(errorWith(wrong.code, wrong.settings), StartsWith(wrong.error))
            << wrong.settings;
    }
}

TEST_F(Keywords, ThatMakeASettingComeOutOtherwiseAreRefused) {
    EXPECT_EQ(errorWith(kStatistik, "PkYMax = 1\nPkAllOn = 0\n"),
              "d.toml:3: block.b.PkYMax: another setting of this block changes it from 1 to 0");
    EXPECT_EQ(errorWith(kStatistik, "PkAllOn = \"on\"\nPkYMax = \"off\"\n"), "");
}

TEST_F(Keywords, FromARecordAreCheckedAsWell) {
    PlacedBlock filter(host, kDigitalFilter);
    filter.set("PkFIRFilter", 0);
    EXPECT_EQ(errorWith(kDigitalFilter, "record = \"" + digitsOf(filter.save()) + "\"\n"),
              "d.toml:1: block.b.PkFilterType: an IIR filter needs a characteristic: Butterworth "
              "(0), Chebyshev (1), elliptic (2), inverse Chebyshev (3) or Bessel (4) (PkFilterType "
              "is not set, PkFIRFilter is \"IIR\")");
    PlacedBlock level(host, kLevel);
    level.set("PkFreqOut", 0.0);
    EXPECT_EQ(errorWith(kLevel, "record = \"" + digitsOf(level.save()) + "\"\n"),
              "d.toml:1: block.b.PkFreqOut: comes out as 0, allowed is above 0 Hz");
}

TEST_F(Keywords, OfTimeSignalsBelow4KilohertzAreRefusedByTheWeighting) {
    writeWav("slow.wav", sine(480, 4), 1, 2000);
    const std::string slow =
        "[source.s]\nfile = \"slow.wav\"\n[wire]\n\"b.E\" = \"s\"\n[block.b]\ntype = 5008\n";
    EXPECT_EQ(errorOf(slow + "PkXweight = \"A\"\n"),
              "d.toml:7: block.b.PkXweight: time signals of 4000 Hz to 1000000 Hz sample rate are "
              "weighted, 2000 Hz (PkXweight is \"A\")");
    EXPECT_EQ(errorOf(slow + "PkXweight = 0\n"), "");
}

// --- Values that mean something -------------------------------------------------------------

struct Context {
    int code;
    const char* settings;
};

// Surroundings in which every keyword has something to do.
const std::vector<Context>& contexts() {
    static const std::vector<Context> all = {
        {kKlassierung, "PkBegin = 1\n"},
        {kKlassierung, "PkBegin = 1\nPkMethod = \"dwell time\"\nPkCalcMode = \"absolute\"\n"},
        {kKlassierung, "PkBegin = 1\nPkMethod = \"level crossings\"\nPkReset = \"count\"\n"},
        {kTerzOktave, ""},
        {kStatistik, "PkQMean = \"on\"\n"},
        {kStatistik, "PkYMax = \"on\"\nPkYMin = \"on\"\n"},
        {kMittelwert, ""},
        {kMittelwert, "PkMode = \"moving average\"\n"},
        {kMittelwert, "PkMode = \"data blocks\"\nPkResetMode = \"count\"\n"},
        {kMittelwert, "PkMode = \"data blocks\"\nPkResetMode = \"trigger\"\n"},
        {kSpektrum, "PkWndFct = \"HANNING\"\n"},
        {kSpektrum, "PkWndFct = \"KAISER\"\nPkWndCorrectTyp = \"energy\"\n"},
        {kDualSpektrum, ""},
        {kDualSpektrum,
         "PkCrossSpectr = \"transfer function\"\nPkTransFCTType = \"SPECTRUM H1\"\n"
         "PkAverageType = \"ARITHMETIC\"\nPkWndFct = \"HANNING\"\n"},
        {kDualSpektrum,
         "PkAverageType = \"MINMAXAVERAGE\"\nPkResetMode = \"count\"\nPkResetCount = 2\n"
         "PkDataOnReset = \"on\"\n"},
        {kDigitalFilter, ""},
        {kDigitalFilter, "PkKaiserWindow = \"on\"\nPkFilterMode = \"band pass\"\n"},
        {kDigitalFilter, "PkWindowFunction = \"Hamming\"\nPkFilterLength = 5\n"},
        {kDigitalFilter, "PkFIRFilter = \"IIR\"\nPkFilterType = \"Butterworth\"\n"},
        {kDigitalFilter, "PkFIRFilter = \"IIR\"\nPkFilterType = \"Chebyshev\"\n"},
        {kDigitalFilter, "PkFIRFilter = \"IIR\"\nPkFilterType = \"elliptic\"\n"},
        {kDigitalFilter,
         "PkFIRFilter = \"IIR\"\nPkFilterType = \"inverse Chebyshev\"\nPkFilterMode = 3\n"},
        {kDigitalFilter, "PkFIRFilter = \"IIR\"\nPkFilterType = \"Bessel\"\nPkFilterMode = 2\n"},
        {kFreqWeight, ""},
        {kLevel, ""},
        {kLevel, "PkRMS = \"peak\"\n"},
    };
    return all;
}

// Values from the whole of what is allowed, as diagrams write them.
std::vector<WrittenValue> allowedValues(const KeywordMeaning& keyword) {
    std::vector<WrittenValue> values;
    for (const NamedChoice& choice : keyword.choices) {
        if (choice.writable) values.emplace_back(choice.name);
    }
    if (!values.empty()) return values;
    const NumberRange& range = keyword.range;
    constexpr double kUnbounded = std::numeric_limits<double>::max();
    if (const auto* initial = std::get_if<std::int32_t>(&keyword.initial)) {
        values = {static_cast<std::int32_t>(range.least), *initial};
        values.emplace_back(static_cast<std::int32_t>(range.most));
    } else {
        const double start = std::get<double>(keyword.initial);
        values = {start};
        if (range.above) {
            values.emplace_back(start / 10);
        } else {
            values.emplace_back(range.least < 0 ? 2 * start : range.least);
        }
        values.emplace_back(range.most < kUnbounded ? range.most : 2 * start + 1);
    }
    return values;
}

std::vector<float> signalOf(int block) {
    constexpr int kSamples = 4096;
    std::vector<float> values(kSamples);
    for (int i = 0; i < kSamples; ++i) {
        const double t = (block * kSamples + i) / kRate;
        values[static_cast<std::size_t>(i)] = static_cast<float>(
            3 + 2 * std::sin(2 * std::numbers::pi * 210 * t) +
            0.7 * std::sin(2 * std::numbers::pi * 930 * t + 1) + 0.1 * std::cos(1e4 * t * t));
    }
    return values;
}

ChannelData timeBlock(int block) {
    ChannelData data = timeSignal(signalOf(block), 1, 1 / kRate);
    data.header.xStart = 1 + block * 4096 / kRate;
    return data;
}

ChannelData spectrumBlock(int block) {
    ChannelData data = timeBlock(block);
    data.header.xAxisKind = kHertz;
    data.header.yUnit = kUnitAmplitude;
    data.header.xStart = 0;
    data.header.xStep = 5;
    return data;
}

class KeywordWalk : public Keywords, public ::testing::WithParamInterface<int> {
protected:
    // What comes out of the block at each output until something has come out at all of them.
    std::vector<std::vector<float>> run(PlacedBlock& block) {
        const std::vector<std::string> inputs = block.inputLabels();
        const std::vector<std::string> labels = block.outputLabels();
        std::vector<std::vector<float>> outputs(labels.size());
        block.wireAll();
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            if (inputs[i] == "S") block.wireInput(static_cast<int>(i), -1);
        }
        block.initSim();
        constexpr int kMostBlocks = 200;
        for (int step = 0; step < kMostBlocks; ++step) {
            for (std::size_t i = 0; i < inputs.size(); ++i) {
                const int input = static_cast<int>(i);
                if (inputs[i] == "S" || block.waits(input)) continue;
                if (inputs[i] == "T") {
                    block.put(input, timeSignal({5.0F}, 1, 1 / kRate));
                } else {
                    const bool spectra = block.typeCode() == kTerzOktave;
                    block.put(input, spectra ? spectrumBlock(step)
                                             : timeBlock(step + (inputs[i] == "A" ? 3 : 0)));
                }
            }
            if (block.simulate() == kFailed) break;
            bool all = true;
            for (std::size_t j = 0; j < labels.size(); ++j) {
                if (const auto data = block.take(static_cast<int>(j))) {
                    if (outputs[j].empty()) outputs[j] = data->values;
                }
                all = all && (!outputs[j].empty() || labels[j] == "-");
            }
            if (all) break;
        }
        block.stop();
        return outputs;
    }
};

std::string typeName(const ::testing::TestParamInfo<int>& info) {
    return std::to_string(info.param);
}

// Each allowed value, by its name where it has one and by its number, in every context whose rules
// it keeps: the block gives something that is neither silence nor what came in.
TEST_P(KeywordWalk, EveryAllowedValueIsTakenAndWorks) {
    const BlockMeaning& meaning = meaningOf(GetParam());
    const std::vector<TypeInfo> types = moduleTypes(host);
    for (const KeywordMeaning& keyword : meaning.keywords) {
        for (const WrittenValue& value : allowedValues(keyword)) {
            const std::string line =
                std::string(keyword.name) + " = " + settingValueText(value) + "\n";
            SCOPED_TRACE(line);
            bool ran = false;
            for (const Context& context : contexts()) {
                if (context.code != meaning.code) continue;
                std::string settings = context.settings;
                // In the place of the context's own line, or behind it.
                const std::size_t own = settings.find(std::string(keyword.name) + " ");
                if (own != std::string::npos) {
                    settings.erase(own, settings.find('\n', own) + 1 - own);
                }
                SCOPED_TRACE(settings);
                // What sets all measures comes first, so that the context's still count.
                const std::string table = tableOf(
                    meaning.code, meaning.code == kStatistik ? line + settings : settings + line);
                const BlockEntry entry = parseDiagram(table, "d.toml").blocks.at(0);
                const auto block = placeBlock(host, types, entry);
                const KeywordValues values = valuesOf(*block, entry);
                try {
                    checkValues(meaning, entry, values);
                    checkValuesAtRate(meaning, entry, values, kRate);
                } catch (const InputError&) {
                    continue;  // another context has to have a use for it
                }
                ran = true;
                // Counts that ask for more data than a short run has.
                constexpr std::int32_t kLargestRun = 4096;
                const auto* count = std::get_if<std::int32_t>(&value);
                if (count != nullptr && *count > kLargestRun) continue;
                const auto outputs = run(*block);
                const std::vector<std::string> labels = block->outputLabels();
                for (std::size_t j = 0; j < outputs.size(); ++j) {
                    if (labels[j] == "-") continue;
                    ASSERT_FALSE(outputs[j].empty());
                    EXPECT_TRUE(
                        std::ranges::all_of(outputs[j], [](float y) { return std::isfinite(y); }));
                    EXPECT_TRUE(std::ranges::any_of(outputs[j], [](float y) { return y != 0; }))
                        << "silence at " << labels[j];
                }
                const bool passes = meaning.code == kFreqWeight && value == WrittenValue("linear");
                if (meaning.code == kDigitalFilter || meaning.code == kFreqWeight) {
                    EXPECT_EQ(outputs[0] == signalOf(0), passes);
                }
            }
            EXPECT_TRUE(ran);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Types, KeywordWalk, ::testing::Range(kFirstType, kFirstType + kTypes),
                         typeName);

TEST_F(Keywords, MeanTheSameByNameAndByNumber) {
    const std::vector<TypeInfo> types = moduleTypes(host);
    const auto recordWith = [&](int code, const std::string& line) {
        return placeBlock(host, types, parseDiagram(tableOf(code, line), "d.toml").blocks.at(0))
            ->save();
    };
    for (const BlockMeaning& meaning : blockMeanings()) {
        for (const KeywordMeaning& keyword : meaning.keywords) {
            if (keyword.type == ValueType::text) continue;
            for (const NamedChoice& choice : keyword.choices) {
                if (!choice.writable) continue;
                const std::string key = std::string(keyword.name) + " = ";
                EXPECT_EQ(recordWith(meaning.code, key + "\"" + std::string(choice.name) + "\"\n"),
                          recordWith(meaning.code, key + std::to_string(choice.number) + "\n"))
                    << key << choice.name;
            }
        }
    }
}

}  // namespace
}  // namespace vynhost::test
