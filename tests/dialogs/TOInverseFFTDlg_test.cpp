#include <gmock/gmock.h>

#include "dialogs/host_side.h"
#include "vynhost/interface/module_interface.h"

namespace dialog_test::inverse_fft {
namespace {

constexpr int kTypeCode = vynhost::kInverseFFT;
constexpr int kHelp = 9;

TEST(TOInverseFFTDlg, StatesThatThereIsNothingToSet) {
    const Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        EXPECT_EQ(dialog.caption(), "Inverse FFT");
        HWND statement = ::FindWindowExW(dialog.window(), nullptr, L"Static", nullptr);
        EXPECT_EQ(windowText(statement), "Keine Parameter");
        EXPECT_EQ(dialog.text(IDOK), "OK");
        dialog.ok();
        EXPECT_TRUE(dialog.closed());
    });
}

TEST(TOInverseFFTDlg, HelpIsAskedOfTheHostAndLeavesTheDialogOpen) {
    const Block block(kTypeCode);
    takeHelpRequests();
    block.dialog([](Dialog& dialog) {
        dialog.click(kHelp);
        EXPECT_EQ(takeHelpRequests(), 1);
        dialog.altKey('h');
        EXPECT_EQ(takeHelpRequests(), 1);
        EXPECT_FALSE(dialog.closed());
        dialog.ok();
    });
}

TEST(TOInverseFFTDlg, IsLeftByEitherKeyAndWithoutATrace) {
    Block block(kTypeCode);
    block.store<char>(8, 'x');  // the first byte of the text, which no dialog shows
    const Bytes before = block.record();
    for (const UINT way : {VK_ESCAPE, VK_RETURN}) {
        block.dialog([&](Dialog& dialog) {
            dialog.key(way);
            EXPECT_TRUE(dialog.closed());
        });
        EXPECT_EQ(block.record(), before);
        EXPECT_EQ(block.connectors(), "R,I,;A,");
    }
}

}  // namespace
}  // namespace dialog_test::inverse_fft
