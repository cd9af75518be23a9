// What differs between the systems and only tests ask for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "vynhost/interface/module_interface.h"

namespace vynhost::platform {

extern const char* const kHostProgram;  // vynhost or vynhost.exe

// Makes an existing handle unlockable, or lockable again. False where the system can't.
bool setLockable(Handle handle, bool lockable) noexcept;

// Sends a message the way a module does.
Int sendToWindow(Int window, std::uint32_t message, Int first, Int second);

// False when a message box would be lost (a Windows without a display).
bool boxesCanBeCaught() noexcept;

// From now on this process gets no more memory than that, where the system can say so.
void limitMemory(std::size_t bytes) noexcept;

// An environment variable of this process and of those that it starts; empty: none.
void setVariable(const char* name, const std::string& value);

// A file of these bytes, while this lives; in memory alone where the system has such files.
class PassingFile {
public:
    explicit PassingFile(std::span<const std::uint8_t> bytes);
    ~PassingFile();
    PassingFile(const PassingFile&) = delete;
    PassingFile& operator=(const PassingFile&) = delete;

    std::filesystem::path path() const;

private:
    struct Place;  // defined per system
    std::unique_ptr<Place> place_;
};

// Runs a command of the system's shell and gives its exit code.
int runShell(const std::string& command);

// Runs a command of the shell on a terminal of so many columns. Everything that comes is shown to
// `enough` again and again; once that says so, Ctrl-C is pressed. All that came; nothing where the
// system has no such terminal.
std::optional<std::string> runOnTerminal(const std::string& command, int columns,
                                         const std::function<bool(const std::string&)>& enough);

}  // namespace vynhost::platform
