// The IIR filters of a run: one filter object of the analysis library per channel.
#pragma once

#include <cstddef>
#include <span>
#include <utility>
#include <vector>

#include "blocks/filter/core/channel_rows.h"
#include "libs/filter_object.h"

namespace vynpack {

class ChannelFilters {
public:
    // More would drive the machine into swapping.
    static constexpr int kMost = 16384;

    // No filters: of a run that has not begun, or could not.
    ChannelFilters() = default;

    // One new object per channel; no filters for more channels than kMost and when the library
    // refuses an object. Raises when the library lacks a function. Errors: std::bad_alloc.
    static ChannelFilters create(const AnalysisFunctions& functions, int kind, int order,
                                 int channels) {
        if (channels > kMost) return {};
        std::vector<FilterObject> objects;
        objects.reserve(static_cast<std::size_t>(channels));
        for (int channel = 0; channel < channels; ++channel) {
            FilterObject object(functions, kind, order);
            if (!object) return {};
            objects.push_back(std::move(object));
        }
        ChannelFilters filters;
        filters.objects_ = std::move(objects);
        return filters;
    }

    explicit operator bool() const noexcept { return !objects_.empty(); }

    // The objects, in the order of the channels.
    std::span<const FilterObject> objects() const noexcept { return objects_; }

    // Filters interleaved samples of all channels; `out` is as long as `in`.
    void filter(std::span<const float> in, std::span<float> out) {
        rows_.filter(in, static_cast<int>(objects_.size()), out,
                     [this](int channel, std::span<double> row) {
                         objects_[static_cast<std::size_t>(channel)].filter(row);
                     });
    }

private:
    std::vector<FilterObject> objects_;
    ChannelRows rows_;
};

}  // namespace vynpack
