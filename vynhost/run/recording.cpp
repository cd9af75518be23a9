#include "vynhost/run/recording.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include "vynhost/base/limits.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/run/sample_coding.h"

namespace vynhost {
namespace {

constexpr const char* kUseHint =
    words(" (on_truncated = \"use\" of the source takes what is there)");

// --- WAV ------------------------------------------------------------------------------------

constexpr std::size_t kRiffHead = 8;           // bytes before those that it counts
constexpr std::int64_t kUnknown = 0xFFFFFFFF;  // a size that is told elsewhere, or by nobody

constexpr int kExtensible = 0xFFFE;

class WavRecording : public Recording {
public:
    WavRecording(const std::filesystem::path& file, Truncated truncated)
        : in_(file, std::ios::binary), truncated_(truncated) {
        if (!in_) throw RecordingError(tr("can't be opened"));
        std::error_code error;
        size_ = static_cast<std::int64_t>(std::filesystem::file_size(file, error));
        readHead();
    }

    std::size_t read(std::span<float> interleaved) override {
        const auto channels = static_cast<std::size_t>(channels_);
        const auto left = static_cast<std::size_t>(frames_ - position_);
        const std::size_t frames = std::min(interleaved.size() / channels, left);
        buffer_.resize(frames * frameBytes());
        in_.read(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
        if (static_cast<std::size_t>(in_.gcount()) != buffer_.size()) {
            throw RecordingError(tr("can't be read to its end"));
        }
        coding_->decode(buffer_.data(), interleaved.first(frames * channels));
        position_ += static_cast<std::int64_t>(frames);
        return frames;
    }

    void skip(std::int64_t frames) override {
        in_.seekg(frames * static_cast<std::int64_t>(frameBytes()), std::ios::cur);
        position_ += frames;
    }

private:
    std::size_t frameBytes() const {
        return coding_->bytes() * static_cast<std::size_t>(channels_);
    }

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
            throw RecordingError(tr("is no WAV file"));
        }
        std::int64_t longDataBytes = -1;
        while (const auto chunk = nextChunk()) {
            const std::int64_t start = in_.tellg();
            if (chunk->name == "ds64") {
                longDataBytes = readLongSizes();
            } else if (chunk->name == "fmt ") {
                readFormat(chunk->bytes);
            } else if (chunk->name == "data") {
                const bool isLong = kind == "RF64" && chunk->bytes == kUnknown;
                const std::int64_t riffBytes = littleEndian<std::uint32_t>(&riff[4]);
                beginData(start, isLong ? longDataBytes : chunk->bytes,
                          riffBytes + std::int64_t{kRiffHead} > start);
                return;
            }
            in_.seekg(start + chunk->bytes + chunk->bytes % 2);
        }
        throw RecordingError(tr("holds no samples"));
    }

    std::int64_t readLongSizes() {
        std::array<char, 24> sizes{};
        in_.read(sizes.data(), sizes.size());
        return littleEndian<std::int64_t>(&sizes[8]);
    }

    void readFormat(std::int64_t bytes) {
        std::array<char, 40> format{};
        in_.read(format.data(), std::min<std::int64_t>(bytes, format.size()));
        if (in_.gcount() < 16) throw RecordingError(tr("has a damaged head"));
        int number = littleEndian<std::uint16_t>(&format[0]);
        channels_ = littleEndian<std::uint16_t>(&format[2]);
        rate_ = littleEndian<std::uint32_t>(&format[4]);
        const int bits = littleEndian<std::uint16_t>(&format[14]);
        if (number == kExtensible) number = littleEndian<std::uint16_t>(&format[24]);
        const auto known = std::ranges::find_if(sampleCodings(), [&](const SampleCoding& coding) {
            return coding.wavFormat == number && coding.bits == bits;
        });
        if (known == sampleCodings().end()) {
            throw RecordingError(
                tr("has a coding that is not read here (format %1, %2 bits)", number, bits));
        }
        coding_ = &*known;
        if (channels_ < 1 || channels_ > static_cast<int>(kMostChannels) || rate_ <= 0) {
            throw RecordingError(tr("has a damaged head"));
        }
    }

    // A recorder that was cut off may have left a head that knows of no end: sizes of 0, or the
    // largest ones.
    void beginData(std::int64_t start, std::int64_t bytes, bool headGoesOn) {
        if (channels_ == 0) throw RecordingError(tr("has a damaged head"));
        const auto frameBytes = static_cast<std::int64_t>(this->frameBytes());
        const std::int64_t held = size_ - start;
        const bool endIsUnknown =
            bytes < 0 || bytes == kUnknown || (bytes == 0 && held > 0 && !headGoesOn);
        frames_ = endIsUnknown ? held / frameBytes : bytes / frameBytes;
        const bool isShort = held / frameBytes < frames_;
        if ((endIsUnknown || isShort) && truncated_ == Truncated::refuse) {
            throw RecordingError(endIsUnknown
                                     ? tr("is truncated: its head does not say where it ends") +
                                           tr(kUseHint)
                                     : truncatedText(frames_, held / frameBytes));
        }
        if (endIsUnknown) {
            missing_ = both("its head does not say where it ends");
        } else if (isShort) {
            const std::int64_t promised = std::exchange(frames_, held / frameBytes);
            missing_ = missingText(promised - frames_, promised, rate_, bytes - held);
        }
        if (frames_ == 0) throw RecordingError(tr("holds no samples"));
    }

    std::ifstream in_;
    Truncated truncated_;
    std::int64_t size_ = 0;
    std::int64_t position_ = 0;
    const SampleCoding* coding_ = nullptr;
    std::vector<char> buffer_;
};

// --- CSV ------------------------------------------------------------------------------------

// Fields of one line; in quotes a separator belongs to the field, two quotes stand for one.
std::vector<std::string> fieldsOf(std::string_view line, char separator) {
    std::vector<std::string> fields(1);
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (quoted) {
            if (c != '"') {
                fields.back() += c;
            } else if (i + 1 < line.size() && line[i + 1] == '"') {
                fields.back() += line[++i];
            } else {
                quoted = false;
            }
        } else if (c == '"' && fields.back().find_first_not_of(" \t") == std::string::npos) {
            fields.back().clear();
            quoted = true;
        } else if (c == separator) {
            fields.emplace_back();
        } else if (c != '\r') {
            fields.back() += c;
        }
    }
    return fields;
}

bool isBlank(std::string_view text) {
    return text.find_first_not_of(" \t\r") == std::string_view::npos;
}

std::string trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return "";
    return std::string(text.substr(first, text.find_last_not_of(" \t\r") - first + 1));
}

// "Pa", "[Pa]" or "(Pa)"; a dash says that there is none.
std::string unitIn(std::string_view head) {
    std::string text = onOneLine(trimmed(head));
    const bool square = text.starts_with('[') && text.ends_with(']');
    const bool round = text.starts_with('(') && text.ends_with(')');
    if (square || round) text = trimmed(std::string_view(text).substr(1, text.size() - 2));
    return text == "-" ? "" : text;
}

// Groups of three digits behind a first one to three: 1.234.567 or, with a comma, 1,234,567. Taken
// as such only where nothing else can be meant: two groups, or a decimal sign behind.
std::string withoutThousands(std::string text, char thousands, char decimal) {
    const std::size_t end = std::min(text.find(decimal), text.size());
    std::size_t groups = 0;
    std::size_t digits = 0;
    bool first = true;
    for (std::size_t i = text.find_first_not_of("+- \t"); i < end; ++i) {
        if (text[i] >= '0' && text[i] <= '9') {
            ++digits;
        } else if (text[i] == thousands && (first ? digits >= 1 && digits <= 3 : digits == 3)) {
            first = false;
            digits = 0;
            ++groups;
        } else {
            return text;
        }
    }
    if (groups == 0 || digits != 3 || (groups == 1 && end == text.size())) return text;
    text.erase(
        std::remove(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), thousands),
        text.begin() + static_cast<std::ptrdiff_t>(end));
    return text;
}

// Seconds of a time of day (12:34:56.7), or of a date with one (2026-03-01 12:34:56, with T between
// or as 01.03.2026) since the first
// day began, so that short steps are not lost beside many days; nothing for anything else. Without
// leap seconds or time zones.
std::optional<double> stampOf(std::string_view text, std::optional<double>& firstDay) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return std::nullopt;
    const std::string stamp(text.substr(first, text.find_last_not_of(" \t") - first + 1));
    const std::size_t colon = stamp.find(':');
    if (colon == std::string::npos || colon == 0) return std::nullopt;
    const std::size_t gap = stamp.find_last_of(" T", colon);
    double days = 0;
    if (gap != std::string::npos) {
        int year = 0;
        unsigned month = 0;
        unsigned day = 0;
        int used = 0;
        const std::string date = stamp.substr(0, gap);
        const int length = static_cast<int>(date.size());
        const bool iso =
            std::sscanf(date.c_str(), "%4d-%2u-%2u%n", &year, &month, &day, &used) == 3 &&
            used == length;
        const bool german =
            !iso && std::sscanf(date.c_str(), "%2u.%2u.%4d%n", &day, &month, &year, &used) == 3 &&
            used == length;
        const std::chrono::year_month_day given{std::chrono::year(year), std::chrono::month(month),
                                                std::chrono::day(day)};
        if ((!iso && !german) || !given.ok()) return std::nullopt;
        days = static_cast<double>(std::chrono::sys_days(given).time_since_epoch().count());
    }
    std::string time = stamp.substr(gap == std::string::npos ? 0 : gap + 1);
    std::replace(time.begin(), time.end(), ',', '.');
    std::array<double, 3> parts{};  // hours, minutes, seconds
    std::size_t count = 0;
    std::size_t begin = 0;
    while (begin <= time.size()) {
        const std::size_t end = std::min(time.find(':', begin), time.size());
        const auto part = toNumber(std::string_view(time).substr(begin, end - begin));
        if (!part || count == parts.size() || *part < 0) return std::nullopt;
        parts[count++] = *part;
        begin = end + 1;
    }
    if (parts[1] >= 60 || parts[2] >= 61) return std::nullopt;
    if (!firstDay) firstDay = days;
    return (days - *firstDay) * 86400 + parts[0] * 3600 + parts[1] * 60 + parts[2];
}

// Separators: a tab or semicolon where the first line has one, else the comma; with semicolons
// and tabs a comma in a number is its decimal sign and points may part thousands. Lines that begin
// with # are comments. Above the numbers there may be rows without any: the channels' names, then
// their units, if those do not stand behind the names in brackets. An empty cell is no number
// (NaN).
class CsvRecording : public Recording {
public:
    CsvRecording(const std::filesystem::path& file, std::optional<double> rate) {
        std::ifstream in(file, std::ios::binary);
        if (!in) throw RecordingError(tr("can't be opened"));
        std::vector<double> x;
        std::string line;
        for (int number = 1; std::getline(in, line); ++number) {
            if (number == 1 && line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);
            if (isBlank(line) || line[line.find_first_not_of(" \t")] == '#') continue;
            if (separator_ == '\0') chooseSeparator(line);
            takeRow(line, number, rate.has_value(), x);
        }
        if (channels_ == 0 || values_.empty()) throw RecordingError(tr("holds no numbers"));
        describe(rate.has_value());
        frames_ = static_cast<std::int64_t>(values_.size()) / channels_;
        if (stamped_ && !x.empty()) {  // from the first stamp on, which has no zero of its own
            const double first = x.front();
            for (double& moment : x)
                moment -= first;
        }
        rate_ = rate ? *rate : rateOfEvenX(x);
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
    // In quotes they part nothing.
    void chooseSeparator(std::string_view line) {
        std::string open;
        bool quoted = false;
        for (const char c : line) {
            if (c == '"') quoted = !quoted;
            if (!quoted) open += c;
        }
        separator_ = open.find('\t') != std::string::npos  ? '\t'
                     : open.find(';') != std::string::npos ? ';'
                                                           : ',';
    }

    // The heads of as many columns as the values have: names first, then units.
    void describe(bool allChannels) {
        std::erase_if(heads_, [&](const std::vector<std::string>& head) {
            return static_cast<int>(head.size()) != channels_ + (allChannels ? 0 : 1);
        });
        if (heads_.empty()) return;
        for (std::size_t i = allChannels ? 0 : 1; i < heads_.front().size(); ++i) {
            described_.push_back(channelNamed(heads_.front()[i]));
            if (heads_.size() > 1 && described_.back().unit.empty()) {
                described_.back().unit = unitIn(heads_[1][i]);
            }
        }
    }

    void takeRow(const std::string& line, int number, bool allChannels, std::vector<double>& x) {
        const std::vector<std::string> fields = fieldsOf(line, separator_);
        const auto place = [&](std::size_t field) {
            return tr("line %1, column %2: \"%3\"", number, field + 1, onOneLine(fields[field]));
        };
        std::vector<std::optional<double>> row;
        for (std::size_t i = 0; i < fields.size(); ++i)
            row.push_back(valueOf(fields[i], i == 0 && !allChannels));
        // A head has no number in it; one bad cell among numbers is a mistake, in the first row
        // too.
        const bool hasNumber = std::ranges::any_of(
            row, [](const auto& value) { return value.has_value() && !std::isnan(*value); });
        if (values_.empty() && !hasNumber) {
            if (heads_.size() < kMostHeads) heads_.push_back(fields);
            return;
        }
        const auto columns = static_cast<int>(row.size()) - (allChannels ? 0 : 1);
        if (channels_ == 0) channels_ = columns;
        if (columns < 1 || columns != channels_ || columns > static_cast<int>(kMostChannels)) {
            throw RecordingError(tr("line %1: %2 columns are not as expected", number, row.size()));
        }
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (!row[i]) throw RecordingError(tr("%1 is no number", place(i)));
            const bool isX = i == 0 && !allChannels;
            if (isX) {
                x.push_back(*row[i]);
                continue;
            }
            const auto value = static_cast<float>(*row[i]);
            if (std::isinf(value) && !std::isinf(*row[i])) {
                throw RecordingError(tr("%1 is beyond the largest number (3.4e38)", place(i)));
            }
            values_.push_back(value);
        }
    }

    // An empty cell is NaN: a gap, which every block shows.
    std::optional<double> valueOf(const std::string& field, bool isX) {
        if (isX) {
            if (const auto moment = stampOf(field, firstDay_)) {
                stamped_ = true;
                return moment;
            }
        } else if (isBlank(field)) {
            return std::numeric_limits<double>::quiet_NaN();
        }
        if (separator_ == ',') return toNumber(withoutThousands(field, ',', '.'));
        const bool comma = field.find(',') != std::string::npos;
        std::string text =
            comma || std::ranges::count(field, '.') > 1 ? withoutThousands(field, '.', ',') : field;
        std::replace(text.begin(), text.end(), ',', '.');
        return toNumber(text);
    }

    static constexpr std::size_t kMostHeads = 100;

    char separator_ = '\0';
    std::vector<std::vector<std::string>> heads_;
    bool stamped_ = false;
    std::optional<double> firstDay_;
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

bool beginsWith(const std::filesystem::path& file, std::string_view kind, int at = 0) {
    std::string head(kind.size(), '\0');
    std::ifstream(file, std::ios::binary)
        .seekg(at)
        .read(head.data(), static_cast<std::streamsize>(head.size()));
    return head == kind;
}

bool isWav(const std::filesystem::path& file) {
    return beginsWith(file, "RIFF") || beginsWith(file, "RF64");
}

bool isHdf5(const std::filesystem::path& file) {
    constexpr int kBehindMatHead = 512;
    constexpr const char* kBegin = "\x89HDF\r\n\x1a\n";
    return beginsWith(file, kBegin) || beginsWith(file, kBegin, kBehindMatHead);
}

// Files that may hold several arrays.
std::unique_ptr<Recording> openArrays(const std::filesystem::path& file, std::optional<double> rate,
                                      const ArrayChoice& choice) {
    const std::string ending = file.extension().string();
    const bool isNamedHdf5 = equalIgnoringCase(ending, ".h5") || equalIgnoringCase(ending, ".hdf5");
    if (isNamedHdf5 || isHdf5(file)) return openHdf5(file, rate, choice);
    if (equalIgnoringCase(ending, ".mat")) return openMat(file, rate, choice);
    return nullptr;
}

}  // namespace

void Recording::skip(std::int64_t frames) {
    constexpr std::int64_t kSome = 1 << 14;
    std::vector<float> passed;
    while (frames > 0) {
        const std::int64_t now = std::min(frames, kSome);
        passed.resize(static_cast<std::size_t>(now * channels_));
        if (read(passed) == 0) return;
        frames -= now;
    }
}

Recording::Channel channelNamed(std::string_view head) {
    const std::string text = onOneLine(trimmed(head));
    const std::size_t bracket = text.rfind('[');
    if (!text.ends_with(']') || bracket == std::string::npos) return {text, ""};
    return {trimmed(std::string_view(text).substr(0, bracket)),
            trimmed(std::string_view(text).substr(bracket + 1, text.size() - bracket - 2))};
}

double rateOfEvenX(std::span<const double> x) {
    constexpr double kUneven = 1e-3;  // of the step
    if (x.size() < 2) throw RecordingError(tr("has too few rows to tell the sample rate"));
    const double step = (x.back() - x.front()) / static_cast<double>(x.size() - 1);
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double even = x.front() + static_cast<double>(i) * step;
        if (!(step > 0) || !(std::abs(x[i] - even) <= kUneven * step)) {
            throw RecordingError(tr("has no evenly rising x column (give rate when it has none)"));
        }
    }
    if (!std::isnormal(1.0 / step)) {
        throw RecordingError(tr("has an x column whose steps are too small or too large"));
    }
    return 1.0 / step;
}

void requireRate(double rate) {
    constexpr double kLowest = 1e-9;
    constexpr double kHighest = 1e12;
    if (rate >= kLowest && rate <= kHighest) return;
    throw RecordingError(
        rate == 0
            ? tr("needs a rate: its source has none, and the file neither (rate or fs, or an x, "
                 "t or time that rises evenly)")
            : tr("says a rate of %1 (rate of the source counts before the file's)", rate));
}

std::unique_ptr<Recording> silence(int channels, double rate, std::int64_t frames) {
    return std::make_unique<Silence>(channels, rate, frames);
}

Bilingual missingText(std::int64_t samples, std::int64_t promised, double rate,
                      std::optional<std::int64_t> bytes) {
    const std::string seconds = toText(static_cast<double>(samples) / rate, 6) + " s";
    if (!bytes) {
        return both(
            "truncated, %1 of the %2 samples per channel that its head promises are missing (%3)",
            samples, promised, seconds);
    }
    return both(
        "truncated, %1 of the %2 samples per channel that its head promises are missing (%3, %4 "
        "bytes)",
        samples, promised, seconds, *bytes);
}

std::string truncatedText(std::int64_t promised, std::int64_t held) {
    return tr("is truncated: its head promises %1 samples per channel, the file holds %2", promised,
              held) +
           tr(kUseHint);
}

std::unique_ptr<Recording> openWav(const std::filesystem::path& file, Truncated truncated) {
    return std::make_unique<WavRecording>(file, truncated);
}

std::unique_ptr<Recording> openCsv(const std::filesystem::path& file, std::optional<double> rate) {
    return std::make_unique<CsvRecording>(file, rate);
}

std::unique_ptr<Recording> openRecording(const std::filesystem::path& file,
                                         std::optional<double> rate, Truncated truncated,
                                         const ArrayChoice& choice) {
    std::error_code error;  // of a name that is too long, say
    if (!std::filesystem::is_regular_file(file, error)) throw RecordingError(tr("no such file"));
    if (auto recording = openArrays(file, rate, choice)) return recording;
    if (choice.isGiven()) {
        throw RecordingError(
            tr("holds one recording; variable and rows are for MAT and HDF5 files"));
    }
    const std::string ending = file.extension().string();
    if (isWav(file) || equalIgnoringCase(ending, ".wav")) return openWav(file, truncated);
    for (const char* table : {".csv", ".tsv", ".txt"}) {
        if (equalIgnoringCase(ending, table)) return openCsv(file, rate);
    }
    if (equalIgnoringCase(ending, ".npy")) return openNpy(file, rate, truncated);
    return openOtherAudio(file, truncated);
}

}  // namespace vynhost
