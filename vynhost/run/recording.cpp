#include "vynhost/run/recording.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include "vynhost/base/text.h"

namespace vynhost {
namespace {

constexpr int kMostChannels = 1024;  // no file may claim more

// --- WAV ------------------------------------------------------------------------------------

enum Coding { kPcm = 1, kFloat = 3, kExtensible = 0xFFFE };

template <class Number>
Number littleEndian(const char* bytes) {
    Number number{};
    std::memcpy(&number, bytes, sizeof number);
    return number;
}

// One sample, full scale = 1.
float sampleOf(const char* bytes, int coding, int bits) {
    switch (coding == kFloat ? -bits : bits) {
        case 8: return (static_cast<float>(static_cast<unsigned char>(*bytes)) - 128.0F) / 128.0F;
        case 16: return static_cast<float>(littleEndian<std::int16_t>(bytes)) / 32768.0F;
        case 24: {
            std::int32_t sample = 0;
            std::memcpy(reinterpret_cast<char*>(&sample) + 1, bytes, 3);
            return static_cast<float>(sample / 256) / 8388608.0F;
        }
        case 32:
            return static_cast<float>(static_cast<double>(littleEndian<std::int32_t>(bytes)) /
                                      2147483648.0);
        case -32: return littleEndian<float>(bytes);
        default: return static_cast<float>(littleEndian<double>(bytes));
    }
}

class WavRecording : public Recording {
public:
    explicit WavRecording(const std::filesystem::path& file) : in_(file, std::ios::binary) {
        if (!in_) throw RecordingError("can't be opened");
        std::error_code error;
        size_ = static_cast<std::int64_t>(std::filesystem::file_size(file, error));
        readHead();
    }

    std::size_t read(std::span<float> interleaved) override {
        const auto channels = static_cast<std::size_t>(channels_);
        const auto left = static_cast<std::size_t>(frames_ - position_);
        const std::size_t frames = std::min(interleaved.size() / channels, left);
        const std::size_t bytes = static_cast<std::size_t>(bits_) / 8;
        buffer_.resize(frames * channels * bytes);
        in_.read(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
        if (static_cast<std::size_t>(in_.gcount()) != buffer_.size()) {
            throw RecordingError("can't be read to its end");
        }
        for (std::size_t i = 0; i < frames * channels; ++i) {
            interleaved[i] = sampleOf(&buffer_[i * bytes], coding_, bits_);
        }
        position_ += static_cast<std::int64_t>(frames);
        return frames;
    }

private:
    struct Chunk {
        std::string name;
        std::int64_t bytes;
    };

    std::optional<Chunk> nextChunk() {
        std::array<char, 8> head{};
        in_.read(head.data(), head.size());
        if (in_.gcount() != static_cast<std::streamsize>(head.size())) return std::nullopt;
        return Chunk{std::string(head.data(), 4), littleEndian<std::uint32_t>(&head[4])};
    }

    void readHead() {
        std::array<char, 12> riff{};
        in_.read(riff.data(), riff.size());
        const std::string_view kind(riff.data(), 4);
        if (in_.gcount() != static_cast<std::streamsize>(riff.size()) ||
            (kind != "RIFF" && kind != "RF64") || std::string_view(&riff[8], 4) != "WAVE") {
            throw RecordingError("is no WAV file");
        }
        std::int64_t longDataBytes = -1;
        while (const auto chunk = nextChunk()) {
            const std::int64_t start = in_.tellg();
            if (chunk->name == "ds64") {
                longDataBytes = readLongSizes();
            } else if (chunk->name == "fmt ") {
                readFormat(chunk->bytes);
            } else if (chunk->name == "data") {
                const bool isLong = kind == "RF64" && chunk->bytes == 0xFFFFFFFF;
                beginData(start, isLong ? longDataBytes : chunk->bytes);
                return;
            }
            in_.seekg(start + chunk->bytes + chunk->bytes % 2);
        }
        throw RecordingError("holds no samples");
    }

    std::int64_t readLongSizes() {
        std::array<char, 24> sizes{};
        in_.read(sizes.data(), sizes.size());
        return littleEndian<std::int64_t>(&sizes[8]);
    }

    void readFormat(std::int64_t bytes) {
        std::array<char, 40> format{};
        in_.read(format.data(), std::min<std::int64_t>(bytes, format.size()));
        if (in_.gcount() < 16) throw RecordingError("has a damaged head");
        coding_ = littleEndian<std::uint16_t>(&format[0]);
        channels_ = littleEndian<std::uint16_t>(&format[2]);
        rate_ = littleEndian<std::uint32_t>(&format[4]);
        bits_ = littleEndian<std::uint16_t>(&format[14]);
        if (coding_ == kExtensible) coding_ = littleEndian<std::uint16_t>(&format[24]);
        const bool pcm =
            coding_ == kPcm && (bits_ == 8 || bits_ == 16 || bits_ == 24 || bits_ == 32);
        const bool real = coding_ == kFloat && (bits_ == 32 || bits_ == 64);
        if (!pcm && !real) {
            throw RecordingError("has a coding that is not read here (format " +
                                 std::to_string(coding_) + ", " + std::to_string(bits_) + " bits)");
        }
        if (channels_ < 1 || channels_ > kMostChannels || rate_ <= 0) {
            throw RecordingError("has a damaged head");
        }
    }

    void beginData(std::int64_t start, std::int64_t bytes) {
        if (channels_ == 0) throw RecordingError("has a damaged head");
        const std::int64_t frameBytes = std::int64_t{bits_} / 8 * channels_;
        frames_ = bytes / frameBytes;
        const std::int64_t held = (size_ - start) / frameBytes;
        if (bytes < 0 || held < frames_) {
            throw RecordingError("is truncated: its head promises " + std::to_string(frames_) +
                                 " samples per channel, the file holds " + std::to_string(held));
        }
    }

    std::ifstream in_;
    std::int64_t size_ = 0;
    std::int64_t position_ = 0;
    int coding_ = 0;
    int bits_ = 0;
    std::vector<char> buffer_;
};

// --- CSV ------------------------------------------------------------------------------------

// Separators: a tab or semicolon where the first line has one, else the comma; with semicolons
// and tabs a comma in a number is its decimal sign.
class CsvRecording : public Recording {
public:
    CsvRecording(const std::filesystem::path& file, std::optional<double> rate) {
        std::ifstream in(file, std::ios::binary);
        if (!in) throw RecordingError("can't be opened");
        std::vector<double> x;
        std::string line;
        for (int number = 1; std::getline(in, line); ++number) {
            if (number == 1 && line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);
            if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
            if (separator_ == '\0') chooseSeparator(line);
            takeRow(line, number, rate.has_value(), x);
        }
        if (channels_ == 0 || values_.empty()) throw RecordingError("holds no numbers");
        frames_ = static_cast<std::int64_t>(values_.size()) / channels_;
        rate_ = rate ? *rate : rateOf(x);
        if (!x.empty()) start_ = x.front();
    }

    std::size_t read(std::span<float> interleaved) override {
        const auto channels = static_cast<std::size_t>(channels_);
        const std::size_t count =
            std::min(interleaved.size() / channels * channels, values_.size() - position_);
        std::copy_n(values_.begin() + static_cast<std::ptrdiff_t>(position_), count,
                    interleaved.begin());
        position_ += count;
        return count / channels;
    }

private:
    void chooseSeparator(const std::string& line) {
        separator_ = line.find('\t') != std::string::npos  ? '\t'
                     : line.find(';') != std::string::npos ? ';'
                                                           : ',';
    }

    void takeRow(std::string line, int number, bool allChannels, std::vector<double>& x) {
        if (separator_ != ',') std::replace(line.begin(), line.end(), ',', '.');
        std::vector<double> row;
        std::size_t begin = 0;
        while (begin <= line.size()) {
            const std::size_t end = std::min(line.find(separator_, begin), line.size());
            const auto value = toNumber(std::string_view(line).substr(begin, end - begin));
            if (!value) {
                if (values_.empty() && !headSeen_) {
                    headSeen_ = true;
                    return;
                }
                throw RecordingError("line " + std::to_string(number) + ": \"" +
                                     onOneLine(line.substr(begin, end - begin)) +
                                     "\" is no number");
            }
            row.push_back(*value);
            begin = end + 1;
        }
        const auto columns = static_cast<int>(row.size()) - (allChannels ? 0 : 1);
        if (channels_ == 0) channels_ = columns;
        if (columns < 1 || columns != channels_ || columns > kMostChannels) {
            throw RecordingError("line " + std::to_string(number) + ": " +
                                 std::to_string(row.size()) + " columns are not as expected");
        }
        if (!allChannels) x.push_back(row.front());
        for (auto value = row.end() - columns; value != row.end(); ++value) {
            values_.push_back(static_cast<float>(*value));
        }
    }

    static double rateOf(const std::vector<double>& x) {
        constexpr double kUneven = 1e-3;  // of the step
        if (x.size() < 2) throw RecordingError("has too few rows to tell the sample rate");
        const double step = (x.back() - x.front()) / static_cast<double>(x.size() - 1);
        for (std::size_t i = 0; i < x.size(); ++i) {
            const double even = x.front() + static_cast<double>(i) * step;
            if (!(step > 0) || !(std::abs(x[i] - even) <= kUneven * step)) {
                throw RecordingError("has no evenly rising x column (give rate when it has none)");
            }
        }
        return 1.0 / step;
    }

    char separator_ = '\0';
    bool headSeen_ = false;
    std::vector<float> values_;
    std::size_t position_ = 0;
};

class Silence : public Recording {
public:
    Silence(int channels, double rate, std::int64_t frames) {
        channels_ = channels;
        rate_ = rate;
        frames_ = frames;
    }
    std::size_t read(std::span<float> interleaved) override {
        const auto room = static_cast<std::int64_t>(interleaved.size()) / channels_;
        const std::int64_t count = std::min(room, frames_ - position_);
        position_ += count;
        std::ranges::fill(interleaved, 0.0F);
        return static_cast<std::size_t>(count);
    }

private:
    std::int64_t position_ = 0;
};

bool isWav(const std::filesystem::path& file) {
    std::array<char, 4> head{};
    std::ifstream(file, std::ios::binary).read(head.data(), head.size());
    const std::string_view kind(head.data(), head.size());
    return kind == "RIFF" || kind == "RF64";
}

}  // namespace

std::unique_ptr<Recording> silence(int channels, double rate, std::int64_t frames) {
    return std::make_unique<Silence>(channels, rate, frames);
}

std::unique_ptr<Recording> openWav(const std::filesystem::path& file) {
    return std::make_unique<WavRecording>(file);
}

std::unique_ptr<Recording> openCsv(const std::filesystem::path& file, std::optional<double> rate) {
    return std::make_unique<CsvRecording>(file, rate);
}

std::unique_ptr<Recording> openRecording(const std::filesystem::path& file,
                                         std::optional<double> rate) {
    if (!std::filesystem::is_regular_file(file)) throw RecordingError("no such file");
    const std::string ending = file.extension().string();
    if (isWav(file) || equalIgnoringCase(ending, ".wav")) return openWav(file);
    for (const char* table : {".csv", ".tsv", ".txt"}) {
        if (equalIgnoringCase(ending, table)) return openCsv(file, rate);
    }
    return openOtherAudio(file);
}

}  // namespace vynhost
