// The host's side of the module interface: answers the messages, owns the memory, watches every
// call.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "vynhost/interface/host_memory.h"
#include "vynhost/interface/module_interface.h"
#include "vynhost/interface/module_library.h"
#include "vynhost/interface/platform/system.h"

namespace vynhost {

using platform::Box;

class PlacedBlock;

class ModuleHost {
public:
    struct Options {
        platform::Guard guard = platform::Guard::none;
        bool checkLocks = false;            // after every call
        std::size_t mostValues = 1u << 28;  // of one block that 1134 gives
    };

    explicit ModuleHost(const ModuleLibrary& module) : ModuleHost(module, Options()) {}
    // Gives the module its window. One at a time per process.
    ModuleHost(const ModuleLibrary& module, Options options);
    virtual ~ModuleHost();
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

    // Takes the messages again after another host of this process has had them.
    void listen();

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

    // --- How to answer ---
    // Shows the help that a dialog asks for; nothing happens without it.
    void setHelp(std::function<void()> show) { help_ = std::move(show); }
    void setTriggerThreshold(float level) noexcept { threshold_ = level; }

protected:
    // The answer to a message of the right form. Tests answer otherwise.
    virtual Int serve(Message message, Int first, Int second);
    void offend(std::string what) { offences_.push_back(std::move(what)); }

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

    Int answer(std::uint32_t message, Int first, Int second);
    Int newBlock(Int values);
    Int releaseBlock(Handle handle);
    Int copyHeader(Handle input, void* output);
    const PlacedBlock* blockOf(Int context) const;

    Int enter(PlacedBlock& block);
    void leave(Int context) { blocks_.erase(context); }

    const ModuleLibrary& module_;
    Options options_;
    HostMemory memory_;
    Int window_ = 0;
    float threshold_ = 2.4F;
    int depth_ = 0;  // of calls into the module
    Int lastContext_ = 0x1000;
    std::map<Int, PlacedBlock*> blocks_;
    std::function<void()> help_;
    std::vector<Box> boxes_;
    std::vector<std::string> offences_;
};

}  // namespace vynhost
