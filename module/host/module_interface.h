// Every number that the module and its host have agreed on: modes and queries of the exports, type
// codes, host messages, results, value codes and byte layouts. The host program keeps a list of its
// own; a test holds the two against each other.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vynpack {

inline constexpr std::int32_t kInterfaceVersion = 402;
inline constexpr std::uint32_t kOldestHost = 300;  // an older one is warned of

// The block types, in the order of their codes.
enum BlockTypeCode : std::int32_t {
    kTypeKlassierung = 5000,
    kTypeTerz_Oktave = 5001,
    kTypeStatistik = 5002,
    kTypeMittelwert = 5003,
    kTypeSpektrum = 5004,
    kTypeInverseFFT = 5005,
    kTypeDualSpektrum = 5006,
    kTypeDigitalFilter = 5007,
    kTypeFreqWeight = 5008,
    kTypeLevel = 5009,
};
inline constexpr std::int32_t kFirstBlockType = kTypeKlassierung;
inline constexpr std::int32_t kBlockTypes = 10;

// Block handles are 1..kMaxBlocks; 0 means none.
inline constexpr int kMaxBlocks = 1023;

// Modes of SetInit.
enum class SetInitMode : std::int64_t {
    hostWindow = 1,  // (window, interface version of the host)
    hostMode = 2,    // (unused, mode word)
    shutDown = 3,
};

// Queries of GetInfo.
enum class Query : std::int32_t {
    typeCount = 1,
    longName = 2,
    shortName = 3,
    connectors = 4,
    interfaceVersion = 5,
    isBlockType = 6,
    alwaysOne = 7,
    unusedWord = 16,
};
inline constexpr std::int64_t kUnknownQuery = -1;

// What the module asks of the host: (first parameter, second parameter).
enum class HostMessage : std::uint32_t {
    triggerThreshold = 1130,  // (0, 0): address of a float, or 0
    newBlock = 1134,          // (0, number of values): handle of a channel data block, or 0
    releaseBlock = 1135,      // (handle, 0)
    copyHeader = 1143,        // (handle of the input, address of the locked output)
    showHelp = 1153,          // (0, 0)
    inputCount = 1188,        // (host context, 0): inputs of the block being simulated
    outputCount = 1189,       // (host context, 0)
};

// Results of Simulation: first the export's own, then a block's.
enum SimulationResult : int {
    kNoBlock = 0,  // or a record that cannot be locked
    kNotReady = 1,
    kNotWired = 2,
    // The work is done, or there was nothing to do. Which of the two is said is a matter of the
    // block type; all other operations of a block say kDone.
    kDone = 1,
    kDoneZero = 0,
    kNothingConsumed = 8,  // of the spectrum block alone
    kFailed = 512,
};

inline constexpr int kMaxConnectors = 32;  // of each direction

// x axis kinds that the module knows; other codes are the host's.
enum AxisKind : std::int32_t {
    kAxisNone = 0,
    kAxisSeconds = 1,
    kAxisMilliseconds = 2,
    kAxisHertz = 3,
    kAxisKilohertz = 4,
    // The host's, without a meaning for the module: an average of data blocks starts at 0 there.
    kAxisHost38 = 38,
    kAxisHost40 = 40,
    kAxisHost49 = 49,
};

// Axis flags: the x values are band numbers.
inline constexpr std::uint32_t kAxisThirdOctaveBands = 8;
inline constexpr std::uint32_t kAxisOctaveBands = 16;

// y units.
enum UnitCode : std::int32_t {
    kUnitNone = 0,
    kUnitDecibel = 6,
    kUnitDegrees = 11,
    kUnitPower = 12,
    kUnitPercent = 15,
    kUnitAmplitude = 26,
};

// Where the float32 values of a channel data block begin.
inline constexpr std::size_t kChannelValuesOffset = 84;

// The second word of every parameter record.
inline constexpr std::int32_t kFormatVersion = 404;

// Requests of the keyword protocol.
enum class SubCode : std::uint16_t {
    countKeywords = 10,
    clearWord = 20,
    listKeywords = 30,
    getValue = 50,
    setValue = 60,
};

// Value types as the keyword table carries them.
enum class ValueType : std::uint16_t {
    real = 16,     // float64
    integer = 32,  // int32
    text = 48,     // zero-terminated
    flag = 65,     // int32
};

// A row of the keyword table: name (zero-terminated), type, two reserved words of 0.
inline constexpr std::size_t kKeywordRowSize = 27;
inline constexpr std::size_t kKeywordNameSize = 17;
inline constexpr std::size_t kKeywordTypeOffset = 17;

// The info record: keyword count, handle of the keyword table, a word to clear.
inline constexpr std::size_t kInfoTableOffset = 4;
inline constexpr std::size_t kInfoWordOffset = 12;
inline constexpr std::size_t kInfoRecordSize = 16;

// The value record: keyword (zero-terminated), address of the value.
inline constexpr std::size_t kValueKeywordSize = 36;
inline constexpr std::size_t kValueAddressOffset = 36;
inline constexpr std::size_t kValueRecordSize = 44;

}  // namespace vynpack
