// Files that are recordings.
#include "interface/vynhost/run_fixture.h"

namespace vynhost::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

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

}  // namespace
}  // namespace vynhost::test
