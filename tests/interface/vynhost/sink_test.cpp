// Tables and pictures of what comes out.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "interface/vynhost/run_fixture.h"
#include "vynhost/base/text.h"
#include "vynhost/results/spectrogram.h"
#include "vynhost/results/thinned_curve.h"

namespace vynhost::test {
namespace {

using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

class SinkTest : public RunTest {};

TEST_F(SinkTest, AnAveragedSpectrumIsTheMeanOfThePowers) {
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
            EXPECT_EQ(mean[0].quantity.unitText(), "V");
            EXPECT_NEAR(mean[0].y[8], std::sqrt((0.09 + 0.16) / 2), 1e-4);
            EXPECT_EQ(mean[0].x[8], 1000.0);
            const auto all = result.series(1);
            ASSERT_THAT(all, SizeIs(2));
            EXPECT_EQ(all[1].name, "f.S #2");
            EXPECT_NEAR(all[1].y[8], 0.4, 1e-4);
            EXPECT_THAT(result.tables[1], StartsWith("f [Hz],f.S #1 [V],f.S #2 [V]\n0,"));
        });
}

// Rows wait until every column has them; a column that ends early is followed by empty cells.
TEST_F(SinkTest, ColumnsOfOneTableMayComeAtDifferentTimes) {
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

TEST_F(SinkTest, CurvesOverDifferentAxesDoNotShareATable) {
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
TEST_F(SinkTest, ManySpectraStandSideBySide) {
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
            ASSERT_THAT(series, SizeIs(2));
            EXPECT_EQ(series[0].name, "f.S 1 lowest to highest of 40");
            EXPECT_NEAR(series[0].lows.at(2), 0.01, 1e-4);
            EXPECT_NEAR(series[0].y[2], 0.4, 1e-4);
            EXPECT_NEAR(series[1].y[2], 0.2, 1e-4);
        });
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder() / "out"), {}), 3);
}

TEST_F(SinkTest, APictureOfALongSignalIsSmallAndLosesNoPeak) {
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

TEST_F(SinkTest, APictureHasAGapWhereARecordingHasOne) {
    std::string table = "t,a\n";
    for (int i = 0; i < 10'000; ++i) {
        table += std::to_string(i) + "," + (i / 1000 == 4 ? "" : std::to_string(i % 7)) + "\n";
    }
    write("s.csv", table);
    run("[source.s]\nfile = \"s.csv\"\n[sink.x]\nfrom = \"s\"\nsvg = \"x.svg\"\n",
        [](const RunResult& result) {
            const Series series = result.series(0).at(0);
            const auto isGap = [](double y) { return std::isnan(y); };
            const auto gap = std::ranges::find_if(series.y, isGap) - series.y.begin();
            EXPECT_EQ(std::ranges::count_if(series.y, isGap), 1);
            EXPECT_EQ(series.x.at(static_cast<std::size_t>(gap) - 1), 3999);
            EXPECT_EQ(series.x.at(static_cast<std::size_t>(gap) + 1), 5000);
        });
}

// Of a curve of nothing but gaps and points some gaps go, the memory does not grow.
TEST(ThinnedCurveTest, ManyGapsStayBounded) {
    ThinnedCurve curve([](double y) { return y; });
    for (int i = 0; i < 200'000; ++i)
        curve.add(i, i % 2 == 0 ? i : std::nan(""));
    std::vector<double> x;
    std::vector<double> y;
    curve.appendTo(x, y);
    EXPECT_LE(x.size(), 5 * ThinnedCurve::kMostBins);
    EXPECT_EQ(y.back(), 199'998);
}

// Two channels in data blocks, with gaps, what is not finite and both zeros, and more values than
// there are bins.
TEST(ThinnedCurveTest, DataBlocksLeaveWhatTheirValuesLeaveOneByOne) {
    constexpr std::size_t kValues = 10 * ThinnedCurve::kMostBins;
    constexpr std::size_t kBlock = 1000;
    constexpr double kStep = 1.0 / 48000;
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    std::vector<float> values(2 * kValues);
    std::uint32_t random = 1;
    for (float& value : values) {
        random = random * 1664525 + 1013904223;
        value = static_cast<float>(static_cast<int>(random >> 26) - 32);  // many are equal
        if (random % 8 == 0) value = -0.0F;
    }
    for (std::size_t i = 5000; i < values.size(); i += 7001)
        values[i] = std::numeric_limits<float>::quiet_NaN();
    for (std::size_t i = 6000; i < values.size(); i += 7919)
        values[i] = i % 2 == 0 ? kInfinity : -kInfinity;
    for (const std::size_t channel : {0, 1}) {
        ThinnedCurve single([](double y) { return y; });
        ThinnedCurve whole({});
        for (std::size_t begin = 0; begin < kValues; begin += kBlock) {
            const std::size_t count = std::min(kBlock, kValues - begin);
            const double start = static_cast<double>(begin) * kStep;
            for (std::size_t i = 0; i < count; ++i) {
                single.add(start + static_cast<double>(i) * kStep,
                           values[2 * (begin + i) + channel]);
            }
            whole.add(start, kStep,
                      std::span(values).subspan(2 * begin + channel, 2 * count - channel), 2);
        }
        std::vector<double> x, y, wholeX, wholeY;
        single.appendTo(x, y);
        whole.appendTo(wholeX, wholeY);
        EXPECT_THAT(wholeX, ElementsAreArray(x));
        ASSERT_EQ(wholeY.size(), y.size());
        for (std::size_t i = 0; i < y.size(); ++i) {
            EXPECT_EQ(std::bit_cast<std::uint64_t>(wholeY[i]), std::bit_cast<std::uint64_t>(y[i]))
                << i;
        }
    }
}

TEST_F(SinkTest, BandsAreNamedByTheirCentreFrequency) {
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

// 1000 Hz / 64 = 15.6 Hz between the lines: the band at 20 Hz (18 to 22.4 Hz) has none, the one at
// 16 Hz has, and is 0 because the signal has nothing there.
TEST_F(SinkTest, ABandWithoutALineHasNoValue) {
    writeWav("s.wav", std::vector<float>(128, 0.0F), 1, 1000);
    const std::string diagram =
        "[source.s]\nfile = \"s.wav\"\nblock = 64\n[block.f]\ntype = 5004\n[block.third]\ntype = "
        "5001\n[block.m]\ntype = 5003\nPkMode = 3\nPkOutMode = 0\n"
        "[wire]\n\"f.E\" = \"s\"\n\"third.E\" = \"f.S\"\n\"m.E\" = \"third.A\"\n";
    for (const char* sink :
         {"from = \"third.A\"\n", "from = \"m.A\"\n", "from = \"third.A\"\naverage = \"power\"\n",
          "from = \"third.A\"\naverage = \"last\"\n"}) {
        SCOPED_TRACE(sink);
        run(diagram + "[sink.x]\ncsv = \"x\"\nsvg = \"x.svg\"\n" + sink +
                "[compare.c]\nof = \"third.A\"\nwith = \"third.A\"\ntolerance = 1.0\n",
            [](const RunResult& result) {
                EXPECT_THAT(result.tables[0], HasSubstr("\n16,0"));
                EXPECT_THAT(result.tables[0], HasSubstr("\n20,"));
                EXPECT_THAT(result.tables[0], Not(HasSubstr("\n20,0")));
                EXPECT_THAT(result.tables[0], HasSubstr("\n31.5,0"));
                EXPECT_TRUE(std::isnan(result.series(0)[0].y[1]));
                EXPECT_EQ(result.series(0)[0].y[0], 0);
                EXPECT_EQ(result.comparison(0).largest, 0);  // the data are what they were
            });
    }
}

TEST_F(SinkTest, ClassesNameBothTheirLimits) {
    writeWav("s.wav", {0.5F, -0.25F, 0.125F, 0.5F});
    run("[source.s]\nfile = \"s.wav\"\nunit = \"Pa\"\n[block.k]\ntype = \"Klassierung\"\n"
        "PkNumber = 4\nPkBegin = -1.0\nPkEnd = 1.0\nPkCalcMode = 2\n[wire]\n\"k.E\" = \"s\"\n"
        "[sink.x]\nfrom = \"k.A\"\ncsv = \"x\"\nsvg = \"x.svg\"\naverage = \"last\"\n",
        [](const RunResult& result) {
            EXPECT_EQ(result.tables[0],
                      "from [Pa],to [Pa],k.A\n-1,-0.5,0\n-0.5,0,1\n0,0.5,1\n0.5,1,2\n");
            EXPECT_EQ(result.series(0)[0].classWidth, 0.5);
        });
}

// A picture has one x axis, too.
TEST_F(SinkTest, CurvesOverDifferentAxesDoNotShareAPicture) {
    writeWav("s.wav", sine(64, 8));
    try {
        run("[source.s]\nfile = \"s.wav\"\nblock = 64\n[block.f]\ntype = 5004\n[wire]\n\"f.E\" = "
            "\"s\"\n[sink.x]\nfrom = [\"s\", \"f.S\"]\nsvg = \"x.svg\"\n",
            [](const RunResult&) {});
        FAIL() << "no error";
    } catch (const InputError& error) {
        EXPECT_THAT(error.what(), HasSubstr("f.S #1 and s have different x axes"));
    }
}

// A unit or a name may hold what parts columns, or what a spreadsheet would work out.
TEST_F(SinkTest, NamesNeverTearATable) {
    writeWav("s.wav", {0.5F, 0.25F});
    run("[source.s]\nfile = \"s.wav\"\nunit = \"m/s, \\\"fast\\\"\"\n[source.\"=1+1\"]\n"
        "file = \"s.wav\"\n[sink.x]\nfrom = [\"s\", \"=1+1\"]\ncsv = \"x\"\n",
        [](const RunResult& result) {
            EXPECT_THAT(result.tables[0],
                        StartsWith("t [s],\"s [m/s, \"\"fast\"\"]\",'=1+1\n0,0.5,0.5\n"));
        });
}

// What a picture shows in dB stands in the table in dB, with what it is relative to.
TEST_F(SinkTest, LevelsAreInTheTableToo) {
    writeWav("s.wav", sine(64, 8, 0.5F));
    const auto tableOf = [&](const std::string& unit, const std::string& sink) {
        std::string table;
        run("[source.s]\nfile = \"s.wav\"\nblock = 64\nfull_scale = 4.0\n" + unit +
                "[block.f]\ntype = 5004\n[wire]\n\"f.E\" = \"s\"\n"
                "[sink.x]\nfrom = \"f.S\"\ncsv = \"x\"\ny = \"dB\"\n" +
                sink,
            [&](const RunResult& result) { table = result.tables[0]; });
        return table;
    };
    const auto lineAt = [](const std::string& table) {  // 1 kHz, where the sine lies
        const std::size_t at = table.find("\n1000,");
        return std::stod(table.substr(at + 6));
    };
    const std::string none = tableOf("unit = \"Pa\"\n", "reference = 2e-5\n");
    EXPECT_THAT(none, StartsWith("f [Hz],f.S #1 [dB re 20 uPa]\n"));
    EXPECT_NEAR(lineAt(none), 100.0, 1e-2);  // 2 Pa re 20 uPa; 16 bits
    for (const char* average : {"mean", "power", "last"}) {
        const std::string table =
            tableOf("", "reference = 1.0\naverage = \"" + std::string(average) + "\"\n");
        EXPECT_THAT(table, StartsWith("f [Hz],\"f.S [dB re full scale, uncalibrated]\"\n"));
        EXPECT_NEAR(lineAt(table), 20 * std::log10(2.0), 1e-2);
    }
}

// In every format what was written is read again as it was.
TEST_F(SinkTest, TablesOfEveryFormatBecomeRecordings) {
    writeWav("s.wav", sine(64, 8), 2);
    const auto samples = [&](const std::string& source, const std::string& sink) {
        std::vector<float> values;
        run("[source.s]\n" + source + "\n[sink.x]\nfrom = \"s\"\n" + sink,
            [&](const RunResult& result) { values = valuesOf(result, "s"); });
        return values;
    };
    const std::vector<float> whole =
        samples("file = \"s.wav\"\nblock = 7\nfull_scale = 3.0",
                "npy = \"x.npy\"\nwav = \"x.wav\"\njsonl = \"x.jsonl\"\nnpz = \"x.npz\"\n");
    ASSERT_EQ(whole.size(), 64U);
    EXPECT_EQ(samples("file = \"out/x.npy\"", "csv = \"y\"\n"), whole);
    EXPECT_EQ(samples("file = \"out/x.wav\"", "csv = \"y\"\n"), whole);
    // Behind the head the samples stand as they are.
    const std::string wav = read(folder() / "out" / "x.wav");
    write("x.raw", wav.substr(wav.size() - whole.size() * sizeof(float)));
    const std::string raw = "file = \"x.raw\"\nformat = \"f32\"\nchannels = 2\nrate = 8000.0\n";
    EXPECT_EQ(samples(raw, "csv = \"y\"\n"), whole);
    EXPECT_EQ(samples(raw + "start = 0.001\nlength = 0.002\n", "csv = \"y\"\n"),
              std::vector<float>(whole.begin() + 16, whole.begin() + 48));
    EXPECT_THAT(read(folder() / "out" / "x.jsonl"), StartsWith("{\"t [s]\":0,\"s 1\":0,\"s 2\":"));
}

// However many spectra come, the picture has so many columns at most, and loses no line.
TEST(SpectrogramTest, NeighboursShareAFieldThatHasTheHighestOfThem) {
    static constexpr float kGap = std::numeric_limits<float>::quiet_NaN();
    static constexpr std::size_t kLines = 400;  // three share a row
    const auto spectrum = [](float value, std::size_t at) {
        std::vector<float> values(2 * kLines, kGap);  // the first channel
        for (std::size_t line = 0; line < kLines; ++line)
            values[2 * line + 1] = line == at ? value : 1.0F;
        ChannelData data = timeSignal(values, 2, 0.5);
        data.header.xAxisKind = kHertz;
        return data;
    };
    Spectrogram second(spectrum(0, 0), 1);
    Spectrogram first(spectrum(0, 0), 0);
    ASSERT_EQ(second.linesPerRow(), 3U);
    ASSERT_EQ(second.rows(), 134U);
    EXPECT_EQ(second.columns(), 0U);
    constexpr std::size_t kSpectra = 385;
    for (std::size_t i = 0; i < kSpectra; ++i) {
        second.add(spectrum(10.0F + static_cast<float>(i), i), static_cast<double>(i) / 4);
        first.add(spectrum(5, i), static_cast<double>(i) / 4);
    }
    EXPECT_EQ(second.spectra(), kSpectra);
    EXPECT_EQ(second.spectraPerColumn(), 2U);
    ASSERT_EQ(second.columns(), 193U);
    EXPECT_EQ(second.lastTime(), 96.0);
    for (std::size_t i = 0; i < kSpectra; ++i) {  // each one's highest line is there
        const bool isHidden = i % 2 == 0 && i + 1 < kSpectra && (i + 1) / 3 == i / 3;
        EXPECT_EQ(second.fields()[i / 2 * 134 + i / 3],
                  10.0F + static_cast<float>(isHidden ? i + 1 : i));
    }
    for (const float field : first.fields())
        EXPECT_TRUE(std::isnan(field));  // a channel that is no number stays none
    // A short spectrum fills what it has, none at all is no picture.
    ChannelData brief = timeSignal({7, 8}, 1, 1);
    Spectrogram one(timeSignal({1, 2, 3}, 1, 1), 0);
    one.add(brief, 0);
    EXPECT_THAT(std::vector<float>(one.fields().begin(), one.fields().begin() + 2),
                ElementsAreArray({7.0F, 8.0F}));
    EXPECT_TRUE(std::isnan(one.fields()[2]));
    brief.values.clear();
    brief.header.valueCount = 0;
    Spectrogram none(brief, 0);
    none.add(brief, 0);
    EXPECT_EQ(none.columns(), 0U);
}

}  // namespace
}  // namespace vynhost::test
