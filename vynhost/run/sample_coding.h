// How samples stand in files, as bytes.
#pragma once

#include <cstddef>
#include <cstring>
#include <span>
#include <string_view>

namespace vynhost {

// A number as it stands in a file; both systems are little-endian.
template <class Number>
Number littleEndian(const char* bytes) {
    Number number{};
    std::memcpy(&number, bytes, sizeof number);
    return number;
}

// Little-endian; full scale = 1 for whole numbers.
struct SampleCoding {
    std::string_view name;  // as a diagram calls it
    int wavFormat;          // of the WAVE format's registry
    int bits;
    void (*decode)(const char* bytes, std::span<float> samples);

    std::size_t bytes() const noexcept { return static_cast<std::size_t>(bits) / 8; }
};

// "u8", "s16", "s24", "s32", "f32", "f64", "alaw" and "ulaw" (ITU-T G.711).
std::span<const SampleCoding> sampleCodings();

}  // namespace vynhost
