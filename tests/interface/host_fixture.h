// The fixture of all tests that go through the module's exports. A block test reads:
//
//     TEST_F(HostTest, SpectrumOfSilenceIsSilent) {
//         PlacedBlock block = place(5004);
//         block.wireAll();
//         block.initSim();
//         const auto spectrum = block.process(timeSignal(std::vector<float>(64)));
//         ASSERT_TRUE(spectrum);
//         EXPECT_THAT(spectrum->values, Each(0.0F));
//     }
//
// When the test ends, nothing may be left behind: no data block that neither side holds any more,
// no lock, no message box that the test did not take, nothing that no host allows.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "vynhost/interface/module_host.h"

namespace vynhost::test {

// The module under test, loaded once per process.
const ModuleLibrary& theModule();

// The folder with the analysis library of this build, as the module's setting wants it.
std::filesystem::path sharedFolder();

class HostTest : public ::testing::Test {
protected:
    // Every block of memory ends at an unreadable page; messages are traced; locks are counted
    // where the system counts them (there with plain global memory).
    HostTest() : HostTest(defaultOptions()) {}
    explicit HostTest(ModuleHost::Options options) : host(theModule(), options) {}

    void TearDown() override;

    static ModuleHost::Options defaultOptions();

    // A new block; a type that cannot be created yet skips the test.
    PlacedBlock place(int typeCode) { return PlacedBlock(host, typeCode); }
    // The types that can be created, in the order of their codes.
    std::vector<int> creatableTypes();

    // The boxes of the test so far; the test answers for them from here on.
    std::vector<Box> takeBoxes() { return host.takeBoxes(); }
    // The block has found an error: shown on request in one warning box whose text has this part.
    // Without a display nothing is asked.
    void expectReport(PlacedBlock& block, const std::string& part);

    ModuleHost host;
};

// For a test that waits for a message box: skipped where no box can be seen.
#define VYN_NEEDS_BOXES() \
    if (!::vynhost::platform::boxesCanBeCaught()) GTEST_SKIP() << "no display"

// For a test of one block type: skipped as long as the type cannot be created.
#define VYN_NEEDS_TYPE(code) \
    if (!host.creates(code)) GTEST_SKIP() << "type " << (code) << " cannot be created"

}  // namespace vynhost::test
