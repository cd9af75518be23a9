#include "vynhost/results/result_list.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "vynhost/base/errors.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/results/platform/file_system.h"

namespace vynhost {
namespace {

constexpr char kTitle[] = "Results of vynhost in this folder: size, checksum, name";

}  // namespace

std::string Checksum::text() const {
    std::string bytes;
    for (int shift = 56; shift >= 0; shift -= 8)
        bytes += static_cast<char>(sum_ >> shift);
    return digitsOf(bytes);
}

ResultList::ResultList(const std::filesystem::path& folder) {
    const std::filesystem::path file = folder / kFileName;
    const auto status = std::filesystem::symlink_status(file);
    if (!std::filesystem::exists(status)) return;
    std::ifstream in(file, std::ios::binary);
    std::string line;
    if (!std::filesystem::is_regular_file(status) || !std::getline(in, line) || line != kTitle) {
        throw InputError(tr("%1: is no list of results, and not replaced", textOf(file)));
    }
    while (std::getline(in, line)) {
        std::istringstream words(line);
        Entry entry;
        std::string name;
        if (words >> entry.size >> entry.checksum && std::getline(words.ignore(), name)) {
            entry.name = pathOf(name);
            entries_.push_back(entry);
        }
    }
}

bool ResultList::holds(const std::filesystem::path& file) const {
    const auto found = std::ranges::find_if(entries_, [&](const Entry& entry) {
        return platform::sameFileName(entry.name, file.filename());
    });
    std::error_code error;
    if (found == entries_.end() ||
        found->size != std::to_string(std::filesystem::file_size(file, error))) {
        return false;
    }
    std::ifstream in(file, std::ios::binary);
    Checksum checksum;
    std::string piece(std::size_t{1} << 16, '\0');
    while (in) {
        in.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        checksum.add({piece.data(), static_cast<std::size_t>(in.gcount())});
    }
    return found->size == std::to_string(checksum.size()) && found->checksum == checksum.text();
}

void ResultList::enter(const std::filesystem::path& name, const Checksum& checksum) {
    std::erase_if(entries_,
                  [&](const Entry& entry) { return platform::sameFileName(entry.name, name); });
    entries_.push_back({name, std::to_string(checksum.size()), checksum.text()});
}

std::string ResultList::text() const {
    std::string text = std::string(kTitle) + "\n";
    for (const Entry& entry : entries_) {
        text.append(entry.size).append(" ").append(entry.checksum).append(" ");
        text += textOf(entry.name) + "\n";
    }
    return text;
}

}  // namespace vynhost
