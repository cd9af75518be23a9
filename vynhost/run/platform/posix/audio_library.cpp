#include "vynhost/run/platform/audio_library.h"

#include <sndfile.h>

namespace vynhost::platform {
namespace {

static_assert(sizeof(AudioInfo) == sizeof(SF_INFO));

void* open(const std::filesystem::path& file, AudioInfo& info) {
    SF_INFO found{};
    SNDFILE* opened = ::sf_open(file.c_str(), SFM_READ, &found);
    info = {found.frames, found.samplerate, found.channels,
            found.format, found.sections,   found.seekable};
    return opened;
}

std::int64_t readFrames(void* file, float* samples, std::int64_t frames) {
    return ::sf_readf_float(static_cast<SNDFILE*>(file), samples, frames);
}

std::int64_t skipFrames(void* file, std::int64_t frames) {
    return ::sf_seek(static_cast<SNDFILE*>(file), frames, SEEK_CUR);
}

int close(void* file) { return ::sf_close(static_cast<SNDFILE*>(file)); }

}  // namespace

const AudioLibrary& audioLibrary() {
    static constexpr AudioLibrary kLibrary = {&open, &readFrames, &skipFrames, &close};
    return kLibrary;
}

}  // namespace vynhost::platform
