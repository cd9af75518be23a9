#include "vynhost/results/spectrogram.h"

#include <algorithm>
#include <limits>

namespace vynhost {
namespace {

constexpr float kNothing = std::numeric_limits<float>::quiet_NaN();

// Past what is no number.
void raise(float& field, float value) {
    if (!(value <= field)) field = value == value ? value : field;
}

}  // namespace

Spectrogram::Spectrogram(const ChannelData& first, std::size_t channel)
    : channel_(channel),
      rows_(0),
      linesPerRow_(1),
      firstLine_(first.header.xStart),
      lineStep_(first.header.xStep) {
    const auto lines = static_cast<std::size_t>(first.samples());
    linesPerRow_ = std::max<std::size_t>(1, (lines + kMostRows - 1) / kMostRows);
    rows_ = (lines + linesPerRow_ - 1) / linesPerRow_;
}

void Spectrogram::add(const ChannelData& block, double time) {
    if (rows_ == 0) return;
    if (spectra_ == 0) firstTime_ = time;
    lastTime_ = time;
    if (spectra_ % perColumn_ == 0) {
        if (columns() == kMostColumns) halveColumns();
        if (spectra_ % perColumn_ == 0) fields_.insert(fields_.end(), rows_, kNothing);
    }
    ++spectra_;
    float* column = fields_.data() + (columns() - 1) * rows_;
    const auto channels = static_cast<std::size_t>(block.channels());
    const std::size_t lines =
        std::min(static_cast<std::size_t>(block.samples()), rows_ * linesPerRow_);
    for (std::size_t line = 0; line < lines; ++line) {
        raise(column[line / linesPerRow_], block.values[line * channels + channel_]);
    }
}

void Spectrogram::halveColumns() {
    for (std::size_t column = 0; column < kMostColumns; column += 2) {
        const float* first = fields_.data() + column * rows_;
        float* target = fields_.data() + column / 2 * rows_;
        for (std::size_t row = 0; row < rows_; ++row) {
            float highest = first[row];
            raise(highest, first[rows_ + row]);
            target[row] = highest;
        }
    }
    fields_.resize(kMostColumns / 2 * rows_);
    perColumn_ *= 2;
}

}  // namespace vynhost
