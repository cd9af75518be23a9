// Numbers and names as text.
#include <gtest/gtest.h>

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

}  // namespace
}  // namespace vynhost::test
