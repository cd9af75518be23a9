// libsndfile: linked natively; on Windows loaded from beside the program, where somebody has put
// it.
#pragma once

#include <cstdint>
#include <filesystem>

namespace vynhost::platform {

// As its SF_INFO.
struct AudioInfo {
    std::int64_t frames;
    int rate;
    int channels;
    int format;
    int sections;
    int isSeekable;
};

struct AudioLibrary {
    void* (*open)(const std::filesystem::path& file, AudioInfo& info);  // for reading; null: can't
    std::int64_t (*readFrames)(void* file, float* samples, std::int64_t frames);
    std::int64_t (*skipFrames)(void* file, std::int64_t frames);  // negative: can't
    int (*close)(void* file);
};

// Raises RecordingError where there is none, or one that lacks a function.
const AudioLibrary& audioLibrary();

}  // namespace vynhost::platform
