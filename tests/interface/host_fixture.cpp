#include "interface/host_fixture.h"

namespace vynhost::test {

std::filesystem::path sharedFolder() { return platform::programFolder(); }

const ModuleLibrary& theModule() {
    static const ModuleLibrary module = [] {
        platform::setSharedDirectory(sharedFolder().string());
        return ModuleLibrary(ModuleLibrary::defaultPath());
    }();
    return module;
}

ModuleHost::Options HostTest::defaultOptions() {
    ModuleHost::Options options;
    options.guard = platform::kLocksAreCounted ? platform::Guard::none : platform::Guard::pageAfter;
    options.checkLocks = true;
    return options;
}

void HostTest::SetUp() {
    for (const int type : types_) {
        ASSERT_TRUE(host.creates(type)) << "no block of type " << type << " can be created";
    }
}

void HostTest::TearDown() {
    EXPECT_THAT(host.takeOffences(), ::testing::IsEmpty());
    for (const Box& box : host.takeBoxes()) {
        ADD_FAILURE() << "a box that the test did not expect: " << box.caption << ": " << box.text;
    }
    EXPECT_EQ(host.memory().aliveData(), 0U) << "data blocks that neither side holds any more";
    EXPECT_EQ(host.memory().aliveRecords(), 0U);
}

void HostTest::expectReport(PlacedBlock& block, const std::string& part) {
    if (!platform::boxesCanBeCaught()) return;
    EXPECT_EQ(block.errorShow(), 0);
    const auto boxes = takeBoxes();
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(boxes[0].caption, "Fehler!");
    EXPECT_TRUE(boxes[0].exclamation.value_or(true));
    EXPECT_THAT(boxes[0].text, ::testing::HasSubstr(part));
}

}  // namespace vynhost::test
