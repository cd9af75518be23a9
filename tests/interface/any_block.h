// Tests that hold for every block type: written once, run for each.
#pragma once

#include <optional>
#include <random>
#include <string>
#include <vector>

#include "interface/host_fixture.h"

namespace vynhost::test {

// Data that a block type takes at an input: a time signal of two channels for most, a spectrum for
// those that want one, silence for most control inputs.
ChannelData suitableData(int typeCode, int input, unsigned seed = 1);

// Lays suitable data at every wired input that is free.
void feed(PlacedBlock& block, unsigned seed = 1);

// What lay at the outputs, in their order, up to the last connector of the block.
using Outputs = std::vector<std::optional<ChannelData>>;
Outputs collect(PlacedBlock& block);

// Bit for bit; what differs is said.
::testing::AssertionResult sameBits(const Outputs& left, const Outputs& right);

// A whole run: InitSim, that many data blocks, Stoppen. What came out, block after block.
std::vector<Outputs> run(PlacedBlock& block, int dataBlocks);

class AnyBlockTest : public HostTest, public ::testing::WithParamInterface<int> {
protected:
    AnyBlockTest() : HostTest({GetParam()}, modestOptions()) {}
    int type() const { return GetParam(); }

private:
    // A host that gives no huge outputs, so that absurd parameters cost no time.
    static ModuleHost::Options modestOptions() {
        ModuleHost::Options options = defaultOptions();
        options.mostValues = std::size_t{1} << 18;
        return options;
    }
};

inline std::string nameOfType(const ::testing::TestParamInfo<int>& test) {
    return std::to_string(test.param);
}

#define VYN_FOR_ALL_TYPES(Suite) \
    INSTANTIATE_TEST_SUITE_P(AllTypes, Suite, ::testing::ValuesIn(allTypes()), nameOfType)

}  // namespace vynhost::test
