// Files by a pattern, as a shell would find them.
#pragma once

#include <filesystem>
#include <string_view>
#include <vector>

namespace vynhost {

// `*` stands for any letters, `?` for one (UTF-8). Letters of ASCII count as equal in both cases
// where `ignoresCase` says so.
bool matches(std::string_view name, std::string_view pattern, bool ignoresCase);

// The files that a path with such signs in its folders or its name stands for, in the order of
// their names; a path that exists as it is stands for itself. Names that begin with a point match
// patterns that do.
std::vector<std::filesystem::path> filesMatching(const std::filesystem::path& pattern,
                                                 bool ignoresCase);

}  // namespace vynhost
