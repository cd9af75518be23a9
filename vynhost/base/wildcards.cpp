#include "vynhost/base/wildcards.h"

#include <algorithm>
#include <string>
#include <system_error>

#include "vynhost/base/text.h"

namespace vynhost {
namespace {

std::size_t letterSize(std::string_view text) {
    return std::max<std::size_t>(characterSize(text), 1);
}

// What lies in a folder and matches; of folders that can't be read nothing.
std::vector<std::filesystem::path> entriesMatching(const std::filesystem::path& folder,
                                                   const std::string& pattern, bool ignoresCase) {
    std::vector<std::filesystem::path> found;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder.empty() ? "." : folder, error), end;
         !error && entry != end; entry.increment(error)) {
        const std::filesystem::path name = entry->path().filename();
        const std::string text = textOf(name);
        if (text.starts_with('.') && !pattern.starts_with('.')) continue;
        if (matches(text, pattern, ignoresCase)) found.push_back(folder / name);
    }
    return found;
}

}  // namespace

bool matches(std::string_view name, std::string_view pattern, bool ignoresCase) {
    // Where the last star stood, and how much of the name it stands for: it takes more when what
    // follows does not fit.
    std::size_t star = std::string_view::npos;
    std::size_t taken = 0;
    std::size_t n = 0;
    std::size_t p = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            taken = n;
        } else if (p < pattern.size() && pattern[p] == '?') {
            ++p;
            n += letterSize(name.substr(n));
        } else if (p < pattern.size() &&
                   (pattern[p] == name[n] ||
                    (ignoresCase && equalIgnoringCase(pattern.substr(p, 1), name.substr(n, 1))))) {
            ++p;
            ++n;
        } else if (star != std::string_view::npos) {
            p = star + 1;
            taken += letterSize(name.substr(taken));
            n = taken;
        } else {
            return false;
        }
    }
    return std::ranges::all_of(pattern.substr(p), [](char c) { return c == '*'; });
}

std::vector<std::filesystem::path> filesMatching(const std::filesystem::path& pattern,
                                                 bool ignoresCase) {
    std::error_code error;
    if (std::filesystem::exists(pattern, error)) return {pattern};
    std::vector<std::filesystem::path> found = {pattern.root_path()};
    for (const std::filesystem::path& part : pattern.relative_path()) {
        const std::string text = textOf(part);
        std::vector<std::filesystem::path> next;
        for (const std::filesystem::path& folder : found) {
            if (text.find_first_of("*?") == std::string::npos) {
                next.push_back(folder / part);
                continue;
            }
            std::ranges::copy(entriesMatching(folder, text, ignoresCase), std::back_inserter(next));
        }
        found = std::move(next);
    }
    std::erase_if(found, [](const std::filesystem::path& path) {
        std::error_code ignored;
        return !std::filesystem::is_regular_file(path, ignored);
    });
    std::ranges::sort(found);
    return found;
}

}  // namespace vynhost
