// Files that are recordings.
#include "interface/vynhost/run_fixture.h"

namespace vynhost::test {
namespace {

using ::testing::ElementsAre;

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

}  // namespace
}  // namespace vynhost::test
