// What comes from outside, as bytes: a parameter record, keywords, a data block's head, a diagram,
// a table, a recording, a file of arrays. The variable VYN_FUZZ_TARGET says which. An input is
// taken or refused in the way that is meant for it; anything else ends the process, as a
// sanitizer's report does.
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/byte_source.h"
#include "support/platform/test_system.h"
#include "support/test_host.h"
#include "vynhost/base/errors.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/run/recording.h"
#include "vynhost/validate/working_block.h"

namespace vynhost::test {
namespace {

using Bytes = std::span<const std::uint8_t>;

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "%s\n", what.c_str());
    std::abort();
}

std::string textOf(Bytes bytes) { return {bytes.begin(), bytes.end()}; }

// --- The module -----------------------------------------------------------------------------

const ModuleLibrary& theModule() {
    static const ModuleLibrary module = [] {
        platform::setSharedDirectory(platform::programFolder().string());
        return ModuleLibrary(ModuleLibrary::defaultPath());
    }();
    return module;
}

// A host that gives no huge outputs; what it saw and what was left behind ends the process.
template <class Work>
void withHost(Work work) {
    TestHost host(theModule(),
                  {.guard = platform::Guard::pageAfter, .mostValues = std::size_t{1} << 18});
    host.setTraced(false);
    work(host);
    for (const std::string& offence : host.takeOffences())
        fail(offence);
    if (host.memory().aliveData() != 0) fail("data blocks that neither side holds any more");
}

int typeOf(ByteSource& bytes) { return kFirstType + bytes.take<std::uint8_t>() % kTypes; }

void tryRecord(Bytes input) {
    ByteSource bytes(input);
    const int type = typeOf(bytes);
    withHost([&](TestHost& host) {
        PlacedBlock block(host, type,
                          textOf(input.subspan(std::min<std::size_t>(1, input.size()))));
        if (!block.created()) fail("a record gives no block");
        run(block, 2);
        const std::string saved = block.save();
        PlacedBlock again(host, type, saved);
        if (again.save() != saved) fail("a record does not come back");
    });
}

void tryKeywords(Bytes input) {
    constexpr int kMostValues = 16;
    ByteSource bytes(input);
    const int type = typeOf(bytes);
    withHost([&](TestHost& host) {
        WorkingBlock block(host, type);
        const std::vector<KeywordRow> rows = block.keywords();
        block.wireAll();
        block.initSim();
        for (int i = 0; i < kMostValues && !bytes.ended(); ++i) {
            if (rows.empty()) break;
            const KeywordRow& row = rows[bytes.take<std::uint8_t>() % rows.size()];
            std::string value(row.type == ValueType::text ? 40 : 8, '\0');
            for (char& byte : value)
                byte = static_cast<char>(bytes.take<std::uint8_t>());
            if (row.type == ValueType::text) value.push_back('\0');
            block.remoteControl(kSetValue, row.name, value);
            if (!bytes.oneIn(2)) continue;
            block.wireAll();
            feed(block);
            block.simulate();
            for (int output = 0; output < kMaxConnectors; ++output)
                block.take(output);
        }
        block.stop();
        for (int j = 0; j < kMaxConnectors; ++j)
            block.put(j, Handle::none);
    });
}

void tryHead(Bytes input) {
    constexpr int kMostBlocks = 4;
    constexpr std::int32_t kValues = 400;
    ByteSource bytes(input);
    const int type = typeOf(bytes);
    withHost([&](TestHost& host) {
        WorkingBlock block(host, type);
        block.wireAll();
        block.initSim();
        for (int i = 0; i < kMostBlocks && !bytes.ended(); ++i) {
            ChannelData data = suitableData(type, 0);
            data.values.resize(kValues);
            data.header = bytes.take<ChannelHeader>();
            // More than the memory holds no host may say.
            data.header.valueCount = std::min(data.header.valueCount, kValues);
            if (!block.waits(0)) block.put(0, data);
            feed(block);
            block.simulate();
            collect(block);
        }
        block.stop();
        for (int j = 0; j < kMaxConnectors; ++j)
            block.put(j, Handle::none);
    });
}

// --- Files ----------------------------------------------------------------------------------

template <class Open>
void tryRecording(Bytes input, Open open) {
    constexpr std::size_t kFrames = 512;
    constexpr int kMostReads = 64;
    const platform::PassingFile file(input);
    try {
        const auto recording = open(file.path());
        std::vector<float> values(kFrames * static_cast<std::size_t>(recording->channels()));
        std::int64_t frames = 0;
        for (int i = 0; i < kMostReads; ++i) {
            const std::size_t got = recording->read(values);
            if (got > kFrames) fail("more frames than there is room for");
            if (got == 0) break;
            frames += static_cast<std::int64_t>(got);
        }
        if (frames > recording->frames()) fail("more frames than the recording says");
    } catch (const RecordingError& error) {
        if (std::string_view(error.what()).empty()) fail("refused without a reason");
    }
}

void tryDiagramText(Bytes input) {
    try {
        parseDiagram(textOf(input), "fuzz.toml");
    } catch (const RunError& error) {
        if (std::string_view(error.what()).empty()) fail("refused without a reason");
    }
}

// Files of arrays: the first byte says of which kind.
void tryArrays(Bytes input) {
    if (input.empty()) return;
    const Bytes file = input.subspan(1);
    const auto openAs = [kind = input.front() % 3](const auto& path, std::optional<double> rate,
                                                   bool turned) {
        const ArrayChoice choice{.rowsAreChannels = turned};
        if (kind == 1) return openMat(path, rate, choice);
        if (kind == 2) return openHdf5(path, rate, choice);
        return openNpy(path, rate, turned ? Truncated::use : Truncated::refuse);
    };
    tryRecording(file, [&](const auto& path) { return openAs(path, std::nullopt, false); });
    tryRecording(file, [&](const auto& path) { return openAs(path, 100.0, true); });
}

void tryInput(Bytes input) {
    static const char* const variable = std::getenv("VYN_FUZZ_TARGET");
    static const std::string_view target = variable == nullptr ? "" : variable;
    if (target == "record") return tryRecord(input);
    if (target == "keyword") return tryKeywords(input);
    if (target == "header") return tryHead(input);
    if (target == "toml") return tryDiagramText(input);
    if (target == "csv") {
        tryRecording(input, [](const auto& path) { return openCsv(path, std::nullopt); });
        return tryRecording(input, [](const auto& path) { return openCsv(path, 100.0); });
    }
    if (target == "arrays") return tryArrays(input);
    if (target == "wav") {
        tryRecording(input, [](const auto& path) { return openWav(path); });
        return tryRecording(input, [](const auto& path) { return openWav(path, Truncated::use); });
    }
    fail("VYN_FUZZ_TARGET must be record, keyword, header, toml, csv, wav or arrays");
}

}  // namespace

void tryOutsideInput(std::span<const std::uint8_t> input) {
    try {
        tryInput(input);
    } catch (const std::exception& error) {
        fail(std::string("an error of another kind: ") + error.what());
    }
}

}  // namespace vynhost::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vynhost::test::tryOutsideInput({data, size});
    return 0;
}
