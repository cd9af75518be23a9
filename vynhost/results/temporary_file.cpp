#include "vynhost/results/temporary_file.h"

#include <cstring>
#include <random>
#include <string>
#include <utility>

#include "vynhost/base/errors.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/results/platform/file_system.h"

namespace vynhost {
namespace {

constexpr const char* kBegin = ".vynhost-";
constexpr const char* kEnd = ".part";

}  // namespace

void failWriting(const std::filesystem::path& path) {
    throw RunError(kWrongInput, tr("%1: can't be written", textOf(path)));
}

std::filesystem::path unguessable(const std::filesystem::path& folder) {
    std::random_device chance;
    std::string bytes(16, '\0');
    for (std::size_t i = 0; i < bytes.size(); i += sizeof(unsigned)) {
        const unsigned word = chance();
        std::memcpy(&bytes[i], &word, sizeof word);
    }
    return folder / (kBegin + digitsOf(bytes) + kEnd);
}

bool isUnguessable(const std::filesystem::path& path) {
    const std::string name = textOf(path.filename());
    return name.starts_with(kBegin) && name.ends_with(kEnd);
}

// --- A file that may become a result --------------------------------------------------------

TemporaryFile::TemporaryFile(const std::filesystem::path& folder,
                             const std::filesystem::path& purpose)
    : path_(unguessable(folder)), removed_(path_), file_(platform::createFile(path_)) {
    if (!file_) failWriting(purpose);
}

TemporaryFile::~TemporaryFile() {
    file_.reset();
    std::error_code ignored;
    if (ours_) std::filesystem::remove(path_, ignored);
}

bool TemporaryFile::write(const void* bytes, std::size_t size) noexcept {
    return file_ && std::fwrite(bytes, 1, size, file_.get()) == size;
}

bool TemporaryFile::close() noexcept { return !file_ || std::fclose(file_.release()) == 0; }

// --- A file that is read back ---------------------------------------------------------------

WaitingBytes::WaitingBytes(const std::filesystem::path& folder, std::filesystem::path purpose)
    : purpose_(std::move(purpose)), file_(platform::createVanishingFile(unguessable(folder))) {
    if (!file_) failWriting(purpose_);
}

void WaitingBytes::append(const void* bytes, std::size_t size) {
    if (std::fwrite(bytes, 1, size, file_.get()) != size) failWriting(purpose_);
}

void WaitingBytes::read(std::uint64_t position, void* bytes, std::size_t size) {
    if (!platform::moveTo(file_.get(), position) ||
        std::fread(bytes, 1, size, file_.get()) != size) {
        throw RunError(kWrongInput, tr("%1: can't be read back", textOf(purpose_)));
    }
}

}  // namespace vynhost
