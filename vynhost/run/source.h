// A source of a diagram at work: a recording, noise, or noise on a recording, cut into data blocks.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "vynhost/base/bilingual.h"
#include "vynhost/diagram/calibration.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/interface/channel_data.h"
#include "vynhost/run/noise.h"
#include "vynhost/run/recording.h"

namespace vynhost {

class Source {
public:
    // Opens the file; without one there is noise alone. The entry must outlive the source. Raises
    // InputError for a file that is no recording, for channels that it does not have, and for a
    // calibration that does not fit.
    Source(const SourceEntry& entry, std::filesystem::path file);

    const SourceEntry& entry() const noexcept { return *entry_; }
    const std::string& name() const noexcept { return entry_->name; }
    // The diagram's unit, else the file's where that holds for all channels as they are.
    const std::string& unit() const noexcept { return unit_; }
    // The file says units, but they differ, or the values are scaled: `unit` is empty.
    bool hasOwnUnits() const noexcept { return hasOwnUnits_; }
    // Of the chosen channels, as the file calls them; none where it calls none.
    const std::vector<std::string>& channelNames() const noexcept { return names_; }

    // The next data block: the chosen channels, scaled, with the noise on top. Nothing where the
    // recording has ended, or where its short rest is dropped. Raises InputError for a file that
    // ends too early.
    std::optional<ChannelData> next();
    bool ended() const noexcept { return ended_; }
    // In seconds of the signal; the length is 0 while nobody knows it.
    double position() const;
    double length() const;

    // What a data block takes on its way, and again for each place that it goes to, in bytes.
    std::uint64_t bytesToRead() const;
    std::uint64_t bytesOfBlock() const;

    // In one line what was read, left out or added, once it has ended.
    std::string note() const;

    // --- What it is, for whoever reports ---
    const std::filesystem::path& file() const noexcept { return file_; }  // empty: noise alone
    double rate() const noexcept { return recording_->rate(); }
    std::int64_t frames() const noexcept { return end() - begin_; }
    // In seconds of the recording.
    double start() const;
    std::string digest() const { return recording_->digest(); }
    // The chosen channels, from 0, and what a recorded value of 1 stands for in each.
    const std::vector<std::size_t>& channels() const noexcept { return channels_; }
    const std::vector<float>& fullScales() const noexcept { return scales_; }
    const std::optional<Calibration>& calibration() const noexcept { return calibration_; }
    // What may not be what was expected, once it has ended.
    std::vector<Bilingual> warnings() const;

private:
    std::vector<float> scales();
    std::vector<float> calibratedScales();
    void describeChannels();
    std::string title() const;
    void choosePart();
    std::int64_t end() const noexcept;
    std::size_t framesInBlock() const;
    void keepOverlap(std::span<const float> interleaved);
    std::size_t readFrames(std::span<float> interleaved);
    std::vector<float> chosenAndScaled(std::span<const float> interleaved,
                                       std::size_t frames) const;
    double shownScale() const;
    ChannelData withHead(std::vector<float> values) const;

    const SourceEntry* entry_;
    std::filesystem::path file_;
    std::unique_ptr<Recording> recording_;
    std::vector<std::size_t> channels_;  // from 0
    std::optional<Calibration> calibration_;
    std::vector<float> scales_;  // one per chosen channel
    std::string unit_;
    bool unitIsFiles_ = false;
    bool hasOwnUnits_ = false;
    std::vector<std::string> names_;
    WhiteNoise noise_;
    std::int64_t begin_ = 0;              // in frames of the recording
    std::optional<std::int64_t> wanted_;  // as many are taken
    std::int64_t position_ = 0;           // of the next data block, in frames of the recording
    std::vector<float> overlap_;          // the frames of it that the one before has had, too
    std::int64_t blocks_ = 0;             // whole ones, given out
    std::size_t rest_ = 0;                // frames of a last, short data block
    bool leavesRest_ = false;             // out
    bool ended_ = false;
};

}  // namespace vynhost
