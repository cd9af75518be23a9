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

}  // namespace
}  // namespace vynhost::test
