// The files that a run leaves behind.
#include "vynhost/results/result_files.h"

#include <algorithm>
#include <csignal>

#include "interface/vynhost/run_fixture.h"
#include "vynhost/base/text.h"
#include "vynhost/results/result_list.h"
#include "vynhost/run/interrupt.h"

namespace vynhost::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

class ResultFilesTest : public RunTest {
protected:
    ResultFilesTest() { std::filesystem::create_directories(folder() / "out"); }

    std::vector<std::string> filesIn(const std::string& name) const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder() / name)) {
            names.push_back(textOf(entry.path().filename()));
        }
        std::ranges::sort(names);
        return names;
    }
    // What is said against a result of this name; "" when nothing is.
    std::string refusal(const std::string& name, const std::vector<ReadFile>& inputs = {},
                        bool force = false) const {
        try {
            ResultFiles files(folder() / "out", inputs, force);
            files.claim(name);
        } catch (const InputError& error) {
            return error.what();
        }
        return "";
    }
    // Writes one result, as a run does.
    void writeResult(const std::string& name, const std::string& content,
                     bool force = false) const {
        ResultFiles files(folder() / "out", {}, force);
        files.add(name, content);
        files.commit();
    }
};

TEST_F(ResultFilesTest, ResultFilesAppearTogetherOrNotAtAll) {
    std::filesystem::remove(folder() / "out");
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
    EXPECT_THAT(filesIn("out"), ElementsAre(ResultList::kFileName, "a.csv", "sub"));
    EXPECT_THAT(filesIn("out/sub"), ElementsAre(ResultList::kFileName, "b.csv"));
}

TEST_F(ResultFilesTest, AFailedRunLeavesOldResultsAndNothingElse) {
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

// --- What stays as it is --------------------------------------------------------------------

TEST_F(ResultFilesTest, AFileThatIsReadIsNoResultUnderWhateverName) {
    write("out/s.csv", "precious");
    const std::vector<ReadFile> inputs = {{folder() / "out" / "s.csv", "the recording of s"}};
    std::filesystem::create_hard_link(folder() / "out" / "s.csv", folder() / "out" / "twin.csv");
    for (const char* name : {"s.csv", "./s.csv", "b/../s.csv", "twin.csv"}) {
        EXPECT_THAT(refusal(name, inputs, true), HasSubstr("is the recording of s")) << name;
    }
    if (std::filesystem::exists(folder() / "out" / "S.CSV")) {
        EXPECT_THAT(refusal("S.CSV", inputs, true), HasSubstr("is the recording of s"));
    }
    EXPECT_EQ(refusal("t.csv", inputs), "");
}

TEST_F(ResultFilesTest, ALinkIsNeverReplaced) {
    write("s.csv", "precious");
    std::error_code refused;
    std::filesystem::create_symlink("../s.csv", folder() / "out" / "a.csv", refused);
    if (refused) GTEST_SKIP() << "no links here";
    std::filesystem::create_symlink("nowhere", folder() / "out" / "b.csv");
    EXPECT_THAT(refusal("a.csv", {{folder() / "s.csv", "the recording of s"}}, true),
                HasSubstr("is the recording of s"));
    EXPECT_THAT(refusal("a.csv", {}, true), HasSubstr("is no file that a result could replace"));
    EXPECT_THAT(refusal("b.csv", {}, true), HasSubstr("is no file that a result could replace"));
}

TEST_F(ResultFilesTest, AFolderIsNeverReplaced) {
    std::filesystem::create_directories(folder() / "out" / "a.csv");
    EXPECT_THAT(refusal("a.csv", {}, true), HasSubstr("is no file that a result could replace"));
}

TEST_F(ResultFilesTest, ResultsStayInTheirFolder) {
    for (const std::string& name :
         {std::string("../x.csv"), std::string("a/../../x.csv"), textOf(folder() / "x.csv")}) {
        EXPECT_THAT(refusal(name, {}, true), HasSubstr("leaves the result folder")) << name;
    }
    std::error_code refused;
    std::filesystem::create_directory_symlink("..", folder() / "out" / "up", refused);
    if (!refused) {
        EXPECT_THAT(refusal("up/x.csv", {}, true), HasSubstr("through a link"));
    }
    EXPECT_EQ(refusal("a/../x.csv"), "");
}

TEST_F(ResultFilesTest, SomeNamesAreNone) {
    for (const std::string& name :
         {std::string("."), std::string("a/"), std::string(ResultList::kFileName),
          std::string("a.csv\0.txt", 10)}) {
        EXPECT_THAT(refusal(name), HasSubstr("can't be a result's name")) << name;
    }
}

TEST_F(ResultFilesTest, TwoNamesOfOneFileAreOne) {
    for (const char* second : {"./a.csv", "b/../a.csv", "a.csv"}) {
        ResultFiles files(folder() / "out");
        files.claim("a.csv");
        EXPECT_THROW(files.claim(second), InputError) << second;
    }
    writeResult("a.csv", "a");
    writeResult("b.csv", "b");
    std::filesystem::remove(folder() / "out" / "b.csv");
    std::filesystem::create_hard_link(folder() / "out" / "a.csv", folder() / "out" / "b.csv");
    ResultFiles files(folder() / "out", {}, true);
    files.claim("a.csv");
    EXPECT_THROW(files.claim("b.csv"), InputError);
}

TEST_F(ResultFilesTest, AFileOfSomebodyElseIsReplacedByForceOnly) {
    write("out/a.csv", "precious");
    EXPECT_THAT(refusal("a.csv"), HasSubstr("--force"));
    EXPECT_EQ(refusal("a.csv", {}, true), "");
    writeResult("a.csv", "result", true);
    EXPECT_EQ(refusal("a.csv"), "");
    writeResult("a.csv", "another result");
    EXPECT_EQ(read(folder() / "out" / "a.csv"), "another result");
    write("out/a.csv", "another RESULT");
    EXPECT_THAT(refusal("a.csv"), HasSubstr("not as a run has written it"));
}

TEST_F(ResultFilesTest, AnotherFileInPlaceOfTheListIsLeftAlone) {
    write(std::string("out/") + ResultList::kFileName, "mine");
    EXPECT_THROW(writeResult("a.csv", "a"), InputError);
    EXPECT_THAT(filesIn("out"), ElementsAre(ResultList::kFileName));
}

TEST_F(ResultFilesTest, UnfinishedFilesOfOthersStay) {
    write("out/a.csv.part", "precious");
    write("out/a.csv.part.blocks", "precious");
    writeResult("a.csv", "a");
    EXPECT_EQ(read(folder() / "out" / "a.csv.part"), "precious");
    EXPECT_EQ(read(folder() / "out" / "a.csv.part.blocks"), "precious");
    writeResult("a.csv.part.csv", "b");
    EXPECT_EQ(read(folder() / "out" / "a.csv"), "a");
}

// --- All or none ----------------------------------------------------------------------------

TEST_F(ResultFilesTest, NoneIsMovedWhenTheSecondCannotBe) {
    writeResult("a.csv", "old");
    const std::string list = read(folder() / "out" / ResultList::kFileName);
    {
        ResultFiles files(folder() / "out");
        files.add("new.csv", "new");
        files.add("a.csv", "new");
        files.add("b.csv", "new");
        std::filesystem::create_directories(folder() / "out" / "b.csv" / "in the way");
        EXPECT_THROW(files.commit(), RunError);
    }
    EXPECT_EQ(read(folder() / "out" / "a.csv"), "old");
    EXPECT_THAT(filesIn("out"), ElementsAre(ResultList::kFileName, "a.csv", "b.csv"));
    EXPECT_EQ(read(folder() / "out" / ResultList::kFileName), list);
}

TEST_F(ResultFilesTest, OfTwoRunsAtOnceOneSucceeds) {
    ResultFiles first(folder() / "out");
    {
        ResultFiles second(folder() / "out");
        first.open("a.csv").write("fir");
        second.add("a.csv", "second");
        first.open("b.csv").write("b");
        second.commit();
    }
    EXPECT_THROW(first.commit(), RunError);
    EXPECT_EQ(read(folder() / "out" / "a.csv"), "second");
}

TEST_F(ResultFilesTest, ASecondInterruptTakesUnfinishedFilesAlong) {
    EXPECT_DEATH(
        {
            ResultFiles files(folder() / "out");
            files.add("a.csv", "a");
            watchInterrupts();
            std::raise(SIGINT);
            std::raise(SIGINT);
        },
        "");
    EXPECT_THAT(filesIn("out"), ::testing::IsEmpty());
}

}  // namespace
}  // namespace vynhost::test
