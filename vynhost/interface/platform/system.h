// What differs between the systems on the host's side of the interface: shared memory, the window
// that takes the messages, message boxes, parameter files, libraries, the module's settings.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "vynhost/interface/module_interface.h"

namespace vynhost::platform {

// --- Memory that both sides see -------------------------------------------------------------

enum class Guard {
    none,
    pageAfter,  // the memory ends at an unreadable page, and stays unreadable after its end of life
};

// Zero-filled. `none` when memory is out.
Handle allocateMemory(std::size_t bytes, Guard guard) noexcept;
// False when something was written into the few bytes between the memory's end and its guard page.
bool freeMemory(Handle handle) noexcept;
// A handle that names memory and cannot be locked; freed like any other.
Handle allocateUnlockable() noexcept;
// How often the module has locked it and not unlocked; always 0 where unlocking does nothing, and
// for guarded memory.
int lockCount(Handle handle) noexcept;
extern const bool kLocksAreCounted;

// The host's own look at the memory, not counted as a lock afterwards.
class View {
public:
    explicit View(Handle handle) noexcept;
    ~View();
    View(const View&) = delete;
    View& operator=(const View&) = delete;
    std::byte* address() const noexcept { return address_; }

private:
    Handle handle_;
    std::byte* address_;
};

// --- Messages -------------------------------------------------------------------------------

using MessageFunction = std::function<Int(std::uint32_t message, Int first, Int second)>;

// What SetInit is given as the host's window; its messages go to `function` from now on. One at a
// time per process.
Int openWindow(MessageFunction function);
void closeWindow() noexcept;
// The window takes messages on the thread that has opened it alone, so every call of the module
// must come from there.
extern const bool kWindowBelongsToThread;

// --- Message boxes --------------------------------------------------------------------------

struct Box {
    std::string caption;              // UTF-8
    std::string text;                 // UTF-8
    std::optional<bool> exclamation;  // where the system shows the style
    bool operator==(const Box&) const = default;
};

// From the first call to the second, boxes are answered with OK and remembered.
void catchBoxes() noexcept;
std::vector<Box> caughtBoxes();

// --- Dialogs --------------------------------------------------------------------------------

// The module has parameter dialogs on this system.
extern const bool kHasDialogs;

enum class DialogEnd {
    none,  // no dialog was shown, or it closed before anybody could answer
    cancelled,
    accepted,
};

// Runs `show`, which opens one of the module's dialogs and waits for its end. Until then message
// boxes stay open for the person at the screen.
DialogEnd leaveToUser(const std::function<void()>& show);

// Opens a page of the documentation in the program that the system has for it. Where there is no
// page or no such program, a box above the dialog says where the page is or belongs.
void showPage(const std::filesystem::path& page);

// --- Parameter files ------------------------------------------------------------------------

// A temporary file, open for reading and writing, with the kind of handle the module takes.
class ParameterFile {
public:
    explicit ParameterFile(const std::string& bytes = {});
    ~ParameterFile();
    ParameterFile(const ParameterFile&) = delete;
    ParameterFile& operator=(const ParameterFile&) = delete;

    Int handle() const noexcept { return handle_; }
    std::size_t position() const;
    void seek(std::size_t position);
    std::string contents();  // from the beginning; the position is as before

private:
    Int handle_ = -1;
};

// --- Libraries and surroundings -------------------------------------------------------------

extern const char* const kModuleFile;  // VYNPACKM.so or VYNPACKM.dll

// Null when it does not load; `why` then tells.
void* loadLibrary(const std::filesystem::path& path, std::string& why);
// This process has loaded it, whoever asked for it.
bool isLoaded(const std::filesystem::path& path);
void unloadLibrary(void* library) noexcept;
void* findFunction(void* library, const char* name) noexcept;

// The directory below which the module looks for Analysis/ovanlys; nothing when it is not set.
std::optional<std::string> sharedDirectory();
// Sets it (nothing: removes the setting) for the modules that this process loads from now on; on
// Windows the setting is the machine's, and only tests change it. False when it could not be
// written.
bool setSharedDirectory(const std::optional<std::string>& directory);

// What that setting is called, and the file in the Analysis folder.
extern const char* const kSharedDirectoryName;
extern const char* const kLibraryFile;  // ovanlys.so or ovanlys.dll

// While it lives, a module that this process loads finds this shared directory instead of the
// setting. Other processes never see it, and nothing of it stays behind.
class SharedDirectoryForLoading {
public:
    explicit SharedDirectoryForLoading(const std::filesystem::path& directory);
    ~SharedDirectoryForLoading();
    SharedDirectoryForLoading(const SharedDirectoryForLoading&) = delete;
    SharedDirectoryForLoading& operator=(const SharedDirectoryForLoading&) = delete;

private:
    std::optional<std::string> before_;
};

// The folder of the running program.
std::filesystem::path programFolder();

// The words after the program's name, in UTF-8. The console takes UTF-8 from now on.
std::vector<std::string> commandLine(int argc, char** argv);

// The language that the user reads, as ISO 639 has it ("de"); empty where none is said.
std::string userLanguage();

// A text of the module's (Windows: the ANSI code page) as UTF-8.
std::string fromModuleText(const char* text);

}  // namespace vynhost::platform
