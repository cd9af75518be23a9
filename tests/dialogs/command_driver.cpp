#include "dialogs/command_driver.h"

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <iterator>

namespace dialog_test {
namespace {

constexpr DWORD kPatience = 120'000;  // ms; only a hanging program uses it up

std::string contentOf(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

HANDLE openInheritable(const std::filesystem::path& file) {
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    return ::CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inheritable, CREATE_ALWAYS,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
}

bool isDialog(HWND window) {
    std::array<char, 32> name{};
    ::GetClassNameA(window, name.data(), static_cast<int>(name.size()));
    return std::string(name.data()) == "#32770" && ::IsWindowVisible(window);
}

void post(HWND window, UINT message, WPARAM first, LPARAM second = 0) {
    ::PostMessageW(window, message, first, second);
}

}  // namespace

DialogCommand::DialogCommand(const std::filesystem::path& diagram, const std::string& block)
    : folder_(diagram.parent_path()) {
    HANDLE out = openInheritable(folder_ / "out.txt");
    HANDLE errors = openInheritable(folder_ / "err.txt");
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdOutput = out;
    start.hStdError = errors;
    std::wstring command = L"\"" + (programFolder() / L"vynhost.exe").wstring() + L"\" dialog \"" +
                           diagram.wstring() + L"\" " + std::wstring(block.begin(), block.end());
    EXPECT_TRUE(::CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                 nullptr, &start, &process_));
    ::CloseHandle(out);
    ::CloseHandle(errors);
}

DialogCommand::~DialogCommand() {
    if (::WaitForSingleObject(process_.hProcess, 0) == WAIT_TIMEOUT) {
        ADD_FAILURE() << "the program still runs";
        ::TerminateProcess(process_.hProcess, 99);
        ::WaitForSingleObject(process_.hProcess, kPatience);
    }
    ::CloseHandle(process_.hThread);
    ::CloseHandle(process_.hProcess);
}

bool DialogCommand::waitFor(const char* what, const std::function<bool()>& happened) {
    const ULONGLONG begin = ::GetTickCount64();
    while (!happened()) {
        const bool ended = ::WaitForSingleObject(process_.hProcess, 1) == WAIT_OBJECT_0;
        if ((ended && !happened()) || ::GetTickCount64() - begin > kPatience) {
            ADD_FAILURE() << "waited in vain for " << what << "; the program says \"" << errors()
                          << "\"";
            return false;
        }
    }
    return true;
}

HWND DialogCommand::findWindow(const std::function<bool(HWND)>& wanted) const {
    struct Hunt {
        DWORD process;
        const std::function<bool(HWND)>& wanted;
        HWND found;
    } hunt{process_.dwProcessId, wanted, nullptr};
    ::EnumWindows(
        [](HWND window, LPARAM argument) -> BOOL {
            auto& quarry = *reinterpret_cast<Hunt*>(argument);
            DWORD process = 0;
            ::GetWindowThreadProcessId(window, &process);
            if (process != quarry.process || !isDialog(window) || !quarry.wanted(window)) {
                return TRUE;
            }
            quarry.found = window;
            return FALSE;
        },
        reinterpret_cast<LPARAM>(&hunt));
    return hunt.found;
}

Dialog DialogCommand::dialog() {
    HWND window = nullptr;
    waitFor("the dialog", [&] {
        window = findWindow([](HWND) { return true; });
        return window != nullptr;
    });
    return Dialog(window);
}

Dialog DialogCommand::box(const Dialog& dialog) {
    HWND window = nullptr;
    waitFor("a message box", [&] {
        window =
            findWindow([&](HWND box) { return ::GetWindow(box, GW_OWNER) == dialog.window(); });
        return window != nullptr;
    });
    return Dialog(window);
}

void DialogCommand::waitUntilClosed(const Dialog& window) {
    waitFor("a window to close", [&] { return window.closed(); });
}

void DialogCommand::click(const Dialog& dialog, int id) {
    HWND target = dialog.control(id);
    waitFor("a control to be usable", [&] { return ::IsWindowEnabled(target) != FALSE; });
    post(target, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(5, 5));
    post(target, WM_LBUTTONUP, 0, MAKELPARAM(5, 5));
}

void DialogCommand::tick(const Dialog& dialog, int checkBox, bool checked) {
    if (dialog.checked(checkBox) != checked) click(dialog, checkBox);
    waitFor("the tick", [&] { return dialog.checked(checkBox) == checked; });
}

void DialogCommand::choose(const Dialog& dialog, int list, int entry) {
    for (int now = dialog.selection(list); now != entry; now = dialog.selection(list)) {
        post(dialog.control(list), WM_KEYDOWN, now < entry ? VK_DOWN : VK_UP, 1);
        if (!waitFor("the selection", [&] { return dialog.selection(list) != now; })) return;
    }
}

void DialogCommand::enter(const Dialog& dialog, int edit, const std::string& ascii) {
    const std::wstring wide(ascii.begin(), ascii.end());
    ::SendMessageW(dialog.control(edit), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(wide.c_str()));
    EXPECT_EQ(dialog.text(edit), ascii);
}

int DialogCommand::exitCode() {
    DWORD code = 0;
    EXPECT_EQ(::WaitForSingleObject(process_.hProcess, kPatience), WAIT_OBJECT_0);
    ::GetExitCodeProcess(process_.hProcess, &code);
    return static_cast<int>(code);
}

std::filesystem::path DialogCommand::programFolder() {
    std::wstring path(MAX_PATH, L'\0');
    path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return std::filesystem::path(path).parent_path();
}

std::string DialogCommand::read(const char* name) const { return contentOf(folder_ / name); }

}  // namespace dialog_test
