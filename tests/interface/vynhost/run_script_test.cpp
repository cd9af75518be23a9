// ./run at the root: what it says while it builds. Natively: it is a script of the shell.
#include "interface/vynhost/diagram_fixture.h"
#include "support/platform/test_system.h"
#include "support/source_folder.h"
#include "vynhost/base/text.h"

namespace vynhost::test {
namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;

// The script in a folder of its own, where the tools that it calls only pretend.
class RunScript : public DiagramTest {
protected:
    RunScript() {
        if (platform::kHasDialogs) return;
        std::filesystem::copy_file(pathOf(kSourceFolder) / "run", folder() / "run");
        std::filesystem::create_directories(folder() / "tools");
        std::filesystem::create_directories(folder() / "bin");
        writeScript("tools/packages", "echo 'packages    nothing to install'");
        writeScript("bin/cmake",
                    "echo 'the compiler speaks'\n"
                    "case \"$*\" in\n"
                    "--preset*) mkdir -p build/native; touch build/native/build.ninja ;;\n"
                    "*) echo '[7/9] compiling'; sleep \"${LASTS:-0}\"\n"
                    "   [ -z \"${BROKEN:-}\" ] || { echo 'x.cpp:1: error: broken'; exit 1; }\n"
                    "   mkdir -p build/native/bin\n"
                    "   printf '#!/bin/sh\\necho vynhost \"$@\"\\n' > build/native/bin/vynhost\n"
                    "   chmod +x build/native/bin/vynhost ;;\n"
                    "esac");
    }
    void SetUp() override {
        if (platform::kHasDialogs) GTEST_SKIP() << "a script of another system's shell";
    }

    void writeScript(const std::string& name, const std::string& text) const {
        std::filesystem::permissions(write(name, "#!/bin/sh\n" + text + "\n"),
                                     std::filesystem::perms::owner_all);
    }
    std::string command(const std::string& more) const {
        return "cd \"" + textOf(folder()) + "\" && PATH=\"$PWD/bin:$PATH\" " + more;
    }
    int run(const std::string& variables = "") const {
        return platform::runShell(command(variables + " ./run d.toml > said 2> errors"));
    }
    std::string said() const { return read(folder() / "said"); }
};

TEST_F(RunScript, HasALineWithItsTimeForEveryStepAndKeepsTheCompilerQuiet) {
    EXPECT_EQ(run(), 0);
    EXPECT_THAT(said(), MatchesRegex("packages    nothing to install\n"
                                     "configure   build/native, [0-9]+ s\n"
                                     "build       build/native/bin/vynhost, [0-9]+ s\n"
                                     "analysis    d.toml\n"
                                     "vynhost run d.toml --out out\n"));
    EXPECT_EQ(read(folder() / "errors"), "");
    EXPECT_THAT(read(folder() / "build" / "run.log"), HasSubstr("the compiler speaks"));
    EXPECT_EQ(run(), 0);
    EXPECT_THAT(said(), Not(HasSubstr("configure")));
}

TEST_F(RunScript, SaysWhatABuildFailedOf) {
    EXPECT_EQ(run("BROKEN=yes"), 1);
    EXPECT_THAT(said(), HasSubstr("build       build/native/bin/vynhost: failed after "));
    EXPECT_THAT(said(), Not(HasSubstr("analysis")));
    EXPECT_EQ(read(folder() / "errors"), "x.cpp:1: error: broken\n");
}

TEST_F(RunScript, CountsOnATerminalWhileItBuilds) {
    const auto shown = platform::runOnTerminal(command("LASTS=2.5 ./run d.toml"), 80,
                                               [](const std::string&) { return false; });
    ASSERT_TRUE(shown);
    EXPECT_THAT(*shown, ::testing::ContainsRegex("\rbuild       build/native/bin/vynhost, [0-9]+ s "
                                                 "\\[7/9\\]"));
    EXPECT_THAT(*shown, ::testing::ContainsRegex("build       build/native/bin/vynhost\x1b\\[K, "
                                                 "[0-9]+ s\r\nanalysis    d.toml\r\n"));
}

}  // namespace
}  // namespace vynhost::test
