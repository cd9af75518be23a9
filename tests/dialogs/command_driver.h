// `vynhost dialog` as its user sees it: a program of its own whose windows are looked at and
// answered from outside. Everything waits for what is to happen, never for time to pass.
#pragma once

#include <windows.h>

#include <filesystem>
#include <functional>
#include <string>

#include "dialogs/dialog_driver.h"

namespace dialog_test {

class DialogCommand {
public:
    // Starts `vynhost dialog DIAGRAM BLOCK`.
    DialogCommand(const std::filesystem::path& diagram, const std::string& block);
    // Ends the program if it still runs, which is a failure.
    ~DialogCommand();
    DialogCommand(const DialogCommand&) = delete;
    DialogCommand& operator=(const DialogCommand&) = delete;

    // The block's dialog, once it is up. Its controls can be read; acting goes through this class.
    Dialog dialog();
    // A message box above the dialog, once it is up.
    Dialog box(const Dialog& dialog);
    void waitUntilClosed(const Dialog& window);

    // Clicks that do not wait for what they lead to.
    void click(const Dialog& dialog, int id);
    void tick(const Dialog& dialog, int checkBox, bool checked);
    // Moves the selection of a list with the arrow keys.
    void choose(const Dialog& dialog, int list, int entry);
    void enter(const Dialog& dialog, int edit, const std::string& ascii);

    static std::filesystem::path programFolder();

    // The program's exit code, once it has ended.
    int exitCode();
    std::string output() const { return read("out.txt"); }
    std::string errors() const { return read("err.txt"); }

private:
    // False, and a failure, when the program ends first or all patience is used up.
    bool waitFor(const char* what, const std::function<bool()>& happened);
    HWND findWindow(const std::function<bool(HWND)>& wanted) const;
    std::string read(const char* name) const;

    std::filesystem::path folder_;
    PROCESS_INFORMATION process_{};
};

}  // namespace dialog_test
