// What is wrong in a diagram is said in one line that names file, line and key.
#include "interface/vynhost/diagram_fixture.h"

namespace vynhost::test {
namespace {

class DiagramError : public DiagramTest {
protected:
    DiagramError() { writeWav("s.wav", sine(64, 4)); }
    const std::string source = "[source.s]\nfile = \"s.wav\"\nblock = 32\n";  // lines 1-3
    const std::string fft = source + "[block.fft]\ntype = \"FFT\"\n";         // lines 4-5
    const std::string wired = fft + "[wire]\n\"fft.E\" = \"s\"\n";            // lines 6-7
};

TEST_F(DiagramError, NoneInASoundDiagram) { EXPECT_EQ(errorOf(wired), ""); }

TEST_F(DiagramError, OfTheSyntaxNamesTheLine) {
    EXPECT_THAT(errorOf("[source.s]\nfile = \n"), ::testing::StartsWith("d.toml:2: "));
}

TEST_F(DiagramError, UnknownTable) {
    EXPECT_EQ(errorOf("[sources.s]\nfile = \"s.wav\"\n"),
              "d.toml:1: sources: no such table, did you mean source?");
}

TEST_F(DiagramError, UnknownKey) {
    EXPECT_EQ(errorOf("[source.s]\nfile = \"s.wav\"\nblok = 32\n"),
              "d.toml:3: source.s.blok: no such key, did you mean block?");
}

TEST_F(DiagramError, MissingFileName) {
    EXPECT_EQ(errorOf("[source.s]\nblock = 3\n"), "d.toml:1: source.s: file is missing");
}

TEST_F(DiagramError, WrongKindOfValue) {
    EXPECT_EQ(errorOf("[source.s]\nfile = 3\n"), "d.toml:2: source.s.file: must be a text");
    EXPECT_EQ(errorOf("[source.s]\nfile = \"s.wav\"\nblock = 0\n"),
              "d.toml:3: source.s.block: must be a whole number from 1 to 16777216");
    EXPECT_EQ(errorOf("[source.s]\nfile = \"s.wav\"\ntail = \"cut\"\n"),
              "d.toml:3: source.s.tail: \"cut\" is none of keep, drop, pad");
}

TEST_F(DiagramError, OfNoise) {
    const auto error = [&](const std::string& lines) { return errorOf("[source.n]\n" + lines); };
    EXPECT_EQ(error("noise = 3\n"),
              "d.toml:2: source.n.noise: must be a table: { rms = 0.01, seed = 1 }");
    EXPECT_EQ(error("noise = { seed = 3 }\n"), "d.toml:2: source.n.noise: rms is missing");
    EXPECT_EQ(error("noise = { rms = -1 }\n"),
              "d.toml:2: source.n.noise.rms: must be from 0 to 1e37");
    EXPECT_EQ(error("noise = { rms = 1, seed = 1.5 }\n"),
              "d.toml:2: source.n.noise.seed: must be a whole number");
    EXPECT_EQ(error("noise = { rms = 1, level = 2 }\n"),
              "d.toml:2: source.n.noise.level: no such key");
    EXPECT_EQ(error("noise = { rms = 1 }\nseconds = 1\n"),
              "d.toml:1: source.n: rate is missing (noise has none of its own)");
    EXPECT_EQ(error("noise = { rms = 1 }\nrate = 1\n"),
              "d.toml:1: source.n: seconds is missing (noise has none of its own)");
    EXPECT_EQ(error("noise = { rms = 1 }\nrate = 10\nseconds = 0.01\n"),
              "d.toml:4: source.n.seconds: must give one sample at least, and no more than can be "
              "counted");
    EXPECT_EQ(error("noise = { rms = 1 }\nrate = 10\nseconds = 1\non_truncated = \"use\"\n"),
              "d.toml:5: source.n.on_truncated: noise has no end of its own");
    EXPECT_EQ(error("file = \"s.wav\"\nseconds = 3\n"),
              "d.toml:3: source.n.seconds: a recording has its own length");
}

TEST_F(DiagramError, OfPartsOfRecordings) {
    const auto error = [&](const std::string& line) {
        return errorOf("[source.s]\nfile = \"none.wav\"\n" + line + "\n");
    };
    const std::string seconds = "must be a number of seconds";
    EXPECT_THAT(error("start = 1e12"), Not(HasSubstr(seconds)));
    EXPECT_THAT(error("start = 1.1e12"), HasSubstr(seconds));
    EXPECT_THAT(error("start = 0"), Not(HasSubstr(seconds)));
    EXPECT_THAT(error("length = 1e12"), Not(HasSubstr(seconds)));
    EXPECT_THAT(error("length = 1.1e12"), HasSubstr(seconds));
    EXPECT_THAT(error("length = 0"), HasSubstr(seconds));
}

TEST_F(DiagramError, TwoNodesOfOneName) {
    EXPECT_EQ(errorOf(source + "[block.s]\ntype = \"FFT\"\n"),
              "d.toml:4: block.s: a source or block of this name exists already");
}

TEST_F(DiagramError, UnknownBlockType) {
    EXPECT_EQ(errorOf("[block.b]\ntype = \"TOSpectrum\"\n"),
              "d.toml:2: block.b.type: \"TOSpectrum\" is no block type, did you mean TOSpektrum?");
    EXPECT_EQ(errorOf("[block.b]\ntype = 5010\n"),
              "d.toml:2: block.b.type: \"5010\" is no block type");
}

TEST_F(DiagramError, UnknownKeyword) {
    EXPECT_EQ(errorOf(fft + "PkWndFnct = \"HANNING\"\n"),
              "d.toml:6: block.fft.PkWndFnct: no such keyword, did you mean PkWndFct? (there are: "
              "PkAmplType, PkWndFct, PkWndCorrectTyp, PkWndPara, PkPhase)");
}

TEST_F(DiagramError, UnknownValueName) {
    EXPECT_EQ(errorOf(fft + "PkWndFct = \"HANING\"\n"),
              "d.toml:6: block.fft.PkWndFct: \"HANING\" is none of its values, did you mean "
              "HANNING? (allowed is RECTANGLE, HANNING, HAMMING, BLACKMAN, FLATTOP, KAISER, "
              "COS10PERC, WELCH, PARZEN, BARTLETT, VALLEE, CAUCHY, GAUSS, EXPONENTIAL or RIEMANN)");
}

TEST_F(DiagramError, ValueOfAnotherType) {
    EXPECT_THAT(errorOf(fft + "PkWndFct = 66\n"),
                ::testing::StartsWith("d.toml:6: block.fft.PkWndFct: takes a name, in quotes, "
                                      "allowed is RECTANGLE, HANNING, "));
    EXPECT_EQ(errorOf(fft + "PkPhase = 0.5\n"),
              "d.toml:6: block.fft.PkPhase: takes a name or a whole number, allowed is off (0) or "
              "on (1)");
    EXPECT_EQ(errorOf(fft + "PkWndPara = \"10\"\n"),
              "d.toml:6: block.fft.PkWndPara: takes a number, allowed is 0 to 100");
    EXPECT_EQ(
        errorOf(fft + "PkPhase = 5000000000\n"),
        "d.toml:6: block.fft.PkPhase: 5000000000 is none of its values, allowed is off (0) or "
        "on (1)");
}

TEST_F(DiagramError, NoneForValuesThatReadBackDifferently) {
    for (const char* setting :
         {"PkAmplType = \"PSD\"", "PkAmplType = \"peak\"", "PkWndFct = \"RECTANGLE\"",
          "PkWndCorrectTyp = 0", "PkWndCorrectTyp = 1", "PkWndCorrectTyp = \"amplitude\"",
          "PkPhase = true", "PkWndPara = 3"}) {
        EXPECT_EQ(errorOf(fft + setting + "\n[wire]\n\"fft.E\" = \"s\"\n"), "") << setting;
    }
}

TEST_F(DiagramError, UnknownConnector) {
    EXPECT_EQ(errorOf(fft + "[wire]\n\"fft.R\" = \"s\"\n"),
              "d.toml:7: wire.fft.R: \"fft.R\" is no input; fft has E");
    EXPECT_EQ(errorOf(wired + "[sink.x]\nfrom = \"fft.P\"\ncsv = \"x.csv\"\n"),
              "d.toml:9: sink.x.from: \"fft.P\" is no output; fft has S");
    EXPECT_EQ(errorOf(fft + "[wire]\n\"fft.E\" = \"s.E\"\n"),
              "d.toml:7: wire.fft.E: \"s.E\": a source has no connectors");
}

TEST_F(DiagramError, UnknownNode) {
    EXPECT_EQ(errorOf(fft + "[wire]\n\"fftt.E\" = \"s\"\n"),
              "d.toml:7: wire.fftt.E: \"fftt\" is no block, did you mean fft?");
    EXPECT_EQ(errorOf(fft + "[wire]\n\"fft.E\" = \"q\"\n"),
              "d.toml:7: wire.fft.E: \"q\" is neither source nor block, did you mean s?");
}

TEST_F(DiagramError, MissingWire) {
    EXPECT_EQ(errorOf(source + "[block.back]\ntype = 5005\n[wire]\n\"back.R\" = \"s\"\n"),
              "d.toml:4: block.back: back.I (the imaginary parts) is not wired, and nothing is "
              "computed without it");
    EXPECT_EQ(errorOf(source + "[block.dual]\ntype = 5006\n[wire]\n\"dual.E\" = \"s\"\n"),
              "d.toml:4: block.dual: dual.A (the response) is not wired, and nothing is computed "
              "without it");
    // A block that only gives.
    EXPECT_EQ(errorOf(fft + "[sink.x]\nfrom = \"fft.S\"\ncsv = \"x.csv\"\n"),
              "d.toml:4: block.fft: fft.E (the data) is not wired, and nothing is computed without "
              "it");
}

TEST_F(DiagramError, NoneForABlockThatStandsBy) { EXPECT_EQ(errorOf(fft), ""); }

TEST_F(DiagramError, ATriggerThatIsNotThereOrNotRead) {
    const std::string dual = source + "[block.dual]\ntype = 5006\n";
    const std::string wires = "[wire]\n\"dual.E\" = \"s\"\n\"dual.A\" = \"s\"\n";
    const std::string trigger = "\"dual.T\" = \"s\"\n";
    EXPECT_EQ(errorOf(dual + "PkResetMode = \"trigger\"\n" + wires),
              "d.toml:6: block.dual.PkResetMode: PkResetMode is \"trigger\", but dual.T (the "
              "trigger) is not wired, so nothing would ever start anew");
    EXPECT_EQ(errorOf(dual + "PkResetMode = \"trigger\"\n" + wires + trigger), "");
    EXPECT_EQ(errorOf(dual + wires + trigger),
              "d.toml:9: wire.dual.T: dual.T is read only where PkResetMode is \"trigger\"");
    EXPECT_EQ(errorOf(source + "[block.b]\ntype = 5000\nPkReset = \"trigger\"\n[wire]\n"
                               "\"b.E\" = \"s\"\n"),
              "d.toml:6: block.b.PkReset: PkReset is \"trigger\", but b.T (the trigger) is not "
              "wired, so nothing would ever start anew");
}

// What this block does not do over data blocks it does without looking at its trigger.
TEST_F(DiagramError, ATriggerOfAverages) {
    const auto error = [&](const std::string& mode, const std::string& wire) {
        return errorOf(source + "[block.b]\ntype = 5003\nPkMode = \"" + mode +
                       "\"\nPkResetMode = \"trigger\"\n[wire]\n\"b.E\" = \"s\"\n" + wire);
    };
    const std::string wire = "\"b.T\" = \"s\"\n";
    EXPECT_EQ(error("data blocks", wire), "");
    EXPECT_EQ(error("moving average", ""), "");
    EXPECT_EQ(error("data blocks", ""),
              "d.toml:7: block.b.PkResetMode: PkResetMode is \"trigger\" and PkMode is \"data "
              "blocks\", but b.T (the trigger) is not wired, so nothing would ever start anew");
    EXPECT_EQ(
        error("moving average", wire),
        "d.toml:10: wire.b.T: b.T is read only where PkResetMode is \"trigger\" and PkMode is "
        "\"data blocks\"");
}

TEST_F(DiagramError, Cycle) {
    EXPECT_EQ(errorOf("[block.a]\ntype = 5004\n[block.b]\ntype = 5005\n[wire]\n\"a.E\" = \"b.A\"\n"
                      "\"b.R\" = \"a.S\"\n\"b.I\" = \"a.S\"\n"),
              "d.toml:1: block.a: the wires form a cycle: a -> b -> a");
}

TEST_F(DiagramError, Recordings) {
    EXPECT_EQ(errorOf("[source.s]\nfile = \"none.wav\"\n"),
              "d.toml:2: source.s.file: none.wav: no such file");
    write("noise.wav", "this is not a recording");
    EXPECT_EQ(errorOf("[source.s]\nfile = \"noise.wav\"\n"),
              "d.toml:2: source.s.file: noise.wav: is no WAV file");
    std::string cut = read(folder() / "s.wav");
    cut.resize(cut.size() - 40);
    write("cut.wav", cut);
    EXPECT_EQ(
        errorOf("[source.s]\nfile = \"cut.wav\"\n"),
        "d.toml:2: source.s.file: cut.wav: is truncated: its head promises 64 samples per "
        "channel, the file holds 44 (on_truncated = \"use\" of the source takes what is there)");
    EXPECT_EQ(errorOf("[source.s]\nfile = \"cut.wav\"\non_truncated = \"error\"\n"),
              errorOf("[source.s]\nfile = \"cut.wav\"\n"));
    EXPECT_EQ(errorOf("[source.s]\nfile = \"cut.wav\"\non_truncated = \"use\"\n"), "");
    EXPECT_EQ(errorOf("[source.s]\nfile = \"cut.wav\"\non_truncated = \"yes\"\n"),
              "d.toml:3: source.s.on_truncated: \"yes\" is none of error, use");
    write("bad.csv", "t;a\n0;1\n1;x\n");
    EXPECT_EQ(errorOf("[source.s]\nfile = \"bad.csv\"\n"),
              "d.toml:2: source.s.file: bad.csv: line 3, column 2: \"x\" is no number");
    write("uneven.csv", "t,a\n0,1\n1,2\n3,3\n");
    EXPECT_EQ(errorOf("[source.s]\nfile = \"uneven.csv\"\n"),
              "d.toml:2: source.s.file: uneven.csv: has no evenly rising x column (give rate when "
              "it has none)");
    EXPECT_EQ(errorOf("[source.s]\nfile = \"s.wav\"\nchannels = [2]\n"),
              "d.toml:3: source.s.channels: channel 2 does not exist: s.wav has 1");
    const auto ofChannel = [&](const std::string& number) {
        return errorOf("[source.s]\nfile = \"s.wav\"\nchannels = [" + number + "]\n");
    };
    EXPECT_THAT(ofChannel("100000"), HasSubstr("channel 100000 does not exist"));
    EXPECT_THAT(ofChannel("100001"), Not(HasSubstr("does not exist")));
}

TEST_F(DiagramError, DataThatIsNeverTaken) {
    writeWav("long.wav", sine(128, 4));
    int code = 0;
    EXPECT_EQ(
        errorOf(source + "[source.l]\nfile = \"long.wav\"\nblock = 32\n[block.back]\n"
                         "type = 5005\n[wire]\n\"back.R\" = \"s\"\n\"back.I\" = \"l\"\n",
                code),
        "d.toml:7: block.back: the data at back.I is not taken, nothing more comes to back.R");
    EXPECT_EQ(code, kStalled);
}

TEST_F(DiagramError, DataThatIsNeverTakenBecauseItDoesNotFit) {
    writeWav("two.wav", sine(128, 4), 2);
    int code = 0;
    EXPECT_EQ(
        errorOf(source + "[source.l]\nfile = \"two.wav\"\nblock = 64\n[block.dual]\n"
                         "type = 5006\n[wire]\n\"dual.E\" = \"s\"\n\"dual.A\" = \"l\"\n",
                code),
        "d.toml:7: block.dual: the data at dual.E, dual.A is not taken, its inputs do not fit "
        "together: dual.E has 32 values in 1 channel, dual.A has 128 values in 2 channels");
    EXPECT_EQ(code, kStalled);
    // The block leaves inputs locked that differ in both counts, and nothing else.
    EXPECT_THAT(host.takeOffences(), ::testing::Each(::testing::EndsWith(" is left locked")));
}

// What is held up before it is not to blame.
TEST_F(DiagramError, DataThatIsNeverTakenIsNamedWhereItStops) {
    writeWav("long.wav", sine(128, 4));
    int code = 0;
    EXPECT_EQ(
        errorOf(source + "[source.l]\nfile = \"long.wav\"\nblock = 32\n[block.low]\n"
                         "type = \"Filter\"\n[block.dual]\ntype = 5006\n[wire]\n"
                         "\"low.E\" = \"l\"\n\"dual.E\" = \"s\"\n\"dual.A\" = \"low.A\"\n",
                code),
        "d.toml:9: block.dual: the data at dual.A is not taken, nothing more comes to dual.E");
    EXPECT_EQ(code, kStalled);
}

TEST_F(DiagramError, OfABlockCarriesItsOwnText) {
    VYN_NEEDS_BOXES();
    int code = 0;
    EXPECT_EQ(errorOf(source + "[block.thirds]\ntype = 5001\n[wire]\n\"thirds.E\" = \"s\"\n", code),
              "d.toml:4: block.thirds: Terz-/ Oktavanalyse nur für Daten im Frequenzbereich "
              "(Einheit: Hz, kHz)");
    EXPECT_EQ(code, kBlockError);
}

TEST_F(DiagramError, OfADiagramFromWhichNothingWouldCome) {
    const auto error = [&](const std::string& text) {
        try {
            requireResults(parseDiagram(text, "d.toml"));
        } catch (const InputError& raised) {
            return std::string(raised.what());
        }
        return std::string();
    };
    EXPECT_EQ(error("# nothing\n"),
              "d.toml: the diagram is empty: it needs a [source.NAME], blocks with wires, and a "
              "[sink.NAME] (vynhost skeleton prints one)");
    EXPECT_EQ(error(wired),
              "d.toml: nothing would be written: a [sink.NAME] with from and csv or svg, or a "
              "[compare.NAME], is missing");
    EXPECT_EQ(error(wired + "[sink.x]\nfrom = \"fft.S\"\ncsv = \"x.csv\"\n"), "");
    EXPECT_EQ(error(wired + "[compare.x]\nof = \"s\"\nwith = \"s\"\n"), "");
}

TEST_F(DiagramError, NumbersThatAreNone) {
    for (const char* value : {"nan", "inf", "-inf", "0", "1e39", "1e-50"}) {
        EXPECT_EQ(errorOf(source + "full_scale = " + value + "\n"),
                  "d.toml:4: source.s.full_scale: must be a finite number other than 0")
            << value;
    }
    for (const char* value : {"nan", "inf", "-1.0", "0", "5e-324", "1e-308", "1e13"}) {
        EXPECT_EQ(errorOf(source + "rate = " + value + "\n"),
                  "d.toml:4: source.s.rate: must be from 1e-9 to 1e12")
            << value;
    }
    for (const char* value : {"nan", "inf", "-1.0", "1e38"}) {
        EXPECT_EQ(errorOf(source + "noise = { rms = " + value + " }\n"),
                  "d.toml:4: source.s.noise.rms: must be from 0 to 1e37")
            << value;
    }
    for (const char* value : {"nan", "inf", "-1e-9"}) {
        EXPECT_EQ(errorOf(source + "[compare.c]\nof = \"s\"\nwith = \"s\"\ntolerance = " + value),
                  "d.toml:7: compare.c.tolerance: must be a finite number, 0 or above")
            << value;
    }
    for (const char* value : {"nan", "inf", "0", "-1"}) {
        EXPECT_EQ(errorOf(source + "[sink.x]\nfrom = \"s\"\ncsv = \"x\"\nreference = " + value),
                  "d.toml:7: sink.x.reference: must be a finite number above 0")
            << value;
    }
    EXPECT_EQ(
        errorOf("[block.w]\ntype = \"Frequenzbewertung\"\nPkXweight = -2147483648\n"),
        "d.toml:3: block.w.PkXweight: -2147483648 is none of its values, allowed is linear (0), "
        "A (1), B (2) or C (3)");
}

// A system call would end them there and mean another file.
TEST_F(DiagramError, TextsBehindACharacterOfCode0) {
    EXPECT_EQ(errorOf("[source.s]\nfile = \"s.wav\\u0000.csv\"\n"),
              "d.toml:2: source.s.file: holds a character of code 0");
    EXPECT_EQ(errorOf(source + "[sink.x]\nfrom = [\"s\", \"s\\u0000\"]\ncsv = \"x\"\n"),
              "d.toml:5: sink.x.from: holds a character of code 0");
    EXPECT_EQ(errorOf(fft + "PkWndFct = \"HANNING\\u0000\"\n"),
              "d.toml:6: block.fft.PkWndFct: holds a character of code 0");
}

TEST_F(DiagramError, OfWhatIsNoneOfItsKind) {
    const std::string noise = "[source.s]\nnoise = { rms = 1.0 }\nrate = 10.0\nseconds = 1.0\n";
    const std::string many = [] {
        std::string list = "[1";
        for (int i = 0; i < 1024; ++i)
            list += ", 1";
        return list + "]";
    }();
    const std::string channels =
        "d.toml:4: source.s.channels: channels are whole numbers from 1 on";
    const std::string names = "must be a list of names";
    struct Refusal {
        std::string toml;
        std::string said;
    };
    const std::vector<Refusal> all = {
        {"source = 3\n", "d.toml:1: source: must hold tables"},
        {"source.s = 3\n", "d.toml:1: source.s: must be a table"},
        {"[source.\"\"]\nfile = \"s.wav\"\n", "a name may not hold a point"},
        {"[source.\"a.b\"]\nfile = \"s.wav\"\n", "a name may not hold a point"},
        {"wire = 3\n", "d.toml:1: wire: must be a table"},
        {fft + "[wire]\n\"fft.E\" = 3\n", "must be the name of a source or output"},
        {source + "block = 1.5\n", "d.toml:4: "},
        {source + "step = 1.5\n", "source.s.step: must be a whole number from 1 to 32"},
        {source + "channels = 1\n", "source.s.channels: must be a list"},
        {source + "channels = []\n", "source.s.channels: must be a list"},
        {source + "channels = " + many + "\n", "are 1025, at most 1024 are possible"},
        {source + "channels = [1.5]\n", channels},
        {source + "channels = [0]\n", channels},
        {source + "channels = [100001]\n", channels},
        {source + "start = 1e13\n", "must be a number of seconds, 0 or above"},
        {source + "length = 1e13\n", "must be a number of seconds above 0"},
        {source + "format = \"\"\n", "source.s.format: must be a name"},
        {source + "format = \"s16\"\nrate = 8.0\nchannels = 1025\n", "1 to 1024"},
        {source + "format = \"s16\"\nrate = 8.0\nvariable = \"a\"\n",
         "source.s.variable: is not for samples without a head"},
        {source + "variable = \"\"\n", "source.s.variable: must be a name"},
        {source + "full_scale = []\n", "must hold a value per channel, at most 1024"},
        {source + "full_scale = " + many + "\n", "must hold a value per channel, at most 1024"},
        {source + "full_scale = [1, \"2\"]\n", "must be a number or a list of numbers"},
        {source + "sensitivity = [\"50 mV/Pa\", 3]\nrange = \"10 V\"\n",
         "must be a text or a list of texts"},
        {source +
             "sensitivity = [\"50 mV/Pa\", \"50 mV/Pa\"]\nrange = [\"1 V\", \"1 V\", \"1 V\"]\n",
         "source.s.range: 3 values for 2 sensitivities"},
        {noise + "format = \"s16\"\n", "source.s.format: noise alone is in no file"},
        {noise + "rows = \"channels\"\n", "source.s.rows: noise alone is in no file"},
        {"[source.s]\nnoise = { rms = 1.0 }\nrate = 10.0\nseconds = 0\n", "one sample at least"},
        {"[source.s]\nnoise = { rms = 1.0 }\nrate = 10.0\nseconds = 1e300\n",
         "no more than can be counted"},
        {"[block.b]\nPkPhase = 1\n", "d.toml:1: block.b: type is missing"},
        {fft + "PkPhase = [1]\n", "PkPhase: must be a number, a text, true or false"},
        {source + "[sink.x]\ncsv = \"x\"\n", "d.toml:4: sink.x: from is missing"},
        {source + "[sink.x]\nfrom = [3]\n", names},
        {source + "[sink.x]\nfrom = []\n", "sink.x.from: names nothing"},
        {source + "[sink.x]\nfrom = \"s\"\nvalues = 3\n", names},
        {source + "[sink.x]\nfrom = \"s\"\nvalues = [3]\n", names},
        {source + "blok = 3\n", "no such key, did you mean block?"},
    };
    for (const Refusal& one : all) {
        SCOPED_TRACE(one.toml.substr(0, 120));
        EXPECT_THAT(errorOf(one.toml), ::testing::HasSubstr(one.said));
    }
    // A record's lines may end as on Windows.
    const std::string record =
        errorOf("[block.b]\r\ntype = 5004\r\nrecord = \"\"\"\r\n0102\r\n\t03 0g\"\"\"\r\n");
    EXPECT_THAT(record, ::testing::HasSubstr("\"g\" is no hexadecimal digit (the 8. digit)"));
}

}  // namespace
}  // namespace vynhost::test
