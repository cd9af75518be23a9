// Files that are recordings.
#include "vynhost/run/recording.h"
#include "interface/vynhost/run_fixture.h"
#include "support/record_bytes.h"
#include "vynhost/results/table_file.h"
#include "vynhost/run/sample_coding.h"

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

TEST_F(RecordingTest, ThousandsMayBeParted) {
    write("s.csv", "t;a\n0;1.989.999,5\n1;-9.990,5\n2;1.234.567\n");
    run("[source.s]\nfile = \"s.csv\"\n[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n",
        [](const RunResult& result) {
            EXPECT_THAT(result.collected({"s", "", {}}).blocks.at(0).values,
                        ElementsAre(1989999.5F, -9990.5F, 1234567));
        });
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

TEST_F(RecordingTest, AnHourHasSixtyMinutes) {
    write("s.csv", "t,a\n12:59:00,1\n12:60:00,2\n13:01:00,3\n");
    EXPECT_THAT(errorOf("[source.s]\nfile = \"s.csv\"\n"), HasSubstr("\"12:60:00\" is no number"));
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
    EXPECT_EQ(head.substr(4, 4), "\xFF\xFF\xFF\xFF");
    // 4 bytes a sample; behind the first eight bytes stand 50 of the head.
    EXPECT_THAT(wavHead(1000, 2, 48000), StartsWith(std::string("RIFF\x72\x1F\0\0WAVE", 12)));
    EXPECT_THAT(wavHead(kFrames / 2, 1, 48000), StartsWith("RIFF"));
}

TEST_F(RecordingTest, WhatATableSaysIsReadInEveryWayItIsWritten) {
    struct Table {
        const char* content;
        std::vector<float> expected;
        const char* head;
    };
    const std::string row101 = [] {
        std::string rows;
        for (int i = 0; i < 101; ++i)
            rows += "some text,more\n";
        return rows;
    }();
    const std::vector<Table> all = {
        // Points and commas that part thousands, where nothing else can be meant.
        {"0;1.234.567\n1;12.345,5\n", {1234567, 12345.5F}, "t [s],s"},
        {"0,\"1,234,567\"\n1,\"1,234.5\"\n", {1234567, 1234.5F}, "t [s],s"},
        {"0,inf\n1,-inf\n",
         {std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity()},
         "t [s],s"},
        // Units of a row of their own, in any bracket; those of the names count before them.
        {"t,a,b,c\ns,[Pa],(V),[A\n0,1,2,3\n1,4,5,6\n",
         {1, 2, 3, 4, 5, 6},
         "t [s],s a [Pa],s b [V],s c [[A]"},
        {"t,a [Pa]\ns,V\n0,1\n1,2\n", {1, 2}, "t [s],s a [Pa]"},
        {"t,a]\n0,1\n1,2\n", {1, 2}, "t [s],s a]"},
        // A quote within a cell is a letter.
        {"t,the \"left\" one\n0,1\n1,2\n", {1, 2}, "t [s],\"s the \"\"left\"\" one\""},
        {row101.c_str(), {}, ""},
    };
    for (const Table& table : all) {
        SCOPED_TRACE(table.content);
        if (table.expected.empty()) {
            write("s.csv", std::string(table.content) + "0,1\n1,2\n");
            run("[source.s]\nfile = \"s.csv\"\n[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n",
                [](const RunResult& result) {
                    EXPECT_THAT(valuesOf(result, "s"), ElementsAre(1, 2));
                });
            continue;
        }
        write("s.csv", table.content);
        run("[source.s]\nfile = \"s.csv\"\n[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n",
            [&](const RunResult& result) {
                EXPECT_EQ(valuesOf(result, "s"), table.expected);
                EXPECT_EQ(result.tables[0].substr(0, result.tables[0].find('\n')), table.head);
            });
    }
    // Where the source has the rate, every column is a channel.
    write("s.csv", "a [V],b [V]\n1,2\n,4\n");
    run("[source.s]\nfile = \"s.csv\"\nrate = 10.0\n[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n",
        [](const RunResult& result) {
            EXPECT_EQ(result.tables[0], "t [s],s a [V],s b [V]\n0,1,2\n0.1,,4\n");
        });
}

TEST_F(RecordingTest, WhatIsNoTableOfSamplesIsRefusedWithItsPlace) {
    const std::string wide = [] {
        std::string row = "0";
        for (int i = 0; i < 1025; ++i)
            row += ",1";
        return row + "\n";
    }();
    struct Refusal {
        std::string table;
        const char* said;
    };
    const std::vector<Refusal> all = {
        {"", "holds no numbers"},
        {"# a comment\n \t\r\nt,a\n", "holds no numbers"},
        {"0,1\n1,2,3\n", "line 2: 3 columns are not as expected"},
        {"0\n1\n", "line 1: 1 columns are not as expected"},
        {wide, "line 1: 1026 columns are not as expected"},
        {"0,1\n", "has too few rows to tell the sample rate"},
        {"1,1\n0,2\n", "has no evenly rising x column"},
        {"0,1\n1,1\n1,1\n", "has no evenly rising x column"},
        {",1\n1,2\n", "line 1, column 1: \"\" is no number"},
        // Groups that are none of three digits.
        {"0;1.23.456\n1;2\n", "line 1, column 2: \"1.23.456\" is no number"},
        {"0;12345.678.901\n1;2\n", "\"12345.678.901\" is no number"},
        {"0;1.234.56\n1;2\n", "\"1.234.56\" is no number"},
        {"0;.123.456\n1;2\n", "\".123.456\" is no number"},
        {"0,\"1,234\"\n1,2\n", "\"1,234\" is no number"},  // or is it 1.234?
        // Moments that are none.
        {":30,1\n:31,2\n", "\":30\" is no number"},
        {"12:xx,1\n12:31,2\n", "\"12:xx\" is no number"},
        {"12:30:00:00,1\n12:31,2\n", "\"12:30:00:00\" is no number"},
        {"12:-1,1\n12:31,2\n", "\"12:-1\" is no number"},
        {"12:60,1\n12:61,2\n", "\"12:60\" is no number"},
        {"12:30:61,1\n12:31,2\n", "\"12:30:61\" is no number"},
        {"2026-03-01x 12:30,1\n", "\"2026-03-01x 12:30\" is no number"},
        {"01.03.2026x 12:30,1\n", "\"01.03.2026x 12:30\" is no number"},
        {"yesterday 12:30,1\n", "\"yesterday 12:30\" is no number"},
    };
    for (const Refusal& one : all) {
        SCOPED_TRACE(one.table.substr(0, 40));
        write("s.csv", one.table);
        EXPECT_THAT(errorOf("[source.s]\nfile = \"s.csv\"\n"), HasSubstr(one.said));
    }
}

TEST_F(RecordingTest, AWavFileThatIsNoneOrDamagedIsRefusedWithItsReason) {
    const auto number = [](auto value) {
        return std::string(reinterpret_cast<const char*>(&value), sizeof value);
    };
    const auto chunk = [&](const char* name, const std::string& content) {
        return name + number(static_cast<std::uint32_t>(content.size())) + content;
    };
    const auto file = [&](const std::string& chunks, const char* kind = "RIFF") {
        return kind + number(static_cast<std::uint32_t>(chunks.size() + 4)) + "WAVE" + chunks;
    };
    const auto format = [&](int channels, int rate, int kind = 1, int bits = 16) {
        return chunk("fmt ", number(static_cast<std::uint16_t>(kind)) +
                                 number(static_cast<std::uint16_t>(channels)) + number(rate) +
                                 number(std::int32_t{16000}) + number(std::uint16_t{2}) +
                                 number(static_cast<std::uint16_t>(bits)));
    };
    const std::string sound = chunk("data", std::string(8, '\x40'));
    const std::string longSizes = number(std::int64_t{0}) + number(std::int64_t{-1}) +
                                  number(std::int64_t{0}) + number(std::int32_t{0});
    struct Refusal {
        const char* what;
        std::string content;
        const char* said;
    };
    const std::vector<Refusal> all = {
        {"no whole head", "RIFF1234WAV", "is no WAV file"},
        {"another kind", file("").replace(8, 4, "AVI "), "is no WAV file"},
        {"nothing in it", file(""), "holds no samples"},
        {"no samples", file(format(1, 8000)), "holds no samples"},
        {"an empty chunk of samples", file(format(1, 8000) + chunk("data", "")),
         "holds no samples"},
        {"the same before another chunk",
         file(format(1, 8000) + chunk("data", "") + chunk("LIST", "some text!")),
         "holds no samples"},
        {"samples before their format", file(sound + format(1, 8000)), "has a damaged head"},
        {"half a format", file(chunk("fmt ", "12345678") + sound), "has a damaged head"},
        {"no channels", file(format(0, 8000) + sound), "has a damaged head"},
        {"too many channels", file(format(2000, 8000) + sound), "has a damaged head"},
        {"no rate", file(format(1, 0) + sound), "has a damaged head"},
        {"another coding", file(format(1, 8000, 2, 4) + sound),
         "has a coding that is not read here (format 2, 4 bits)"},
        {"a long size below zero",
         file(chunk("ds64", longSizes) + format(1, 8000) + "data" + number(0xFFFFFFFFU) +
                  std::string(8, '\0'),
              "RF64"),
         "is truncated: its head does not say where it ends"},
    };
    for (const Refusal& one : all) {
        SCOPED_TRACE(one.what);
        write("s.wav", one.content);
        EXPECT_THAT(errorOf("[source.s]\nfile = \"s.wav\"\n"), HasSubstr(one.said));
    }
    // A long size counts only where the short one leaves it open.
    write("s.wav", file(chunk("ds64", longSizes) + format(1, 8000) + sound, "RF64"));
    run("[source.s]\nfile = \"s.wav\"\n[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n",
        [](const RunResult& result) { EXPECT_EQ(valuesOf(result, "s").size(), 4U); });
    const auto refusalOf = [](const auto& open) -> std::string {
        try {
            open();
        } catch (const RecordingError& error) {
            return error.what();
        }
        return "";
    };
    const std::filesystem::path none = folder() / "none";
    EXPECT_EQ(refusalOf([&] { openWav(none); }), "can't be opened");
    EXPECT_EQ(refusalOf([&] { openCsv(none, {}); }), "can't be opened");
    EXPECT_EQ(refusalOf([&] { openNpy(none, {}, Truncated::use); }), "can't be opened");
    const RawFormat bytes = {.coding = sampleCodings().data()};
    EXPECT_EQ(refusalOf([&] { openRaw(none, bytes, Truncated::use); }), "can't be opened");
    // By what it begins with, whatever it is called.
    write("s.dat", "\x89HDF\r\n\x1a\n");
    EXPECT_THAT(errorOf("[source.s]\nfile = \"s.dat\"\n"), HasSubstr("HDF5"));
    EXPECT_THAT(errorOf("[source.s]\nfile = \"s.wav\"\nvariable = \"a\"\n"),
                HasSubstr("variable and rows are for MAT and HDF5 files"));
}

// Arrays of numpy, whose head is a dictionary as Python writes it.
class NpyTest : public RunTest {
protected:
    static std::string array(const std::string& head, const std::string& data, int version = 1) {
        const auto size = static_cast<std::uint32_t>(head.size());
        return std::string("\x93NUMPY") + static_cast<char>(version) + '\0' +
               (version == 1 ? bytes(static_cast<std::uint16_t>(size)) : bytes(size)) + head + data;
    }
    static std::string head(const std::string& type, const std::string& shape,
                            const char* order = "False") {
        return "{'descr': " + type + ", 'fortran_order': " + order + ", 'shape': " + shape +
               ", }\n";
    }
    std::string refusalOf(const std::string& content, std::optional<double> rate = 10.0) const {
        try {
            openNpy(write("s.npy", content), rate, Truncated::refuse);
        } catch (const RecordingError& error) {
            return error.what();
        }
        return "";
    }
    std::vector<float> valuesIn(const std::string& content, std::optional<double> rate = 10.0,
                                Truncated truncated = Truncated::refuse) const {
        const auto recording = openNpy(write("s.npy", content), rate, truncated);
        const auto channels = static_cast<std::size_t>(recording->channels());
        std::vector<float> all(16 * channels);
        all.resize(recording->read(all) * channels);
        return all;
    }
};

TEST_F(NpyTest, AHeadMayBeWrittenAsPythonLets) {
    const std::string two = bytes(1.0F, 2.0F);
    const std::vector<std::string> heads = {
        head("'<f4'", "(2,)"),
        "{ \"shape\" : (2, 1) ,\n\"descr\":\"<f4\", 'fortran_order':True}\n",
        "{'shape': (2), 'descr': '<f4'}",
        "{'descr': '\\x3cf4', 'shape': (2,)}",
    };
    for (const std::string& one : heads) {
        for (const int version : {1, 2, 3})
            EXPECT_THAT(valuesIn(array(one, two, version)), ElementsAre(1, 2)) << one;
    }
    const std::string columns = array(
        head("'<i2'", "(2, 2)", "True"),
        bytes(std::int16_t{16384}, std::int16_t{-16384}, std::int16_t{8192}, std::int16_t{0}));
    EXPECT_THAT(valuesIn(columns), ElementsAre(0.5F, 0.25F, -0.5F, 0));
}

TEST_F(NpyTest, RecordsHaveAnXAndNamesUnlessTheSourceHasTheRate) {
    const std::string fields = "[('t', '<f8'), ('left\\n\\t\\'\\\\\\q [Pa]', '<f4')]";
    std::string data;
    for (int i = 0; i < 3; ++i)
        data += bytes(2 + i / 4.0, static_cast<float>(i));
    const std::string content = array(head(fields, "(3,)"), data);
    EXPECT_THAT(valuesIn(content, std::nullopt), ElementsAre(0, 1, 2));
    const auto recording = openNpy(folder() / "s.npy", std::nullopt, Truncated::refuse);
    EXPECT_EQ(recording->rate(), 4);
    EXPECT_EQ(recording->start(), 2);
    EXPECT_EQ(recording->channel(0).name, "left \t'\\\\q");  // on one line
    EXPECT_EQ(recording->channel(0).unit, "Pa");
    EXPECT_THAT(valuesIn(content, 5.0), ElementsAre(2, 0, 2.25F, 1, 2.5F, 2));
    // An x in single precision rises evenly, too.
    const std::string single = array(head("[('t', '<f4'), ('y', '|u1')]", "(2,)"),
                                     bytes(0.0F, std::uint8_t{192}, 0.5F, std::uint8_t{64}));
    EXPECT_THAT(valuesIn(single, std::nullopt), ElementsAre(0.5F, -0.5F));
}

TEST_F(NpyTest, WhatIsNoArrayOfSamplesIsRefused) {
    const char* const kNoHead = "has no head of a numpy array";
    const std::string eight(8, '\0');
    const std::string whole = head("'<f4'", "(2,)");
    std::string manyFields = "[";
    for (int i = 0; i < 1026; ++i)
        manyFields += "('a', '<f4'), ";
    struct Refusal {
        std::string content;
        const char* said;
    };
    const std::vector<Refusal> all = {
        {"\x93NUMPX\x01" + std::string(20, '\0'), kNoHead},
        {array(whole, eight, 4), kNoHead},
        {array(whole, eight).substr(0, 40), kNoHead},
        {array(std::string(1 << 21, ' '), "", 2), kNoHead},
        {array("", eight), kNoHead},
        {array("[]", eight), kNoHead},
        {array("{1: 2}", eight), kNoHead},
        {array("{'descr", eight), kNoHead},
        {array("{'descr\\", eight), kNoHead},
        {array("{'descr' '<f4'}", eight), kNoHead},
        {array("{'order': 'C'}", eight), kNoHead},
        {array("{'shape': (2,)}", eight), kNoHead},
        {array("{'descr': '<f4'}", eight), kNoHead},
        {array("{'shape': (2", eight), kNoHead},
        {array(head("'<f4'", "(2,)", "Maybe"), eight), kNoHead},
        {array(head("'<f4'", "(x,)"), eight), kNoHead},
        {array(head("'<f4'", "(1234567890123456,)"), eight), kNoHead},
        {array(head("[]", "(2,)"), eight), kNoHead},
        {array(head(manyFields + "]", "(2,)"), eight), kNoHead},
        {array(head("[('a', '<f4', (2,))]", "(2,)"), eight),
         "holds fields that are no single numbers"},
        {array(head("'>f4'", "(2,)"), eight), "holds numbers of type \">f4\""},
        {array(head("'<f4'", "()"), eight), "has 0 dimensions"},
        {array(head("'<f4'", "(1, 1, 2)"), eight), "has 3 dimensions"},
        {array(head("[('t', '<f4')]", "(1, 2)"), eight), "has 2 dimensions"},
        {array(head("'<f4'", "(2, 0)"), eight), "has 0 channels; 1 to 1024 are read"},
        {array(head("'<f4'", "(0,)"), eight), "holds no samples"},
        {array(head("'<f4'", "(3, 2)", "True"), eight),
         "promises 3 samples per channel, the file holds 1"},
        {array(head("[('t', '<f8'), ('y', '<f8')]", "(2,)"), eight),
         "promises 2 samples per channel, the file holds 0"},
    };
    for (const Refusal& one : all) {
        SCOPED_TRACE(one.content.substr(0, 80));
        EXPECT_THAT(refusalOf(one.content), HasSubstr(one.said));
    }
    EXPECT_THAT(refusalOf(array(whole, eight), std::nullopt),
                HasSubstr("needs a rate: its source has none"));
    EXPECT_THAT(refusalOf(array(head("[('t', '<f8')]", "(1,)"), eight), std::nullopt),
                HasSubstr("holds no channel besides its x"));
    const std::string cut = array(head("'<f4'", "(5,)"), eight);
    EXPECT_THAT(refusalOf(cut), HasSubstr("promises 5 samples per channel, the file holds 2"));
    EXPECT_THAT(valuesIn(cut, 10.0, Truncated::use), ElementsAre(0, 0));
}

TEST_F(RecordingTest, SamplesWithoutAHeadMayEndWithinOneOnRequestOnly) {
    write("s.raw", bytes(0.5F, 0.25F, 1.0F).substr(0, 11));
    const std::string toml =
        "[source.s]\nfile = \"s.raw\"\nformat = \"f32\"\nrate = 8.0\n[sink.x]\nfrom = \"s\"\n"
        "csv = \"x\"\n";
    EXPECT_THAT(errorOf(toml), HasSubstr("ends with 3 of the 4 bytes that its channels take"));
    run("[source.s]\non_truncated = \"use\"\n" + toml.substr(11), [](const RunResult& result) {
        EXPECT_THAT(valuesOf(result, "s"), ElementsAre(0.5F, 0.25F));
        EXPECT_THAT(result.notes,
                    ::testing::Contains(HasSubstr("the last 3 bytes are no whole sample")));
    });
    write("s.raw", "");
    EXPECT_THAT(errorOf(toml), HasSubstr("holds no samples"));
}

}  // namespace
}  // namespace vynhost::test
