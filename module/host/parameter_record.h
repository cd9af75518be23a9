// Parameter records in the host's diagram files: two int32 words (a size constant of the block type
// and the format version), then the fields at their own widths, little-endian, without padding.
//
// A block lists its fields once; the same list serves both directions:
//
//     template <class Record, class Self>
//     static void fields(Record& record, Self& self) {
//         record(self.amplitudeType, self.window, ...);
//     }
//
// The size word, Parameters::kRecordSizeWord, is a constant that the type's writers chose, not the
// length of what follows.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "host/module_interface.h"
#include "platform/file.h"

namespace vynpack {

static_assert(std::endian::native == std::endian::little);

// Writes items in sequence. Write errors are not reported: the host owns the file and its fate.
class RecordWriter {
public:
    explicit RecordWriter(FileHandle file) noexcept : file_(file) {}

    template <class... Items>
    void operator()(const Items&... items) noexcept {
        (write(items), ...);
    }

private:
    template <class Item>
    void write(const Item& item) noexcept {
        static_assert(std::is_trivially_copyable_v<Item>);
        platform::writeFile(file_, &item, sizeof item);
    }

    FileHandle file_;
};

// Reads items in sequence. From the first item on that the file does not hold whole, all items keep
// their values.
class RecordReader {
public:
    explicit RecordReader(FileHandle file) noexcept : file_(file) {}

    template <class... Items>
    bool operator()(Items&... items) noexcept {
        return (read(items) && ...);
    }

private:
    template <class Item>
    bool read(Item& item) noexcept {
        static_assert(std::is_trivially_copyable_v<Item>);
        Item value;
        ended_ = ended_ || platform::readFile(file_, &value, sizeof value) != sizeof value;
        if (!ended_) item = value;
        return !ended_;
    }

    FileHandle file_;
    bool ended_ = false;
};

// The two words in front of the fields.
struct RecordFrame {
    std::int32_t size = 0;
    std::int32_t version = 0;
};

// Writes the frame and the fields that Parameters::fields lists.
template <class Parameters>
void saveRecord(FileHandle file, const Parameters& parameters) noexcept {
    RecordWriter record(file);
    record(Parameters::kRecordSizeWord, kFormatVersion);
    Parameters::fields(record, parameters);
}

// Reads the frame, which most types ignore, and the fields.
template <class Parameters>
RecordFrame restoreRecord(FileHandle file, Parameters& parameters) noexcept {
    RecordFrame frame;
    RecordReader record(file);
    record(frame.size, frame.version);
    Parameters::fields(record, parameters);
    return frame;
}

}  // namespace vynpack
