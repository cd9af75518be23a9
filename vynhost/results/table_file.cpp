#include "vynhost/results/table_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <set>
#include <string_view>
#include <utility>

#include "vynhost/base/limits.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/results/gathered_table.h"

namespace vynhost {
namespace {

// --- Text -------------------------------------------------------------------------------------

class CsvTable : public TableFile {
public:
    CsvTable(ResultFile& file, const TableStyle& style) : file_(file), style_(style), row_(style) {}

    void addText(std::string text) override { row_.addText(std::move(text)); }
    void addNumber(float number) override { row_.addNumber(number); }
    void addNumber(double number, int digits) override { row_.addNumber(number, digits); }
    void addEmpty(std::size_t cells) override { row_.addEmpty(cells); }
    void endHead() override { file_.write(std::string(style_.begin) + row_.end()); }
    void endRow() override { file_.write(row_.end()); }
    // As comments in tables are.
    void note(const std::string& text) override { file_.write("# " + text + "\n"); }
    void finish() override { file_.close(); }

private:
    ResultFile& file_;
    const TableStyle& style_;
    TableRow row_;
};

// In these quotes; what would end the text is escaped, and control characters are `control` and two
// hexadecimal digits.
std::string inQuotes(std::string_view text, char quote, std::string_view control) {
    std::string result(1, quote);
    while (!text.empty()) {
        const std::size_t size = characterSize(text);
        const std::string_view character = text.substr(0, std::max<std::size_t>(size, 1));
        const char c = character.front();
        text.remove_prefix(character.size());
        if (size == 0) {
            result += "\uFFFD";
        } else if (c == quote || c == '\\') {
            (result += '\\') += c;
        } else if (c >= 0 && c < ' ') {
            (result += control) += digitsOf(std::string_view(&c, 1));
        } else {
            result += character;
        }
    }
    return result + quote;
}

std::string jsonString(std::string_view text) { return inQuotes(text, '"', "\\u00"); }
// As Python writes a text.
std::string pythonString(std::string_view text) { return inQuotes(text, '\'', "\\x"); }

// Names that differ: the second of two equal ones gets a number.
std::vector<std::string> distinct(const std::vector<std::string>& names) {
    std::set<std::string> taken;
    std::vector<std::string> result;
    for (const std::string& name : names) {
        std::string own = name;
        for (int i = 2; !taken.insert(own).second; ++i)
            own = name + " (" + std::to_string(i) + ")";
        result.push_back(own);
    }
    return result;
}

class JsonTable : public TableFile {
public:
    explicit JsonTable(ResultFile& file) : file_(file) {}

    void addText(std::string text) override { names_.push_back(std::move(text)); }
    void addNumber(float number) override { addCell(number); }
    void addNumber(double number, int digits) override {
        addCell(std::isfinite(number) ? *toNumber(toText(number, digits)) : number);
    }
    void addEmpty(std::size_t cells) override {
        for (std::size_t i = 0; i < cells; ++i)
            addCell(std::numeric_limits<float>::quiet_NaN());
    }
    void endHead() override {
        for (const std::string& name : distinct(names_))
            keys_.push_back((keys_.empty() ? "{" : ",") + jsonString(name) + ":");
    }
    void endRow() override {
        file_.write(line_ + "}\n");
        line_.clear();
        column_ = 0;
    }
    void finish() override { file_.close(); }

private:
    template <class Number>
    void addCell(Number number) {
        line_ += keys_.at(column_++);
        line_ += std::isfinite(number) ? toText(number) : "null";
    }

    ResultFile& file_;
    std::vector<std::string> names_;
    std::vector<std::string> keys_;
    std::string line_;
    std::size_t column_ = 0;
};

// --- Numbers ----------------------------------------------------------------------------------

// Version 3.0 is UTF-8; the older ones, which more programs read, do for plain letters.
std::string npyHead(const std::string& type, std::uint64_t rows) {
    constexpr std::size_t kAlignment = 64;
    std::string dictionary = "{'descr': " + type + ", 'fortran_order': False, 'shape': (" +
                             std::to_string(rows) + ",), }";
    const bool isPlain = std::ranges::all_of(dictionary, [](char c) { return c >= 0; });
    const bool isShort = dictionary.size() < 65000;
    std::string head = "\x93NUMPY";
    head += isPlain ? (isShort ? '\x01' : '\x02') : '\x03';
    head += '\0';
    const std::size_t sizeBytes = head[6] == 1 ? 2 : 4;
    const std::size_t used = head.size() + sizeBytes + dictionary.size() + 1;
    dictionary.append((kAlignment - used % kAlignment) % kAlignment, ' ');
    dictionary += '\n';
    if (sizeBytes == 2) {
        append(head, static_cast<std::uint16_t>(dictionary.size()));
    } else {
        append(head, static_cast<std::uint32_t>(dictionary.size()));
    }
    return head + dictionary;
}

constexpr const char* kDouble = "'<f8'";
constexpr const char* kSingle = "'<f4'";

class NpyTable : public GatheredTable {
public:
    using GatheredTable::GatheredTable;

protected:
    void writeWhole() override {
        std::string type = "[";
        const std::vector<std::string> columns = distinct(names());
        for (std::size_t i = 0; i < columns.size(); ++i) {
            type += (i > 0 ? ", (" : "(") + pythonString(columns[i]) + ", " +
                    (i < doubles() ? kDouble : kSingle) + ")";
        }
        file().write(npyHead(type + "]", rows()));
        forEachPiece([&](std::string_view piece) { file().write(piece); });
    }
};

// --- An archive -------------------------------------------------------------------------------

// The sum of ZIP archives (ISO 3309), bit by bit over a table of four bits.
class ZipSum {
public:
    void add(std::string_view bytes) {
        static constexpr std::array<std::uint32_t, 16> kTable = [] {
            std::array<std::uint32_t, 16> table{};
            for (std::uint32_t i = 0; i < 16; ++i) {
                std::uint32_t sum = i;
                for (int bit = 0; bit < 4; ++bit)
                    sum = sum >> 1 ^ ((sum & 1) != 0 ? 0xEDB88320U : 0U);
                table[i] = sum;
            }
            return table;
        }();
        for (const char byte : bytes) {
            sum_ ^= static_cast<unsigned char>(byte);
            sum_ = sum_ >> 4 ^ kTable[sum_ & 15];
            sum_ = sum_ >> 4 ^ kTable[sum_ & 15];
        }
    }
    std::uint32_t value() const { return ~sum_; }

private:
    std::uint32_t sum_ = 0xFFFFFFFFU;
};

// Members as they are, without compression (PKWARE's APPNOTE 6.3, with its 64-bit sizes).
class NpzTable : public GatheredTable {
public:
    using GatheredTable::GatheredTable;

protected:
    void writeWhole() override {
        const std::vector<std::string> columns = distinct(names());
        for (std::size_t i = 0; i < columns.size(); ++i)
            addMember(memberName(columns[i]), i);
        const std::uint64_t directory = position_;
        put(directory_);
        const std::uint64_t end = position_;
        std::string tail;
        append(tail, std::uint32_t{0x06064b50});  // the end of the directory, in 64 bits
        append(tail, std::uint64_t{44});
        append(tail, std::uint16_t{kVersion});
        append(tail, std::uint16_t{kVersion});
        append(tail, std::uint64_t{0});
        append(tail, std::uint64_t{columns.size()});
        append(tail, std::uint64_t{columns.size()});
        append(tail, end - directory);
        append(tail, directory);
        append(tail, std::uint32_t{0x07064b50});  // where that is
        append(tail, std::uint32_t{0});
        append(tail, end);
        append(tail, std::uint32_t{1});
        append(tail, std::uint32_t{0x06054b50});  // the end for older readers: see above
        append(tail, std::uint32_t{0});
        append(tail, std::uint32_t{0xFFFFFFFF});
        append(tail, std::uint32_t{0xFFFFFFFF});
        append(tail, std::uint32_t{0xFFFFFFFF});
        append(tail, std::uint16_t{0});
        put(tail);
    }

private:
    static constexpr std::uint16_t kVersion = 45;  // of the format, with 64-bit sizes
    static constexpr std::uint16_t kUtf8 = 0x0800;
    static constexpr std::uint16_t kFirstDay = 0x0021;  // 1980-01-01: no time gets into a result

    // Nothing that a program which unpacks the archive would take as a folder.
    static std::string memberName(std::string name) {
        for (char& c : name) {
            if (c == '/' || c == '\\' || c == ':' || (c >= 0 && c < ' ')) c = '_';
        }
        return name + ".npy";
    }

    void put(std::string_view bytes) {
        file().write(bytes);
        position_ += bytes.size();
    }

    void forColumn(std::size_t column, const std::function<void(std::string_view bytes)>& take) {
        std::string cells;
        forEachPiece([&](std::string_view piece) {
            cells.clear();
            for (std::size_t at = cellPlace(column); at < piece.size(); at += rowBytes())
                cells += piece.substr(at, cellBytes(column));
            take(cells);
        });
    }

    void addMember(const std::string& name, std::size_t column) {
        const std::string head = npyHead(column < doubles() ? kDouble : kSingle, rows());
        const std::uint64_t size = head.size() + rows() * cellBytes(column);
        ZipSum sum;
        sum.add(head);
        forColumn(column, [&](std::string_view bytes) { sum.add(bytes); });

        std::string common;
        append(common, std::uint16_t{kVersion});
        append(common, std::uint16_t{kUtf8});
        append(common, std::uint16_t{0});  // as it is
        append(common, std::uint16_t{0});
        append(common, kFirstDay);
        append(common, sum.value());
        append(common, std::uint32_t{0xFFFFFFFF});  // sizes: in the extra field
        append(common, std::uint32_t{0xFFFFFFFF});
        append(common, static_cast<std::uint16_t>(name.size()));
        std::string sizes;
        append(sizes, size);
        append(sizes, size);

        const std::uint64_t begin = position_;
        std::string local;
        append(local, std::uint32_t{0x04034b50});
        local += common;
        append(local, std::uint16_t{20});
        local += name;
        append(local, std::uint16_t{1});
        append(local, std::uint16_t{16});
        put(local + sizes + head);
        forColumn(column, [&](std::string_view bytes) { put(bytes); });

        append(directory_, std::uint32_t{0x02014b50});
        append(directory_, std::uint16_t{kVersion});
        directory_ += common;
        append(directory_, std::uint16_t{28});
        append(directory_, std::uint16_t{0});
        append(directory_, std::uint16_t{0});
        append(directory_, std::uint16_t{0});
        append(directory_, std::uint32_t{0});
        append(directory_, std::uint32_t{0xFFFFFFFF});
        directory_ += name;
        append(directory_, std::uint16_t{1});
        append(directory_, std::uint16_t{24});
        directory_ += sizes;
        append(directory_, begin);
    }

    std::uint64_t position_ = 0;
    std::string directory_;
};

// --- Sound ------------------------------------------------------------------------------------

class WavTable : public GatheredTable {
public:
    WavTable(ResultFile& file, const TableSubject& subject)
        : GatheredTable(file), subject_(subject) {}

    void endHead() override {
        if (!subject_.isSignal) {
            throw InputError(subject_.place,
                             tr("only signals over time, not in dB, go into a wav"));
        }
        const double rate = 1 / subject_.step;
        rate_ = std::round(rate);
        if (!(std::abs(rate - rate_) <= 1e-6 * rate) || !(rate_ >= 1) || !(rate_ < 4294967295.0)) {
            throw InputError(
                subject_.place,
                tr("a wav has a whole number of samples per second, not %1", toText(rate, 9)));
        }
        if (names().size() - 1 > kMostChannels) {
            throw InputError(subject_.place,
                             tr("a wav has at most 1024 channels, not %1", names().size() - 1));
        }
    }
    void addEmpty(std::size_t) override {
        throw InputError(subject_.place, tr("signals that share a wav must be equally long"));
    }

protected:
    void writeWhole() override {
        const std::size_t skipped = sizeof(double);  // the time
        file().write(wavHead(rows(), static_cast<std::uint32_t>(names().size() - 1),
                             static_cast<std::uint32_t>(rate_)));
        std::string samples;
        forEachPiece([&](std::string_view piece) {
            samples.clear();
            for (std::size_t at = 0; at < piece.size(); at += rowBytes())
                samples += piece.substr(at + skipped, rowBytes() - skipped);
            file().write(samples);
        });
    }

private:
    const TableSubject& subject_;
    double rate_ = 0;
};

}  // namespace

std::string wavHead(std::uint64_t frames, std::uint32_t channels, std::uint32_t rate) {
    constexpr std::uint32_t kElsewhere = 0xFFFFFFFF;  // in the chunk of 64-bit sizes
    constexpr std::uint16_t kFloat = 3;
    const std::uint32_t frameBytes = channels * 4;
    const std::uint64_t bytes = frames * frameBytes;
    // Behind the eight bytes of the first chunk: its kind, the long sizes, format, frames, samples.
    const std::uint64_t most = std::uint64_t{kElsewhere} - 200;
    const bool isLong = bytes > most;
    const std::uint64_t whole = 4 + (isLong ? 36 : 0) + 26 + 12 + 8 + bytes;
    std::string head = isLong ? "RF64" : "RIFF";
    append(head, isLong ? kElsewhere : static_cast<std::uint32_t>(whole));
    head += "WAVE";
    if (isLong) {
        head += "ds64";
        append(head, std::uint32_t{28});
        append(head, whole);
        append(head, bytes);
        append(head, frames);
        append(head, std::uint32_t{0});
    }
    head += "fmt ";
    append(head, std::uint32_t{18});
    append(head, kFloat);
    append(head, static_cast<std::uint16_t>(channels));
    append(head, rate);
    append(head, rate * frameBytes);
    append(head, static_cast<std::uint16_t>(frameBytes));
    append(head, std::uint16_t{32});
    append(head, std::uint16_t{0});
    head += "fact";
    append(head, std::uint32_t{4});
    append(head, isLong ? kElsewhere : static_cast<std::uint32_t>(frames));
    head += "data";
    append(head, isLong ? kElsewhere : static_cast<std::uint32_t>(bytes));
    return head;
}

std::unique_ptr<TableFile> csvTable(ResultFile& file, const TableStyle& style) {
    return std::make_unique<CsvTable>(file, style);
}
std::unique_ptr<TableFile> jsonTable(ResultFile& file) { return std::make_unique<JsonTable>(file); }
std::unique_ptr<TableFile> npyTable(ResultFile& file) { return std::make_unique<NpyTable>(file); }
std::unique_ptr<TableFile> npzTable(ResultFile& file) { return std::make_unique<NpzTable>(file); }
std::unique_ptr<TableFile> wavTable(ResultFile& file, const TableSubject& subject) {
    return std::make_unique<WavTable>(file, subject);
}

}  // namespace vynhost
