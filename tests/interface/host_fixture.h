// The fixture of all tests that go through the module's exports. A block test reads:
//
//     class TOSpektrum : public BlockTest<kSpektrum> {};
//
//     TEST_F(TOSpektrum, OfSilenceIsSilent) {
//         block.initSim();
//         const auto spectrum = block.process(timeSignal(std::vector<float>(64)));
//         ASSERT_TRUE(spectrum);
//         EXPECT_THAT(spectrum->values, Each(0.0F));
//     }
//
// A test names the types whose blocks it places. One that cannot be created fails the test, with
// that message alone: its body does not run.
//
// When the test ends, nothing may be left behind: no data block that neither side holds any more,
// no lock, no message box that the test did not take, nothing that no host allows.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/any_block.h"
#include "support/platform/test_system.h"
#include "support/test_host.h"

namespace vynhost::test {

// The module under test, loaded once per process.
const ModuleLibrary& theModule();

// The folder with the analysis library of this build, as the module's setting wants it.
std::filesystem::path sharedFolder();

// A block of one sample of one channel.
inline ChannelData single(float sample) { return timeSignal(std::vector<float>{sample}); }

class HostTest : public ::testing::Test {
protected:
    // Every block of memory ends at an unreadable page; messages are traced; locks are counted
    // where the system counts them (there with plain global memory).
    explicit HostTest(std::vector<int> types = {}, ModuleHost::Options options = defaultOptions())
        : host(theModule(), options), types_(std::move(types)) {}

    void SetUp() override;
    void TearDown() override;

    static ModuleHost::Options defaultOptions();

    // The boxes of the test so far; the test answers for them from here on.
    std::vector<Box> takeBoxes() { return host.takeBoxes(); }
    // The block has found an error: shown on request in one warning box whose text has this part.
    // Without a display nothing is asked.
    void expectReport(PlacedBlock& block, const std::string& part);

    TestHost host;

private:
    std::vector<int> types_;
};

// A test of one block type: a block of it stands ready. `others` are types of blocks that it meets.
template <int type, int... others>
class BlockTest : public HostTest {
protected:
    BlockTest() : HostTest({type, others...}) {}

    void SetUp() override {
        HostTest::SetUp();
        if (!HasFatalFailure()) prepare();
    }
    void TearDown() override {
        placed.reset();
        HostTest::TearDown();
    }

    // What a test begins with: every connector is wired.
    virtual void prepare() { block.wireAll(); }
    // Another block takes the place of the first, from that parameter record.
    void restore(const std::string& record) { placed.emplace(host, type, record); }

    std::optional<PlacedBlock> placed{std::in_place, host, type};
    PlacedBlock& block = *placed;
};

// For a test that waits for a message box: skipped where no box can be seen.
#define VYN_NEEDS_BOXES() \
    if (!::vynhost::platform::boxesCanBeCaught()) GTEST_SKIP() << "no display"

}  // namespace vynhost::test
