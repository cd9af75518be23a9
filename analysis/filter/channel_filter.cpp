#include "filter/channel_filter.h"

#include <algorithm>
#include <bit>
#include <cstddef>

#include "filter/channel_kernels.h"
#include "filter/floating_point.h"

namespace ovanlys {
namespace {

// Samples are worked on in stretches that stay in the nearest cache: converted, filtered,
// converted back.
constexpr std::size_t kStretchValues = 1024;
constexpr std::size_t kValuesPerLine = 64 / sizeof(float);  // of a cache
// Data blocks of more values come from memory that is worth asking for early.
constexpr std::size_t kMostValuesNear = 128 * 1024;
static_assert(kStretchValues / Cascade::kMostTogether % kGroup == 0);

class ChannelStretches {
public:
    ChannelStretches(std::span<FilterObject* const> objects, vyn::KernelLevel level)
        : objects_(objects),
          level_(level),
          kernels_(vyn::kernelsAt<ChannelKernels>(level)),
          step_(static_cast<std::size_t>(vyn::kernelsAt<SectionKernels>(level).channelStep)),
          widest_(std::min(Cascade::kMostTogether, objects.size() / step_ * step_)) {}

    // Samples of each channel that a stretch has room for, whole groups.
    int length() const noexcept {
        const std::size_t channels = std::bit_ceil(std::max<std::size_t>(widest_, 1));
        return static_cast<int>(kStretchValues / channels);
    }

    // Up to so many samples of all channels. If told so, memory that the next ones lie in, and that
    // these go to, is fetched while they are filtered.
    void filter(const float* in, int count, float* out, bool fetches) const noexcept {
        const std::size_t values = static_cast<std::size_t>(count) * objects_.size();
        for (std::size_t i = 0; fetches && i < values; i += kValuesPerLine) {
            __builtin_prefetch(in + values + i, 0);
            __builtin_prefetch(out + i, 1);
        }
        for (std::size_t first = 0; first < objects_.size();) {
            Cascade* cascades[Cascade::kMostTogether];
            const auto together = channelsFrom(first, count, cascades);
            filterSome(together, in + first, count, out + first);
            first += together.size();
        }
    }

private:
    // The channels from `first` on that can be taken side by side, or one.
    std::span<Cascade* const> channelsFrom(
        std::size_t first, int count, Cascade* (&cascades)[Cascade::kMostTogether]) const noexcept {
        const std::size_t left = objects_.size() - first;
        const std::size_t most = std::min(left / step_ * step_, widest_);
        for (std::size_t c = 0; c < std::max<std::size_t>(most, 1); ++c)
            cascades[c] = &objects_[first + c]->cascade();
        const std::span<Cascade* const> all(cascades, most);
        if (most > 0 && count % kGroup == 0 && Cascade::canRunTogether(all)) return all;
        return {cascades, 1};
    }

    void filterSome(std::span<Cascade* const> cascades, const float* in, int count,
                    float* out) const noexcept {
        const std::size_t stride = objects_.size();
        const auto samples = static_cast<std::size_t>(count);
        alignas(64) double rows[kStretchValues];
        kernels_.take(in, stride, cascades.size(), samples, rows);
        {
            const DenormalsFlushed mode;
            if (cascades.size() == 1) {
                cascades[0]->run(rows, rows, count, level_);
            } else {
                Cascade::runTogether(cascades, rows, count, level_);
            }
        }
        kernels_.put(rows, cascades.size(), samples, out, stride);
    }

    std::span<FilterObject* const> objects_;
    vyn::KernelLevel level_;
    const ChannelKernels& kernels_;
    std::size_t step_;
    std::size_t widest_;  // 0: no channels side by side
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
    const bool fetches = static_cast<std::size_t>(n) * objects.size() > kMostValuesNear;
    const auto advance = [&](int count) {
        stretches.filter(in, count, out, fetches);
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
