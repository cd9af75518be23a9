// Calibrators recorded, calibrations written, and sources that name one.
#include <algorithm>
#include <cmath>
#include <numbers>
#include <sstream>

#include "interface/vynhost/run_fixture.h"
#include "vynhost/base/text.h"
#include "vynhost/command/calibrate.h"
#include "vynhost/diagram/calibration.h"

namespace vynhost::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

// 94 dB re 20 uPa.
const double kPressure = 2e-5 * std::pow(10.0, 94.0 / 20);

struct Tone {
    double fullScale = 20;  // Pa
    double frequency = 1000;
    double secondHarmonic = 0;  // of the tone
    double drift = 0;           // dB from its begin to its end
    int rate = 48000;
    double seconds = 2;
};

// Samples of full scale 1, of a calibrator of 94 dB in the middle of the recording.
std::vector<float> samplesOf(const Tone& tone) {
    std::vector<float> samples(static_cast<std::size_t>(std::lround(tone.seconds * tone.rate)));
    const double amplitude = std::sqrt(2.0) * kPressure / tone.fullScale;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double time = static_cast<double>(i) / tone.rate;
        const double angle = 2 * std::numbers::pi * tone.frequency * time + 0.3;
        const double level = tone.drift * (time / tone.seconds - 0.5);
        samples[i] =
            static_cast<float>(amplitude * std::pow(10.0, level / 20) *
                               (std::sin(angle) + tone.secondHarmonic * std::cos(2 * angle)));
    }
    return samples;
}

std::vector<float> interleaved(const std::vector<std::vector<float>>& channels) {
    std::vector<float> samples;
    for (std::size_t i = 0; i < channels.front().size(); ++i) {
        for (const auto& channel : channels)
            samples.push_back(channel[i]);
    }
    return samples;
}

class CalibrationTest : public RunTest {
protected:
    struct Outcome {
        int code = kSuccess;
        std::string out;
        std::string error;
    };

    Outcome calibrateFile(const std::string& name, double frequency = 1000, bool force = false,
                          double level = 94) const {
        std::ostringstream out;
        Outcome outcome;
        try {
            calibrate({.recording = textOf(folder() / name),
                       .level = level,
                       .frequency = frequency,
                       .out = textOf(folder() / "cal.toml"),
                       .force = force},
                      out);
        } catch (const RunError& error) {
            outcome.code = error.code();
            outcome.error = error.what();
        }
        outcome.out = out.str();
        return outcome;
    }
    Outcome calibrateTone(const Tone& tone, double frequency = 1000) const {
        writeWav("cal.wav", samplesOf(tone), 1, tone.rate);
        std::filesystem::remove(folder() / "cal.toml");
        std::filesystem::remove(folder() / ".vynhost-results");
        return calibrateFile("cal.wav", frequency);
    }
    Calibration written() const { return readCalibration(folder() / "cal.toml"); }
    bool isWritten() const { return std::filesystem::exists(folder() / "cal.toml"); }

    static double decibels(double value, double reference) {
        return 20 * std::log10(value / reference);
    }
};

// --- What is found --------------------------------------------------------------------------

TEST_F(CalibrationTest, FindsTheScaleOfEachChannel) {
    writeWav("cal.wav",
             interleaved({samplesOf({.fullScale = 20, .frequency = 1000.4}),
                          samplesOf({.fullScale = 6.3, .frequency = 1000.4}),
                          samplesOf({.fullScale = 200, .frequency = 1000.4})}),
             3, 48000);
    const Outcome outcome = calibrateFile("cal.wav");
    EXPECT_EQ(outcome.code, kSuccess) << outcome.error;
    EXPECT_THAT(outcome.out, StartsWith("channel 1: full scale is 20"));
    EXPECT_THAT(outcome.out, HasSubstr("wrote " + textOf(folder() / "cal.toml")));
    const Calibration calibration = written();
    EXPECT_EQ(calibration.recording, "cal.wav");
    EXPECT_EQ(calibration.rate, 48000);
    EXPECT_EQ(calibration.seconds, 2);
    EXPECT_EQ(calibration.level, 94);
    EXPECT_EQ(calibration.frequency, 1000);
    ASSERT_THAT(calibration.channels, SizeIs(3));
    const std::vector<double> scales = {20, 6.3, 200};
    for (std::size_t i = 0; i < scales.size(); ++i) {
        const Calibration::Channel& channel = calibration.channels[i];
        // 0.01 dB is a tenth of what calibrators are certified to.
        EXPECT_NEAR(decibels(channel.fullScale, scales[i]), 0, 0.01);
        EXPECT_NEAR(channel.frequency, 1000.4, 0.1);
        EXPECT_LT(channel.drift, 0.01);
        // Rounding to 16 bits: 1/sqrt(12) of a step, the third tone has an rms of 164 steps.
        EXPECT_LT(channel.distortion, 0.25);
        EXPECT_EQ(channel.recordedIn, "");
    }
}

TEST_F(CalibrationTest, HoldsAtEverySampleRateAndFrequency) {
    const std::vector<std::pair<int, double>> cases = {
        {8000, 1000},   {44100, 1000}, {44100, 997.3}, {96000, 250.7},
        {192000, 1000}, {48000, 31.5}, {48000, 114},   {48000, 16013}};
    for (const auto& [rate, frequency] : cases) {
        SCOPED_TRACE(std::to_string(rate) + " Hz, " + toText(frequency));
        const Outcome outcome = calibrateTone(
            {.fullScale = 31.7, .frequency = frequency, .rate = rate, .seconds = 7}, frequency);
        ASSERT_EQ(outcome.code, kSuccess) << outcome.error;
        EXPECT_NEAR(decibels(written().channels[0].fullScale, 31.7), 0, 0.01);
        EXPECT_NEAR(written().channels[0].frequency, frequency, 0.1);
    }
}

TEST_F(CalibrationTest, TheLevelIsTheCalibrators) {
    writeWav("cal.wav", samplesOf({.fullScale = 20}), 1, 48000);
    EXPECT_EQ(calibrateFile("cal.wav", 1000, false, 114).code, kSuccess);
    EXPECT_NEAR(decibels(written().channels[0].fullScale, 200), 0, 0.01);
}

TEST_F(CalibrationTest, DistortionUpToItsLimitIsToldAndChangesNoScale) {
    const Outcome outcome = calibrateTone({.secondHarmonic = 0.028});
    ASSERT_EQ(outcome.code, kSuccess) << outcome.error;
    EXPECT_NEAR(written().channels[0].fullScale, 20, 20 * 0.001);  // 0.01 dB
    EXPECT_NEAR(written().channels[0].distortion, 2.8, 0.01);
    EXPECT_THAT(outcome.out, HasSubstr("distortion and noise 2.80 %"));
    const Outcome more = calibrateTone({.secondHarmonic = 0.032});
    EXPECT_EQ(more.code, kDifferent);
    EXPECT_THAT(more.error, HasSubstr("cal.wav: channel 1 holds no calibrator's tone: distortion "
                                      "and noise are 3.2 %, more than 3 %"));
    EXPECT_FALSE(isWritten());
}

// Eight sections; the middles of the first and the last lie 7/8 of the drift apart.
TEST_F(CalibrationTest, DriftUpToItsLimitIsTold) {
    ASSERT_EQ(calibrateTone({.drift = -0.08}).code, kSuccess);
    EXPECT_NEAR(written().channels[0].drift, 0.07, 0.001);
    EXPECT_NEAR(decibels(written().channels[0].fullScale, 20), 0, 0.01);
    const Outcome more = calibrateTone({.drift = 0.16});
    EXPECT_EQ(more.code, kDifferent);
    EXPECT_THAT(more.error, HasSubstr("the level drifts by 0.14 dB, more than 0.1 dB"));
    EXPECT_FALSE(isWritten());
}

TEST_F(CalibrationTest, TheToneMayBeOffByTwoPercent) {
    EXPECT_EQ(calibrateTone({.frequency = 1019}).code, kSuccess);
    EXPECT_EQ(calibrateTone({.frequency = 981}).code, kSuccess);
    const Outcome high = calibrateTone({.frequency = 1021});
    EXPECT_EQ(high.code, kDifferent);
    EXPECT_THAT(high.error, HasSubstr("the strongest tone is at 1021 Hz, more than 2 % from 1000"));
    EXPECT_THAT(calibrateTone({.frequency = 250}).error, HasSubstr("is at 250 Hz"));
    EXPECT_EQ(calibrateTone({.frequency = 250}, 250).code, kSuccess);
}

TEST_F(CalibrationTest, ClippingIsNoTone) {
    std::vector<float> samples = samplesOf({.fullScale = std::sqrt(2.0) * kPressure / 1.001});
    for (float& sample : samples)
        sample = std::clamp(sample, -1.0F, 32767.0F / 32768);
    writeWav("cal.wav", samples, 1, 48000);
    const Outcome outcome = calibrateFile("cal.wav");
    EXPECT_EQ(outcome.code, kDifferent);
    EXPECT_THAT(outcome.error, HasSubstr("clipping: the values reach digital full scale"));
    EXPECT_FALSE(isWritten());
}

TEST_F(CalibrationTest, SilenceNoiseAndGapsAreNoTone) {
    std::vector<float> samples(96000);
    writeWav("cal.wav", samples, 1, 48000);
    EXPECT_THAT(calibrateFile("cal.wav").error, HasSubstr("there is silence in it"));
    writeWav("cal.wav", signals::noise(96000, 1, -0.5F, 0.5F), 1, 48000);
    EXPECT_EQ(calibrateFile("cal.wav").code, kDifferent);
    samples = samplesOf({});
    std::fill(samples.begin(), samples.begin() + 30000, 0.0F);
    writeWav("cal.wav", samples, 1, 48000);
    EXPECT_THAT(calibrateFile("cal.wav").error, HasSubstr("there is silence in it"));
    samples = samplesOf({});
    std::fill(samples.begin() + 40000, samples.begin() + 41000, 0.0F);
    writeWav("cal.wav", samples, 1, 48000);
    EXPECT_EQ(calibrateFile("cal.wav").code, kDifferent);
    EXPECT_FALSE(isWritten());
}

TEST_F(CalibrationTest, OneChannelWithoutAToneIsEnoughToWriteNothing) {
    writeWav("cal.wav", interleaved({samplesOf({}), std::vector<float>(96000)}), 2, 48000);
    const Outcome outcome = calibrateFile("cal.wav");
    EXPECT_EQ(outcome.code, kDifferent);
    EXPECT_THAT(outcome.out, AllOf(StartsWith("channel 1: full scale is 20"),
                                   HasSubstr("channel 2: no calibrator's tone: there is silence")));
    EXPECT_THAT(outcome.error, HasSubstr("channel 2 holds no calibrator's tone: there is silence"));
    EXPECT_FALSE(isWritten());
}

TEST_F(CalibrationTest, WhatIsTooShortIsNoCalibratorsRecording) {
    const Outcome outcome = calibrateTone({.seconds = 0.99});
    EXPECT_EQ(outcome.code, kDifferent);
    EXPECT_THAT(
        outcome.error,
        HasSubstr("cal.wav: is too short to calibrate by: 0.99 s, at least 1 s are needed"));
    EXPECT_EQ(calibrateTone({.seconds = 1}).code, kSuccess);
    EXPECT_THAT(calibrateTone({.frequency = 31.5, .seconds = 6}, 31.5).error,
                HasSubstr("at least 6.35 s"));
}

TEST_F(CalibrationTest, ATableIsCalibratedInItsOwnUnit) {
    const std::vector<float> samples = samplesOf({.fullScale = 0.05, .rate = 8000});  // 20 V/Pa
    std::string table = "t [s],mic [V]\n";
    for (std::size_t i = 0; i < samples.size(); ++i) {
        table += toText(static_cast<double>(i) / 8000) + "," + toText(samples[i]) + "\n";
    }
    write("cal.csv", table);
    const Outcome outcome = calibrateFile("cal.csv");
    EXPECT_EQ(outcome.code, kSuccess) << outcome.error;
    EXPECT_THAT(outcome.out, StartsWith("channel 1 (mic): 1 V is 0.05 Pa; "));
    EXPECT_EQ(written().channels[0].recordedIn, "V");
    write("cal.csv", table + "12,nan\n");
    EXPECT_EQ(calibrateFile("cal.csv").code, kWrongInput);
    // A cell that holds nothing, and what lies beyond any scale.
    write("cal.csv", std::string(table).replace(table.rfind(',') + 1, std::string::npos, "\n"));
    EXPECT_THAT(calibrateFile("cal.csv").error, HasSubstr("holds values that are no numbers"));
    EXPECT_EQ(errorOf("[source.s]\nfile = \"s.wav\"\ncalibration = \"cal.toml\"\n[sink.x]\n"
                      "from = \"s\"\ncsv = \"x.csv\"\n"),
              "d.toml:2: source.s.file: s.wav: no such file");
    writeWav("s.wav", {0.5F});
    EXPECT_EQ(errorOf("[source.s]\nfile = \"s.wav\"\ncalibration = \"cal.toml\"\n[sink.x]\n"
                      "from = \"s\"\ncsv = \"x.csv\"\n"),
              "d.toml:3: source.s.calibration: channel 1 is recorded in full scale, and was "
              "calibrated in V");
}

TEST_F(CalibrationTest, WhatMakesNoSenseIsRefused) {
    writeWav("cal.wav", samplesOf({.rate = 8000}), 1, 8000);
    EXPECT_EQ(calibrateFile("other.wav").code, kWrongInput);
    EXPECT_THAT(calibrateFile("other.wav").error, HasSubstr("other.wav: no such file"));
    EXPECT_THAT(calibrateFile("cal.wav", 4000).error, HasSubstr("half the sample rate (4000 Hz)"));
    EXPECT_THAT(calibrateFile("cal.wav", 19).error, HasSubstr("--frequency must be 20 or above"));
    EXPECT_THAT(calibrateFile("cal.wav", std::nan("")).error, HasSubstr("--frequency"));
    EXPECT_THAT(calibrateFile("cal.wav", 1000, false, 201).error, HasSubstr("--level must be"));
    EXPECT_THAT(calibrateFile("cal.wav", 1000, false, std::nan("")).error, HasSubstr("--level"));
    EXPECT_FALSE(isWritten());
}

TEST_F(CalibrationTest, ReplacesItsOwnFileAlone) {
    writeWav("cal.wav", samplesOf({}), 1, 48000);
    write("cal.toml", "mine");
    const Outcome refused = calibrateFile("cal.wav");
    EXPECT_EQ(refused.code, kWrongInput);
    EXPECT_THAT(refused.error, HasSubstr("--force replaces it"));
    EXPECT_EQ(read(folder() / "cal.toml"), "mine");
    EXPECT_EQ(calibrateFile("cal.wav", 1000, true).code, kSuccess);
    EXPECT_EQ(calibrateFile("cal.wav", 1000, false, 114).code, kSuccess);
    EXPECT_EQ(written().level, 114);
    writeWav("cal.toml", samplesOf({}), 1, 48000);
    EXPECT_THAT(calibrateFile("cal.toml", 1000, true).error, HasSubstr("is the recording"));
}

// --- The file -------------------------------------------------------------------------------

const std::string kFile =
    "[calibration]\nrecording = \"cal.wav\"\nrate = 48000\nseconds = 2\nlevel = 94\n"
    "frequency = 1000\n\n[[channel]]\nfull_scale = 20\nfrequency = 1000.4\ndrift = 0.003\n"
    "distortion = 0.1\n";

TEST_F(CalibrationTest, AFileReadsBackAsItWasWritten) {
    const Calibration calibration{
        .recording = "a \"b\" \\c\n.wav",
        .rate = 44100,
        .seconds = 12.5,
        .level = 113.97,
        .frequency = 250,
        .channels = {{20.0123456, "", 250.1, 0.01, 0.5}, {3e-5, "V", 249.9, 0, 1}}};
    const Calibration back = readCalibration(write("c.toml", fileTextOf(calibration)));
    EXPECT_EQ(back.recording, "a \"b\" \\c\\x0a.wav");
    EXPECT_EQ(back.seconds, 12.5);
    ASSERT_THAT(back.channels, SizeIs(2));
    EXPECT_EQ(back.channels[0].fullScale, 20.0123456);
    EXPECT_EQ(back.channels[1].fullScale, 3e-5);
    EXPECT_EQ(back.channels[1].recordedIn, "V");
    EXPECT_EQ(back.channels[0].distortion, 0.5);
}

TEST_F(CalibrationTest, AFileIsReadStrictly) {
    const auto errorOfFile = [&](const std::string& text) -> std::string {
        try {
            readCalibration(write("c.toml", text));
        } catch (const InputError& error) {
            std::string what = error.what();
            EXPECT_EQ(what.find('\n'), std::string::npos);
            return what.substr(what.find("c.toml"));
        }
        return "";
    };
    const auto with = [](const std::string& old, const std::string& now) {
        std::string text = kFile;
        const std::size_t at = text.find(old);
        EXPECT_NE(at, std::string::npos) << old;
        return text.replace(at, old.size(), now);
    };
    EXPECT_EQ(errorOfFile(kFile), "");
    EXPECT_EQ(errorOfFile(with("full_scale = 20", "full_scale = 0")),
              "c.toml:9: channel.full_scale: must be from 1e-30 to 1e+30");
    EXPECT_EQ(errorOfFile(with("full_scale = 20", "full_scale = nan")),
              "c.toml:9: channel.full_scale: must be from 1e-30 to 1e+30");
    EXPECT_EQ(errorOfFile(with("full_scale = 20", "full_scale = \"20\"")),
              "c.toml:9: channel.full_scale: must be a number");
    EXPECT_EQ(errorOfFile(with("full_scale = 20\n", "")),
              "c.toml:8: channel: full_scale is missing");
    EXPECT_EQ(errorOfFile(with("drift", "drft")),
              "c.toml:11: channel.drft: no such key, did you mean drift?");
    EXPECT_EQ(errorOfFile(with("level = 94", "level = inf")),
              "c.toml:5: calibration.level: must be from -300 to 300");
    EXPECT_EQ(errorOfFile(with("[[channel]]", "[channel]")),
              "c.toml: must have a [[channel]] for each channel, 1 to 1024");
    EXPECT_EQ(errorOfFile("[calibration]\n" + kFile).substr(0, 9), "c.toml:2:");
    EXPECT_EQ(errorOfFile(kFile + "[more]\n"), "c.toml:13: more: no such key");
    EXPECT_EQ(errorOfFile(""), "c.toml: is no calibration: it has no [calibration]");
    EXPECT_EQ(errorOfFile("calibration = 3\n"),
              "c.toml: is no calibration: it has no [calibration]");
    const std::string kHead = kFile.substr(0, kFile.find("[[channel]]"));
    const std::string kNone = "c.toml: must have a [[channel]] for each channel, 1 to 1024";
    EXPECT_EQ(errorOfFile(kHead), kNone);
    EXPECT_EQ(errorOfFile("channel = []\n" + kHead), kNone);
    EXPECT_EQ(errorOfFile("channel = [1]\n" + kHead), "c.toml:1: channel: must be a table");
    EXPECT_THAT(errorOfFile(kFile + std::string(std::size_t{1} << 20, '#')),
                HasSubstr("is larger than"));
    EXPECT_THAT(errorOfFile(kFile + "x = " + std::string(100, '[')), HasSubstr("brackets"));
}

// --- Sources --------------------------------------------------------------------------------

const std::string kSink = "[sink.x]\nfrom = \"s\"\ncsv = \"x.csv\"\n";

TEST_F(CalibrationTest, ACalibratedRecordingReadsItsLevelInASpectrum) {
    writeWav("cal.wav",
             interleaved({samplesOf({.fullScale = 31.7}), samplesOf({.fullScale = 4.9})}), 2,
             48000);
    ASSERT_EQ(calibrateFile("cal.wav").code, kSuccess);
    run("[source.s]\nfile = \"cal.wav\"\nblock = 8192\ncalibration = \"cal.toml\"\n"
        "[block.f]\ntype = \"FFT\"\nPkAmplType = \"RMS\"\nPkWndFct = \"FLATTOP\"\n"
        "PkWndCorrectTyp = \"amplitude\"\n[wire]\n\"f.E\" = \"s\"\n"
        "[sink.x]\nfrom = \"f.S\"\ncsv = \"x.csv\"\naverage = \"power\"\ny = \"dB\"\n"
        "reference = 2e-5\n",
        [](const RunResult& result) {
            EXPECT_THAT(result.tables[0], HasSubstr("dB re 20 uPa"));
            EXPECT_THAT(result.notes[0], HasSubstr(", calibrated by "));
            for (const Series& series : result.series(0)) {
                // A flat-top window is flat to 0.01 dB between its lines.
                EXPECT_NEAR(series.quantity.level(std::ranges::max(series.y), 2e-5), 94.0, 0.01);
            }
        });
}

TEST_F(CalibrationTest, ChannelsAreTakenByTheirNumber) {
    std::string two = kFile;
    two += kFile.substr(kFile.find("[[channel]]"));
    two.replace(two.rfind("full_scale = 20"), 15, "full_scale = 50");
    write("cal.toml", two);
    writeWav("s.wav", {0.5F, 0.25F, 0.125F, 0.5F}, 2);
    const std::string source = "[source.s]\nfile = \"s.wav\"\ncalibration = \"cal.toml\"\n";
    run(source + kSink, [](const RunResult& result) {
        EXPECT_THAT(valuesOf(result, "s"), ElementsAre(10, 12.5, 2.5, 25));
        EXPECT_THAT(result.tables[0], StartsWith("t [s],s 1 [Pa],s 2 [Pa]\n"));
        const ChannelHeader& head = result.collected({"s", "", {}}).blocks[0].header;
        EXPECT_EQ(head.displayMinimum, -50);
        EXPECT_EQ(head.displaySpan, 100);
    });
    run(source + "channels = [2]\nunit = \"Pa\"\n" + kSink,
        [](const RunResult& result) { EXPECT_THAT(valuesOf(result, "s"), ElementsAre(12.5, 25)); });
    writeWav("s.wav", {0.5F, 0.25F, 0.125F}, 3);
    EXPECT_EQ(errorOf(source + kSink),
              "d.toml:3: source.s.calibration: cal.toml is of 2 channels, and channel 3 is none");
    EXPECT_EQ(errorOf(source + "channels = [2, 1]\n" + kSink), "");
    writeWav("s.wav", {0.5F, 0.25F, 0.125F}, 1);
    EXPECT_EQ(errorOf(source + kSink),
              "d.toml:3: source.s.calibration: cal.toml is of 2 channels, s.wav has 1");
    write("cal.toml", "[calibration]\n");
    EXPECT_EQ(errorOf(source + kSink),
              "d.toml:3: source.s.calibration: cal.toml:1: calibration: recording is missing");
    std::filesystem::remove(folder() / "cal.toml");
    EXPECT_EQ(errorOf(source + kSink), "d.toml:3: source.s.calibration: cal.toml: no such file");
}

TEST_F(CalibrationTest, FullScaleIsANumberOrOnePerChannel) {
    writeWav("s.wav", {0.5F, 0.25F, 0.125F, 0.5F}, 2);
    const auto values = [&](const std::string& lines) {
        std::vector<float> found;
        run("[source.s]\nfile = \"s.wav\"\n" + lines + kSink,
            [&](const RunResult& result) { found = valuesOf(result, "s"); });
        return found;
    };
    EXPECT_THAT(values("full_scale = [2, -4.0]\n"), ElementsAre(1, -1, 0.25, -2));
    EXPECT_THAT(values("full_scale = [2, 4]\nchannels = [2, 1]\n"), ElementsAre(0.5, 2, 1, 0.5));
    EXPECT_THAT(values("full_scale = [2]\n"), ElementsAre(1, 0.5, 0.25, 1));
    const auto error = [&](const std::string& line) {
        return errorOf("[source.s]\nfile = \"s.wav\"\n" + line + kSink);
    };
    EXPECT_EQ(error("full_scale = [1, 2, 3]\n"),
              "d.toml:3: source.s.full_scale: 3 values for 2 channels");
    EXPECT_EQ(error("full_scale = [1, 2]\nchannels = [1]\n"),
              "d.toml:3: source.s.full_scale: 2 values for 1 channels");
    EXPECT_EQ(error("full_scale = []\n"),
              "d.toml:3: source.s.full_scale: must hold a value per channel, at most 1024");
    EXPECT_EQ(error("full_scale = [1, \"2\"]\n"),
              "d.toml:3: source.s.full_scale: must be a number or a list of numbers");
    EXPECT_EQ(error("full_scale = [1, nan]\n"),
              "d.toml:3: source.s.full_scale: must be a finite number other than 0");
}

TEST_F(CalibrationTest, ASensitivityAndARangeMakeAFullScale) {
    writeWav("s.wav", {0.5F, 0.25F}, 2);
    const auto table = [&](const std::string& lines) {
        std::string found;
        run("[source.s]\nfile = \"s.wav\"\n" + lines + kSink,
            [&](const RunResult& result) { found = result.tables[0]; });
        return found;
    };
    EXPECT_EQ(table("sensitivity = \"50 mV/Pa\"\nrange = \"10 V\"\n"),
              "t [s],s 1 [Pa],s 2 [Pa]\n0,100,50\n");
    EXPECT_EQ(table("sensitivity = [\"50 mV/Pa\", \"0.1V/Pa\"]\nrange = \"10 V\"\nunit = \"Pa\"\n"),
              "t [s],s 1 [Pa],s 2 [Pa]\n0,100,25\n");
    EXPECT_EQ(table("sensitivity = \"10 mV/(m/s^2)\"\nrange = [\"1 V\", \"500 mV\"]\n"),
              "t [s],s 1 [m/s^2],s 2 [m/s^2]\n0,50,12.5\n");
    EXPECT_EQ(table("sensitivity = \"4 pC/N\"\nrange = \"0.002 \xC2\xB5"
                    "C\"\n"),
              "t [s],s 1 [N],s 2 [N]\n0,250,125\n");
    const auto error = [&](const std::string& lines) {
        return errorOf("[source.s]\nfile = \"s.wav\"\n" + lines + kSink);
    };
    const std::string range = "range = \"10 V\"\n";
    for (const char* wrong : {"50 mV", "50/Pa", "mV/Pa", "-50 mV/Pa", "0 mV/Pa", "50 mV/",
                              "50 X/Pa", "50 qV/Pa", "nan V/Pa", "50 mV/ ", ""}) {
        EXPECT_THAT(error("sensitivity = \"" + std::string(wrong) + "\"\n" + range),
                    StartsWith("d.toml:3: source.s.sensitivity: must be volts"))
            << wrong;
    }
    EXPECT_EQ(error("sensitivity = \"50 mV/Pa\"\nrange = \"10\"\n"),
              "d.toml:4: source.s.range: must be what full scale is at the input, like \"10 V\"");
    EXPECT_EQ(error("sensitivity = \"50 mV/Pa\"\nrange = \"10 mA\"\n"),
              "d.toml:4: source.s.range: is in A, the sensitivity in V");
    EXPECT_EQ(error("sensitivity = \"50 mV/Pa\"\nrange = [\"10 V\", \"1 V\", \"1 V\"]\n"),
              "d.toml:3: source.s.sensitivity: 3 values for 2 channels");
    EXPECT_EQ(error("sensitivity = [\"50 mV/Pa\", \"50 mV/g\"]\n" + range),
              "d.toml:3: source.s.sensitivity: channels of one source have one unit, not Pa and g");
}

TEST_F(CalibrationTest, ContradictionsBetweenScalesAreRefused) {
    writeWav("s.wav", {0.5F});
    write("cal.toml", kFile);
    const auto error = [&](const std::string& lines) {
        return errorOf("[source.s]\nfile = \"s.wav\"\n" + lines + kSink);
    };
    const std::string calibration = "calibration = \"cal.toml\"\n";
    const std::string sensitivity = "sensitivity = \"50 mV/Pa\"\n";
    EXPECT_EQ(error(calibration), "");
    EXPECT_EQ(error(calibration + "full_scale = 20.0\n"),
              "d.toml:3: source.s.calibration: is given beside full_scale; one of them says what "
              "the values are");
    EXPECT_THAT(error("full_scale = 20.0\nrange = \"10 V\"\n" + sensitivity),
                StartsWith("d.toml:5: source.s.sensitivity: is given beside full_scale;"));
    EXPECT_THAT(error(calibration + sensitivity + "range = \"10 V\"\n"),
                StartsWith("d.toml:4: source.s.sensitivity: is given beside calibration;"));
    EXPECT_EQ(error(sensitivity), "d.toml:3: source.s.sensitivity: takes range beside it");
    EXPECT_EQ(error("range = \"10 V\"\n"), "d.toml:3: source.s.range: takes sensitivity beside it");
    EXPECT_EQ(error(calibration + "unit = \"V\"\n"),
              "d.toml:4: source.s.unit: must be Pa, which is what calibration gives");
    EXPECT_EQ(error(sensitivity + "range = \"10 V\"\nunit = \"g\"\n"),
              "d.toml:5: source.s.unit: must be Pa, which is what sensitivity gives");
    EXPECT_EQ(error("calibration = \"\"\n"),
              "d.toml:3: source.s.calibration: must be the name of a file");
    EXPECT_EQ(errorOf("[source.s]\nnoise = { rms = 1.0 }\nrate = 100.0\nseconds = 1.0\n" +
                      calibration + kSink),
              "d.toml:5: source.s.calibration: noise alone is in its unit already");
}

}  // namespace
}  // namespace vynhost::test
