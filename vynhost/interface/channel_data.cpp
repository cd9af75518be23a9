#include "vynhost/interface/channel_data.h"

#include <utility>

namespace vynhost {

std::vector<float> ChannelData::channel(int index) const {
    std::vector<float> result;
    result.reserve(static_cast<std::size_t>(samples()));
    for (int i = 0; i < samples(); ++i)
        result.push_back(at(i, index));
    return result;
}

ChannelData timeSignal(std::vector<float> interleaved, int channels, double xStep) {
    ChannelData data;
    data.header.valueCount = static_cast<std::int32_t>(interleaved.size());
    data.header.channelCount = channels;
    data.header.xAxisKind = kSeconds;
    data.header.xStep = xStep;
    data.header.displayMinimum = -1;
    data.header.displaySpan = 2;
    data.values = std::move(interleaved);
    return data;
}

ChannelData timeSignal(const std::vector<std::vector<float>>& channels, double xStep) {
    std::vector<float> interleaved;
    for (std::size_t i = 0; i < channels.front().size(); ++i) {
        for (const std::vector<float>& channel : channels)
            interleaved.push_back(channel.at(i));
    }
    return timeSignal(std::move(interleaved), static_cast<int>(channels.size()), xStep);
}

}  // namespace vynhost
