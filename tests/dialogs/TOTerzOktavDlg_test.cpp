#include <gmock/gmock.h>

#include <cstdint>

#include "dialogs/host_side.h"
#include "vynhost/interface/module_interface.h"

namespace dialog_test::third_octave {
namespace {

using testing::ElementsAre;

constexpr int kTypeCode = vynhost::kTerzOktave;
constexpr std::size_t kType = 8;
constexpr std::size_t kWeighting = 10;
constexpr int kTypeList = 1021;
constexpr int kWeightingBox = 1020;
constexpr int kHelp = 1108;

TEST(TOTerzOktavDlg, ShowsAndStoresItsSettings) {
    Block block(kTypeCode);
    block.dialog([](Dialog& dialog) {
        EXPECT_THAT(dialog.entries(kTypeList), ElementsAre("Terz", "Oktave"));
        EXPECT_EQ(dialog.selection(kTypeList), 0);
        EXPECT_FALSE(dialog.checked(kWeightingBox));
        dialog.choose(kTypeList, 1);
        dialog.click(kWeightingBox);
        dialog.ok();
    });
    EXPECT_EQ(block.stored<std::int16_t>(kType), 21);
    EXPECT_EQ(block.stored<std::int16_t>(kWeighting), 1);
    block.dialog([](Dialog& dialog) {
        EXPECT_EQ(dialog.selection(kTypeList), 1);
        EXPECT_TRUE(dialog.checked(kWeightingBox));
        dialog.choose(kTypeList, 0);
        dialog.click(kWeightingBox);
        dialog.ok();
    });
    EXPECT_EQ(block.stored<std::int16_t>(kType), 20);
    EXPECT_EQ(block.stored<std::int16_t>(kWeighting), 0);
}

TEST(TOTerzOktavDlg, CancelLeavesTheBlockAsItWas) {
    const Block block(kTypeCode);
    const Bytes before = block.record();
    takeHelpRequests();
    block.dialog([](Dialog& dialog) {
        dialog.choose(kTypeList, 1);
        dialog.click(kWeightingBox);
        dialog.click(kHelp);
        EXPECT_EQ(takeHelpRequests(), 1);
        dialog.cancel();
    });
    EXPECT_EQ(block.record(), before);
}

TEST(TOTerzOktavDlg, AnUnknownTypeSelectsNothingAndStores19) {
    Block block(kTypeCode);
    block.store<std::int16_t>(kType, 30);
    block.dialog([](Dialog& dialog) {
        EXPECT_EQ(dialog.selection(kTypeList), -1);
        dialog.ok();
    });
    EXPECT_EQ(block.stored<std::int16_t>(kType), 19);
}

}  // namespace
}  // namespace dialog_test::third_octave
