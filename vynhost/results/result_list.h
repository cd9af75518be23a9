// Which files of a folder are results: a list beside them, in which each stands with its size and a
// checksum of what was written.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace vynhost {

// FNV-1a: http://www.isthe.com/chongo/tech/comp/fnv/
class Checksum {
public:
    void add(std::string_view bytes) noexcept {
        for (const char byte : bytes) {
            sum_ = (sum_ ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
        }
        size_ += bytes.size();
    }
    std::uint64_t size() const noexcept { return size_; }
    // Sixteen hexadecimal digits.
    std::string text() const;

private:
    std::uint64_t sum_ = 0xcbf29ce484222325;
    std::uint64_t size_ = 0;
};

class ResultList {
public:
    static constexpr char kFileName[] = ".vynhost-results";

    // What the folder's list says; empty where there is none. Raises InputError for a file of that
    // name which is no such list.
    explicit ResultList(const std::filesystem::path& folder);

    // The file is as a run wrote it.
    bool holds(const std::filesystem::path& file) const;
    void enter(const std::filesystem::path& name, const Checksum& checksum);
    std::string text() const;

private:
    struct Entry {
        std::filesystem::path name;
        std::string size;
        std::string checksum;
    };
    std::vector<Entry> entries_;
};

}  // namespace vynhost
