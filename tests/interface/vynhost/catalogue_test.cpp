// What the module offers, and its listing.
#include "vynhost/diagram/catalogue.h"
#include "interface/vynhost/run_fixture.h"
#include "vynhost/command/list.h"

namespace vynhost::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class CatalogueTest : public RunTest {};

TEST_F(CatalogueTest, TheListNamesEveryTypeAndKeyword) {
    const std::string text = listAsText(host);
    const std::string json = listAsJson(host, moduleTypes(host));
    for (int code = kFirstType; code < kFirstType + kTypes; ++code) {
        EXPECT_THAT(text, HasSubstr(std::to_string(code)));
        EXPECT_THAT(json, HasSubstr(host.infoText(code, kLongName)));
        PlacedBlock block(host, code);
        for (const KeywordRow& row : block.keywords()) {
            EXPECT_THAT(text, HasSubstr(row.name));
            EXPECT_THAT(json, HasSubstr("\"" + row.name + "\""));
        }
    }
}

TEST_F(CatalogueTest, RepeatedConnectorLabelsAreNumbered) {
    EXPECT_THAT(connectorNames({"E", "S", "A"}), ElementsAre("E", "S", "A"));
    EXPECT_THAT(connectorNames({"A", "E", "A"}), ElementsAre("A1", "E", "A2"));
    EXPECT_THAT(connectorNames({"1", "10", "11"}), ElementsAre("1", "10", "11"));
}

}  // namespace
}  // namespace vynhost::test
