// Diagrams from the recording to the result file.
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <deque>
#include <numbers>

#include "interface/vynhost/diagram_fixture.h"
#include "vynhost/base/text.h"
#include "vynhost/command/list.h"
#include "vynhost/diagram/catalogue.h"
#include "vynhost/results/comparison.h"
#include "vynhost/results/result_files.h"
#include "vynhost/results/sink.h"
#include "vynhost/results/svg_chart.h"
#include "vynhost/results/thinned_curve.h"
#include "vynhost/run/interrupt.h"

namespace vynhost::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using ::testing::StartsWith;

// What a run leaves behind, and what came out at the places that its sinks and comparisons ask for.
struct RunResult {
    struct Collected {
        std::vector<ChannelData> blocks;
    };
    const Collected& collected(const ConnectorName& name) const { return places.at(name.text()); }
    std::vector<Series> series(std::size_t sink) const { return sinks.at(sink).series(); }
    Comparison comparison(std::size_t index) const { return comparers.at(index).result(); }

    std::map<std::string, Collected> places;
    std::deque<Sink> sinks;
    std::deque<Comparer> comparers;
    std::vector<std::string> notes;
    std::vector<std::string> tables;  // per sink
};

class RunTest : public DiagramTest {
protected:
    // Runs the text as a diagram and hands over what became of it.
    void run(const std::string& toml, const std::function<void(const RunResult&)>& look,
             const std::map<std::string, std::filesystem::path>& inputs = {}) {
        runFile(write("d.toml", toml), look, inputs);
    }
    void runFile(const std::filesystem::path& file,
                 const std::function<void(const RunResult&)>& look,
                 const std::map<std::string, std::filesystem::path>& inputs = {}) {
        const Diagram diagram = readDiagram(file);
        Runner runner(host, diagram, inputs);
        RunResult result;
        const auto collect = [&](const ConnectorName& name) {
            if (result.places.contains(name.text())) return;
            RunResult::Collected& place = result.places[name.text()];
            runner.listen(name,
                          [&place](const ChannelData& block) { place.blocks.push_back(block); });
        };
        ResultFiles files(folder() / "out");
        for (const SinkEntry& sink : diagram.sinks) {
            std::ranges::for_each(sink.from, collect);
            result.sinks.emplace_back(sink, runner, files);
        }
        for (const CompareEntry& compare : diagram.comparisons) {
            collect(compare.of);
            collect(compare.with);
            result.comparers.emplace_back(compare, runner);
        }
        runner.run();
        for (Sink& sink : result.sinks)
            sink.finish();
        files.commit();
        result.notes = runner.notes();
        for (const SinkEntry& sink : diagram.sinks) {
            result.tables.push_back(sink.csv.empty() ? "" : read(folder() / "out" / sink.csv));
        }
        look(result);
    }
    static std::vector<float> valuesOf(const RunResult& result, const std::string& node,
                                       const std::string& letter = "") {
        std::vector<float> all;
        for (const ChannelData& block : result.collected({node, letter, {}}).blocks) {
            all.insert(all.end(), block.values.begin(), block.values.end());
        }
        return all;
    }
};

TEST_F(RunTest, ASourceIsScaledAndCutIntoBlocks) {
    writeWav("s.wav", {0.5F, -0.5F, 0.25F, 0.0F, 1.0F / 32768});
    run("[source.s]\nfile = \"s.wav\"\nblock = 2\nfull_scale = 20.0\nunit = \"Pa\"\n"
        "[sink.x]\nfrom = \"s\"\ncsv = \"x.csv\"\n",
        [](const RunResult& result) {
            const auto& blocks = result.collected({"s", "", {}}).blocks;
            ASSERT_THAT(blocks, SizeIs(3));
            EXPECT_THAT(blocks[0].values, ElementsAre(10, -10));
            EXPECT_THAT(blocks[2].values, ElementsAre(20.0F / 32768));
            EXPECT_EQ(blocks[1].header.xStart, 2.0 / 8000);
            EXPECT_EQ(blocks[1].header.xStep, 1.0 / 8000);
            EXPECT_EQ(result.tables[0],
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
        run(text, [&](const RunResult& result) {
            values = valuesOf(result, "s");
            note = result.notes.at(0);
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
        [](const RunResult& result) {
            const ChannelData& block = result.collected({"s", "", {}}).blocks.at(0);
            EXPECT_EQ(block.channels(), 2);
            EXPECT_NEAR(block.at(0, 0), 0.3F, 1e-4F);
            EXPECT_NEAR(block.at(1, 1), 0.4F, 1e-4F);
        });
}

TEST_F(RunTest, AnotherRecordingReplacesASource) {
    writeWav("s.wav", {0.5F});
    writeWav("Straße_Öl.wav", {0.25F, 0.25F});
    run("[source.s]\nfile = \"s.wav\"\n[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n",
        [](const RunResult& result) {
            EXPECT_THAT(valuesOf(result, "s"), ElementsAre(0.25F, 0.25F));
        },
        {{"s", folder() / pathOf("Straße_Öl.wav")}});
}

TEST_F(RunTest, TablesOfBothNumberStylesAreRead) {
    for (const char* table : {"t,a,b\n0,1,2\n0.5,3,-4e-1\n", "t;a;b\r\n0;1;2\r\n0,5;3;-0,4\r\n",
                              "0\t1\t2\n0.5\t3\t-.4\n"}) {
        write("s.csv", table);
        run("[source.s]\nfile = \"s.csv\"\n[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n",
            [](const RunResult& result) {
                const ChannelData& block = result.collected({"s", "", {}}).blocks.at(0);
                EXPECT_EQ(block.header.xStep, 0.5);
                EXPECT_THAT(block.values, ElementsAre(1, 2, 3, -0.4F));
            });
    }
}

TEST_F(RunTest, WhatIsWrittenAsATableIsReadBackAsItWas) {
    writeWav("s.wav", sine(50, 7));
    const std::string sink = "[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n";
    std::vector<float> before;
    run("[source.s]\nfile = \"s.wav\"\n" + sink, [&](const RunResult& result) {
        before = valuesOf(result, "s");
        write("s.csv", result.tables[0]);
    });
    run("[source.s]\nfile = \"s.csv\"\n" + sink, [&](const RunResult& result) {
        EXPECT_EQ(valuesOf(result, "s"), before);
        EXPECT_NEAR(result.collected({"s", "", {}}).blocks[0].header.xStep, 1.0 / 8000, 1e-12);
    });
}

// The inverse block puts the last line's real part where the line at half the sample rate belongs,
// so each data block differs from the recording by (Re X[N/2-1] - X[N/2]) / N, with alternating
// sign; beyond that, only single-precision rounding is left.
TEST_F(RunTest, TheWayThereAndBackDiffersByTheMissingLineAlone) {
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
        [&](const RunResult& result) {
            const auto before = valuesOf(result, "s");
            const auto after = valuesOf(result, "back", "A");
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
    std::vector<float> signal = sine(64, 8, 0.3F);
    const std::vector<float> louder = sine(64, 8, 0.4F);
    signal.insert(signal.end(), louder.begin(), louder.end());
    writeWav("s.wav", signal);
    run("[source.s]\nfile = \"s.wav\"\nblock = 64\nunit = \"V\"\n[block.f]\ntype = 5004\n"
        "[wire]\n\"f.E\" = \"s\"\n"
        "[sink.x]\nfrom = \"f.S\"\ncsv = \"x\"\naverage = \"power\"\n"
        "[sink.all]\nfrom = \"f.S\"\ncsv = \"y\"\n",
        [](const RunResult& result) {
            const auto mean = result.series(0);
            ASSERT_THAT(mean, SizeIs(1));
            EXPECT_EQ(mean[0].unit, "V");
            EXPECT_NEAR(mean[0].y[8], std::sqrt((0.09 + 0.16) / 2), 1e-4);
            EXPECT_EQ(mean[0].x[8], 1000.0);
            const auto all = result.series(1);
            ASSERT_THAT(all, SizeIs(2));
            EXPECT_EQ(all[1].name, "f.S #2");
            EXPECT_NEAR(all[1].y[8], 0.4, 1e-4);
            EXPECT_THAT(result.tables[1], StartsWith("f [Hz],f.S #1 [V],f.S #2 [V]\n0,"));
        });
}

TEST_F(RunTest, AComparisonSaysHowFarTwoSignalsDiffer) {
    writeWav("a.wav", {0.5F, -0.5F, 0.25F, 0});
    writeWav("b.wav", {0.5F, -0.5F, 0.5F, 0});
    run("[source.a]\nfile = \"a.wav\"\n[source.b]\nfile = \"b.wav\"\n"
        "[compare.c]\nof = \"a\"\nwith = \"b\"\ntolerance = 0.4\n"
        "[compare.d]\nof = \"a\"\nwith = \"a\"\ntolerance = 0\n",
        [](const RunResult& result) {
            const Comparison c = result.comparison(0);
            EXPECT_FALSE(c.within);
            EXPECT_EQ(c.largest, 0.25);
            EXPECT_DOUBLE_EQ(c.rms, 0.125);
            EXPECT_THAT(c.line, HasSubstr("= 0.5 of the peak"));
            EXPECT_TRUE(result.comparison(1).within);
        });
}

TEST_F(RunTest, TheSameRunGivesTheSameBytes) {
    writeWav("s.wav", sine(256, 9));
    const std::string toml =
        "[source.s]\nfile = \"s.wav\"\nblock = 64\n[block.f]\ntype = 5004\n"
        "[wire]\n\"f.E\" = \"s\"\n[sink.x]\nfrom = \"f.S\"\ncsv = \"x\"\n";
    std::vector<std::string> results;
    for (int i = 0; i < 2; ++i) {
        run(toml, [&](const RunResult& result) {
            const auto series = result.series(0);
            results.push_back(result.tables[0] + svgChart(series, {"x"}));
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
    EXPECT_FALSE(std::filesystem::exists(folder() / "out"));
    ResultFiles files(folder() / "out");
    files.add("a.csv", "a");
    files.add("sub/b.csv", "b");
    EXPECT_THAT(files.commit(), SizeIs(2));
    EXPECT_EQ(read(folder() / "out" / "a.csv"), "a");
    EXPECT_EQ(read(folder() / "out" / "sub" / "b.csv"), "b");
    EXPECT_FALSE(std::filesystem::exists(folder() / "out" / "a.csv.part"));
}

TEST_F(RunTest, AFailedRunLeavesOldResultsAndNothingElse) {
    std::filesystem::create_directories(folder() / "out");
    write("out/x", "old");
    writeWav("s.wav", sine(64, 4));
    writeWav("long.wav", sine(128, 4));
    EXPECT_THROW(run("[source.s]\nfile = \"s.wav\"\nblock = 32\n[source.l]\nfile = \"long.wav\"\n"
                     "block = 32\n[block.f]\ntype = 5004\n[block.back]\ntype = 5005\n[wire]\n"
                     "\"f.E\" = \"s\"\n\"back.R\" = \"s\"\n\"back.I\" = \"l\"\n[sink.x]\n"
                     "from = \"f.S\"\ncsv = \"x\"\nsvg = \"sub/y\"\n",
                     [](const RunResult&) {}),
                 RunError);
    EXPECT_EQ(read(folder() / "out" / "x"), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder() / "out"), {}), 1);
}

TEST_F(RunTest, TwoSinksDoNotShareAFile) {
    writeWav("s.wav", {0.5F});
    EXPECT_THROW(run("[source.s]\nfile = \"s.wav\"\n[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n"
                     "[sink.y]\nfrom = \"s\"\ncsv = \"x\"\n",
                     [](const RunResult&) {}),
                 RunError);
}

// Rows wait until every column has them; a column that ends early is followed by empty cells.
TEST_F(RunTest, ColumnsOfOneTableMayComeAtDifferentTimes) {
    writeWav("s.wav", {0.5F, 0.25F, 0.125F, 0.5F, -0.5F});
    writeWav("t.wav", {0.25F, 0.125F, 0.0F});
    run("[source.s]\nfile = \"s.wav\"\nblock = 2\n[source.t]\nfile = \"t.wav\"\nblock = 3\n"
        "[sink.x]\nfrom = [\"t\", \"s\"]\ncsv = \"x\"\n",
        [](const RunResult& result) {
            EXPECT_EQ(result.tables[0],
                      "t [s],t,s\n0,0.25,0.5\n0.000125,0.125,0.25\n0.00025,0,0.125\n"
                      "0.000375,,0.5\n0.0005,,-0.5\n");
        });
}

TEST_F(RunTest, CurvesOverDifferentAxesDoNotShareATable) {
    writeWav("s.wav", {0.5F, 0.25F});
    writeWav("t.wav", {0.5F, 0.25F}, 1, 4000);
    try {
        run("[source.s]\nfile = \"s.wav\"\n[source.t]\nfile = \"t.wav\"\n"
            "[sink.x]\nfrom = [\"s\", \"t\"]\ncsv = \"x\"\n",
            [](const RunResult&) {});
        FAIL() << "no error";
    } catch (const InputError& error) {
        EXPECT_THAT(error.what(), HasSubstr("t and s have different x axes"));
    }
}

// Each data block becomes a column; they come together again in the order of their rows.
TEST_F(RunTest, ManySpectraStandSideBySide) {
    constexpr int kBlocks = 40;
    std::vector<float> signal;
    for (int b = 0; b < kBlocks; ++b) {
        const auto block = sine(32, 2, 0.01F * static_cast<float>(b + 1));
        for (const float value : block) {
            signal.push_back(value);
            signal.push_back(-0.5F * value);
        }
    }
    writeWav("s.wav", signal, 2);
    run("[source.s]\nfile = \"s.wav\"\nblock = 32\n[block.f]\ntype = 5004\n[wire]\n\"f.E\" = "
        "\"s\"\n"
        "[sink.x]\nfrom = \"f.S\"\ncsv = \"x\"\nsvg = \"x.svg\"\n",
        [&](const RunResult& result) {
            const auto& blocks = result.collected({"f", "S", {}}).blocks;
            std::string expected = "f [Hz]";
            for (int c = 0; c < 2; ++c) {
                for (int b = 0; b < kBlocks; ++b) {
                    expected += ",f.S " + std::to_string(c + 1) + " #" + std::to_string(b + 1);
                }
            }
            expected += "\n";
            for (int i = 0; i < blocks[0].samples(); ++i) {
                expected += toText(250.0 * i, 12);
                for (int c = 0; c < 2; ++c) {
                    for (const ChannelData& block : blocks)
                        expected += "," + toText(block.at(i, c));
                }
                expected += "\n";
            }
            EXPECT_EQ(result.tables[0], expected);
            // Too many for one picture: the range that they cover.
            const auto series = result.series(0);
            ASSERT_THAT(series, SizeIs(4));
            EXPECT_EQ(series[0].name, "f.S 1 lowest of 40");
            EXPECT_NEAR(series[0].y[2], 0.01, 1e-4);
            EXPECT_EQ(series[1].name, "f.S 1 highest of 40");
            EXPECT_NEAR(series[1].y[2], 0.4, 1e-4);
            EXPECT_NEAR(series[3].y[2], 0.2, 1e-4);
        });
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder() / "out"), {}), 2);
}

TEST_F(RunTest, APictureOfALongSignalIsSmallAndLosesNoPeak) {
    std::vector<float> signal(300'000, 0.0F);
    signal[123'457] = 0.75F;
    signal[123'459] = -0.25F;
    writeWav("s.wav", signal);
    run("[source.s]\nfile = \"s.wav\"\n[sink.x]\nfrom = \"s\"\nsvg = \"x.svg\"\n",
        [](const RunResult& result) {
            const auto series = result.series(0);
            ASSERT_THAT(series, SizeIs(1));
            EXPECT_LE(series[0].y.size(), 4 * ThinnedCurve::kMostBins);
            const auto [low, high] = std::ranges::minmax_element(series[0].y);
            EXPECT_EQ(*high, 0.75F);
            EXPECT_EQ(*low, -0.25F);
            EXPECT_DOUBLE_EQ(series[0].x[static_cast<std::size_t>(high - series[0].y.begin())],
                             123'457 / 8000.0);
            EXPECT_TRUE(std::ranges::is_sorted(series[0].x));
        });
    EXPECT_LT(std::filesystem::file_size(folder() / "out" / "x.svg"), 60'000U);
}

TEST_F(RunTest, ADifferenceThatIsNoNumberIsNotForgotten) {
    write("a.csv", "t,a\n0,1\n1,nan\n2,1\n");
    write("b.csv", "t,b\n0,1\n1,1\n2,1\n");
    run("[source.a]\nfile = \"a.csv\"\n[source.b]\nfile = \"b.csv\"\n"
        "[compare.c]\nof = \"a\"\nwith = \"b\"\ntolerance = 1.0\n",
        [](const RunResult& result) { EXPECT_FALSE(result.comparison(0).within); });
}

// --- Noise ----------------------------------------------------------------------------------

TEST_F(RunTest, NoiseIsTheSameEveryTime) {
    const std::string toml =
        "[source.n]\nnoise = { rms = 2.0, seed = 7 }\nrate = 1000.0\nseconds = 0.004\n"
        "channels = [1, 2]\n[sink.x]\nfrom = \"n\"\ncsv = \"x\"\n";
    std::vector<float> values;
    run(toml, [&](const RunResult& result) {
        values = valuesOf(result, "n");
        EXPECT_THAT(result.notes.at(0),
                    HasSubstr("n: noise of rms 2, 4 samples at 1000 Hz, 2 channels"));
    });
    // Worked out in exact arithmetic by another program.
    EXPECT_THAT(values, ElementsAre(0.475214988F, -3.67740273F, 1.52498066F, -2.37901282F,
                                    2.5127902F, 1.81937802F, 2.0949986F, -2.21860147F));
}

TEST_F(RunTest, NoiseIsWhiteAndAsLoudAsItShouldBe) {
    constexpr std::size_t kCount = 200'000;
    std::vector<float> values;
    run("[source.n]\nnoise = { rms = 3.0 }\nrate = 1000.0\nseconds = 200.0\n"
        "[sink.x]\nfrom = \"n\"\nsvg = \"x\"\n",
        [&](const RunResult& result) { values = valuesOf(result, "n"); });
    ASSERT_EQ(values.size(), kCount);
    double sum = 0;
    double power = 0;
    double fourth = 0;
    double neighbours = 0;
    for (std::size_t i = 0; i < kCount; ++i) {
        const double x = values[i] / 3.0;
        sum += x;
        power += x * x;
        fourth += x * x * x * x;
        if (i > 0) neighbours += x * values[i - 1] / 3.0;
    }
    // Five standard deviations of the estimates: 1/sqrt(n) of the mean and the correlation,
    // sqrt(2/n) of the power, sqrt(96/n) at most of the fourth moment, which is 2.9.
    const double n = kCount;
    EXPECT_NEAR(sum / n, 0, 5 / std::sqrt(n));
    EXPECT_NEAR(neighbours / n, 0, 5 / std::sqrt(n));
    EXPECT_NEAR(power / n, 1, 5 * std::sqrt(2 / n));
    EXPECT_NEAR(fourth / n, 2.9, 5 * std::sqrt(96 / n));
}

TEST_F(RunTest, NoiseOnARecordingIsAddedAfterTheScaling) {
    writeWav("s.wav", {0.5F, -0.5F, 0.25F});
    run("[source.n]\nnoise = { rms = 0.5, seed = 3 }\nrate = 8000.0\nseconds = 0.000375\n"
        "[source.s]\nfile = \"s.wav\"\nfull_scale = 4.0\nblock = 2\ntail = \"pad\"\n"
        "noise = { rms = 0.5, seed = 3 }\n"
        "[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n[sink.y]\nfrom = \"n\"\ncsv = \"y\"\n",
        [](const RunResult& result) {
            const auto noise = valuesOf(result, "n");
            ASSERT_THAT(noise, SizeIs(3));
            EXPECT_THAT(valuesOf(result, "s"),
                        ElementsAre(2 + noise[0], -2 + noise[1], 1 + noise[2], 0));
            EXPECT_THAT(result.notes.at(1), HasSubstr("s.wav with noise of rms 0.5, 3 samples"));
        });
}

TEST_F(RunTest, TheListNamesEveryTypeAndKeyword) {
    const std::string text = listAsText(host);
    const std::string json = listAsJson(host);
    for (int code = kFirstType; code < kFirstType + kTypes; ++code) {
        EXPECT_THAT(text, HasSubstr(std::to_string(code)));
        EXPECT_THAT(json, HasSubstr(host.infoText(code, kLongName)));
        PlacedBlock block(host, code);
        for (const KeywordRow& row : block.keywords()) {
            EXPECT_THAT(text, HasSubstr(row.name));
            EXPECT_THAT(json, HasSubstr("\"" + row.name + "\""));
        }
    }
}

TEST_F(RunTest, BandsAreNamedByTheirCentreFrequency) {
    writeWav("s.wav", sine(8000, 1000, 0.5F));
    run("[source.s]\nfile = \"s.wav\"\nblock = 8000\n[block.f]\ntype = 5004\n"
        "[block.third]\ntype = 5001\n[block.octave]\ntype = 5001\nPkAnalysis = 2\n"
        "[wire]\n\"f.E\" = \"s\"\n\"third.E\" = \"f.S\"\n\"octave.E\" = \"f.S\"\n"
        "[sink.x]\nfrom = \"third.A\"\ncsv = \"x\"\n[sink.y]\nfrom = \"octave.A\"\ncsv = \"y\"\n",
        [](const RunResult& result) {
            const auto thirds = result.series(0);
            EXPECT_THAT(result.tables[0], StartsWith("f [Hz],third.A #1"));
            EXPECT_EQ(thirds[0].x[3], 31.5);
            ASSERT_GT(thirds[0].x.size(), 18U);
            EXPECT_EQ(thirds[0].x[18], 1000);
            EXPECT_NEAR(thirds[0].y[18], 0.5, 1e-3);
            const auto octaves = result.series(1);
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
        [](const RunResult& result) {
            const auto all = result.series(0);
            ASSERT_THAT(all, SizeIs(18));
            EXPECT_EQ(all.front().name, "level.A displayed level");
            EXPECT_EQ(all.back().name, "level.A L99");
            const auto picked = result.series(1);
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
        [](const RunResult& result) {
            EXPECT_EQ(result.tables[0], "block,n.A YMax,n.A YMin\n1,0.5,-0.25\n2,0.5,0.125\n");
        });
}

TEST_F(RunTest, AnOutputPerMeasureHasItsNumber) {
    writeWav("s.wav", {0.5F, -0.25F});
    run("[source.s]\nfile = \"s.wav\"\nblock = 2\n"
        "[block.n]\ntype = \"Statistik\"\nPkAllOn = 1\nPkOutMode = 2\n[wire]\n\"n.E\" = \"s\"\n"
        "[sink.x]\nfrom = \"n.10\"\ncsv = \"x.csv\"\n",
        [](const RunResult& result) { EXPECT_THAT(result.tables[0], HasSubstr("n.10 ")); });
}

TEST_F(RunTest, AValueThatNobodyNamesIsAnError) {
    writeWav("s.wav", {0.5F, -0.25F});
    const std::string toml =
        "[source.s]\nfile = \"s.wav\"\nblock = 2\n"
        "[block.n]\ntype = \"Statistik\"\nPkYMin = 1\n[wire]\n\"n.E\" = \"s\"\n"
        "[sink.x]\nfrom = \"n.A\"\nvalues = [\"YMax\"]\ncsv = \"x.csv\"\n";
    try {
        run(toml, [](const RunResult&) {});
        FAIL() << "no error";
    } catch (const InputError& error) {
        EXPECT_THAT(error.what(), HasSubstr("sink.x.values: \"YMax\" is no value; there are YMin"));
    }
    EXPECT_FALSE(std::filesystem::exists(folder() / "out"));
}

// The examples that ship, as far as their block types exist and the recordings are installed.
TEST_F(RunTest, EveryExampleRunsToItsEnd) {
    int seen = 0;
    for (const auto& entry : std::filesystem::directory_iterator(VYN_SOURCE_DIR "/examples")) {
        if (entry.path().extension() != ".toml") continue;
        SCOPED_TRACE(textOf(entry.path()));
        const Diagram diagram = readDiagram(entry.path());
        const bool installed =
            std::all_of(diagram.sources.begin(), diagram.sources.end(), [](const auto& source) {
                return source.file.empty() || std::filesystem::exists(source.file);
            });
        if (!installed) continue;
        ++seen;
        runFile(entry.path(), [&](const RunResult& result) {
            for (std::size_t i = 0; i < diagram.sinks.size(); ++i) {
                const SinkEntry& sink = diagram.sinks[i];
                EXPECT_EQ(result.tables[i].empty(), sink.csv.empty());
                if (!sink.svg.empty()) {
                    EXPECT_THAT(read(folder() / "out" / sink.svg), StartsWith("<svg"));
                }
            }
            for (const Comparer& comparer : result.comparers) {
                EXPECT_TRUE(comparer.result().within);
            }
        });
    }
    if (seen == 0) GTEST_SKIP() << "the recordings are not installed";
}

TEST_F(RunTest, AnInterruptEndsTheRunAndLeavesNoFile) {
    writeWav("s.wav", {0.5F, -0.25F});
    const std::string toml =
        "[source.s]\nfile = \"s.wav\"\nblock = 2\n"
        "[sink.x]\nfrom = \"s\"\ncsv = \"x.csv\"\n";
    watchInterrupts();
    std::raise(SIGINT);
    try {
        run(toml, [](const RunResult&) { ADD_FAILURE() << "the run went on"; });
    } catch (const RunError& error) {
        EXPECT_EQ(error.code(), kInterrupted);
        EXPECT_STREQ(error.what(), "interrupted, no file is written");
    }
    EXPECT_FALSE(std::filesystem::exists(folder() / "out"));
    run(toml, [](const RunResult& result) { EXPECT_FALSE(result.tables[0].empty()); });
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
