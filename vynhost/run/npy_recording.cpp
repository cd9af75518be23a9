// Arrays of numpy as recordings (numpy.lib.format, versions 1.0 to 3.0).
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <fstream>
#include <string_view>
#include <utility>

#include "vynhost/base/limits.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/run/recording.h"
#include "vynhost/run/sample_coding.h"

namespace vynhost {
namespace {

constexpr std::int64_t kMostFields = kMostChannels + 1;  // x beside the channels

const SampleCoding& codingOf(const std::string& type) {
    constexpr std::array<std::pair<std::string_view, std::string_view>, 6> kTypes = {
        {{"<f4", "f32"},
         {"<f8", "f64"},
         {"<i2", "s16"},
         {"<i4", "s32"},
         {"|u1", "u8"},
         {"<u1", "u8"}}};
    for (const auto& [numpy, name] : kTypes) {
        if (type == numpy) return *std::ranges::find(sampleCodings(), name, &SampleCoding::name);
    }
    throw RecordingError(
        tr("holds numbers of type \"%1\"; little-endian float32, float64, int16, int32 and uint8 "
           "are read",
           type));
}

struct Field {
    std::string name;
    const SampleCoding* coding;
};

// The dictionary before the numbers, as Python writes it. Whatever else stands there is an error.
class NpyHead {
public:
    explicit NpyHead(std::istream& in) {
        std::array<char, 8> magic{};
        in.read(magic.data(), magic.size());
        if (in.gcount() != 8 || std::string_view(magic.data(), 6) != "\x93NUMPY") fail();
        const int version = static_cast<unsigned char>(magic[6]);
        if (version < 1 || version > 3) fail();
        std::uint32_t size = 0;
        in.read(reinterpret_cast<char*>(&size), version == 1 ? 2 : 4);
        constexpr std::uint32_t kMost = 1 << 20;
        if (!in || size > kMost) fail();
        text_.resize(size);
        in.read(text_.data(), size);
        if (in.gcount() != static_cast<std::streamsize>(size)) fail();
        dataBegin = static_cast<std::int64_t>(in.tellg());
        parse();
    }

    std::vector<Field> fields;  // one without a name: a plain array
    bool isPlain = true;
    bool columnsFirst = false;
    std::vector<std::int64_t> shape;
    std::int64_t dataBegin = 0;

private:
    [[noreturn]] static void fail() { throw RecordingError(tr("has no head of a numpy array")); }

    void skipBlanks() {
        while (at_ < text_.size() && (text_[at_] == ' ' || text_[at_] == '\n'))
            ++at_;
    }
    bool accept(char c) {
        skipBlanks();
        if (at_ >= text_.size() || text_[at_] != c) return false;
        ++at_;
        return true;
    }
    void expect(char c) {
        if (!accept(c)) fail();
    }
    std::string string() {
        skipBlanks();
        if (at_ >= text_.size() || (text_[at_] != '\'' && text_[at_] != '"')) fail();
        const char quote = text_[at_++];
        std::string result;
        while (at_ < text_.size() && text_[at_] != quote) {
            char c = text_[at_++];
            if (c == '\\' && at_ < text_.size()) {
                c = text_[at_++];
                if (c == 'x' && at_ + 2 <= text_.size() && isHexadecimal(text_[at_]) &&
                    isHexadecimal(text_[at_ + 1])) {
                    c = bytesOf(text_.substr(at_, 2)).front();
                    at_ += 2;
                } else if (c == 'n') {
                    c = '\n';
                } else if (c == 't') {
                    c = '\t';
                } else if (c != '\\' && c != '\'' && c != '"') {
                    result += '\\';
                }
            }
            result += c;
        }
        expect(quote);
        return result;
    }
    std::string word() {
        skipBlanks();
        const std::size_t begin = at_;
        while (at_ < text_.size() && text_[at_] >= 'A' && text_[at_] <= 'z')
            ++at_;
        return text_.substr(begin, at_ - begin);
    }
    std::int64_t count() {
        skipBlanks();
        const std::size_t begin = at_;
        while (at_ < text_.size() && text_[at_] >= '0' && text_[at_] <= '9')
            ++at_;
        constexpr std::size_t kMostDigits = 15;
        if (at_ == begin || at_ - begin > kMostDigits) fail();
        return std::stoll(text_.substr(begin, at_ - begin));
    }

    void parse() {
        bool hasType = false;
        bool hasShape = false;
        expect('{');
        while (!accept('}')) {
            const std::string key = string();
            expect(':');
            if (key == "descr") {
                parseType();
                hasType = true;
            } else if (key == "fortran_order") {
                const std::string value = word();
                if (value != "True" && value != "False") fail();
                columnsFirst = value == "True";
            } else if (key == "shape") {
                expect('(');
                while (!accept(')')) {
                    shape.push_back(count());
                    accept(',');
                }
                hasShape = true;
            } else {
                fail();
            }
            accept(',');
        }
        if (!hasType || !hasShape) fail();
    }

    void parseType() {
        if (!accept('[')) {
            fields = {{"", &codingOf(string())}};
            return;
        }
        isPlain = false;
        while (!accept(']')) {
            expect('(');
            Field field{string(), nullptr};
            expect(',');
            field.coding = &codingOf(string());
            if (!accept(')')) throw RecordingError(tr("holds fields that are no single numbers"));
            accept(',');
            fields.push_back(std::move(field));
            if (std::ssize(fields) > kMostFields) fail();
        }
        if (fields.empty()) fail();
    }

    std::string text_;
    std::size_t at_ = 0;
};

// Held whole: columns that lie one behind the other, and records with an x of their own.
class HeldArray : public Recording {
public:
    HeldArray(std::istream& in, const NpyHead& head, std::optional<double> rate) {
        if (head.isPlain) {
            readColumns(in, head);
            rate_ = *rate;
        } else {
            readRecords(in, head, rate);
        }
        frames_ = std::ssize(values_) / channels_;
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
    static std::string bytesOf(std::istream& in, std::int64_t count) {
        std::string bytes(static_cast<std::size_t>(count), '\0');
        in.read(bytes.data(), count);
        if (in.gcount() != count) throw RecordingError(tr("ends before its head says so"));
        return bytes;
    }

    void readColumns(std::istream& in, const NpyHead& head) {
        channels_ = static_cast<int>(head.shape[1]);
        const auto rows = static_cast<std::size_t>(head.shape[0]);
        const auto channels = static_cast<std::size_t>(channels_);
        const SampleCoding& coding = *head.fields.front().coding;
        values_.resize(rows * channels);
        std::vector<float> column(rows);
        for (std::size_t c = 0; c < channels; ++c) {
            const std::string bytes = bytesOf(in, static_cast<std::int64_t>(rows * coding.bytes()));
            coding.decode(bytes.data(), column);
            for (std::size_t i = 0; i < rows; ++i)
                values_[i * channels + c] = column[i];
        }
    }

    void readRecords(std::istream& in, const NpyHead& head, std::optional<double> rate) {
        const std::size_t first = rate ? 0 : 1;  // of the channels
        channels_ = static_cast<int>(head.fields.size() - first);
        if (channels_ < 1) throw RecordingError(tr("holds no channel besides its x"));
        std::size_t rowBytes = 0;
        for (const Field& field : head.fields)
            rowBytes += field.coding->bytes();
        const auto rows = static_cast<std::size_t>(head.shape[0]);
        const std::string bytes = bytesOf(in, static_cast<std::int64_t>(rows * rowBytes));
        std::vector<double> x;
        for (std::size_t row = 0; row < rows; ++row) {
            const char* at = bytes.data() + row * rowBytes;
            for (std::size_t i = 0; i < head.fields.size(); ++i) {
                const SampleCoding& coding = *head.fields[i].coding;
                if (i < first) {
                    x.push_back(numberAt(coding, at));
                } else {
                    values_.push_back(0);
                    coding.decode(at, {&values_.back(), 1});
                }
                at += coding.bytes();
            }
        }
        for (std::size_t i = first; i < head.fields.size(); ++i)
            described_.push_back(channelNamed(head.fields[i].name));
        rate_ = rate ? *rate : rateOfEvenX(x);
        if (!x.empty()) start_ = x.front();
    }

    static double numberAt(const SampleCoding& coding, const char* at) {
        if (coding.name == "f64") {
            double number = 0;
            std::memcpy(&number, at, sizeof number);
            return number;
        }
        float number = 0;
        coding.decode(at, {&number, 1});
        return number;
    }

    std::vector<float> values_;
    std::size_t position_ = 0;
};

}  // namespace

std::unique_ptr<Recording> openNpy(const std::filesystem::path& file, std::optional<double> rate,
                                   Truncated truncated) {
    std::ifstream in(file, std::ios::binary);
    if (!in) throw RecordingError(tr("can't be opened"));
    const NpyHead head(in);
    const std::size_t dimensions = head.shape.size();
    if (head.isPlain && !rate) throw RecordingError(tr("needs a rate: its source has none"));
    if (dimensions < 1 || dimensions > (head.isPlain ? 2U : 1U)) {
        throw RecordingError(
            tr("has %1 dimensions; rows of samples and columns of channels are read", dimensions));
    }
    const std::int64_t channels = dimensions == 2 ? head.shape[1] : 1;
    if (channels < 1 || channels >= kMostFields) {
        throw RecordingError(tr("has %1 channels; 1 to 1024 are read", channels));
    }
    if (head.shape[0] == 0) throw RecordingError(tr("holds no samples"));
    std::int64_t rowBytes = 0;
    for (const Field& field : head.fields)
        rowBytes += static_cast<std::int64_t>(field.coding->bytes()) * channels;
    const auto size = static_cast<std::int64_t>(std::filesystem::file_size(file));
    const std::int64_t held = (size - head.dataBegin) / rowBytes;
    if (head.isPlain && (!head.columnsFirst || channels == 1)) {
        return openRaw(file,
                       {head.fields.front().coding, static_cast<int>(channels), *rate,
                        head.dataBegin, head.shape[0]},
                       truncated);
    }
    if (held < head.shape[0]) throw RecordingError(truncatedText(head.shape[0], held));
    return std::make_unique<HeldArray>(in, head, rate);
}

}  // namespace vynhost
