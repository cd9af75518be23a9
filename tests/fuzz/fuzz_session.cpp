// One block in the hands of a host that does everything at the wrong time: parameters, records,
// data blocks, faults and the calls of a run in any order. The input's bytes decide. An input fails
// when a sanitizer or the system stops the process, or when the host sees what no host allows.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "fuzz/byte_source.h"
#include "support/test_host.h"

namespace vynhost::test {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

constexpr std::int32_t kIntegers[] = {std::numeric_limits<std::int32_t>::min(),
                                      -65536,
                                      -1,
                                      0,
                                      1,
                                      2,
                                      3,
                                      4,
                                      5,
                                      6,
                                      7,
                                      8,
                                      10,
                                      16,
                                      20,
                                      25,
                                      64,
                                      200,
                                      1000,
                                      32767,
                                      32768,
                                      65535,
                                      65536,
                                      1 << 20,
                                      std::numeric_limits<std::int32_t>::max()};
constexpr double kReals[] = {0.0,    -0.0,  0.5,  1.0,       1.5,       2.0,    2.4,  2.41,
                             3.0,    10.0,  50.0, 100.0,     500.0,     1000.0, -1.0, -10.0,
                             0.1,    1e-3,  1e-9, 1e-300,    1e-320,    1e9,    1e30, 1e300,
                             -1e300, 1e308, kNan, kInfinity, -kInfinity};
constexpr const char* kTexts[] = {
    "",      "HANNING",      "KAISER",      "EXPONENTIAL", "PSD", "CEPSTRUM", "REALIMAGINAER",
    "RMS",   "AUTOSPECTRUM", "SPECTRUM H1", "SPECTRUM H2", "NO",  "PEAKMIN",  "MINMAXAVERAGE",
    "unsinn"};
constexpr double kSteps[] = {1.0 / 48000, 1.0 / 48000, 0.001,  0.5,  1.0,      46.875,
                             0.0,         -1.0,        1e-320, kNan, kInfinity};
constexpr std::int32_t kAxisKinds[] = {
    kSeconds, kSeconds, kSeconds, kMilliseconds, kHertz, kHertz, kKilohertz, 0, -1, 38, 49, 60};
constexpr std::int32_t kUnits[] = {
    kUnitNone,      1, kUnitDecibel, kUnitDegrees, kUnitPower, kUnitPercent, kUnitAmplitude,
    kUnitAmplitude, -1};
constexpr std::int32_t kChannels[] = {1, 1, 1, 2, 2, 3, 8, 32, 33, 0, -1, 1000000};
constexpr std::uint32_t kFlags[] = {
    0, 0, kThirdOctaveBands, kOctaveBands, kThirdOctaveBands | kOctaveBands, 0xFFFFFFFF};

float sample(ByteSource& bytes, std::size_t style, std::size_t i) {
    switch (style) {
        case 0: return static_cast<float>(bytes.take<std::int8_t>()) / 16.0F;
        case 1: return static_cast<float>(static_cast<int>(i * 7919 % 257) - 128) / 13.0F;
        case 2: return bytes.oneIn(16) ? static_cast<float>(bytes.pick(kReals)) : 1.0F;
        default: return static_cast<float>(bytes.pick(kReals));
    }
}

ChannelData dataBlock(ByteSource& bytes) {
    ChannelData data;
    const std::size_t count = bytes.oneIn(8) ? bytes.below(4000) : bytes.below(200);
    const std::size_t style = bytes.below(4);
    for (std::size_t i = 0; i < count; ++i)
        data.values.push_back(sample(bytes, style, i));
    data.header.valueCount = static_cast<std::int32_t>(count);
    // The count may say less than the memory holds, and be negative; more, no host may say.
    if (bytes.oneIn(8))
        data.header.valueCount = std::min(data.header.valueCount, bytes.pick(kIntegers));
    data.header.channelCount = bytes.pick(kChannels);
    data.header.xAxisKind = bytes.pick(kAxisKinds);
    data.header.yUnit = bytes.pick(kUnits);
    data.header.axisFlags = bytes.pick(kFlags);
    data.header.xStep = bytes.pick(kSteps);
    data.header.xStart = bytes.oneIn(4) ? bytes.pick(kReals) : 0.0;
    data.header.displaySpan = 2.0;
    return data;
}

void setKeyword(PlacedBlock& block, ByteSource& bytes) {
    const auto rows = block.keywords();
    if (rows.empty()) return;
    const KeywordRow& row = bytes.pick(rows);
    switch (row.type) {
        case ValueType::real: block.set(row.name, double{bytes.pick(kReals)}); break;
        case ValueType::text: block.set(row.name, bytes.pick(kTexts)); break;
        default: block.set(row.name, std::int32_t{bytes.pick(kIntegers)}); break;
    }
}

// A record of the block's own with some bytes changed, or cut.
std::string damagedRecord(PlacedBlock& block, ByteSource& bytes) {
    std::string record = block.save();
    for (std::size_t changes = bytes.below(8); changes > 0 && !record.empty(); --changes) {
        record[bytes.below(record.size())] = static_cast<char>(bytes.take<std::uint8_t>());
    }
    if (bytes.oneIn(4)) record.resize(bytes.below(record.size() + 1));
    return record;
}

void misbehave(TestHost& host, ByteSource& bytes) {
    constexpr Message kFaulty[] = {Message::newBlock, Message::newBlock, Message::copyHeader,
                                   Message::triggerThreshold};
    Rule rule{.message = bytes.pick(kFaulty)};
    if (rule.message == Message::newBlock && bytes.oneIn(2)) rule.fault = Fault::unlockable;
    if (rule.message == Message::copyHeader && bytes.oneIn(2)) rule.fault = Fault::garbage;
    rule.first = static_cast<int>(bytes.below(4)) + 1;
    rule.times = static_cast<int>(bytes.below(3)) + 1;
    host.misbehave(rule);
}

void takeOutputs(PlacedBlock& block) {
    for (int output = 0; output < kMaxConnectors; ++output) {
        if (block.delivered(output)) block.take(output);
    }
}

void step(TestHost& host, std::unique_ptr<PlacedBlock>& block, ByteSource& bytes) {
    switch (bytes.below(16)) {
        case 0:
        case 1:
        case 2: setKeyword(*block, bytes); break;
        case 3: block->initSim(); break;
        case 4: block->stop(); break;
        case 5: block->errorShow(); break;
        case 6: misbehave(host, bytes); break;
        case 7: host.behave(); break;
        case 8: {
            const std::string record =
                bytes.oneIn(2) ? damagedRecord(*block, bytes) : block->save();
            const int type = static_cast<int>(block->typeCode());
            block = std::make_unique<PlacedBlock>(host, type, record);
            block->wireAll();
            break;
        }
        case 9:
            block->wireAll();
            if (bytes.oneIn(2)) block->wireInput(static_cast<int>(bytes.below(3)), -1);
            if (bytes.oneIn(2)) block->wireOutput(static_cast<int>(bytes.below(3)), -1);
            break;
        default:
            // What waits already is never replaced: the module may be holding it.
            for (int input = 0; input < 3; ++input) {
                if (!block->waits(input) && !bytes.oneIn(8)) block->put(input, dataBlock(bytes));
            }
            for (std::size_t calls = bytes.below(3) + 1; calls > 0; --calls) {
                block->simulate();
                takeOutputs(*block);
            }
    }
    host.takeBoxes();
}

// For a look at what an input does.
void printTrace(TestHost& host, int type) {
    for (const std::string& line : host.takeTrace())
        std::printf("%d: %s\n", type, line.c_str());
    std::fflush(stdout);
}

// Errors found here end the process, as a sanitizer's do.
[[noreturn]] void fail(const std::vector<std::string>& offences) {
    for (const std::string& offence : offences)
        std::fprintf(stderr, "%s\n", offence.c_str());
    std::abort();
}

const ModuleLibrary& theModule() {
    static const ModuleLibrary module = [] {
        platform::setSharedDirectory(platform::programFolder().string());
        return ModuleLibrary(ModuleLibrary::defaultPath());
    }();
    return module;
}

}  // namespace

void runSession(std::span<const std::uint8_t> input) {
    constexpr int kMostSteps = 64;
    ByteSource bytes(input);
    const bool traced = std::getenv("VYN_FUZZ_TRACE") != nullptr;
    TestHost host(theModule(), {.mostValues = 1U << 22});
    host.setTraced(traced);
    const int type = kFirstType + static_cast<int>(bytes.below(kTypes));
    {
        auto block = std::make_unique<PlacedBlock>(host, type);
        if (!block->created()) fail({"no block of this type can be created"});
        block->wireAll();
        for (int i = 0; i < kMostSteps && !bytes.ended() && block->created(); ++i) {
            step(host, block, bytes);
            if (traced) printTrace(host, type);
        }
        host.behave();
    }
    if (const auto offences = host.takeOffences(); !offences.empty()) fail(offences);
    // A new run and the end of the block forget the accumulator of the classification; only the end
    // of a run gives it back.
    const bool forgets = type == kKlassierung;
    if (!forgets && host.memory().aliveData() != 0) {
        fail({"data blocks that neither side holds any more"});
    }
}

}  // namespace vynhost::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vynhost::test::runSession({data, size});
    return 0;
}
