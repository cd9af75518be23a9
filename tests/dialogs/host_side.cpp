#include "dialogs/host_side.h"

#include <gtest/gtest.h>

#include <array>
#include <stdexcept>
#include <string>
#include <utility>

#include "vynhost/interface/module_interface.h"

namespace dialog_test {
namespace {

using vynhost::Int;

constexpr auto kShowHelp = static_cast<UINT>(vynhost::Message::showHelp);
constexpr UINT_PTR kScriptTimer = 1;

template <class Function>
Function exported(HINSTANCE module, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
}

// A file as the host hands it to the module.
class RecordFile {
public:
    RecordFile() {
        std::array<char, MAX_PATH> folder{};
        ::GetTempPathA(static_cast<DWORD>(folder.size()), folder.data());
        ::GetTempFileNameA(folder.data(), "vyn", 0, path_.data());
        file_ = ::_lcreat(path_.data(), 0);
    }
    ~RecordFile() {
        ::_lclose(file_);
        ::DeleteFileA(path_.data());
    }
    RecordFile(const RecordFile&) = delete;
    RecordFile& operator=(const RecordFile&) = delete;

    Int handle() const { return file_; }
    void rewind() const { ::_llseek(file_, 0, FILE_BEGIN); }
    void write(const Bytes& bytes) const {
        ::_lwrite(file_, reinterpret_cast<const char*>(bytes.data()),
                  static_cast<UINT>(bytes.size()));
    }
    Bytes contents() const {
        Bytes bytes(static_cast<std::size_t>(::_llseek(file_, 0, FILE_END)));
        rewind();
        ::_lread(file_, bytes.data(), static_cast<UINT>(bytes.size()));
        return bytes;
    }

private:
    std::array<char, MAX_PATH> path_{};
    HFILE file_;
};

class Host {
public:
    static Host& instance() {
        static Host host;
        return host;
    }

    HINSTANCE module = nullptr;
    Int (*getParameters)(Int, Int, Int, Int) = nullptr;
    Int (*getInfo)(Int, Int, Int, Int) = nullptr;
    Int (*saveParameters)(Int, Int, Int, Int) = nullptr;
    Int (*restoreParameters)(Int, Int, Int, Int) = nullptr;
    Int (*destroyBlock)(Int, Int, Int, Int) = nullptr;
    int helpRequests = 0;

    // Runs the script when the dialog that `show` opens waits for its user.
    void play(const std::function<void()>& show, const std::function<void(Dialog&)>& script) {
        script_ = &script;
        played_ = false;
        // A timer's message is the last to be delivered: the dialog is up and painted by then.
        ::SetTimer(window_, kScriptTimer, USER_TIMER_MINIMUM, nullptr);
        show();
        ::KillTimer(window_, kScriptTimer);
        EXPECT_TRUE(played_) << "no dialog was shown";
        script_ = nullptr;
    }

private:
    Host() {
        module = ::LoadLibraryA("VYNPACKM.dll");
        if (module == nullptr) throw std::runtime_error("VYNPACKM.dll is not beside the tests");
        getParameters = exported<decltype(getParameters)>(module, "GetParameters");
        getInfo = exported<decltype(getInfo)>(module, "GetInfo");
        saveParameters = exported<decltype(saveParameters)>(module, "SaveParameters");
        restoreParameters = exported<decltype(restoreParameters)>(module, "RestoreParameters");
        destroyBlock = exported<decltype(destroyBlock)>(module, "DestroyBlock");

        WNDCLASSA windowClass{};
        windowClass.lpfnWndProc = receive;
        windowClass.hInstance = ::GetModuleHandleA(nullptr);
        windowClass.lpszClassName = "DialogTestHost";
        ::RegisterClassA(&windowClass);
        window_ = ::CreateWindowA("DialogTestHost", "Host", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                                  800, 700, nullptr, nullptr, windowClass.hInstance, nullptr);
        const auto setInit = exported<Int (*)(Int, Int, Int)>(module, "SetInit");
        setInit(vynhost::kHostWindow, reinterpret_cast<Int>(window_), vynhost::kInterfaceVersion);
    }

    static LRESULT CALLBACK receive(HWND window, UINT message, WPARAM first, LPARAM second) {
        if (message == kShowHelp) {
            if (first == 0 && second == 0) ++instance().helpRequests;
            return 0;
        }
        if (message == WM_TIMER && first == kScriptTimer) {
            instance().tick();
            return 0;
        }
        return ::DefWindowProcA(window, message, first, second);
    }

    void tick() {
        HWND dialog = ::GetLastActivePopup(window_);
        if (script_ == nullptr || dialog == window_ || !::IsWindowVisible(dialog)) return;
        ::KillTimer(window_, kScriptTimer);
        if (std::exchange(played_, true)) return;
        Dialog driver(dialog);
        (*script_)(driver);
        if (!driver.closed()) {
            ADD_FAILURE() << "the script left the dialog open";
            ::EndDialog(dialog, IDCANCEL);
        }
    }

    HWND window_ = nullptr;
    const std::function<void(Dialog&)>* script_ = nullptr;
    bool played_ = false;
};

Host& host() { return Host::instance(); }

}  // namespace

HINSTANCE moduleInstance() { return host().module; }

int takeHelpRequests() { return std::exchange(host().helpRequests, 0); }

Block::Block(int typeCode) : typeCode_(typeCode) {
    handle_ = host().getParameters(0, typeCode, 0, 0);
    if (handle_ == 0) throw std::runtime_error("no block of type " + std::to_string(typeCode));
}

Block::~Block() { host().destroyBlock(0, typeCode_, handle_, 0); }

void Block::dialog(const std::function<void(Dialog&)>& script) const {
    host().play([this] { EXPECT_EQ(host().getParameters(0, typeCode_, handle_, 0), handle_); },
                script);
}

std::string Block::connectors() const {
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    return reinterpret_cast<const char*>(
        host().getInfo(vynhost::kNoContext, typeCode_, vynhost::kConnectors, handle_));
}

Bytes Block::record() const {
    const RecordFile file;
    host().saveParameters(0, typeCode_, handle_, file.handle());
    return file.contents();
}

void Block::restore(const Bytes& bytes) {
    const RecordFile file;
    file.write(bytes);
    file.rewind();
    const std::int64_t restored = host().restoreParameters(0, typeCode_, 0, file.handle());
    host().destroyBlock(0, typeCode_, handle_, 0);
    handle_ = restored;
}

}  // namespace dialog_test
