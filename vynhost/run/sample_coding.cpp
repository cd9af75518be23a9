#include "vynhost/run/sample_coding.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace vynhost {
namespace {

float sampleOf8(const char* bytes) {
    return (static_cast<float>(littleEndian<std::uint8_t>(bytes)) - 128.0F) / 128.0F;
}
float sampleOf16(const char* bytes) {
    return static_cast<float>(littleEndian<std::int16_t>(bytes)) / 32768.0F;
}
float sampleOf24(const char* bytes) {
    const std::uint32_t upper = littleEndian<std::uint8_t>(bytes + 2);
    const std::uint32_t lower = littleEndian<std::uint16_t>(bytes);
    return static_cast<float>(static_cast<std::int32_t>(upper << 24 | lower << 8) / 256) /
           8388608.0F;
}
float sampleOf32(const char* bytes) {
    return static_cast<float>(static_cast<double>(littleEndian<std::int32_t>(bytes)) /
                              2147483648.0);
}
float sampleOfFloat(const char* bytes) { return littleEndian<float>(bytes); }
float sampleOfDouble(const char* bytes) { return static_cast<float>(littleEndian<double>(bytes)); }

// ITU-T G.711: sign, segment and place in it; the even bits of A-law are inverted, all of mu-law.
float sampleOfALaw(const char* bytes) {
    const int code = littleEndian<std::uint8_t>(bytes) ^ 0x55;
    const int segment = code >> 4 & 7;
    int size = ((code & 15) << 4) + 8;
    if (segment > 0) size = (size + 0x100) << (segment - 1);
    return static_cast<float>((code & 0x80) != 0 ? size : -size) / 32768.0F;
}
float sampleOfMuLaw(const char* bytes) {
    constexpr int kBias = 0x84;
    const int code = ~littleEndian<std::uint8_t>(bytes) & 0xFF;
    const int size = ((((code & 15) << 3) + kBias) << (code >> 4 & 7)) - kBias;
    return static_cast<float>((code & 0x80) != 0 ? -size : size) / 32768.0F;
}

// One loop for each coding, so that none asks sample by sample which one it is.
template <float (*kSampleOf)(const char* bytes), std::size_t kBytes>
void decode(const char* bytes, std::span<float> samples) {
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = kSampleOf(bytes + i * kBytes);
}

constexpr int kPcm = 1;
constexpr int kFloat = 3;
constexpr std::array<SampleCoding, 8> kCodings = {{{"u8", kPcm, 8, decode<sampleOf8, 1>},
                                                   {"s16", kPcm, 16, decode<sampleOf16, 2>},
                                                   {"s24", kPcm, 24, decode<sampleOf24, 3>},
                                                   {"s32", kPcm, 32, decode<sampleOf32, 4>},
                                                   {"f32", kFloat, 32, decode<sampleOfFloat, 4>},
                                                   {"f64", kFloat, 64, decode<sampleOfDouble, 8>},
                                                   {"alaw", 6, 8, decode<sampleOfALaw, 1>},
                                                   {"ulaw", 7, 8, decode<sampleOfMuLaw, 1>}}};

}  // namespace

std::span<const SampleCoding> sampleCodings() { return kCodings; }

}  // namespace vynhost
