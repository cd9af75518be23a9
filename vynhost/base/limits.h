#pragma once

#include <cstddef>

namespace vynhost {

// Of a recording, and so of whatever describes or becomes one; no file may claim more.
inline constexpr std::size_t kMostChannels = 1024;

}  // namespace vynhost
