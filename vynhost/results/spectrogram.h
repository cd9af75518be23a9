// Spectra one behind the other, as a picture over time and frequency.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "vynhost/diagram/quantity.h"
#include "vynhost/interface/channel_data.h"

namespace vynhost {

// Of one channel. Neighbouring lines, and neighbouring spectra as more come, share a field, which
// has the highest of their values: no line is lost, however long the recording is.
class Spectrogram {
public:
    static constexpr std::size_t kMostRows = 192;
    static constexpr std::size_t kMostColumns = 384;

    // Of spectra like this one.
    Spectrogram(const ChannelData& first, std::size_t channel);

    // `time`: where in the signal the spectrum's data begin, in seconds.
    void add(const ChannelData& block, double time);
    // What it takes at most, in bytes.
    std::uint64_t bytes() const noexcept { return kMostColumns * rows_ * sizeof(float); }

    std::size_t rows() const noexcept { return rows_; }
    std::size_t columns() const noexcept { return rows_ == 0 ? 0 : fields_.size() / rows_; }
    std::size_t linesPerRow() const noexcept { return linesPerRow_; }
    std::uint64_t spectraPerColumn() const noexcept { return perColumn_; }
    std::uint64_t spectra() const noexcept { return spectra_; }
    // Where the first and the last spectrum begin.
    double firstTime() const noexcept { return firstTime_; }
    double lastTime() const noexcept { return lastTime_; }
    double firstLine() const noexcept { return firstLine_; }
    double lineStep() const noexcept { return lineStep_; }
    // Column by column, each from its lowest line up.
    const std::vector<float>& fields() const noexcept { return fields_; }

    std::string name;
    std::string xUnit;  // of the lines
    Quantity quantity;

private:
    void halveColumns();

    std::size_t channel_;
    std::size_t rows_;
    std::size_t linesPerRow_;
    double firstLine_;
    double lineStep_;
    double firstTime_ = 0;
    double lastTime_ = 0;
    std::uint64_t spectra_ = 0;
    std::uint64_t perColumn_ = 1;
    std::vector<float> fields_;
};

}  // namespace vynhost
