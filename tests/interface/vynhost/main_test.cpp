// The program itself.
#include <algorithm>
#include <chrono>
#include <cstdlib>

#include "interface/vynhost/program_fixture.h"
#include "vynhost/base/text.h"
#include "vynhost/results/table_file.h"

namespace vynhost::test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class MainTest : public ProgramTest {};

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
            "calibrate, level, spectrum, bands, transfer, dialog, doctor, validate, help)"));
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

TEST_F(MainTest, CalibratesByARecordingOfACalibrator) {
    writeWav("cal.wav", sine(16000, 2000, 0.1), 1, 8000);
    const std::string words = "calibrate " + at("cal.wav") + " --out " + at("cal.toml");
    const Outcome done = vynhost(words + " --level 94");
    EXPECT_EQ(done.code, 0) << done.error;
    EXPECT_THAT(done.out, StartsWith("channel 1: full scale is 14.17"));  // 1.0024 sqrt(2) / 0.1
    const Outcome other = vynhost(words + " --level 94 --frequency 250");
    EXPECT_EQ(other.code, 1);
    EXPECT_THAT(other.error, HasSubstr("cal.wav: channel 1 holds no calibrator's tone: "));
    EXPECT_EQ(vynhost(words).code, 2);
    write("d.toml",
          "[source.s]\nfile = \"cal.wav\"\ncalibration = \"cal.toml\"\n[sink.x]\nfrom = \"s\"\n"
          "csv = \"cal.toml\"\n");
    const Outcome run = vynhost("run " + at("d.toml") + " --force --out " + at("."));
    EXPECT_EQ(run.code, 2);
    EXPECT_THAT(run.error, HasSubstr("is the calibration of s, which stays as it is"));
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

TEST_F(MainTest, WritesTablesWithADecimalCommaOnRequest) {
    writeWav("s.wav", {0.5F, -0.25F});
    write("d.toml", "[source.s]\nfile = \"s.wav\"\n[sink.x]\nfrom = \"s\"\ncsv = \"x.csv\"\n");
    const std::string command = "run " + at("d.toml") + " --out " + at("out");
    EXPECT_EQ(vynhost(command + " --csv=de").code, 0);
    EXPECT_EQ(read(folder() / "out" / "x.csv"), "\xEF\xBB\xBFt [s];s\n0;0,5\n0,000125;-0,25\n");
    EXPECT_EQ(vynhost(command + " --csv=en").code, 0);
    EXPECT_EQ(read(folder() / "out" / "x.csv"), "t [s],s\n0,0.5\n0.000125,-0.25\n");
    EXPECT_EQ(vynhost(command + " --csv=fr").code, 2);
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

// --- Files that a run must not replace -------------------------------------------------------

TEST_F(MainTest, NoResultReplacesWhatIsRead) {
    const std::string table = "t,a\n0,1\n0.5,2\n1,3\n";
    write("s.csv", table);
    write("other.csv", table);
    const std::string source = "[source.s]\nfile = \"s.csv\"\n[sink.x]\nfrom = \"s\"\ncsv = ";
    const auto run = [&](const std::string& name, const std::string& more) {
        write("d.toml", source + "\"" + name + "\"\n");
        return vynhost("run " + at("d.toml") + " --out " + at(".") + " --force" + more);
    };
    for (const char* name : {"s.csv", "d.toml", "./s.csv"}) {
        const Outcome outcome = run(name, "");
        EXPECT_EQ(outcome.code, 2) << name;
        EXPECT_THAT(outcome.error, HasSubstr("d.toml:3: sink.x.csv: ")) << name;
        EXPECT_THAT(outcome.error, HasSubstr("which stays as it is")) << name;
        EXPECT_EQ(read(folder() / "s.csv"), table);
        EXPECT_THAT(read(folder() / "d.toml"), StartsWith(source));
    }
    for (const char* name : {"other.csv", "s.csv"}) {
        EXPECT_EQ(run(name, " --input s=" + at("other.csv")).code, 2) << name;
        EXPECT_EQ(read(folder() / "other.csv"), table);
    }
}

TEST_F(MainTest, AFileOfSomebodyElseNeedsForceTheOwnResultDoesNot) {
    writeWav("s.wav", {0.5F});
    write("x.csv", "precious");
    write("d.toml", "[source.s]\nfile = \"s.wav\"\n[sink.x]\nfrom = \"s\"\ncsv = \"x.csv\"\n");
    const std::string command = "run " + at("d.toml") + " --out " + at(".");
    const Outcome refused = vynhost(command);
    EXPECT_EQ(refused.code, 2);
    EXPECT_THAT(refused.error, HasSubstr("--force"));
    EXPECT_EQ(read(folder() / "x.csv"), "precious");
    EXPECT_EQ(vynhost(command + " --force").code, 0);
    EXPECT_EQ(vynhost(command).code, 0);
    EXPECT_EQ(read(folder() / "x.csv"), "t [s],s\n0,0.5\n");
}

// --- What is said, and where ------------------------------------------------------------------

TEST_F(MainTest, WhateverIsWrongIsOneShortPrintableLine) {
    const std::string million(1'000'000, 'k');
    write("key.toml", "[source.s]\nnoise = { rms = 1.0 }\nrate = 1.0\nseconds = 9.0\n" + million +
                          " = 1\n[sink.x]\nfrom = \"s\"\ncsv = \"x.csv\"\n");
    write("escape.toml",
          "[source.\"\\u001b]0;title\\u0007\\u000b\"]\nfile = \"\\u001b[31m.wav\"\n"
          "[sink.x]\nfrom = \"s\"\ncsv = \"x.csv\"\n");
    write("binary.toml", std::string("\xFF\xFE\x01\x1b[2J\0\v\f\x80", 10));
    write("binary.csv", "0,1\n1,\x1b[31m\v\x80" + million + "\n");
    write("csv.toml", "[source.s]\nfile = \"binary.csv\"\n[sink.x]\nfrom = \"s\"\ncsv = \"x\"\n");
    const std::string name(300, 'n');
    write("names.toml",
          "[source.s]\nnoise = { rms = 1.0 }\nrate = 1.0\nseconds = 9.0\n[sink.x]\n"
          "from = \"s\"\ncsv = \"" +
              name + ".csv\"\n");
    write("file.toml", "[source.s]\nfile = \"" + name +
                           ".wav\"\n[sink.x]\nfrom = \"s\"\n"
                           "csv = \"x.csv\"\n");
    EXPECT_THAT(vynhost("run " + at("names.toml")).error, HasSubstr(".toml:5: sink.x.csv: \"nnn"));
    EXPECT_THAT(vynhost("run " + at("names.toml")).error, HasSubstr("can't be a result's name"));
    EXPECT_THAT(vynhost("run " + at("file.toml")).error, HasSubstr(".toml:2: source.s.file: "));
    for (const std::string& arguments :
         {"run " + at("names.toml"), "run " + at("file.toml"), "run " + name,
          "run " + at("key.toml"), "run " + at("escape.toml"), "run " + at("binary.toml"),
          "run " + at("csv.toml"), "run " + at("key.toml") + " --input " + million.substr(0, 4000),
          std::string("run"), "walk" + million.substr(0, 4000), std::string("run a.toml --fast"),
          std::string("list FFT --json --markdown"), "list " + million.substr(0, 4000)}) {
        SCOPED_TRACE(arguments.substr(0, 100));
        const Outcome outcome = vynhost(arguments);
        EXPECT_EQ(outcome.code, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.error, StartsWith("vynhost: "));
        ASSERT_TRUE(outcome.error.ends_with(kLineEnd));
        const std::string line = outcome.error.substr(0, outcome.error.size() - kLineEnd.size());
        EXPECT_EQ(line, messageLine(line));
    }
}

TEST_F(MainTest, ASourceIsGivenOneRecording) {
    writeWav("s.wav", {0.5F});
    write("d.toml", "[source.s]\nfile = \"s.wav\"\n[sink.x]\nfrom = \"s\"\ncsv = \"x.csv\"\n");
    const std::string input = " --input s=" + at("s.wav");
    const Outcome outcome = vynhost("run " + at("d.toml") + input + input);
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.error, StartsWith("vynhost: --input s is given twice"));
}

TEST_F(MainTest, MemoryIsGivenInGibibytes) {
    write("d.toml",
          "[source.s]\nnoise = { rms = 1.0 }\nrate = 8000.0\nseconds = 8.0\nblock = 65536\n"
          "[sink.x]\nfrom = \"s\"\ncsv = \"x.csv\"\n");
    const std::string command = "run " + at("d.toml") + " --out " + at("out");
    const Outcome outcome = vynhost(command + " --memory 0.0001");
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.error, HasSubstr("d.toml:1: source.s: a data block of 65536 samples per "
                                         "channel would take 1 MiB; a run may take 1 MiB "));
    EXPECT_EQ(vynhost(command + " --memory 0.01").code, 0);
    for (const char* none : {"0", "-1", "nan", "inf", "2000000", "much"}) {
        EXPECT_EQ(vynhost(command + " --memory " + none).code, 2) << none;
    }
}

#if !defined(VYN_SANITIZED)  // which needs all addresses for itself
// Natively: a machine with little memory, by its shell.
TEST_F(MainTest, WhatIsTooMuchForTheMachineIsNamed) {
    if (platform::kHasDialogs) GTEST_SKIP() << "no such shell";
    write("d.toml",
          "[source.s]\nnoise = { rms = 1.0 }\nrate = 8000.0\nseconds = 1e6\nblock = 16777216\n"
          "channels = [1, 2, 3, 4, 5, 6, 7, 8]\n[sink.x]\nfrom = \"s\"\ncsv = \"x.csv\"\n");
    const std::string program =
        "\"" + textOf(platform::programFolder() / platform::kHostProgram) + "\"";
    const int code = platform::runShell("ulimit -v 300000; " + program + " run " + at("d.toml") +
                                        " --memory 2 --out " + at("out") + " 2> " + at("err"));
    EXPECT_EQ(code, 2);
    EXPECT_THAT(read(folder() / "err"),
                HasSubstr("d.toml:1: source.s: there is not enough memory for it"));
    EXPECT_FALSE(std::filesystem::exists(folder() / "out"));
}
#endif

// Natively: there is a device that is always full.
TEST_F(MainTest, AFullStandardOutputIsNoSuccess) {
    if (platform::kHasDialogs) GTEST_SKIP() << "no such device";
    const std::string program =
        "\"" + textOf(platform::programFolder() / platform::kHostProgram) + "\"";
    for (const char* arguments : {"list", "list --json", "--version", "--help", "skeleton FFT"}) {
        EXPECT_EQ(platform::runShell(program + " " + arguments + " > /dev/full 2> " + at("err")), 2)
            << arguments;
        EXPECT_EQ(read(folder() / "err"), "vynhost: standard output can't be written\n");
    }
}

#if !defined(VYN_SANITIZED)  // whose leak check wants descriptors for itself
// Natively: a shell that gives fewer descriptors than the program needs.
TEST_F(MainTest, FewDescriptorsAreAnErrorAndNoDeath) {
    if (platform::kHasDialogs) GTEST_SKIP() << "no such shell";
    writeWav("s.wav", sine(64, 4));
    write("d.toml",
          "[source.s]\nfile = \"s.wav\"\nblock = 32\n[block.f]\ntype = \"FFT\"\n"
          "[wire]\n\"f.E\" = \"s\"\n[sink.x]\nfrom = \"f.S\"\ncsv = \"x.csv\"\nsvg = \"x.svg\"\n");
    const std::string program =
        "\"" + textOf(platform::programFolder() / platform::kHostProgram) + "\"";
    bool refused = false;
    for (int descriptors = 3; descriptors < 16; ++descriptors) {
        SCOPED_TRACE(descriptors);
        write("err", "");
        const int code = platform::runShell("exec 2> " + at("err") + "; ulimit -n " +
                                            std::to_string(descriptors) + "; " + program + " run " +
                                            at("d.toml") + " --quiet --out " + at("out"));
        if (code == 0) {
            EXPECT_EQ(read(folder() / "err"), "");
            continue;
        }
        refused = true;
        // Below four not even the program's libraries can be opened.
        EXPECT_THAT(code, testing::AnyOf(2, 4, 127));
        EXPECT_NE(read(folder() / "err"), "");
        EXPECT_FALSE(std::filesystem::exists(folder() / "out"));
    }
    EXPECT_TRUE(refused);
    EXPECT_TRUE(std::filesystem::exists(folder() / "out" / "x.svg"));
}
#endif

// Natively: a shell that can send signals.
TEST_F(MainTest, WhateverEndsTheRunLeavesNothingBehind) {
    if (platform::kHasDialogs) GTEST_SKIP() << "no shell that sends signals";
    write("d.toml",
          "[source.n]\nnoise = { rms = 1.0 }\nrate = 48000.0\nseconds = 1e6\n"
          "[sink.x]\nfrom = \"n\"\ncsv = \"x.csv\"\nsvg = \"x.svg\"\n");
    const std::string program =
        "\"" + textOf(platform::programFolder() / platform::kHostProgram) + "\"";
    for (const char* signal : {"HUP", "INT", "QUIT", "TERM"}) {
        const int code =
            // What starts the tests may ignore hangups (nohup).
            platform::runShell("env --default-signal=HUP " + program + " run " + at("d.toml") +
                               " --out " + at("out") + " 2> " + at("err") +
                               " & run=$!; for i in $(seq 600); do ls -A " + at("out") +
                               " 2> /dev/null | grep -q part && break; sleep 0.1; done; kill -" +
                               signal + " $run; wait $run");
        EXPECT_EQ(code, 130) << signal;
        EXPECT_EQ(read(folder() / "err"), "vynhost: interrupted, no file is written\n");
        EXPECT_FALSE(std::filesystem::exists(folder() / "out")) << signal;
    }
    const int code = platform::runShell("ulimit -f 100; " + program + " run " + at("d.toml") +
                                        " --out " + at("out") + " 2> " + at("err"));
    EXPECT_EQ(code, 2);
    EXPECT_THAT(read(folder() / "err"), HasSubstr("x.csv: can't be written"));
    EXPECT_FALSE(std::filesystem::exists(folder() / "out"));
}

// Natively, as above. The recording is open when the command listens to signals.
TEST_F(MainTest, ACommandThatIsInterruptedSaysSo) {
    if (platform::kHasDialogs) GTEST_SKIP() << "no shell that sends signals";
    constexpr std::uint64_t kFrames = 500'000'000;
    const std::string head = wavHead(kFrames, 1, 48000);
    std::filesystem::resize_file(write("long.wav", head), head.size() + 4 * kFrames);
    for (const char* command : {"spectrum", "bands", "level"}) {
        const int code = platform::runShell(
            "\"" + textOf(platform::programFolder() / platform::kHostProgram) + "\" " + command +
            " " + at("long.wav") + " --out " + at("out") + " > /dev/null 2> " + at("err") +
            " & run=$!; for i in $(seq 600); do ls -l /proc/$run/fd 2> /dev/null | grep -q "
            "long.wav && break; sleep 0.01; done; kill -INT $run; wait $run");
        EXPECT_EQ(code, 130) << command;
        EXPECT_EQ(read(folder() / "err"), "vynhost: interrupted, no file is written\n") << command;
    }
}

// --- A terminal ------------------------------------------------------------------------------

class OnATerminal : public MainTest {
protected:
    OnATerminal() {
        write("d.toml",
              "[source.n]\nnoise = { rms = 1.0 }\nrate = 48000.0\nseconds = 1e6\n"
              "[sink.x]\nfrom = \"n\"\nsvg = \"x.svg\"\n");
    }
    // What a run without end writes there until Ctrl-C; nothing without terminals.
    std::optional<std::string> interrupted(
        const std::string& options, int columns,
        const std::function<bool(const std::string&)>& enough) const {
        return platform::runOnTerminal(
            "exec \"" + textOf(platform::programFolder() / platform::kHostProgram) + "\" run " +
                at("d.toml") + " --out " + at("out") + options + " > " + at("said"),
            columns, enough);
    }
    // The lines that are to be seen in the end, without what was written over.
    static std::vector<std::string> screen(const std::string& written) {
        std::vector<std::string> lines(1);
        std::size_t column = 0;
        for (const char c : written) {
            if (c == '\r') {
                column = 0;
            } else if (c == '\n') {
                lines.emplace_back();
            } else {
                std::string& line = lines.back();
                line.resize(std::max(line.size(), column + 1), ' ');
                line[column++] = c;
            }
        }
        for (std::string& line : lines)
            line.erase(line.find_last_not_of(' ') + 1);
        return lines;
    }
    static std::size_t updates(const std::string& written) {
        std::size_t count = 0;
        for (std::size_t at = 0; (at = written.find(" x real time, ", at)) != std::string::npos;
             ++at)
            ++count;
        return count;
    }
};

TEST_F(OnATerminal, ALastingRunSaysHowFarItIsAndTakesTheLineAway) {
    const auto begin = std::chrono::steady_clock::now();
    const auto written =
        interrupted("", 80, [](const std::string& all) { return updates(all) >= 3; });
    if (!written) GTEST_SKIP() << "no terminals here";
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    EXPECT_THAT(*written,
                ::testing::ContainsRegex("\r[0-9]+:[0-9:]+ of 277:46:40 \\([0-9]+ %\\), [0-9.]+ x "
                                         "real time, [0-9]+:[0-9:]+ left"));
    EXPECT_LE(static_cast<double>(updates(*written)), 4 * seconds + 1);
    EXPECT_THAT(screen(*written),
                ::testing::ElementsAre("vynhost: interrupted, no file is written", ""));
    EXPECT_EQ(read(folder() / "said"), "");
}

TEST_F(OnATerminal, ANarrowOneHasOneLineOnly) {
    constexpr int kColumns = 24;
    const auto written = interrupted("", kColumns, [](const std::string& all) {
        return std::count(all.begin(), all.end(), '\r') >= 3;
    });
    if (!written) GTEST_SKIP() << "no terminals here";
    const std::string line = written->substr(0, written->find('\r', 1));
    EXPECT_EQ(line.size(), std::size_t{kColumns});  // with the sign before it, and one column free
    EXPECT_EQ(screen(*written).size(), 2U);
}

TEST_F(OnATerminal, QuietRunsAndThoseWithoutProgressShowNone) {
    for (const char* option : {" --no-progress", " -q"}) {
        const auto begin = std::chrono::steady_clock::now();
        const auto written = interrupted(option, 80, [&](const std::string&) {
            return std::chrono::steady_clock::now() - begin > std::chrono::seconds(2);
        });
        if (!written) GTEST_SKIP() << "no terminals here";
        EXPECT_EQ(*written, "vynhost: interrupted, no file is written\r\n") << option;
    }
}

}  // namespace
}  // namespace vynhost::test
