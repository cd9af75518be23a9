// Diagrams that ask for much.
#include "vynhost/base/memory_limit.h"

#include "interface/leak_expected.h"
#include "interface/vynhost/run_fixture.h"
#include "vynhost/base/text.h"

namespace vynhost::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using ::testing::StartsWith;

TEST(MemoryText, IsRoundedUp) {
    EXPECT_EQ(memoryText(0), "0 MiB");
    EXPECT_EQ(memoryText(1), "1 MiB");
    EXPECT_EQ(memoryText(std::uint64_t{1} << 30), "1 GiB");
    EXPECT_EQ(memoryText((std::uint64_t{1} << 30) + 1), "1025 MiB");
    EXPECT_EQ(memoryText((std::uint64_t{16} << 30) + 1), "17 GiB");
    EXPECT_EQ(memoryText(~std::uint64_t{0}), "17179869184 GiB");
}

TEST(MemoryPart, ThePartsTogetherStayWithinTheLimit) {
    constexpr std::uint64_t kMebi = 1 << 20;
    MemoryLimit limit(10 * kMebi);
    MemoryPart first(limit, {"d.toml", 1, "source.s"});
    first.set(7 * kMebi, "one");
    first.set(6 * kMebi, "one");
    {
        MemoryPart second(limit, {"d.toml", 2, "sink.x"});
        second.set(4 * kMebi, "two");
        EXPECT_THROW(first.set(6 * kMebi + 1, "one"), InputError);
        try {
            second.set(4 * kMebi + 1, "two");
            FAIL();
        } catch (const InputError& error) {
            EXPECT_STREQ(error.what(),
                         "d.toml:2: sink.x: two would take 5 MiB beside 6 MiB of the rest; a run "
                         "may take 10 MiB (--memory raises that)");
        }
    }
    EXPECT_NO_THROW(first.set(10 * kMebi, "one"));
    EXPECT_THROW(first.set(~std::uint64_t{0}, "one"), InputError);
}

class MemoryLimitTest : public RunTest {
protected:
    std::string errorOfRun(const std::string& toml) {
        try {
            run(toml, [](const RunResult&) {});
        } catch (const InputError& error) {
            return std::string(error.what()).substr(textOf(folder() / "").size());
        }
        return "";
    }
    // A sink of the signal "s".
    static std::string sink(const std::string& more = "csv = \"x\"") {
        return "[sink.x]\nfrom = \"s\"\n" + more + "\n";
    }
    static std::string channels(int count) {
        std::string list = "channels = [1";
        for (int i = 1; i < count; ++i)
            list += ", 1";
        return list + "]\n";
    }
    const std::string noise = "[source.s]\nnoise = { rms = 1.0 }\nrate = 8000.0\n";  // lines 1-3
};

TEST_F(MemoryLimitTest, AShortRecordingFitsAnyBlock) {
    writeWav("s.wav", std::vector<float>(1024, 0.5F), 1024);
    run("[source.s]\nfile = \"s.wav\"\nblock = 16777216\n" + sink(), [](const RunResult& result) {
        const auto& blocks = result.collected({"s", "", {}}).blocks;
        ASSERT_THAT(blocks, SizeIs(1));
        EXPECT_THAT(blocks[0].values, SizeIs(1024));
    });
}

TEST_F(MemoryLimitTest, ADataBlockThatIsTooLargeIsRefused) {
    writeWav("s.wav", std::vector<float>(1024, 0.5F), 1024);
    EXPECT_EQ(errorOf("[source.s]\nfile = \"s.wav\"\nblock = 16777216\ntail = \"pad\"\n"),
              "d.toml:1: source.s: a data block of 16777216 samples per channel would take 65 GiB; "
              "a run may take 1 GiB (--memory raises that)");
    // Read, chosen, and at an input: 3 x 4 bytes of each sample.
    const std::string far = noise + "block = 16777216\nseconds = 1e6\n";
    EXPECT_EQ(errorOf(far + channels(20) + "[block.f]\ntype = \"FFT\"\n[wire]\n\"f.E\" = \"s\"\n"),
              "d.toml:1: source.s: a data block of 16777216 samples per channel would take 2624 "
              "MiB; a run may take 1 GiB (--memory raises that)");
}

TEST_F(MemoryLimitTest, AHighChannelOfNoiseIsOneChannel) {
    run(noise + "seconds = 0.01\nchannels = [100000]\n" + sink(), [](const RunResult& result) {
        EXPECT_EQ(result.collected({"s", "", {}}).blocks.at(0).channels(), 1);
    });
    EXPECT_EQ(errorOf(noise + "seconds = 0.01\n" + channels(60'000)),
              "d.toml:5: source.s.channels: are 60000, at most 1024 are possible");
}

TEST_F(MemoryLimitTest, WhatASinkKeepsIsLimited) {
    memory = 100 << 20;
    std::string from = "\"s\"";
    for (int i = 1; i < 20'000; ++i)
        from += ", \"s\"";
    const std::string sinks = "seconds = 1.0\n[sink.x]\nfrom = [" + from + "]\nsvg = \"x\"\n";
    EXPECT_EQ(errorOfRun(noise + sinks),
              "d.toml:5: sink.x: what its columns and curves keep would take 101 MiB; a run may "
              "take 100 MiB (--memory raises that)");
}

TEST_F(MemoryLimitTest, WhatWaitsToBeComparedIsLimited) {
    memory = 1 << 20;
    const std::string long_ = noise + "seconds = 1e6\n";
    const std::string short_ = "[source.t]\nnoise = { rms = 1.0 }\nrate = 8000.0\nseconds = 0.01\n";
    EXPECT_EQ(
        errorOfRun(long_ + short_ + "[compare.c]\nof = \"s\"\nwith = \"t\"\n"),
        "d.toml:10: compare.c.of: what one side has and the other not yet would take 1 MiB; a "
        "run may take 1 MiB (--memory raises that)");
}

TEST_F(MemoryLimitTest, OneBlockTooManyIsRefused) {
    std::string toml;
    for (int i = 0; i < 1024; ++i)
        toml += "[block.b" + std::to_string(i) + "]\ntype = \"FFT\"\n";
    const LeakExpected lost;  // the module loses the block for which it has no handle
    EXPECT_EQ(errorOf(toml),
              "d.toml:2048: block.b1023.type: the module makes no further block "
              "(1023 at once is most)");
}

}  // namespace
}  // namespace vynhost::test
