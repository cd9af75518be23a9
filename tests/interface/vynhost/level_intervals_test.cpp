// Where the intervals of a level block lie, and what becomes of the last.
#include "vynhost/run/level_intervals.h"

#include <sstream>

#include "interface/vynhost/run_fixture.h"

namespace vynhost::test {
namespace {

using ::testing::Contains;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

class LevelIntervalsTest : public RunTest {
protected:
    // The rows of the level table of some samples, without its head.
    std::vector<std::string> rowsOf(int samples, int rate, const std::string& frequency,
                                    int block = 1000) {
        std::vector<float> signal;
        for (int i = 0; i < samples; ++i)
            signal.push_back(i % 2 == 0 ? 0.5F : 0.25F);
        writeWav("s.wav", signal, 1, rate);
        std::vector<std::string> rows;
        run("[source.s]\nfile = \"s.wav\"\nblock = " + std::to_string(block) +
                "\n[block.level]\ntype = \"Pegel\"\nPkFreqOut = " + frequency +
                "\n[wire]\n\"level.E\" = \"s\"\n[sink.x]\nfrom = \"level.A\"\ncsv = \"x.csv\"\n",
            [&](const RunResult& result) {
                notes = result.notes;
                std::istringstream table(result.tables[0]);
                for (std::string row; std::getline(table, row);)
                    rows.push_back(row);
            });
        EXPECT_THAT(rows.front(),
                    StartsWith("begin [s],end [s],\"level.A displayed level [dB re "));
        rows.erase(rows.begin());
        return rows;
    }

    std::vector<std::string> notes;
};

TEST_F(LevelIntervalsTest, ACompleteLastIntervalComesOut) {
    const auto rows = rowsOf(16000, 8000, "10.0");
    ASSERT_THAT(rows, SizeIs(20));
    EXPECT_THAT(rows.back(), StartsWith("1.9,2,"));
    EXPECT_THAT(notes, Not(Contains(HasSubstr("no interval"))));
    // Nothing of what shows the block the end is in it: a longer recording begins with the same.
    const auto longer = rowsOf(16801, 8000, "10.0");
    ASSERT_THAT(longer, SizeIs(22));  // 21 rows and a note
    EXPECT_EQ(std::vector(longer.begin(), longer.begin() + 20), rows);
}

TEST_F(LevelIntervalsTest, OneSampleLessIsARest) {
    const auto rows = rowsOf(15999, 8000, "10.0");
    ASSERT_THAT(rows, SizeIs(20));
    EXPECT_THAT(rows[18], StartsWith("1.8,1.9,"));
    const std::string note =
        "level: the last 799 samples (0.099875 s) fill no interval of 0.1 s and are in no row";
    EXPECT_EQ(rows[19], "# " + note);
    EXPECT_EQ(notes.back(), note);
}

TEST_F(LevelIntervalsTest, AllThatAreCompleteComeOut) {
    EXPECT_THAT(rowsOf(5, 8000, "8000.0"), SizeIs(5));        // a sample each: two wait at the end
    EXPECT_THAT(rowsOf(1600, 8000, "10.0", 800), SizeIs(2));  // data blocks as long as intervals
}

// 1003 samples a second, ten intervals: 100 or 101 samples each. The block's own running time says
// which.
TEST_F(LevelIntervalsTest, IntervalsOfUnevenLengthLieWhereTheBlockCountsThem) {
    const auto rows = rowsOf(2006, 1003, "10.0", 64);
    ASSERT_THAT(rows, SizeIs(20));
    for (const std::string& row : rows) {
        double end = 0;
        double running = 0;
        ASSERT_EQ(std::sscanf(row.c_str(), "%*[^,],%lf,%*[^,],%lf", &end, &running), 2) << row;
        EXPECT_NEAR(end, running, 1e-6) << row;  // single precision
    }
    EXPECT_THAT(rows.back(), HasSubstr(",2,"));
}

TEST_F(LevelIntervalsTest, ARecordingShorterThanAnIntervalSaysSo) {
    int code = 0;
    try {
        rowsOf(700, 8000, "10.0");
    } catch (const RunError& error) {
        code = error.code();
        EXPECT_THAT(error.what(),
                    EndsWith("nothing came out at level.A (level: the last 700 samples "
                             "(0.0875 s) fill no interval of 0.1 s and are in no "
                             "row)"));
    }
    EXPECT_EQ(code, kStalled);
}

// What averages levels has their rows, and their rest is not in there either.
TEST_F(LevelIntervalsTest, WhatComesBehindHasTheSameIntervals) {
    writeWav("s.wav", std::vector<float>(8100, 0.5F));
    run("[source.s]\nfile = \"s.wav\"\n[block.level]\ntype = \"Pegel\"\nPkFreqOut = 10.0\n"
        "[block.m]\ntype = \"Mittelwert\"\nPkMode = 2\nPkSmoothNVal = 3\n"
        "[wire]\n\"level.E\" = \"s\"\n\"m.E\" = \"level.A\"\n"
        "[sink.x]\nfrom = \"m.A\"\nvalues = [\"Leq\"]\ncsv = \"x.csv\"\n",
        [](const RunResult& result) {
            EXPECT_THAT(
                result.tables[0],
                StartsWith(
                    "begin [s],end [s],\"m.A Leq [dB re 2e-05 of full scale, uncalibrated]\"\n"
                    "0,0.1,"));
            EXPECT_THAT(result.tables[0], HasSubstr("\n0.9,1,"));
            EXPECT_THAT(result.tables[0], EndsWith("# level: the last 100 samples (0.0125 s) fill "
                                                   "no interval of 0.1 s and are in no row\n"));
        });
}

}  // namespace
}  // namespace vynhost::test
