// The module's binary interface as a host sees it: exports, messages, records. It is written down
// here a second time, independently of the module's own headers, and the interface tests hold the
// two against each other.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace vynhost {

// All arguments and results of the exports and messages.
using Int = std::int64_t;

// Names memory that both sides see; `none` names nothing.
enum class Handle : std::uint64_t { none = 0 };

// The sixteen exports, called X(name, number of arguments).
#define VYNHOST_EXPORTS(X)  \
    X(SetInit, 3)           \
    X(GetInfo, 4)           \
    X(Command, 3)           \
    X(GetParameters, 4)     \
    X(SaveParameters, 4)    \
    X(RestoreParameters, 4) \
    X(GetGlobalPars, 2)     \
    X(SetGlobalPars, 3)     \
    X(InitSim, 4)           \
    X(Starten, 4)           \
    X(Stoppen, 4)           \
    X(Pause, 4)             \
    X(Simulation, 4)        \
    X(DestroyBlock, 4)      \
    X(lRemoteControl, 5)    \
    X(lErrorShow, 4)

// What the module asks of the host.
enum class Message : std::uint32_t {
    triggerThreshold = 1130,  // answers the address of a float
    newBlock = 1134,          // (0, number of values): answers the handle of a new data block
    releaseBlock = 1135,      // (handle): the host takes a data block back
    copyHeader = 1143,        // (input's handle, address of a locked new block)
    showHelp = 1153,
    inputCount = 1188,   // (host context)
    outputCount = 1189,  // (host context)
};

// Modes of SetInit.
enum SetInitMode : Int { kHostWindow = 1, kHostMode = 2, kShutDown = 3 };

// Queries of GetInfo.
enum Query : Int {
    kTypeCount = 1,
    kLongName = 2,
    kShortName = 3,
    kConnectors = 4,
    kInterface = 5,
    kIsType = 6,
};

inline constexpr Int kInterfaceVersion = 402;
inline constexpr int kFirstType = 5000;
inline constexpr int kTypes = 10;
inline constexpr int kMaxBlocks = 1023;

// Results of Simulation that the interface itself gives.
enum SimulationResult : Int { kMissing = 0, kNotReady = 1, kNotWired = 2, kFailed = 512 };

inline constexpr int kMaxConnectors = 32;

// What lies at a block's connectors. A channel number below 0 means "not wired".
struct SimulationRecord {
    std::array<Handle, kMaxConnectors> inputData;
    std::array<std::int32_t, kMaxConnectors> inputChannel;
    std::array<Handle, kMaxConnectors> outputData;
    std::array<std::int32_t, kMaxConnectors> outputChannel;
};
static_assert(offsetof(SimulationRecord, inputChannel) == 256);
static_assert(offsetof(SimulationRecord, outputData) == 384);
static_assert(offsetof(SimulationRecord, outputChannel) == 640);
static_assert(sizeof(SimulationRecord) == 768);

// x axis kinds.
enum AxisKind : std::int32_t {
    kSeconds = 1,
    kMilliseconds = 2,
    kHertz = 3,
    kKilohertz = 4,
};

// Axis flags: the x values are band numbers.
inline constexpr std::uint32_t kThirdOctaveBands = 8;
inline constexpr std::uint32_t kOctaveBands = 16;

// The head of a channel data block. Its first 56 bytes are shared knowledge; the rest up to the
// values is the host's own.
struct ChannelHeader {
    std::int32_t valueCount;  // over all channels
    std::int32_t xAxisKind;
    std::int32_t yUnit;
    std::int32_t hostWord;
    double xStart;
    double xStep;
    double displayMinimum;
    double displaySpan;
    std::int32_t channelCount;
    std::uint32_t axisFlags;
};
static_assert(offsetof(ChannelHeader, xAxisKind) == 4);
static_assert(offsetof(ChannelHeader, yUnit) == 8);
static_assert(offsetof(ChannelHeader, xStart) == 16);
static_assert(offsetof(ChannelHeader, xStep) == 24);
static_assert(offsetof(ChannelHeader, displayMinimum) == 32);
static_assert(offsetof(ChannelHeader, displaySpan) == 40);
static_assert(offsetof(ChannelHeader, channelCount) == 48);
static_assert(offsetof(ChannelHeader, axisFlags) == 52);
inline constexpr std::size_t kValuesOffset = 84;  // float32, interleaved

// Remote control.
enum SubCode : Int {
    kCountKeywords = 10,
    kClearWord = 20,
    kListKeywords = 30,
    kGetValue = 50,
    kSetValue = 60,
};

enum class ValueType : std::uint16_t { real = 16, integer = 32, text = 48, flag = 65 };

// One row of the keyword table: name (zero-terminated), type, two reserved words.
inline constexpr std::size_t kKeywordRow = 27;
inline constexpr std::size_t kKeywordNameSize = 17;
inline constexpr std::size_t kKeywordTypeOffset = 17;
inline constexpr std::size_t kKeywordReservedOffset = 19;

// The info record: keyword count, table handle, a word that the module clears.
inline constexpr std::size_t kInfoTableOffset = 4;
inline constexpr std::size_t kInfoWordOffset = 12;
inline constexpr std::size_t kInfoSize = 16;

// The value record: keyword (zero-terminated), address of the value.
inline constexpr std::size_t kValueKeywordSize = 36;
inline constexpr std::size_t kValueAddressOffset = 36;
inline constexpr std::size_t kValueRecordSize = 44;

// Parameter records begin with these two words.
inline constexpr std::int32_t kRecordVersion = 404;
inline constexpr std::size_t kRecordFrame = 8;

}  // namespace vynhost
