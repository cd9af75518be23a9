// The help as pages.
#include "vynhost/command/manual.h"

#include <algorithm>
#include <sstream>

#include "interface/vynhost/program_fixture.h"
#include "vynhost/base/messages.h"

namespace vynhost::test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

ProgramHelp smallProgram() {
    return {
        .version = "1.2",
        .text = "Does things.",
        .options = {{.names = "-h,--help", .argument = "", .text = "Help"}},
        .commands = {
            {.name = "run",
             .text = "Runs a diagram",
             .options = {
                 {.names = "DIAGRAM", .argument = "", .text = ".toml, in c:\\x", .required = true},
                 {.names = "-h,--help", .argument = "", .text = "Help"},
                 {.names = "--out", .argument = "FOLDER", .text = "Where to\n.or else"},
                 {.names = "--csv",
                  .argument = "LANGUAGE",
                  .text = "Of tables",
                  .choices = {"en", "de"}}}}}};
}

class InGerman {
public:
    InGerman() { speak(Language::german); }
    ~InGerman() { speak(Language::english); }
    InGerman(const InGerman&) = delete;
    InGerman& operator=(const InGerman&) = delete;
};

std::size_t widest(const std::string& text) {
    std::istringstream lines(text);
    std::size_t width = 0;
    for (std::string line; std::getline(lines, line);) {
        const auto letters = std::ranges::count_if(line, [](char c) { return (c & 0xC0) != 0x80; });
        width = std::max(width, static_cast<std::size_t>(letters));
    }
    return width;
}

TEST(Manual, HasTopicsThatATerminalTakes) {
    ASSERT_GT(helpTopics().size(), 5U);
    for (const HelpTopic& topic : helpTopics()) {
        EXPECT_EQ(helpTopic(topic.name), &topic);
        const std::string english = topicText(topic);
        EXPECT_LE(widest(english), 79U) << topic.name;
        const InGerman german;
        EXPECT_LE(widest(topicText(topic)), 79U) << topic.name;
        EXPECT_NE(topicText(topic), english);
    }
    EXPECT_EQ(helpTopic("weather"), nullptr);
    EXPECT_THAT(topicText(*helpTopic("exit-codes")), StartsWith("  0\n        done\n"));
}

TEST(Manual, WrapsAtSeventyNineLettersAndKeepsExamples) {
    const std::string word(39, 'x');
    const std::string most = word + " " + word;
    const HelpPart parts[] = {{HelpPart::Kind::paragraph, "", most},
                              {HelpPart::Kind::example, "", "one\n\n  two\n"}};
    EXPECT_EQ(topicText({"t", "T", "", parts}), most + "\n\n    one\n\n      two\n");
    const std::string more = most + "x";
    const HelpPart wide[] = {{HelpPart::Kind::paragraph, "", more}};
    EXPECT_EQ(topicText({"t", "T", "", wide}), word + "\n" + word + "x\n");
}

// A point at the start of a line and a backslash would be requests to roff.
TEST(Manual, IsWrittenForRoff) {
    const std::string page = manualPage(smallProgram());
    EXPECT_THAT(page, HasSubstr(".TH VYNHOST 1 \"\" \"Vynpack 1.2\" \"User Commands\"\n"));
    EXPECT_THAT(page, HasSubstr("\n\\fBvynhost run\\fR \\fIDIAGRAM\\fR [\\fIOPTION\\fR]...\n"));
    EXPECT_THAT(page, HasSubstr("\n\\fIDIAGRAM\\fR\n\\&.toml, in c:\\ex\n"));
    EXPECT_THAT(page, HasSubstr("\n\\fB\\-\\-out\\fR \\fIFOLDER\\fR\nWhere to\n\\&.or else\n"));
    EXPECT_THAT(page, HasSubstr("\n.SH NAME\nvynhost \\- run diagrams of "));
    EXPECT_THAT(page, HasSubstr("\n\\fB\\-\\-csv\\fR \\fIen|de\\fR\n"));
    EXPECT_THAT(page, HasSubstr(".SH EXIT STATUS\n"));
    EXPECT_THAT(diagramPage(smallProgram()), HasSubstr(".SS [source.NAME]\n"));
    const InGerman german;
    EXPECT_THAT(manualPage(smallProgram()), HasSubstr("\\fIORDNER\\fR"));
}

TEST(Manual, CompletesOptionsAndWhatTheyTake) {
    const std::string script = bashCompletion(smallProgram());
    EXPECT_THAT(script, HasSubstr("local commands='run' "));
    EXPECT_THAT(script, HasSubstr("run:--out)\n            _filedir -d\n"));
    EXPECT_THAT(script, HasSubstr("run:--csv)\n            COMPREPLY=($(compgen -W 'en de'"));
    EXPECT_THAT(script, HasSubstr("compgen -W '--help --out --csv' "));
    EXPECT_THAT(script, HasSubstr("_filedir toml\n"));
}

class HelpTest : public ProgramTest {};

TEST_F(HelpTest, SaysWhatIsAskedFor) {
    EXPECT_THAT(vynhost("help").out, HasSubstr("exit-codes"));
    EXPECT_THAT(vynhost("help run").out, HasSubstr("--out FOLDER"));
    EXPECT_THAT(vynhost("help calibration").out, HasSubstr("vynhost calibrate"));
    EXPECT_THAT(vynhost("help calibration --lang de").out, HasSubstr("Maßstab jedes Kanals"));
    EXPECT_THAT(vynhost("help Pegel").out, StartsWith("5009  TOLevel"));
    const Outcome unknown = vynhost("help diagrm");
    EXPECT_EQ(unknown.code, 2);
    EXPECT_THAT(unknown.error,
                HasSubstr("\"diagrm\" is no command, topic or block type, did you mean diagram?"));
}

// What holds between keywords stands below them.
TEST_F(HelpTest, ABlocksRulesStandApart) {
    std::string out = vynhost("help Filter").out;
    std::erase(out, '\r');
    EXPECT_THAT(out, HasSubstr("\n\n      An FIR filter with a Hanning"));
    EXPECT_THAT(out, StartsWith("5007  TODigitalFilter Digitale Filter (Filter)\n"));
}

TEST_F(HelpTest, WritesItsPagesWithEveryCommand) {
    EXPECT_EQ(vynhost("help --write-pages " + at("pages")).code, 0);
    const std::string page = read(folder() / "pages" / "vynhost.1");
    const std::string completion = read(folder() / "pages" / "vynhost.bash");
    for (const char* command : {"run", "calibrate", "level", "validate", "help"}) {
        EXPECT_THAT(page, HasSubstr(".SS \\fBvynhost " + std::string(command) + "\\fR"));
        EXPECT_THAT(completion, HasSubstr("\n        " + std::string(command) + ")\n"));
    }
    EXPECT_THAT(page, HasSubstr("\\fB\\-\\-resume\\fR"));
    EXPECT_THAT(completion, HasSubstr("list:--lang)\n            COMPREPLY=($(compgen -W 'en de'"));
    EXPECT_TRUE(std::filesystem::exists(folder() / "pages" / "vynhost-diagram.5"));
}

}  // namespace
}  // namespace vynhost::test
