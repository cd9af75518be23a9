#include "vynhost/validate/session.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <span>
#include <utility>

#include "vynhost/base/text.h"

namespace vynhost {

// --- Session --------------------------------------------------------------------------------

Session::Session(Surroundings surroundings, ModuleHost::Options options)
    : surroundings_(std::move(surroundings)),
      host_(*surroundings_.module, options),
      random_(surroundings_.seed) {
    host_.setTraced(false);
}

ModuleHost::Options Session::usualOptions() {
    ModuleHost::Options options;
    options.guard = platform::kLocksAreCounted ? platform::Guard::none : platform::Guard::pageAfter;
    options.checkLocks = true;
    options.mostValues = std::size_t{1} << 18;
    return options;
}

int Session::rounds(int usual) const noexcept {
    constexpr std::array<int, kHighestLevel> kTimes = {1, 1, 1, 1, 1, 3, 8, 20, 50, 100};
    const int level = std::clamp(surroundings_.level, kLowestLevel, kHighestLevel);
    return usual * kTimes.at(static_cast<std::size_t>(level - 1));
}

void Session::begin() {
    story_.clear();
    if (surroundings_.atBegin) surroundings_.atBegin();
}

void Session::tell(std::string step) {
    if (surroundings_.listener) surroundings_.listener(step);
    story_.push_back(std::move(step));
}

void Session::expect(bool holds, std::string_view what) {
    if (!holds) fail(std::string(what));
}

void Session::equal(Int found, Int expected, std::string_view what) {
    if (found == expected) return;
    fail(std::string(what) + ": " + std::to_string(found) + " instead of " +
         std::to_string(expected));
}

void Session::same(const Outputs& found, const Outputs& expected, std::string_view what) {
    const std::string difference = differenceOf(found, expected);
    if (!difference.empty()) fail(std::string(what) + ": " + difference);
}

void Session::same(const std::vector<Outputs>& found, const std::vector<Outputs>& expected,
                   std::string_view what) {
    equal(static_cast<Int>(found.size()), static_cast<Int>(expected.size()),
          std::string(what) + ", data blocks");
    for (std::size_t i = 0; i < found.size(); ++i) {
        same(found[i], expected[i], std::string(what) + ", data block " + std::to_string(i + 1));
    }
}

void Session::noOffences() {
    const std::vector<std::string> offences = host_.takeOffences();
    if (!offences.empty()) fail(joined(offences));
}

void Session::settle() {
    noOffences();
    for (const Box& box : host_.takeBoxes())
        fail("a box is shown that nobody has asked for: " + box.caption + ": " + box.text);
    equal(static_cast<Int>(host_.memory().aliveData()), 0,
          "data blocks live on that neither side holds any more");
}

// --- Subject --------------------------------------------------------------------------------

Subject::Subject(Session& session, int type)
    : session_(session),
      block_((session.tell("GetParameters type " + std::to_string(type) + ", block 0: a new block"),
              session.host()),
             type) {
    session_.expect(block_.created(), "no block of this type can be made");
    // Kept: the statistics measure nothing until they are told what.
    if (type == kStatistik) set("PkAllOn", 1);
}

Subject::Subject(Session& session, int type, const std::string& record)
    : session_(session),
      block_((session.tell("RestoreParameters type " + std::to_string(type) + ", file " +
                           hexOf(record)),
              session.host()),
             type, record) {
    session_.expect(block_.created(), "a record gives no block");
}

Subject::~Subject() { session_.tell("DestroyBlock"); }

void Subject::set(const KeywordRow& row, const KeywordValue& value) {
    session_.tell("lRemoteControl 60 " + row.name + " = " + textOf(value));
    block_.set(row, value);
}

void Subject::set(std::string_view keyword, const KeywordValue& value) {
    session_.tell("lRemoteControl 60 " + std::string(keyword) + " = " + textOf(value));
    std::visit([&](const auto& typed) { block_.set(keyword, typed); }, value);
}

void Subject::wireAll() {
    block_.wireAll();
    session_.tell("wire every connector of " + block_.connectors());
}

void Subject::initSim() {
    session_.tell("InitSim");
    session_.equal(block_.initSim(), 1, "InitSim answers");
}

Int Subject::simulate() {
    session_.tell("Simulation");
    return block_.simulate();
}

void Subject::stop() {
    session_.tell("Stoppen");
    session_.equal(block_.stop(), 1, "Stoppen answers");
}

void Subject::errorShow() {
    session_.tell("lErrorShow");
    session_.equal(block_.errorShow(), 0, "lErrorShow answers");
}

std::string Subject::save() {
    session_.tell("SaveParameters");
    return block_.save();
}

void Subject::put(int input, const ChannelData& data, std::string_view values) {
    session_.tell("input " + std::to_string(input) + ": " + headOf(data) + "; " +
                  std::string(values));
    block_.put(input, data);
}

void Subject::feed(unsigned seed) {
    for (int i = 0; i < inputs() && i < kMaxConnectors; ++i) {
        if (block_.waits(i)) continue;
        put(i, suitableData(block_.typeCode(), i, seed),
            carriesData(block_.typeCode(), i) ? "noise from -1 to 1" : "the value of a control");
    }
}

Outputs Subject::collect() {
    Outputs taken;
    for (int j = 0; j < outputs() && j < kMaxConnectors; ++j)
        taken.push_back(block_.take(j));
    return taken;
}

void Subject::clear() {
    for (int i = 0; i < kMaxConnectors; ++i)
        block_.put(i, Handle::none);
}

std::vector<Outputs> Subject::run(int dataBlocks, unsigned firstSeed) {
    std::vector<Outputs> results;
    wireAll();
    const std::string connectors = block_.connectors();
    initSim();
    if (block_.connectors() != connectors) wireAll();  // some choices hold from a start on
    for (int i = 0; i < dataBlocks; ++i) {
        feed(firstSeed + static_cast<unsigned>(i));
        simulate();
        nothingLost();
        results.push_back(collect());
    }
    stop();
    clear();
    return results;
}

std::vector<Outputs> Subject::properRun(int dataBlocks) {
    std::vector<Outputs> results = run(dataBlocks);
    if (isKnown(type())) session_.expect(hasValues(results), "the run puts nothing out");
    return results;
}

void Subject::nothingLost() {
    std::size_t held = 0;
    for (int i = 0; i < kMaxConnectors; ++i) {
        held += block_.waits(i) ? 1 : 0;
        held += block_.delivered(i) ? 1 : 0;
    }
    const std::size_t alive = session_.host().memory().aliveData();
    if (held == alive || (keepsABlock(type()) && held + 1 == alive)) return;
    session_.fail(std::to_string(alive) + " data blocks live, the record names " +
                  std::to_string(held));
}

// --- Results --------------------------------------------------------------------------------

bool hasValues(const Outputs& outputs) {
    return std::ranges::any_of(
        outputs, [](const auto& output) { return output && !output->values.empty(); });
}

bool hasValues(const std::vector<Outputs>& results) {
    return std::ranges::any_of(results, [](const Outputs& outputs) { return hasValues(outputs); });
}

// --- Texts ----------------------------------------------------------------------------------

namespace {

std::string spelled(std::int32_t value) { return std::to_string(value); }

std::string spelled(double value) { return toText(value); }

std::string spelled(const std::string& value) {
    constexpr std::size_t kMost = 40;
    if (value.size() <= kMost) return "\"" + printable(value) + "\"";
    return "\"" + printable(value.substr(0, kMost)) + "...\" (" + std::to_string(value.size()) +
           " letters)";
}

auto bytesOf(const ChannelHeader& head) { return std::as_bytes(std::span(&head, 1)); }

std::string bitsOf(float value) {
    std::array<char, 16> digits{};
    const auto bits = std::bit_cast<std::uint32_t>(value);
    const auto end = std::to_chars(digits.begin(), digits.end(), bits, 16).ptr;
    return toText(value) + " (bits " + std::string(digits.begin(), end) + ")";
}

}  // namespace

std::string textOf(const KeywordValue& value) {
    return std::visit([](const auto& typed) { return spelled(typed); }, value);
}

std::string hexOf(std::string_view bytes) {
    constexpr std::size_t kGroup = 8;  // digits
    const std::string digits = digitsOf(bytes);
    std::string text;
    for (std::size_t i = 0; i < digits.size(); i += kGroup)
        text += (i == 0 ? "" : " ") + digits.substr(i, kGroup);
    return text.empty() ? "without a byte" : text;
}

std::string headOf(const ChannelData& data) {
    const ChannelHeader& head = data.header;
    return std::to_string(head.valueCount) + " values, " + std::to_string(head.channelCount) +
           " channels, x kind " + std::to_string(head.xAxisKind) + " from " + toText(head.xStart) +
           " by " + toText(head.xStep) + ", unit " + std::to_string(head.yUnit) + ", flags " +
           std::to_string(head.axisFlags);
}

std::string differenceOf(const Outputs& found, const Outputs& expected) {
    if (found.size() != expected.size()) {
        return std::to_string(found.size()) + " outputs instead of " +
               std::to_string(expected.size());
    }
    for (std::size_t j = 0; j < found.size(); ++j) {
        const std::string output = "output " + std::to_string(j);
        if (found[j].has_value() != expected[j].has_value()) {
            return output + (found[j] ? " has something" : " has nothing");
        }
        if (!found[j]) continue;
        const auto& a = found[j]->values;
        const auto& b = expected[j]->values;
        if (a.size() != b.size()) {
            return output + " has " + std::to_string(a.size()) + " values instead of " +
                   std::to_string(b.size());
        }
        for (std::size_t i = 0; i < a.size(); ++i) {
            if (std::bit_cast<std::uint32_t>(a[i]) != std::bit_cast<std::uint32_t>(b[i])) {
                return output + ", value " + std::to_string(i) + ": " + bitsOf(a[i]) +
                       " instead of " + bitsOf(b[i]);
            }
        }
        if (!std::ranges::equal(bytesOf(found[j]->header), bytesOf(expected[j]->header))) {
            return output + " has the head " + headOf(*found[j]) + " instead of " +
                   headOf(*expected[j]);
        }
    }
    return {};
}

std::string digestOf(const std::vector<Outputs>& results) {
    std::uint64_t hash = 14695981039346656037U;  // FNV-1a
    const auto add = [&](const void* bytes, std::size_t size) {
        for (const auto byte : std::span(static_cast<const unsigned char*>(bytes), size))
            hash = (hash ^ byte) * 1099511628211U;
    };
    for (const Outputs& outputs : results) {
        for (const auto& output : outputs) {
            const unsigned char there = output ? 1 : 0;
            add(&there, 1);
            if (!output) continue;
            add(&output->header, sizeof output->header);
            add(output->values.data(), output->values.size() * sizeof(float));
        }
    }
    std::array<char, 16> digits{};
    const auto end = std::to_chars(digits.begin(), digits.end(), hash, 16).ptr;
    return {digits.begin(), end};
}

}  // namespace vynhost
