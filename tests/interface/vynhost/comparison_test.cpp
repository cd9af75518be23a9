// How far two signals differ.
#include "interface/vynhost/run_fixture.h"

namespace vynhost::test {
namespace {

using ::testing::HasSubstr;

class ComparisonTest : public RunTest {};

TEST_F(ComparisonTest, AComparisonSaysHowFarTwoSignalsDiffer) {
    writeWav("a.wav", {0.5F, -0.5F, 0.25F, 0});
    writeWav("b.wav", {0.5F, -0.5F, 0.5F, 0});
    run("[source.a]\nfile = \"a.wav\"\n[source.b]\nfile = \"b.wav\"\n"
        "[compare.c]\nof = \"a\"\nwith = \"b\"\ntolerance = 0.4\n"
        "[compare.d]\nof = \"a\"\nwith = \"a\"\ntolerance = 0\n",
        [](const RunResult& result) {
            const Comparison c = result.comparison(0);
            EXPECT_FALSE(c.within);
            EXPECT_EQ(c.largest, 0.25);
            EXPECT_DOUBLE_EQ(c.rms, 0.125);
            EXPECT_THAT(c.line, HasSubstr("= 0.5 of the peak"));
            EXPECT_TRUE(result.comparison(1).within);
        });
}

TEST_F(ComparisonTest, ADifferenceThatIsNoNumberIsNotForgotten) {
    write("a.csv", "t,a\n0,1\n1,nan\n2,1\n");
    write("b.csv", "t,b\n0,1\n1,1\n2,1\n");
    run("[source.a]\nfile = \"a.csv\"\n[source.b]\nfile = \"b.csv\"\n"
        "[compare.c]\nof = \"a\"\nwith = \"b\"\ntolerance = 1.0\n",
        [](const RunResult& result) { EXPECT_FALSE(result.comparison(0).within); });
}

TEST_F(ComparisonTest, SilenceEqualsSilenceAndNothingElse) {
    writeWav("a.wav", {0, 0, 0});
    writeWav("b.wav", {0, 0.5F, 0});
    run("[source.a]\nfile = \"a.wav\"\n[source.b]\nfile = \"b.wav\"\n"
        "[compare.same]\nof = \"a\"\nwith = \"a\"\ntolerance = 0\n"
        "[compare.other]\nof = \"b\"\nwith = \"a\"\ntolerance = 1e9\n",
        [](const RunResult& result) {
            EXPECT_TRUE(result.comparison(0).within);
            EXPECT_EQ(
                result.comparison(0).line,
                "same: a against a over 3 values: largest difference 0 = 0 of the peak, rms 0 "
                "of the signal's rms (within 0 of the peak)");
            EXPECT_FALSE(result.comparison(1).within);
            EXPECT_THAT(result.comparison(1).line, HasSubstr("largest difference 0.5 = inf of"));
        });
}

TEST_F(ComparisonTest, ASignalThatEndsEarlyIsNotTheSame) {
    writeWav("long.wav", {0.5F, -0.5F, 0.25F});
    writeWav("short.wav", {0.5F, -0.5F});
    const std::string sources =
        "[source.l]\nfile = \"long.wav\"\n[source.s]\nfile = \"short.wav\"\n";
    run(sources +
            "[compare.a]\nof = \"l\"\nwith = \"s\"\ntolerance = 1\n"
            "[compare.b]\nof = \"s\"\nwith = \"l\"\n",
        [](const RunResult& result) {
            for (const std::size_t i : {0U, 1U}) {
                EXPECT_FALSE(result.comparison(i).within);
                EXPECT_THAT(result.comparison(i).line, HasSubstr("over 2 values"));
                EXPECT_THAT(result.comparison(i).line,
                            HasSubstr(", NOT equally long: s ends 1 value early"));
            }
        });
}

}  // namespace
}  // namespace vynhost::test
