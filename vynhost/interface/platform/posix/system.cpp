#include "vynhost/interface/platform/system.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <unordered_map>

#include "vynhost/base/messages.h"

// Present when the program is built with a sanitizer: its reports must not end up as caught boxes.
extern "C" __attribute__((weak)) void __sanitizer_set_report_fd(void* file);

namespace vynhost::platform {

const char* const kModuleFile = "VYNPACKM.so";

// --- Memory: a handle is the address of a master pointer ------------------------------------

namespace {

constexpr std::size_t kAlignment = 8;  // of a header with doubles
constexpr unsigned char kCanary = 0xA5;
constexpr std::size_t kQuarantine = 256;
constexpr std::size_t kLargestQuarantined = std::size_t{1} << 20;

std::size_t pageSize() {
    static const auto size = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    return size;
}

// One piece of memory; its first member is the master pointer.
struct Region {
    void* master = nullptr;
    std::byte* address = nullptr;
    std::size_t bytes = 0;
    std::byte* mapping = nullptr;  // null: from the heap
    std::size_t mapped = 0;

    Region() = default;
    Region(const Region&) = delete;
    Region& operator=(const Region&) = delete;
    ~Region() {
        if (mapping != nullptr) {
            ::munmap(mapping, mapped);
        } else {
            std::free(address);
        }
    }

    Handle handle() const noexcept { return Handle{reinterpret_cast<std::uint64_t>(&master)}; }
    std::byte* end() const noexcept { return address + bytes; }
    std::byte* guardPage() const noexcept { return mapping + mapped - pageSize(); }
};

using Regions = std::unordered_map<Handle, std::unique_ptr<Region>>;

Regions& regions() {
    static Regions all;
    return all;
}

// Freed memory stays unreadable until this many later ones have followed it; what is large goes at
// once.
std::deque<std::unique_ptr<Region>>& quarantine() {
    static std::deque<std::unique_ptr<Region>> freed;
    return freed;
}

bool mapGuarded(Region& region) {
    const std::size_t page = pageSize();
    region.mapped = (region.bytes + kAlignment + page - 1) / page * page + page;
    void* mapping = ::mmap(nullptr, region.mapped, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapping == MAP_FAILED) return false;
    region.mapping = static_cast<std::byte*>(mapping);
    const std::size_t rounded = (region.bytes + kAlignment - 1) / kAlignment * kAlignment;
    region.address = region.guardPage() - rounded;
    std::memset(region.end(), kCanary, rounded - region.bytes);
    return ::mprotect(region.guardPage(), page, PROT_NONE) == 0;
}

bool canaryIntact(const Region& region) {
    return std::all_of(region.end(), region.guardPage(),
                       [](std::byte byte) { return byte == std::byte{kCanary}; });
}

Handle enter(std::unique_ptr<Region> region) {
    const Handle handle = region->handle();
    regions().emplace(handle, std::move(region));
    return handle;
}

}  // namespace

Handle allocateMemory(std::size_t bytes, Guard guard) noexcept try {
    auto region = std::make_unique<Region>();
    region->bytes = bytes;
    if (guard == Guard::pageAfter) {
        if (!mapGuarded(*region)) return Handle::none;
    } else {
        region->address = static_cast<std::byte*>(std::calloc(1, std::max<std::size_t>(bytes, 1)));
        if (region->address == nullptr) return Handle::none;
    }
    region->master = region->address;
    return enter(std::move(region));
} catch (...) {
    return Handle::none;
}

bool freeMemory(Handle handle) noexcept {
    const auto found = regions().find(handle);
    if (found == regions().end()) return true;
    std::unique_ptr<Region> region = std::move(found->second);
    regions().erase(found);
    if (region->mapping == nullptr) return true;
    const bool intact = canaryIntact(*region);
    if (region->mapped > kLargestQuarantined) return intact;
    ::mprotect(region->mapping, region->mapped, PROT_NONE);
    ::madvise(region->mapping, region->mapped, MADV_DONTNEED);
    quarantine().push_back(std::move(region));
    if (quarantine().size() > kQuarantine) quarantine().pop_front();
    return intact;
}

Handle allocateUnlockable() noexcept {
    const Handle handle = allocateMemory(0, Guard::none);
    const auto found = regions().find(handle);
    if (found != regions().end()) found->second->master = nullptr;
    return handle;
}

const bool kLocksAreCounted = false;

int lockCount(Handle) noexcept { return 0; }

View::View(Handle handle) noexcept : handle_(handle), address_(nullptr) {
    const auto found = regions().find(handle);
    if (found != regions().end()) address_ = found->second->address;
}

View::~View() = default;

// --- Messages -------------------------------------------------------------------------------

namespace {

MessageFunction& messageFunction() {
    static MessageFunction function;
    return function;
}

// Here, where it may still fail: no call into the module may.
void prepareBoxes();

Int takeMessage(std::uint32_t message, Int first, Int second) {
    const MessageFunction& function = messageFunction();
    return function ? function(message, first, second) : 0;
}

}  // namespace

Int openWindow(MessageFunction function) {
    prepareBoxes();
    messageFunction() = std::move(function);
    return reinterpret_cast<Int>(&takeMessage);
}

void closeWindow() noexcept { messageFunction() = nullptr; }

const bool kWindowBelongsToThread = false;

// --- Boxes: one write on standard error each ------------------------------------------------

namespace {

// Standard error while boxes are caught: a socket that keeps the bounds of each write.
class StandardError {
public:
    StandardError() {
        std::array<int, 2> ends{};
        if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()) !=
            0) {
            throw std::system_error(errno, std::generic_category(), "socketpair");
        }
        reading_ = ends[0];
        writing_ = ends[1];
        real_ = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
        if (real_ < 0 && errno != EBADF) {  // it is open, and would be lost
            const int error = errno;
            ::close(reading_);
            ::close(writing_);
            throw std::system_error(error, std::generic_category(), "standard error");
        }
        if (__sanitizer_set_report_fd != nullptr && real_ >= 0) {
            // NOLINTNEXTLINE(performance-no-int-to-ptr)
            __sanitizer_set_report_fd(reinterpret_cast<void*>(static_cast<std::intptr_t>(real_)));
        }
    }

    void divert() const noexcept { ::dup2(writing_, STDERR_FILENO); }
    void restore() const noexcept {
        if (real_ >= 0) {
            ::dup2(real_, STDERR_FILENO);
        } else {
            ::close(STDERR_FILENO);
        }
    }

    std::optional<std::string> nextWrite() {
        const ssize_t size = ::recv(reading_, buffer_.data(), buffer_.size(), 0);
        if (size <= 0) return std::nullopt;
        return std::string(buffer_.data(), static_cast<std::size_t>(size));
    }

private:
    int reading_ = -1;
    int writing_ = -1;
    int real_ = -1;
    std::array<char, 4096> buffer_{};
};

// A process that was forked off has one of its own: two readers would take each other's lines.
StandardError& standardError() {
    static std::optional<StandardError> error;
    static ::pid_t owner = 0;
    if (!error || owner != ::getpid()) {
        error.emplace();
        owner = ::getpid();
    }
    return *error;
}

void prepareBoxes() { standardError(); }

Box boxOf(std::string line) {
    if (line.ends_with('\n')) line.pop_back();
    const std::size_t colon = line.find(": ");
    if (colon == std::string::npos) return {"", line, std::nullopt};
    return {line.substr(0, colon), line.substr(colon + 2), std::nullopt};
}

}  // namespace

void catchBoxes() noexcept { standardError().divert(); }

std::vector<Box> caughtBoxes() {
    standardError().restore();
    std::vector<Box> boxes;
    while (auto line = standardError().nextWrite())
        boxes.push_back(boxOf(std::move(*line)));
    return boxes;
}

// --- Dialogs --------------------------------------------------------------------------------

const bool kHasDialogs = false;

DialogEnd leaveToUser(const std::function<void()>& show) {
    show();
    return DialogEnd::none;
}

void showPage(const std::filesystem::path&) {}

// --- Parameter files ------------------------------------------------------------------------

namespace {

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

int descriptor(Int handle) { return static_cast<int>(handle); }

}  // namespace

ParameterFile::ParameterFile(const std::string& bytes) {
    std::string name = (std::filesystem::temp_directory_path() / "vynhost-XXXXXX").string();
    handle_ = ::mkostemp(name.data(), O_CLOEXEC);
    if (handle_ < 0) fail("temporary file");
    ::unlink(name.c_str());
    if (::write(descriptor(handle_), bytes.data(), bytes.size()) !=
        static_cast<ssize_t>(bytes.size())) {
        fail("temporary file");
    }
    seek(0);
}

ParameterFile::~ParameterFile() { ::close(descriptor(handle_)); }

std::size_t ParameterFile::position() const {
    return static_cast<std::size_t>(::lseek(descriptor(handle_), 0, SEEK_CUR));
}

void ParameterFile::seek(std::size_t position) {
    ::lseek(descriptor(handle_), static_cast<off_t>(position), SEEK_SET);
}

std::string ParameterFile::contents() {
    std::string bytes(static_cast<std::size_t>(::lseek(descriptor(handle_), 0, SEEK_END)), '\0');
    const std::size_t before = position();
    if (::pread(descriptor(handle_), bytes.data(), bytes.size(), 0) !=
        static_cast<ssize_t>(bytes.size())) {
        fail("temporary file");
    }
    seek(before);
    return bytes;
}

// --- Libraries and surroundings -------------------------------------------------------------

void* loadLibrary(const std::filesystem::path& path, std::string& why) {
    void* library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) why = ::dlerror();
    return library;
}

bool isLoaded(const std::filesystem::path& path) {
    void* library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
    if (library != nullptr) ::dlclose(library);
    return library != nullptr;
}

void unloadLibrary(void* library) noexcept { ::dlclose(library); }

void* findFunction(void* library, const char* name) noexcept { return ::dlsym(library, name); }

std::optional<std::string> sharedDirectory() {
    const char* text = std::getenv("OVSHAREDDIR64");
    if (text == nullptr) return std::nullopt;
    return std::string(text);
}

bool setSharedDirectory(const std::optional<std::string>& directory) {
    return (directory ? ::setenv("OVSHAREDDIR64", directory->c_str(), 1)
                      : ::unsetenv("OVSHAREDDIR64")) == 0;
}

const char* const kLibraryFile = "ovanlys.so";
const char* const kSharedDirectoryName = words("environment variable OVSHAREDDIR64");

SharedDirectoryForLoading::SharedDirectoryForLoading(const std::filesystem::path& directory)
    : before_(sharedDirectory()) {
    setSharedDirectory(directory.string());
}

SharedDirectoryForLoading::~SharedDirectoryForLoading() { setSharedDirectory(before_); }

std::filesystem::path programFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

std::vector<std::string> commandLine(int argc, char** argv) {
    return {argv + std::min(argc, 1), argv + argc};
}

std::string userLanguage() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(name);
        if (value == nullptr || *value == '\0') continue;
        const std::string locale(value);  // "de_DE.UTF-8"
        return locale.substr(0, locale.find_first_of("_.@"));
    }
    return "";
}

std::string fromModuleText(const char* text) { return text; }

}  // namespace vynhost::platform
