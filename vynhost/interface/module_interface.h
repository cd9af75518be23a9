// The module's binary interface as a host sees it: exports, messages, records, and every number in
// them by its name. It is written down here a second time, independently of the module's own
// headers, and the interface tests hold the two against each other.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace vynhost {

// --- Exports --------------------------------------------------------------------------------

// All arguments and results of the exports and messages.
using Int = std::int64_t;

// Names memory that both sides see; `none` names nothing.
enum class Handle : std::uint64_t { none = 0 };
constexpr Int intOf(Handle handle) { return static_cast<Int>(handle); }
constexpr Handle handleOf(Int value) { return static_cast<Handle>(value); }

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

// Modes of SetInit.
enum SetInitMode : Int { kHostWindow = 1, kHostMode = 2, kShutDown = 3 };

inline constexpr Int kInterfaceVersion = 402;
inline constexpr Int kOldestHostVersion = 300;  // below it the module warns

// Queries of GetInfo.
enum Query : Int {
    kTypeCount = 1,
    kLongName = 2,
    kShortName = 3,
    kConnectors = 4,
    kInterface = 5,
    kIsType = 6,
    kAlwaysOne = 7,
    kAlwaysZero = 16,
};
inline constexpr Int kUnknownQuery = -1;  // the answer to any other

// Type codes, by the module's class names.
enum BlockType : std::int32_t {
    kKlassierung = 5000,
    kTerzOktave = 5001,
    kStatistik = 5002,
    kMittelwert = 5003,
    kSpektrum = 5004,
    kInverseFFT = 5005,
    kDualSpektrum = 5006,
    kDigitalFilter = 5007,
    kFreqWeight = 5008,
    kLevel = 5009,
};
inline constexpr int kFirstType = kKlassierung;
inline constexpr int kTypes = 10;
static_assert(kLevel == kFirstType + kTypes - 1);

// Block handles run from 1 to this number.
inline constexpr int kMaxBlocks = 1023;
inline constexpr Int kNoBlock = 0;  // no handle: a type that cannot be created, a full table

// The host's own name for a block at work; 0 is none.
inline constexpr Int kNoContext = 0;

// --- Messages -------------------------------------------------------------------------------

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

// --- Simulation -----------------------------------------------------------------------------

// Results of Simulation. A step done is 0 or 1, by type.
enum SimulationResult : Int {
    kMissing = 0,          // from the export: no such block, or a record that cannot be locked
    kNothingReady = 1,     // from the export: an input without data, an output not taken away
    kNotWired = 2,         // from the export: a connector that the type needs
    kNothingConsumed = 8,  // from the spectrum block: it has left its input alone
    kFailed = 512,
};

inline constexpr int kMaxConnectors = 32;

// What a connector's channel number says when nothing is wired there.
inline constexpr std::int32_t kUnwired = -1;  // or any other negative number

// What lies at a block's connectors.
struct SimulationRecord {
    std::array<Handle, kMaxConnectors> inputData;
    std::array<std::int32_t, kMaxConnectors> inputChannel;
    std::array<Handle, kMaxConnectors> outputData;
    std::array<std::int32_t, kMaxConnectors> outputChannel;
};
static_assert(offsetof(SimulationRecord, inputData) == 0);
static_assert(offsetof(SimulationRecord, inputChannel) == 256);
static_assert(offsetof(SimulationRecord, outputData) == 384);
static_assert(offsetof(SimulationRecord, outputChannel) == 640);
static_assert(sizeof(SimulationRecord) == 768);

// --- Channel data blocks --------------------------------------------------------------------

// x axis kinds; others are the host's.
enum AxisKind : std::int32_t {
    kSeconds = 1,
    kMilliseconds = 2,
    kHertz = 3,
    kKilohertz = 4,
};

// Axis flags: the x values are band numbers. Other bits are the host's.
inline constexpr std::uint32_t kThirdOctaveBands = 8;
inline constexpr std::uint32_t kOctaveBands = 16;

// What the values are; others are the host's.
enum UnitCode : std::int32_t {
    kUnitNone = 0,
    kUnitDecibel = 6,
    kUnitDegrees = 11,
    kUnitPower = 12,
    kUnitPercent = 15,
    kUnitAmplitude = 26,
};

// The head of a channel data block. Its first 56 bytes are shared knowledge; the rest up to the
// values is the host's own.
struct ChannelHeader {
    std::int32_t valueCount;  // over all channels
    std::int32_t xAxisKind;   // AxisKind
    std::int32_t yUnit;       // UnitCode
    std::int32_t hostWord;
    double xStart;
    double xStep;
    double displayMinimum;
    double displaySpan;
    std::int32_t channelCount;
    std::uint32_t axisFlags;
};
static_assert(offsetof(ChannelHeader, valueCount) == 0);
static_assert(offsetof(ChannelHeader, xAxisKind) == 4);
static_assert(offsetof(ChannelHeader, yUnit) == 8);
static_assert(offsetof(ChannelHeader, xStart) == 16);
static_assert(offsetof(ChannelHeader, xStep) == 24);
static_assert(offsetof(ChannelHeader, displayMinimum) == 32);
static_assert(offsetof(ChannelHeader, displaySpan) == 40);
static_assert(offsetof(ChannelHeader, channelCount) == 48);
static_assert(offsetof(ChannelHeader, axisFlags) == 52);
inline constexpr std::size_t kValuesOffset = 84;  // float32, interleaved

// --- Remote control -------------------------------------------------------------------------

enum SubCode : Int {
    kCountKeywords = 10,
    kClearWord = 20,
    kListKeywords = 30,
    kGetValue = 50,
    kSetValue = 60,
};

// Types of a keyword's value: float64, int32, zero-terminated text; a flag is an int32 too.
enum class ValueType : std::uint16_t { real = 16, integer = 32, text = 48, flag = 65 };

// One row of the keyword table: name (zero-terminated), type, two reserved words.
inline constexpr std::size_t kKeywordRow = 27;
inline constexpr std::size_t kKeywordNameSize = 17;
inline constexpr std::size_t kKeywordTypeOffset = 17;
inline constexpr std::size_t kKeywordReservedOffset = 19;

// The info record: keyword count, table handle, a word that the module clears.
inline constexpr std::size_t kInfoCountOffset = 0;
inline constexpr std::size_t kInfoTableOffset = 4;
inline constexpr std::size_t kInfoWordOffset = 12;
inline constexpr std::size_t kInfoSize = 16;

// The value record: keyword (zero-terminated), address of the value.
inline constexpr std::size_t kValueKeywordOffset = 0;
inline constexpr std::size_t kValueKeywordSize = 36;
inline constexpr std::size_t kValueAddressOffset = 36;
inline constexpr std::size_t kValueRecordSize = 44;

// --- Parameter records ----------------------------------------------------------------------

// Every record begins with its type's size word and the version of the format; the block's fields
// follow.
inline constexpr std::size_t kRecordSizeOffset = 0;
inline constexpr std::size_t kRecordVersionOffset = 4;
inline constexpr std::size_t kRecordFrame = 8;
inline constexpr std::int32_t kRecordVersion = 404;

// The size words by type, from kFirstType. A word identifies its type's record; it is not the
// record's length.
inline constexpr std::array<std::int32_t, kTypes> kRecordSizeWords = {88, 36, 76,  64,  56,
                                                                      32, 88, 184, 160, 272};

}  // namespace vynhost
