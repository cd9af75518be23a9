// The IIR filters of a run: one filter object of the analysis library per channel.
#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>
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
        filters.functions_ = &functions;
        for (const FilterObject& object : objects)
            filters.handles_.push_back(object.handle());
        filters.objects_ = std::move(objects);
        return filters;
    }

    explicit operator bool() const noexcept { return !objects_.empty(); }

    // The objects, in the order of the channels.
    std::span<const FilterObject> objects() const noexcept { return objects_; }

    // Filters interleaved samples of all channels; `out` is as long as `in`. Values that make no
    // whole sample become 0.
    void filter(std::span<const float> in, std::span<float> out) {
        if (filterTogether(in, out)) return;
        rows_.filter(in, static_cast<int>(objects_.size()), out,
                     [this](int channel, std::span<double> row) {
                         objects_[static_cast<std::size_t>(channel)].filter(row);
                     });
    }

private:
    // All channels in one call, the same bits; false, and nothing done, where the library cannot.
    bool filterTogether(std::span<const float> in, std::span<float> out) const {
        functions_->filter.address();  // raises when the library has been unloaded
        if (!functions_->filterChannels.bound()) return false;
        const std::size_t samples = in.size() / handles_.size();
        if (samples > std::numeric_limits<int>::max()) return false;
        const int status =
            functions_->filterChannels(in.data(), static_cast<int>(samples), handles_.data(),
                                       static_cast<int>(handles_.size()), out.data());
        if (status != 0) return false;
        std::fill(out.begin() + static_cast<std::ptrdiff_t>(samples * handles_.size()), out.end(),
                  0.0F);
        return true;
    }

    const AnalysisFunctions* functions_ = nullptr;
    std::vector<FilterObject> objects_;
    std::vector<void*> handles_;  // theirs
    ChannelRows rows_;
};

}  // namespace vynpack
