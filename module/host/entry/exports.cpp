// The sixteen exports. Each is a door: find the block, call one of its operations, answer the fixed
// value of the interface. No exception and no floating-point mode passes through.
#include <cstdint>
#include <memory>
#include <new>

#include "host/TOBlock.h"
#include "host/TOGlobal.h"
#include "host/entry/block_types.h"
#include "host/entry/floating_point_mode.h"
#include "host/host_messages.h"
#include "host/module_interface.h"
#include "host/show_message.h"

namespace vynpack {
namespace {

using Int = std::int64_t;

// Runs one export's work: its own floating-point mode, and `onFailure` for whatever it throws.
template <class Work>
Int door(Int onFailure, Work work) noexcept {
    const FloatingPointMode mode;
    try {
        return work();
    } catch (...) {
        return onFailure;
    }
}

// The same for exports that forward to one operation of a block and answer a fixed value.
template <class Operation>
Int forward(Int answer, Int blockHandle, Operation operation) noexcept {
    return door(answer, [&] {
        if (TOBlock* block = theGlobal().findBlock(blockHandle)) operation(*block);
        return answer;
    });
}

Int addressOf(const char* text) { return reinterpret_cast<Int>(text); }

std::int32_t typeCodeOf(Int argument) { return static_cast<std::int32_t>(argument); }

void warnOfOldHost() {
    const TOGlobal& global = theGlobal();
    if (static_cast<std::uint32_t>(global.hostInterfaceVersion()) >= kOldestHost) return;
    // Kept: neither id has a text; the warning of an old host is the empty box itself.
    ShowMessage(global.hostWindow(), kBoxPlain, kTextHostTooOldCaption, kTextHostTooOld);
}

std::unique_ptr<TOBlock> newBlock(Int typeCode) {
    const BlockType* type = findBlockType(typeCodeOf(typeCode));
    return type != nullptr && type->create != nullptr ? type->create() : nullptr;
}

Int enterIntoTable(std::unique_ptr<TOBlock> block) {
    // Kept: a block that finds the table full is not destroyed; the host never hears of it again.
    return theGlobal().insertBlock(block.release());
}

// The connector string of a block, in the one buffer that the next query overwrites.
const char* connectorsOf(Int blockHandle) {
    static ConnectorText text;
    writeConnectors(text, "E,;A,");
    if (const TOBlock* block = theGlobal().findBlock(blockHandle)) block->GetConnectors(text);
    return text.data();
}

// How many connectors the block has, as the host counts them.
struct ConnectorCounts {
    int inputs;
    int outputs;
};

ConnectorCounts countConnectors(HostContext host) {
    const int inputs = host_message::inputCount(host);
    const int outputs = host_message::outputCount(host);
    return {inputs, outputs};
}

// Data has arrived at every wired input, and every wired output has been taken away.
bool dataMoves(const SimulationRecord& record, ConnectorCounts counts) {
    for (int i = 0; i < counts.inputs; ++i) {
        if (record.inputConnected(i) && !record.inputWaits(i)) return false;
    }
    for (int j = 0; j < counts.outputs; ++j) {
        if (record.outputConnected(j) && !record.outputFree(j)) return false;
    }
    return true;
}

bool everyConnectorWired(const SimulationRecord& record, ConnectorCounts counts) {
    for (int i = 0; i < counts.inputs; ++i) {
        if (!record.inputConnected(i)) return false;
    }
    for (int j = 0; j < counts.outputs; ++j) {
        if (!record.outputConnected(j)) return false;
    }
    return true;
}

bool needsEveryConnector(Int typeCode) {
    const BlockType* type = findBlockType(typeCodeOf(typeCode));
    return type == nullptr || type->needsEveryConnector;
}

// One locked record, for the length of a scope.
class LockedRecord {
public:
    explicit LockedRecord(Int handle) : memory_(MemoryHandle{static_cast<std::uint64_t>(handle)}) {
        if (memory_ && !memory_.holds(sizeof(SimulationRecord))) memory_.unlock();
    }
    explicit operator bool() const { return static_cast<bool>(memory_); }
    SimulationRecord& operator*() const {
        return *static_cast<SimulationRecord*>(memory_.address());
    }

private:
    LockedMemory memory_;
};

Int simulateBlock(TOBlock& block, SimulationRecord& record) {
    try {
        return block.Simulation(record);
    } catch (const std::bad_alloc&) {
        block.noteOutOfMemory();
        return kFailed;
    }
}

Int simulate(HostContext host, Int typeCode, Int blockHandle, Int dataHandle) {
    {
        const ConnectorCounts counts = countConnectors(host);
        const LockedRecord record(dataHandle);
        if (record && !dataMoves(*record, counts)) return kNotReady;
    }
    const LockedRecord record(dataHandle);
    if (!record) return kNoBlock;
    if (needsEveryConnector(typeCode) && !everyConnectorWired(*record, countConnectors(host))) {
        return kNotWired;
    }
    TOBlock* block = theGlobal().findBlock(blockHandle);
    return block == nullptr ? Int{kNoBlock} : simulateBlock(*block, *record);
}

}  // namespace
}  // namespace vynpack

using namespace vynpack;  // NOLINT(google-build-using-namespace)

extern "C" Int SetInit(Int mode, Int window, Int value) {
    return door(0, [&] {
        TOGlobal& global = theGlobal();
        const auto word = static_cast<std::int32_t>(value);
        switch (SetInitMode{mode}) {
            case SetInitMode::hostWindow:
                global.setHostWindow(HostWindow{window});
                global.setHostInterfaceVersion(word);
                warnOfOldHost();
                break;
            case SetInitMode::hostMode: global.setHostModeWord(word); break;
            case SetInitMode::shutDown: global.end(); break;
        }
        return Int{0};
    });
}

extern "C" Int GetInfo(Int /*hostContext*/, Int typeCode, Int query, Int blockHandle) {
    return door(kUnknownQuery, [&]() -> Int {
        static std::int32_t unusedWord = 0;  // nothing sets it
        const BlockType* type = findBlockType(typeCodeOf(typeCode));
        switch (static_cast<Query>(query)) {
            case Query::typeCount: return kBlockTypes;
            case Query::longName: return addressOf(type != nullptr ? type->longName : "");
            case Query::shortName: return addressOf(type != nullptr ? type->shortName : "");
            case Query::connectors: return addressOf(connectorsOf(blockHandle));
            case Query::interfaceVersion: return kInterfaceVersion;
            case Query::isBlockType: return type != nullptr ? 1 : 0;
            case Query::alwaysOne: return 1;
            case Query::unusedWord: return unusedWord;
            default: return kUnknownQuery;
        }
    });
}

extern "C" Int Command(Int /*hostContext*/, Int /*argument2*/, Int /*argument3*/) {
    [[maybe_unused]] const std::int32_t mode = theGlobal().hostModeWord();
    return 0;
}

extern "C" Int GetParameters(Int /*hostContext*/, Int typeCode, Int blockHandle, Int /*unused*/) {
    if (blockHandle != 0) {
        return forward(blockHandle, blockHandle, [](TOBlock& block) { block.GetParameters(); });
    }
    return door(0, [&]() -> Int {
        auto block = newBlock(typeCode);
        return block == nullptr ? 0 : enterIntoTable(std::move(block));
    });
}

extern "C" Int SaveParameters(Int /*hostContext*/, Int /*typeCode*/, Int blockHandle, Int file) {
    return forward(1, blockHandle, [&](TOBlock& block) { block.SaveParameters(FileHandle{file}); });
}

extern "C" Int RestoreParameters(Int /*hostContext*/, Int typeCode, Int /*blockHandle*/, Int file) {
    return door(0, [&]() -> Int {
        auto block = newBlock(typeCode);
        if (block == nullptr) return 0;
        block->RestoreParameters(FileHandle{file});
        return enterIntoTable(std::move(block));
    });
}

extern "C" Int GetGlobalPars(Int /*argument1*/, Int /*argument2*/) { return 0; }

extern "C" Int SetGlobalPars(Int /*argument1*/, Int /*argument2*/, Int /*argument3*/) { return 1; }

extern "C" Int InitSim(Int hostContext, Int /*typeCode*/, Int blockHandle, Int /*unused*/) {
    if (hostContext == 0) return 1;
    return forward(1, blockHandle, [](TOBlock& block) { block.InitSim(); });
}

extern "C" Int Starten(Int, Int, Int, Int) { return 1; }

extern "C" Int Stoppen(Int hostContext, Int /*typeCode*/, Int blockHandle, Int /*unused*/) {
    if (hostContext == 0) return 1;
    return forward(1, blockHandle, [](TOBlock& block) { block.Stoppen(); });
}

extern "C" Int Pause(Int, Int, Int, Int) { return 1; }

extern "C" Int Simulation(Int hostContext, Int typeCode, Int blockHandle, Int dataHandle) {
    if (hostContext == 0) return kNotReady;
    return door(kFailed, [&] { return simulate(hostContext, typeCode, blockHandle, dataHandle); });
}

extern "C" Int DestroyBlock(Int /*hostContext*/, Int /*typeCode*/, Int blockHandle,
                            Int /*unused*/) {
    return forward(1, blockHandle, [&](TOBlock& block) {
        theGlobal().removeBlock(blockHandle);
        delete &block;
    });
}

extern "C" Int lRemoteControl(Int /*hostContext*/, Int blockHandle, Int valueRecord, Int subCode,
                              Int infoRecord) {
    return forward(0, blockHandle, [&](TOBlock& block) {
        block.RemoteControl(MemoryHandle{static_cast<std::uint64_t>(infoRecord)},
                            MemoryHandle{static_cast<std::uint64_t>(valueRecord)},
                            static_cast<std::uint16_t>(subCode));
    });
}

extern "C" Int lErrorShow(Int /*hostContext*/, Int blockHandle, Int /*unused3*/, Int /*unused4*/) {
    return forward(0, blockHandle, [](TOBlock& block) { block.ErrorShow(); });
}
