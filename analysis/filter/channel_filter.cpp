#include "filter/channel_filter.h"

#include <algorithm>
#include <cstddef>

#include "filter/channel_kernels.h"
#include "filter/floating_point.h"
#include "filter/lane_section_kernels.h"

namespace ovanlys {
namespace {

// Samples of all channels are worked on in stretches that stay in the second cache until the last
// of the channels has been filtered.
constexpr std::size_t kStretchValues = 32768;
constexpr std::size_t kLeastStretch = 64;   // samples of each channel
constexpr std::size_t kMostStretch = 1024;  // of one that is filtered alone, in a row of doubles
// Groups and channels that are filtered into doubles first.
constexpr std::size_t kRowValues = 1024;
constexpr std::size_t kMostStates = 1024;

class ChannelStretches {
public:
    ChannelStretches(std::span<FilterObject* const> objects, vyn::KernelLevel level)
        : objects_(objects),
          level_(level),
          kernels_(vyn::kernelsAt<LaneSectionKernels>(level)),
          convert_(vyn::kernelsAt<ChannelKernels>(level)) {}

    // Samples of each channel that a stretch has room for, whole groups.
    int length() const noexcept {
        const std::size_t samples = kStretchValues / objects_.size() / kGroup * kGroup;
        return static_cast<int>(std::clamp(samples, kLeastStretch, kMostStretch));
    }

    // Up to so many samples of all channels.
    void filter(const float* in, int count, float* out) const noexcept {
        for (std::size_t first = 0; first < objects_.size();) {
            Cascade* cascades[LaneSectionKernels::kMostChannels];
            const auto together = channelsFrom(first, count, cascades);
            if (together.empty()) {
                filterOne(objects_[first]->cascade(), in + first, count, out + first);
                ++first;
            } else {
                filterTogether(together, in + first, count / kGroup, out + first);
                first += together.size();
            }
        }
    }

private:
    // The channels from `first` on that can be taken side by side.
    std::span<Cascade* const> channelsFrom(
        std::size_t first, int count,
        Cascade* (&cascades)[LaneSectionKernels::kMostChannels]) const noexcept {
        const auto sections = static_cast<std::size_t>(objects_[first]->cascade().sectionCount());
        if (sections == 0 || count % kGroup != 0) return {};
        const std::size_t most = std::min({LaneSectionKernels::kMostChannels,
                                           kMostStates / (2 * sections), objects_.size() - first});
        const std::size_t channels = most / kernels_.step * kernels_.step;
        if (channels == 0) return {};
        for (std::size_t c = 0; c < channels; ++c)
            cascades[c] = &objects_[first + c]->cascade();
        const std::span<Cascade* const> all(cascades, channels);
        return Cascade::canRunTogether(all) ? all : std::span<Cascade* const>{};
    }

    void filterOne(Cascade& cascade, const float* in, int count, float* out) const noexcept {
        const std::size_t stride = objects_.size();
        const auto samples = static_cast<std::size_t>(count);
        alignas(64) double row[kMostStretch];
        convert_.take(in, stride, 1, samples, row);
        {
            const DenormalsFlushed mode;
            cascade.run(row, row, count, level_);
        }
        convert_.put(row, 1, samples, out, stride);
    }

    void filterTogether(std::span<Cascade* const> cascades, const float* in, int groups,
                        float* out) const noexcept {
        alignas(64) double states[kMostStates];
        Cascade::takeStates(cascades, states);
        const LaneSectionKernels::Channels channels{
            .sections = cascades[0]->laneSections().data(),
            .sectionCount = cascades[0]->laneSections().size(),
            .states = states,
            .count = cascades.size(),
        };
        if (in == out || !filterAtOnce(channels, in, groups, out)) {
            Cascade::takeStates(cascades, states);
            filterInRows(channels, in, groups, out);
        }
        Cascade::giveStates(cascades, states);
    }

    // False where a result may have been a denormal of single precision, which is 0 here.
    bool filterAtOnce(const LaneSectionKernels::Channels& channels, const float* in, int groups,
                      float* out) const noexcept {
        const ResultsFlushed mode;
        kernels_.toSingles(channels, in, objects_.size(), groups, out);
        return !mode.underflowed();
    }

    void filterInRows(const LaneSectionKernels::Channels& channels, const float* in, int groups,
                      float* out) const noexcept {
        const std::size_t stride = objects_.size();
        constexpr int kGroups = kRowValues / LaneSectionKernels::kMostChannels / kGroup;
        alignas(64) double rows[kRowValues];
        for (; groups > 0; groups -= kGroups) {
            const int few = std::min(groups, kGroups);
            {
                const ResultsFlushed mode;
                kernels_.toDoubles(channels, in, stride, few, rows);
            }
            const std::size_t samples = static_cast<std::size_t>(few) * kGroup;
            convert_.put(rows, channels.count, samples, out, stride);
            in += samples * stride;
            out += samples * stride;
        }
    }

    std::span<FilterObject* const> objects_;
    vyn::KernelLevel level_;
    const LaneSectionKernels& kernels_;
    const ChannelKernels& convert_;
};

}  // namespace

bool filterChannels(std::span<FilterObject* const> objects, const float* in, int n, float* out,
                    vyn::KernelLevel level) {
    for (FilterObject* const object : objects)
        if (!object->takeEdits()) return false;
    for (std::size_t c = 1; c < objects.size(); ++c)
        objects[c]->cascade().shareDesign(objects[c - 1]->cascade());

    const DenormalsKept mode;
    const ChannelStretches stretches(objects, level);
    const auto advance = [&](int count) {
        stretches.filter(in, count, out);
        in += static_cast<std::size_t>(count) * objects.size();
        out += static_cast<std::size_t>(count) * objects.size();
        n -= count;
    };
    // Up to the start of a group, then whole groups, then the rest.
    if (const int head = std::min(n, objects[0]->cascade().toNextGroup()); head > 0) advance(head);
    while (n >= kGroup)
        advance(std::min(n / kGroup * kGroup, stretches.length()));
    if (n > 0) advance(n);
    return true;
}

}  // namespace ovanlys
