// Whole runs.
#include <algorithm>
#include <cmath>
#include <csignal>
#include <numbers>

#include "interface/vynhost/run_fixture.h"
#include "support/source_folder.h"
#include "vynhost/base/text.h"
#include "vynhost/results/svg_chart.h"
#include "vynhost/run/interrupt.h"

namespace vynhost::test {
namespace {

using ::testing::StartsWith;

class RunnerTest : public RunTest {};

// The inverse block puts the last line's real part where the line at half the sample rate belongs,
// so each data block differs from the recording by (Re X[N/2-1] - X[N/2]) / N, with alternating
// sign; beyond that, only single-precision rounding is left.
TEST_F(RunnerTest, TheWayThereAndBackDiffersByTheMissingLineAlone) {
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

TEST_F(RunnerTest, TheSameRunGivesTheSameBytes) {
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

// The examples that ship, as far as their block types exist and the recordings are installed.
TEST_F(RunnerTest, EveryExampleRunsToItsEnd) {
    int seen = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::string(kSourceFolder) + "/examples")) {
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

TEST_F(RunnerTest, TheReadmeShowsWhatTheExampleDraws) {
    const std::filesystem::path root = std::string(kSourceFolder);
    const Diagram diagram = readDiagram(root / "examples" / "spectrum.toml");
    if (!std::filesystem::exists(diagram.sources.at(0).file)) {
        GTEST_SKIP() << "the recording is not installed";
    }
    runFile(diagram.file, [&](const RunResult&) {
        EXPECT_EQ(read(folder() / "out" / "spectrum.svg"),
                  read(root / "docs" / "images" / "spectrum.svg"))
            << "./run draws another picture; copy out/spectrum.svg over the page's";
    });
}

TEST_F(RunnerTest, AnInterruptEndsTheRunAndLeavesNoFile) {
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

}  // namespace
}  // namespace vynhost::test
