// MAT-files as recordings: level 5 with or without compression ("MAT-File Format", MathWorks);
// files of version 7.3 are HDF5. Nothing is followed into cells and structures but one level of
// texts, so that no file can nest deeper than the stack.
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <string_view>
#include <utility>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/run/number_arrays.h"
#include "vynhost/run/recording.h"

namespace vynhost {
namespace {

[[noreturn]] void damaged() { throw RecordingError(tr("has a damaged MAT-file's head")); }

// Bytes of the file one after the other, unpacked where they are packed.
class Bytes {
public:
    Bytes(std::ifstream& in, std::int64_t begin, std::int64_t count, bool packed)
        : in_(in), left_(count), packed_(packed) {
        in_.clear();
        in_.seekg(begin);
        if (!packed_) return;
        pieces_.resize(kPiece);
        if (::inflateInit(&unpacker_) != Z_OK) throw std::bad_alloc();
    }
    ~Bytes() {
        if (packed_) ::inflateEnd(&unpacker_);
    }
    Bytes(const Bytes&) = delete;
    Bytes& operator=(const Bytes&) = delete;

    void read(char* to, std::size_t count) {
        if (packed_) return unpack(to, count);
        if (static_cast<std::int64_t>(count) > left_) ended();
        in_.read(to, static_cast<std::streamsize>(count));
        if (static_cast<std::size_t>(in_.gcount()) != count) ended();
        left_ -= static_cast<std::int64_t>(count);
    }
    template <class Number>
    Number number() {
        Number value{};
        read(reinterpret_cast<char*>(&value), sizeof value);
        return value;
    }
    void skip(std::int64_t count) {
        if (!packed_) {
            if (count > left_) ended();
            in_.seekg(count, std::ios::cur);
            left_ -= count;
            return;
        }
        std::array<char, 4096> passed{};
        while (count > 0) {
            const std::int64_t now = std::min<std::int64_t>(count, passed.size());
            unpack(passed.data(), static_cast<std::size_t>(now));
            count -= now;
        }
    }
    std::int64_t position() const { return static_cast<std::int64_t>(in_.tellg()); }

private:
    static constexpr std::size_t kPiece = std::size_t{1} << 16;

    [[noreturn]] static void ended() { throw RecordingError(tr("ends before its variables do")); }

    void unpack(char* to, std::size_t count) {
        unpacker_.next_out = reinterpret_cast<Bytef*>(to);
        unpacker_.avail_out = static_cast<uInt>(count);
        while (unpacker_.avail_out > 0) {
            if (unpacker_.avail_in == 0) {
                const auto now = std::min<std::int64_t>(left_, kPiece);
                in_.read(pieces_.data(), now);
                if (now == 0 || in_.gcount() != now) ended();
                left_ -= now;
                unpacker_.next_in = reinterpret_cast<Bytef*>(pieces_.data());
                unpacker_.avail_in = static_cast<uInt>(now);
            }
            const int state = ::inflate(&unpacker_, Z_NO_FLUSH);
            if (state == Z_MEM_ERROR) throw std::bad_alloc();
            if (state == Z_STREAM_END && unpacker_.avail_out > 0) ended();
            if (state != Z_OK && state != Z_STREAM_END) {
                throw RecordingError(tr("has a variable that does not unpack"));
            }
        }
    }

    std::ifstream& in_;
    std::int64_t left_;
    bool packed_;
    z_stream unpacker_{};
    std::vector<char> pieces_;
};

// --- Elements ---------------------------------------------------------------------------------

constexpr std::uint32_t kInt8 = 1;
constexpr std::uint32_t kUtf8 = 16;
constexpr std::uint32_t kUtf16 = 17;
constexpr std::uint32_t kUint16 = 4;
constexpr std::uint32_t kMatrix = 14;
constexpr std::uint32_t kPacked = 15;

constexpr int kCell = 1;
constexpr int kText = 4;
constexpr int kOpaque = 17;

struct Tag {
    std::uint32_t type;
    std::uint32_t bytes;
    std::uint32_t padding;  // behind the bytes

    std::int64_t whole() const { return std::int64_t{bytes} + padding; }
};

// Up to four bytes stand in the tag itself.
Tag nextTag(Bytes& in) {
    const auto first = in.number<std::uint32_t>();
    if (first >> 16 != 0) {
        const std::uint32_t bytes = first >> 16;
        if (bytes > 4) damaged();
        return {first & 0xFFFF, bytes, 4 - bytes};
    }
    const auto bytes = in.number<std::uint32_t>();
    return {first, bytes, (8 - bytes % 8) % 8};
}

std::string nextText(Bytes& in, std::uint32_t most) {
    const Tag tag = nextTag(in);
    if (tag.bytes > most) damaged();
    std::string text(tag.bytes, '\0');
    in.read(text.data(), text.size());
    in.skip(tag.padding);
    return text;
}

struct Variable {
    std::int64_t begin = 0;  // of its bytes in the file
    std::int64_t bytes = 0;
    bool packed = false;
    int kind = 0;
    NumberArray array;

    std::int64_t values() const {
        std::int64_t count = 1;
        for (const std::int64_t size : array.shape)
            count *= size;
        return count;
    }
};

std::string kindText(int kind, bool complex) {
    constexpr std::array<const char*, 18> kKinds = {
        "empty",  "cell",   "structure", "object", "text",     "sparse",
        "double", "single", "int8",      "uint8",  "int16",    "uint16",
        "int32",  "uint32", "int64",     "uint64", "function", "object"};
    const auto index = static_cast<std::size_t>(kind);
    return (complex ? "complex " : "") + std::string(index < kKinds.size() ? kKinds[index] : "?");
}

// What stands before an array's values; the bytes go on with those.
void readHead(Bytes& in, Variable& variable) {
    constexpr std::uint32_t kMostName = 1 << 12;
    constexpr std::uint32_t kMostDimensions = 32;
    constexpr std::int64_t kMostValues = std::int64_t{1} << 48;
    const Tag flags = nextTag(in);
    if (flags.bytes != 8 || flags.padding != 0) damaged();
    const auto word = in.number<std::uint64_t>();
    variable.kind = static_cast<int>(word & 0xFF);
    const bool complex = (word & 0x0800) != 0;
    if (variable.kind != kOpaque) {
        const Tag sizes = nextTag(in);
        if (sizes.bytes == 0 || sizes.bytes % 4 != 0 || sizes.bytes > 4 * kMostDimensions)
            damaged();
        std::int64_t values = 1;
        for (std::uint32_t i = 0; i < sizes.bytes / 4; ++i) {
            const auto size = in.number<std::int32_t>();
            if (size < 0 || (size > 0 && values > kMostValues / size)) damaged();
            values *= size;
            variable.array.shape.push_back(size);
        }
        in.skip(sizes.padding);
    }
    variable.array.name = nextText(in, kMostName);
    variable.array.kind = kindText(variable.kind, complex);
    variable.array.isReadable = !complex && numberKindNamed(variable.array.kind) != nullptr;
}

// --- Values -----------------------------------------------------------------------------------

template <class Number>
double numberAt(const char* bytes) {
    Number number{};
    std::memcpy(&number, bytes, sizeof number);
    return static_cast<double>(number);
}

// Numbers may be stored in a smaller type than their own, where they fit.
struct Storage {
    std::size_t bytes;
    double (*at)(const char* bytes);
};

Storage storageOf(std::uint32_t type) {
    switch (type) {
        case 1: return {1, &numberAt<std::int8_t>};
        case 2: return {1, &numberAt<std::uint8_t>};
        case 3: return {2, &numberAt<std::int16_t>};
        case 4: return {2, &numberAt<std::uint16_t>};
        case 5: return {4, &numberAt<std::int32_t>};
        case 6: return {4, &numberAt<std::uint32_t>};
        case 7: return {4, &numberAt<float>};
        case 9: return {8, &numberAt<double>};
        default: damaged();
    }
}

// The values of one variable in the file's order: columns one behind the other.
class Values {
public:
    Values(std::ifstream& in, const Variable& variable)
        : file_(in), packed_(variable.packed), kind_(*numberKindNamed(variable.array.kind)) {
        open(variable);
        Variable again;
        readHead(*bytes_, again);
        const Tag tag = nextTag(*bytes_);
        storage_ = storageOf(tag.type);
        if (static_cast<std::int64_t>(tag.bytes) !=
            variable.values() * static_cast<std::int64_t>(storage_.bytes)) {
            throw RecordingError(tr("%1 does not hold as many values as its size says",
                                    printable(variable.array.name)));
        }
        begin_ = packed_ ? 0 : bytes_->position();
        end_ = begin_ + tag.bytes;
    }

    // Of a variable that is not packed; else they come in order.
    void moveTo(std::int64_t value) {
        const std::int64_t at = begin_ + value * static_cast<std::int64_t>(storage_.bytes);
        bytes_.emplace(file_, at, end_ - at, false);
    }
    template <class Take>
    void read(std::int64_t count, Take take) {
        constexpr std::int64_t kSome = 1 << 13;
        for (; count > 0; count -= std::min(count, kSome)) {
            const auto now = static_cast<std::size_t>(std::min(count, kSome));
            piece_.resize(now * storage_.bytes);
            bytes_->read(piece_.data(), piece_.size());
            for (std::size_t i = 0; i < now; ++i) {
                take((storage_.at(&piece_[i * storage_.bytes]) + kind_.offset) * kind_.scale);
            }
        }
    }

private:
    void open(const Variable& variable) {
        bytes_.emplace(file_, variable.begin, variable.bytes, packed_);
        if (packed_) nextTag(*bytes_);
    }

    std::ifstream& file_;
    bool packed_;
    const NumberKind& kind_;
    std::optional<Bytes> bytes_;
    Storage storage_{};
    std::int64_t begin_ = 0;
    std::int64_t end_ = 0;
    std::vector<char> piece_;
};

// Halves of a pair that stand alone become a replacement character.
std::string fromUtf16(std::string_view stored) {
    std::string text;
    for (std::size_t i = 0; i + 1 < stored.size(); i += 2) {
        auto letter = static_cast<std::uint32_t>(numberAt<std::uint16_t>(&stored[i]));
        const bool isFirst = letter >> 10 == 0xD800 >> 10;
        const bool hasSecond = isFirst && i + 3 < stored.size();
        const auto second =
            hasSecond ? static_cast<std::uint32_t>(numberAt<std::uint16_t>(&stored[i + 2])) : 0U;
        if (second >> 10 == 0xDC00 >> 10) {
            letter = 0x10000 + ((letter & 0x3FF) << 10) + (second & 0x3FF);
            i += 2;
        } else if (letter >> 11 == 0xD800 >> 11) {
            letter = 0xFFFD;
        }
        const auto add = [&](std::uint32_t byte) { text += static_cast<char>(byte); };
        if (letter < 0x80) {
            add(letter);
            continue;
        }
        if (letter < 0x800) {
            add(0xC0 | letter >> 6);
        } else {
            if (letter < 0x10000) {
                add(0xE0 | letter >> 12);
            } else {
                add(0xF0 | letter >> 18);
                add(0x80 | (letter >> 12 & 0x3F));
            }
            add(0x80 | (letter >> 6 & 0x3F));
        }
        add(0x80 | (letter & 0x3F));
    }
    return text;
}

// --- The recording ----------------------------------------------------------------------------

class MatRecording : public Recording {
public:
    MatRecording(const std::filesystem::path& file, std::optional<double> rate,
                 const ArrayChoice& choice)
        : in_(file, std::ios::binary) {
        if (!in_) throw RecordingError(tr("can't be opened"));
        readDirectory(static_cast<std::int64_t>(std::filesystem::file_size(file)));
        std::vector<NumberArray> arrays;
        for (const Variable& variable : variables_)
            arrays.push_back(variable.array);
        const Variable& chosen = variables_[chosenArray(arrays, choice)];
        const ArrayLayout layout = layoutOf(chosen.array, choice);
        frames_ = layout.frames;
        channels_ = layout.channels;
        isTransposed_ = layout.isTransposed;
        findRate(rate, chosen);
        findNames();
        values_.emplace(in_, chosen);
        if (chosen.packed) hold(chosen);
    }

    std::size_t read(std::span<float> interleaved) override {
        const auto channels = static_cast<std::size_t>(channels_);
        const auto frames = static_cast<std::size_t>(std::min(
            static_cast<std::int64_t>(interleaved.size() / channels), frames_ - position_));
        const std::span<float> wanted = interleaved.first(frames * channels);
        if (isTransposed_) {
            take(position_ * channels_, wanted.size(),
                 [&, i = std::size_t{0}](float value) mutable { wanted[i++] = value; });
        } else {
            for (std::size_t c = 0; c < channels; ++c) {
                take(static_cast<std::int64_t>(c) * frames_ + position_, frames,
                     [&, i = c](float value) mutable {
                         wanted[i] = value;
                         i += channels;
                     });
            }
        }
        position_ += static_cast<std::int64_t>(frames);
        return frames;
    }

    void skip(std::int64_t frames) override { position_ += frames; }

private:
    template <class Take>
    void take(std::int64_t first, std::size_t count, Take give) {
        if (held_.empty()) {
            values_->moveTo(first);
            values_->read(static_cast<std::int64_t>(count),
                          [&](double value) { give(static_cast<float>(value)); });
            return;
        }
        for (std::size_t i = 0; i < count; ++i)
            give(held_[static_cast<std::size_t>(first) + i]);
    }

    // A small file can unpack to much: half of the memory that a run usually may take, and no more.
    // Values are kept as they come, since a claim may be longer than what is there.
    void hold(const Variable& chosen) {
        constexpr std::int64_t kMostHeld = std::int64_t{1} << 27;
        if (chosen.values() > kMostHeld) {
            throw RecordingError(
                tr("%1 is packed and too long to be held unpacked; save it without compression",
                   printable(chosen.array.name)));
        }
        values_->read(chosen.values(),
                      [&](double value) { held_.push_back(static_cast<float>(value)); });
    }

    void readDirectory(std::int64_t size) {
        constexpr std::int64_t kHead = 128;
        constexpr std::size_t kMostVariables = 4096;
        std::array<char, kHead> head{};
        in_.read(head.data(), head.size());
        if (in_.gcount() != kHead || std::string_view(&head[126], 2) != "IM" ||
            std::string_view(&head[124], 2) != std::string_view("\0\1", 2)) {
            throw RecordingError(
                tr("is no MAT-file that is read here: little-endian ones of version 5 to 7.3 are"));
        }
        std::int64_t at = kHead;
        while (size - at >= 8) {
            Bytes bytes(in_, at, size - at, false);
            const Tag tag = nextTag(bytes);
            Variable variable;
            variable.begin = at + 8;
            // Packed variables have no padding behind them.
            at = variable.begin + tag.bytes + (tag.type == kPacked ? 0 : tag.padding);
            if ((tag.type != kMatrix && tag.type != kPacked) || tag.bytes == 0) continue;
            variable.bytes = tag.bytes;
            variable.packed = tag.type == kPacked;
            if (variable.begin + variable.bytes > size) {
                throw RecordingError(tr("ends before its variables do"));
            }
            Bytes own(in_, variable.begin, variable.bytes, variable.packed);
            if (variable.packed && nextTag(own).type != kMatrix) damaged();
            readHead(own, variable);
            if (variable.array.name.empty()) continue;
            variables_.push_back(std::move(variable));
            if (variables_.size() > kMostVariables) {
                throw RecordingError(tr("holds more than 4096 variables"));
            }
        }
    }

    void findRate(std::optional<double> rate, const Variable& chosen) {
        if (rate) {
            rate_ = *rate;
            return;
        }
        std::string from;
        const Variable* x = nullptr;
        for (const Variable& variable : variables_) {
            if (&variable == &chosen || !variable.array.isReadable) continue;
            if (isRateName(variable.array.name) && variable.values() == 1) {
                takeRate(valuesOf(variable).front(), variable.array.name, from);
            } else if (isXName(variable.array.name) && variable.values() == frames_) {
                x = &variable;
            }
        }
        if (x != nullptr && rate_ > 0) {
            Values(in_, *x).read(1, [&](double value) { start_ = value; });
        } else if (x != nullptr) {
            const std::vector<double> all = valuesOf(*x);
            rate_ = rateOfEvenX(all);
            start_ = all.front();
        }
        requireRate(rate_);
    }

    void takeRate(double value, const std::string& name, std::string& from) {
        if (!from.empty() && value != rate_) {
            throw RecordingError(tr("says two rates, %1 and %2 (rate of the source picks one)",
                                    from, printable(name)));
        }
        rate_ = value;
        from = printable(name);
    }

    std::vector<double> valuesOf(const Variable& variable) {
        constexpr std::int64_t kMost = std::int64_t{1} << 27;
        if (variable.values() > kMost) {
            throw RecordingError(tr("%1 is too long to tell the rate from; give rate",
                                    printable(variable.array.name)));
        }
        std::vector<double> all;
        Values(in_, variable).read(variable.values(), [&](double value) { all.push_back(value); });
        return all;
    }

    // A cell of texts called names, as many as there are channels.
    void findNames() {
        for (const Variable& variable : variables_) {
            if (variable.array.name != "names" || variable.kind != kCell ||
                variable.values() != channels_) {
                continue;
            }
            Bytes bytes(in_, variable.begin, variable.bytes, variable.packed);
            if (variable.packed) nextTag(bytes);
            Variable head;
            readHead(bytes, head);
            for (int i = 0; i < channels_; ++i) {
                const Tag tag = nextTag(bytes);
                if (tag.type != kMatrix) damaged();
                std::optional<std::string> text = tag.bytes == 0 ? "" : textIn(bytes);
                if (!text) {
                    described_.clear();
                    return;
                }
                described_.push_back(channelNamed(*text));
            }
        }
    }

    static std::optional<std::string> textIn(Bytes& bytes) {
        constexpr std::uint32_t kMostLetters = 1 << 12;
        Variable cell;
        readHead(bytes, cell);
        if (cell.kind != kText) return std::nullopt;
        const Tag tag = nextTag(bytes);
        if (tag.bytes > kMostLetters) return std::nullopt;
        std::string stored(tag.bytes, '\0');
        bytes.read(stored.data(), stored.size());
        bytes.skip(tag.padding);
        if (tag.type == kUtf8 || tag.type == kInt8) return stored;
        if (tag.type != kUtf16 && tag.type != kUint16) return std::nullopt;
        return fromUtf16(stored);
    }

    std::ifstream in_;
    std::vector<Variable> variables_;
    bool isTransposed_ = false;
    std::optional<Values> values_;
    std::vector<float> held_;
    std::int64_t position_ = 0;
};

}  // namespace

std::unique_ptr<Recording> openMat(const std::filesystem::path& file, std::optional<double> rate,
                                   const ArrayChoice& choice) {
    return std::make_unique<MatRecording>(file, rate, choice);
}

}  // namespace vynhost
