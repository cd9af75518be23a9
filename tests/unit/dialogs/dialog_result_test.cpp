#include <gtest/gtest.h>

#include "blocks/classify/TOKlassierung.h"
#include "blocks/filter/TODigitalFilter.h"
#include "blocks/filter/TOLevel.h"
#include "platform/dialog.h"
#include "vynhost/interface/platform/system.h"

namespace vynpack {
namespace {

// Where there are no windows a dialog answers as cancelled; elsewhere it would open.
class DialogResult : public ::testing::Test {
protected:
    void SetUp() override {
        if (vynhost::platform::kHasDialogs) GTEST_SKIP() << "the dialog tests see to it";
    }
};

TEST_F(DialogResult, TheFilterPassesItOn) {
    TODigitalFilter block;
    EXPECT_EQ(block.GetParameters(), platform::kDialogCancel);
}

TEST_F(DialogResult, TheLevelPassesItOn) {
    TOLevel block;
    EXPECT_EQ(block.GetParameters(), platform::kDialogCancel);
}

TEST_F(DialogResult, TheClassificationAnswersZero) {
    TOKlassierung block;
    EXPECT_EQ(block.GetParameters(), 0);
}

}  // namespace
}  // namespace vynpack
