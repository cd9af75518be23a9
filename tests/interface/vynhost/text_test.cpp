// Numbers and names as text.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "vynhost/base/digest.h"
#include "vynhost/base/text.h"

namespace vynhost::test {
namespace {

TEST(TextTest, SuggestsTheNearestName) {
    const std::vector<std::string> names = {"PkWndFct", "PkPhase"};
    EXPECT_EQ(didYouMean("pkwndfkt", names), ", did you mean PkWndFct?");
    EXPECT_EQ(didYouMean("PkWdnFct", names), ", did you mean PkWndFct?");
    EXPECT_EQ(didYouMean("something", names), "");
}

TEST(TextTest, ReadsWholeNumbersOnly) {
    EXPECT_EQ(toNumber(" -1.5e3 "), -1500.0);
    EXPECT_EQ(toNumber("+2"), 2.0);
    EXPECT_EQ(toNumber("1.5x"), std::nullopt);
    EXPECT_EQ(toNumber(""), std::nullopt);
}

// A table of both lengths would take 7 GiB.
TEST(TextTest, SuggestsNothingForANameThatNobodyTypes) {
    const std::string a(30'000, 'a');
    EXPECT_EQ(didYouMean(a, std::vector<std::string>{std::string(30'000, 'b'), "a"}), "");
    EXPECT_EQ(didYouMean("spectrun", std::vector<std::string>{a, "spectrum"}),
              ", did you mean spectrum?");
    const std::string long100(100, 'a');
    EXPECT_EQ(didYouMean(long100.substr(1), std::vector<std::string>{long100}),
              ", did you mean " + long100 + "?");
}

TEST(TextTest, AStepThatNoDecimalsTellRoundsNothing) {
    EXPECT_EQ(roundedToStep(0.1 + 0.2, 0.1), 0.3);
    EXPECT_EQ(roundedToStep(0.1 + 0.2, 1e-20), 0.1 + 0.2);
    EXPECT_EQ(roundedToStep(0.1 + 0.2, 1e20), 0.1 + 0.2);
    EXPECT_EQ(roundedToStep(0.1 + 0.2, 0), 0.1 + 0.2);
}

TEST(TextTest, TheTerminalIsToldNothingButLetters) {
    EXPECT_EQ(printable("Öl 20 µPa 猫"), "Öl 20 µPa 猫");
    EXPECT_EQ(printable("\x1b[31m\a\v\t\x7f"), "\\x1b[31m\\x07\\x0b\\x09\\x7f");
    EXPECT_EQ(printable("\xC2\x9B"), "\\xc2\\x9b");     // a control character of Latin-1
    EXPECT_EQ(printable("\u202E"), "\\xe2\\x80\\xae");  // turns what follows around
    EXPECT_EQ(printable("\u0080\u07FF\u0800\uFFFF"), "\\xc2\\x80\u07FF\u0800\uFFFF");
    EXPECT_EQ(printable("\u2066\u2069"), "\\xe2\\x81\\xa6\\xe2\\x81\\xa9");  // isolates
    EXPECT_EQ(printable("\u2065\u206A"), "\u2065\u206A");
    EXPECT_EQ(printable("a\xFF\xC3("), "a\\xff\\xc3(");  // no UTF-8
    EXPECT_EQ(printable("\xC0\x80\xED\xA0\x80"), "\\xc0\\x80\\xed\\xa0\\x80");
    EXPECT_EQ(printable(std::string_view("\0", 1)), "\\x00");
}

TEST(TextTest, AMessageIsOneLineOfAtMost300Letters) {
    EXPECT_EQ(messageLine("d.toml:1: is\nwrong"), "d.toml:1: is wrong");
    EXPECT_EQ(messageLine(std::string(300, 'x')), std::string(300, 'x'));
    std::string text = "d.toml:1: \"";
    for (int i = 0; i < 400; ++i)
        text += "ä";
    const std::string line = messageLine(text + "\" is no number");
    EXPECT_EQ(std::ranges::count_if(line, [](char c) { return (c & 0xC0) != 0x80; }), 300);
    EXPECT_TRUE(line.starts_with("d.toml:1: \"ä"));
    EXPECT_TRUE(line.ends_with("ä\" is no number"));
    EXPECT_NE(line.find("ä…ä"), std::string::npos);
}

// Two letters in the wrong order are one mistake; two wrong letters would be too much here.
TEST(TextTest, NeighboursInTheWrongOrderAreOneMistake) {
    EXPECT_EQ(didYouMean("ba", std::vector<std::string>{"ab"}), ", did you mean ab?");
    EXPECT_EQ(didYouMean("cd", std::vector<std::string>{"ab"}), "");
    EXPECT_EQ(didYouMean("fotl", std::vector<std::string>{"ftlo"}), "");
}

// The examples of FIPS 180-4 and RFC 4648.
TEST(TextTest, SumsAndDigitsAreThoseOfTheStandards) {
    EXPECT_EQ(sha256Of("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(sha256Of(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(base64Of("foobar"), "Zm9vYmFy");
    EXPECT_EQ(base64Of("fooba"), "Zm9vYmE=");
    EXPECT_EQ(base64Of("foob"), "Zm9vYg==");
}

// UTF-8 as RFC 3629 has it: nothing too long for what it says, no half of a pair, nothing beyond
// U+10FFFF, nothing cut.
TEST(TextTest, WhatIsNoUtf8IsShownAsItsBytes) {
    for (const char* whole : {"\u0800", "\uD7FF", "\uFFFD", "\U00010000", "\U0010FFFF", "\u2027",
                              "\u202F", "\u2065", "\u206A"}) {
        EXPECT_EQ(printable(whole), whole);
        const std::string_view text = whole;
        EXPECT_EQ(characterSize(text), text.size());
        for (std::size_t cut = 1; cut < text.size(); ++cut)
            EXPECT_EQ(characterSize(text.substr(0, cut)), 0U) << whole;
    }
    for (const char* wrong : {"\xE0\x9F\x80", "\xF0\x8F\x80\x80", "\xF4\x90\x80\x80", "\xF5\x80",
                              "\xE1\x80(", "\xF1(\x80\x80", "\xF1\x80(\x80", "\x80"}) {
        EXPECT_EQ(characterSize(wrong), 0U) << digitsOf(wrong);
    }
    EXPECT_EQ(characterSize(""), 0U);
    // Marks that turn or part what follows.
    EXPECT_EQ(printable("\u2028\u2066a\u2069"), "\\xe2\\x80\\xa8\\xe2\\x81\\xa6a\\xe2\\x81\\xa9");
}

TEST(TextTest, BlanksAndLineEndsBecomeOneBlankAtMost) {
    EXPECT_EQ(onOneLine("  a\r\n  b c \n"), "a b c");
    EXPECT_EQ(onOneLine("\r\n "), "");
    EXPECT_EQ(shortened("abcdef", 3), "ab\u2026");  // no room for its end
    EXPECT_EQ(tomlString("a\"\\\n\x7f"), "\"a\\\"\\\\\\u000a\\u007f\"");
}

TEST(TextTest, ANumberIsRoundedToItsStepWhereThatSaysSomething) {
    EXPECT_EQ(roundedToStep(0.30000000000000004, 0.1), 0.3);
    EXPECT_EQ(roundedToStep(1.23456789, 0.0), 1.23456789);
    EXPECT_EQ(roundedToStep(1.23456789, std::numeric_limits<double>::quiet_NaN()), 1.23456789);
    EXPECT_EQ(roundedToStep(1.23456789, 1e6), 1.23456789);    // coarser than hundreds
    EXPECT_EQ(roundedToStep(1.23456789, 1e-20), 1.23456789);  // finer than a double
    EXPECT_EQ(roundedToStep(1e15 + 0.125, 1e-3), 1e15 + 0.125);
}

TEST(TextTest, HexadecimalDigitsAreSixteen) {
    std::string found;
    for (int c = 0; c < 256; ++c) {
        if (isHexadecimal(static_cast<char>(c))) found += static_cast<char>(c);
    }
    EXPECT_EQ(found, "0123456789ABCDEFabcdef");
    EXPECT_EQ(bytesOf("4a4Bc"), "JK");
}

}  // namespace
}  // namespace vynhost::test
