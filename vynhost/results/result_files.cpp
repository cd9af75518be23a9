#include "vynhost/results/result_files.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "vynhost/base/errors.h"
#include "vynhost/base/text.h"

namespace vynhost {
namespace {

constexpr std::size_t kBuffer = std::size_t{1} << 16;

std::filesystem::path withPart(std::filesystem::path path) { return path += ".part"; }

[[noreturn]] void failWriting(const std::filesystem::path& path) {
    throw RunError(kWrongInput, textOf(path) + ": can't be written");
}

}  // namespace

// --- One file -------------------------------------------------------------------------------

ResultFile::ResultFile(const std::filesystem::path& path)
    : final_(path),
      temporary_(withPart(path)),
      out_(temporary_, std::ios::binary | std::ios::trunc) {
    if (!out_) {
        committed_ = true;  // nothing of ours lies there
        failWriting(final_);
    }
}

ResultFile::~ResultFile() {
    if (committed_) return;
    out_.close();
    std::error_code ignored;
    std::filesystem::remove(temporary_, ignored);
}

void ResultFile::write(std::string_view text) {
    buffer_ += text;
    if (buffer_.size() >= kBuffer) flush();
}

void ResultFile::flush() {
    out_.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
    buffer_.clear();
    if (!out_) failWriting(final_);
}

void ResultFile::close() {
    if (!out_.is_open()) return;
    flush();
    out_.close();
    if (!out_) failWriting(final_);
}

void ResultFile::commit() {
    close();
    std::error_code error;
    std::filesystem::rename(temporary_, final_, error);
    if (error) throw RunError(kWrongInput, textOf(final_) + ": " + error.message());
    committed_ = true;
}

// --- All of a run ---------------------------------------------------------------------------

ResultFiles::~ResultFiles() {
    files_.clear();
    std::error_code ignored;  // a folder that is in use stays
    std::for_each(madeFolders_.rbegin(), madeFolders_.rend(),
                  [&](const auto& folder) { std::filesystem::remove(folder, ignored); });
}

ResultFile& ResultFiles::open(const std::string& name) {
    const std::filesystem::path path = folder_ / pathOf(name);
    if (std::ranges::any_of(files_, [&](const auto& file) { return file->path() == path; })) {
        throw RunError(kWrongInput, textOf(path) + ": is written twice");
    }
    std::vector<std::filesystem::path> missing;
    std::error_code error;
    for (auto folder = path.parent_path();
         !folder.empty() && !std::filesystem::exists(folder, error);
         folder = folder.parent_path()) {
        missing.push_back(folder);
    }
    std::for_each(missing.rbegin(), missing.rend(), [&](const auto& folder) {
        if (std::filesystem::create_directory(folder, error)) madeFolders_.push_back(folder);
    });
    files_.push_back(std::make_unique<ResultFile>(path));
    return *files_.back();
}

std::vector<std::filesystem::path> ResultFiles::commit() {
    for (const auto& file : files_)
        file->close();
    std::vector<std::filesystem::path> paths;
    for (const auto& file : files_) {
        file->commit();
        paths.push_back(file->path());
    }
    files_.clear();
    madeFolders_.clear();
    return paths;
}

void replaceFile(const std::filesystem::path& file, const std::string& content) {
    ResultFile replacement(file);
    replacement.write(content);
    replacement.close();
    std::error_code ignored;
    std::filesystem::permissions(replacement.temporary(),
                                 std::filesystem::status(file).permissions(), ignored);
    replacement.commit();
}

}  // namespace vynhost
