// Diagrams as nobody would write them: sources, blocks, wires, sinks and comparisons with values
// that are right most of the time, and texts that are hardly TOML. The input's bytes decide. A
// diagram is run to its end or refused in one printable line; anything else ends the process, as a
// sanitizer's report does.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <exception>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "fuzz/byte_source.h"
#include "support/own_folder.h"
#include "vynhost/base/text.h"
#include "vynhost/diagram/catalogue.h"
#include "vynhost/diagram/keyword_table.h"
#include "vynhost/interface/installation.h"
#include "vynhost/interface/placed_block.h"
#include "vynhost/results/comparison.h"
#include "vynhost/results/result_files.h"
#include "vynhost/results/sink.h"
#include "vynhost/run/runner.h"

namespace vynhost::test {
namespace {

constexpr std::array<const char*, 40> kAnything = {"0",
                                                   "1",
                                                   "-1",
                                                   "0.5",
                                                   "2",
                                                   "20",
                                                   "1024",
                                                   "48000.0",
                                                   "nan",
                                                   "-nan",
                                                   "inf",
                                                   "-inf",
                                                   "5e-324",
                                                   "1e-308",
                                                   "1e-9",
                                                   "1e17",
                                                   "1e308",
                                                   "1e39",
                                                   "1e12",
                                                   "-2147483648",
                                                   "2147483647",
                                                   "16777216",
                                                   "4294967296",
                                                   "-9223372036854775808",
                                                   "9223372036854775807",
                                                   "true",
                                                   "\"\"",
                                                   "\"text\"",
                                                   "\"../x\"",
                                                   "\"a\\u0000b\"",
                                                   "\"\\u001b[31m\"",
                                                   "'='",
                                                   "[]",
                                                   "[1]",
                                                   "[1, 2, 1]",
                                                   "[100000]",
                                                   "[[1]]",
                                                   "{}",
                                                   "{ rms = 1e-3 }",
                                                   "2026-01-01"};

constexpr std::array<const char*, 12> kTables = {
    "0,1\n0.5,2\n1,3\n1.5,-1\n",
    "5e-324,1\n1,2\n2,3\n3,4\n",
    "1e17,1\n100000000000000016,2\n100000000000000032,3\n",
    "1e15,1\n1000000000000000.125,2\n1000000000000000.25,3\n",
    "t;a;b\n0;1;2\n1;;4\n2;5;\n",
    "0,3.4e38\n1,-3.4e38\n2,1e-45\n3,nan\n4,inf\n",
    "-1e308,1\n0,2\n1e308,3\n",
    "0,0\n1,0\n2,0\n",
    "0,1\n5e-324,2\n1e-323,3\n",
    "=1+1;@x\n0;1\n1;2\n",
    "",
    "0,1\n"};

struct Type {
    std::string name;
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
    const BlockMeaning* meaning;
};

// What all diagrams share, made once.
class World {
public:
    static World& the() {
        static World world;
        return world;
    }

    const std::filesystem::path& folder() const { return folder_.path(); }
    const ModuleLibrary& module() const { return module_; }
    const std::vector<Type>& types() const { return types_; }

private:
    World() : module_(loadModule(findInstallation())) {
        for (std::size_t i = 0; i < kTables.size(); ++i) {
            std::ofstream(folder() / ("t" + std::to_string(i) + ".csv"), std::ios::binary)
                << kTables[i];
        }
        ModuleHost host(module_);
        for (const TypeInfo& info : moduleTypes(host)) {
            PlacedBlock block(host, info.code);
            types_.push_back({info.longName, connectorNames(block.inputLabels()),
                              connectorNames(block.outputLabels()), &meaningOf(info.code)});
        }
    }

    support::OwnFolder folder_{"vynhost-fuzz"};
    ModuleLibrary module_;
    std::vector<Type> types_;
};

// --- A diagram ------------------------------------------------------------------------------

class Writer {
public:
    explicit Writer(std::span<const std::uint8_t> input) : bytes_(input) {}

    std::string diagram() {
        const std::size_t sources = 1 + bytes_.below(2);
        for (std::size_t i = 0; i < sources; ++i)
            source("s" + std::to_string(i));
        std::string wires;
        const std::size_t blocks = bytes_.below(4);
        for (std::size_t i = 0; i < blocks; ++i)
            block("b" + std::to_string(i), wires);
        if (!wires.empty()) text_ += "[wire]\n" + wires;
        const std::size_t sinks = 1 + bytes_.below(2);
        for (std::size_t i = 0; i < sinks; ++i)
            sink("x" + std::to_string(i));
        if (bytes_.oneIn(3)) compare();
        while (bytes_.oneIn(12) && !text_.empty())
            damage();
        return text_;
    }

private:
    // `sound`, or now and then anything.
    void line(const std::string& key, const std::string& sound) {
        text_ += key + " = " + (bytes_.oneIn(64) ? bytes_.pick(kAnything) : sound) + "\n";
    }
    void maybe(const std::string& key, const std::string& sound) {
        if (bytes_.oneIn(4)) line(key, sound);
    }
    static std::string quoted(const std::string& text) { return "\"" + text + "\""; }

    void source(const std::string& name) {
        static constexpr std::array<const char*, 6> kRates = {"8000.0", "48000.0", "1000.0",
                                                              "1e-9",   "1e12",    "44100"};
        static constexpr std::array<const char*, 5> kBlocks = {"64", "256", "1", "1000",
                                                               "16777216"};
        static constexpr std::array<const char*, 3> kTails = {"keep", "drop", "pad"};
        text_ += "[source." + name + "]\n";
        const bool noise = bytes_.oneIn(2);
        if (noise) {
            const std::string rate = bytes_.pick(kRates);
            line("noise", "{ rms = 0.5, seed = 3 }");
            line("rate", rate);
            const double samples = static_cast<double>(1 + bytes_.below(2000));
            line("seconds", toText(samples / *toNumber(rate)));
        } else {
            line("file", quoted("t" + std::to_string(bytes_.below(kTables.size())) + ".csv"));
            maybe("rate", "1000.0");
            maybe("noise", "{ rms = 1e-3 }");
        }
        line("block", bytes_.pick(kBlocks));
        maybe("full_scale", "20.0");
        maybe("unit", quoted("Pa"));
        maybe("tail", quoted(bytes_.pick(kTails)));
        maybe("channels", "[1]");
        outputs_.push_back(name);
    }

    std::string written(const KeywordMeaning& keyword) {
        if (!keyword.choices.empty()) {
            const NamedChoice& choice = bytes_.pick(keyword.choices);
            return keyword.type == ValueType::text || bytes_.oneIn(2)
                       ? quoted(std::string(choice.name))
                       : std::to_string(choice.number);
        }
        constexpr double kMost = 1000;
        const double least = std::max(keyword.range.least, -kMost);
        const double most = std::min(keyword.range.most, kMost);
        const double part = static_cast<double>(bytes_.below(65)) / 64;
        const double value = least + part * (most - least);
        if (keyword.type != ValueType::real) return std::to_string(std::lround(value));
        return toText(value, 6);
    }

    void block(const std::string& name, std::string& wires) {
        const Type& type = bytes_.pick(World::the().types());
        text_ += "[block." + name + "]\n";
        line("type", quoted(type.name));
        for (const KeywordMeaning& keyword : type.meaning->keywords) {
            if (bytes_.oneIn(6)) line(std::string(keyword.name), written(keyword));
        }
        for (const std::string& input : type.inputs) {
            if (bytes_.oneIn(16)) continue;
            wires += quoted(name + "." + input) + " = " + quoted(bytes_.pick(outputs_)) + "\n";
        }
        for (const std::string& output : type.outputs)
            outputs_.push_back(name + "." + output);
    }

    void sink(const std::string& name) {
        static constexpr std::array<const char*, 4> kAverages = {"none", "mean", "power", "last"};
        static constexpr std::array<const char*, 4> kTitles = {"A title", "\\u0001\\u001b<&>",
                                                               "\\uFFFF", "äöü"};
        text_ += "[sink." + name + "]\n";
        std::string from = quoted(bytes_.pick(outputs_));
        if (bytes_.oneIn(3)) from = "[" + from + ", " + quoted(bytes_.pick(outputs_)) + "]";
        line("from", from);
        line("csv", quoted(name + ".csv"));
        line("svg", quoted(name + ".svg"));
        maybe("title", quoted(bytes_.pick(kTitles)));
        maybe("average", quoted(bytes_.pick(kAverages)));
        maybe("x", quoted(bytes_.oneIn(2) ? "log" : "linear"));
        maybe("y", quoted(bytes_.oneIn(2) ? "dB" : "linear"));
        maybe("reference", "2e-5");
    }

    void compare() {
        text_ += "[compare.c]\n";
        line("of", quoted(bytes_.pick(outputs_)));
        line("with", quoted(bytes_.pick(outputs_)));
        maybe("tolerance", "1e-3");
    }

    // The text itself is spoilt at one place.
    void damage() {
        static constexpr std::array<std::string_view, 10> kSplinters = {
            "ä",         "straße = 1\n",           "[",    "\"",
            "'''",       "\n[a.b.c.d]\n",          "\xFF", "\x01",
            "a.b.c = {", std::string_view("\0", 1)};
        const std::size_t at = bytes_.below(text_.size() + 1);
        switch (bytes_.below(3)) {
            case 0: text_.insert(at, bytes_.pick(kSplinters)); break;
            case 1: text_.erase(at, 1 + bytes_.below(8)); break;
            default:
                for (int i = 0; i < 200; ++i)
                    text_.insert(at, bytes_.oneIn(2) ? "[" : "a.");
        }
    }

    ByteSource bytes_;
    std::string text_;
    std::vector<std::string> outputs_;
};

[[noreturn]] void fail(const std::string& diagram, const std::string& what) {
    std::fprintf(stderr, "%s\n--- %s\n", diagram.c_str(), what.c_str());
    std::abort();
}

// A run may be as long as its noise; here it may not.
bool isLong(const Diagram& diagram) {
    constexpr double kMostSamples = 1e5;
    return std::ranges::any_of(diagram.sources, [](const SourceEntry& source) {
        return source.file.empty() && source.seconds * *source.rate > kMostSamples;
    });
}

void runDiagram(const std::string& text) {
    constexpr std::uint64_t kMemory = std::uint64_t{64} << 20;
    const World& world = World::the();
    const Diagram diagram = parseDiagram(text, world.folder() / "d.toml");
    requireResults(diagram);
    if (isLong(diagram)) return;
    ResultFiles files(world.folder() / "out", {}, true);
    for (const SinkEntry& sink : diagram.sinks)
        Sink::claimFiles(sink, files);
    ModuleHost host(world.module(), {.mostValues = kMemory / sizeof(float)});
    Runner runner(host, diagram, {}, kMemory);
    std::deque<Sink> sinks;
    for (const SinkEntry& entry : diagram.sinks)
        sinks.emplace_back(entry, runner, files);
    std::deque<Comparer> comparers;
    for (const CompareEntry& entry : diagram.comparisons)
        comparers.emplace_back(entry, runner);
    runner.run();
    for (const Comparer& comparer : comparers)
        comparer.result();
    for (Sink& sink : sinks)
        sink.finish();
    files.commit();
}

}  // namespace

void tryDiagram(std::span<const std::uint8_t> input) {
    const std::string text = Writer(input).diagram();
    const bool shown = std::getenv("VYN_FUZZ_TRACE") != nullptr;
    if (shown) std::printf("%s", text.c_str());
    try {
        runDiagram(text);
        if (shown) std::printf("--- ran\n");
    } catch (const RunError& error) {
        if (error.what() == std::string_view()) fail(text, "refused without a reason");
        if (shown) std::printf("--- %s\n", messageLine(error.what()).c_str());
    } catch (const std::exception& error) {
        fail(text, std::string("no error that names its place: ") + error.what());
    }
}

}  // namespace vynhost::test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    vynhost::test::tryDiagram({data, size});
    return 0;
}
