// Names of quantities that the interface does not tell.
#include "interface/vynhost/run_fixture.h"

namespace vynhost::test {
namespace {

using ::testing::HasSubstr;
using ::testing::SizeIs;

class ValueNamesTest : public RunTest {};

TEST_F(ValueNamesTest, LevelQuantitiesAreNamedPerChannel) {
    writeWav("s.wav", std::vector<float>(16000, 0.5F));
    run("[source.s]\nfile = \"s.wav\"\nblock = 1000\nfull_scale = 2.0\n"
        "[block.level]\ntype = \"Pegel\"\n[wire]\n\"level.E\" = \"s\"\n"
        "[sink.x]\nfrom = \"level.A\"\ncsv = \"x.csv\"\n"
        "[sink.y]\nfrom = \"level.A\"\nvalues = [\"Leq\", \"running time\"]\ncsv = \"y.csv\"\n",
        [](const RunResult& result) {
            const auto all = result.series(0);
            ASSERT_THAT(all, SizeIs(18));
            EXPECT_EQ(all.front().name, "level.A displayed level");
            EXPECT_EQ(all.back().name, "level.A L99");
            const auto picked = result.series(1);
            ASSERT_THAT(picked, SizeIs(2));
            EXPECT_EQ(picked[0].name, "level.A running time");
            EXPECT_EQ(picked[0].quantity.unitText(), "s");
            EXPECT_EQ(picked[1].name, "level.A Leq");
            EXPECT_EQ(picked[1].quantity.unitText(), "dB re 2e-05 of full scale, uncalibrated");
            // 8000 Hz and ten values a second: the running time grows by 0.1 s.
            EXPECT_NEAR(picked[0].y.at(4), 0.5, 1e-6);
            EXPECT_DOUBLE_EQ(picked[0].x.at(4), 0.5);  // where the interval ends
        });
}

TEST_F(ValueNamesTest, StatisticsAreNamedAfterTheirKeywords) {
    writeWav("s.wav", {0.5F, -0.25F, 0.125F, 0.5F});
    run("[source.s]\nfile = \"s.wav\"\nblock = 2\n"
        "[block.n]\ntype = \"Statistik\"\nPkYMin = 1\nPkYMax = 1\n[wire]\n\"n.E\" = \"s\"\n"
        "[sink.x]\nfrom = \"n.A\"\ncsv = \"x.csv\"\n",
        [](const RunResult& result) {
            EXPECT_EQ(result.tables[0], "block,n.A YMax,n.A YMin\n1,0.5,-0.25\n2,0.5,0.125\n");
        });
}

TEST_F(ValueNamesTest, AnOutputPerMeasureHasItsNumber) {
    writeWav("s.wav", {0.5F, -0.25F});
    run("[source.s]\nfile = \"s.wav\"\nblock = 2\n"
        "[block.n]\ntype = \"Statistik\"\nPkAllOn = 1\nPkOutMode = 2\n[wire]\n\"n.E\" = \"s\"\n"
        "[sink.x]\nfrom = \"n.10\"\ncsv = \"x.csv\"\n",
        [](const RunResult& result) { EXPECT_THAT(result.tables[0], HasSubstr("n.10 ")); });
}

TEST_F(ValueNamesTest, AValueThatNobodyNamesIsAnError) {
    writeWav("s.wav", {0.5F, -0.25F});
    const std::string toml =
        "[source.s]\nfile = \"s.wav\"\nblock = 2\n"
        "[block.n]\ntype = \"Statistik\"\nPkYMin = 1\n[wire]\n\"n.E\" = \"s\"\n"
        "[sink.x]\nfrom = \"n.A\"\nvalues = [\"YMax\"]\ncsv = \"x.csv\"\n";
    try {
        run(toml, [](const RunResult&) {});
        FAIL() << "no error";
    } catch (const InputError& error) {
        EXPECT_THAT(error.what(), HasSubstr("sink.x.values: \"YMax\" is no value; there are YMin"));
    }
    EXPECT_FALSE(std::filesystem::exists(folder() / "out"));
}

}  // namespace
}  // namespace vynhost::test
