// What the library for audio files reads.
#include <algorithm>

#include "vynhost/base/messages.h"
#include "vynhost/run/platform/audio_library.h"
#include "vynhost/run/recording.h"

namespace vynhost {
namespace {

class AudioRecording : public Recording {
public:
    AudioRecording(const std::filesystem::path& file, Truncated truncated)
        : file_(library_.open(file, info_), library_.close), truncated_(truncated) {
        if (!file_) throw RecordingError(tr("is no recording that can be read here"));
        channels_ = info_.channels;
        rate_ = info_.rate;
        frames_ = info_.frames;
    }

    std::size_t read(std::span<float> interleaved) override {
        const std::int64_t wanted = std::min(
            static_cast<std::int64_t>(interleaved.size()) / channels_, frames_ - position_);
        const std::int64_t got = library_.readFrames(file_.get(), interleaved.data(), wanted);
        if (got != wanted) {
            const std::int64_t held = position_ + got;
            if (truncated_ == Truncated::refuse) throw RecordingError(truncatedText(frames_, held));
            missing_ = missingText(frames_ - held, frames_, rate_, std::nullopt);
            frames_ = held;
        }
        position_ += got;
        return static_cast<std::size_t>(got);
    }

    void skip(std::int64_t frames) override {
        if (library_.skipFrames(file_.get(), frames) < 0) {
            Recording::skip(frames);
        } else {
            position_ += frames;
        }
    }

private:
    const platform::AudioLibrary& library_ = platform::audioLibrary();
    platform::AudioInfo info_{};
    std::unique_ptr<void, int (*)(void*)> file_;
    Truncated truncated_;
    std::int64_t position_ = 0;
};

}  // namespace

std::unique_ptr<Recording> openOtherAudio(const std::filesystem::path& file, Truncated truncated) {
    return std::make_unique<AudioRecording>(file, truncated);
}

}  // namespace vynhost
