// The files that a run leaves behind.
#include "vynhost/results/result_files.h"
#include "interface/vynhost/run_fixture.h"

namespace vynhost::test {
namespace {

using ::testing::SizeIs;

class ResultFilesTest : public RunTest {};

TEST_F(ResultFilesTest, ResultFilesAppearTogetherOrNotAtAll) {
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

TEST_F(ResultFilesTest, AFailedRunLeavesOldResultsAndNothingElse) {
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

TEST_F(ResultFilesTest, TwoSinksDoNotShareAFile) {
    writeWav("s.wav", {0.5F});
    EXPECT_THROW(run("[source.s]\nfile = \"s.wav\"\n[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n"
                     "[sink.y]\nfrom = \"s\"\ncsv = \"x\"\n",
                     [](const RunResult&) {}),
                 RunError);
}

}  // namespace
}  // namespace vynhost::test
