// Diagrams from the recording to the result file.
#include <cmath>
#include <cstdlib>
#include <numbers>

#include "interface/vynhost/diagram_fixture.h"
#include "vynhost/catalogue.h"
#include "vynhost/results.h"
#include "vynhost/svg_chart.h"
#include "vynhost/text.h"

namespace vynhost::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using ::testing::StartsWith;

class RunTest : public DiagramTest {
protected:
    // Runs the text as a diagram and hands over the runner for a look.
    void run(const std::string& toml, const std::function<void(const Diagram&, Runner&)>& look,
             const std::map<std::string, std::filesystem::path>& inputs = {}) {
        const Diagram diagram = readDiagram(write("d.toml", toml));
        Runner runner(host, diagram, inputs);
        runner.run();
        look(diagram, runner);
    }
    static std::vector<float> valuesOf(const Runner& runner, const std::string& node,
                                       const std::string& letter = "") {
        std::vector<float> all;
        for (const ChannelData& block : runner.collected({node, letter, {}}).blocks) {
            all.insert(all.end(), block.values.begin(), block.values.end());
        }
        return all;
    }
};

TEST_F(RunTest, ASourceIsScaledAndCutIntoBlocks) {
    writeWav("s.wav", {0.5F, -0.5F, 0.25F, 0.0F, 1.0F / 32768});
    run("[source.s]\nfile = \"s.wav\"\nblock = 2\nfull_scale = 20.0\nunit = \"Pa\"\n"
        "[sink.x]\nfrom = \"s\"\ncsv = \"x.csv\"\n",
        [](const Diagram& diagram, const Runner& runner) {
            const auto& blocks = runner.collected({"s", "", {}}).blocks;
            ASSERT_THAT(blocks, SizeIs(3));
            EXPECT_THAT(blocks[0].values, ElementsAre(10, -10));
            EXPECT_THAT(blocks[2].values, ElementsAre(20.0F / 32768));
            EXPECT_EQ(blocks[1].header.xStart, 2.0 / 8000);
            EXPECT_EQ(blocks[1].header.xStep, 1.0 / 8000);
            EXPECT_EQ(csvOf(diagram.sinks[0], seriesOf(diagram.sinks[0], runner)),
                      "t [s],s [Pa]\n0,10\n0.000125,-10\n0.00025,5\n0.000375,0\n"
                      "0.0005,0.00061035156\n");
        });
}

TEST_F(RunTest, TheTailIsKeptDroppedOrPadded) {
    writeWav("s.wav", {0.5F, 0.5F, 0.25F});
    const std::string toml =
        "[source.s]\nfile = \"s.wav\"\nblock = 2\n"
        "[sink.x]\nfrom = \"s\"\ncsv = \"x.csv\"\n";
    const auto withTail = [&](const char* tail) {
        std::string text = toml;
        text.insert(text.find("[sink"), std::string("tail = \"") + tail + "\"\n");
        std::vector<float> values;
        std::string note;
        run(text, [&](const Diagram&, const Runner& runner) {
            values = valuesOf(runner, "s");
            note = runner.notes().at(0);
        });
        return std::pair(values, note);
    };
    EXPECT_THAT(withTail("keep").first, ElementsAre(0.5F, 0.5F, 0.25F));
    EXPECT_THAT(withTail("drop").first, ElementsAre(0.5F, 0.5F));
    EXPECT_THAT(withTail("drop").second, HasSubstr("; the last 1 left out"));
    EXPECT_THAT(withTail("pad").first, ElementsAre(0.5F, 0.5F, 0.25F, 0.0F));
    EXPECT_THAT(withTail("pad").second, HasSubstr("; 1 zeros added at the end"));
}

TEST_F(RunTest, ChannelsAreChosenInTheGivenOrder) {
    writeWav("s.wav", {0.1F, 0.2F, 0.3F, 0.4F, 0.5F, 0.6F}, 3);
    run("[source.s]\nfile = \"s.wav\"\nchannels = [3, 1]\n[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n",
        [](const Diagram&, const Runner& runner) {
            const ChannelData& block = runner.collected({"s", "", {}}).blocks.at(0);
            EXPECT_EQ(block.channels(), 2);
            EXPECT_NEAR(block.at(0, 0), 0.3F, 1e-4F);
            EXPECT_NEAR(block.at(1, 1), 0.4F, 1e-4F);
        });
}

TEST_F(RunTest, AnotherRecordingReplacesASource) {
    writeWav("s.wav", {0.5F});
    writeWav("Straße_Öl.wav", {0.25F, 0.25F});
    run("[source.s]\nfile = \"s.wav\"\n[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n",
        [](const Diagram&, const Runner& runner) {
            EXPECT_THAT(valuesOf(runner, "s"), ElementsAre(0.25F, 0.25F));
        },
        {{"s", folder() / pathOf("Straße_Öl.wav")}});
}

TEST_F(RunTest, TablesOfBothNumberStylesAreRead) {
    for (const char* table : {"t,a,b\n0,1,2\n0.5,3,-4e-1\n", "t;a;b\r\n0;1;2\r\n0,5;3;-0,4\r\n",
                              "0\t1\t2\n0.5\t3\t-.4\n"}) {
        write("s.csv", table);
        run("[source.s]\nfile = \"s.csv\"\n[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n",
            [](const Diagram&, const Runner& runner) {
                const ChannelData& block = runner.collected({"s", "", {}}).blocks.at(0);
                EXPECT_EQ(block.header.xStep, 0.5);
                EXPECT_THAT(block.values, ElementsAre(1, 2, 3, -0.4F));
            });
    }
}

TEST_F(RunTest, WhatIsWrittenAsATableIsReadBackAsItWas) {
    writeWav("s.wav", sine(50, 7));
    const std::string sink = "[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n";
    std::vector<float> before;
    run("[source.s]\nfile = \"s.wav\"\n" + sink, [&](const Diagram& d, const Runner& runner) {
        before = valuesOf(runner, "s");
        write("s.csv", csvOf(d.sinks[0], seriesOf(d.sinks[0], runner)));
    });
    run("[source.s]\nfile = \"s.csv\"\n" + sink, [&](const Diagram&, const Runner& runner) {
        EXPECT_EQ(valuesOf(runner, "s"), before);
        EXPECT_NEAR(runner.collected({"s", "", {}}).blocks[0].header.xStep, 1.0 / 8000, 1e-12);
    });
}

// The inverse block puts the last line's real part where the line at half the sample rate belongs,
// so each data block differs from the recording by (Re X[N/2-1] - X[N/2]) / N, with alternating
// sign; beyond that, only single-precision rounding is left.
TEST_F(RunTest, TheWayThereAndBackDiffersByTheMissingLineAlone) {
    VYN_NEEDS_TYPE(5005);
    constexpr int kBlock = 64;
    std::vector<float> signal = sine(2 * kBlock, 10, 0.4F);
    for (std::size_t i = 0; i < signal.size(); ++i) {
        signal[i] += 0.2F * (i % 2 == 0 ? 1.0F : -1.0F) + 0.01F * static_cast<float>(i % 5);
    }
    writeWav("s.wav", signal);
    run("[source.s]\nfile = \"s.wav\"\nblock = 64\n"
        "[block.parts]\ntype = \"FFT\"\nPkAmplType = \"REALIMAGINAER\"\n"
        "[block.back]\ntype = \"TOInverseFFT\"\n"
        "[wire]\n\"parts.E\" = \"s\"\n\"back.R\" = \"parts.R\"\n\"back.I\" = \"parts.I\"\n"
        "[sink.x]\nfrom = [\"s\", \"back.A\"]\ncsv = \"x\"\n",
        [&](const Diagram&, const Runner& runner) {
            const auto before = valuesOf(runner, "s");
            const auto after = valuesOf(runner, "back", "A");
            ASSERT_EQ(after.size(), before.size());
            for (std::size_t start = 0; start < before.size(); start += kBlock) {
                double lastLine = 0;
                double missingLine = 0;
                for (int i = 0; i < kBlock; ++i) {
                    const double x = before[start + static_cast<std::size_t>(i)];
                    lastLine += x * std::cos(2 * std::numbers::pi * (kBlock / 2 - 1) * i / kBlock);
                    missingLine += x * (i % 2 == 0 ? 1 : -1);
                }
                const double left = (lastLine - missingLine) / kBlock;
                EXPECT_GT(std::abs(left), 0.1);  // the signal was made for it
                for (int i = 0; i < kBlock; ++i) {
                    const auto at = start + static_cast<std::size_t>(i);
                    EXPECT_NEAR(after[at] - before[at], left * (i % 2 == 0 ? 1 : -1), 2e-6);
                }
            }
        });
}

TEST_F(RunTest, AnAveragedSpectrumIsTheMeanOfThePowers) {
    VYN_NEEDS_TYPE(5004);
    std::vector<float> signal = sine(64, 8, 0.3F);
    const std::vector<float> louder = sine(64, 8, 0.4F);
    signal.insert(signal.end(), louder.begin(), louder.end());
    writeWav("s.wav", signal);
    run("[source.s]\nfile = \"s.wav\"\nblock = 64\nunit = \"V\"\n[block.f]\ntype = 5004\n"
        "[wire]\n\"f.E\" = \"s\"\n"
        "[sink.x]\nfrom = \"f.S\"\ncsv = \"x\"\naverage = \"power\"\n"
        "[sink.all]\nfrom = \"f.S\"\ncsv = \"y\"\n",
        [](const Diagram& diagram, const Runner& runner) {
            const auto mean = seriesOf(diagram.sinks[0], runner);
            ASSERT_THAT(mean, SizeIs(1));
            EXPECT_EQ(mean[0].unit, "V");
            EXPECT_NEAR(mean[0].y[8], std::sqrt((0.09 + 0.16) / 2), 1e-4);
            EXPECT_EQ(mean[0].x[8], 1000.0);
            const auto all = seriesOf(diagram.sinks[1], runner);
            ASSERT_THAT(all, SizeIs(2));
            EXPECT_EQ(all[1].name, "f.S #2");
            EXPECT_NEAR(all[1].y[8], 0.4, 1e-4);
            EXPECT_THAT(csvOf(diagram.sinks[1], all),
                        StartsWith("f [Hz],f.S #1 [V],f.S #2 [V]\n0,"));
        });
}

TEST_F(RunTest, AComparisonSaysHowFarTwoSignalsDiffer) {
    writeWav("a.wav", {0.5F, -0.5F, 0.25F, 0});
    writeWav("b.wav", {0.5F, -0.5F, 0.5F, 0});
    run("[source.a]\nfile = \"a.wav\"\n[source.b]\nfile = \"b.wav\"\n"
        "[compare.c]\nof = \"a\"\nwith = \"b\"\ntolerance = 0.4\n"
        "[compare.d]\nof = \"a\"\nwith = \"a\"\ntolerance = 0\n",
        [](const Diagram& diagram, const Runner& runner) {
            const Comparison c = compareSignals(diagram.comparisons[0], runner);
            EXPECT_FALSE(c.within);
            EXPECT_EQ(c.largest, 0.25);
            EXPECT_DOUBLE_EQ(c.rms, 0.125);
            EXPECT_THAT(c.line, HasSubstr("= 0.5 of the peak"));
            EXPECT_TRUE(compareSignals(diagram.comparisons[1], runner).within);
        });
}

TEST_F(RunTest, TheSameRunGivesTheSameBytes) {
    VYN_NEEDS_TYPE(5004);
    writeWav("s.wav", sine(256, 9));
    const std::string toml =
        "[source.s]\nfile = \"s.wav\"\nblock = 64\n[block.f]\ntype = 5004\n"
        "[wire]\n\"f.E\" = \"s\"\n[sink.x]\nfrom = \"f.S\"\ncsv = \"x\"\n";
    std::vector<std::string> results;
    for (int i = 0; i < 2; ++i) {
        run(toml, [&](const Diagram& diagram, const Runner& runner) {
            const auto series = seriesOf(diagram.sinks[0], runner);
            results.push_back(csvOf(diagram.sinks[0], series) + svgChart(series, {"x"}));
        });
    }
    EXPECT_EQ(results[0], results[1]);
}

TEST_F(RunTest, ResultFilesAppearTogetherOrNotAtAll) {
    {
        ResultFiles files(folder() / "out");
        files.add("a.csv", "a");
        EXPECT_FALSE(std::filesystem::exists(folder() / "out" / "a.csv"));
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder() / "out"));
    ResultFiles files(folder() / "out");
    files.add("a.csv", "a");
    files.add("sub/b.csv", "b");
    EXPECT_THAT(files.commit(), SizeIs(2));
    EXPECT_EQ(read(folder() / "out" / "a.csv"), "a");
    EXPECT_EQ(read(folder() / "out" / "sub" / "b.csv"), "b");
    EXPECT_FALSE(std::filesystem::exists(folder() / "out" / "a.csv.part"));
}

TEST_F(RunTest, TheListNamesEveryTypeAndKeyword) {
    const std::string text = listAsText(host);
    const std::string json = listAsJson(host);
    for (int code = kFirstType; code < kFirstType + kTypes; ++code) {
        EXPECT_THAT(text, HasSubstr(std::to_string(code)));
        EXPECT_THAT(json, HasSubstr(host.infoText(code, kLongName)));
        if (!host.creates(code)) continue;
        PlacedBlock block(host, code);
        for (const KeywordRow& row : block.keywords()) {
            EXPECT_THAT(text, HasSubstr(row.name));
            EXPECT_THAT(json, HasSubstr("\"" + row.name + "\""));
        }
    }
}

TEST_F(RunTest, BandsAreNamedByTheirCentreFrequency) {
    VYN_NEEDS_TYPE(5001);
    writeWav("s.wav", sine(8000, 1000, 0.5F));
    run("[source.s]\nfile = \"s.wav\"\nblock = 8000\n[block.f]\ntype = 5004\n"
        "[block.third]\ntype = 5001\n[block.octave]\ntype = 5001\nPkAnalysis = 2\n"
        "[wire]\n\"f.E\" = \"s\"\n\"third.E\" = \"f.S\"\n\"octave.E\" = \"f.S\"\n"
        "[sink.x]\nfrom = \"third.A\"\ncsv = \"x\"\n[sink.y]\nfrom = \"octave.A\"\ncsv = \"y\"\n",
        [](const Diagram& diagram, const Runner& runner) {
            const auto thirds = seriesOf(diagram.sinks[0], runner);
            EXPECT_THAT(csvOf(diagram.sinks[0], thirds), StartsWith("f [Hz],third.A #1"));
            EXPECT_EQ(thirds[0].x[3], 31.5);
            ASSERT_GT(thirds[0].x.size(), 18U);
            EXPECT_EQ(thirds[0].x[18], 1000);
            EXPECT_NEAR(thirds[0].y[18], 0.5, 1e-3);
            const auto octaves = seriesOf(diagram.sinks[1], runner);
            EXPECT_EQ(octaves[0].x[6], 1000);
            EXPECT_NEAR(octaves[0].y[6], 0.5, 1e-3);
        });
}

TEST_F(RunTest, LevelQuantitiesAreNamedPerChannel) {
    writeWav("s.wav", std::vector<float>(16000, 0.5F));
    run("[source.s]\nfile = \"s.wav\"\nblock = 1000\nfull_scale = 2.0\n"
        "[block.level]\ntype = \"Pegel\"\n[wire]\n\"level.E\" = \"s\"\n"
        "[sink.x]\nfrom = \"level.A\"\ncsv = \"x.csv\"\n"
        "[sink.y]\nfrom = \"level.A\"\nvalues = [\"Leq\", \"running time\"]\ncsv = \"y.csv\"\n",
        [](const Diagram& diagram, const Runner& runner) {
            const auto all = seriesOf(diagram.sinks[0], runner);
            ASSERT_THAT(all, SizeIs(18));
            EXPECT_EQ(all.front().name, "level.A displayed level");
            EXPECT_EQ(all.back().name, "level.A L99");
            const auto picked = seriesOf(diagram.sinks[1], runner);
            ASSERT_THAT(picked, SizeIs(2));
            EXPECT_EQ(picked[0].name, "level.A running time");
            EXPECT_EQ(picked[0].unit, "s");
            EXPECT_EQ(picked[1].name, "level.A Leq");
            EXPECT_EQ(picked[1].unit, "dB");
            // 8000 Hz and ten values a second: the running time grows by 0.1 s.
            EXPECT_NEAR(picked[0].y.at(4), 0.5, 1e-6);
            EXPECT_NEAR(picked[0].x.at(4), 0.4 + 1.0 / 8000, 1e-6);
        });
}

TEST_F(RunTest, StatisticsAreNamedAfterTheirKeywords) {
    writeWav("s.wav", {0.5F, -0.25F, 0.125F, 0.5F});
    run("[source.s]\nfile = \"s.wav\"\nblock = 2\n"
        "[block.n]\ntype = \"Statistik\"\nPkYMin = 1\nPkYMax = 1\n[wire]\n\"n.E\" = \"s\"\n"
        "[sink.x]\nfrom = \"n.A\"\ncsv = \"x.csv\"\n",
        [](const Diagram& diagram, const Runner& runner) {
            EXPECT_EQ(csvOf(diagram.sinks[0], seriesOf(diagram.sinks[0], runner)),
                      "block,n.A YMax,n.A YMin\n1,0.5,-0.25\n2,0.5,0.125\n");
        });
}

TEST_F(RunTest, AnOutputPerMeasureHasItsNumber) {
    writeWav("s.wav", {0.5F, -0.25F});
    run("[source.s]\nfile = \"s.wav\"\nblock = 2\n"
        "[block.n]\ntype = \"Statistik\"\nPkAllOn = 1\nPkOutMode = 2\n[wire]\n\"n.E\" = \"s\"\n"
        "[sink.x]\nfrom = \"n.10\"\ncsv = \"x.csv\"\n",
        [](const Diagram& diagram, const Runner& runner) {
            EXPECT_THAT(csvOf(diagram.sinks[0], seriesOf(diagram.sinks[0], runner)),
                        HasSubstr("n.10 "));
        });
}

TEST_F(RunTest, AValueThatNobodyNamesIsAnError) {
    writeWav("s.wav", {0.5F, -0.25F});
    const std::string toml =
        "[source.s]\nfile = \"s.wav\"\nblock = 2\n"
        "[block.n]\ntype = \"Statistik\"\nPkYMin = 1\n[wire]\n\"n.E\" = \"s\"\n"
        "[sink.x]\nfrom = \"n.A\"\nvalues = [\"YMax\"]\ncsv = \"x.csv\"\n";
    run(toml, [](const Diagram& diagram, const Runner& runner) {
        try {
            seriesOf(diagram.sinks[0], runner);
            FAIL() << "no error";
        } catch (const InputError& error) {
            EXPECT_THAT(error.what(),
                        HasSubstr("sink.x.values: \"YMax\" is no value; there are YMin"));
        }
    });
}

// The examples that ship, as far as their block types exist and the recordings are installed.
TEST_F(RunTest, EveryExampleRunsToItsEnd) {
    int seen = 0;
    for (const auto& entry : std::filesystem::directory_iterator(VYN_SOURCE_DIR "/examples")) {
        if (entry.path().extension() != ".toml") continue;
        SCOPED_TRACE(textOf(entry.path()));
        const Diagram diagram = readDiagram(entry.path());
        const bool installed =
            std::all_of(diagram.sources.begin(), diagram.sources.end(),
                        [](const auto& source) { return std::filesystem::exists(source.file); });
        if (!installed) continue;
        ++seen;
        try {
            Runner runner(host, diagram, noInputs);
            runner.run();
            for (const SinkSpec& sink : diagram.sinks) {
                const auto series = seriesOf(sink, runner);
                if (!sink.csv.empty()) {
                    EXPECT_FALSE(csvOf(sink, series).empty());
                }
                EXPECT_THAT(svgChart(series, {sink.title, sink.logX, sink.decibels}),
                            StartsWith("<svg"));
            }
            for (const CompareSpec& compare : diagram.comparisons) {
                EXPECT_TRUE(compareSignals(compare, runner).within);
            }
        } catch (const RunError& error) {
            if (std::string(error.what()).find("the module cannot create") == std::string::npos) {
                ADD_FAILURE() << error.what();
            }
        }
    }
    if (seen == 0) GTEST_SKIP() << "the recordings are not installed";
}

TEST_F(RunTest, RepeatedConnectorLabelsAreNumbered) {
    EXPECT_THAT(connectorNames({"E", "S", "A"}), ElementsAre("E", "S", "A"));
    EXPECT_THAT(connectorNames({"A", "E", "A"}), ElementsAre("A1", "E", "A2"));
    EXPECT_THAT(connectorNames({"1", "10", "11"}), ElementsAre("1", "10", "11"));
}

TEST(Text, SuggestsTheNearestName) {
    const std::vector<std::string> names = {"PkWndFct", "PkPhase"};
    EXPECT_EQ(didYouMean("pkwndfkt", names), ", did you mean PkWndFct?");
    EXPECT_EQ(didYouMean("PkWdnFct", names), ", did you mean PkWndFct?");
    EXPECT_EQ(didYouMean("something", names), "");
}

TEST(Text, ReadsWholeNumbersOnly) {
    EXPECT_EQ(toNumber(" -1.5e3 "), -1500.0);
    EXPECT_EQ(toNumber("+2"), 2.0);
    EXPECT_EQ(toNumber("1.5x"), std::nullopt);
    EXPECT_EQ(toNumber(""), std::nullopt);
}

// --- The program itself ---------------------------------------------------------------------

class ProgramTest : public DiagramTest {
protected:
    struct Outcome {
        int code;
        std::string out;
        std::string error;
    };
    Outcome vynhost(const std::string& arguments) const {
        const auto quoted = [](const std::filesystem::path& path) {
            return "\"" + textOf(path) + "\"";
        };
        const std::filesystem::path out = folder() / "stdout.txt";
        const std::filesystem::path error = folder() / "stderr.txt";
        std::string command = quoted(platform::programFolder() / platform::kHostProgram) + " " +
                              arguments + " > " + quoted(out) + " 2> " + quoted(error);
        const int code = platform::runShell(command);
        return {code, read(out), read(error)};
    }
    std::string at(const std::string& name) const { return "\"" + textOf(folder() / name) + "\""; }
};

TEST_F(ProgramTest, SaysItsVersion) {
    const Outcome outcome = vynhost("--version");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(outcome.out, StartsWith("vynhost "));
    EXPECT_THAT(outcome.out, HasSubstr("module interface 402"));
}

TEST_F(ProgramTest, RefusesWhatItDoesNotKnow) {
    EXPECT_EQ(vynhost("").code, 2);
    EXPECT_EQ(vynhost("walk").code, 2);
    EXPECT_EQ(vynhost("run").code, 2);
    EXPECT_EQ(vynhost("run a.toml --fast").code, 2);
}

TEST_F(ProgramTest, ShowsDialogsOnWindowsOnly) {
    EXPECT_THAT(vynhost("--help").out, HasSubstr("dialog "));
    EXPECT_EQ(vynhost("dialog").code, 2);
    EXPECT_EQ(vynhost("dialog a.toml").code, 2);
    if (platform::kHasDialogs) return;
    write("d.toml", "[block.f]\ntype = \"FFT\"\n");
    const Outcome outcome = vynhost("dialog " + at("d.toml") + " f");
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.error,
              "vynhost: dialogs exist on Windows only; here keywords set a block up\n");
}

TEST_F(ProgramTest, RunsADiagramAndSaysWhereTheResultsLie) {
    VYN_NEEDS_TYPE(5004);
    writeWav("s.wav", sine(64, 4));
    write("d.toml",
          "[source.s]\nfile = \"s.wav\"\nblock = 32\n[block.f]\ntype = \"FFT\"\n"
          "[wire]\n\"f.E\" = \"s\"\n[sink.x]\nfrom = \"f.S\"\ncsv = \"x.csv\"\nsvg = \"x.svg\"\n");
    const Outcome outcome = vynhost("run " + at("d.toml") + " --out " + at("out"));
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.error, "");
    EXPECT_THAT(outcome.out, HasSubstr("x.csv"));
    EXPECT_THAT(read(folder() / "out" / "x.csv"), StartsWith("f [Hz],f.S #1,f.S #2\n"));
    EXPECT_THAT(read(folder() / "out" / "x.svg"), StartsWith("<svg "));
    const Outcome quiet = vynhost("run " + at("d.toml") + " --quiet --out " + at("out"));
    EXPECT_EQ(quiet.code, 0);
    EXPECT_EQ(quiet.out, "");
}

TEST_F(ProgramTest, SaysAnErrorInOneLineAndLeavesNothingBehind) {
    writeWav("s.wav", sine(64, 4));
    write("d.toml", "[source.s]\nfile = \"s.wav\"\n[sink.x]\nfrom = \"q\"\ncsv = \"x.csv\"\n");
    const Outcome outcome = vynhost("run " + at("d.toml") + " --out " + at("out"));
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.error, StartsWith("vynhost: "));
    EXPECT_THAT(outcome.error,
                HasSubstr("d.toml:4: sink.x.from: \"q\" is neither source nor block"));
    EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1);
    EXPECT_FALSE(std::filesystem::exists(folder() / "out"));
}

TEST_F(ProgramTest, AMissedToleranceIsNoSuccess) {
    writeWav("a.wav", {0.5F});
    writeWav("b.wav", {0.25F});
    write("d.toml",
          "[source.a]\nfile = \"a.wav\"\n[source.b]\nfile = \"b.wav\"\n"
          "[compare.c]\nof = \"a\"\nwith = \"b\"\ntolerance = 0.1\n");
    EXPECT_EQ(vynhost("run " + at("d.toml")).code, 1);
}

}  // namespace
}  // namespace vynhost::test
