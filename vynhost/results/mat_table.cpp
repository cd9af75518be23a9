// MAT-files of version 5 ("MAT-File Format", MathWorks), without compression.
#include <algorithm>
#include <cstring>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/results/gathered_table.h"

namespace vynhost {
namespace {

enum Type : std::uint32_t {
    kInt8 = 1,

    kInt32 = 5,
    kUint32 = 6,
    kSingle = 7,
    kDouble = 9,
    kMatrix = 14,
    kUtf8 = 16
};
enum Kind : std::uint32_t { kCell = 1, kText = 4, kDoubles = 6, kSingles = 7 };

constexpr std::uint64_t kAlignment = 8;

std::uint64_t padded(std::uint64_t bytes) {
    return (bytes + kAlignment - 1) / kAlignment * kAlignment;
}

void appendTag(std::string& bytes, Type type, std::uint64_t size) {
    append(bytes, static_cast<std::uint32_t>(type));
    append(bytes, static_cast<std::uint32_t>(size));
}

void pad(std::string& bytes) { bytes.resize(static_cast<std::size_t>(padded(bytes.size()))); }

// What stands before the content of an array, whose size is known.
std::string arrayHead(Kind kind, std::uint64_t rows, std::uint64_t columns, const std::string& name,
                      std::uint64_t content) {
    std::string head;
    appendTag(head, kUint32, 8);
    append(head, static_cast<std::uint32_t>(kind));
    append(head, std::uint32_t{0});
    appendTag(head, kInt32, 8);
    append(head, static_cast<std::int32_t>(rows));
    append(head, static_cast<std::int32_t>(columns));
    appendTag(head, kInt8, name.size());
    head += name;
    pad(head);
    std::string whole;
    appendTag(whole, kMatrix, head.size() + content);
    return whole + head;
}

// As many characters as units of UTF-16, by which some programs count: what lies beyond the basic
// plane is replaced.
std::string textArray(const std::string& name, const std::string& text) {
    const std::string shown = printable(text);
    std::string letters;
    std::uint64_t count = 0;
    for (std::string_view rest = shown; !rest.empty(); ++count) {
        const std::size_t size = std::max<std::size_t>(characterSize(rest), 1);
        letters += size > 3 ? "\uFFFD" : rest.substr(0, size);
        rest.remove_prefix(size);
    }
    std::string content;
    appendTag(content, kUtf8, letters.size());
    content += letters;
    pad(content);
    return arrayHead(kText, count == 0 ? 0 : 1, count, name, content.size()) + content;
}

std::string textCells(const std::string& name, std::span<const std::string> texts) {
    std::string content;
    for (const std::string& text : texts)
        content += textArray("", text);
    return arrayHead(kCell, texts.size(), 1, name, content.size()) + content;
}

class MatTable : public GatheredTable {
public:
    MatTable(ResultFile& file, const TableSubject& subject)
        : GatheredTable(file), subject_(subject) {}

    void endRow() override {
        GatheredTable::endRow();
        constexpr std::uint64_t kMost = (std::uint64_t{1} << 31) - 4096;  // of an array
        const std::uint64_t bytes =
            std::max(doubles() * sizeof(double), (names().size() - doubles()) * sizeof(float));
        if (rows() * bytes > kMost) {
            throw InputError(
                subject_.place,
                tr("an array of a MAT-file has at most 2 GiB; an hdf5 or npy takes more"));
        }
    }
    void note(const std::string& text) override { notes_.push_back(text); }

protected:
    void writeWhole() override {
        std::string head = "MATLAB 5.0 MAT-file, written by vynhost";
        head.resize(116, ' ');
        head.resize(124);
        head += std::string_view("\0\1IM", 4);
        file().write(head);
        writeArray("x", kDoubles, kDouble, 0, doubles());
        writeArray("values", kSingles, kSingle, doubles(), names().size() - doubles());
        const std::span<const std::string> all(names());
        file().write(textCells("x_names", all.first(doubles())));
        file().write(textCells("names", all.subspan(doubles())));
        file().write(textArray("title", subject_.title));
        if (!notes_.empty()) file().write(textCells("notes", notes_));
        if (subject_.isSignal) {
            std::string rate;
            appendTag(rate, kDouble, sizeof(double));
            append(rate, 1 / subject_.step);
            file().write(arrayHead(kDoubles, 1, 1, "rate", rate.size()) + rate);
        }
    }

private:
    // Columns one behind the other.
    void writeArray(const std::string& name, Kind kind, Type type, std::size_t first,
                    std::size_t columns) {
        const std::uint64_t bytes =
            rows() * columns * (type == kDouble ? sizeof(double) : sizeof(float));
        file().write(arrayHead(kind, rows(), columns, name, 8 + padded(bytes)));
        std::string tag;
        appendTag(tag, type, bytes);
        file().write(tag);
        std::string cells;
        for (std::size_t column = first; column < first + columns; ++column) {
            forEachPiece([&](std::string_view piece) {
                cells.clear();
                for (std::size_t at = cellPlace(column); at < piece.size(); at += rowBytes())
                    cells += piece.substr(at, cellBytes(column));
                file().write(cells);
            });
        }
        file().write(std::string(static_cast<std::size_t>(padded(bytes) - bytes), '\0'));
    }

    const TableSubject& subject_;
    std::vector<std::string> notes_;
};

}  // namespace

std::unique_ptr<TableFile> matTable(ResultFile& file, const TableSubject& subject) {
    return std::make_unique<MatTable>(file, subject);
}

}  // namespace vynhost
