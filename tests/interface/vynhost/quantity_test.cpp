// What values are: their units along the wires, and which of them have levels.
#include "vynhost/diagram/quantity.h"

#include "interface/vynhost/run_fixture.h"
#include "vynhost/base/text.h"

namespace vynhost::test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class QuantityTest : public RunTest {
protected:
    // The head of the table of what comes out at a place behind two noises in Pa and in V, which
    // are the sources p and v.
    std::string headOf(const std::string& blocks, const std::string& from,
                       const std::string& sink = "", const std::string& unit = "Pa") {
        const auto noise = [](const std::string& name, const std::string& of) {
            return "[source." + name +
                   "]\nnoise = { rms = 1.0 }\nrate = 8000.0\nseconds = 0.1\nblock = 400\nunit = "
                   "\"" +
                   of + "\"\n";
        };
        std::string head;
        run(noise("p", unit) + noise("v", "V") + blocks + "[sink.x]\nfrom = \"" + from +
                "\"\ncsv = \"x\"\naverage = \"last\"\n" + sink,
            [&](const RunResult& result) {
                head = result.tables[0].substr(0, result.tables[0].find('\n'));
            });
        return head;
    }
    static std::string fft(const std::string& type) {
        return "[block.f]\ntype = \"FFT\"\nPkPhase = 1\nPkAmplType = \"" + type +
               "\"\n[wire]\n\"f.E\" = \"p\"\n";
    }
};

TEST_F(QuantityTest, SpectraHaveTheUnitOfWhatTheyShow) {
    EXPECT_EQ(headOf(fft("PEAK"), "f.S"), "f [Hz],f.S [Pa]");
    EXPECT_EQ(headOf(fft("RMS"), "f.S"), "f [Hz],f.S [Pa]");
    EXPECT_EQ(headOf(fft("POWERSPECTRUM"), "f.S"), "f [Hz],f.S [Pa^2]");
    EXPECT_EQ(headOf(fft("AUTOSPECTRUM"), "f.S"), "f [Hz],f.S [Pa^2]");
    EXPECT_EQ(headOf(fft("PSD"), "f.S"), "f [Hz],f.S [Pa^2/Hz]");
    EXPECT_EQ(headOf(fft("PSD"), "f.P"), "f [Hz],f.P [°]");
    EXPECT_EQ(headOf(fft("CEPSTRUM"), "f.S"), "f [Hz],f.S");
    EXPECT_EQ(headOf(fft("REALIMAGINAER"), "f.I"), "f [Hz],f.I [Pa]");
    EXPECT_EQ(headOf(fft("PSD"), "f.S", "", "m/s"), "f [Hz],f.S [(m/s)^2/Hz]");
    EXPECT_EQ(headOf(fft("PSD"), "f.S", "", ""), "f [Hz],f.S [power/Hz]");
    EXPECT_EQ(headOf(fft("RMS"), "f.S", "", ""), "f [Hz],f.S");
    // Behind other blocks as well.
    EXPECT_EQ(headOf("[block.t]\ntype = 5001\n[block.m]\ntype = 5003\nPkMode = 3\nPkOutMode = 0\n" +
                         fft("PSD") + "\"t.E\" = \"f.S\"\n\"m.E\" = \"t.A\"\n",
                     "m.A"),
              "f [Hz],m.A [Pa^2/Hz]");
}

TEST_F(QuantityTest, TwoSignalsGiveAProductOrAQuotient) {
    const auto head = [&](const std::string& type, const std::string& response,
                          const std::string& sink = "", const std::string& unit = "Pa") {
        return headOf("[block.d]\ntype = 5006\nPkCoherence = 1\n" + type +
                          "[wire]\n\"d.E\" = \"p\"\n\"d.A\" = \"" + response + "\"\n",
                      "d.A", sink, unit);
    };
    const std::string transfer = "PkCrossSpectr = \"transfer function\"\n";
    EXPECT_EQ(head("", "p"), "f [Hz],d.A [Pa^2]");
    EXPECT_EQ(head("", "v"), "f [Hz],d.A [Pa*V]");
    EXPECT_EQ(head("", "v", "", ""), "f [Hz],d.A [power]");
    EXPECT_EQ(head(transfer, "v", "", ""), "f [Hz],d.A");
    EXPECT_EQ(head("PkAmplType = \"PSD\"\n", "p"), "f [Hz],d.A [Pa^4/Hz]");
    EXPECT_EQ(head(transfer, "v"), "f [Hz],d.A [V/Pa]");
    EXPECT_EQ(head(transfer, "p"), "f [Hz],d.A");
    EXPECT_EQ(head(transfer, "p", "y = \"dB\"\n"), "f [Hz],d.A [dB]");
    EXPECT_EQ(head(transfer, "p", "y = \"dB\"\n", ""), "f [Hz],d.A [dB]");
    EXPECT_EQ(head("", "v", "y = \"dB\"\n"), "f [Hz],d.A [dB re 1 Pa*V]");
    EXPECT_EQ(head("", "p", "y = \"dB\"\nreference = 2e-5\n"), "f [Hz],d.A [dB re 20 uPa]");
}

TEST_F(QuantityTest, ADensitySaysSoAsALevelToo) {
    const std::string decibels = "y = \"dB\"\nreference = ";
    EXPECT_EQ(headOf(fft("PSD"), "f.S", decibels + "2e-5\n"), "f [Hz],f.S [dB re 20 uPa/sqrt(Hz)]");
    EXPECT_EQ(headOf(fft("PSD"), "f.S", decibels + "1.0\n", ""),
              "f [Hz],\"f.S [dB re full scale/sqrt(Hz), uncalibrated]\"");
    EXPECT_EQ(headOf(fft("RMS"), "f.S", decibels + "0.5\n", ""),
              "f [Hz],\"f.S [dB re 0.5 of full scale, uncalibrated]\"");
}

// Angles, parts with a sign and parts of a whole have none.
TEST_F(QuantityTest, OnlyWhatIsHowLargeASignalIsHasALevel) {
    const std::string decibels = "y = \"dB\"\n";
    EXPECT_EQ(headOf(fft("PEAK"), "f.P", decibels), "f [Hz],f.P [°]");
    EXPECT_EQ(headOf(fft("REALIMAGINAER"), "f.R", decibels), "f [Hz],f.R [Pa]");
    EXPECT_EQ(headOf("[block.d]\ntype = 5006\nPkCoherence = 1\n[wire]\n\"d.E\" = \"p\"\n"
                     "\"d.A\" = \"v\"\n",
                     "d.K", decibels),
              "f [Hz],d.K");
    EXPECT_THAT(headOf("[block.k]\ntype = 5000\n[wire]\n\"k.E\" = \"p\"\n", "k.A", decibels),
                HasSubstr(",k.A [%]"));
}

TEST_F(QuantityTest, StatisticsHaveUnitsAndSomeHaveLevels) {
    const std::string block =
        "[block.n]\ntype = \"Statistik\"\nPkQSum = 1\nPkYMax = 1\nPkXonYMax = 1\nPkQMean = 1\n"
        "PkVarianz = 1\nPkVarKoeff = 1\nPkVarKoRel = 1\n[wire]\n\"n.E\" = \"p\"\n";
    EXPECT_EQ(headOf(block, "n.A"),
              "block,n.A QSum [Pa^2],n.A YMax [Pa],n.A XonYMax [s],n.A QMean [Pa],"
              "n.A Varianz [Pa^2],n.A VarKoeff,n.A VarKoRel [%]");
    EXPECT_EQ(headOf(block, "n.A", "y = \"dB\"\nreference = 2e-5\n"),
              "block,n.A QSum [Pa^2],n.A YMax [Pa],n.A XonYMax [s],n.A QMean [dB re 20 uPa],"
              "n.A Varianz [dB re 20 uPa],n.A VarKoeff,n.A VarKoRel [%]");
    // The values go with their units: 0.5 and 0.25, 20 lg 0.5 and 10 lg 0.25 (plus 1/(n - 1)).
    writeWav("s.wav", {0.5F, -0.5F, 0.5F, -0.5F});
    run("[source.s]\nfile = \"s.wav\"\n[block.n]\ntype = \"Statistik\"\nPkYMax = 1\nPkQMean = 1\n"
        "PkVarianz = 1\n[wire]\n\"n.E\" = \"s\"\n[sink.x]\nfrom = \"n.A\"\ncsv = \"x\"\n"
        "y = \"dB\"\n",
        [](const RunResult& result) {
            const std::string row = result.tables[0].substr(result.tables[0].find('\n') + 1);
            double maximum = 0;
            double rms = 0;
            double variance = 0;
            ASSERT_EQ(std::sscanf(row.c_str(), "1,%lf,%lf,%lf", &maximum, &rms, &variance), 3);
            EXPECT_EQ(maximum, 0.5);
            EXPECT_NEAR(rms, 20 * std::log10(0.5), 1e-5);
            EXPECT_NEAR(variance, 10 * std::log10(1.0 / 3), 1e-5);
        });
}

// The level block takes what comes in for a sound pressure.
TEST_F(QuantityTest, TheLevelBlocksLevelsSayWhatTheyAreRelativeTo) {
    const std::string block =
        "[block.l]\ntype = \"Pegel\"\nPkFreqOut = 50.0\n[wire]\n\"l.E\" = \"p\"\n";
    const std::string leq = "values = [\"Leq\"]\n";
    EXPECT_EQ(headOf(block, "l.A", leq), "begin [s],end [s],l.A Leq [dB re 20 uPa]");
    EXPECT_EQ(headOf(block, "l.A", leq + "y = \"dB\"\n"),
              "begin [s],end [s],l.A Leq [dB re 20 uPa]");
    EXPECT_EQ(headOf(block, "l.A", leq, ""),
              "begin [s],end [s],\"l.A Leq [dB re 2e-05 of full scale, uncalibrated]\"");
    // Behind it nobody knows which of its quantities are shown.
    EXPECT_THAT(
        headOf("[block.n]\ntype = 5002\nPkYMax = 1\n" + block + "\"n.E\" = \"l.A\"\n", "n.A"),
        StartsWith("block,n.A YMax 1,"));
}

TEST_F(QuantityTest, AParameterRecordMayHideWhatPowerItIs) {
    // The record of a block that computes densities; its amplitude type does not read back.
    PlacedBlock block(host, kDualSpektrum);
    block.set("PkAmplType", "PSD");
    const std::string record = digitsOf(block.save());
    EXPECT_EQ(headOf("[block.d]\ntype = 5006\nrecord = \"" + record +
                         "\"\n[wire]\n\"d.E\" = \"p\"\n\"d.A\" = \"p\"\n",
                     "d.A"),
              "f [Hz],d.A [power]");
}

TEST(Quantity, UnitsArePrintedAsInABook) {
    Quantity density = signalQuantity("Pa").power(2);
    density.perHertz = true;
    EXPECT_EQ(density.unitText(Letters::print), "Pa²/Hz");
    EXPECT_EQ(density.levelText(2e-5, Letters::print), "dB re 20 µPa/√Hz");
    EXPECT_EQ(density.levelText(2e-5), "dB re 20 uPa/sqrt(Hz)");
    EXPECT_EQ(signalQuantity("V").levelText(1), "dB re 1 V");
    EXPECT_EQ(signalQuantity("m/s").levelText(5e-8), "dB re 5e-08 (m/s)");
    EXPECT_EQ(signalQuantity("").levelText(1), "dB re full scale, uncalibrated");
    EXPECT_NEAR(density.level(4e-10, 2e-5), 0.0, 1e-14);  // rounding
    EXPECT_DOUBLE_EQ(signalQuantity("V").level(-10, 1), 20.0);
    EXPECT_DOUBLE_EQ(signalQuantity("V").power(4).level(16, 2), 0.0);
}

}  // namespace
}  // namespace vynhost::test
