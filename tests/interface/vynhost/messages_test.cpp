// What the program says in German.
#include "vynhost/base/messages.h"

#include <set>

#include "interface/vynhost/program_fixture.h"
#include "vynhost/base/message_catalogue.h"
#include "vynhost/base/text.h"

namespace vynhost::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Optional;
using ::testing::StartsWith;

std::set<char> partsIn(std::string_view text) {
    std::set<char> parts;
    for (std::size_t i = 0; i + 1 < text.size(); ++i) {
        if (text[i] == '%' && text[i + 1] >= '1' && text[i + 1] <= '9') parts.insert(text[i + 1]);
    }
    return parts;
}

TEST(Messages, AreEnglishUntilALanguageIsSet) {
    EXPECT_EQ(tr("no such file"), "no such file");
    EXPECT_EQ(tr("must be from %1 to %2", 1, 2.5), "must be from 1 to 2.5");
}

TEST(Messages, AreFoundInTheCatalogue) {
    EXPECT_EQ(translated("no such file", Language::german), "keine solche Datei");
    EXPECT_EQ(translated("said by nobody", Language::german), "said by nobody");
    EXPECT_EQ(translated("", Language::german), "");
    EXPECT_EQ(both("the last %1 samples are left out", 3).german,
              "die letzten 3 Werte sind weggelassen");
}

// The catalogue's search relies on an order that its writer promises.
TEST(Messages, EachIsFoundAndSaysTheSameParts) {
    const MessageCatalogue catalogue(kGermanCatalogue);
    ASSERT_GT(catalogue.size(), 100U);
    for (std::uint32_t i = 1; i < catalogue.size(); ++i) {
        const std::string english(catalogue.original(i));
        const std::string_view german = catalogue.translation(i);
        EXPECT_EQ(catalogue.find(english), german) << english;
        EXPECT_EQ(partsIn(german), partsIn(english)) << english;
        EXPECT_EQ(printable(german), german) << english;
    }
}

TEST(Messages, PutTheirPartsWhereTheyBelong) {
    const std::vector<std::string> parts = {"a", "b %1"};
    EXPECT_EQ(filledIn("%2 and %1, 5 % of %3", parts), "b %1 and a, 5 % of %3");
    EXPECT_EQ(filledIn("100 %", parts), "100 %");
}

TEST(Messages, TellTheirPartsAgain) {
    EXPECT_THAT(partsOf("--a: b not in {c,d}", "%1: %2 not in {%3}"),
                Optional(ElementsAre("--a", "b", "c,d")));
    EXPECT_THAT(partsOf("x is required", "%1 is required"), Optional(ElementsAre("x")));
    EXPECT_THAT(partsOf("as it stands", "as it stands"), Optional(IsEmpty()));
    EXPECT_EQ(partsOf("x is required here", "%1 is required"), std::nullopt);
    EXPECT_EQ(partsOf("", "%1 is required"), std::nullopt);
}

class GermanTest : public ProgramTest {};

TEST_F(GermanTest, SpeaksGermanWhereItIsAskedTo) {
    EXPECT_THAT(vynhost("--lang de rum").error,
                StartsWith("vynhost: »rum« ist kein Befehl, gemeint "
                           "ist wohl run? (es gibt: list, "));
    EXPECT_THAT(vynhost("run --help --lang=de").out, HasSubstr("Lässt ein Diagramm laufen"));
    EXPECT_EQ(vynhost("list --lang fr").code, 2);
    write("d.toml", "[source.s]\nfile = 1\n");
    EXPECT_THAT(vynhost("run " + at("d.toml") + " --lang de").error,
                HasSubstr("d.toml:2: source.s.file: muss ein Text sein"));
}

// What the parser of command lines says itself.
TEST_F(GermanTest, SaysInGermanWhatACommandLineLacks) {
    const auto complaint = [&](const std::string& words) {
        const std::string error = vynhost("--lang de " + words).error;
        return error.substr(0, error.find_last_not_of("\r\n") + 1);
    };
    EXPECT_EQ(complaint("run"), "vynhost: DIAGRAM fehlt (--help sagt mehr)");
    EXPECT_EQ(complaint("run a b"), "vynhost: Nicht erwartet: b (--help sagt mehr)");
    EXPECT_EQ(complaint("run a --csv fr"),
              "vynhost: --csv: fr ist nicht unter {en,de} (--help sagt mehr)");
    EXPECT_EQ(complaint("run a --jobs 2"), "vynhost: --jobs verlangt --each (--help sagt mehr)");
    EXPECT_EQ(complaint("validate --level 11"),
              "vynhost: --level: 11 liegt nicht im Bereich von 1 bis 10 (--help sagt mehr)");
    EXPECT_EQ(complaint(""), "vynhost: Ein Befehl fehlt (--help sagt mehr)");
}

TEST_F(GermanTest, LeavesTablesAsTheyAre) {
    writeWav("a.wav", sine(16000, 2000, 0.1), 1, 8000);
    const std::string words = "level " + at("a.wav") + " --out ";
    const Outcome english = vynhost(words + at("en"));
    const Outcome german = vynhost(words + at("de") + " --lang de");
    EXPECT_EQ(english.code, 0) << english.error;
    EXPECT_EQ(german.code, 0) << german.error;
    EXPECT_THAT(english.out, HasSubstr("channel 1"));
    EXPECT_THAT(german.out, HasSubstr("Kanal 1"));
    for (const char* file : {"level.csv", "level_total.csv", "level_block.csv", "level.svg"}) {
        EXPECT_EQ(read(folder() / "en" / file), read(folder() / "de" / file)) << file;
    }
}

}  // namespace
}  // namespace vynhost::test
