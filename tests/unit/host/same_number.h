// The number behind a name of the interface, of either side.
#pragma once

#include <cstdint>

namespace test {

template <class Name>
constexpr std::int64_t number(Name name) {
    return static_cast<std::int64_t>(name);
}

}  // namespace test
