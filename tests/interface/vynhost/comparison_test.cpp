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

TEST_F(ComparisonTest, WhatIsComparedMustExist) {
    writeWav("a.wav", {0, 0, 0});
    const std::string source = "[source.a]\nfile = \"a.wav\"\n[compare.c]\ntolerance = 1.0\n";
    EXPECT_THAT(errorOf(source + "of = \"b\"\nwith = \"a\"\n"), HasSubstr("\"b\""));
    EXPECT_THAT(errorOf(source + "of = \"a\"\nwith = \"b\"\n"), HasSubstr("\"b\""));
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

TEST_F(ComparisonTest, WhatCanNotBeComparedIsRefused) {
    writeWav("a.wav", sine(64, 4));
    writeWav("slow.wav", sine(64, 4), 1, 4000);
    writeWav("two.wav", sine(64, 4), 2);
    const auto refusal = [&](const std::string& of, const std::string& with) -> std::string {
        try {
            run("[source.a]\nfile = \"a.wav\"\nblock = 32\n[source.slow]\nfile = \"slow.wav\"\n"
                "[source.two]\nfile = \"two.wav\"\n[block.f]\ntype = \"FFT\"\n[wire]\n"
                "\"f.E\" = \"a\"\n[compare.c]\nof = \"" +
                    of + "\"\nwith = \"" + with + "\"\n",
                [](const RunResult&) {});
        } catch (const InputError& error) {
            return error.what();
        }
        return "";
    };
    EXPECT_EQ(refusal("a", "a"), "");
    EXPECT_THAT(refusal("a", "two"), HasSubstr("a and two have different channel counts"));
    EXPECT_THAT(refusal("a", "slow"), HasSubstr("a and slow have different x axes"));
    EXPECT_THAT(refusal("f.S", "a"), HasSubstr("f.S and a have different x axes"));
    writeWav("one.wav", {0.5F, 0.5F});
    writeWav("more.wav", {0.5F, 0.5F, 0.5F});
    run("[source.a]\nfile = \"one.wav\"\n[source.b]\nfile = \"more.wav\"\n"
        "[compare.c]\nof = \"a\"\nwith = \"b\"\n",
        [](const RunResult& result) {
            EXPECT_EQ(result.comparison(0).early, 1U);
            EXPECT_THAT(result.comparison(0).line, HasSubstr("a ends 1 value early"));
        });
}

}  // namespace
}  // namespace vynhost::test
