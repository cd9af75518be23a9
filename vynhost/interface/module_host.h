// The host's side of the module interface: answers the messages, owns the memory, watches every
// call, and misbehaves where it is told to.
//
//     ModuleLibrary module(ModuleLibrary::defaultPath());
//     ModuleHost host(module);
//     PlacedBlock spectrum(host, 5004);
//     spectrum.set("PkWndFct", "HANNING");
//     spectrum.wireAll();
//     spectrum.initSim();
//     spectrum.put(0, timeSignal(samples));
//     spectrum.simulate();
//     ChannelData result = spectrum.take(0);
//     spectrum.stop();
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "vynhost/interface/channel_data.h"
#include "vynhost/interface/host_memory.h"
#include "vynhost/interface/module_interface.h"
#include "vynhost/interface/module_library.h"
#include "vynhost/interface/platform/system.h"

namespace vynhost {

using platform::Box;

// What the host does wrong when a rule applies.
enum class Fault {
    answer,      // answers `value`, does nothing
    unlockable,  // 1134: a block that cannot be locked
    halfSize,    // 1134: a block of half the size asked for
    sameBlock,   // 1134: the block of the answer before, again
    garbage,     // 1143: fills the head with bytes 0xFF
    run,         // calls `before`, then answers properly
};

// The rule applies to the calls first, first + 1, … of a message, counted from when it was given.
struct Rule {
    static constexpr int kForEver = 1 << 30;

    Message message{};
    Fault fault = Fault::answer;
    Int value = 0;
    int first = 1;
    int times = kForEver;
    std::function<void()> before = nullptr;
};

// One row of a block's keyword table as the module wrote it.
struct KeywordRow {
    std::string name;
    ValueType type{};
    std::uint32_t reserved1 = 0;
    std::uint32_t reserved2 = 0;
    bool operator==(const KeywordRow&) const = default;
};

using KeywordValue = std::variant<std::int32_t, double, std::string>;

class PlacedBlock;

class ModuleHost {
public:
    struct Options {
        platform::Guard guard = platform::Guard::none;
        bool trace = false;                 // remember every message
        bool checkLocks = false;            // after every call
        std::size_t mostValues = 1u << 28;  // of one block that 1134 gives
    };

    explicit ModuleHost(const ModuleLibrary& module) : ModuleHost(module, Options()) {}
    // Gives the module its window. One at a time per process.
    ModuleHost(const ModuleLibrary& module, Options options);
    ~ModuleHost();
    ModuleHost(const ModuleHost&) = delete;
    ModuleHost& operator=(const ModuleHost&) = delete;

    const Exports& exports() const noexcept { return module_.exports(); }
    Int window() const noexcept { return window_; }

    // Calls an export under observation: boxes are caught, the floating-point mode and the locks
    // are compared afterwards.
    template <class... Arguments>
    Int call(Int (*function)(Arguments...), std::type_identity_t<Arguments>... arguments) {
        const Observation observation(*this);
        return function(arguments...);
    }

    Int setInit(Int mode, Int window, Int value);
    Int getInfo(Int typeCode, Int query, Int blockHandle = 0);
    // A text that GetInfo answers, as UTF-8.
    std::string infoText(Int typeCode, Int query, Int blockHandle = 0);
    // The type can be created.
    bool creates(Int typeCode);

    HostMemory& memory() noexcept { return memory_; }

    // --- What happened ---
    // The boxes shown since the last time this was asked.
    std::vector<Box> takeBoxes() { return std::exchange(boxes_, {}); }
    const std::vector<Box>& boxes() const noexcept { return boxes_; }
    // What the module did that no host allows, a line each, since the last time this was asked.
    std::vector<std::string> takeOffences();
    // The messages since the last time, a line each: "1134 64 -> D2", "1143 D1 D2", "1135 D1".
    std::vector<std::string> takeTrace() { return std::exchange(trace_, {}); }
    int helpRequests() const noexcept { return helpRequests_; }

    // --- How to answer ---
    void setTriggerThreshold(float level) noexcept { threshold_ = level; }
    void misbehave(Rule rule);
    void behave() noexcept { rules_.clear(); }

private:
    friend class PlacedBlock;

    class Observation {
    public:
        explicit Observation(ModuleHost& host) noexcept;
        ~Observation();
        Observation(const Observation&) = delete;
        Observation& operator=(const Observation&) = delete;

    private:
        ModuleHost& host_;
        unsigned mode_;
    };

    struct ActiveRule {
        Rule rule;
        int calls = 0;
    };

    Int answer(std::uint32_t message, Int first, Int second);
    Int serve(Message message, Int first, Int second);
    Int newBlock(Int values, const Rule* rule);
    Int releaseBlock(Handle handle);
    Int copyHeader(Handle input, void* output, const Rule* rule);
    const Rule* ruleFor(Message message);
    const PlacedBlock* blockOf(Int context) const;
    void offend(std::string what) { offences_.push_back(std::move(what)); }
    void note(Message message, const std::string& first, Int second, Int result);

    Int enter(PlacedBlock& block);
    void leave(Int context) { blocks_.erase(context); }

    const ModuleLibrary& module_;
    Options options_;
    HostMemory memory_;
    Int window_ = 0;
    float threshold_ = 2.4F;
    int helpRequests_ = 0;
    int depth_ = 0;  // of calls into the module
    Int lastContext_ = 0x1000;
    Handle lastNewBlock_ = Handle::none;
    std::map<Int, PlacedBlock*> blocks_;
    std::vector<ActiveRule> rules_;
    std::vector<Box> boxes_;
    std::vector<std::string> offences_;
    std::vector<std::string> trace_;
};

// One block in the host's diagram, from its creation to its destruction.
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

    bool created() const noexcept { return handle_ != 0; }
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
