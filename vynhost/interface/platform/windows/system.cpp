#include "vynhost/interface/platform/system.h"

#include <windows.h>

#include <ole2.h>
#include <shellapi.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <unordered_map>
#include <utility>

#include "vynhost/base/messages.h"

namespace vynhost::platform {

const char* const kModuleFile = "VYNPACKM.dll";

namespace {

std::string toUtf8(const std::wstring& text) {
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                           nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), result.data(),
                          size, nullptr, nullptr);
    return result;
}

}  // namespace

// --- Memory: global memory, or pages of which the last is unreadable ------------------------

namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kAlignment = 16;  // below that, an address is not taken for global memory
constexpr unsigned char kCanary = 0xA5;

struct Pages {
    std::byte* mapping;
    std::size_t mapped;
    std::size_t bytes;
    std::byte* guardPage() const { return mapping + mapped - kPage; }
};

std::unordered_map<Handle, Pages>& guardedPages() {
    static std::unordered_map<Handle, Pages> pages;
    return pages;
}

HGLOBAL global(Handle handle) noexcept {
    return reinterpret_cast<HGLOBAL>(handle);  // NOLINT(performance-no-int-to-ptr)
}

Handle handleAt(const void* address) noexcept {
    return Handle{reinterpret_cast<std::uint64_t>(address)};
}

Handle allocatePages(std::size_t bytes) {
    Pages pages{};
    pages.bytes = bytes;
    pages.mapped = (bytes + kAlignment + kPage - 1) / kPage * kPage + kPage;
    pages.mapping = static_cast<std::byte*>(
        ::VirtualAlloc(nullptr, pages.mapped, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    if (pages.mapping == nullptr) return Handle::none;
    const std::size_t rounded = (bytes + kAlignment - 1) / kAlignment * kAlignment;
    std::byte* address = pages.guardPage() - rounded;
    std::fill(address + bytes, pages.guardPage(), std::byte{kCanary});
    DWORD before = 0;
    ::VirtualProtect(pages.guardPage(), kPage, PAGE_NOACCESS, &before);
    guardedPages().emplace(handleAt(address), pages);
    return handleAt(address);
}

}  // namespace

Handle allocateMemory(std::size_t bytes, Guard guard) noexcept try {
    if (guard == Guard::pageAfter) return allocatePages(bytes);
    return handleAt(::GlobalAlloc(GHND, std::max<std::size_t>(bytes, 1)));
} catch (...) {
    return Handle::none;
}

bool freeMemory(Handle handle) noexcept {
    const auto found = guardedPages().find(handle);
    if (found == guardedPages().end()) {
        ::GlobalFree(global(handle));
        return true;
    }
    const Pages pages = found->second;
    guardedPages().erase(found);
    const auto* end = reinterpret_cast<const std::byte*>(handle) + pages.bytes;
    const bool intact = std::all_of(end, const_cast<const std::byte*>(pages.guardPage()),
                                    [](std::byte byte) { return byte == std::byte{kCanary}; });
    // The addresses stay reserved and unreadable.
    ::VirtualFree(pages.mapping, pages.mapped, MEM_DECOMMIT);
    return intact;
}

Handle allocateUnlockable() noexcept {
    // Movable memory of no size is born discarded: the handle is good, a lock is refused.
    return handleAt(::GlobalAlloc(GMEM_MOVEABLE, 0));
}

const bool kLocksAreCounted = true;

int lockCount(Handle handle) noexcept {
    if (guardedPages().contains(handle)) return 0;
    const UINT flags = ::GlobalFlags(global(handle));
    return flags == GMEM_INVALID_HANDLE ? 0 : static_cast<int>(flags & GMEM_LOCKCOUNT);
}

View::View(Handle handle) noexcept
    : handle_(handle), address_(static_cast<std::byte*>(::GlobalLock(global(handle)))) {}

View::~View() {
    if (address_ != nullptr) ::GlobalUnlock(global(handle_));
}

// --- Messages -------------------------------------------------------------------------------

namespace {

HWND hostWindow = nullptr;

MessageFunction& messageFunction() {
    static MessageFunction function;
    return function;
}

LRESULT CALLBACK takeMessage(HWND window, UINT message, WPARAM first, LPARAM second) {
    const MessageFunction& function = messageFunction();
    if (message >= WM_USER && function) {
        return function(message, static_cast<Int>(first), second);
    }
    return ::DefWindowProcA(window, message, first, second);
}

}  // namespace

Int openWindow(MessageFunction function) {
    messageFunction() = std::move(function);
    if (hostWindow == nullptr) {
        WNDCLASSA windowClass{};
        windowClass.lpfnWndProc = takeMessage;
        windowClass.hInstance = ::GetModuleHandleA(nullptr);
        windowClass.lpszClassName = "vynhost";
        ::RegisterClassA(&windowClass);
        hostWindow = ::CreateWindowExA(0, "vynhost", "vynhost", 0, 0, 0, 0, 0, HWND_MESSAGE,
                                       nullptr, windowClass.hInstance, nullptr);
        if (hostWindow == nullptr) throw std::runtime_error("the host's window can't be created");
    }
    return reinterpret_cast<Int>(hostWindow);
}

void closeWindow() noexcept {
    messageFunction() = nullptr;
    if (hostWindow != nullptr) ::DestroyWindow(hostWindow);
    hostWindow = nullptr;
}

const bool kWindowBelongsToThread = true;

// --- Boxes: a hook reads each and presses OK ------------------------------------------------

namespace {

HHOOK boxHook = nullptr;

std::vector<Box>& seenBoxes() {
    static std::vector<Box> boxes;
    return boxes;
}

std::string textOf(HWND window) {
    std::wstring text(static_cast<std::size_t>(::GetWindowTextLengthW(window)) + 1, L'\0');
    text.resize(static_cast<std::size_t>(
        ::GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
    return toUtf8(text);
}

bool isOfClass(HWND window, const char* name) {
    std::array<char, 64> actual{};
    ::GetClassNameA(window, actual.data(), static_cast<int>(actual.size()));
    return ::lstrcmpiA(actual.data(), name) == 0;
}

// What the children of a message box say; a dialog of another kind has other children.
struct BoxContents {
    Box box;
    bool isMessageBox = true;
};

BOOL CALLBACK readChild(HWND child, LPARAM argument) {
    constexpr int kLastBoxButton = 11;  // IDOK .. IDCONTINUE
    auto& contents = *reinterpret_cast<BoxContents*>(argument);
    const LONG style = ::GetWindowLongA(child, GWL_STYLE);
    if (isOfClass(child, "Button")) {
        contents.isMessageBox &= ::GetDlgCtrlID(child) <= kLastBoxButton;
    } else if (isOfClass(child, "Static")) {
        if ((style & SS_TYPEMASK) == SS_ICON) {
            contents.box.exclamation = ::SendMessageA(child, STM_GETICON, 0, 0) != 0;
        } else {
            contents.box.text = textOf(child);
        }
    } else {
        contents.isMessageBox = false;
    }
    return TRUE;
}

// The first dialog that is created while the user is asked is the block's own. Its procedure is
// overlaid for its life: whichever of OK and Cancel comes last is what closed it.
struct AskedUser {
    bool asking = false;
    HWND dialog = nullptr;
    WNDPROC procedure = nullptr;
    DialogEnd end = DialogEnd::none;
};

AskedUser askedUser;

LRESULT CALLBACK watchAnswers(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (message == WM_COMMAND && HIWORD(first) == BN_CLICKED) {
        if (LOWORD(first) == IDOK) askedUser.end = DialogEnd::accepted;
        if (LOWORD(first) == IDCANCEL) askedUser.end = DialogEnd::cancelled;
    }
    const WNDPROC procedure = askedUser.procedure;
    if (message == WM_NCDESTROY) {
        ::SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(procedure));
    }
    const LRESULT result = ::CallWindowProcW(procedure, window, message, first, second);
    // A program of the console has no window that the dialog could come up before.
    if (message == WM_SHOWWINDOW && first != 0) ::SetForegroundWindow(window);
    return result;
}

void overlayDialog(HWND window) {
    if (askedUser.dialog != nullptr || !isOfClass(window, "#32770")) return;
    askedUser.dialog = window;
    askedUser.procedure =
        // NOLINTNEXTLINE(performance-no-int-to-ptr)
        reinterpret_cast<WNDPROC>(
            ::SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(watchAnswers)));
}

LRESULT CALLBACK watchWindows(int code, WPARAM first, LPARAM second) {
    if (askedUser.asking) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr)
        if (code == HCBT_CREATEWND) overlayDialog(reinterpret_cast<HWND>(first));
    } else if (code == HCBT_ACTIVATE) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr)
        const auto window = reinterpret_cast<HWND>(first);
        BoxContents contents;
        contents.box.exclamation = false;
        if (isOfClass(window, "#32770")) {
            ::EnumChildWindows(window, readChild, reinterpret_cast<LPARAM>(&contents));
            if (contents.isMessageBox && ::GetPropA(window, "seen") == nullptr) {
                ::SetPropA(window, "seen", window);
                contents.box.caption = textOf(window);
                seenBoxes().push_back(contents.box);
                ::PostMessageA(window, WM_COMMAND, IDOK, 0);
            }
        }
    }
    return ::CallNextHookEx(boxHook, code, first, second);
}

}  // namespace

void catchBoxes() noexcept {
    if (boxHook == nullptr) {
        boxHook = ::SetWindowsHookExA(WH_CBT, watchWindows, nullptr, ::GetCurrentThreadId());
    }
}

std::vector<Box> caughtBoxes() { return std::exchange(seenBoxes(), {}); }

// --- Dialogs --------------------------------------------------------------------------------

const bool kHasDialogs = true;

DialogEnd leaveToUser(const std::function<void()>& show) {
    catchBoxes();  // its hook sees the dialog, too
    askedUser = {.asking = true};
    show();
    return std::exchange(askedUser, {}).end;
}

void showPage(const std::filesystem::path& page) {
    constexpr INT_PTR kLastError = 32;  // of ShellExecute
    const bool there = ::GetFileAttributesW(page.c_str()) != INVALID_FILE_ATTRIBUTES;
    if (there &&
        reinterpret_cast<INT_PTR>(::ShellExecuteW(askedUser.dialog, nullptr, page.c_str(), nullptr,
                                                  nullptr, SW_SHOWNORMAL)) > kLastError) {
        return;
    }
    const std::string says =
        tr(there ? words("The page of this block is")
                 : words("The page of this block is not installed. It belongs here:"));
    const std::wstring text = pathOf(says).wstring() + L"\n\n" + page.wstring();
    ::MessageBoxW(askedUser.dialog, text.c_str(), L"vynhost", MB_OK | MB_ICONINFORMATION);
}

// --- Parameter files ------------------------------------------------------------------------

namespace {

HFILE fileOf(Int handle) { return static_cast<HFILE>(handle); }

}  // namespace

ParameterFile::ParameterFile(const std::string& bytes) {
    std::wstring folder(MAX_PATH + 1, L'\0');
    std::wstring name(MAX_PATH, L'\0');
    folder.resize(::GetTempPathW(static_cast<DWORD>(folder.size()), folder.data()));
    if (::GetTempFileNameW(folder.c_str(), L"vyn", 0, name.data()) == 0) {
        throw std::runtime_error("temporary file");
    }
    // Gone with its handle, which the module takes as one of the older file functions.
    const HANDLE file =
        ::CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                      FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (file == INVALID_HANDLE_VALUE) throw std::runtime_error("temporary file");
    handle_ = ::HandleToLong(file);
    ::_lwrite(fileOf(handle_), bytes.data(), static_cast<UINT>(bytes.size()));
    seek(0);
}

ParameterFile::~ParameterFile() { ::_lclose(fileOf(handle_)); }

std::size_t ParameterFile::position() const {
    return static_cast<std::size_t>(::_llseek(fileOf(handle_), 0, FILE_CURRENT));
}

void ParameterFile::seek(std::size_t position) {
    ::_llseek(fileOf(handle_), static_cast<LONG>(position), FILE_BEGIN);
}

std::string ParameterFile::contents() {
    const std::size_t before = position();
    std::string bytes(static_cast<std::size_t>(::_llseek(fileOf(handle_), 0, FILE_END)), '\0');
    seek(0);
    ::_lread(fileOf(handle_), bytes.data(), static_cast<UINT>(bytes.size()));
    seek(before);
    return bytes;
}

// --- Libraries and surroundings -------------------------------------------------------------

void* loadLibrary(const std::filesystem::path& path, std::string& why) {
    const HMODULE library = ::LoadLibraryW(path.c_str());
    if (library == nullptr) why = "error " + std::to_string(::GetLastError());
    return library;
}

bool isLoaded(const std::filesystem::path& path) {
    return ::GetModuleHandleW(path.c_str()) != nullptr;
}

void unloadLibrary(void* library) noexcept { ::FreeLibrary(static_cast<HMODULE>(library)); }

void* findFunction(void* library, const char* name) noexcept {
    return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(library), name));
}

namespace {

constexpr wchar_t kInstallerKey[] = L"SOFTWARE\\Orvane\\Common\\Installer";
constexpr wchar_t kDirectoryValue[] = L"OVSHAREDDIR64";

LSTATUS writeDirectory(HKEY key, const std::wstring& directory) {
    return ::RegSetValueExW(key, kDirectoryValue, 0, REG_SZ,
                            reinterpret_cast<const BYTE*>(directory.c_str()),
                            static_cast<DWORD>((directory.size() + 1) * sizeof(wchar_t)));
}

}  // namespace

std::optional<std::string> sharedDirectory() {
    std::wstring text(32768, L'\0');
    auto size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    if (::RegGetValueW(HKEY_LOCAL_MACHINE, kInstallerKey, kDirectoryValue, RRF_RT_REG_SZ, nullptr,
                       text.data(), &size) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    return toUtf8(text.c_str());
}

bool setSharedDirectory(const std::optional<std::string>& directory) {
    HKEY key = nullptr;
    if (::RegCreateKeyExW(HKEY_LOCAL_MACHINE, kInstallerKey, 0, nullptr, 0, KEY_SET_VALUE, nullptr,
                          &key, nullptr) != ERROR_SUCCESS) {
        return false;
    }
    const LSTATUS status =
        directory
            ? writeDirectory(
                  key, std::filesystem::path(std::u8string(directory->begin(), directory->end())))
            : ::RegDeleteValueW(key, kDirectoryValue);
    ::RegCloseKey(key);
    return status == ERROR_SUCCESS || (!directory && status == ERROR_FILE_NOT_FOUND);
}

const char* const kLibraryFile = "ovanlys.dll";
const char* const kSharedDirectoryName =
    words("registry value OVSHAREDDIR64 of HKLM\\SOFTWARE\\Orvane\\Common\\Installer");

namespace {

// A key of this process's own, which stands in for the machine's hive: any user may make it, and it
// is gone with the session at the latest.
std::wstring standInPath() {
    return L"Software\\Vynpack.vynhost." + std::to_wstring(::GetCurrentProcessId());
}

}  // namespace

SharedDirectoryForLoading::SharedDirectoryForLoading(const std::filesystem::path& directory) {
    // What the module starts besides has read its real settings already.
    ::OleInitialize(nullptr);
    HKEY hive = nullptr;
    if (::RegCreateKeyExW(HKEY_CURRENT_USER, standInPath().c_str(), 0, nullptr, REG_OPTION_VOLATILE,
                          KEY_ALL_ACCESS, nullptr, &hive, nullptr) != ERROR_SUCCESS) {
        return;  // the setting serves
    }
    HKEY key = nullptr;
    if (::RegCreateKeyExW(hive, kInstallerKey, 0, nullptr, REG_OPTION_VOLATILE, KEY_SET_VALUE,
                          nullptr, &key, nullptr) == ERROR_SUCCESS) {
        writeDirectory(key, directory.wstring());
        ::RegCloseKey(key);
        ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, hive);
    }
    ::RegCloseKey(hive);
}

SharedDirectoryForLoading::~SharedDirectoryForLoading() {
    ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    ::RegDeleteTreeW(HKEY_CURRENT_USER, standInPath().c_str());
}

std::filesystem::path programFolder() {
    std::wstring path(32768, L'\0');
    path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return std::filesystem::path(path).parent_path();
}

std::vector<std::string> commandLine(int, char**) {
    ::SetConsoleOutputCP(CP_UTF8);
    int count = 0;
    wchar_t** words = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    std::vector<std::string> result;
    for (int i = 1; i < count; ++i)
        result.push_back(toUtf8(words[i]));
    ::LocalFree(words);
    return result;
}

std::string userLanguage() {
    const LCID locale = MAKELCID(::GetUserDefaultUILanguage(), SORT_DEFAULT);
    wchar_t name[16] = {};
    ::GetLocaleInfoW(locale, LOCALE_SISO639LANGNAME, name, static_cast<int>(std::size(name)));
    return toUtf8(name);
}

std::string fromModuleText(const char* text) {
    std::wstring wide(
        static_cast<std::size_t>(::MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0)), L'\0');
    ::MultiByteToWideChar(CP_ACP, 0, text, -1, wide.data(), static_cast<int>(wide.size()));
    if (!wide.empty()) wide.pop_back();
    return toUtf8(wide);
}

}  // namespace vynhost::platform
