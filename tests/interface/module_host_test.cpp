// The test host itself: what it sees, it reports.
#include <array>
#include <cstddef>

#include "interface/host_fixture.h"

namespace vynhost::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ModuleHostTest : public HostTest {
protected:
    ModuleHostTest() : HostTest({kStatistik}) {}

    // Sends a message as the module does.
    Int send(Message message, Int first, Int second) {
        return platform::sendToWindow(host.window(), static_cast<std::uint32_t>(message), first,
                                      second);
    }
    Handle newBlock(Int values) { return static_cast<Handle>(send(Message::newBlock, 0, values)); }
    void release(Handle handle) { send(Message::releaseBlock, static_cast<Int>(handle), 0); }
};

TEST_F(ModuleHostTest, ALabelOfTwoDigitsIsOneConnector) {
    PlacedBlock block(host, kStatistik);
    block.set("PkAllOn", 1);
    block.set("PkOutMode", 2);
    block.initSim();  // counts what is selected
    const auto labels = block.outputLabels();
    ASSERT_EQ(labels.size(), 21U);
    EXPECT_EQ(labels[9], "10");
    block.wireAll();
    block.put(0, timeSignal({1, 2, 3, 4}));
    EXPECT_EQ(block.simulate(), 1);
    for (int j = 0; j < 21; ++j)
        EXPECT_TRUE(block.take(j)) << j;
    block.stop();
}

TEST_F(ModuleHostTest, GivesBlocksAndTakesThemBackOnce) {
    const Handle block = newBlock(3);
    ASSERT_NE(block, Handle::none);
    EXPECT_EQ(host.memory().aliveData(), 1U);
    release(block);
    EXPECT_EQ(host.memory().aliveData(), 0U);
    EXPECT_THAT(host.takeOffences(), IsEmpty());
    release(block);
    EXPECT_EQ(host.takeOffences().size(), 1U);
}

TEST_F(ModuleHostTest, GivesNoBlockOfANegativeSizeAndSaysSo) {
    EXPECT_EQ(newBlock(0x7FFFFFFF'00000000), Handle::none);
    EXPECT_THAT(host.takeOffences(), IsEmpty()) << "too much is refused, but may be asked for";
    EXPECT_EQ(newBlock((Int{1} << 28) + 1), Handle::none) << "1 GiB is the most";
    EXPECT_EQ(newBlock(-1), Handle::none);
    EXPECT_THAT(host.takeOffences(), ElementsAre("a block of -1 values is asked for"));
    EXPECT_EQ(host.memory().aliveData(), 0U);
}

TEST_F(ModuleHostTest, CopiesHeadsBetweenDataBlocksOnly) {
    const Handle input = host.memory().allocateData(timeSignal({1, 2, 3}));
    const Handle output = newBlock(3);
    std::array<std::byte, kValuesOffset> elsewhere{};
    Int answer =
        send(Message::copyHeader, static_cast<Int>(input), reinterpret_cast<Int>(elsewhere.data()));
    EXPECT_EQ(answer, 0);
    EXPECT_EQ(host.takeOffences().size(), 1U);
    EXPECT_THAT(elsewhere, ::testing::Each(std::byte{0}));
    {
        const platform::View view(output);
        answer = send(Message::copyHeader, 0, reinterpret_cast<Int>(view.address()));
    }
    EXPECT_EQ(answer, 0);
    EXPECT_EQ(host.takeOffences().size(), 1U);
    EXPECT_EQ(host.memory().read(output).header.valueCount, 0);
    release(input);
    release(output);
}

TEST_F(ModuleHostTest, TracesMessagesAsText) {
    const Handle input = newBlock(2);
    const Handle output = newBlock(4);
    {
        const platform::View view(output);
        send(Message::copyHeader, static_cast<Int>(input), reinterpret_cast<Int>(view.address()));
    }
    release(input);
    release(output);
    EXPECT_THAT(host.takeTrace(),
                ElementsAre("1134 2 -> D1", "1134 4 -> D2", "1143 D1 D2", "1135 D1", "1135 D2"));
}

TEST_F(ModuleHostTest, CopiesTheWholeHeadIncludingItsOwnBytes) {
    ChannelData data = timeSignal({1, 2, 3});
    data.header.axisFlags = 0xF0;
    data.hostBytes.fill(std::byte{7});
    const Handle input = host.memory().allocateData(data);
    const Handle output = newBlock(3);
    {
        const platform::View view(output);
        send(Message::copyHeader, static_cast<Int>(input), reinterpret_cast<Int>(view.address()));
    }
    const ChannelData copy = host.memory().read(output);
    EXPECT_EQ(copy.header.axisFlags, 0xF0U);
    EXPECT_EQ(copy.hostBytes, data.hostBytes);
    EXPECT_THAT(copy.values, ElementsAre(0, 0, 0));
    release(input);
    release(output);
}

TEST_F(ModuleHostTest, NoticesBytesWrittenBehindABlock) {
    if (host.memory().guard() == platform::Guard::none) GTEST_SKIP() << "memory is not guarded";
    const Handle block = newBlock(2);  // 92 bytes, 4 canary bytes behind them
    {
        const platform::View view(block);
        view.address()[92] = std::byte{1};
    }
    release(block);
    EXPECT_THAT(host.takeOffences(), ElementsAre("D1 was written behind its end"));
}

TEST_F(ModuleHostTest, RefusesTheCallsThatARuleNames) {
    host.misbehave({.message = Message::newBlock, .value = 0, .first = 2, .times = 1});
    const Handle first = newBlock(1);
    EXPECT_EQ(newBlock(1), Handle::none);
    const Handle third = newBlock(1);
    EXPECT_NE(third, Handle::none);
    release(first);
    release(third);
}

TEST_F(ModuleHostTest, GivesUnlockableShortAndRepeatedBlocksWhenToldTo) {
    host.misbehave({.message = Message::newBlock, .fault = Fault::unlockable, .times = 1});
    const Handle unlockable = newBlock(8);
    EXPECT_TRUE(host.memory().isData(unlockable));
    EXPECT_FALSE(host.memory().find(unlockable)->lockable);
    host.misbehave({.message = Message::newBlock, .fault = Fault::halfSize, .times = 1});
    const Handle half = newBlock(8);
    EXPECT_EQ(host.memory().find(half)->bytes, kValuesOffset + 4 * sizeof(float));
    host.misbehave({.message = Message::newBlock, .fault = Fault::sameBlock, .times = 1});
    EXPECT_EQ(newBlock(8), half);
    release(unlockable);
    release(half);
}

TEST_F(ModuleHostTest, FreedMemoryStaysUnreadable) {
    if (host.memory().guard() == platform::Guard::none) GTEST_SKIP() << "memory is not guarded";
    const Handle block = newBlock(1);
    volatile std::byte* address = platform::View(block).address();
    *address = std::byte{1};
    release(block);
    EXPECT_DEATH(*address = std::byte{1}, "");
}

TEST_F(ModuleHostTest, CountsConnectorsForTheContextOfABlock) {
    EXPECT_EQ(send(Message::inputCount, 0x77, 0), 0);
    EXPECT_EQ(host.takeOffences().size(), 1U);
}

}  // namespace
}  // namespace vynhost::test
