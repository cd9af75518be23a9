// The same input gives the same bits.
#include <algorithm>
#include <array>
#include <bit>
#include <numeric>
#include <optional>

#include "vynhost/base/text.h"
#include "vynhost/validate/catalogue_of_checks.h"
#include "vynhost/validate/platform/process.h"

namespace vynhost {
namespace {

using Type = CheckList::Type;

// Calls `use` with the settings that a type can be chosen by: none, then each value of each
// keyword.
void forEveryChoice(const Type& type,
                    const std::function<void(const KeywordRow*, const KeywordValue&)>& use) {
    constexpr std::array kTexts = {"POWERSPECTRUM", "CEPSTRUM",   "REALIMAGINAER", "SPECTRUM H1",
                                   "SPECTRUM H2",   "ARITHMETIC", "KAISER",        "PEAKMINMAX",
                                   "EXPONENTIAL",   "PSD"};
    constexpr std::array<std::int32_t, 4> kIntegers = {0, 1, 2, 3};
    use(nullptr, {});
    for (const KeywordRow& row : type.keywords) {
        if (row.type == ValueType::text) {
            for (const char* text : kTexts)
                use(&row, std::string(text));
        } else if (row.type != ValueType::real) {
            for (const std::int32_t number : kIntegers)
                use(&row, number);
        }
    }
}

std::vector<Outputs> runOf(Session& session, const Type& type, const KeywordRow* row,
                           const KeywordValue& value, int dataBlocks) {
    Subject block(session, type.code);
    if (row != nullptr) block.set(*row, value);
    std::vector<Outputs> results = block.run(dataBlocks);
    session.takeBoxes();
    return results;
}

void secondRun(Session& session, const Type& type) {
    forEveryChoice(type, [&](const KeywordRow* row, const KeywordValue& value) {
        session.begin();
        Subject block(session, type.code);
        if (row != nullptr) block.set(*row, value);
        const std::vector<Outputs> first = block.run(3);
        session.same(block.run(3), first, "the second run");
        session.takeBoxes();
        session.expect(row != nullptr || !isKnown(type.code) || hasValues(first),
                       "the run puts nothing out");
    });
}

void anotherBlock(Session& session, const Type& type) {
    forEveryChoice(type, [&](const KeywordRow* row, const KeywordValue& value) {
        session.begin();
        const std::vector<Outputs> first = runOf(session, type, row, value, 3);
        session.same(runOf(session, type, row, value, 3), first, "another block's run");
    });
}

void whatMemoryHeldBefore(Session& session, const Type& type) {
    forEveryChoice(type, [&](const KeywordRow* row, const KeywordValue& value) {
        session.begin();
        std::optional<std::vector<Outputs>> expected;
        for (const int filling : {0x00, 0xA5, 0xFF}) {
            session.tell("message 1134 gives memory that is filled with bytes " +
                         std::to_string(filling));
            session.host().fillNewBlocks(static_cast<std::byte>(filling));
            const std::vector<Outputs> found = runOf(session, type, row, value, 3);
            if (!expected) expected = found;
            session.same(found, *expected, "beside memory of zeros");
        }
        session.host().fillNewBlocks(std::nullopt);
    });
}

void sideBySide(Session& session, int type) {
    const std::vector<Outputs> expected = Subject(session, type).properRun(4);
    session.begin();
    Subject one(session, type);
    Subject other(session, type);
    for (Subject* block : {&one, &other}) {
        block->wireAll();
        block->initSim();
    }
    for (unsigned i = 0; i < 4; ++i) {
        other.feed(i + 100);
        other.simulate();
        other.collect();
        one.feed(i + 1);
        one.simulate();
        session.same(one.collect(), expected[i], "beside another block");
    }
    for (Subject* block : {&one, &other})
        block->stop();
}

void afterEveryOtherType(Session& session, int type, const std::vector<Type>& types) {
    const std::vector<Outputs> expected = Subject(session, type).properRun(2);
    for (const Type& other : types) {
        session.begin();
        Subject(session, other.code).run(3, 17);
        session.takeBoxes();
        Subject block(session, type);
        session.same(block.run(2), expected, "after a run of type " + std::to_string(other.code));
    }
}

// --- Other kernels --------------------------------------------------------------------------

void otherKernels(Session& session, const Type& type) {
    constexpr const char* kVariable = "VYNPACK_KERNELS";
    std::optional<std::string> expected;
    for (const char* level : {"", "baseline", "avx2", "avx512"}) {
        session.begin();
        session.tell(std::string(kVariable) + "=" + level +
                     ", a new process: every choice of type " + std::to_string(type.code));
        std::string digest;
        const platform::Ending ending =
            platform::runSelf({"validate", textOf(session.installation().module), "--worker",
                               "digest:" + std::to_string(type.code)},
                              {{kVariable, level}}, 60, [&](const std::string& line) {
                                  if (line.starts_with("@digest ")) digest = line.substr(8);
                                  return 60.0;
                              });
        session.expect(ending.well, "the process ends by " + ending.text);
        session.expect(!digest.empty(), "the process computes nothing");
        if (!expected) expected = digest;
        session.expect(digest == *expected, "other bits than with the kernels of this machine");
    }
}

// --- Other cuts -----------------------------------------------------------------------------

// Types whose values do not depend on where the signal is cut, with the settings for it.
struct Uncut {
    int type;
    std::vector<std::pair<const char*, KeywordValue>> settings;
    std::size_t fewest = 1;  // samples that a data block must have
};

const std::vector<Uncut>& uncutTypes() {
    static const std::vector<Uncut> all = {
        {kDigitalFilter, {{"PkFIRFilter", 0}, {"PkFilterType", 0}}},
        {kDigitalFilter, {{"PkFIRFilter", 1}}},
        {kFreqWeight, {{"PkXweight", 1}}},
        {kFreqWeight, {{"PkXweight", 3}}},
        {kLevel, {}},
        // Kept: a data block of fewer values than are averaged is refused.
        {kMittelwert, {{"PkMode", 2}, {"PkSmoothNVal", 7}}, 7},
    };
    return all;
}

// The values of output 0, one after the other, from a signal in blocks of these lengths.
std::vector<float> valuesOfCuts(Session& session, const Uncut& uncut,
                                const std::vector<float>& signal, int channels,
                                const std::function<std::size_t()>& nextLength) {
    Subject block(session, uncut.type);
    for (const auto& [keyword, value] : uncut.settings)
        block.set(keyword, value);
    block.wireAll();
    for (int i = 1; i < block.inputs(); ++i) {
        session.tell("input " + std::to_string(i) + " is not wired");
        block.block().wireInput(i, kUnwired);
    }
    block.initSim();
    std::vector<float> values;
    const std::size_t samples = signal.size() / static_cast<std::size_t>(channels);
    for (std::size_t from = 0; from < samples;) {
        const std::size_t rest = samples - from;
        std::size_t length = std::min(nextLength(), rest);
        if (rest - length < uncut.fewest) length = rest;
        const auto at = [&](std::size_t sample) {
            return signal.begin() + static_cast<std::ptrdiff_t>(sample) * channels;
        };
        block.put(0, timeSignal(std::vector<float>(at(from), at(from + length)), channels),
                  "noise from sample " + std::to_string(from) + " on");
        // A block may have several results for one data block.
        for (bool more = true; more && block.block().waits(0);) {
            block.simulate();
            const auto output = block.block().take(0);
            more = output.has_value();
            if (output) values.insert(values.end(), output->values.begin(), output->values.end());
        }
        from += length;
    }
    block.stop();
    block.clear();
    session.takeBoxes();
    return values;
}

void otherCuts(Session& session, int type) {
    constexpr int kChannels = 2;
    constexpr std::size_t kSamples = 20000;
    const std::vector<float> signal = evenNoise(kSamples * kChannels, 7);
    for (const Uncut& uncut : uncutTypes()) {
        if (uncut.type != type) continue;
        session.begin();
        const auto whole =
            valuesOfCuts(session, uncut, signal, kChannels, [] { return std::size_t{5000}; });
        session.expect(!whole.empty(), "the run puts nothing out");
        for (int round = session.rounds(3); round > 0; --round) {
            session.begin();
            const auto cut = valuesOfCuts(session, uncut, signal, kChannels,
                                          [&] { return uncut.fewest + session.random()() % 999; });
            session.equal(static_cast<Int>(cut.size()), static_cast<Int>(whole.size()),
                          "values that come out");
            for (std::size_t i = 0; i < whole.size(); ++i) {
                session.expect(
                    std::bit_cast<std::uint32_t>(cut[i]) == std::bit_cast<std::uint32_t>(whole[i]),
                    "value " + std::to_string(i) + " is " + toText(cut[i]) + " instead of " +
                        toText(whole[i]) + " of blocks of 5000");
            }
        }
    }
}

// --- Channels -------------------------------------------------------------------------------

ChannelData channelsOf(int type, int input, const std::vector<int>& channels, unsigned round) {
    constexpr std::size_t kSamples = 200;
    ChannelData data = suitableData(type, input);
    if (!carriesData(type, input)) return data;
    const std::size_t count = channels.size();
    data.values.resize(kSamples * count);
    for (std::size_t c = 0; c < count; ++c) {
        const auto signal =
            evenNoise(kSamples, 1000 * round + static_cast<unsigned>(2 * channels[c] + input));
        for (std::size_t i = 0; i < kSamples; ++i)
            data.values[i * count + c] = signal[i];
    }
    data.header.valueCount = static_cast<std::int32_t>(data.values.size());
    data.header.channelCount = static_cast<std::int32_t>(count);
    return data;
}

std::vector<Outputs> resultsOfChannels(Session& session, int type,
                                       const std::vector<int>& channels) {
    session.begin();
    Subject block(session, type);
    block.wireAll();
    block.initSim();
    std::vector<Outputs> results;
    for (unsigned round = 0; round < 3; ++round) {
        for (int i = 0; i < block.inputs(); ++i) {
            if (!block.block().waits(i))
                block.put(i, channelsOf(type, i, channels, round), "noise, another per channel");
        }
        block.simulate();
        results.push_back(block.collect());
    }
    block.stop();
    block.clear();
    return results;
}

void aChannelAlone(Session& session, int type) {
    for (const int count : {2, 3, 16, 31, 32, 33, 255}) {
        std::vector<int> all(static_cast<std::size_t>(count));
        std::iota(all.begin(), all.end(), 0);
        const auto together = resultsOfChannels(session, type, all);
        for (const int c : {0, count / 2, count - 1}) {
            // Kept: the statistics of one channel lie in another order; its twin stands beside it.
            const auto alone = resultsOfChannels(
                session, type, type == kStatistik ? std::vector<int>{c, c} : std::vector<int>{c});
            const std::size_t width = type == kStatistik ? 2 : 1;
            session.tell("beside the same channel as channel " + std::to_string(c) + " of " +
                         std::to_string(count));
            for (std::size_t k = 0; k < together.size(); ++k) {
                for (std::size_t j = 0; j < together[k].size(); ++j) {
                    session.expect(together[k][j].has_value() == alone[k][j].has_value(),
                                   "output " + std::to_string(j) + " is there only once");
                    if (!alone[k][j]) continue;
                    const auto& one = alone[k][j]->values;
                    const auto& many = together[k][j]->values;
                    session.equal(static_cast<Int>(many.size() * width),
                                  static_cast<Int>(one.size() * all.size()),
                                  "values of all channels");
                    for (std::size_t i = 0; i * width < one.size(); ++i) {
                        const float found = many[i * all.size() + static_cast<std::size_t>(c)];
                        const float expected = one[i * width];
                        session.expect(std::bit_cast<std::uint32_t>(found) ==
                                           std::bit_cast<std::uint32_t>(expected),
                                       "output " + std::to_string(j) + ", value " +
                                           std::to_string(i) + " is " + toText(found) +
                                           " beside others and " + toText(expected) + " alone");
                    }
                }
            }
        }
    }
}

}  // namespace

std::string digestOfType(Session& session, const Type& type) {
    std::string digests;
    forEveryChoice(type, [&](const KeywordRow* row, const KeywordValue& value) {
        session.begin();
        digests += digestOf(runOf(session, type, row, value, 3));
    });
    return digests;
}

void addBitChecks(CheckList& list) {
    const auto ofTypes = [&](const std::string& name, int level, const std::string& sentence,
                             void (*run)(Session&, const Type&)) {
        for (const Type& type : list.types()) {
            list.ofEveryType(
                name, level, sentence, [run, type](Session& session, int) { run(session, type); },
                [code = type.code](const Type& other) { return other.code == code; });
        }
    };
    ofTypes("bits.secondRun", 2, "A second run gives the same bits, whatever is chosen.",
            secondRun);
    ofTypes("bits.anotherBlock", 3, "Another block gives the same bits, whatever is chosen.",
            anotherBlock);
    ofTypes("bits.memory", 3, "What the host's memory held before changes no bit.",
            whatMemoryHeldBefore);
    ofTypes("bits.kernels", 4, "At every instruction-set level the bits are the same.",
            otherKernels);
    list.ofEveryType("bits.sideBySide", 2, "Two blocks side by side do not meet.", sideBySide);
    list.ofEveryType("bits.afterOthers", 3, "Runs of other types before it change no bit.",
                     [types = list.types()](Session& session, int type) {
                         afterEveryOtherType(session, type, types);
                     });
    list.ofEveryType("bits.cuts", 3, "Other cuts of the signal give the same bits.", otherCuts,
                     [](const Type& type) {
                         return std::ranges::any_of(uncutTypes(), [&](const Uncut& uncut) {
                             return uncut.type == type.code;
                         });
                     });
    // Kept: the inverse transform takes every channel's Nyquist value from one place.
    list.ofEveryType(
        "bits.channels", 4, "A channel beside others gives the bits that it gives alone.",
        aChannelAlone,
        [](const Type& type) { return isKnown(type.code) && type.code != kInverseFFT; });
}

}  // namespace vynhost
