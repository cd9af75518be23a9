#include "vynhost/run/platform/audio_library.h"

#include <array>
#include <string>

#include "vynhost/base/messages.h"
#include "vynhost/interface/platform/system.h"
#include "vynhost/run/recording.h"

namespace vynhost::platform {
namespace {

// As its makers and packagers call it.
constexpr std::array<const char*, 3> kNames = {"sndfile.dll", "libsndfile-1.dll", "libsndfile.dll"};

constexpr int kForReading = 0x10;
constexpr int kFromHere = 1;

// The library's own functions (sndfile.h, unchanged since version 1.0.21).
struct Functions {
    void* (*open)(const wchar_t* path, int mode, AudioInfo* info) = nullptr;
    std::int64_t (*readFrames)(void* file, float* samples, std::int64_t frames) = nullptr;
    std::int64_t (*seek)(void* file, std::int64_t frames, int whence) = nullptr;
    int (*close)(void* file) = nullptr;
};

template <class Function>
void find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(findFunction(library, name));
    if (function == nullptr) {
        throw RecordingError(
            tr("is no WAV file, and the library for audio files beside the program has no function "
               "%1",
               name));
    }
}

// Beside the program alone: what lies elsewhere was not put there for it.
Functions loaded() {
    for (const char* name : kNames) {
        const std::filesystem::path file = programFolder() / name;
        std::error_code error;
        if (!std::filesystem::is_regular_file(file, error)) continue;
        std::string why;
        void* library = loadLibrary(file, why);
        if (library == nullptr) {
            throw RecordingError(
                tr("is no WAV file, and %1 beside the program does not load: %2", name, why));
        }
        Functions functions;
        find(library, "sf_wchar_open", functions.open);
        find(library, "sf_readf_float", functions.readFrames);
        find(library, "sf_seek", functions.seek);
        find(library, "sf_close", functions.close);
        return functions;
    }
    throw RecordingError(
        tr("is read by libsndfile (FLAC, OGG, AIFF, CAF, W64), which is not there: sndfile.dll "
           "belongs beside vynhost.exe"));
}

const Functions& functions() {
    static const Functions found = loaded();
    return found;
}

void* open(const std::filesystem::path& file, AudioInfo& info) {
    return functions().open(file.c_str(), kForReading, &info);
}

std::int64_t readFrames(void* file, float* samples, std::int64_t frames) {
    return functions().readFrames(file, samples, frames);
}

std::int64_t skipFrames(void* file, std::int64_t frames) {
    return functions().seek(file, frames, kFromHere);
}

int close(void* file) { return functions().close(file); }

}  // namespace

const AudioLibrary& audioLibrary() {
    functions();
    static constexpr AudioLibrary kLibrary = {&open, &readFrames, &skipFrames, &close};
    return kLibrary;
}

}  // namespace vynhost::platform
