#include <gmock/gmock.h>

#include <memory>
#include <vector>

#include "host/TOBlock.h"
#include "host/TOGlobal.h"
#include "host/host_messages.h"
#include "unit/host/fixture_libraries.h"

namespace vynpack::test {
namespace {

// The base class with nothing added but what it leaves open.
class BareBlock : public TOBlock {
public:
    void GetConnectors(ConnectorText& text) const override { writeConnectors(text, "E,;A,"); }
    int GetParameters() override { return 0; }
    std::int32_t status() const { return status_; }
    std::int32_t firstBlock() const { return firstBlock_; }
};

TEST(TOGlobalTable, GivesTheLowestFreeEntryAndZeroWhenFull) {
    TOGlobal global;
    std::vector<BareBlock> blocks(1024);
    for (int i = 1; i <= 1023; ++i) {
        ASSERT_EQ(global.insertBlock(&blocks[static_cast<std::size_t>(i)]), i);
    }
    EXPECT_EQ(global.insertBlock(&blocks[0]), 0);
    global.removeBlock(500);
    EXPECT_EQ(global.insertBlock(&blocks[0]), 500);
    EXPECT_EQ(global.findBlock(500), &blocks[0]);
}

TEST(TOGlobalTable, FindsNothingOutsideItsBounds) {
    TOGlobal global;
    BareBlock block;
    EXPECT_EQ(global.insertBlock(&block), 1);
    EXPECT_EQ(global.findBlock(1), &block);
    for (const BlockHandle handle :
         {BlockHandle{0}, BlockHandle{-1}, BlockHandle{2}, BlockHandle{1023}, BlockHandle{1024},
          BlockHandle{1} << 32, (BlockHandle{1} << 32) + 1}) {
        EXPECT_EQ(global.findBlock(handle), nullptr) << handle;
    }
}

TEST(TOGlobal, KnowsNothingOfTheHostAtFirst) {
    TOGlobal global;
    EXPECT_EQ(global.hostWindow(), HostWindow::none);
    EXPECT_EQ(global.findBlock(1), nullptr);
    EXPECT_FALSE(global.analysis().loaded());
}

TEST(TOGlobal, StartsWithoutAnAnalysisLibraryToo) {
    const auto before = vynhost::platform::sharedDirectory();
    vynhost::platform::setSharedDirectory(std::nullopt);
    TOGlobal global;
    EXPECT_TRUE(global.start(ModuleInstance{77}));
    EXPECT_EQ(global.moduleInstance(), ModuleInstance{77});
    platform::setModuleInstance(ModuleInstance::none);  // this program's own resources again
    EXPECT_FALSE(global.analysis().loaded());
    vynhost::platform::setSharedDirectory(before);
}

TEST(TOGlobal, EndUnloadsTheAnalysisLibrary) {
    const auto before = vynhost::platform::sharedDirectory();
    vynhost::platform::setSharedDirectory(fixtureFolder("analysis_complete").string());
    TOGlobal global;
    global.start(ModuleInstance::none);
    EXPECT_TRUE(global.analysis().loaded());
    global.end();
    EXPECT_FALSE(global.analysis().loaded());
    global.end();
    vynhost::platform::setSharedDirectory(before);
}

TEST(TOBlock, AnswersForTypesThatDoNot) {
    BareBlock block;
    SimulationRecord record{};
    EXPECT_EQ(block.SaveParameters(FileHandle{-1}), 1);
    EXPECT_EQ(block.RestoreParameters(FileHandle{-1}), 1);
    EXPECT_EQ(block.Simulation(record), 1);
    EXPECT_EQ(block.InitSim(), 1);
    EXPECT_EQ(block.Stoppen(), 1);
    EXPECT_EQ(block.RemoteControl(MemoryHandle::none, MemoryHandle::none, 10), 0);
    EXPECT_EQ(block.ErrorShow(), 1);
    EXPECT_EQ(block.status(), 0);
    EXPECT_EQ(block.firstBlock(), 0);
}

TEST(TOBlock, ConnectorTextsAreCutToTheBuffer) {
    ConnectorText text;
    writeConnectors(text, std::string(1000, 'A').c_str());
    EXPECT_EQ(std::string(text.data()).size(), text.size() - 1);
}

TEST(HostMessages, WithoutAWindowEveryAnswerIsZero) {
    theGlobal().setHostWindow(HostWindow::none);
    EXPECT_EQ(SendHostMessage(HostMessage::inputCount, 1, 0), 0);
    EXPECT_EQ(host_message::inputCount(1), 0);
    EXPECT_EQ(host_message::newBlock(10), MemoryHandle::none);
    EXPECT_EQ(host_message::triggerThreshold(), nullptr);
}

}  // namespace
}  // namespace vynpack::test
