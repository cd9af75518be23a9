// A channel data block on the host's side, outside shared memory.
#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>
#include <vector>

#include "vynhost/interface/module_interface.h"

namespace vynhost {

struct ChannelData {
    ChannelHeader header{};
    // The rest of the head, which belongs to the host and travels from input to output.
    std::array<std::byte, kValuesOffset - sizeof(ChannelHeader)> hostBytes{};
    std::vector<float> values;  // interleaved: sample i of channel c at c + i * channels

    int channels() const noexcept { return header.channelCount; }
    int samples() const noexcept {
        return channels() < 1 ? 0 : static_cast<int>(values.size()) / channels();
    }
    float at(int sample, int channel) const {
        return values.at(static_cast<std::size_t>(channel) +
                         static_cast<std::size_t>(sample) * static_cast<std::size_t>(channels()));
    }
    std::vector<float> channel(int index) const;
};

// Interleaved values with a head that fits them: seconds, display -1 to 1.
ChannelData timeSignal(std::vector<float> interleaved, int channels = 1,
                       double xStep = 1.0 / 48000);
// One vector per channel, all of one length.
ChannelData timeSignal(const std::vector<std::vector<float>>& channels, double xStep = 1.0 / 48000);

}  // namespace vynhost
