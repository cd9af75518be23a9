#include <sndfile.h>

#include <algorithm>

#include "vynhost/base/messages.h"
#include "vynhost/run/recording.h"

namespace vynhost {
namespace {

class AudioRecording : public Recording {
public:
    AudioRecording(const std::filesystem::path& file, Truncated truncated)
        : file_(::sf_open(file.c_str(), SFM_READ, &info_), &::sf_close), truncated_(truncated) {
        if (!file_) throw RecordingError(tr("is no recording that can be read here"));
        channels_ = info_.channels;
        rate_ = info_.samplerate;
        frames_ = info_.frames;
    }

    std::size_t read(std::span<float> interleaved) override {
        const auto wanted = std::min<sf_count_t>(
            static_cast<sf_count_t>(interleaved.size()) / channels_, frames_ - position_);
        const sf_count_t got = ::sf_readf_float(file_.get(), interleaved.data(), wanted);
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
        if (::sf_seek(file_.get(), frames, SEEK_CUR) < 0) {
            Recording::skip(frames);
        }
        position_ += frames;
    }

private:
    SF_INFO info_{};
    std::unique_ptr<SNDFILE, int (*)(SNDFILE*)> file_;
    Truncated truncated_;
    sf_count_t position_ = 0;
};

}  // namespace

std::unique_ptr<Recording> openOtherAudio(const std::filesystem::path& file, Truncated truncated) {
    return std::make_unique<AudioRecording>(file, truncated);
}

}  // namespace vynhost
