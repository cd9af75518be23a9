#include "vynhost/library/running_block.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "vynhost/base/text.h"
#include "vynhost/diagram/block_settings.h"
#include "vynhost/diagram/value_names.h"
#include "vynhost/run/block_step.h"

namespace vynhost {
namespace {

ChannelHeader headOf(const vynhost_data& data) {
    ChannelHeader head{};
    head.valueCount = static_cast<std::int32_t>(data.count);
    head.xAxisKind = data.x_kind;
    head.yUnit = data.y_unit;
    head.xStart = data.x_start;
    head.xStep = data.x_step;
    head.displayMinimum = data.display_minimum;
    head.displaySpan = data.display_span;
    head.channelCount = data.channels;
    head.axisFlags = data.flags;
    return head;
}

void requireSound(const std::string& input, const vynhost_data& data) {
    const auto refuse = [&](const std::string& what) {
        throw InputError("input " + input + ": " + what);
    };
    if (data.channels < 1) refuse(toText(data.channels) + " channels, allowed is 1 or more");
    if (data.count < 0 || data.count > std::numeric_limits<std::int32_t>::max()) {
        refuse(toText(data.count) + " values in one data block, allowed is 0 to 2147483647");
    }
    if (data.count % data.channels != 0) {
        refuse(toText(data.count) + " values are no multiple of " + toText(data.channels) +
               " channels");
    }
    if (data.count > 0 && data.values == nullptr) refuse("there are no values");
    if (!(data.x_step > 0) || !std::isfinite(data.x_step)) {
        refuse("the x step is " + toText(data.x_step) + ", allowed is above 0");
    }
    if (!std::isfinite(data.x_start)) refuse("x starts at " + toText(data.x_start));
}

// The last setting of a keyword counts.
std::vector<Setting> merged(std::vector<Setting> settings, std::vector<Setting> later) {
    for (Setting& setting : later) {
        std::erase_if(settings, [&](const Setting& before) {
            return equalIgnoringCase(before.keyword, setting.keyword);
        });
        settings.push_back(std::move(setting));
    }
    return settings;
}

}  // namespace

vynhost_data dataOf(const ChannelHeader& head, const float* values, std::size_t count) {
    return {.values = values,
            .count = static_cast<std::int64_t>(count),
            .x_start = head.xStart,
            .x_step = head.xStep,
            .display_minimum = head.displayMinimum,
            .display_span = head.displaySpan,
            .channels = head.channelCount,
            .x_kind = head.xAxisKind,
            .y_unit = head.yUnit,
            .flags = head.axisFlags};
}

RunningBlock::Held::~Held() {
    view.reset();
    memory.free(handle);
}

RunningBlock::RunningBlock(ModuleHost& host, std::span<const TypeInfo> types, BlockEntry entry)
    : host_(host), types_(types) {
    place(std::move(entry));
}

void RunningBlock::place(BlockEntry entry) {
    auto block = placeBlock(host_, types_, entry);
    checkValues(meaningOf(static_cast<std::int32_t>(block->typeCode())), entry,
                valuesOf(*block, entry));
    entry_ = std::move(entry);
    block_ = std::move(block);
    inputs_ = connectorNames(block_->inputLabels());
    outputs_ = connectorNames(block_->outputLabels());
}

// --- Parameters -----------------------------------------------------------------------------

WrittenValue RunningBlock::get(const std::string& keyword) {
    const Setting wanted{keyword, std::string(), {.file = "", .line = 0, .key = entry_.name}};
    const auto& meaning = meaningOf(static_cast<std::int32_t>(block_->typeCode()));
    const KeywordMeaning& row = keywordOf(meaning, wanted);
    const WrittenValue* value = nullptr;
    const KeywordValues values = valuesOf(*block_, entry_);
    value = values.find(row.name);
    return value == nullptr ? WrittenValue() : *value;
}

void RunningBlock::set(std::vector<Setting> settings) {
    if (runs_) throw InputError(entry_.place, "a run is under way; settings wait for its end");
    BlockEntry entry = entry_;
    entry.settings = merged(std::move(entry.settings), std::move(settings));
    place(std::move(entry));
}

std::vector<std::string> RunningBlock::quantities(int output) {
    std::vector<std::string> names;
    for (const ValueName& value : valueNames(*block_, output)) {
        names.push_back(value.unit.empty() ? value.name : value.name + " [" + value.unit + "]");
    }
    return names;
}

// --- A run ----------------------------------------------------------------------------------

void RunningBlock::start(std::uint32_t wired) {
    stop();
    block_->wireAll();
    int channel = 0;
    for (std::size_t i = 0; i < inputs_.size(); ++i) {
        const bool isWired = (wired >> i & 1U) != 0;
        block_->wireInput(static_cast<int>(i), isWired ? channel++ : kUnwired);
    }
    intervals_.reset();
    if (block_->typeCode() == kLevel) intervals_.emplace(block_->getReal("PkFreqOut"));
    wired_ = wired;
    followers_ = 0;
    checkedAtRate_ = false;
    runs_ = true;
    block_->initSim();
}

void RunningBlock::requireTakable(int input, const vynhost_data& data) {
    const auto index = static_cast<std::size_t>(input);
    if (!runs_) throw InputError(entry_.place, "no run has been started");
    if (input < 0 || index >= inputs_.size() || (wired_ >> index & 1U) == 0) {
        throw InputError(entry_.place, "data come to input " + toText(input) +
                                           ", which is not wired; there are " + joined(inputs_));
    }
    requireSound(inputs_[index], data);
    if (block_->waits(input)) {
        throw InputError(entry_.place, "the data block at input " + inputs_[index] +
                                           " still waits, no other one is taken");
    }
    if (input == 0 && !checkedAtRate_) checkedAtRate_ = checkAtRate(*block_, entry_, headOf(data));
}

void RunningBlock::put(int input, const vynhost_data& data) {
    requireTakable(input, data);
    const auto count = static_cast<std::size_t>(data.count);
    const Handle handle = host_.memory().allocateData(count);
    if (handle == Handle::none) throw RunError(kWrongInput, "memory is out");
    const platform::View view(handle);
    const ChannelHeader head = headOf(data);
    std::memcpy(view.address(), &head, sizeof head);
    if (count > 0) std::memcpy(view.address() + kValuesOffset, data.values, count * sizeof(float));
    block_->put(input, handle);
    if (intervals_ && input == 0) {
        ChannelData counted;
        counted.header = head;
        counted.values.assign(data.values, data.values + count);
        intervals_->take(counted);
    }
}

bool RunningBlock::step() {
    if (!runs_) throw InputError(entry_.place, "no run has been started");
    for (std::optional<Held>& held : held_)
        held.reset();
    const DataAtConnectors before = dataAtConnectors(*block_);
    const Int result = block_->simulate();
    if (result == kFailed) raise();
    if (result == kNotWired) {
        std::vector<std::string> open;
        for (std::size_t i = 0; i < inputs_.size(); ++i) {
            if ((wired_ >> i & 1U) == 0) open.push_back(inputs_[i]);
        }
        throw InputError(entry_.place, "every input must have data; missing: " + joined(open));
    }
    return dataAtConnectors(*block_) != before;
}

std::optional<vynhost_data> RunningBlock::take(int output) {
    const Handle handle = block_->takeHandle(output);
    if (handle == Handle::none) return std::nullopt;
    HostMemory& memory = host_.memory();
    const HostMemory::Entry* entry = memory.find(handle);
    if (entry == nullptr || entry->bytes < kValuesOffset) return std::nullopt;
    const std::size_t room = (entry->bytes - kValuesOffset) / sizeof(float);
    auto& held = held_.at(static_cast<std::size_t>(output));
    held.emplace(memory, handle);
    const std::byte* address = held->view->address();
    ChannelHeader head{};
    std::memcpy(&head, address, sizeof head);
    if (intervals_) {
        const LevelIntervals::Interval interval = intervals_->next();
        head.xStart = interval.begin;
        head.xStep = interval.end - interval.begin;
    }
    const auto counted = static_cast<std::size_t>(std::max<std::int32_t>(head.valueCount, 0));
    return dataOf(head, reinterpret_cast<const float*>(address + kValuesOffset),
                  std::min(room, counted));
}

bool RunningBlock::finish() {
    return runs_ && intervals_ && showIntervalEnd(*block_, *intervals_, followers_);
}

void RunningBlock::stop() {
    for (std::optional<Held>& held : held_)
        held.reset();
    if (!std::exchange(runs_, false)) return;
    block_->stop();
    for (int i = 0; i < kMaxConnectors; ++i) {
        block_->put(i, Handle::none);
        host_.memory().free(block_->takeHandle(i));
    }
}

std::vector<std::string> RunningBlock::waiting() const {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < inputs_.size(); ++i) {
        if (block_->waits(static_cast<int>(i))) names.push_back(inputs_[i]);
    }
    return names;
}

// --- Errors ---------------------------------------------------------------------------------

void RunningBlock::raise() {
    const std::string text = ownErrorText(*block_);
    const std::string& name = entry_.place.key;
    throw RunError(kBlockError, name.empty() ? text : name + ": " + text);
}

}  // namespace vynhost
