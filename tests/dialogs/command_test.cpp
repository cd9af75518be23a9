// `vynhost dialog` with a real dialog in a program of its own.
#include <gmock/gmock.h>

#include <fstream>
#include <iterator>

#include "dialogs/command_driver.h"
#include "support/own_folder.h"

namespace dialog_test {
namespace {

using testing::HasSubstr;

// Controls.
constexpr int kSpectrumPhase = 1101;
constexpr int kSpectrumWindows = 1100;
constexpr int kSpectrumHelp = 1107;
constexpr int kDualAmplitudes = 1133;
constexpr int kDualCoherence = 1117;
constexpr int kClassMethods = 1130;
constexpr int kFilterLength = 1272;
constexpr int kBoxText = 0xFFFF;

class Command : public testing::Test {
protected:
    std::filesystem::path diagram() const { return folder_.path() / "d.toml"; }
    void write(const std::string& text) const {
        std::ofstream(diagram(), std::ios::binary) << text;
    }
    std::string read() const {
        std::ifstream in(diagram(), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

private:
    support::OwnFolder folder_{"vynhost-dialog"};
};

TEST_F(Command, OkWritesTheChangesIntoTheDiagram) {
    write(
        "# mine\r\n[block.fft]\r\ntype = \"FFT\"  # here\r\nPkWndFct = \"HANNING\"  # smooth\r\n"
        "\r\n[wire]\r\n");
    DialogCommand command(diagram(), "fft");
    const Dialog dialog = command.dialog();
    EXPECT_EQ(dialog.caption(), "FFT");
    EXPECT_EQ(dialog.selection(kSpectrumWindows), 2);  // the diagram's
    command.choose(dialog, kSpectrumWindows, 3);
    command.tick(dialog, kSpectrumPhase, true);
    command.click(dialog, IDOK);
    EXPECT_EQ(command.exitCode(), 0);
    EXPECT_EQ(command.errors(), "");
    EXPECT_THAT(command.output(), HasSubstr("fft: PkWndFct = \"HAMMING\""));
    EXPECT_THAT(command.output(), HasSubstr("wrote "));
    EXPECT_EQ(
        read(),
        "# mine\r\n[block.fft]\r\ntype = \"FFT\"  # here\r\nPkWndFct = \"HAMMING\"  # smooth\r\n"
        "PkPhase = 1\r\n\r\n[wire]\r\n");
}

TEST_F(Command, OkWithoutAChangeLeavesTheFileAlone) {
    const std::string text = "[block.fft]\ntype = \"FFT\"\n";
    write(text);
    const auto time = std::filesystem::last_write_time(diagram());
    DialogCommand command(diagram(), "fft");
    command.click(command.dialog(), IDOK);
    EXPECT_EQ(command.exitCode(), 0);
    EXPECT_THAT(command.output(), HasSubstr("nothing new"));
    EXPECT_EQ(read(), text);
    EXPECT_EQ(std::filesystem::last_write_time(diagram()), time);
}

// This dialog leaves a trace in the block even when it is cancelled; the diagram has none.
TEST_F(Command, CancelLeavesTheFileAlone) {
    const std::string text = "[block.two]\ntype = 5006\nPkAmplType = \"REALIMAGINAER\"\n";
    write(text);
    DialogCommand command(diagram(), "two");
    const Dialog dialog = command.dialog();
    EXPECT_EQ(dialog.selection(kDualAmplitudes), 5);
    command.tick(dialog, kDualCoherence, true);
    command.click(dialog, IDCANCEL);
    EXPECT_EQ(command.exitCode(), 0);
    EXPECT_THAT(command.output(), HasSubstr("cancelled"));
    EXPECT_EQ(read(), text);
}

TEST_F(Command, TheCrossInTheCaptionCancels) {
    const std::string text = "[block.fft]\ntype = \"FFT\"\n";
    write(text);
    DialogCommand command(diagram(), "fft");
    const Dialog dialog = command.dialog();
    command.tick(dialog, kSpectrumPhase, true);
    ::PostMessageW(dialog.window(), WM_SYSCOMMAND, SC_CLOSE, 0);
    EXPECT_EQ(command.exitCode(), 0);
    EXPECT_THAT(command.output(), HasSubstr("cancelled"));
    EXPECT_EQ(read(), text);
}

TEST_F(Command, WhatNoKeywordSaysComesBackFromTheRecord) {
    write("[block.classes]\ntype = \"Klassierung\"\nPkNumber = 8\nPkMethod = 2\n");
    {
        DialogCommand command(diagram(), "classes");
        const Dialog dialog = command.dialog();
        EXPECT_EQ(dialog.selection(kClassMethods), 1);
        command.choose(dialog, kClassMethods, 4);
        command.click(dialog, IDOK);
        EXPECT_EQ(command.exitCode(), 0) << command.errors();
    }
    EXPECT_THAT(read(),
                testing::StartsWith("[block.classes]\ntype = \"Klassierung\"\nPkNumber = 8\n"
                                    "record = \"\"\"\n    58000000 94010000 "));
    DialogCommand command(diagram(), "classes");
    const Dialog dialog = command.dialog();
    EXPECT_EQ(dialog.selection(kClassMethods), 4);
    command.click(dialog, IDCANCEL);
    EXPECT_EQ(command.exitCode(), 0);
}

TEST_F(Command, MessagesOfTheDialogAreLeftToTheUser) {
    const std::string text = "[block.low]\ntype = \"Filter\"\nPkFilterType = 0\n";
    write(text);
    DialogCommand command(diagram(), "low");
    const Dialog dialog = command.dialog();
    command.enter(dialog, kFilterLength, "4");
    command.click(dialog, IDOK);
    const Dialog box = command.box(dialog);
    EXPECT_EQ(box.caption(), "Fehler!");
    EXPECT_THAT(box.text(kBoxText), HasSubstr("Die Fensterlänge ist ungültig."));
    command.click(box, IDOK);
    command.waitUntilClosed(box);
    EXPECT_FALSE(dialog.closed());
    command.enter(dialog, kFilterLength, "31");
    command.click(dialog, IDOK);
    EXPECT_EQ(command.exitCode(), 0);
    EXPECT_EQ(read(), text + "PkFilterLength = 31\n");
}

TEST_F(Command, HelpSaysWhereThePageOfTheBlockIs) {
    write("[block.fft]\ntype = \"FFT\"\n");
    DialogCommand command(diagram(), "fft");
    const Dialog dialog = command.dialog();
    command.click(dialog, kSpectrumHelp);
    const Dialog box = command.box(dialog);
    EXPECT_EQ(box.caption(), "vynhost");
    EXPECT_THAT(box.text(kBoxText), HasSubstr("The page of this block is not installed."));
    EXPECT_THAT(box.text(kBoxText), HasSubstr("docs\\blocks\\TOSpektrum.md"));
    command.click(box, IDOK);
    command.waitUntilClosed(box);
    EXPECT_FALSE(dialog.closed());
    command.click(dialog, IDCANCEL);
    EXPECT_EQ(command.exitCode(), 0);
}

// As an installation has it, beside the program.
class InstalledPage {
public:
    explicit InstalledPage(const std::string& text) {
        std::filesystem::create_directories(file_.parent_path());
        std::ofstream(file_, std::ios::binary) << text;
    }
    ~InstalledPage() { std::filesystem::remove_all(file_.parent_path().parent_path()); }
    InstalledPage(const InstalledPage&) = delete;
    InstalledPage& operator=(const InstalledPage&) = delete;

private:
    std::filesystem::path file_ =
        DialogCommand::programFolder() / "docs" / "blocks" / "TOSpektrum.md";
};

TEST_F(Command, HelpSaysWhereAPageIsThatNoProgramOpens) {
    const InstalledPage page("# the page\n");
    write("[block.fft]\ntype = \"FFT\"\n");
    DialogCommand command(diagram(), "fft");
    const Dialog dialog = command.dialog();
    command.click(dialog, kSpectrumHelp);
    const Dialog box = command.box(dialog);
    EXPECT_THAT(box.text(kBoxText), testing::StartsWith("The page of this block is"));
    EXPECT_THAT(box.text(kBoxText), HasSubstr("docs\\blocks\\TOSpektrum.md"));
    command.click(box, IDOK);
    command.waitUntilClosed(box);
    command.click(dialog, IDCANCEL);
    EXPECT_EQ(command.exitCode(), 0);
}

TEST_F(Command, AnUnknownBlockIsAnError) {
    write("[block.low]\ntype = \"Filter\"\n");
    DialogCommand command(diagram(), "high");
    EXPECT_EQ(command.exitCode(), 2);
    EXPECT_EQ(command.output(), "");
    EXPECT_THAT(command.errors(), HasSubstr("\"high\" is no block (there are: low)"));
}

}  // namespace
}  // namespace dialog_test
