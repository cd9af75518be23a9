// Changed entries go into the text of a diagram, and nothing else of it moves.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>

#include "vynhost/diagram/diagram_text.h"

namespace vynhost::test {
namespace {

struct Rewriting {
    const char* name;
    std::string before;
    std::string after;
};

class RewriteBlock : public ::testing::TestWithParam<Rewriting> {};

// PkPhase 1 becomes 0, PkWndPara 1.5, PkAmplType goes, PkX comes, and a record.
TEST_P(RewriteBlock, ChangesNothingElse) {
    const std::string text = GetParam().before;
    const Diagram diagram = parseDiagram(text, "d.toml");
    const BlockEntry& before =
        *std::ranges::find(diagram.blocks, std::string("b"), &BlockEntry::name);
    BlockEntry after = before;
    std::erase_if(after.settings, [](const Setting& s) { return s.keyword == "PkAmplType"; });
    for (Setting& setting : after.settings) {
        if (setting.keyword == "PkPhase") setting.value = std::int64_t{0};
        if (setting.keyword == "PkWndPara") setting.value = 2.0;
    }
    after.settings.push_back({.keyword = "PkX", .value = std::string("A\"B")});
    after.record = std::string("\x01\x02\x03\x04\x05");
    EXPECT_EQ(rewriteBlock(text, "d.toml", before, after), GetParam().after);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, RewriteBlock,
    ::testing::Values(
        Rewriting{
            "InATable",
            "# Überschrift\n[block.b] # b\n  type = \"FFT\"\n\n  PkPhase  =  true # ö\n"
            "  PkAmplType = \"RMS\" # goes\n  # stays\n  PkWndPara = 1.5\t# last\n\n"
            "[block.c]\ntype = 1 # PkPhase = 1",
            "# Überschrift\n[block.b] # b\n  type = \"FFT\"\n\n  PkPhase  =  false # ö\n"
            "  # stays\n  PkWndPara = 2.0\t# last\n  PkX = \"A\\\"B\"\n"
            "  record = \"\"\"\n    01020304 05\n\"\"\"\n\n[block.c]\ntype = 1 # PkPhase = 1"},
        Rewriting{"WithCarriageReturns",
                  "\xEF\xBB\xBF[block.b]\r\nPkPhase=1\r\n\"PkAmplType\"='RMS'\r\ntype='Ü'\r\n",
                  "\xEF\xBB\xBF[block.b]\r\nPkPhase=0\r\ntype='Ü'\r\nPkX = \"A\\\"B\"\r\n"
                  "record = \"\"\"\r\n    01020304 05\r\n\"\"\"\r\n"},
        Rewriting{"WithoutALastLineEnd", "[block.b]\ntype=1\nPkWndPara = 1",
                  "[block.b]\ntype=1\nPkWndPara = 2\nPkX = \"A\\\"B\"\n"
                  "record = \"\"\"\n    01020304 05\n\"\"\""},
        Rewriting{"WhereTheLastEntryGoes", "[block.b]\ntype=1\nPkAmplType='RMS' # x\n[wire]\n",
                  "[block.b]\ntype=1\nPkX = \"A\\\"B\"\n"
                  "record = \"\"\"\n    01020304 05\n\"\"\"\n[wire]\n"},
        Rewriting{"WhereTheLastLineGoes", "[block.b]\ntype=1\nPkAmplType='RMS'",
                  "[block.b]\ntype=1\nPkX = \"A\\\"B\"\n"
                  "record = \"\"\"\n    01020304 05\n\"\"\"\n"},
        Rewriting{"InOneLine",
                  "[block]\na = { type = 'Ü', PkPhase = 1 }\n"
                  "b = { PkAmplType = 'RMS', type = 'Ü', PkPhase = 1, PkWndPara = 3 } # x\n",
                  "[block]\na = { type = 'Ü', PkPhase = 1 }\n"
                  "b = { type = 'Ü', PkPhase = 0, PkWndPara = 2, PkX = \"A\\\"B\", "
                  "record = \"01020304 05\" } # x\n"},
        Rewriting{"InOneLineAtItsEnd", "block.b = {type = 1, PkAmplType = \"RMS\"}\n",
                  "block.b = {type = 1, PkX = \"A\\\"B\", record = \"01020304 05\"}\n"},
        Rewriting{"WithDottedNames",
                  "[block]\n b.type = 1\n b . PkPhase = 1 # x\nc.type = 1\n b.PkWndPara=0.5\n",
                  "[block]\n b.type = 1\n b . PkPhase = 0 # x\nc.type = 1\n b.PkWndPara=2.0\n"
                  " b.PkX = \"A\\\"B\"\n b.record = \"\"\"\n    01020304 05\n\"\"\"\n"},
        Rewriting{"WithARecord",
                  "[block.b]\ntype=1\nrecord = \"\"\"\n 01\n 02\n \"\"\" # r\nPkPhase = 0x1\n",
                  "[block.b]\ntype=1\nrecord = \"\"\"\n    01020304 05\n\"\"\" # r\nPkPhase = 0\n"
                  "PkX = \"A\\\"B\"\n"}),
    [](const auto& test) { return std::string(test.param.name); });

// Bit for bit: a diagram tells both zeros apart, and NaN is no change from NaN.
TEST(RewriteOneBlock, TheSignOfZeroIsAChange) {
    const std::string text = "[block.b]\ntype=1\nPkA = 0.0 # a\nPkB = nan\n";
    const Diagram diagram = parseDiagram(text, "d.toml");
    const BlockEntry& before = diagram.blocks.at(0);
    BlockEntry after = before;
    after.settings.at(1).value = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(rewriteBlock(text, "d.toml", before, after), text);
    after.settings.at(0).value = -0.0;
    EXPECT_EQ(rewriteBlock(text, "d.toml", before, after),
              "[block.b]\ntype=1\nPkA = -0.0 # a\nPkB = nan\n");
}

TEST(RewriteOneBlock, AValueMayBecomeOneOfAnotherKind) {
    const std::string text = "[block.b]\ntype=1\nPkA = 'x' # a\nPkB = 1.5\nPkC = 7\n";
    const Diagram diagram = parseDiagram(text, "d.toml");
    const BlockEntry& before = diagram.blocks.at(0);
    BlockEntry after = before;
    after.settings.at(0).value = 2.5;
    after.settings.at(1).value = std::string("y");
    after.settings.at(2).value = std::string("7");
    EXPECT_EQ(rewriteBlock(text, "d.toml", before, after),
              "[block.b]\ntype=1\nPkA = 2.5 # a\nPkB = \"y\"\nPkC = \"7\"\n");
}

TEST(RewriteOneBlock, ValuesStandAsTheirKindIsWritten) {
    const auto line = [](decltype(Setting::value) value) {
        return settingText({.keyword = "PkA", .value = std::move(value)});
    };
    constexpr double kInfinite = std::numeric_limits<double>::infinity();
    EXPECT_EQ(line(std::numeric_limits<double>::quiet_NaN()), "PkA = nan");
    EXPECT_EQ(line(kInfinite), "PkA = inf");
    EXPECT_EQ(line(-kInfinite), "PkA = -inf");
    EXPECT_EQ(line(3.0), "PkA = 3.0");
    EXPECT_EQ(line(1e30), "PkA = 1e+30");
    // In the style of what was there, as far as that can say it.
    const std::string text =
        "[block.b]\ntype = 1\nPkA = true\nPkB = 2\nPkC = 2\nPkD = 2\nPkE = false\n";
    const Diagram diagram = parseDiagram(text, "d.toml");
    const BlockEntry& before = diagram.blocks.at(0);
    BlockEntry after = before;
    after.settings.at(0).value = std::int64_t{2};
    after.settings.at(1).value = 1.5;
    after.settings.at(2).value = -0.0;
    after.settings.at(3).value = 1e16;
    after.settings.at(4).value = std::int64_t{1};
    EXPECT_EQ(rewriteBlock(text, "d.toml", before, after),
              "[block.b]\ntype = 1\nPkA = 2\nPkB = 1.5\nPkC = -0.0\nPkD = 1e+16\nPkE = true\n");
}

TEST(RewriteOneBlock, ARecordStaysGoesOrGrows) {
    const std::string text = "block.b = { type = 1, record = \"01 02\", PkA = 1 }\n";
    const Diagram diagram = parseDiagram(text, "d.toml");
    const BlockEntry& before = diagram.blocks.at(0);
    BlockEntry after = before;
    after.settings.at(0).value = std::int64_t{2};
    EXPECT_EQ(rewriteBlock(text, "d.toml", before, after),
              "block.b = { type = 1, record = \"01 02\", PkA = 2 }\n");
    after.record = std::nullopt;
    EXPECT_EQ(rewriteBlock(text, "d.toml", before, after), "block.b = { type = 1, PkA = 2 }\n");
    after.record = std::string(36, '\x05');
    const std::string word = "05050505";
    std::string record = word;
    for (int i = 1; i < 9; ++i)
        record += " " + word;
    EXPECT_EQ(rewriteBlock(text, "d.toml", before, after),
              "block.b = { type = 1, record = \"" + record + "\", PkA = 2 }\n");
}

}  // namespace
}  // namespace vynhost::test
