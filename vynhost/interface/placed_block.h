// One block in the host's diagram: its connectors, its data, its run, its parameters.
//
//     ModuleLibrary module(ModuleLibrary::defaultPath());
//     ModuleHost host(module);
//     PlacedBlock spectrum(host, kSpektrum);
//     spectrum.set("PkWndFct", "HANNING");
//     spectrum.wireAll();
//     spectrum.initSim();
//     spectrum.put(0, timeSignal(samples));
//     spectrum.simulate();
//     ChannelData result = *spectrum.take(0);
//     spectrum.stop();
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "vynhost/interface/channel_data.h"
#include "vynhost/interface/host_memory.h"
#include "vynhost/interface/module_host.h"
#include "vynhost/interface/module_interface.h"
#include "vynhost/interface/platform/system.h"

namespace vynhost {

// One row of a block's keyword table as the module wrote it.
struct KeywordRow {
    std::string name;
    ValueType type{};
    std::uint32_t reserved1 = 0;
    std::uint32_t reserved2 = 0;
    bool operator==(const KeywordRow&) const = default;
};

using KeywordValue = std::variant<std::int32_t, double, std::string>;

// From its creation to its destruction.
class PlacedBlock {
public:
    // Creates it; `created()` tells whether the module did.
    PlacedBlock(ModuleHost& host, int typeCode);
    // Restores it from a parameter record.
    PlacedBlock(ModuleHost& host, int typeCode, const std::string& record);
    // Restores it from an open file, as far as the block reads.
    PlacedBlock(ModuleHost& host, int typeCode, platform::ParameterFile& file);
    // Destroys it, in the middle of a run too, and takes back what lies at its connectors.
    ~PlacedBlock();
    PlacedBlock(const PlacedBlock&) = delete;
    PlacedBlock& operator=(const PlacedBlock&) = delete;

    bool created() const noexcept { return handle_ != kNoBlock; }
    Int handle() const noexcept { return handle_; }
    Int typeCode() const noexcept { return typeCode_; }
    Int context() const noexcept { return context_; }
    ModuleHost& host() const noexcept { return host_; }

    // --- Connectors ---
    std::string connectors();
    // The labels before and after ";" of the connector string: letters, or numbers from 1.
    std::vector<std::string> inputLabels();
    std::vector<std::string> outputLabels();
    // Wires every connector that the string names, and only those.
    void wireAll();
    void wireInput(int connector, int channel);  // channel < 0: not wired
    void wireOutput(int connector, int channel);
    // What the host answers when the module counts connectors.
    void setCounts(Int inputs, Int outputs) noexcept;
    Int inputCount() const noexcept { return inputCount_; }
    Int outputCount() const noexcept { return outputCount_; }

    // --- Data ---
    // Lays a copy at an input; what lies there already is taken back first.
    Handle put(int input, const ChannelData& data);
    void put(int input, Handle handle);
    bool waits(int input) const { return inputData(input) != Handle::none; }
    bool delivered(int output) const { return outputData(output) != Handle::none; }
    // Takes the block away from an output; nothing there: nothing.
    std::optional<ChannelData> take(int output);
    // Takes the handle away; the caller frees it.
    Handle takeHandle(int output);
    Handle inputData(int input) const;
    Handle outputData(int output) const;
    void setOutputData(int output, Handle handle);
    Handle record() const noexcept { return record_.handle(); }

    // --- A run ---
    Int initSim();
    Int simulate();
    Int stop();
    Int errorShow();
    Int showDialog();
    // The same for the person at the screen, who also answers the message boxes.
    platform::DialogEnd askUser();
    // One data block at input 0 through the block: put, simulate, take output 0.
    std::optional<ChannelData> process(const ChannelData& data);

    // --- Parameters ---
    std::vector<KeywordRow> keywords();
    std::int32_t getInteger(std::string_view keyword);
    double getReal(std::string_view keyword);
    std::string getText(std::string_view keyword);
    void set(std::string_view keyword, std::int32_t value);
    void set(std::string_view keyword, double value);
    void set(std::string_view keyword, std::string_view text);
    void set(std::string_view keyword, const char* text) { set(keyword, std::string_view(text)); }
    // By the type that the keyword's row names.
    KeywordValue get(const KeywordRow& row);
    void set(const KeywordRow& row, const KeywordValue& value);
    // One raw request: the value's bytes go to the module and come back.
    Int remoteControl(Int subCode, std::string_view keyword, std::string& valueBytes);
    // The parameter record.
    std::string save();

private:
    PlacedBlock(ModuleHost& host, int typeCode, platform::ParameterFile* file);

    template <class Value>
    Value getNumber(std::string_view keyword);
    template <class Value>
    void setNumber(std::string_view keyword, Value value);
    template <class Work>
    auto withRecord(Work work) const;

    ModuleHost& host_;
    Int typeCode_;
    Int context_;
    SharedRecord record_;
    Int handle_ = 0;
    Int inputCount_ = 0;
    Int outputCount_ = 0;
};

}  // namespace vynhost
