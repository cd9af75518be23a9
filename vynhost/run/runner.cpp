#include "vynhost/run/runner.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <optional>
#include <utility>

#include "vynhost/base/text.h"
#include "vynhost/diagram/block_settings.h"
#include "vynhost/diagram/catalogue.h"
#include "vynhost/diagram/keyword_check.h"
#include "vynhost/interface/placed_block.h"
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
    std::vector<std::string> inputs;
    std::vector<bool> wired;
    std::vector<const Outlet*> feeders;  // of the inputs; null where nothing is wired
    std::vector<std::string> outputs;
    std::vector<Outlet> outlets;
    bool checkedAtRate = false;
    std::vector<Node*> before;  // whose outputs come in here
    std::optional<LevelIntervals> intervals = {};
    int followers = 0;  // samples behind the data that the last intervals have been given
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
               const std::map<std::string, std::filesystem::path>& inputs)
    : host_(host), diagram_(diagram) {
    openSources(inputs);
    placeBlocks();
    wire();
    orderBlocks();
    carryKinds();
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
    for (const SourceEntry& entry : diagram_.sources) {
        const auto replaced = inputs.find(entry.name);
        Source source(entry, replaced == inputs.end() ? entry.file : replaced->second);
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
        throw InputError("--input " + name + "=" + textOf(file) + ": no such source" +
                         didYouMean(name, sourceNames()));
    }
}

void Runner::placeBlocks() {
    const std::vector<TypeInfo> types = moduleTypes(host_);
    for (const BlockEntry& entry : diagram_.blocks) {
        auto node = std::make_unique<Node>();
        node->entry = &entry;
        node->block = placeBlock(host_, types, entry);
        checkValues(meaningOf(static_cast<std::int32_t>(node->block->typeCode())), entry,
                    valuesOf(*node->block, entry));
        node->inputs = connectorNames(node->block->inputLabels());
        node->outputs = connectorNames(node->block->outputLabels());
        node->wired.resize(node->inputs.size());
        node->feeders.resize(node->inputs.size());
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
            throw InputError(name.place, "\"" + name.text() + "\": a source has no connectors");
        }
        return feed->outlet;
    }
    Node* node = findNode(name.node);
    if (node == nullptr) {
        std::vector<std::string> names = sourceNames();
        std::ranges::copy(blockNames(), std::back_inserter(names));
        throw InputError(name.place, "\"" + name.node + "\" is neither source nor block" +
                                         didYouMean(name.node, names));
    }
    const auto output = indexOf(node->outputs, name.letter);
    if (!output) {
        throw InputError(name.place, "\"" + name.text() + "\" is no output; " + node->entry->name +
                                         " has " + joined(node->outputs));
    }
    return node->outlets[*output];
}

void Runner::wire() {
    for (const WireEntry& wire : diagram_.wires) {
        Node* node = findNode(wire.to.node);
        if (node == nullptr) {
            throw InputError(wire.to.place, "\"" + wire.to.node + "\" is no block" +
                                                didYouMean(wire.to.node, blockNames()));
        }
        const auto input = indexOf(node->inputs, wire.to.letter);
        if (!input) {
            throw InputError(wire.to.place, "\"" + wire.to.text() + "\" is no input; " +
                                                node->entry->name + " has " + joined(node->inputs));
        }
        if (node->wired[*input]) {
            throw InputError(wire.to.place, "the input is wired twice");
        }
        node->wired[*input] = true;
        Outlet& from = outletOf(wire.from);
        from.targets.push_back({node, static_cast<int>(*input)});
        node->feeders[*input] = &from;
        if (Node* before = findNode(wire.from.node)) node->before.push_back(before);
    }
    int channel = 0;
    for (const auto& node : nodes_) {
        node->block->wireAll();
        for (std::size_t i = 0; i < node->inputs.size(); ++i) {
            node->block->wireInput(static_cast<int>(i), node->wired[i] ? channel++ : kUnwired);
        }
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
            throw InputError(node.entry->place, "the wires form a cycle: " + cycle);
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
            const bool wired = input < node->feeders.size() && node->feeders[input] != nullptr;
            return wired ? node->feeders[input]->info : nothing;
        };
        const OutletInfo& first = comingIn(0);
        const KeywordValues values = valuesOf(*node->block, *node->entry);
        const auto type = static_cast<std::int32_t>(node->block->typeCode());
        for (std::size_t i = 0; i < node->outlets.size(); ++i) {
            OutletInfo& info = node->outlets[i].info;
            info.kind = outputKind(type, values, node->outputs[i], first.kind, comingIn(1).kind);
            info.channels = first.channels;
            if (type != kMittelwert) continue;
            info.values = first.values;
            info.overIntervals = first.overIntervals;
        }
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
            if (interrupted()) throw RunError(kInterrupted, "interrupted, no file is written");
            for (const auto& source : feeds_)
                moves |= feed(*source);
            for (Node* node : order_) {
                moves |= step(*node);
                moves |= handOn(*node);
            }
            if (moves) continue;
            for (Node* node : order_)
                moves |= endInterval(*node);
        }
        raiseIfDataWaits();
    }
    for (Node* node : order_)
        noteRest(*node);
}

bool Runner::targetsFree(const Outlet& outlet) {
    return std::none_of(outlet.targets.begin(), outlet.targets.end(), [](const Target& target) {
        return target.node->block->waits(target.input);
    });
}

// What can be said about a block's settings only when the rate of its signal is known: before the
// block has seen any data.
void Runner::checkAtRate(Node& node, const ChannelHeader& header) {
    if (std::exchange(node.checkedAtRate, true)) return;
    const bool milliseconds = header.xAxisKind == kMilliseconds;
    if (!milliseconds && header.xAxisKind != kSeconds) return;
    const double rate = (milliseconds ? 1000.0 : 1.0) / header.xStep;
    const BlockEntry& entry = *node.entry;
    const auto type = static_cast<std::int32_t>(node.block->typeCode());
    const KeywordValues values = valuesOf(*node.block, entry);
    checkValuesAtRate(meaningOf(type), entry, values, rate);
    if (type == kDigitalFilter && values.is("PkFIRFilter", "IIR")) {
        checkFilterDesign(*node.block, entry, rate);
    }
}

void Runner::deliver(Outlet& outlet, const ChannelData& data) {
    for (const Target& target : outlet.targets) {
        if (target.input == 0) checkAtRate(*target.node, data.header);
        if (target.node->block->put(target.input, data) == Handle::none) {
            throw RunError(kWrongInput, "memory is out");
        }
        if (target.node->intervals && target.input == 0) target.node->intervals->take(data);
    }
    for (const Listener& take : outlet.listeners)
        take(data);
}

bool Runner::feed(Feed& feed) {
    if (feed.source.ended() || !targetsFree(feed.outlet)) return false;
    const std::optional<ChannelData> data = feed.source.next();
    if (feed.source.ended()) notes_.push_back(feed.source.note());
    if (data) deliver(feed.outlet, *data);
    return true;
}

bool Runner::step(Node& node) {
    PlacedBlock& block = *node.block;
    const auto picture = [&] {
        std::vector<Handle> handles;
        for (int i = 0; i < kMaxConnectors; ++i) {
            handles.push_back(block.inputData(i));
            handles.push_back(block.outputData(i));
        }
        return handles;
    };
    const std::vector<Handle> before = picture();
    const Int result = block.simulate();
    if (!host_.boxes().empty() || result == kFailed) raiseBlockError(node);
    if (result == kNotWired) {
        std::vector<std::string> open;
        for (std::size_t i = 0; i < node.inputs.size(); ++i) {
            if (!node.wired[i]) open.push_back(node.entry->name + "." + node.inputs[i]);
        }
        throw InputError(node.entry->place,
                         "every input of this block must be wired; missing: " + joined(open));
    }
    return picture() != before;
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
        deliver(node.outlets[j], data);
        moved = true;
    }
    return moved;
}

// A level block puts out an interval when it sees that data follow. When none come any more, a
// sample behind the data shows it the end of an interval that is complete; it belongs to no row.
bool Runner::endInterval(Node& node) {
    constexpr int kMostFollowers = 4;  // two intervals wait at most, of one sample each
    if (!node.intervals || !node.intervals->isComplete() || node.block->waits(0)) return false;
    if (++node.followers > kMostFollowers) return false;
    return node.block->put(0, node.intervals->follower()) != Handle::none;
}

void Runner::noteRest(Node& node) {
    if (!node.intervals || node.intervals->rest() <= 0) return;
    const std::int64_t rest = node.intervals->rest();
    const std::string note = node.entry->name + ": the last " + std::to_string(rest) +
                             (rest == 1 ? " sample (" : " samples (") +
                             toText(node.intervals->secondsOf(rest), 12) +
                             " s) fill no interval of " +
                             toText(node.intervals->intervalSeconds(), 12) + " s and are in no row";
    notes_.push_back(note);
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
    node.block->errorShow();
    std::string text;
    for (const Box& box : host_.takeBoxes()) {
        if (!text.empty()) continue;  // the first says it
        text = onOneLine(box.text);
    }
    if (text.empty()) text = "failed without a message";
    throw RunError(kBlockError, textOf(diagram_.file) + ":" +
                                    std::to_string(node.entry->place.line) + ": block." +
                                    node.entry->name + ": " + text);
}

void Runner::raiseIfDataWaits() const {
    for (const Node* node : order_) {
        std::vector<std::string> waiting;
        std::vector<std::string> empty;
        std::vector<std::string> open;
        for (std::size_t i = 0; i < node->inputs.size(); ++i) {
            if (!node->wired[i]) {
                open.push_back(node->entry->name + "." + node->inputs[i]);
                continue;
            }
            const bool waits = node->block->waits(static_cast<int>(i));
            (waits ? waiting : empty).push_back(node->entry->name + "." + node->inputs[i]);
        }
        if (waiting.empty()) continue;
        std::string text = textOf(diagram_.file) + ":" + std::to_string(node->entry->place.line) +
                           ": block." + node->entry->name + ": the data at " + joined(waiting) +
                           " is not taken";
        if (!empty.empty()) {
            text += ", nothing comes to " + joined(empty);
        } else if (!open.empty()) {
            text += ", not wired: " + joined(open);
        } else {
            text += " (do the inputs fit together?)";
        }
        throw RunError(kStalled, text);
    }
}

const OutletInfo& Runner::outlet(const ConnectorName& name) const { return outletOf(name).info; }

void Runner::listen(const ConnectorName& name, Listener take) {
    outletOf(name).listeners.push_back(std::move(take));
}

}  // namespace vynhost
