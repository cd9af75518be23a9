// Spectra, bands and transfer functions by one command each, and how a source cuts what they are
// made of.
#include <algorithm>
#include <cmath>
#include <numbers>

#include "interface/vynhost/program_fixture.h"
#include "vynhost/run/source.h"

namespace vynhost::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr int kSpectraRate = 8000;

double levelOf(double ratio) { return 10 * std::log10(ratio); }

std::vector<float> tonesOf(std::initializer_list<std::pair<double, double>> frequencyAndAmplitude,
                           double seconds = 3) {
    std::vector<float> samples(static_cast<std::size_t>(seconds * kSpectraRate));
    for (const auto& [frequency, amplitude] : frequencyAndAmplitude) {
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const double turns = frequency * static_cast<double>(i) / kSpectraRate;
            samples[i] +=
                static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * turns + 0.7));
        }
    }
    return samples;
}

// --- Data blocks that overlap ---------------------------------------------------------------

class OverlapTest : public DiagramTest {
protected:
    std::vector<std::vector<float>> blocksOf(const std::string& lines, int samples = 10) {
        std::vector<float> ramp;
        for (int i = 0; i < samples; ++i)
            ramp.push_back(static_cast<float>(i) / 16);
        writeWav("s.wav", ramp);
        const Diagram diagram = parseDiagram(
            "[source.s]\nfile = \"s.wav\"\nfull_scale = 16.0\n" + lines, folder() / "d.toml");
        Source source(diagram.sources.at(0), diagram.sources.at(0).file);
        std::vector<std::vector<float>> blocks;
        while (!source.ended()) {
            const auto block = source.next();
            if (block) blocks.push_back(block->values);
            if (block) starts.push_back(block->header.xStart * kSpectraRate);
        }
        note = source.note();
        return blocks;
    }
    std::vector<double> starts;
    std::string note;
};

TEST_F(OverlapTest, EachDataBlockBeginsAStepBehindTheOneBefore) {
    EXPECT_THAT(
        blocksOf("block = 4\nstep = 3\n"),
        ElementsAre(ElementsAre(0, 1, 2, 3), ElementsAre(3, 4, 5, 6), ElementsAre(6, 7, 8, 9)));
    EXPECT_THAT(starts, ElementsAre(0, 3, 6));
    EXPECT_THAT(note, HasSubstr("1 channel; 3 whole data blocks, one every 3 samples"));
    EXPECT_THAT(blocksOf("block = 4\nstep = 1\n"), SizeIs(7));
    EXPECT_THAT(blocksOf("block = 5\nstep = 5\n"), SizeIs(2));
}

TEST_F(OverlapTest, TheRestIsLeftOutUnlessTheDiagramSaysOtherwise) {
    EXPECT_THAT(blocksOf("block = 4\nstep = 2\n", 9), SizeIs(3));
    EXPECT_THAT(note, HasSubstr("; the last 1 left out"));
    EXPECT_THAT(blocksOf("block = 4\nstep = 2\ntail = \"keep\"\n", 9).back(), ElementsAre(6, 7, 8));
    EXPECT_THAT(blocksOf("block = 4\nstep = 2\ntail = \"pad\"\n", 9).back(),
                ElementsAre(6, 7, 8, 0));
    EXPECT_THAT(blocksOf("block = 16\nstep = 2\n", 9), SizeIs(1));  // all there is
}

TEST_F(OverlapTest, AsManyDataBlocksAsTheDiagramAllows) {
    EXPECT_THAT(blocksOf("block = 4\nstep = 2\nblocks = 2\n"),
                ElementsAre(ElementsAre(0, 1, 2, 3), ElementsAre(2, 3, 4, 5)));
    EXPECT_THAT(blocksOf("block = 4\nblocks = 1\n"), SizeIs(1));
    EXPECT_THAT(note, HasSubstr("; the first 1 data blocks of it"));
}

TEST_F(OverlapTest, WhatNeedsTimeInOrderRefusesThem) {
    writeWav("s.wav", sine(64, 4));
    const std::string source = "[source.s]\nfile = \"s.wav\"\nblock = 8\nstep = 4\n";
    const std::string sink = "[sink.x]\ncsv = \"x.csv\"\nfrom = ";
    const std::string level = "[block.b]\ntype = \"Pegel\"\n[wire]\n\"b.E\" = \"s\"\n";
    EXPECT_EQ(errorOf(source + level + sink + "\"b.A\"\n"),
              "d.toml:4: source.s.step: data blocks that overlap go to FFT and FFT zweier "
              "Zeitsignale alone, not to b");
    EXPECT_THAT(errorOf(source + sink + "\"s\"\n"), HasSubstr("alone, not to sink.x"));
    const std::string back =
        "[block.f]\ntype = \"FFT\"\nPkAmplType = \"REALIMAGINAER\"\n[block.i]\ntype = \"Inverse "
        "FFT\"\n[wire]\n\"f.E\" = \"s\"\n\"i.R\" = \"f.R\"\n\"i.I\" = \"f.I\"\n";
    EXPECT_THAT(errorOf(source + back + sink + "\"i.A\"\n"),
                HasSubstr("i can't make one signal of data blocks that overlap"));
    const std::string two =
        "[source.t]\nfile = \"s.wav\"\nblock = 8\n[block.f]\ntype = \"FFT zweier Zeitsignale\"\n"
        "[wire]\n\"f.E\" = \"s\"\n\"f.A\" = \"t\"\n";
    EXPECT_THAT(errorOf(source + two + sink + "\"f.A\"\n"),
                HasSubstr("the two signals of f have one step"));
    EXPECT_THAT(errorOf("[source.s]\nfile = \"s.wav\"\nblock = 8\nstep = 9\n" + sink + "\"s\"\n"),
                HasSubstr("source.s.step: must be a whole number from 1 to 8"));
    EXPECT_THAT(errorOf(source + "noise = { rms = 1.0 }\n" + sink + "\"s\"\n"),
                HasSubstr("data blocks that overlap can't have noise of their own"));
}

// --- The commands ---------------------------------------------------------------------------

class SpectraTest : public ProgramTest {
protected:
    Outcome measure(const std::string& command, const std::string& options = "") const {
        return vynhost(command + " " + at("s.wav") + " --force --out " + at("o") + " " + options);
    }
};

TEST_F(SpectraTest, PeaksReadTheTonesBetweenTheLines) {
    // Lines every 7.8125 Hz. Of 0.8: -4.949 dB; 36 dB below it the second tone.
    writeWav("s.wav", tonesOf({{1003.3, 0.8}, {2222.2, 0.0125}}), 1, kSpectraRate);
    for (const std::string options : {"", "--window FLATTOP", "--window blackman --overlap 75",
                                      "--window HAMMING", "--averages 5"}) {
        SCOPED_TRACE(options);
        const Outcome outcome = measure("spectrum", "--length 1024 " + options);
        ASSERT_EQ(outcome.code, 0) << outcome.error;
        Columns peaks = tableOf("o/spectrum_peaks.csv");
        ASSERT_THAT(peaks["f"], SizeIs(2));
        EXPECT_NEAR(peaks["f"][0], 1003.3, 0.02);
        EXPECT_NEAR(peaks["level"][0], levelOf(0.32), 0.01);
        EXPECT_NEAR(peaks["f"][1], 2222.2, 0.2);  // beside what the first one leaks
        EXPECT_NEAR(peaks["level"][1], levelOf(0.0125 * 0.0125 / 2), 0.1);
    }
}

TEST_F(SpectraTest, PeaksAreRightWhereverTheyLie) {
    for (const double offset : {0.0, 0.1, 0.3, 0.5, 0.7, 0.95}) {
        const double frequency = (100 + offset) * kSpectraRate / 1024;
        writeWav("s.wav", tonesOf({{frequency, 0.5}}, 1), 1, kSpectraRate);
        const Outcome outcome =
            measure("spectrum", "--length 1024 --full-scale 2 --unit Pa --peaks 1");
        ASSERT_EQ(outcome.code, 0) << outcome.error;
        Columns peaks = tableOf("o/spectrum_peaks.csv");
        EXPECT_NEAR(peaks["f"].at(0), frequency, 0.01);
        EXPECT_NEAR(peaks["level"].at(0), 90.969, 0.005);  // 1 Pa of amplitude
        EXPECT_THAT(outcome.out, HasSubstr("dB re 20 uPa"));
    }
}

TEST_F(SpectraTest, BandsOfWhiteNoiseHoldWhatTheirWidthSays) {
    writeWav("s.wav", signals::noise(30 * kSpectraRate, 11, -0.5F, 0.5F), 1, kSpectraRate);
    const double density = (1.0 / 12) / (kSpectraRate / 2.0);  // of even numbers
    ASSERT_EQ(measure("bands", "--length 8192").code, 0);
    Columns bands = tableOf("o/bands.csv");
    const auto level = [&](const char* column, double centre) {
        const auto& f = bands["f"];
        return bands[column].at(static_cast<std::size_t>(std::ranges::find(f, centre) - f.begin()));
    };
    // 30 s of 230 Hz are 6900 independent values: 0.05 dB; the tolerance is four times that.
    EXPECT_NEAR(level("bands.A", 1000), levelOf(density * (1120 - 890)), 0.2);
    EXPECT_NEAR(level("bands.A", 2500), levelOf(density * (2820 - 2240)), 0.2);
    const Outcome octaves = measure("bands", "--octaves --weighting A");
    ASSERT_EQ(octaves.code, 0) << octaves.error;
    bands = tableOf("o/bands.csv");
    EXPECT_NEAR(level("bands.A", 1000), levelOf(density * (1420 - 710)), 0.2);
    EXPECT_THAT(octaves.out, AllOf(HasSubstr("LA"), HasSubstr("\nsum ")));
}

// y(n) = (x(n) + x(n-1)) / 2 has the gain cos(pi f / fs) and half a sample of delay.
TEST_F(SpectraTest, TransferFindsAFilterBehindNoise) {
    const std::vector<float> x = signals::noise(40 * kSpectraRate, 5, -0.5F, 0.5F);
    const std::vector<float> n = signals::noise(40 * kSpectraRate, 6, -0.1F, 0.1F);
    std::vector<float> both;
    for (std::size_t i = 0; i < x.size(); ++i)
        both.insert(both.end(), {(x[i] + (i > 0 ? x[i - 1] : 0)) / 2 + n[i], x[i]});
    writeWav("s.wav", both, 2, kSpectraRate);
    const Outcome outcome = measure("transfer", "--excitation 2 --response 1 --length 512");
    ASSERT_EQ(outcome.code, 0) << outcome.error;
    Columns table = tableOf("o/transfer.csv");
    for (const std::size_t line : {16U, 64U, 128U}) {  // 250, 1000, 2000 Hz
        const double angle = std::numbers::pi * static_cast<double>(line) / 512;
        const double gain = std::cos(angle) * std::cos(angle);
        const double coherence = gain / (gain + 0.04);  // noise of a fifth beside it
        // 1250 averages, half of them new: 1 / sqrt(2 * 600) * sqrt(1 / coherence - 1), 0.07 dB.
        EXPECT_NEAR(table["h1.A"][line], levelOf(gain), 0.25);
        EXPECT_NEAR(table["h1.K"][line], coherence, 0.01);
        EXPECT_NEAR(table["h1.P"][line], -angle * 180 / std::numbers::pi, 1.5);
        // Noise on the response: H2 is too large by the coherence, exactly.
        EXPECT_NEAR(table["h1.A"][line] - table["h2.A"][line], 2 * levelOf(table["h1.K"][line]),
                    1e-3);
    }
    EXPECT_THAT(
        outcome.out,
        HasSubstr("channel 1 over channel 2; 1249 spectra, averaged, lines every 15.625 Hz; "));
    EXPECT_THAT(measure("transfer", "--response 3").error,
                HasSubstr("--response 3: " + textOf(folder() / "s.wav") + " has 2 channels"));
}

TEST_F(SpectraTest, TheirDiagramsDoTheSame) {
    writeWav("s.wav", signals::noise(4 * kSpectraRate, 2, -0.5F, 0.5F), 2, kSpectraRate);
    for (const std::string command : {"spectrum", "bands", "transfer"}) {
        const Outcome measured = measure(command, "--overlap 66");
        ASSERT_EQ(measured.code, 0) << measured.error;
        const Outcome diagram = measure(command, "--overlap 66 --diagram");
        EXPECT_THAT(diagram.out, HasSubstr("step = "));
        write("d.toml", diagram.out);
        ASSERT_EQ(vynhost("run " + at("d.toml") + " --out " + at("d")).code, 0);
        for (const char* ending : {".csv", ".svg"}) {
            EXPECT_EQ(read(folder() / "d" / (command + ending)),
                      read(folder() / "o" / (command + ending)));
        }
    }
}

// A channel's scale goes with it: by its number, or by its place among those that are chosen.
TEST_F(SpectraTest, EveryChannelOfATransferFunctionHasItsScale) {
    const std::vector<float> noise = signals::noise(2 * kSpectraRate, 3, -0.4F, 0.4F);
    std::vector<float> three;
    for (const float value : noise)
        three.insert(three.end(), {value, value / 2, value});
    writeWav("s.wav", three, 3, kSpectraRate);
    const auto gainWith = [&](const std::string& options) {
        const Outcome outcome = measure("transfer", "--length 1024 " + options);
        EXPECT_EQ(outcome.code, 0) << outcome.error;
        return tableOf("o/transfer.csv")["h1.A"].at(100);
    };
    EXPECT_NEAR(gainWith("--response 3"), 0, 0.01);
    EXPECT_NEAR(gainWith("--response 3 --full-scale 10"), 0, 0.01);
    EXPECT_NEAR(gainWith("--response 3 --full-scale 10,1,20"), 6.02, 0.01);
    EXPECT_NEAR(gainWith("--excitation 2 --response 3 --full-scale 1,5,5"), 6.02, 0.01);
    const Outcome missing = measure("transfer", "--response 3 --full-scale 10,1");
    EXPECT_EQ(missing.code, 2);
    EXPECT_THAT(missing.error, HasSubstr("--full-scale has no value for channel 3"));
}

TEST_F(SpectraTest, ARecordingWithoutARateIsGivenOne) {
    std::string table = "tone\n";
    for (const float value : tonesOf({{1000, 0.5}}, 1))
        table += toText(value) + "\n";
    write("s.csv", table);
    const auto peakOf = [&](const std::string& options) {
        const Outcome outcome = vynhost("spectrum " + at("s.csv") + " --length 1024 --peaks 1 " +
                                        options + " --force --out " + at("o"));
        EXPECT_EQ(outcome.code, 0) << outcome.error;
        return tableOf("o/spectrum_peaks.csv")["f"].at(0);
    };
    EXPECT_NEAR(peakOf("--rate 8000"), 1000, 0.05);
    EXPECT_NEAR(peakOf("--rate 4000"), 500, 0.05);
    EXPECT_EQ(vynhost("spectrum " + at("s.csv")).code, 2);
    write("d.toml",
          "[source.s]\nfile = \"s.csv\"\nrate = 8000.0\n[source.t]\nfile = \"s.csv\"\n"
          "rate = 1000.0\nlength = 0.1\n[sink.x]\nfrom = \"s\"\nmat = \"s.mat\"\n"
          "[sink.y]\nfrom = \"t\"\ncsv = \"t.csv\"\n");
    ASSERT_EQ(vynhost("run " + at("d.toml") + " --quiet --out " + at("o")).code, 0);
    const Outcome mat =
        vynhost("spectrum " + at("o/s.mat") + " --variable values --length 1024 --peaks 1");
    EXPECT_EQ(mat.code, 0) << mat.error;
    EXPECT_THAT(mat.out, HasSubstr("1000.0"));
}

TEST_F(SpectraTest, RefuseWhatMeansNothing) {
    writeWav("s.wav", sine(4000, 500), 1, kSpectraRate);
    EXPECT_EQ(vynhost("spectrum --overlap 0 --length 512 " + at("s.wav")).code, 0);
    for (const auto& [words, what] : std::vector<std::pair<std::string, std::string>>{
             {"spectrum --length 8", "--length must be from 64 to 16777216 samples"},
             {"spectrum --length 20000000", "--length must be from 64 to 16777216 samples"},
             {"spectrum --overlap -1", "--overlap must be from 0 to 99, in %"},
             {"spectrum --peaks -1", "--peaks must not be below 0"},
             {"transfer --excitation 0", "--excitation 0: "},
             {"spectrum --overlap 100", "--overlap must be from 0 to 99, in %"},
             {"spectrum --averages -1", "--averages must be above 0"},
             {"spectrum --window SQUARE", "block.spectrum.PkWndFct: "},
             {"bands --weighting C", "--weighting C: must be one of Z, A"},
             {"transfer", "--response 2: "},
             {"transfer --channels 1", "--channels: transfer takes --excitation and --response"}}) {
        const Outcome outcome = vynhost(words + " " + at("s.wav"));
        EXPECT_EQ(outcome.code, 2) << words;
        EXPECT_THAT(outcome.error, AllOf(StartsWith("vynhost: "), HasSubstr(what))) << words;
    }
}

}  // namespace
}  // namespace vynhost::test
