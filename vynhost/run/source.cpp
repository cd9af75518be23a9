#include "vynhost/run/source.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "vynhost/base/memory_limit.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/run/sample_coding.h"

namespace vynhost {
namespace {

// Noise alone is noise on a silent channel, which stands for all that are asked for.
std::unique_ptr<Recording> noiseCarrier(const SourceEntry& entry) {
    return silence(1, *entry.rate, std::llround(entry.seconds * *entry.rate));
}

RawFormat rawFormatOf(const SourceEntry& entry) {
    std::vector<std::string> names;
    for (const SampleCoding& coding : sampleCodings()) {
        if (coding.name == entry.format) return {&coding, entry.rawChannels, *entry.rate};
        names.emplace_back(coding.name);
    }
    throw InputError(entry.formatPlace, tr("\"%1\" is none of %2", entry.format, joined(names)));
}

std::unique_ptr<Recording> openFor(const SourceEntry& entry, const std::filesystem::path& file) {
    try {
        if (file.empty()) return noiseCarrier(entry);
        const Truncated truncated = entry.usesTruncated ? Truncated::use : Truncated::refuse;
        if (!entry.format.empty()) return openRaw(file, rawFormatOf(entry), truncated);
        const ArrayChoice choice{entry.variable, entry.rowsAreChannels};
        return withMemory(entry.filePlace,
                          [&] { return openRecording(file, entry.rate, truncated, choice); });
    } catch (const RecordingError& error) {
        throw InputError(entry.filePlace, textOf(file) + ": " + error.what());
    }
}

// From 0; all of them when the entry names none. Of noise alone each is the carrier's.
std::vector<std::size_t> chosenChannels(const SourceEntry& entry, const std::filesystem::path& file,
                                        int available) {
    if (file.empty())
        return std::vector<std::size_t>(std::max<std::size_t>(entry.channels.size(), 1));
    std::vector<std::size_t> channels;
    if (entry.channels.empty()) {
        for (int channel = 0; channel < available; ++channel)
            channels.push_back(static_cast<std::size_t>(channel));
    }
    for (const int channel : entry.channels) {
        if (channel > available) {
            throw InputError(entry.channelsPlace, tr("channel %1 does not exist: %2 has %3",
                                                     channel, textOf(file), available));
        }
        channels.push_back(static_cast<std::size_t>(channel - 1));
    }
    return channels;
}

}  // namespace

Source::Source(const SourceEntry& entry, std::filesystem::path file)
    : entry_(&entry),
      file_(std::move(file)),
      recording_(openFor(entry, file_)),
      channels_(chosenChannels(entry, file_, recording_->channels())),
      scales_(scales()),
      noise_(entry.noise ? entry.noise->seed : 0) {
    describeChannels();
    choosePart();
}

// Where what is asked for is not there, nothing else is taken.
void Source::choosePart() {
    const double rate = recording_->rate();
    const std::int64_t all = recording_->frames();
    const bool endIsKnown = all != Recording::kUnknownFrames;
    const auto has = [&] {
        return tr("%1 has %2 s", textOf(file_), toText(static_cast<double>(all) / rate, 9));
    };
    if (entry_->start) {
        begin_ = std::llround(*entry_->start * rate);
        if (begin_ >= all)
            throw InputError(entry_->startPlace, tr("lies behind the end: %1", has()));
    }
    if (entry_->length) {
        wanted_ = std::llround(*entry_->length * rate);
        if (*wanted_ == 0) throw InputError(entry_->lengthPlace, tr("is less than a sample"));
        if (endIsKnown && begin_ + *wanted_ > all) {
            throw InputError(entry_->lengthPlace, tr("goes beyond the end: %1", has()));
        }
    }
    try {
        if (begin_ > 0) recording_->skip(begin_);
    } catch (const RecordingError& error) {
        throw InputError(entry_->startPlace, textOf(file_) + ": " + error.what());
    }
    position_ = begin_;
}

std::int64_t Source::end() const noexcept {
    return wanted_ ? std::min(begin_ + *wanted_, recording_->frames()) : recording_->frames();
}

double Source::start() const {
    return recording_->start() + static_cast<double>(begin_) / recording_->rate();
}

std::vector<float> Source::scales() {
    if (!entry_->calibration.empty()) return calibratedScales();
    const std::vector<double>& given = entry_->fullScale;
    if (given.size() == 1) {
        return std::vector<float>(channels_.size(), static_cast<float>(given.front()));
    }
    if (given.size() != channels_.size()) {
        throw InputError(entry_->fullScalePlace,
                         tr("%1 values for %2 channels", given.size(), channels_.size()));
    }
    return {given.begin(), given.end()};
}

// A channel of the recording is taken for the one of the same number in the calibration. Of a
// recording with fewer channels nobody can tell which they are.
std::vector<float> Source::calibratedScales() {
    const auto fail = [&](const std::string& what) {
        throw InputError(entry_->calibrationPlace, what);
    };
    try {
        calibration_ = readCalibration(entry_->calibration);
    } catch (const InputError& error) {
        fail(error.what());
    }
    const Calibration& calibration = *calibration_;
    const std::size_t known = calibration.channels.size();
    const std::string of =
        tr(known == 1 ? words("%1 is of %2 channel") : words("%1 is of %2 channels"),
           textOf(entry_->calibration), known);
    if (static_cast<std::size_t>(recording_->channels()) < known) {
        fail(tr("%1, %2 has %3", of, textOf(file_), recording_->channels()));
    }
    std::vector<float> scales;
    for (const std::size_t channel : channels_) {
        if (channel >= known) fail(tr("%1, and channel %2 is none", of, channel + 1));
        const Calibration::Channel& found = calibration.channels[channel];
        const auto named = [](const std::string& unit) {
            return unit.empty() ? tr("full scale") : printable(unit);
        };
        const std::string unit = recording_->channel(channel).unit;
        if (named(unit) != named(found.recordedIn)) {
            fail(tr("channel %1 is recorded in %2, and was calibrated in %3", channel + 1,
                    named(unit), named(found.recordedIn)));
        }
        scales.push_back(static_cast<float>(found.fullScale));
    }
    return scales;
}

// Units that do not hold for all channels stay behind the names that they stood behind.
void Source::describeChannels() {
    std::vector<Recording::Channel> channels;
    for (const std::size_t channel : channels_)
        channels.push_back(recording_->channel(channel));
    const auto unitOf = [](const Recording::Channel& channel) { return channel.unit; };
    unit_ = entry_->unit;
    const bool has = unit_.empty() && std::ranges::any_of(channels, [&](const auto& channel) {
                         return !channel.unit.empty();
                     });
    unitIsFiles_ =
        has && std::ranges::all_of(scales_, [](float scale) { return scale == 1; }) &&
        std::ranges::count(channels, channels.front().unit, unitOf) == std::ranges::ssize(channels);
    hasOwnUnits_ = has && !unitIsFiles_;
    if (unitIsFiles_) unit_ = channels.front().unit;
    for (const Recording::Channel& channel : channels) {
        std::string name = channel.name == entry_->name ? "" : channel.name;
        if (hasOwnUnits_ && !channel.unit.empty()) {
            name += (name.empty() ? "[" : " [") + channel.unit + "]";
        }
        names_.push_back(std::move(name));
    }
    if (std::ranges::all_of(names_, [](const std::string& name) { return name.empty(); })) {
        names_.clear();
    }
}

// What is left of the recording may be less.
std::size_t Source::framesInBlock() const {
    const auto block = static_cast<std::int64_t>(entry_->block);
    return static_cast<std::size_t>(std::min(block, end() - position_));
}

std::uint64_t Source::bytesToRead() const {
    const std::uint64_t copies = entry_->overlaps() ? 2 : 1;
    return copies * framesInBlock() * static_cast<std::uint64_t>(recording_->channels()) *
           sizeof(float);
}

std::uint64_t Source::bytesOfBlock() const {
    const std::uint64_t frames = entry_->tail == Tail::pad
                                     ? static_cast<std::uint64_t>(entry_->block)
                                     : std::uint64_t{framesInBlock()};
    return frames * channels_.size() * sizeof(float);
}

std::optional<ChannelData> Source::next() {
    const auto block = static_cast<std::size_t>(entry_->block);
    std::vector<float> interleaved(framesInBlock() *
                                   static_cast<std::size_t>(recording_->channels()));
    const std::size_t kept = std::min(overlap_.size(), interleaved.size());
    std::copy_n(overlap_.begin(), kept, interleaved.begin());
    const std::size_t got = kept / static_cast<std::size_t>(recording_->channels()) +
                            readFrames(std::span(interleaved).subspan(kept));
    ended_ = got < block || position_ + entry_->block == end() || blocks_ + 1 == entry_->mostBlocks;
    if (ended_ && wanted_ && frames() < *wanted_ && !entry_->usesTruncated) {
        throw InputError(entry_->lengthPlace,
                         tr("%1 ends before, after %2 s", textOf(file_), toText(length(), 9)));
    }
    rest_ = got < block ? got : 0;
    // Beside overlapping data blocks a shorter one would count its samples with another weight.
    leavesRest_ = entry_->tail == Tail::drop ||
                  (entry_->tail == Tail::automatic && entry_->overlaps() && blocks_ > 0);
    if (got < block && leavesRest_)
        rest_ -= kept / static_cast<std::size_t>(recording_->channels());
    blocks_ += got == block ? 1 : 0;
    if (got == 0 || (got < block && leavesRest_)) return std::nullopt;

    std::vector<float> values = chosenAndScaled(interleaved, got);
    if (entry_->noise) {
        for (float& value : values)
            value += static_cast<float>(entry_->noise->rms * noise_.next());
    }
    if (entry_->tail == Tail::pad) values.resize(block * channels_.size());
    ChannelData data = withHead(std::move(values));
    if (got == block && entry_->overlaps()) {
        position_ += entry_->step;
        keepOverlap(interleaved);
    } else {
        position_ += static_cast<std::int64_t>(got);
    }
    return data;
}

void Source::keepOverlap(std::span<const float> interleaved) {
    const auto step =
        static_cast<std::size_t>(entry_->step) * static_cast<std::size_t>(recording_->channels());
    overlap_.assign(interleaved.begin() + static_cast<std::ptrdiff_t>(step), interleaved.end());
}

double Source::position() const {
    return static_cast<double>(position_ - begin_) / recording_->rate();
}

double Source::length() const {
    if (end() == Recording::kUnknownFrames) return 0;
    return static_cast<double>(frames()) / recording_->rate();
}

std::size_t Source::readFrames(std::span<float> interleaved) {
    try {
        return recording_->read(interleaved);
    } catch (const RecordingError& error) {
        throw InputError(entry_->filePlace, textOf(file_) + ": " + error.what());
    }
}

std::vector<float> Source::chosenAndScaled(std::span<const float> interleaved,
                                           std::size_t frames) const {
    const auto all = static_cast<std::size_t>(recording_->channels());
    std::vector<float> values;
    values.reserve(frames * channels_.size());
    for (std::size_t i = 0; i < frames; ++i) {
        for (std::size_t channel = 0; channel < channels_.size(); ++channel)
            values.push_back(scales_[channel] * interleaved[i * all + channels_[channel]]);
    }
    return values;
}

// A head has one for all channels.
double Source::shownScale() const {
    if (entry_->calibration.empty() && entry_->fullScale.size() == 1) {
        return entry_->fullScale.front();
    }
    double largest = 0;
    for (const float scale : scales_)
        largest = std::max(largest, static_cast<double>(std::abs(scale)));
    return largest;
}

ChannelData Source::withHead(std::vector<float> values) const {
    const double rate = recording_->rate();
    ChannelData data =
        timeSignal(std::move(values), static_cast<int>(channels_.size()), 1.0 / rate);
    data.header.xStart = recording_->start() + static_cast<double>(position_) / rate;
    const double scale = shownScale();
    data.header.displayMinimum = -scale;
    data.header.displaySpan = 2 * scale;
    return data;
}

std::string Source::note() const {
    std::string note = tr(channels_.size() == 1 ? words("%1: %2, %3 samples at %4 Hz, %5 channel")
                                                : words("%1: %2, %3 samples at %4 Hz, %5 channels"),
                          name(), title(), frames(), recording_->rate(), channels_.size());
    if (entry_->start || entry_->length) note += tr(", from %1 s on", toText(start(), 9));
    if (unitIsFiles_) note += tr(" in %1", unit_);
    if (!entry_->calibration.empty()) note += tr(", calibrated by %1", textOf(entry_->calibration));
    if (entry_->rate && *entry_->rate != recording_->rate()) {
        note += tr("; its own rate counts, not the diagram's %1 Hz", *entry_->rate);
    }
    if (entry_->overlaps()) {
        note += tr("; %1 whole data blocks, one every %2 samples", blocks_, entry_->step);
    } else if (entry_->mostBlocks > 0 && blocks_ == entry_->mostBlocks) {
        note += tr("; the first %1 data blocks of it", blocks_);
    }
    if (!recording_->missing().empty()) note += "; " + recording_->missing().in(spokenLanguage());
    if (rest_ > 0 && leavesRest_) {
        note += tr("; the last %1 left out", rest_);
    } else if (rest_ > 0 && entry_->tail == Tail::pad) {
        const std::size_t zeros = static_cast<std::size_t>(entry_->block) - rest_;
        note += tr("; %1 zeros added at the end", zeros);
    }
    return note;
}

std::vector<Bilingual> Source::warnings() const {
    std::vector<Bilingual> warnings;
    const auto warn = [&](const Bilingual& what) {
        warnings.push_back({name() + ": " + what.english, name() + ": " + what.german});
    };
    if (entry_->rate && *entry_->rate != recording_->rate()) {
        warn(both("the recording's own rate counts, not the diagram's %1 Hz", *entry_->rate));
    }
    if (!recording_->missing().empty()) {
        warn(recording_->missing());
    }
    if (rest_ > 0 && entry_->tail == Tail::drop) {
        warn(both("the last %1 samples are left out", rest_));
    } else if (rest_ > 0 && entry_->tail == Tail::pad) {
        warn(
            both("%1 zeros are added at the end", static_cast<std::size_t>(entry_->block) - rest_));
    }
    return warnings;
}

std::string Source::title() const {
    const std::string rms = entry_->noise ? toText(entry_->noise->rms) : "";
    if (file_.empty()) return tr("noise of rms %1", rms);
    const std::string what = file_ == "-" ? tr("standard input") : textOf(file_);
    return what + (entry_->noise ? tr(" with noise of rms %1", rms) : "");
}

}  // namespace vynhost
