// Recordings: samples read in order, channels interleaved.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "vynhost/base/bilingual.h"
#include "vynhost/run/number_arrays.h"

namespace vynhost {

// A file that is no recording, or ends too early. The text names no file: who opened it knows.
struct RecordingError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

class Recording {
public:
    virtual ~Recording() = default;

    int channels() const noexcept { return channels_; }
    double rate() const noexcept { return rate_; }  // samples per second and channel
    std::int64_t frames() const noexcept { return frames_; }
    double start() const noexcept { return start_; }  // x of the first sample
    // What the file says of a channel, from 0; empty where it says nothing.
    struct Channel {
        std::string name;
        std::string unit;
    };
    Channel channel(std::size_t index) const {
        return index < described_.size() ? described_[index] : Channel{};
    }
    // What of a recording that is used although it is truncated is missing; else empty. Known at
    // its end.
    const Bilingual& missing() const noexcept { return missing_; }

    // Reads as many whole frames as the span holds or the recording has left, and gives their
    // number. Raises RecordingError when the file ends before its head says so.
    virtual std::size_t read(std::span<float> interleaved) = 0;
    // Passes over that many frames, which the recording must have.
    virtual void skip(std::int64_t frames);
    // SHA-256 of what has come, where there is no file to ask.
    virtual std::string digest() { return ""; }

    // What `frames` is until the end has come, where nobody knows.
    static constexpr std::int64_t kUnknownFrames = std::int64_t{1} << 61;

protected:
    int channels_ = 0;
    double rate_ = 0;
    std::int64_t frames_ = 0;
    double start_ = 0;
    std::vector<Channel> described_;
    Bilingual missing_;
};

// What becomes of a recording that ends before its head says so.
enum class Truncated { refuse, use };

// Opens by content and name: WAV, CSV (*.csv, *.tsv, *.txt), NPY, MAT, HDF5 (*.h5, *.hdf5), else
// what the audio library reads. `rate` says that a CSV file has no x column; `choice` is for files
// of several arrays. Integer samples are scaled to full scale = 1. Raises RecordingError, also for
// a truncated recording that is not to be used.
std::unique_ptr<Recording> openRecording(const std::filesystem::path& file,
                                         std::optional<double> rate,
                                         Truncated truncated = Truncated::refuse,
                                         const ArrayChoice& choice = {});

struct SampleCoding;

// Samples without a head, channels interleaved.
struct RawFormat {
    const SampleCoding* coding = nullptr;
    int channels = 1;
    double rate = 0;
    std::int64_t begin = 0;                   // of the samples, in bytes
    std::optional<std::int64_t> frames = {};  // where something says how many there should be
};
// "-" is standard input, whose end nobody knows before it comes.
std::unique_ptr<Recording> openRaw(const std::filesystem::path& file, const RawFormat& format,
                                   Truncated truncated);

// Zeros.
std::unique_ptr<Recording> silence(int channels, double rate, std::int64_t frames);

// The readers behind it.
std::unique_ptr<Recording> openWav(const std::filesystem::path& file,
                                   Truncated truncated = Truncated::refuse);
std::unique_ptr<Recording> openCsv(const std::filesystem::path& file, std::optional<double> rate);
// An array of numpy: rows of samples with the rate, or records whose first field is their x.
std::unique_ptr<Recording> openNpy(const std::filesystem::path& file, std::optional<double> rate,
                                   Truncated truncated);
// One array of a MAT-file of version 5 to 7. The rate is the given one, or the file's: a single
// number called rate or fs, or an x that rises evenly.
std::unique_ptr<Recording> openMat(const std::filesystem::path& file, std::optional<double> rate,
                                   const ArrayChoice& choice);
// The same of an HDF5 file, also of a MAT-file of version 7.3; a rate may be an attribute. Defined
// per system; raises RecordingError where there is no library for it.
std::unique_ptr<Recording> openHdf5(const std::filesystem::path& file, std::optional<double> rate,
                                    const ArrayChoice& choice);
// Defined per system; raises RecordingError where there is no audio library.
std::unique_ptr<Recording> openOtherAudio(const std::filesystem::path& file, Truncated truncated);

// "name [unit]", or a name alone.
Recording::Channel channelNamed(std::string_view head);
// Samples per second of an x that rises evenly; raises RecordingError for any other.
double rateOfEvenX(std::span<const double> x);
// Raises RecordingError for what no file says (0), or what is no rate.
void requireRate(double rate);

// The text of `missing` for `bytes` (none: nobody knows) and samples per channel behind the end.
Bilingual missingText(std::int64_t samples, std::int64_t promised, double rate,
                      std::optional<std::int64_t> bytes);
// What to say instead of using it.
std::string truncatedText(std::int64_t promised, std::int64_t held);

}  // namespace vynhost
