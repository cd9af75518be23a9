// Recordings among the arrays of a file that holds several: which one it is, how it lies, and how
// fast it was taken.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vynhost {

// What a source says of it.
struct ArrayChoice {
    std::string variable = {};     // its name; empty: the only one that can be meant
    bool rowsAreChannels = false;  // else rows are samples

    bool isGiven() const noexcept { return !variable.empty() || rowsAreChannels; }
};

struct NumberArray {
    std::string name;
    std::vector<std::int64_t> shape;
    std::string kind;        // "double", "text"
    bool isReadable = true;  // real numbers of a kind that is read
};

// The index of the one that is the recording. Raises RecordingError, with what there is, when there
// is no such, or when several could be meant.
std::size_t chosenArray(std::span<const NumberArray> arrays, const ArrayChoice& choice);

struct ArrayLayout {
    std::int64_t frames = 0;
    int channels = 1;
    bool isTransposed = false;  // a row holds a channel
};

// Rows are samples and columns channels, unless the choice says otherwise; one row or one column is
// one channel. Raises RecordingError for another shape, also for more channels than samples, since
// that is most often an array that lies the other way.
ArrayLayout layoutOf(const NumberArray& array, const ArrayChoice& choice);

// Names under which programs keep samples per second, and the x of the samples.
bool isRateName(std::string_view name);
bool isXName(std::string_view name);

// How a number of this kind becomes a sample: (value + offset) * scale; whole numbers have full
// scale = 1, as in sound files.
struct NumberKind {
    std::string_view name;
    double offset;
    double scale;
};
// Null for kinds that are not read.
const NumberKind* numberKindNamed(std::string_view name);

}  // namespace vynhost
