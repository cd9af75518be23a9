// What can go wrong in a run, and the exit code that each kind ends the program with.
#pragma once

#include <stdexcept>
#include <string>

namespace vynhost {

enum ExitCode : int {
    kSuccess = 0,
    kDifferent = 1,   // a comparison missed its tolerance, a check has found something
    kWrongInput = 2,  // command line, diagram or recording
    kNoModule = 4,    // module or library not usable
    kBlockError = 5,  // a block reported an error
    kStalled = 6,     // data waits and no block takes it
    kInterrupted = 130,
};

// A place in a diagram: file, line, and the key in dotted form.
struct Place {
    std::string file;
    int line = 0;
    std::string key;
};

// An error that ends the run; the text is one line.
class RunError : public std::runtime_error {
public:
    RunError(ExitCode code, const std::string& text) : std::runtime_error(text), code_(code) {}
    ExitCode code() const noexcept { return code_; }

private:
    ExitCode code_;
};

// Something in the diagram or in a file that it names: "file:line: key: what".
class InputError : public RunError {
public:
    InputError(const Place& place, const std::string& what)
        : RunError(kWrongInput, describe(place) + what) {}
    explicit InputError(const std::string& what) : RunError(kWrongInput, what) {}

private:
    static std::string describe(const Place& place) {
        std::string text = place.file;
        if (place.line > 0) text += ":" + std::to_string(place.line);
        if (!text.empty()) text += ": ";
        if (!place.key.empty()) text += place.key + ": ";
        return text;
    }
};

}  // namespace vynhost
