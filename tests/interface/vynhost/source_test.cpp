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

// Forty samples in blocks of sixteen: two whole ones and a rest of eight.
class ShortRest : public SourceTest {
protected:
    ShortRest() { writeWav("s.wav", sine(40, 3)); }

    struct Outcome {
        std::vector<int> samples;  // of the data blocks at the place
        std::vector<std::string> notes;
        std::string table;
    };
    Outcome outcomeOf(const std::string& tail, const std::string& blocks, const ConnectorName& at,
                      const std::string& more = "") {
        Outcome outcome;
        run("[source.s]\nfile = \"s.wav\"\nblock = 16\n" + tail + blocks + "[sink.x]\nfrom = \"" +
                at.text() + "\"\ncsv = \"x.csv\"\n" + more,
            [&](const RunResult& result) {
                for (const ChannelData& block : result.collected(at).blocks)
                    outcome.samples.push_back(block.samples());
                outcome.notes = result.notes;
                outcome.table = result.tables[0];
            });
        return outcome;
    }
    const std::string fft = "[block.f]\ntype = \"FFT\"\n[wire]\n\"f.E\" = \"s\"\n";
    const std::string filteredFft =
        "[block.w]\ntype = 5008\n[block.f]\ntype = \"FFT\"\n"
        "[wire]\n\"w.E\" = \"s\"\n\"f.E\" = \"w.A\"\n";
};

TEST_F(ShortRest, IsInNoSpectrumUnlessTheSourceSaysSo) {
    const std::string note =
        "f: the recording ends with 8 of the 16 samples of a data block, which is in no spectrum "
        "(tail = \"pad\" or \"keep\" of the source takes it in)";
    for (const std::string& blocks : {fft, filteredFft}) {
        const Outcome whole = outcomeOf("", blocks, {"f", "S", {}});
        EXPECT_THAT(whole.samples, ElementsAre(8, 8));
        EXPECT_THAT(whole.notes, ::testing::Contains(note));
        EXPECT_THAT(whole.table, ::testing::StartsWith("f [Hz],f.S #1,f.S #2\n0,"));
    }
    const Outcome padded = outcomeOf("tail = \"pad\"\n", fft, {"f", "S", {}});
    EXPECT_THAT(padded.samples, ElementsAre(8, 8, 8));
    EXPECT_THAT(padded.notes, SizeIs(1));
    const Outcome dropped = outcomeOf("tail = \"drop\"\n", fft, {"f", "S", {}});
    EXPECT_THAT(dropped.samples, ElementsAre(8, 8));
    EXPECT_THAT(dropped.notes, SizeIs(1));
}

TEST_F(ShortRest, IsASpectrumOfOtherLinesWhereItIsKept) {
    std::vector<std::string> notes;
    run("[source.s]\nfile = \"s.wav\"\nblock = 16\ntail = \"keep\"\n" + fft +
            "[sink.x]\nfrom = \"f.S\"\nsvg = \"x.svg\"\naverage = \"mean\"\n",
        [&](const RunResult& result) { notes = result.notes; });
    EXPECT_THAT(notes, ::testing::Contains("f: the last data block has 8 instead of 16 samples and "
                                           "a spectrum of other lines"));
    try {
        outcomeOf("tail = \"keep\"\n", fft, {"f", "S", {}});
        ADD_FAILURE() << "both are in one table";
    } catch (const InputError& error) {
        EXPECT_THAT(
            error.what(),
            HasSubstr("sink.x: f.S #3 and f.S #1 have different x axes: the last data block "
                      "is a short one, which tail = \"drop\" or \"pad\" of its source mends"));
    }
}

TEST_F(ShortRest, IsKeptInTimeAndOnTheWayBackIntoTime) {
    EXPECT_THAT(outcomeOf("", fft, {"s", "", {}}).samples, ElementsAre(16, 16, 8));
    const Outcome back =
        outcomeOf("",
                  "[block.f]\ntype = \"FFT\"\nPkAmplType = \"REALIMAGINAER\"\n[block.b]\n"
                  "type = 5005\n[wire]\n\"f.E\" = \"s\"\n\"b.R\" = \"f.R\"\n\"b.I\" = \"f.I\"\n",
                  {"b", "A", {}});
    EXPECT_THAT(back.samples, ElementsAre(16, 16, 8));
    EXPECT_THAT(back.notes, SizeIs(1));
}

TEST_F(ShortRest, OfTwoSignalsIsLeftOutOfBothAndToldOnce) {
    const Outcome two = outcomeOf(
        "", "[block.f]\ntype = 5006\n[wire]\n\"f.E\" = \"s\"\n\"f.A\" = \"s\"\n", {"f", "A", {}});
    EXPECT_THAT(two.samples, ElementsAre(8, 8));
    EXPECT_THAT(two.notes, SizeIs(2));
}

// Else nothing at all would come of it.
TEST_F(ShortRest, ThatIsAllThereIsIsOneSpectrum) {
    writeWav("s.wav", sine(12, 1));
    const Outcome one = outcomeOf("", fft, {"f", "S", {}});
    EXPECT_THAT(one.samples, ElementsAre(6));
    EXPECT_THAT(one.notes, SizeIs(1));
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

// --- Recordings that were cut off -----------------------------------------------------------

class CutRecording : public SourceTest {
protected:
    // Two channels of eight samples, 16 bits; behind a head of 44 bytes.
    CutRecording() {
        for (int i = 0; i < 16; ++i)
            samples_.push_back(static_cast<float>(i) / 32768);
        whole_ = read(writeWav("s.wav", samples_, 2));
    }

    struct Outcome {
        std::vector<float> values;
        std::string note;
    };
    Outcome used(const std::string& bytes) {
        write("s.wav", bytes);
        Outcome outcome;
        run("[source.s]\nfile = \"s.wav\"\nblock = 4\non_truncated = \"use\"\n"
            "[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n",
            [&](const RunResult& result) {
                outcome = {valuesOf(result, "s"), result.notes.at(0)};
            });
        return outcome;
    }
    std::string refused(const std::string& bytes) {
        write("s.wav", bytes);
        return errorOf("[source.s]\nfile = \"s.wav\"\n");
    }
    std::vector<float> first(std::size_t frames) const {
        return {samples_.begin(), samples_.begin() + static_cast<std::ptrdiff_t>(2 * frames)};
    }
    std::string whole() const { return whole_; }

private:
    std::vector<float> samples_;
    std::string whole_;
};

constexpr std::size_t kWavHead = 44;

TEST_F(CutRecording, IsReadAsFarAsItGoesAndSaysWhatIsMissing) {
    EXPECT_THAT(used(whole()).note, ::testing::EndsWith("8 samples at 8000 Hz, 2 channels"));
    // Five samples per channel and a half one.
    const Outcome cut = used(whole().substr(0, kWavHead + 5 * 4 + 1));
    EXPECT_EQ(cut.values, first(5));
    EXPECT_THAT(cut.note, ::testing::EndsWith(
                              "s.wav, 5 samples at 8000 Hz, 2 channels; truncated, 3 of the 8 "
                              "samples per channel that its head promises are missing "
                              "(0.000375 s, 11 bytes)"));
    // To the end of a data block.
    EXPECT_EQ(used(whole().substr(0, kWavHead + 4 * 4)).values, first(4));
}

TEST_F(CutRecording, IsRefusedWithTheKeyThatWouldTakeIt) {
    EXPECT_EQ(
        refused(whole().substr(0, kWavHead + 21)),
        "d.toml:2: source.s.file: s.wav: is truncated: its head promises 8 samples per "
        "channel, the file holds 5 (on_truncated = \"use\" of the source takes what is there)");
    EXPECT_EQ(refused(whole()), "");
}

TEST_F(CutRecording, MayHaveAHeadThatWasNeverFinished) {
    for (const char* size : {"\0\0\0\0", "\xFF\xFF\xFF\xFF"}) {
        std::string bytes = whole();
        bytes.replace(4, 4, size, 4);
        bytes.replace(kWavHead - 4, 4, size, 4);
        EXPECT_EQ(
            refused(bytes),
            "d.toml:2: source.s.file: s.wav: is truncated: its head does not say where it ends "
            "(on_truncated = \"use\" of the source takes what is there)");
        const Outcome cut = used(bytes);
        EXPECT_EQ(cut.values, first(8));
        EXPECT_THAT(cut.note, ::testing::EndsWith("; its head does not say where it ends"));
    }
}

TEST_F(CutRecording, NeedsASampleAtLeast) {
    for (const char* key : {"", "on_truncated = \"use\"\n"}) {
        write("s.wav", whole().substr(0, kWavHead + 3));
        EXPECT_THAT(errorOf(std::string("[source.s]\nfile = \"s.wav\"\n") + key),
                    ::testing::StartsWith("d.toml:2: source.s.file: s.wav: "));
    }
    EXPECT_THAT(refused(whole().substr(0, kWavHead - 2)), HasSubstr("holds no samples"));
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

TEST_F(SourceTest, ARecordingOfAnotherRateSaysSo) {
    writeWav("s.wav", {0.5F});
    const auto noteWith = [&](const char* rate) {
        std::string note;
        run(std::string("[source.s]\nfile = \"s.wav\"\nrate = ") + rate +
                "\n[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n",
            [&](const RunResult& result) { note = result.notes.at(0); });
        return note;
    };
    EXPECT_THAT(noteWith("44100"), HasSubstr("1 samples at 8000 Hz, 1 channel; its own rate "
                                             "counts, not the diagram's 44100 Hz"));
    EXPECT_THAT(noteWith("8000.0"), testing::EndsWith("1 channel"));
}

}  // namespace
}  // namespace vynhost::test
