// Samples without a head: files, and what comes in on standard input.
#include <algorithm>
#include <fstream>
#include <istream>
#include <limits>

#include "vynhost/base/digest.h"
#include "vynhost/base/messages.h"
#include "vynhost/run/platform/standard_input.h"
#include "vynhost/run/recording.h"
#include "vynhost/run/sample_coding.h"

namespace vynhost {
namespace {

class RawRecording : public Recording {
public:
    RawRecording(const std::filesystem::path& file, const RawFormat& format, Truncated truncated)
        : coding_(*format.coding), truncated_(truncated), isStandardInput_(file == "-") {
        channels_ = format.channels;
        rate_ = format.rate;
        if (isStandardInput_) {
            in_ = &platform::standardInput();
            frames_ = kUnknownFrames;
            return;
        }
        file_.open(file, std::ios::binary);
        if (!file_) throw RecordingError(tr("can't be opened"));
        in_ = &file_;
        file_.seekg(format.begin);
        const auto size = static_cast<std::int64_t>(std::filesystem::file_size(file));
        const std::int64_t bytes = std::max<std::int64_t>(0, size - format.begin);
        frames_ = bytes / frameBytes();
        if (format.frames) {  // as a head promises
            if (frames_ < *format.frames) {
                if (truncated_ == Truncated::refuse) {
                    throw RecordingError(truncatedText(*format.frames, frames_));
                }
                missing_ =
                    missingText(*format.frames - frames_, *format.frames, rate_, std::nullopt);
            }
            frames_ = std::min(frames_, *format.frames);
        } else if (bytes % frameBytes() != 0) {
            endWithin(bytes % frameBytes());
        }
        if (frames_ == 0) throw RecordingError(tr("holds no samples"));
    }

    std::size_t read(std::span<float> interleaved) override {
        const auto channels = static_cast<std::size_t>(channels_);
        const std::size_t frames = static_cast<std::size_t>(std::min<std::int64_t>(
            static_cast<std::int64_t>(interleaved.size() / channels), frames_ - position_));
        buffer_.resize(frames * static_cast<std::size_t>(frameBytes()));
        in_->read(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
        const std::int64_t got = in_->gcount();
        if (isStandardInput_) sum_.add(buffer_.data(), static_cast<std::size_t>(got));
        const std::int64_t held = got / frameBytes();
        if (held < static_cast<std::int64_t>(frames)) {
            if (!isStandardInput_) throw RecordingError(tr("can't be read to its end"));
            frames_ = position_ + held;
            if (frames_ == 0) throw RecordingError(tr("holds no samples"));
            if (got % frameBytes() != 0) endWithin(got % frameBytes());
        }
        coding_.decode(buffer_.data(),
                       interleaved.first(static_cast<std::size_t>(held) * channels));
        position_ += held;
        return static_cast<std::size_t>(held);
    }

    // Of the bytes that have come so far.
    std::string digest() override {
        if (isStandardInput_ && digest_.empty()) digest_ = digestText(sum_);
        return digest_;
    }

private:
    std::int64_t frameBytes() const {
        return static_cast<std::int64_t>(coding_.bytes()) * channels_;
    }

    void endWithin(std::int64_t bytes) {
        const std::string rest = std::to_string(bytes);
        const std::string whole = std::to_string(frameBytes());
        if (truncated_ == Truncated::refuse) {
            throw RecordingError(
                tr("ends with %1 of the %2 bytes that its channels take; look at channels and "
                   "format (on_truncated = \"use\" leaves them out)",
                   rest, whole));
        }
        missing_ = both("the last %1 bytes are no whole sample and left out", rest);
    }

    const SampleCoding& coding_;
    Truncated truncated_;
    bool isStandardInput_;
    std::ifstream file_;
    std::istream* in_ = nullptr;
    Sha256 sum_;
    std::string digest_;
    std::int64_t position_ = 0;
    std::vector<char> buffer_;
};

}  // namespace

std::unique_ptr<Recording> openRaw(const std::filesystem::path& file, const RawFormat& format,
                                   Truncated truncated) {
    return std::make_unique<RawRecording>(file, format, truncated);
}

}  // namespace vynhost
