// Files that are recordings.
#include "vynhost/run/recording.h"
#include "interface/vynhost/run_fixture.h"
#include "vynhost/results/table_file.h"

namespace vynhost::test {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class RecordingTest : public RunTest {};

TEST_F(RecordingTest, TablesOfBothNumberStylesAreRead) {
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

TEST_F(RecordingTest, WhatIsWrittenAsATableIsReadBackAsItWas) {
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

// Both kinds of table, with a gap, small and large numbers, and names with what parts cells.
TEST_F(RecordingTest, BothKindsOfTableAreReadBackAsTheyWereWritten) {
    write("s.csv",
          "t,\"left; near\",\"right, far\"\ns,Pa,Pa\n0,1.5e-30,-2\n0.5,,1234567\n1,0.1,3\n");
    const std::string sink = "[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n";
    std::vector<float> before;
    for (const TableStyle* style : {&kPointTables, &kCommaTables}) {
        SCOPED_TRACE(style->separator);
        tables = style;
        std::string table;
        run("[source.s]\nfile = \"s.csv\"\n" + sink, [&](const RunResult& result) {
            before = valuesOf(result, "s");
            table = result.tables[0];
        });
        EXPECT_EQ(table, style == &kPointTables
                             ? "t [s],\"s left; near [Pa]\",\"s right, far [Pa]\"\n"
                               "0,1.5e-30,-2\n0.5,,1234567\n1,0.1,3\n"
                             : "\xEF\xBB\xBFt [s];\"s left; near [Pa]\";\"s right, far [Pa]\"\n"
                               "0;1,5e-30;-2\n0,5;;1234567\n1;0,1;3\n");
        write("back.csv", table);
        run("[source.s]\nfile = \"back.csv\"\n" + sink, [&](const RunResult& result) {
            std::vector<float> after = valuesOf(result, "s");
            ASSERT_TRUE(before.size() > 2 && after.size() == before.size());
            EXPECT_TRUE(std::isnan(before[2]) && std::isnan(after[2]));
            before[2] = after[2] = 0;
            EXPECT_EQ(after, before);
            EXPECT_EQ(result.tables[0], table);
        });
    }
}

// A sink's columns and curves are called as the recording calls its channels, behind blocks too.
TEST_F(RecordingTest, ChannelsKeepTheirNames) {
    write("s.csv", "Zeit;links;rechts;\ns;Pa;Pa;Pa\n0;1;2;3\n0,5;3;4;5\n");
    const std::string blocks =
        "[block.f]\ntype = \"FFT\"\n[block.n]\ntype = \"Statistik\"\nPkYMax = 1\n"
        "[wire]\n\"f.E\" = \"s\"\n\"n.E\" = \"s\"\n"
        "[sink.x]\nfrom = [\"s\"]\ncsv = \"x\"\n[sink.y]\nfrom = \"f.S\"\ncsv = \"y\"\n"
        "average = \"last\"\n[sink.z]\nfrom = \"n.A\"\ncsv = \"z\"\n";
    run("[source.s]\nfile = \"s.csv\"\n" + blocks, [](const RunResult& result) {
        EXPECT_THAT(result.tables[0], StartsWith("t [s],s links [Pa],s rechts [Pa],s 3 [Pa]\n"));
        EXPECT_THAT(result.tables[1],
                    StartsWith("f [Hz],f.S links [Pa],f.S rechts [Pa],f.S 3 [Pa]\n"));
        EXPECT_THAT(result.tables[2], StartsWith("block,n.A YMax links"));
        EXPECT_EQ(result.series(0)[1].name, "s rechts");
        EXPECT_THAT(result.notes[0], EndsWith("2 samples at 2 Hz, 3 channels in Pa"));
    });
    run("[source.s]\nfile = \"s.csv\"\nchannels = [2]\nunit = \"V\"\n" + blocks,
        [](const RunResult& result) {
            EXPECT_THAT(result.tables[0], StartsWith("t [s],s rechts [V]\n"));
        });
}

// One unit for all channels is the recording's; what holds for some stays in their names.
TEST_F(RecordingTest, UnitsOfTheFileAreTakenWhereTheyHold) {
    const auto head = [this](const char* table, const std::string& more) {
        write("s.csv", table);
        std::string line;
        run("[source.s]\nfile = \"s.csv\"\n" + more + "[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n",
            [&](const RunResult& result) {
                line = result.tables[0].substr(0, result.tables[0].find('\n'));
            });
        return line;
    };
    const char* mixed = "t [s],a [V],b [A]\n0,1,2\n1,2,3\n";
    EXPECT_EQ(head(mixed, ""), "t [s],s a [V],s b [A]");
    EXPECT_EQ(head(mixed, "channels = [2]\n"), "t [s],s b [A]");
    EXPECT_EQ(head(mixed, "unit = \"mV\"\n"), "t [s],s a [mV],s b [mV]");
    EXPECT_EQ(head("t [s],s [V]\n0,1\n1,2\n", ""), "t [s],s [V]");
    EXPECT_EQ(head("Zeit,Druck\n[s],(Pa)\n0,1\n1,2\n", ""), "t [s],s Druck [Pa]");
    EXPECT_EQ(head("A title\nt,a\ns,-\n0,1\n1,2\n", ""), "t [s],s a");
    EXPECT_EQ(head("0,1\n1,2\n", ""), "t [s],s");
}

TEST_F(RecordingTest, TablesOfMeasuringProgramsAreRead) {
    for (const char* table : {
             "# a comment\nTime,Signal\ns,Pa\n0,1\n# in between\n0.5,2\n1,-1500.5\n",
             "\"Time\";\"Signal; left\"\n\"s\";\"Pa\"\n\"0\";\"1\"\n\"0,5\";\"2\"\n"
             "1;-1.500,5\n",
             "t,a\n2026-02-28 23:59:59.5,1\n2026-03-01 00:00:00.0,2\n"
             "2026-03-01T00:00:00.5,\"-1,500.5\"\n",
             "t;a\n31.12.2025 23:59:59,5;1\n01.01.2026 00:00:00,0;2\n01.01.2026 "
             "00:00:00,5;-1500,5\n",
             "10:59:59.5\t1\n11:00:00\t2\n11:00:00.5\t-1500.5\n",
         }) {
        SCOPED_TRACE(table);
        write("s.csv", table);
        run("[source.s]\nfile = \"s.csv\"\n[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n",
            [](const RunResult& result) {
                const ChannelData& block = result.collected({"s", "", {}}).blocks.at(0);
                EXPECT_EQ(block.header.xStart, 0);
                EXPECT_EQ(block.header.xStep, 0.5);
                EXPECT_THAT(block.values, ElementsAre(1, 2, -1500.5F));
            });
    }
}

TEST_F(RecordingTest, AnEmptyCellIsAGap) {
    write("s.csv", "t;a;b\n0;1;2\n1;;4\n2;5;\n");
    run("[source.s]\nfile = \"s.csv\"\n[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n",
        [](const RunResult& result) {
            const auto values = valuesOf(result, "s");
            ASSERT_EQ(values.size(), 6U);
            EXPECT_TRUE(std::isnan(values[2]));
            EXPECT_EQ(values[3], 4);
            EXPECT_TRUE(std::isnan(values[5]));
        });
}

TEST_F(RecordingTest, ACellThatIsNoNumberIsNamedWithItsPlace) {
    const auto errorWith = [this](const char* table) {
        write("s.csv", table);
        return errorOf("[source.s]\nfile = \"s.csv\"\n");
    };
    EXPECT_THAT(errorWith("0,1\n1,x\n"), HasSubstr("line 2, column 2: \"x\" is no number"));
    // The first row is no head because of one bad cell.
    EXPECT_THAT(errorWith("0,1,O\n1,1,1\n2,1,1\n"),
                HasSubstr("line 1, column 3: \"O\" is no number"));
    EXPECT_THAT(errorWith("t,a\n0,1\n1,1e39\n"),
                HasSubstr("line 3, column 2: \"1e39\" is beyond the largest number"));
    EXPECT_THAT(errorWith("t,a\n2026-02-30 00:00:00,1\n2026-03-01 00:00:00,2\n"),
                HasSubstr("line 2, column 1: \"2026-02-30 00:00:00\" is no number"));
}

TEST_F(RecordingTest, StepsMustLeaveARate) {
    write("s.csv", "0,1\n5e-324,2\n1e-323,3\n");
    EXPECT_THAT(errorOf("[source.s]\nfile = \"s.csv\"\n"),
                HasSubstr("has an x column whose steps are too small or too large"));
}

// The largest and the smallest values of G.711, decoded by its tables; the others are halves.
TEST_F(RecordingTest, WavFilesOfEveryCodingAreRead) {
    struct Coding {
        std::uint16_t format;
        std::uint16_t bits;
        std::string bytes;
        std::vector<float> expected;
    };
    const std::vector<Coding> codings = {
        {1, 8, {"\xC0\x40", 2}, {0.5F, -0.5F}},
        {1, 16, {"\0\x40\0\xC0", 4}, {0.5F, -0.5F}},
        {1, 24, {"\0\0\x40\0\0\xC0\x01\0\0", 9}, {0.5F, -0.5F, 1.0F / 8388608}},
        {1, 32, {"\0\0\0\x40\0\0\0\xC0", 8}, {0.5F, -0.5F}},
        {3, 32, {"\0\0\0\x3F\0\0\0\xBF", 8}, {0.5F, -0.5F}},
        {3, 64, {"\0\0\0\0\0\0\xE0\x3F", 8}, {0.5F}},
        {6,
         8,
         {"\xAA\x2A\xD5\x55", 4},
         {32256.0F / 32768, -32256.0F / 32768, 8.0F / 32768, -8.0F / 32768}},
        {7, 8, {"\x80\0\xFF\xFE", 4}, {32124.0F / 32768, -32124.0F / 32768, 0, 8.0F / 32768}}};
    const auto number = [](auto value) {
        return std::string(reinterpret_cast<const char*>(&value), sizeof value);
    };
    for (const Coding& coding : codings) {
        SCOPED_TRACE(coding.format);
        SCOPED_TRACE(coding.bits);
        const auto frame = static_cast<std::uint16_t>(coding.bits / 8);
        const auto size = static_cast<std::uint32_t>(coding.bytes.size());
        write("s.wav", "RIFF" + number(36 + size) + "WAVEfmt " + number(std::uint32_t{16}) +
                           number(coding.format) + number(std::uint16_t{1}) +
                           number(std::uint32_t{8000}) + number(std::uint32_t{8000} * frame) +
                           number(frame) + number(coding.bits) + "data" + number(size) +
                           coding.bytes);
        run("[source.s]\nfile = \"s.wav\"\n[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n",
            [&](const RunResult& result) { EXPECT_EQ(valuesOf(result, "s"), coding.expected); });
    }
}

// On both systems; what other programs make of such files, and they of ours, the Python tests know.
TEST_F(RecordingTest, AMatFileIsReadBackAsItWasWritten) {
    write("s.csv", "t,\"left [Pa]\",right [V]\n3,1.5e-30,-2\n3.5,,1234567\n4,0.1,3\n");
    run("[source.s]\nfile = \"s.csv\"\n[sink.x]\nfrom = \"s\"\nmat = \"x.mat\"\n",
        [](const RunResult&) {});
    run("[source.s]\nfile = \"out/x.mat\"\n[sink.x]\nfrom = \"s\"\ncsv = \"y.csv\"\n",
        [](const RunResult& result) {
            EXPECT_EQ(result.tables[0],
                      "t [s],s left [Pa],s right [V]\n3,1.5e-30,-2\n3.5,,1234567\n4,0.1,3\n");
        });
    const std::string whole = read(folder() / "out/x.mat");
    write("cut.mat", whole.substr(0, whole.size() - 40));
    EXPECT_THAT(errorOf("[source.s]\nfile = \"cut.mat\"\n"),
                HasSubstr("ends before its variables"));
}

// Where the library is.
TEST_F(RecordingTest, Hdf5IsReadAndWrittenNatively) {
    write("s.csv", "0,1\n1,2\n");
    write("s.h5", "\x89HDF\r\n\x1a\n");
    const std::string sink = "[sink.x]\nfrom = \"s\"\nhdf5 = \"x.h5\"\n";
    if (!platform::kHasDialogs) {
        EXPECT_THAT(errorOf("[source.s]\nfile = \"s.h5\"\n"), HasSubstr("or a damaged one"));
        run("[source.s]\nfile = \"s.csv\"\n" + sink, [](const RunResult&) {});
        EXPECT_THAT(read(folder() / "out/x.h5"), StartsWith("\x89HDF"));
        return;
    }
    EXPECT_THAT(errorOf("[source.s]\nfile = \"s.h5\"\n"), HasSubstr("not read on Windows"));
    try {
        run("[source.s]\nfile = \"s.csv\"\n" + sink, [](const RunResult&) {});
        FAIL();
    } catch (const InputError& error) {
        EXPECT_THAT(error.what(), HasSubstr("sink.x: no hdf5 is written on Windows"));
    }
}

// Five gigabytes of which the system keeps only what is written: a head, and the last sample.
TEST_F(RecordingTest, BeyondFourGigabytesAHeadHasLongSizes) {
    constexpr std::int64_t kFrames = 1250000000;
    const std::string head = wavHead(kFrames, 1, 48000);
    ASSERT_THAT(head, StartsWith("RF64"));
    const std::filesystem::path file = write("long.wav", head);
    std::filesystem::resize_file(file, head.size() + (kFrames - 1) * sizeof(float));
    const float last = 0.5F;
    std::ofstream(file, std::ios::binary | std::ios::app)
        .write(reinterpret_cast<const char*>(&last), sizeof last);
    std::vector<std::unique_ptr<Recording>> readers;
    readers.push_back(openWav(file));
    if (!platform::kHasDialogs) readers.push_back(openOtherAudio(file, Truncated::refuse));
    for (const auto& recording : readers) {
        EXPECT_EQ(recording->frames(), kFrames);
        EXPECT_EQ(recording->rate(), 48000);
        recording->skip(kFrames - 2);
        std::vector<float> samples(5);
        EXPECT_EQ(recording->read(samples), 2U);
        EXPECT_THAT(std::span(samples).first(2), ElementsAre(0, last));
    }
    EXPECT_THAT(wavHead(kFrames / 2, 1, 48000), StartsWith("RIFF"));
}

}  // namespace
}  // namespace vynhost::test
