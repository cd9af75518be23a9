// The sound level meter: what it counts, and the command.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "interface/vynhost/program_fixture.h"
#include "vynhost/run/level_meter.h"

namespace vynhost::test {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr int kToneRate = 48000;
constexpr double kTonePressure = 20;  // Pa

double powerLevel(double ratio) { return 10 * std::log10(ratio); }

// Samples of full scale 1 of a tone of 1 kHz, which every weighting leaves as it is.
void addTone(std::vector<float>& samples, double level, double seconds) {
    const double amplitude =
        std::numbers::sqrt2 * 2e-5 * std::pow(10.0, level / 20) / kTonePressure;
    const auto count = static_cast<std::size_t>(std::lround(seconds * kToneRate));
    for (std::size_t i = 0; i < count; ++i) {
        const double turns = 1000.0 * static_cast<double>(samples.size()) / kToneRate;
        samples.push_back(
            static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * turns + 0.1)));
    }
}

// --- The host's own sums --------------------------------------------------------------------

std::vector<LevelRow> measured(LevelMeter& meter, const std::vector<float>& pascals,
                               std::size_t block = 1000) {
    for (std::size_t from = 0; from < pascals.size(); from += block) {
        const auto to = std::min(from + block, pascals.size());
        ChannelData data =
            timeSignal(std::vector<float>(pascals.begin() + static_cast<std::ptrdiff_t>(from),
                                          pascals.begin() + static_cast<std::ptrdiff_t>(to)),
                       1, 1e-3);
        data.header.xStart = static_cast<double>(from) * 1e-3;
        meter.take(data);
    }
    meter.finish();
    return meter.rows();
}

TEST(LevelMeter, WeighsTimeByAnExponential) {
    // A step from nothing to 1 Pa: 1 - e^(-t/tau) of its power after t.
    for (const auto& [time, constant] :
         {std::pair(TimeWeighting::fast, 0.125), std::pair(TimeWeighting::slow, 1.0),
          std::pair(TimeWeighting::impulse, 0.035)}) {
        LevelMeter meter({.time = time, .intervalsPerSecond = 10, .reference = 1});
        const auto rows = measured(meter, std::vector<float>(500, 1.0F));
        ASSERT_THAT(rows, SizeIs(5));
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const double expected =
                powerLevel(1 - std::exp(-0.1 * static_cast<double>(i + 1) / constant));
            EXPECT_NEAR(rows[i].channels[0].last, expected, 1e-9);
            EXPECT_NEAR(rows[i].channels[0].maximum, expected, 1e-9);
            EXPECT_NEAR(rows[i].channels[0].equivalent, 0, 1e-9);
            EXPECT_NEAR(rows[i].channels[0].exposure, -10, 1e-9);
        }
        EXPECT_NEAR(meter.total().channels[0].exposure, powerLevel(0.5), 1e-9);
    }
}

TEST(LevelMeter, LetsAnImpulseDecaySlowly) {
    std::vector<float> samples(100, 1.0F);
    samples.resize(3100);  // three seconds of silence
    LevelMeter meter({.time = TimeWeighting::impulse, .intervalsPerSecond = 1, .reference = 1});
    const auto rows = measured(meter, samples);
    const double highest = powerLevel(1 - std::exp(-0.1 / 0.035));
    ASSERT_THAT(rows, SizeIs(4));
    EXPECT_NEAR(rows[0].channels[0].last, highest - 2.9 * 0.9, 1e-9);
    EXPECT_NEAR(rows[2].channels[0].last, highest - 2.9 * 2.9, 1e-9);
    EXPECT_NEAR(rows[2].channels[0].maximum, highest - 2.9 * 1.901, 1e-9);
    EXPECT_NEAR(meter.total().channels[0].maximum, highest, 1e-9);
    EXPECT_EQ(rows[2].channels[0].equivalent, -std::numeric_limits<double>::infinity());
}

// Minima and percentiles begin when five time constants have gone.
TEST(LevelMeter, LeavesOutWhatTheTimeWeightingHasNotSettledFor) {
    LevelMeter meter({.time = TimeWeighting::slow,
                      .intervalsPerSecond = 1,
                      .reference = 1,
                      .percentiles = {50}});
    const auto rows = measured(meter, std::vector<float>(7000, 1.0F));
    ASSERT_THAT(rows, SizeIs(7));
    EXPECT_FALSE(rows[4].channels[0].minimum.has_value());
    EXPECT_FALSE(rows[4].channels[0].percentiles[0].has_value());
    ASSERT_TRUE(rows[5].channels[0].minimum.has_value());
    EXPECT_NEAR(*rows[5].channels[0].minimum, powerLevel(1 - std::exp(-5.001)), 1e-9);
    EXPECT_NEAR(*rows[6].channels[0].percentiles[0], 0, 0.02);
    EXPECT_EQ(meter.total().channels[0].minimum, rows[5].channels[0].minimum);
}

TEST(LevelMeter, TakesTheMaximumOfEachClockPeriodThatEnds) {
    // Seconds of 1, 2, 3 ... Pa, in clock periods of two.
    std::vector<float> samples;
    for (int second = 1; second <= 7; ++second)
        samples.insert(samples.end(), 1000, static_cast<float>(second));
    LevelMeter meter({.time = TimeWeighting::impulse,
                      .intervalsPerSecond = 0.2,
                      .clockPeriod = 2,
                      .reference = 1});
    const auto rows = measured(meter, samples);
    ASSERT_THAT(rows, SizeIs(2));
    EXPECT_TRUE(rows[1].isShort);
    EXPECT_EQ(rows[1].end, 7);
    // Settled to 12 digits in a second.
    EXPECT_NEAR(*rows[0].channels[0].clockMaximum, powerLevel((4 + 16) / 2.0), 1e-6);
    EXPECT_NEAR(*rows[1].channels[0].clockMaximum, powerLevel(36), 1e-6);
    EXPECT_NEAR(*meter.total().channels[0].clockMaximum, powerLevel((4 + 16 + 36) / 3.0), 1e-6);
    LevelMeter shorter({.clockPeriod = 8, .reference = 1});
    EXPECT_EQ(measured(shorter, samples)[0].channels[0].clockMaximum, std::nullopt);
    EXPECT_EQ(shorter.total().channels[0].clockMaximum, std::nullopt);
}

TEST(LevelMeter, SaysHowMuchMemoryItsRowsTake) {
    LevelMeter meter({.reference = 1, .percentiles = {10, 50, 90}});
    for (int second = 0; second < 5; ++second)
        meter.take(timeSignal(std::vector<float>(2000, 1), 2, 1e-3));
    meter.finish();
    ASSERT_THAT(meter.rows(), SizeIs(5));
    std::uint64_t bytes = 0;
    for (const LevelRow& row : meter.rows()) {
        bytes += sizeof row;
        for (const ChannelLevels& levels : row.channels)
            bytes += sizeof levels + levels.percentiles.size() * sizeof levels.percentiles[0];
    }
    EXPECT_EQ(meter.bytes(), bytes);
}

TEST(LevelMeter, IsTheSameInDataBlocksOfAnyLength) {
    const std::vector<float> noise = signals::noise(5003, 7);
    const auto rowsIn = [&](std::size_t block) {
        LevelMeter meter({.intervalsPerSecond = 3, .clockPeriod = 1, .percentiles = {10, 90}});
        std::vector<double> values;
        for (const LevelRow& row : measured(meter, noise, block)) {
            const ChannelLevels& levels = row.channels[0];
            values.insert(values.end(),
                          {row.begin, row.end, levels.equivalent, levels.maximum, levels.last,
                           levels.minimum.value_or(0), levels.percentiles[1].value_or(0)});
        }
        return values;
    };
    const std::vector<double> whole = rowsIn(noise.size());
    for (const std::size_t block : {1U, 7U, 333U, 334U}) {
        const std::vector<double> parts = rowsIn(block);
        ASSERT_EQ(parts.size(), whole.size());
        for (std::size_t i = 0; i < whole.size(); ++i)
            EXPECT_NEAR(parts[i], whole[i], 1e-9);  // energies are added in other groups
    }
}

TEST(LevelHistogram, SaysWhichLevelIsExceededForHowLong) {
    LevelHistogram histogram;
    for (int level = 1; level <= 100; ++level) {  // each for 1 % of the time
        for (int i = 0; i < 10; ++i)
            histogram.add(std::pow(10.0, level / 10.0));
    }
    EXPECT_FALSE(LevelHistogram().exceededIn(50).has_value());
    histogram.complete();
    EXPECT_NEAR(*histogram.exceededIn(1), 99, 1e-9);
    EXPECT_NEAR(*histogram.exceededIn(50), 50, 1e-9);
    EXPECT_NEAR(*histogram.exceededIn(99), 1, 1e-9);
    LevelHistogram half;
    half.add(1);
    half.add(0);
    half.complete();
    EXPECT_EQ(*half.exceededIn(10), 0);
    EXPECT_EQ(*half.exceededIn(90), -std::numeric_limits<double>::infinity());
}

// --- The command ----------------------------------------------------------------------------

class LevelCommandTest : public ProgramTest {
protected:
    Outcome level(const std::string& options, const std::string& recording = "s.wav") const {
        return vynhost("level " + at(recording) + " --out " + at("o") + " " + options);
    }
    static inline const std::string kScale = "--full-scale 20 --unit Pa ";
};

TEST_F(LevelCommandTest, ASteadyToneReadsItsLevelInEveryRow) {
    std::vector<float> tone;
    addTone(tone, 94, 6.5);
    writeWav("s.wav", tone, 1, kToneRate);
    for (const std::string time : {"F", "S", "I"}) {
        const Outcome outcome =
            level(kScale + "--force --percentiles 1,10,50,90,99 --time " + time);
        ASSERT_EQ(outcome.code, 0) << outcome.error;
        Columns rows = tableOf("o/level.csv");
        const std::string timed = "LA" + time;
        ASSERT_THAT(rows["LAeq"], SizeIs(7));
        EXPECT_THAT(rows["short"], ::testing::ElementsAre(0, 0, 0, 0, 0, 0, 1));
        EXPECT_EQ(rows["end"].back(), 6.5);
        const std::size_t settled = time == "S" ? 6 : 1;
        for (std::size_t i = 1; i < 7; ++i) {
            EXPECT_NEAR(rows["LAeq"][i], 94, 0.05);
            EXPECT_NEAR(rows["LAE"][i], 94 + (i == 6 ? powerLevel(0.5) : 0), 0.05);
            if (i < settled) continue;
            for (const char* column : {"max", "min", "", "1", "10", "50", "90", "99"})
                EXPECT_NEAR(rows[timed + column][i], 94, 0.05) << column << ' ' << i;
        }
        const Columns totals = rowsOf("o/level_total.csv");
        for (const std::string name : {"LAeq", "max", "min", "", "50", "99", "Tm5"}) {
            const std::string row = name == "LAeq" ? name : timed + name;
            EXPECT_NEAR(totals.at(row)[0], 94, 0.05) << row;
        }
        EXPECT_NEAR(totals.at("LAE")[0], 94 + powerLevel(6.5), 0.05);
        // Of several channels the block holds one level at its end for impulses: the host's counts.
        EXPECT_EQ(outcome.out.find("from the level block: " + timed + " (at the end), ") ==
                      std::string::npos,
                  time == "I");
        EXPECT_EQ(read(folder() / "o/level_total.csv").find("host: time weighting") !=
                      read(folder() / "o/level_total.csv").rfind("host: time weighting"),
                  time == "I");
    }
}

TEST_F(LevelCommandTest, AReportOfManyIntervalsSaysWhereTheyAre) {
    writeWav("s.wav", sine(8 * 5001, 5001), 1, 8000);
    const Outcome outcome = level("--every 1ms --quiet --lang de --report r.html");
    ASSERT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_THAT(read(folder() / "o/r.html"), HasSubstr("5001 Abschnitte: siehe level.csv."));
}

TEST_F(LevelCommandTest, ALoudLastSecondHasItsShare) {
    // Nine seconds 40 dB below the last one, which has an amplitude of 1 Pa.
    std::vector<float> samples;
    const double loud = powerLevel(0.5 / 4e-10);
    addTone(samples, loud - 40, 9);
    addTone(samples, loud, 1);
    writeWav("s.wav", samples, 1, kToneRate);
    const Outcome outcome = level(kScale + "--time F --every 1s");
    ASSERT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_NEAR(loud + powerLevel((1 + 9e-4) / 10), 80.97, 0.005);
    const Columns totals = rowsOf("o/level_total.csv");
    EXPECT_NEAR(totals.at("LAeq")[0], 80.98, 0.15);
    EXPECT_NEAR(totals.at("LAE")[0], 90.98, 0.15);
    Columns rows = tableOf("o/level.csv");
    EXPECT_NEAR(rows["LAeq"][8], loud - 40, 0.05);
    EXPECT_NEAR(rows["LAeq"][9], loud, 0.05);
    // Clock periods of 5 s end with rows 4 and 9.
    EXPECT_TRUE(std::isnan(rows["LAFTm5"][3]));
    EXPECT_NEAR(rows["LAFTm5"][4], loud - 40, 0.1);
    EXPECT_NEAR(rows["LAFTm5"][9], loud, 0.1);
    EXPECT_NEAR(totals.at("LAFTm5")[0], loud + powerLevel((1 + 1e-4) / 2), 0.05);
    EXPECT_THAT(outcome.out,
                HasSubstr("from the level block: LAF (at the end), LAFmax and LAFTm5 of "
                          "the total"));
}

// IEC 61672-1, table 4: a burst of 200 ms reads 1.0 dB less with F, 7.4 dB less with S.
TEST_F(LevelCommandTest, AToneBurstReadsWhatTheStandardSays) {
    std::vector<float> samples;
    addTone(samples, -200, 1);
    addTone(samples, 94, 0.2);
    addTone(samples, -200, 0.8);
    writeWav("s.wav", samples, 1, kToneRate);
    for (const auto& [time, constant] : {std::pair("F", 0.125), std::pair("S", 1.0)}) {
        const Outcome outcome = level(kScale + "--force --weighting Z --time " + time);
        ASSERT_EQ(outcome.code, 0) << outcome.error;
        const double expected = 94 + powerLevel(1 - std::exp(-0.2 / constant));
        const std::string name = std::string("LZ") + time + "max";
        // The block's maximum of the whole, and the host's of the second row, are one.
        EXPECT_NEAR(rowsOf("o/level_total.csv").at(name)[0], expected, 0.02);
        EXPECT_NEAR(tableOf("o/level.csv")[name][1], expected, 0.02);
    }
}

TEST_F(LevelCommandTest, EveryChannelHasItsOwnScaleAndName) {
    std::vector<float> tone;
    addTone(tone, 94, 1);
    std::vector<float> both;
    for (const float sample : tone)
        both.insert(both.end(), {sample, sample / 2});
    writeWav("s.wav", both, 2, kToneRate);
    ASSERT_EQ(level("--full-scale 20,20 --unit Pa --every 250ms").code, 0);
    Columns totals = rowsOf("o/level_total.csv");
    EXPECT_NEAR(totals.at("LAeq")[0], 94, 0.05);
    EXPECT_NEAR(totals.at("LAeq")[1], 94 - powerLevel(4), 0.05);
    EXPECT_THAT(tableOf("o/level.csv")["LAeq 2"], SizeIs(4));
    ASSERT_EQ(vynhost("calibrate " + at("s.wav") + " --level 100 --out " + at("cal.toml")).code, 0);
    const Outcome calibrated = level("--force --channels 2 --calibration " + at("cal.toml"));
    ASSERT_EQ(calibrated.code, 0) << calibrated.error;
    EXPECT_NEAR(rowsOf("o/level_total.csv").at("LAeq")[0], 100, 0.05);
    EXPECT_THAT(calibrated.out, HasSubstr("channel 2"));
    EXPECT_THAT(calibrated.out, HasSubstr("calibrated by"));
}

TEST_F(LevelCommandTest, WithoutAScaleLevelsAreOverFullScale) {
    writeWav("s.wav", sine(96000, 2000, 0.5), 1, kToneRate);
    const Outcome outcome = level("--csv=de --every 300ms");
    ASSERT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_THAT(outcome.out, HasSubstr("levels in dB re full scale, uncalibrated"));
    EXPECT_THAT(outcome.out, HasSubstr("  -9.03"));  // 20 lg (0.5 / sqrt 2)
    EXPECT_THAT(outcome.out, HasSubstr("2*  "));
    const std::string table = read(folder() / "o" / "level_total.csv");
    EXPECT_THAT(table, StartsWith("\xEF\xBB\xBFquantity;\"channel 1 [dB re full scale, "));
    EXPECT_THAT(table, HasSubstr("\nLAFmax;-9,0"));
}

TEST_F(LevelCommandTest, SilenceHasNoLevel) {
    std::vector<float> samples(kToneRate / 2);
    addTone(samples, 94, 0.5);
    writeWav("s.wav", samples, 1, kToneRate);
    ASSERT_EQ(level(kScale + "--weighting Z --every 500ms --clock 1").code, 0);
    Columns rows = tableOf("o/level.csv");
    for (const char* column : {"LZeq", "LZFmax", "LZF"}) {
        EXPECT_EQ(rows[column][0], -std::numeric_limits<double>::infinity()) << column;
        EXPECT_NEAR(rows[column][1], 94, 0.1) << column;
    }
    EXPECT_NEAR(rows["LZFTm1"][1], 94, 0.1);
}

TEST_F(LevelCommandTest, BandsStandBesideTheLevels) {
    std::vector<float> tone;
    addTone(tone, 94, 3);
    writeWav("s.wav", tone, 1, kToneRate);
    const Outcome outcome = level(kScale + "--bands");
    ASSERT_EQ(outcome.code, 0) << outcome.error;
    Columns rows = tableOf("o/level.csv");
    for (const double reading : rows["LZeq 1kHz"])
        EXPECT_NEAR(reading, 94, 0.05);
    for (const double reading : rows["LZeq 500Hz"])
        EXPECT_LT(reading, 54);
    EXPECT_NEAR(rowsOf("o/level_total.csv").at("LZeq 1kHz")[0], 94, 0.05);
    EXPECT_THAT(outcome.out, HasSubstr("\n1k "));
    EXPECT_TRUE(std::filesystem::exists(folder() / "o" / "level_bands.svg"));
}

// Bands and their table have the reference of the levels, however the scale is told.
TEST_F(LevelCommandTest, ASensitivityMakesBandsOfSoundPressure) {
    writeWav("s.wav", sine(16000, 2000, 0.5), 1, 8000);
    for (const char* scale :
         {"--sensitivity \"50 mV/Pa\" --range \"1 V\"",
          "--sensitivity \"50 mV / (Pa)\" --range \"1 V\"", "--full-scale 20 --unit Pa"}) {
        ASSERT_EQ(level(std::string(scale) + " --bands").code, 0) << scale;
        EXPECT_THAT(read(folder() / "o/level_bands.csv"), HasSubstr("[dB re 20 uPa]")) << scale;
        // 10 Pa of amplitude.
        EXPECT_NEAR(rowsOf("o/level_total.csv").at("LZeq 1kHz")[0], 110.97, 0.05) << scale;
        EXPECT_NEAR(rowsOf("o/level_bands.csv").at("1000")[0], 110.97, 0.05) << scale;
        const Outcome bands = vynhost("bands " + at("s.wav") + " " + scale);
        EXPECT_THAT(bands.out, HasSubstr("levels in dB re 20 uPa")) << bands.error;
    }
    EXPECT_THAT(level("--sensitivity \"50 mV/Pa\" --bands").error, HasSubstr("takes range beside"));
}

TEST_F(LevelCommandTest, ItsDiagramDoesTheSame) {
    writeWav("s.wav", signals::noise(4 * 8000, 3, -0.5F, 0.5F), 1, 8000);
    ASSERT_EQ(level(kScale + "--bands --every 1").code, 0);
    const Outcome diagram = level(kScale + "--bands --every 1 --diagram");
    ASSERT_EQ(diagram.code, 0) << diagram.error;
    write("d.toml", diagram.out);
    const Outcome run = vynhost("run " + at("d.toml") + " --out " + at("d"));
    ASSERT_EQ(run.code, 0) << run.error;
    for (const char* table : {"level_block.csv", "level_block_total.csv", "level_bands.csv"})
        EXPECT_EQ(read(folder() / "d" / table), read(folder() / "o" / table)) << table;
    const Columns totals = rowsOf("o/level_total.csv");
    EXPECT_NEAR(tableOf("d/level_block_total.csv")["total.A Lmax"][0], totals.at("LAFmax")[0],
                1e-4);
    Columns rows = tableOf("o/level.csv");
    const Columns block = tableOf("d/level_block.csv");
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_NEAR(block.at("level.A L")[i], rows["LAF"][i], 1e-4);
    EXPECT_NEAR(std::ranges::max(rows["LAFmax"]), totals.at("LAFmax")[0], 1e-4);
}

TEST_F(LevelCommandTest, WritesNothingThatNobodyAskedFor) {
    writeWav("s.wav", sine(4000, 500), 1, 8000);
    const Outcome outcome = vynhost("level " + at("s.wav"));
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_THAT(outcome.out, HasSubstr("total"));
    EXPECT_THAT(outcome.out, Not(HasSubstr("wrote")));
    EXPECT_FALSE(std::filesystem::exists("level.csv"));
    EXPECT_EQ(vynhost("level " + at("s.wav") + " --quiet").out, "");
}

TEST_F(LevelCommandTest, RefusesWhatMeansNothing) {
    writeWav("s.wav", sine(4000, 500), 1, 8000);
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"--weighting D", "--weighting D: must be one of A, B, C, Z"},
        {"--time X", "--time X: must be one of F, S, I"},
        {"--every 0s", "--every 0s: must be a time as 1s, 125ms, 5min or 1h"},
        {"--every 1e-5", "--every 1e-5: is shorter than a sample"},
        {"--clock 4", "--clock must be 1, 3 or 5"},
        {"--percentiles 0,50", "--percentiles must be above 0 and below 100"},
        {"--percentiles 100", "--percentiles must be above 0 and below 100"},
        {"--every soon", "--every soon: must be a time as 1s, 125ms, 5min or 1h"},
        {"--every 300h", "--every 300h: must be a time as 1s, 125ms, 5min or 1h"},
        {"--full-scale inf", "--full-scale must be finite numbers"},
        {"--unit V --calibration x.toml", "must be Pa, which is what calibration gives"},
        {"--channels 2", "channel 2 does not exist"},
        {"--memory 0", "--memory must be above 0"}};
    for (const auto& [option, what] : cases) {
        const Outcome outcome = level(option);
        EXPECT_EQ(outcome.code, 2) << option;
        EXPECT_THAT(outcome.error, AllOf(StartsWith("vynhost: "), HasSubstr(what))) << option;
    }
    const Outcome missing = level("", "none.wav");
    EXPECT_EQ(missing.code, 2);
    EXPECT_THAT(missing.error, EndsWith("none.wav: no such file" + kLineEnd));
    write("o.txt", "");
    writeWav("slow.wav", sine(4000, 500), 1, 2000);
    EXPECT_THAT(level("", "slow.wav").error,
                HasSubstr("vynhost level --diagram:"));  // of the weighting block, which says why
}

}  // namespace
}  // namespace vynhost::test
