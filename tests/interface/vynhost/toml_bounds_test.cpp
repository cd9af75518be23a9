// Texts that are too much for a parser.
#include "vynhost/diagram/toml_bounds.h"

#include <gmock/gmock.h>

#include "vynhost/base/errors.h"
#include "vynhost/diagram/diagram.h"

namespace vynhost::test {
namespace {

std::string errorOf(const std::string& text) {
    try {
        parseDiagram(text, "d.toml");
    } catch (const InputError& error) {
        return error.what();
    }
    return "";
}

std::string repeated(const std::string& part, std::size_t times) {
    std::string text;
    for (std::size_t i = 0; i < times; ++i)
        text += part;
    return text;
}

// Each of these ends a parser that follows them.
TEST(TomlBounds, DepthIsRefusedBeforeItIsParsed) {
    EXPECT_EQ(errorOf("\n" + repeated("a.", 300'000) + "a = 1\n"),
              "d.toml:2: a name has more than 16 parts");
    EXPECT_EQ(errorOf("[" + repeated("a.", 300'000) + "a]\n"),
              "d.toml:1: a name has more than 16 parts");
    EXPECT_EQ(errorOf("[block." + repeated("\"a\" . ", 100'000) + "a]\n"),
              "d.toml:1: a name has more than 16 parts");
    EXPECT_EQ(errorOf("a = " + repeated("[", 100'000)), "d.toml:1: more than 32 brackets are open");
    EXPECT_EQ(errorOf("a = " + repeated("{a=", 100'000)),
              "d.toml:1: more than 32 brackets are open");
    EXPECT_EQ(errorOf("a = [\n\"[\", '[', # [\n\"\"\"\n[\"\"\"\"\"\n, " + repeated("[", 32)),
              "d.toml:5: more than 32 brackets are open");
}

TEST(TomlBounds, SizeIsRefusedBeforeItIsParsed) {
    EXPECT_EQ(errorOf(repeated("[a]\n", 1'000'000)),
              "d.toml: is larger than a diagram may be (1048576 bytes)");
    EXPECT_EQ(errorOf("#" + std::string((1 << 20) - 1, 'x')), "");
}

TEST(TomlBounds, WhatStandsInTextsAndCommentsIsNoDepth) {
    const std::string deep = repeated("a.[{", 100);
    EXPECT_EQ(errorOf("# " + deep + " ä\n[source.s]\nfile = \"" + deep +
                      "ä\\\"[\" # [\n[sink.x]\nfrom = '" + deep + "'\ncsv = '''\n" + deep +
                      "''''' # [\ntitle = \"\"\"" + deep + "\\\"\"\"\"\"\"\n[compare.c]\nof = " +
                      "\"s\"\nwith = \"s\"\ntolerance = 1.5\n"),
              "");
    EXPECT_EQ(errorOf("[source.s]\nfile = \"\\\"" + deep + "\"\n"), "");
    EXPECT_EQ(errorOf("\xEF\xBB\xBF[source.s]\nfile = \"\"\nchannels = [" + repeated("1, ", 100) +
                      "1]\n"),
              "");
}

// Some versions of the parser leave the language there.
TEST(TomlBounds, ALetterBeyondAsciiNeedsQuotes) {
    EXPECT_EQ(
        errorOf("[source.s]\nfile = \"s.wav\"\nstraße = 1\n"),
        "d.toml:3: a letter like \"ä\" stands outside of quotes; names with such letters need "
        "them");
    EXPECT_EQ(errorOf("[source.\"Straße\"]\nfile = \"s.wav\"\n"), "");
}

}  // namespace
}  // namespace vynhost::test
