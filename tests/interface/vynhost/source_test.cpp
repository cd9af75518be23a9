// Samples on their way from a recording, or from nowhere, into data blocks.
#include <cmath>

#include "interface/vynhost/run_fixture.h"
#include "vynhost/base/text.h"

namespace vynhost::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

class SourceTest : public RunTest {};

TEST_F(SourceTest, ASourceIsScaledAndCutIntoBlocks) {
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

TEST_F(SourceTest, TheTailIsKeptDroppedOrPadded) {
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

TEST_F(SourceTest, ChannelsAreChosenInTheGivenOrder) {
    writeWav("s.wav", {0.1F, 0.2F, 0.3F, 0.4F, 0.5F, 0.6F}, 3);
    run("[source.s]\nfile = \"s.wav\"\nchannels = [3, 1]\n[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n",
        [](const RunResult& result) {
            const ChannelData& block = result.collected({"s", "", {}}).blocks.at(0);
            EXPECT_EQ(block.channels(), 2);
            EXPECT_NEAR(block.at(0, 0), 0.3F, 1e-4F);
            EXPECT_NEAR(block.at(1, 1), 0.4F, 1e-4F);
        });
}

TEST_F(SourceTest, AnotherRecordingReplacesASource) {
    writeWav("s.wav", {0.5F});
    writeWav("Straße_Öl.wav", {0.25F, 0.25F});
    run("[source.s]\nfile = \"s.wav\"\n[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n",
        [](const RunResult& result) {
            EXPECT_THAT(valuesOf(result, "s"), ElementsAre(0.25F, 0.25F));
        },
        {{"s", folder() / pathOf("Straße_Öl.wav")}});
}

TEST_F(SourceTest, NoiseIsTheSameEveryTime) {
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

TEST_F(SourceTest, NoiseIsWhiteAndAsLoudAsItShouldBe) {
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

TEST_F(SourceTest, NoiseOnARecordingIsAddedAfterTheScaling) {
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

}  // namespace
}  // namespace vynhost::test
