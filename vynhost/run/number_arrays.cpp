#include "vynhost/run/number_arrays.h"

#include <algorithm>

#include "vynhost/base/limits.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/run/recording.h"

namespace vynhost {
namespace {

std::string textOfArray(const NumberArray& array) {
    std::string text = printable(array.name) + " (";
    for (const std::int64_t size : array.shape)
        text += std::to_string(size) + " x ";
    if (!array.shape.empty()) text.resize(text.size() - 2);
    return text + array.kind + ")";
}

std::string listOf(std::span<const NumberArray> arrays) {
    constexpr std::size_t kMost = 8;  // an error is one line
    std::vector<std::string> names;
    for (const NumberArray& array : arrays.first(std::min(arrays.size(), kMost)))
        names.push_back(textOfArray(array));
    std::string text = names.empty() ? tr("nothing") : joined(names);
    if (arrays.size() > kMost) text += tr(" and %1 more", arrays.size() - kMost);
    return text;
}

bool holdsSamples(const NumberArray& array) {
    if (!array.isReadable || array.shape.size() > 2) return false;
    return std::ranges::any_of(array.shape, [](std::int64_t size) { return size > 1; });
}

bool isOneOf(std::string_view name, std::span<const std::string_view> known) {
    return std::ranges::any_of(known,
                               [&](std::string_view one) { return equalIgnoringCase(name, one); });
}

}  // namespace

std::size_t chosenArray(std::span<const NumberArray> arrays, const ArrayChoice& choice) {
    if (!choice.variable.empty()) {
        const auto found = std::ranges::find(arrays, choice.variable, &NumberArray::name);
        if (found == arrays.end()) {
            throw RecordingError(
                tr("has no \"%1\"; it holds %2", printable(choice.variable), listOf(arrays)));
        }
        if (!found->isReadable) {
            throw RecordingError(tr(
                "%1 is not read; real numbers of kind double, single, int32, int16 and uint8 are",
                textOfArray(*found)));
        }
        return static_cast<std::size_t>(found - arrays.begin());
    }
    std::vector<std::size_t> possible;
    std::vector<NumberArray> named;
    for (std::size_t i = 0; i < arrays.size(); ++i) {
        const std::string& path = arrays[i].name;
        if (!holdsSamples(arrays[i]) || isXName(path.substr(path.rfind('/') + 1))) continue;
        possible.push_back(i);
        named.push_back(arrays[i]);
    }
    if (possible.empty()) {
        throw RecordingError(tr("has no array of samples; it holds %1", listOf(arrays)));
    }
    if (possible.size() > 1) {
        throw RecordingError(
            tr("holds several arrays (variable = \"NAME\" of the source picks one): %1",
               listOf(named)));
    }
    return possible.front();
}

ArrayLayout layoutOf(const NumberArray& array, const ArrayChoice& choice) {
    const auto fail = [&](const std::string& what) {
        throw RecordingError(textOfArray(array) + " " + what);
    };
    if (array.shape.empty() || array.shape.size() > 2) {
        fail(tr("has %1 dimensions; rows of samples and columns of channels are read",
                array.shape.size()));
    }
    const std::int64_t rows = array.shape.front();
    const std::int64_t columns = array.shape.size() == 2 ? array.shape.back() : 1;
    if (rows == 0 || columns == 0) fail(tr("holds no samples"));
    if (rows == 1) return {columns, 1, true};
    if (columns == 1) return {rows, 1, false};
    const std::int64_t channels = choice.rowsAreChannels ? rows : columns;
    const std::int64_t frames = choice.rowsAreChannels ? columns : rows;
    if (channels > frames) {
        fail(
            choice.rowsAreChannels
                ? tr("has more rows than columns, and rows = \"channels\"")
                : tr("has more columns than rows, and rows are samples (rows = \"channels\" of the "
                     "source reads it the other way)"));
    }
    if (channels > static_cast<std::int64_t>(kMostChannels)) {
        fail(tr("has %1 channels; 1 to 1024 are read", channels));
    }
    return {frames, static_cast<int>(channels), choice.rowsAreChannels};
}

bool isRateName(std::string_view name) {
    constexpr std::array<std::string_view, 6> kNames = {
        "rate", "fs", "samplerate", "sample_rate", "samplingrate", "sampling_rate"};
    return isOneOf(name, kNames);
}

bool isXName(std::string_view name) {
    constexpr std::array<std::string_view, 3> kNames = {"x", "t", "time"};
    return isOneOf(name, kNames);
}

const NumberKind* numberKindNamed(std::string_view name) {
    constexpr double kByte = 128;
    constexpr double kShort = 32768;
    constexpr double kLong = 2147483648;
    static constexpr std::array<NumberKind, 5> kKinds = {{{"double", 0, 1},
                                                          {"single", 0, 1},
                                                          {"int32", 0, 1 / kLong},
                                                          {"int16", 0, 1 / kShort},
                                                          {"uint8", -kByte, 1 / kByte}}};
    const auto* found = std::ranges::find(kKinds, name, &NumberKind::name);
    return found == kKinds.end() ? nullptr : found;
}

}  // namespace vynhost
