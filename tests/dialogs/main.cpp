// dialog_tests [GoogleTest's options]
// dialog_tests --pictures FOLDER   writes a picture of every dialog instead
#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "dialogs/pictures.h"

namespace {

// Wine leaves the frames of windows to a window manager and waits two seconds for it at every
// dialog when there is none, as on a bare X server. Here it draws them itself.
void drawOwnFrames() {
    if (::GetProcAddress(::GetModuleHandleA("ntdll.dll"), "wine_get_version") == nullptr) return;
    ::RegSetKeyValueA(HKEY_CURRENT_USER, "Software\\Wine\\X11 Driver", "Managed", REG_SZ, "N", 2);
}

}  // namespace

int main(int count, char** arguments) {
    drawOwnFrames();
    testing::InitGoogleTest(&count, arguments);
    if (count == 3 && std::string(arguments[1]) == "--pictures") {
        ::SetProcessDPIAware();  // drawn at the screen's resolution, as in a host that says so
        dialog_test::writePictures(arguments[2]);
        return 0;
    }
    return RUN_ALL_TESTS();
}
