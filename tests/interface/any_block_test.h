// Tests that hold for every block type: written once, run for each.
#pragma once

#include <cstring>
#include <limits>
#include <string>

#include "interface/host_fixture.h"
#include "support/any_block.h"

namespace vynhost::test {

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Bit for bit; what differs is said.
inline ::testing::AssertionResult sameBits(const Outputs& left, const Outputs& right) {
    if (left.size() != right.size()) {
        return ::testing::AssertionFailure()
               << left.size() << " and " << right.size() << " outputs";
    }
    for (std::size_t j = 0; j < left.size(); ++j) {
        if (left[j].has_value() != right[j].has_value()) {
            return ::testing::AssertionFailure() << "output " << j << " is there only once";
        }
        if (!left[j]) continue;
        if (std::memcmp(&left[j]->header, &right[j]->header, sizeof(ChannelHeader)) != 0) {
            return ::testing::AssertionFailure() << "the heads at output " << j << " differ";
        }
        const auto& a = left[j]->values;
        const auto& b = right[j]->values;
        if (a.size() != b.size()) {
            return ::testing::AssertionFailure()
                   << a.size() << " and " << b.size() << " values at output " << j;
        }
        for (std::size_t i = 0; i < a.size(); ++i) {
            if (std::memcmp(&a[i], &b[i], sizeof(float)) != 0) {
                return ::testing::AssertionFailure()
                       << "output " << j << ", value " << i << ": " << a[i] << " and " << b[i];
            }
        }
    }
    return ::testing::AssertionSuccess();
}

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
