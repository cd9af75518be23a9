#include <gtest/gtest.h>

#include "blocks/classify/TOKlassierung.h"
#include "blocks/filter/TODigitalFilter.h"
#include "blocks/filter/TOLevel.h"
#include "platform/dialog.h"

namespace vynpack {
namespace {

// Without a window system a dialog answers as cancelled.
TEST(DialogResult, TheFilterPassesItOn) {
    TODigitalFilter block;
    EXPECT_EQ(block.GetParameters(), platform::kDialogCancel);
}

TEST(DialogResult, TheLevelPassesItOn) {
    TOLevel block;
    EXPECT_EQ(block.GetParameters(), platform::kDialogCancel);
}

TEST(DialogResult, TheClassificationAnswersZero) {
    TOKlassierung block;
    EXPECT_EQ(block.GetParameters(), 0);
}

}  // namespace
}  // namespace vynpack
