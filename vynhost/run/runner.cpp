#include "vynhost/run/runner.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <optional>
#include <set>
#include <utility>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/diagram/block_settings.h"
#include "vynhost/diagram/catalogue.h"
#include "vynhost/diagram/keyword_check.h"
#include "vynhost/interface/placed_block.h"
#include "vynhost/run/block_step.h"
#include "vynhost/run/interrupt.h"
#include "vynhost/run/level_intervals.h"
#include "vynhost/run/source.h"

namespace vynhost {

struct Runner::Feed {
    Source source;
    Outlet outlet;
};

struct Runner::Node {
    const BlockEntry* entry;
    std::unique_ptr<PlacedBlock> block;
    struct Input {
        std::string name;                // "E"
        std::optional<Place> wire = {};  // none: not wired
        const Outlet* feeder = nullptr;  // that the wire comes from
        ChannelHeader last = {};         // of the data that came last
        int whole = 0;                   // samples of the first data block
        int rest = 0;                    // of a last one that is shorter
        bool restIsLeftOut = false;      // of the spectra

        std::string restText() const {
            return tr("the recording ends with %1 of the %2 samples of a data block", rest, whole);
        }
    };
    std::vector<Input> inputs;
    std::vector<std::string> outputs;
    std::vector<Outlet> outlets;
    bool checkedAtRate = false;
    bool keepsBands = false;  // what comes in over bands goes out over the same
    // Of the spectra whose bands are known.
    struct Lines {
        std::int32_t axis;
        double start;
        double step;
        int count;
        bool operator==(const Lines&) const = default;
    };
    std::optional<Lines> lines = {};
    std::vector<Node*> before;  // whose outputs come in here
    std::optional<LevelIntervals> intervals = {};
    int followers = 0;  // samples behind the data that the last intervals have been given
    double time = 0;    // s; where in the signal what came in last begins

    std::string nameOf(const Input& input) const { return entry->name + "." + input.name; }
    std::vector<std::string> inputNames() const {
        std::vector<std::string> names;
        for (const Input& input : inputs)
            names.push_back(input.name);
        return names;
    }
    InputNeed needOf(const Input& input) const {
        const auto known = std::ranges::find(meaning().inputs, std::string_view(input.name),
                                             &InputMeaning::letter);
        return known == meaning().inputs.end() ? InputNeed::optional : known->need;
    }
    KeywordValues values() const { return valuesOf(*block, *entry); }
    const BlockMeaning& meaning() const {
        return meaningOf(static_cast<std::int32_t>(block->typeCode()));
    }
};

namespace {

// The place of a name in a list, where "A" also means "A1".
std::optional<std::size_t> indexOf(const std::vector<std::string>& names, const std::string& name) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (names[i] == name || names[i] == name + "1") return i;
    }
    return std::nullopt;
}

}  // namespace

Runner::Runner(ModuleHost& host, const Diagram& diagram,
               const std::map<std::string, std::filesystem::path>& inputs, std::uint64_t memory,
               const char* raisedBy)
    : host_(host), diagram_(diagram), memory_(memory, raisedBy) {
    openSources(inputs);
    placeBlocks();
    wire();
    checkInputs();
    orderBlocks();
    carryKinds();
    carryOrigins();
    checkOverlaps();
    limitDataBlocks();
    // Their names must exist.
    for (const SinkEntry& sink : diagram_.sinks) {
        for (const ConnectorName& name : sink.from)
            outletOf(name);
    }
    for (const CompareEntry& compare : diagram_.comparisons) {
        outletOf(compare.of);
        outletOf(compare.with);
    }
}

Runner::~Runner() = default;

// --- Setting up -----------------------------------------------------------------------------

void Runner::openSources(const std::map<std::string, std::filesystem::path>& inputs) {
    bool readsStandardInput = false;
    for (const SourceEntry& entry : diagram_.sources) {
        const auto replaced = inputs.find(entry.name);
        const auto& file = replaced == inputs.end() ? entry.file : replaced->second;
        if (file == "-" && std::exchange(readsStandardInput, true)) {
            throw InputError(entry.filePlace,
                             tr("standard input is read by another source already"));
        }
        if (file == "-" && entry.format.empty()) {
            throw InputError(entry.filePlace, tr("standard input needs a format of its source"));
        }
        Source source(entry, file);
        OutletInfo info;
        info.name = entry.name;
        info.kind.values = signalQuantity(source.unit());
        info.kind.xUnit = "s";
        info.channels = source.channelNames();
        if (source.hasOwnUnits()) info.kind.values.scale = Quantity::Scale::unsaid;
        feeds_.push_back(
            std::make_unique<Feed>(Feed{std::move(source), Outlet{.info = std::move(info)}}));
    }
    for (const auto& [name, file] : inputs) {
        if (findFeed(name) != nullptr) continue;
        throw InputError(tr("--input %1=%2: no such source%3", name, textOf(file),
                            didYouMean(name, sourceNames())));
    }
}

void Runner::placeBlocks() {
    const std::vector<TypeInfo> types = moduleTypes(host_);
    for (const BlockEntry& entry : diagram_.blocks) {
        auto node = std::make_unique<Node>();
        node->entry = &entry;
        node->block = placeBlock(host_, types, entry);
        checkValues(node->meaning(), entry, node->values());
        for (const std::string& name : connectorNames(node->block->inputLabels()))
            node->inputs.push_back({.name = name});
        node->outputs = connectorNames(node->block->outputLabels());
        for (const std::string& output : node->outputs) {
            node->outlets.push_back({});
            OutletInfo& info = node->outlets.back().info;
            info.name = entry.name + "." + output;
            info.values = valueNames(*node->block, static_cast<int>(node->outlets.size()) - 1);
        }
        if (node->block->typeCode() == kLevel) {
            node->intervals.emplace(node->block->getReal("PkFreqOut"));
            node->outlets.front().info.overIntervals = true;
        }
        nodes_.push_back(std::move(node));
    }
}

Runner::Node* Runner::findNode(const std::string& name) const {
    const auto found =
        std::ranges::find(nodes_, name, [](const auto& node) { return node->entry->name; });
    return found == nodes_.end() ? nullptr : found->get();
}

Runner::Feed* Runner::findFeed(const std::string& name) const {
    const auto found =
        std::ranges::find(feeds_, name, [](const auto& feed) { return feed->source.name(); });
    return found == feeds_.end() ? nullptr : found->get();
}

std::vector<std::string> Runner::sourceNames() const {
    std::vector<std::string> names;
    for (const auto& feed : feeds_)
        names.push_back(feed->source.name());
    return names;
}

std::vector<std::string> Runner::blockNames() const {
    std::vector<std::string> names;
    for (const auto& node : nodes_)
        names.push_back(node->entry->name);
    return names;
}

Runner::Outlet& Runner::outletOf(const ConnectorName& name) const {
    if (Feed* feed = findFeed(name.node)) {
        if (!name.letter.empty()) {
            throw InputError(name.place, tr("\"%1\": a source has no connectors", name.text()));
        }
        return feed->outlet;
    }
    Node* node = findNode(name.node);
    if (node == nullptr) {
        std::vector<std::string> names = sourceNames();
        std::ranges::copy(blockNames(), std::back_inserter(names));
        throw InputError(name.place, tr("\"%1\" is neither source nor block%2", name.node,
                                        didYouMean(name.node, names)));
    }
    const auto output = indexOf(node->outputs, name.letter);
    if (!output) {
        throw InputError(name.place, tr("\"%1\" is no output; %2 has %3", name.text(),
                                        node->entry->name, joined(node->outputs)));
    }
    return node->outlets[*output];
}

void Runner::wire() {
    for (const WireEntry& wire : diagram_.wires) {
        Node* node = findNode(wire.to.node);
        if (node == nullptr) {
            throw InputError(wire.to.place, tr("\"%1\" is no block%2", wire.to.node,
                                               didYouMean(wire.to.node, blockNames())));
        }
        const std::vector<std::string> names = node->inputNames();
        const auto input = indexOf(names, wire.to.letter);
        if (!input) {
            throw InputError(wire.to.place, tr("\"%1\" is no input; %2 has %3", wire.to.text(),
                                               node->entry->name, joined(names)));
        }
        if (node->inputs[*input].wire) {
            throw InputError(wire.to.place, tr("the input is wired twice"));
        }
        Outlet& from = outletOf(wire.from);
        from.targets.push_back({node, static_cast<int>(*input)});
        node->inputs[*input].wire = wire.to.place;
        node->inputs[*input].feeder = &from;
        if (Node* before = findNode(wire.from.node)) node->before.push_back(before);
    }
    int channel = 0;
    for (const auto& node : nodes_) {
        node->block->wireAll();
        for (std::size_t i = 0; i < node->inputs.size(); ++i) {
            node->block->wireInput(static_cast<int>(i),
                                   node->inputs[i].wire ? channel++ : kUnwired);
        }
    }
}

// Of every block that has a part in the diagram: one without any wire, whose outputs nobody asks
// for, may stand by.
void Runner::checkInputs() {
    std::set<std::string> asked;
    for (const WireEntry& wire : diagram_.wires)
        asked.insert(wire.from.node);
    for (const SinkEntry& sink : diagram_.sinks) {
        for (const ConnectorName& name : sink.from)
            asked.insert(name.node);
    }
    for (const CompareEntry& compare : diagram_.comparisons)
        asked.insert({compare.of.node, compare.with.node});
    for (const auto& node : nodes_) {
        std::map<std::string, Place> wires;
        for (const Node::Input& input : node->inputs) {
            if (input.wire) wires.emplace(input.name, *input.wire);
        }
        if (wires.empty() && !asked.contains(node->entry->name)) continue;
        vynhost::checkInputs(node->meaning(), *node->entry, node->values(), wires);
    }
}

// Every block after those that it is fed by; raises InputError for a cycle.
void Runner::orderBlocks() {
    enum class Mark { unseen, open, done };
    std::map<Node*, Mark> marks;
    std::vector<Node*> path;
    const std::function<void(Node&)> visit = [&](Node& node) {
        if (marks[&node] == Mark::done) return;
        path.push_back(&node);
        if (marks[&node] == Mark::open) {
            std::string cycle = node.entry->name;
            for (auto step = path.rbegin() + 1; step != path.rend(); ++step) {
                cycle += " -> " + (*step)->entry->name;
                if (*step == &node) break;
            }
            throw InputError(node.entry->place, tr("the wires form a cycle: %1", cycle));
        }
        marks[&node] = Mark::open;
        for (Node* before : node.before)
            visit(*before);
        marks[&node] = Mark::done;
        path.pop_back();
        order_.push_back(&node);
    };
    for (const auto& node : nodes_)
        visit(*node);
}

// What a recording is of travels along the wires, changed by the blocks: its unit, the names of its
// channels, and the names of quantities through blocks that average them.
void Runner::carryKinds() {
    static const OutletInfo nothing{};
    for (Node* node : order_) {
        const auto comingIn = [&](std::size_t input) -> const OutletInfo& {
            const bool wired = input < node->inputs.size() && node->inputs[input].wire;
            return wired ? node->inputs[input].feeder->info : nothing;
        };
        // What comes in as named quantities is no longer of one kind.
        const auto kindOf = [&](const OutletInfo& info) {
            const bool mixed = !info.values.empty() && node->block->typeCode() != kMittelwert;
            return mixed ? SignalKind{} : info.kind;
        };
        const OutletInfo& first = comingIn(0);
        const KeywordValues values = node->values();
        const auto type = static_cast<std::int32_t>(node->block->typeCode());
        constexpr std::int32_t kOfDataBlocks = 3;
        node->keepsBands =
            type == kFreqWeight ||
            (type == kMittelwert && node->block->getInteger("PkMode") == kOfDataBlocks);
        for (std::size_t i = 0; i < node->outlets.size(); ++i) {
            OutletInfo& info = node->outlets[i].info;
            info.kind =
                outputKind(type, values, node->outputs[i], kindOf(first), kindOf(comingIn(1)));
            info.channels = first.channels;
            if (type != kMittelwert) continue;
            info.values = first.values;
            info.overIntervals = first.overIntervals;
        }
    }
}

// Which sources the data at every outlet stem from.
void Runner::carryOrigins() {
    for (const auto& feed : feeds_)
        feed->outlet.origins = {feed.get()};
    for (Node* node : order_) {
        for (Outlet& outlet : node->outlets) {
            for (const Node::Input& input : node->inputs) {
                if (!input.wire) continue;
                std::ranges::copy(input.feeder->origins, std::back_inserter(outlet.origins));
            }
        }
    }
}

// What a block makes of time that comes twice is right in spectra alone.
void Runner::checkOverlaps() const {
    for (const auto& feed : feeds_) {
        const SourceEntry& entry = feed->source.entry();
        if (!entry.overlaps()) continue;
        const auto refuse = [&](const std::string& what) {
            throw InputError(
                entry.stepPlace,
                tr("data blocks that overlap go to FFT and FFT zweier Zeitsignale alone, not to %1",
                   what));
        };
        for (const Target& target : feed->outlet.targets) {
            const Int type = target.node->block->typeCode();
            if (type != kSpektrum && type != kDualSpektrum) refuse(target.node->entry->name);
        }
        const auto isHere = [&](const ConnectorName& name) { return name.node == entry.name; };
        for (const SinkEntry& sink : diagram_.sinks) {
            if (std::ranges::any_of(sink.from, isHere)) refuse("sink." + sink.name);
        }
        for (const CompareEntry& compare : diagram_.comparisons) {
            if (isHere(compare.of) || isHere(compare.with)) refuse("compare." + compare.name);
        }
    }
    for (const auto& node : nodes_)
        checkSteps(*node);
}

// Spectra of overlapping data blocks can't go back into time, and two signals must be cut alike.
void Runner::checkSteps(const Node& node) {
    const Int type = node.block->typeCode();
    if (type != kInverseFFT && type != kDualSpektrum) return;
    std::vector<const SourceEntry*> origins;
    for (const Node::Input& input : node.inputs) {
        if (!input.wire) continue;
        for (const Feed* feed : input.feeder->origins)
            origins.push_back(&feed->source.entry());
    }
    for (const SourceEntry* entry : origins) {
        if (!entry->overlaps()) continue;
        if (type == kInverseFFT) {
            throw InputError(
                entry->stepPlace,
                tr("%1 can't make one signal of data blocks that overlap", node.entry->name));
        }
        if (std::ranges::any_of(origins,
                                [&](const auto* other) { return other->step != entry->step; })) {
            throw InputError(entry->stepPlace,
                             tr("the two signals of %1 have one step", node.entry->name));
        }
    }
}

// A data block is read, chosen from, and handed to every input that it is wired to.
void Runner::limitDataBlocks() {
    for (const auto& feed : feeds_) {
        const Source& source = feed->source;
        const auto copies = static_cast<std::uint64_t>(1 + feed->outlet.targets.size());
        const std::string what = tr("a data block of %1 samples per channel", source.entry().block);
        dataBlocks_.emplace_back(memory_, source.entry().place)
            .set(source.bytesToRead() + copies * source.bytesOfBlock(), what.c_str());
    }
}

// --- Running --------------------------------------------------------------------------------

void Runner::run() {
    struct Stopper {
        std::vector<Node*>& order;
        ~Stopper() {
            for (Node* node : order)
                node->block->stop();
        }
    };
    {
        const Stopper stopper{order_};
        for (Node* node : order_)
            node->block->initSim();
        bool moves = true;
        while (moves) {
            moves = false;
            if (interrupted()) throw RunError(kInterrupted, tr("interrupted, no file is written"));
            for (const auto& source : feeds_)
                moves |= feed(*source);
            for (Node* node : order_) {
                moves |= step(*node);
                moves |= handOn(*node);
            }
            if (watch_) watch_(progress());
            if (moves) continue;
            for (Node* node : order_)
                moves |= endInterval(*node);
        }
        raiseIfDataWaits();
    }
    for (Node* node : order_) {
        noteRest(*node);
        noteShortBlock(*node);
    }
}

Runner::Progress Runner::progress() const {
    Progress longest;
    for (const auto& feed : feeds_) {
        const Progress of{feed->source.position(), feed->source.length()};
        if (of.length > longest.length) longest = of;
    }
    return longest;
}

bool Runner::targetsFree(const Outlet& outlet) {
    return std::none_of(outlet.targets.begin(), outlet.targets.end(), [](const Target& target) {
        return target.node->block->waits(target.input);
    });
}

// Before the block has seen any data.
void Runner::checkRateOnce(Node& node, const ChannelHeader& header) {
    if (!std::exchange(node.checkedAtRate, true)) checkAtRate(*node.block, *node.entry, header);
}

// The block's bands say what its lines add up to, not whether there are any: between narrow bands
// the lines may be too far apart. Lines of 1 show it. Blocks that leave bands in their places pass
// the answer on.
void Runner::findBandsWithoutLine(Node& node, const Outlet& from, const ChannelData& data) {
    const auto tell = [&](const std::vector<bool>& bands) {
        for (Outlet& outlet : node.outlets)
            outlet.info.bandsWithoutLine = bands;
    };
    if (node.keepsBands) tell(from.info.bandsWithoutLine);
    const ChannelHeader& header = data.header;
    if (node.block->typeCode() != kTerzOktave || data.samples() < 1 ||
        (header.xAxisKind != kHertz && header.xAxisKind != kKilohertz)) {
        return;
    }
    const Node::Lines lines{header.xAxisKind, header.xStart, header.xStep, data.samples()};
    if (node.lines == lines) return;
    node.lines = lines;
    ChannelData ones = data;
    ones.values.assign(static_cast<std::size_t>(data.samples()), 1.0F);
    ones.header.valueCount = data.samples();
    ones.header.channelCount = 1;
    ones.header.yUnit = kUnitAmplitude;
    PlacedBlock probe(node.block->host(), kTerzOktave, node.block->save());
    probe.wireAll();
    probe.initSim();
    const auto bands = probe.process(ones);
    probe.stop();
    if (!bands) return;
    std::vector<bool> without;
    for (const float value : bands->values)
        without.push_back(!(value > 0));
    tell(without);
}

void Runner::deliver(Outlet& outlet, const ChannelData& data) {
    if (data.header.xAxisKind == kSeconds) outlet.info.time = data.header.xStart;
    if (data.header.xAxisKind == kMilliseconds) outlet.info.time = data.header.xStart / 1000;
    for (const Target& target : outlet.targets) {
        if (target.input == 0) target.node->time = outlet.info.time;
        if (target.input == 0) checkRateOnce(*target.node, data.header);
        if (leavesOut(*target.node, target.input, data)) continue;
        if (target.input == 0) findBandsWithoutLine(*target.node, outlet, data);
        if (target.node->block->put(target.input, data) == Handle::none) {
            throw RunError(kWrongInput, tr("memory is out"));
        }
        if (target.node->intervals && target.input == 0) target.node->intervals->take(data);
    }
    for (const Listener& take : outlet.listeners)
        take(data);
}

// Spectra of whole data blocks have their lines in common; that of a short rest has others, which
// no table, mean or picture can show beside them. What goes back into time needs the rest.
bool Runner::endsInSpectra(const Node& node) {
    const Int type = node.block->typeCode();
    if (type != kSpektrum && type != kDualSpektrum) return false;
    return !std::ranges::all_of(node.outlets, [](const Outlet& outlet) {
        return outlet.listeners.empty() &&
               std::ranges::all_of(outlet.targets, [](const Target& target) {
                   return target.node->block->typeCode() == kInverseFFT;
               });
    });
}

bool Runner::leavesOut(Node& node, int input, const ChannelData& data) {
    Node::Input& place = node.inputs[static_cast<std::size_t>(input)];
    place.last = data.header;
    if (place.whole == 0) place.whole = data.samples();
    const bool isRest = data.samples() < place.whole &&
                        std::ranges::all_of(place.feeder->origins,
                                            [](const Feed* feed) { return feed->source.ended(); });
    if (!isRest || node.needOf(place) != InputNeed::always || !endsInSpectra(node)) return false;
    place.rest = data.samples();
    place.restIsLeftOut = std::ranges::all_of(place.feeder->origins, [](const Feed* feed) {
        return feed->source.entry().tail == Tail::automatic;
    });
    return place.restIsLeftOut;
}

// Both inputs of two recordings of one length have the same rest, which is told once.
void Runner::noteShortBlock(Node& node) {
    const auto input = std::ranges::max_element(node.inputs, {}, &Node::Input::rest);
    if (input == node.inputs.end() || input->rest == 0) return;
    warnings_.push_back(both(
        input->restIsLeftOut
            ? words("%1: the recording ends with %2 of the %3 samples of a data block, which is "
                    "in no spectrum (tail = \"pad\" or \"keep\" of the source takes it in)")
            : words("%1: the last data block has %2 instead of %3 samples and a spectrum of "
                    "other lines"),
        node.entry->name, input->rest, input->whole));
    notes_.push_back(warnings_.back().in(spokenLanguage()));
}

bool Runner::feed(Feed& feed) {
    if (feed.source.ended() || !targetsFree(feed.outlet)) return false;
    const std::optional<ChannelData> data =
        withMemory(feed.source.entry().place, [&] { return feed.source.next(); });
    if (feed.source.ended()) {
        notes_.push_back(feed.source.note());
        std::ranges::copy(feed.source.warnings(), std::back_inserter(warnings_));
    }
    if (data) deliver(feed.outlet, *data);
    return true;
}

bool Runner::step(Node& node) {
    PlacedBlock& block = *node.block;
    const DataAtConnectors before = dataAtConnectors(block);
    const Int result = block.simulate();
    if (!host_.boxes().empty() || result == kFailed) raiseBlockError(node);
    return dataAtConnectors(block) != before;
}

bool Runner::handOn(Node& node) {
    bool moved = false;
    for (std::size_t j = 0; j < node.outlets.size(); ++j) {
        const auto output = static_cast<int>(j);
        if (!node.block->delivered(output) || !targetsFree(node.outlets[j])) continue;
        ChannelData data = *node.block->take(output);
        if (node.intervals) {
            const LevelIntervals::Interval interval = node.intervals->next();
            data.header.xStart = interval.begin;
            data.header.xStep = interval.end - interval.begin;
        }
        node.outlets[j].info.time = node.time;
        deliver(node.outlets[j], data);
        moved = true;
    }
    return moved;
}

bool Runner::endInterval(Node& node) {
    return node.intervals && showIntervalEnd(*node.block, *node.intervals, node.followers);
}

void Runner::noteRest(Node& node) {
    if (!node.intervals || node.intervals->rest() <= 0) return;
    const std::int64_t rest = node.intervals->rest();
    warnings_.push_back(both(
        rest == 1
            ? words("%1: the last %2 sample (%3 s) fill no interval of %4 s and are in no row")
            : words("%1: the last %2 samples (%3 s) fill no interval of %4 s and are in no row"),
        node.entry->name, rest, toText(node.intervals->secondsOf(rest), 12),
        toText(node.intervals->intervalSeconds(), 12)));
    notes_.push_back(warnings_.back().in(spokenLanguage()));
    const Bilingual note = warnings_.back();
    const std::function<void(Node&)> mark = [&](Node& from) {
        for (Outlet& outlet : from.outlets) {
            if (!outlet.info.overIntervals) continue;
            outlet.info.notes.push_back(note);
            for (const Target& target : outlet.targets)
                mark(*target.node);
        }
    };
    mark(node);
}

void Runner::raiseBlockError(Node& node) {
    throw RunError(kBlockError,
                   tr("%1:%2: block.%3: %4", textOf(diagram_.file), node.entry->place.line,
                      node.entry->name, ownErrorText(*node.block)));
}

// What waits may hold up what lies before it; the last in line tells the reason.
void Runner::raiseIfDataWaits() const {
    for (const Node* node : order_) {
        const bool heldUp = std::ranges::any_of(
            node->outlets,
            [&, output = 0](const Outlet&) mutable { return node->block->delivered(output++); });
        if (heldUp) continue;
        std::vector<std::string> waiting;
        for (std::size_t i = 0; i < node->inputs.size(); ++i) {
            if (node->block->waits(static_cast<int>(i)))
                waiting.push_back(node->nameOf(node->inputs[i]));
        }
        if (waiting.empty()) continue;
        throw RunError(kStalled, tr("%1:%2: block.%3: the data at %4 is not taken, %5",
                                    textOf(diagram_.file), node->entry->place.line,
                                    node->entry->name, joined(waiting), whyNotTaken(*node)));
    }
}

std::string Runner::whyNotTaken(const Node& node) {
    std::vector<std::string> needed;
    std::vector<std::string> wanted;
    std::vector<std::string> shapes;
    for (std::size_t i = 0; i < node.inputs.size(); ++i) {
        const Node::Input& input = node.inputs[i];
        if (!input.wire) continue;
        std::string name = node.nameOf(input);
        if (node.block->waits(static_cast<int>(i))) {
            const ChannelHeader& head = input.last;
            shapes.push_back(tr(head.channelCount == 1 ? words("%1 has %2 values in %3 channel")
                                                       : words("%1 has %2 values in %3 channels"),
                                name, head.valueCount, head.channelCount));
            continue;
        }
        if (input.restIsLeftOut) name += " (" + input.restText() + ")";
        (node.needOf(input) == InputNeed::always ? needed : wanted).push_back(std::move(name));
    }
    if (!needed.empty()) return tr("nothing more comes to %1", joined(needed));
    if (!wanted.empty()) return tr("nothing more comes to %1", joined(wanted));
    return tr(shapes.size() > 1 ? words("its inputs do not fit together: %1")
                                : words("the block wants other data: %1"),
              joined(shapes));
}

std::vector<const Source*> Runner::sources() const {
    std::vector<const Source*> sources;
    for (const auto& feed : feeds_)
        sources.push_back(&feed->source);
    return sources;
}

void Runner::visitBlocks(
    const std::function<void(const BlockEntry& entry, PlacedBlock& block)>& visit) const {
    for (const auto& node : nodes_)
        visit(*node->entry, *node->block);
}

const OutletInfo& Runner::outlet(const ConnectorName& name) const { return outletOf(name).info; }

void Runner::listen(const ConnectorName& name, Listener take) {
    outletOf(name).listeners.push_back(std::move(take));
}

}  // namespace vynhost
