// One diagram over many recordings.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <numbers>
#include <sstream>

#include "interface/vynhost/program_fixture.h"
#include "vynhost/base/wildcards.h"

namespace vynhost::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

TEST(Wildcards, StandForLetters) {
    EXPECT_TRUE(matches("m01.wav", "*.wav", false));
    EXPECT_TRUE(matches("m01.wav", "m??.wav", false));
    EXPECT_TRUE(matches("mäß.wav", "m??.wav", false));
    EXPECT_TRUE(matches("aab", "*ab", false));
    EXPECT_TRUE(matches("", "**", false));
    EXPECT_TRUE(matches("A.WAV", "*.wav", true));
    EXPECT_FALSE(matches("A.WAV", "*.wav", false));
    EXPECT_FALSE(matches("m1.wav", "m??.wav", false));
    EXPECT_FALSE(matches("m.wav.txt", "*.wav", false));
    EXPECT_FALSE(matches("a", "", false));
    EXPECT_FALSE(matches(std::string(2000, 'a'), "*a*a*a*a*a*a*b", false));  // at once
}

class BatchTest : public ProgramTest {
protected:
    BatchTest() {
        write(
            "d.toml",
            "[source.m]\nfile = \"none.wav\"\n[block.level]\ntype = \"Pegelberechnung\"\n"
            "[block.f]\ntype = \"FFT\"\nPkAmplType = \"RMS\"\n[wire]\n\"level.E\" = \"m\"\n"
            "\"f.E\" = \"m\"\n[sink.l]\nfrom = \"level.A\"\nvalues = [\"Lmax\"]\ncsv = \"l.csv\"\n"
            "[sink.f]\nfrom = \"f.S\"\naverage = \"power\"\ncsv = \"f.csv\"\n[sink.s]\nfrom = "
            "\"m\"\ncsv = \"s.csv\"\n");
        std::filesystem::create_directories(folder() / "in");
        for (int i = 1; i <= 3; ++i)
            record("in/m" + std::to_string(i) + ".wav", 0.2 * i);
    }
    void record(const std::string& name, double amplitude) const {
        writeWav(name, sine(8192, 1024, amplitude));
    }
    // Tells every recording of in/, unless `each` is something else.
    Outcome batch(const std::string& options = "", const std::string& each = "",
                  const std::string& out = "o/{name}") const {
        return vynhost("run " + at("d.toml") + " --out " + at(out) + " --each " +
                       (each.empty() ? pattern("in/*.wav") : each) + " " + options);
    }
    std::string pattern(const std::string& name) const {
        return "\"m=" + textOf(folder() / name) + "\"";
    }
    static std::string lastLineOf(const std::string& text) {
        std::string last;
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);)
            last = line;
        return last.substr(0, last.find('\r'));
    }
    bool exists(const std::string& name) const { return std::filesystem::exists(folder() / name); }
};

TEST_F(BatchTest, RunsTheDiagramOverEachRecording) {
    const Outcome outcome = batch("--jobs 2");
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_EQ(lastLineOf(outcome.out), "vynhost: 3 ok, 0 failed");
    EXPECT_THAT(outcome.out, HasSubstr("m2: ok"));
    // What a run of its own writes.
    const Outcome alone = vynhost("run " + at("d.toml") + " --totals --input " +
                                  pattern("in/m2.wav") + " --out " + at("alone"));
    EXPECT_EQ(alone.code, 0) << alone.error;
    for (const char* table : {"/l.csv", "/f.csv", "/s.csv"}) {
        EXPECT_EQ(read(folder() / ("o/m2" + std::string(table))),
                  read(folder() / ("alone" + std::string(table))));
    }
    const std::string rms = "total: m rms = 0.2828";
    EXPECT_THAT(alone.out, HasSubstr(rms));
    Columns summary = tableOf("o/summary.csv");
    for (std::size_t i = 0; i < 3; ++i) {
        const double amplitude = 0.2 * static_cast<double>(i + 1);
        // 16 bits: a step is 3e-5.
        EXPECT_NEAR(summary["m rms"].at(i), amplitude / std::numbers::sqrt2, 2e-5);
        EXPECT_NEAR(summary["m peak"].at(i), amplitude, 2e-5);
        EXPECT_NEAR(summary["f.S highest"].at(i), amplitude / std::numbers::sqrt2, 2e-5);
        EXPECT_EQ(summary["f.S highest at"].at(i), 1000);
    }
    EXPECT_THAT(read(folder() / "o/summary.csv"),
                StartsWith("name,file,result,reason,\"level.A Lmax [dB re 2e-05 of full scale, "));
}

TEST_F(BatchTest, OneBadFileDoesNotStopTheRest) {
    write("in/m2.wav", "RIFF, and no recording");
    const Outcome outcome = batch();
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(lastLineOf(outcome.out), "vynhost: 2 ok, 1 failed");
    EXPECT_THAT(outcome.error, AllOf(StartsWith("m2: failed: "), HasSubstr("m2.wav")));
    EXPECT_FALSE(exists("o/m2"));
    EXPECT_TRUE(exists("o/m3/l.csv"));
    EXPECT_THAT(read(folder() / "o/summary.csv"), HasSubstr(",failed,"));
    const Outcome quiet = batch("--quiet");
    EXPECT_EQ(quiet.out, "");
    EXPECT_EQ(lastLineOf(quiet.error), "vynhost: 2 ok, 1 failed");
    // Mended, it is the one that is left.
    record("in/m2.wav", 0.5);
    const Outcome resumed = batch("--resume");
    EXPECT_EQ(resumed.code, 0) << resumed.error;
    EXPECT_THAT(resumed.out, AllOf(StartsWith("2 of 3 are done and as they were"),
                                   HasSubstr("m2: ok"), Not(HasSubstr("m1: ok"))));
    EXPECT_THAT(read(folder() / "o/summary.csv"), Not(HasSubstr("failed")));
}

TEST_F(BatchTest, ResumingDoesNothingTwice) {
    ASSERT_EQ(batch("--csv=de").code, 0);
    const auto times = [&] {
        std::vector<std::filesystem::file_time_type> all;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder() / "o"))
            all.push_back(std::filesystem::last_write_time(entry));
        return all;
    };
    const auto before = times();
    const Outcome again = batch("--resume --csv=de");
    EXPECT_EQ(again.code, 0) << again.error;
    EXPECT_EQ(again.out,
              "3 of 3 are done and as they were" + kLineEnd + "vynhost: 3 ok, 0 failed" + kLineEnd);
    EXPECT_EQ(times(), before);
    // What has changed is done again: a recording, a result, the diagram, the tables' style.
    const auto doneAgain = [&](const std::string& options) {
        const Outcome outcome = batch("--resume " + options);
        EXPECT_EQ(outcome.code, 0) << outcome.error;
        return std::ranges::count(outcome.out, ':') - 1;  // "m1: ok", and the last line
    };
    record("in/m3.wav", 0.7);
    EXPECT_EQ(doneAgain("--csv=de --quiet"), -1);
    EXPECT_EQ(doneAgain("--csv=de"), 0);
    std::filesystem::remove(folder() / "o/m1/l.csv");
    EXPECT_EQ(doneAgain("--csv=de"), 1);
    write("d.toml", read(folder() / "d.toml") + "\n# another one\n");
    EXPECT_THAT(batch("--resume --csv=de").out, HasSubstr("m1: ok"));
    EXPECT_THAT(batch("--resume").out, HasSubstr("m1: ok"));
}

TEST_F(BatchTest, ResumingSeesWhatOtherInputsHold) {
    write("d.toml",
          read(folder() / "d.toml") +
              "[source.n]\nfile = \"none.wav\"\n[sink.n]\nfrom = \"n\"\ncsv = \"n.csv\"\n");
    record("n.wav", 0.1);
    const std::string input = " --input \"n=" + textOf(folder() / "n.wav") + "\"";
    ASSERT_EQ(batch(input).code, 0);
    EXPECT_THAT(batch("--resume" + input).out, StartsWith("3 of 3 are done and as they were"));
    record("n.wav", 0.2);
    EXPECT_THAT(batch("--resume" + input).out, HasSubstr("m1: ok"));
}

TEST_F(BatchTest, TwoFilesOfOneNameAreTold) {
    std::filesystem::create_directories(folder() / "in2");
    record("in2/m1.wav", 0.5);
    const Outcome outcome = batch("", pattern("in*/m?.wav"));
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.error, HasSubstr("m1.wav have one name, and their results one folder"));
    EXPECT_FALSE(exists("o"));
}

TEST_F(BatchTest, NothingIsWrittenOutside) {
    const std::string refused[] = {"o/name", "{name}/{name}"};
    for (const std::string& out : refused) {
        EXPECT_THAT(batch("", "", out).error, HasSubstr("--out must hold {name} once")) << out;
    }
    record("in/...wav", 0.5);  // whose name without its ending is ".."
    const Outcome dots = batch("", pattern("in/.*"));
    EXPECT_EQ(dots.code, 2);
    EXPECT_THAT(dots.error, HasSubstr("\"..\" can't be a folder"));
    record("summary.csv.wav", 0.5);
    EXPECT_THAT(batch("", pattern("summary.*.wav")).error,
                HasSubstr("its folder would be summary.csv"));
    write("o/../kept.txt", "");
    std::filesystem::create_directories(folder() / "o");
    write("o/summary.csv", "somebody's own");
    EXPECT_THAT(batch().error, HasSubstr("is there already, and not as a run has written it"));
    EXPECT_FALSE(exists("o/m1"));
    std::filesystem::remove(folder() / "o/summary.csv");
    std::error_code error;
    std::filesystem::create_directory_symlink(folder() / "in", folder() / "o/m1", error);
    const bool hasLinks = !error;
    EXPECT_EQ(batch().error.find("where --out begins") != std::string::npos, hasLinks);
}

TEST_F(BatchTest, RefusesWhatMeansNothing) {
    for (const auto& [options, each, what] :
         std::vector<std::tuple<std::string, std::string, std::string>>{
             {"", "in", "--each in: must be NAME=FILES"},
             {"", pattern("none/*.wav"), "no such file"},
             {"", "\"n=" + textOf(folder() / "in/m1.wav") + "\"",
              "--each n: no such source, did you mean m?"},
             {"--jobs 300", "", "--jobs must be from 1 to 256"}}) {
        const Outcome outcome = batch(options, each);
        EXPECT_EQ(outcome.code, 2);
        EXPECT_THAT(outcome.error, AllOf(StartsWith("vynhost: "), HasSubstr(what)));
    }
    EXPECT_EQ(vynhost("run " + at("d.toml") + " --resume").code, 2);
}

// Natively: a shell that can send signals.
TEST_F(BatchTest, AnInterruptEndsEveryRunAndKeepsWhatWasFinished) {
    if (platform::kHasDialogs) GTEST_SKIP() << "no shell that sends signals";
    ASSERT_EQ(batch("", pattern("in/m1.wav")).code, 0);
    const std::string finished = read(folder() / "o/m1/s.csv");
    write("d.toml",
          "[source.m]\nfile = \"none.wav\"\n[source.n]\nnoise = { rms = 1.0 }\nrate = 48000.0\n"
          "seconds = 1e6\n[sink.s]\nfrom = \"n\"\ncsv = \"s.csv\"\n");
    const int code = platform::runShell(
        "\"" + textOf(platform::programFolder() / platform::kHostProgram) + "\" run " +
        at("d.toml") + " --each " + pattern("in/*.wav") + " --jobs 2 --out " + at("o/{name}") +
        " > " + at("out") + " 2> " + at("err") + " & run=$!; for i in $(seq 600); do ls -A " +
        at("o/m2") +
        " 2> /dev/null | grep -q part && break; sleep 0.05; done; kill -TERM $run; wait $run");
    EXPECT_EQ(code, 130);
    EXPECT_EQ(read(folder() / "out"), "");
    EXPECT_EQ(read(folder() / "err"), "vynhost: interrupted; what was finished stays\n");
    EXPECT_EQ(read(folder() / "o/m1/s.csv"), finished);
    EXPECT_FALSE(exists("o/m2"));
    EXPECT_FALSE(exists("o/m3"));
}

// As shells leave it that have found the files themselves.
TEST_F(BatchTest, FilesMayStandOneByOne) {
    const Outcome outcome =
        batch("", pattern("in/m1.wav") + " " + at("in/m2.wav") + " " + pattern("in/m3.wav"));
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_EQ(lastLineOf(outcome.out), "vynhost: 3 ok, 0 failed");
}

// Of a list that somebody has touched, or that a power cut has left in pieces.
TEST_F(BatchTest, ALineThatSaysNothingWholeCountsAsNotDone) {
    const std::string one = pattern("in/m1.wav");
    ASSERT_EQ(batch("", one).code, 0);
    const std::string list = read(folder() / "o/.vynhost-batch");
    const std::size_t begin = list.find('\n') + 1;
    const std::string title = list.substr(0, begin);
    const std::string line = list.substr(begin);
    const std::size_t key = line.find("\"key\":\"") + 7;
    const std::string known = line.substr(key, line.find('"', key) - key);
    const auto entry = [&](const std::string& totals) {
        return "{\"name\":\"m1\",\"key\":\"" + known + "\",\"totals\":" + totals + "}\n";
    };
    const auto isDone = [&](const std::string& rest) {
        write("o/.vynhost-batch", title + rest);
        const Outcome outcome = batch("--resume", one);
        EXPECT_EQ(outcome.code, 0) << outcome.error;
        return outcome.out.starts_with("1 of 1 are done");
    };
    EXPECT_TRUE(isDone(line));
    EXPECT_TRUE(isDone(entry("[]")));
    EXPECT_TRUE(isDone("half a line\n" + line));
    for (const std::string& broken :
         {std::string(), line.substr(0, line.size() / 2), std::string("[1]\n"),
          std::string("{\"key\":\"k\",\"totals\":[]}\n"),
          std::string("{\"name\":1,\"key\":\"k\",\"totals\":[]}\n"),
          std::string("{\"name\":\"m1\",\"totals\":[]}\n"),
          std::string("{\"name\":\"m1\",\"key\":1,\"totals\":[]}\n"),
          "{\"name\":\"m1\",\"key\":\"" + known + "\"}\n", entry("1"), entry("[1]"), entry("[[1]]"),
          entry("[[1,\"2\"]]"), entry("[[\"rms\",2]]"), entry("[[\"rms\",\"two\"]]")}) {
        EXPECT_FALSE(isDone(broken)) << broken;
        if (platform::kHasDialogs && broken.ends_with("]\n")) break;  // processes take long there
    }
    for (const char* other : {"", "Somebody's own list\n"}) {
        write("o/.vynhost-batch", other);
        const Outcome outcome = batch("--resume", one);
        EXPECT_EQ(outcome.code, 2);
        EXPECT_THAT(outcome.error, HasSubstr("is no list of a batch, and not replaced"));
        EXPECT_EQ(read(folder() / "o/.vynhost-batch"), other);
    }
}

// What a run reads beside its recording decides whether it is done, and so does what it writes.
TEST_F(BatchTest, ResumingLooksAtEveryFile) {
    writeWav("cal.wav", sine(16000, 2000, 0.1), 1, 8000);
    ASSERT_EQ(vynhost("calibrate " + at("cal.wav") + " --level 94 --out " + at("cal.toml")).code,
              0);
    record("other.wav", 0.3);
    record("more.wav", 0.4);
    write("d.toml",
          "[source.m]\nfile = \"none.wav\"\ncalibration = \"cal.toml\"\n[source.n]\nfile = "
          "\"other.wav\"\n[source.o]\nfile = \"none.wav\"\n[sink.s]\nfrom = [\"m\", \"n\", \"o\"]\n"
          "csv = \"s.csv\"\nsvg = \"s.svg\"\n");
    const std::string one = pattern("in/m1.wav") + " " + pattern("in/m?.wav");
    const std::string options =
        "--report r.html --jobs 1 --input \"o=" + textOf(folder() / "more.wav") + "\" ";
    ASSERT_EQ(batch(options, one).code, 0) << batch(options, one).error;
    const auto isDone = [&](const std::string& more = "") {
        const Outcome outcome = batch("--resume " + options + more, one);
        EXPECT_EQ(outcome.code, 0) << outcome.error;
        EXPECT_EQ(lastLineOf(outcome.out), "vynhost: 3 ok, 0 failed");  // each once
        return outcome.out.starts_with("3 of 3 are done");
    };
    EXPECT_TRUE(isDone());
    EXPECT_TRUE(isDone("--force"));
    std::filesystem::remove(folder() / "o/m2/s.svg");
    EXPECT_FALSE(isDone());
    std::filesystem::remove(folder() / "o/m3/r.html");
    EXPECT_FALSE(isDone());
    EXPECT_TRUE(isDone());
    record("other.wav", 0.5);
    EXPECT_FALSE(isDone());
    record("more.wav", 0.6);
    EXPECT_FALSE(isDone());
    write("cal.toml", read(folder() / "cal.toml") + "# looked at\n");
    EXPECT_FALSE(isDone());
    EXPECT_TRUE(isDone());
}

TEST_F(BatchTest, NamesThatCanBeNoFoldersAreRefused) {
    EXPECT_THAT(batch("", "=in").error, HasSubstr("--each =in: must be NAME=FILES"));
    EXPECT_THAT(batch("--jobs -1").error, HasSubstr("--jobs must be from 1 to 256"));
    record("in/..wav", 0.5);  // whose name without its ending is "."
    EXPECT_THAT(batch("", pattern("in/..wav")).error, HasSubstr("\".\" can't be a folder"));
    write("o", "somebody's file");
    const Outcome outcome = batch("", pattern("in/m1.wav"));
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(read(folder() / "o"), "somebody's file");
    // Each run refuses an input that names no source, and the batch says so.
    const Outcome input = batch("--input nonsense", pattern("in/m1.wav"), "p/{name}");
    EXPECT_EQ(input.code, 1);
    EXPECT_THAT(input.error, AllOf(StartsWith("m1: failed: "), HasSubstr("nonsense")));
}

// A total for all that has a size; none for angles and counts.
TEST_F(BatchTest, TotalsAreThoseOfWhatTheTablesShow) {
    writeWav("s.wav", sine(1000, 125));  // 1 kHz, and a short rest
    write("t.toml",
          "[source.s]\nfile = \"s.wav\"\nblock = 64\nunit = \"Pa\"\ntail = \"keep\"\n"
          "[block.p]\ntype = \"FFT\"\nPkAmplType = \"POWERSPECTRUM\"\nPkPhase = 1\n"
          "[block.b]\ntype = \"Terz_Oktav_Analyse\"\n[block.k]\ntype = \"Klassierung\"\n"
          "[block.n]\ntype = \"Statistik\"\nPkYMax = 1\nPkYMin = 1\n"
          "[wire]\n\"p.E\" = \"s\"\n\"b.E\" = \"p.S\"\n\"k.E\" = \"s\"\n\"n.E\" = \"s\"\n"
          "[sink.a]\nfrom = [\"p.S\"]\ncsv = \"p.csv\"\naverage = \"last\"\n"
          "[sink.p]\nfrom = \"p.P\"\ncsv = \"phase.csv\"\naverage = \"last\"\n"
          "[sink.b]\nfrom = \"b.A\"\ncsv = \"b.csv\"\naverage = \"last\"\n"
          "[sink.k]\nfrom = \"k.A\"\ncsv = \"k.csv\"\naverage = \"last\"\n"
          "[sink.n]\nfrom = \"n.A\"\ncsv = \"n.csv\"\nvalues = [\"YMin\"]\n");
    const Outcome outcome = vynhost("run " + at("t.toml") + " --totals --out " + at("t"));
    ASSERT_EQ(outcome.code, 0) << outcome.error;
    const auto total = [&](const std::string& name) {
        const std::string begin = "total: " + name + " = ";
        const std::size_t at = outcome.out.find(begin);
        return at == std::string::npos
                   ? std::numeric_limits<double>::quiet_NaN()
                   : std::strtod(outcome.out.c_str() + at + begin.size(), nullptr);
    };
    EXPECT_NEAR(total("p.S highest [Pa^2]"), 0.125, 1e-4);  // 16 bits
    EXPECT_EQ(total("p.S highest at [Hz]"), 1000);
    EXPECT_NEAR(total("b.A sum [Pa^2]"), 0.125, 1e-4);
    EXPECT_NEAR(total("n.A YMin [Pa]"), -0.5, 1e-4);
    EXPECT_THAT(outcome.out, AllOf(Not(HasSubstr("total: k.A")), Not(HasSubstr("total: p.P")),
                                   Not(HasSubstr("total: n.A YMax"))));
}

}  // namespace
}  // namespace vynhost::test
