// The program itself.
#include <cstdlib>

#include "interface/vynhost/diagram_fixture.h"
#include "vynhost/base/text.h"

namespace vynhost::test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class MainTest : public DiagramTest {
protected:
    struct Outcome {
        int code;
        std::string out;
        std::string error;
    };
    Outcome vynhost(const std::string& arguments) const {
        const auto quoted = [](const std::filesystem::path& path) {
            return "\"" + textOf(path) + "\"";
        };
        const std::filesystem::path out = folder() / "stdout.txt";
        const std::filesystem::path error = folder() / "stderr.txt";
        std::string command = quoted(platform::programFolder() / platform::kHostProgram) + " " +
                              arguments + " > " + quoted(out) + " 2> " + quoted(error);
        const int code = platform::runShell(command);
        return {code, read(out), read(error)};
    }
    std::string at(const std::string& name) const { return "\"" + textOf(folder() / name) + "\""; }
};

TEST_F(MainTest, SaysItsVersion) {
    const Outcome outcome = vynhost("--version");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(outcome.out, StartsWith("vynhost "));
    EXPECT_THAT(outcome.out, HasSubstr("module interface 402"));
}

TEST_F(MainTest, RefusesWhatItDoesNotKnow) {
    EXPECT_EQ(vynhost("").code, 2);
    EXPECT_EQ(vynhost("walk").code, 2);
    EXPECT_EQ(vynhost("run").code, 2);
    EXPECT_EQ(vynhost("run a.toml --fast").code, 2);
}

TEST_F(MainTest, OffersTheCommandThatWasMeant) {
    const Outcome outcome = vynhost("rum d.toml");
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(
        outcome.error,
        StartsWith(
            "vynhost: \"rum\" is no command, did you mean run? (there are: list, skeleton, run, "
            "dialog, doctor)"));
}

TEST_F(MainTest, ListsOneTypeAndPrintsASkeleton) {
    const Outcome list = vynhost("list FFT");
    EXPECT_EQ(list.code, 0);
    EXPECT_THAT(list.out, StartsWith("5004  TOSpektrum"));
    EXPECT_THAT(vynhost("list 5004 --json").out, HasSubstr("\"class\": \"TOSpektrum\""));
    EXPECT_THAT(vynhost("list pegel --markdown").out, StartsWith("| keyword | "));
    EXPECT_EQ(vynhost("list FFFT").code, 2);
    const Outcome skeleton = vynhost("skeleton FFT Terz_Oktav_Analyse");
    EXPECT_EQ(skeleton.code, 0);
    write("d.toml", skeleton.out);
    EXPECT_EQ(vynhost("run " + at("d.toml") + " --out " + at("out")).code, 0);
    EXPECT_TRUE(std::filesystem::exists(folder() / "out" / "bands.csv"));
}

TEST_F(MainTest, RunsNoDiagramFromWhichNothingWouldCome) {
    write("d.toml", "");
    const Outcome outcome = vynhost("run " + at("d.toml"));
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.error, HasSubstr("d.toml: the diagram is empty: it needs "));
}

TEST_F(MainTest, ShowsDialogsOnWindowsOnly) {
    EXPECT_THAT(vynhost("--help").out, HasSubstr("dialog "));
    EXPECT_EQ(vynhost("dialog").code, 2);
    EXPECT_EQ(vynhost("dialog a.toml").code, 2);
    if (platform::kHasDialogs) return;
    write("d.toml", "[block.f]\ntype = \"FFT\"\n");
    const Outcome outcome = vynhost("dialog " + at("d.toml") + " f");
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.error,
              "vynhost: dialogs exist on Windows only; here keywords set a block up\n");
}

TEST_F(MainTest, RunsADiagramAndSaysWhereTheResultsLie) {
    writeWav("s.wav", sine(64, 4));
    write("d.toml",
          "[source.s]\nfile = \"s.wav\"\nblock = 32\n[block.f]\ntype = \"FFT\"\n"
          "[wire]\n\"f.E\" = \"s\"\n[sink.x]\nfrom = \"f.S\"\ncsv = \"x.csv\"\nsvg = \"x.svg\"\n");
    const Outcome outcome = vynhost("run " + at("d.toml") + " --out " + at("out"));
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.error, "");
    EXPECT_THAT(outcome.out, HasSubstr("x.csv"));
    EXPECT_THAT(read(folder() / "out" / "x.csv"), StartsWith("f [Hz],f.S #1,f.S #2\n"));
    EXPECT_THAT(read(folder() / "out" / "x.svg"), StartsWith("<svg "));
    const Outcome quiet = vynhost("run " + at("d.toml") + " --quiet --out " + at("out"));
    EXPECT_EQ(quiet.code, 0);
    EXPECT_EQ(quiet.out, "");
}

TEST_F(MainTest, SaysAnErrorInOneLineAndLeavesNothingBehind) {
    writeWav("s.wav", sine(64, 4));
    write("d.toml", "[source.s]\nfile = \"s.wav\"\n[sink.x]\nfrom = \"q\"\ncsv = \"x.csv\"\n");
    const Outcome outcome = vynhost("run " + at("d.toml") + " --out " + at("out"));
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.error, StartsWith("vynhost: "));
    EXPECT_THAT(outcome.error,
                HasSubstr("d.toml:4: sink.x.from: \"q\" is neither source nor block"));
    EXPECT_EQ(std::count(outcome.error.begin(), outcome.error.end(), '\n'), 1);
    EXPECT_FALSE(std::filesystem::exists(folder() / "out"));
}

TEST_F(MainTest, AMissedToleranceIsNoSuccess) {
    writeWav("a.wav", {0.5F});
    writeWav("b.wav", {0.25F});
    write("d.toml",
          "[source.a]\nfile = \"a.wav\"\n[source.b]\nfile = \"b.wav\"\n"
          "[compare.c]\nof = \"a\"\nwith = \"b\"\ntolerance = 0.1\n");
    EXPECT_EQ(vynhost("run " + at("d.toml")).code, 1);
}

}  // namespace
}  // namespace vynhost::test
