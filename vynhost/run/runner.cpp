#include "vynhost/run/runner.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>

#include "vynhost/base/text.h"
#include "vynhost/diagram/block_settings.h"
#include "vynhost/diagram/catalogue.h"
#include "vynhost/run/interrupt.h"
#include "vynhost/run/noise.h"

namespace vynhost {

struct Runner::Source {
    explicit Source(const SourceSpec& source)
        : spec(&source), noise(source.noise ? source.noise->seed : 0) {}

    // What the notes call it.
    std::string title() const {
        const std::string rms = spec->noise ? toText(spec->noise->rms) : "";
        if (file.empty()) return "noise of rms " + rms;
        return textOf(file) + (spec->noise ? " with noise of rms " + rms : "");
    }

    const SourceSpec* spec;
    std::filesystem::path file;
    std::unique_ptr<Recording> recording;
    std::vector<int> channels;  // from 0
    WhiteNoise noise;
    std::int64_t position = 0;
    bool ended = false;
    Outlet outlet;
};

struct Runner::Node {
    const BlockSpec* spec;
    std::unique_ptr<PlacedBlock> block;
    std::vector<std::string> inputs;
    std::vector<bool> wired;
    std::vector<std::string> outputs;
    std::vector<Outlet> outlets;
    std::vector<Node*> before;  // whose outputs come in here
};

namespace {

// Noise alone is noise on silence; channels are as many as asked for.
std::unique_ptr<Recording> noiseCarrier(const SourceSpec& spec) {
    const int channels =
        spec.channels.empty() ? 1 : *std::max_element(spec.channels.begin(), spec.channels.end());
    return silence(channels, *spec.rate, std::llround(spec.seconds * *spec.rate));
}

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
    // Their names must exist.
    for (const SinkSpec& sink : diagram_.sinks) {
        for (const ConnectorName& name : sink.from)
            outletOf(name);
    }
    for (const CompareSpec& compare : diagram_.comparisons) {
        outletOf(compare.of);
        outletOf(compare.with);
    }
}

Runner::~Runner() = default;

// --- Setting up -----------------------------------------------------------------------------

void Runner::openSources(const std::map<std::string, std::filesystem::path>& inputs) {
    for (const SourceSpec& spec : diagram_.sources) {
        auto source = std::make_unique<Source>(spec);
        const auto replaced = inputs.find(spec.name);
        source->file = replaced == inputs.end() ? spec.file : replaced->second;
        try {
            source->recording =
                source->file.empty() ? noiseCarrier(spec) : openRecording(source->file, spec.rate);
        } catch (const RecordingError& error) {
            throw InputError(spec.filePlace, textOf(source->file) + ": " + error.what());
        }
        const int channels = source->recording->channels();
        if (spec.channels.empty()) {
            for (int c = 0; c < channels; ++c)
                source->channels.push_back(c);
        }
        for (const int channel : spec.channels) {
            if (channel > channels) {
                throw InputError(spec.channelsPlace,
                                 "channel " + std::to_string(channel) + " does not exist: " +
                                     textOf(source->file) + " has " + std::to_string(channels));
            }
            source->channels.push_back(channel - 1);
        }
        source->outlet.info = {.name = spec.name, .unit = spec.unit};
        sources_.push_back(std::move(source));
    }
    for (const auto& [name, file] : inputs) {
        if (findSource(name) == nullptr) {
            std::vector<std::string> names;
            for (const auto& source : sources_)
                names.push_back(source->spec->name);
            throw InputError("--input " + name + "=" + textOf(file) + ": no such source" +
                             didYouMean(name, names));
        }
    }
}

void Runner::placeBlocks() {
    const std::vector<TypeInfo> types = moduleTypes(host_);
    for (const BlockSpec& spec : diagram_.blocks) {
        auto node = std::make_unique<Node>();
        node->spec = &spec;
        node->block = placeBlock(host_, types, spec, notes_);
        node->inputs = connectorNames(node->block->inputLabels());
        node->outputs = connectorNames(node->block->outputLabels());
        node->wired.resize(node->inputs.size());
        for (const std::string& output : node->outputs) {
            node->outlets.push_back({});
            OutletInfo& info = node->outlets.back().info;
            info.name = spec.name + "." + output;
            info.values = valueNames(*node->block, static_cast<int>(node->outlets.size()) - 1);
        }
        nodes_.push_back(std::move(node));
    }
}

Runner::Node* Runner::findNode(const std::string& name) {
    const auto found = std::find_if(nodes_.begin(), nodes_.end(),
                                    [&](const auto& node) { return node->spec->name == name; });
    return found == nodes_.end() ? nullptr : found->get();
}

Runner::Source* Runner::findSource(const std::string& name) {
    const auto found = std::find_if(sources_.begin(), sources_.end(),
                                    [&](const auto& source) { return source->spec->name == name; });
    return found == sources_.end() ? nullptr : found->get();
}

std::vector<std::string> Runner::nodeNames() const {
    std::vector<std::string> names;
    for (const auto& source : sources_)
        names.push_back(source->spec->name);
    for (const auto& node : nodes_)
        names.push_back(node->spec->name);
    return names;
}

Runner::Outlet& Runner::outletOf(const ConnectorName& name) {
    if (Source* source = findSource(name.node)) {
        if (!name.letter.empty()) {
            throw InputError(name.place, "\"" + name.text() + "\": a source has no connectors");
        }
        return source->outlet;
    }
    Node* node = findNode(name.node);
    if (node == nullptr) {
        throw InputError(name.place, "\"" + name.node + "\" is neither source nor block" +
                                         didYouMean(name.node, nodeNames()));
    }
    const auto output = indexOf(node->outputs, name.letter);
    if (!output) {
        throw InputError(name.place, "\"" + name.text() + "\" is no output; " + node->spec->name +
                                         " has " + joined(node->outputs));
    }
    return node->outlets[*output];
}

void Runner::wire() {
    for (const WireSpec& wire : diagram_.wires) {
        Node* node = findNode(wire.to.node);
        if (node == nullptr) {
            std::vector<std::string> names;
            for (const auto& other : nodes_)
                names.push_back(other->spec->name);
            throw InputError(wire.to.place, "\"" + wire.to.node + "\" is no block" +
                                                didYouMean(wire.to.node, names));
        }
        const auto input = indexOf(node->inputs, wire.to.letter);
        if (!input) {
            throw InputError(wire.to.place, "\"" + wire.to.text() + "\" is no input; " +
                                                node->spec->name + " has " + joined(node->inputs));
        }
        if (node->wired[*input]) {
            throw InputError(wire.to.place, "the input is wired twice");
        }
        node->wired[*input] = true;
        outletOf(wire.from).targets.push_back({node, static_cast<int>(*input)});
        if (Node* from = findNode(wire.from.node)) node->before.push_back(from);
    }
    int channel = 0;
    for (const auto& node : nodes_) {
        node->block->wireAll();
        for (std::size_t i = 0; i < node->inputs.size(); ++i) {
            node->block->wireInput(static_cast<int>(i), node->wired[i] ? channel++ : -1);
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
            std::string cycle = node.spec->name;
            for (auto step = path.rbegin() + 1; step != path.rend(); ++step) {
                cycle += " -> " + (*step)->spec->name;
                if (*step == &node) break;
            }
            throw InputError(node.spec->place, "the wires form a cycle: " + cycle);
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

    // The unit of a recording travels along the wires.
    for (const auto& source : sources_) {
        for (const Target& target : source->outlet.targets) {
            for (Outlet& outlet : target.node->outlets) {
                if (outlet.info.unit.empty()) outlet.info.unit = source->spec->unit;
            }
        }
    }
    for (Node* node : order_) {
        for (const Outlet& outlet : node->outlets) {
            for (const Target& target : outlet.targets) {
                const bool averages = target.node->block->typeCode() == kMittelwert;
                for (Outlet& next : target.node->outlets) {
                    if (next.info.unit.empty()) next.info.unit = outlet.info.unit;
                    // Averages of named quantities keep their names.
                    if (averages) next.info.values = outlet.info.values;
                }
            }
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
            for (const auto& source : sources_)
                moves |= feed(*source);
            for (Node* node : order_) {
                moves |= step(*node);
                moves |= handOn(*node);
            }
        }
        raiseIfDataWaits();
    }
}

bool Runner::targetsFree(const Outlet& outlet) {
    return std::none_of(outlet.targets.begin(), outlet.targets.end(), [](const Target& target) {
        return target.node->block->waits(target.input);
    });
}

void Runner::deliver(Outlet& outlet, const ChannelData& data) {
    for (const Target& target : outlet.targets) {
        if (target.node->block->put(target.input, data) == Handle::none) {
            throw RunError(kWrongInput, "memory is out");
        }
    }
    for (const Listener& take : outlet.listeners)
        take(data);
}

bool Runner::feed(Source& source) {
    if (source.ended || !targetsFree(source.outlet)) return false;
    const SourceSpec& spec = *source.spec;
    Recording& recording = *source.recording;
    const auto all = static_cast<std::size_t>(recording.channels());
    const auto block = static_cast<std::size_t>(spec.block);
    std::vector<float> read(block * all);
    std::size_t frames = 0;
    try {
        frames = recording.read(read);
    } catch (const RecordingError& error) {
        throw InputError(spec.filePlace, textOf(source.file) + ": " + error.what());
    }
    source.ended = frames < block || source.position + spec.block == recording.frames();
    const std::size_t rest = frames < block ? frames : 0;
    if (source.ended) {
        std::string note = spec.name + ": " + source.title() + ", " +
                           std::to_string(recording.frames()) + " samples at " +
                           toText(recording.rate()) + " Hz, " +
                           std::to_string(source.channels.size()) +
                           (source.channels.size() == 1 ? " channel" : " channels");
        if (rest > 0 && spec.tail == Tail::drop) {
            note += "; the last " + std::to_string(rest) + " left out";
        } else if (rest > 0 && spec.tail == Tail::pad) {
            note += "; " + std::to_string(block - rest) + " zeros added at the end";
        }
        notes_.push_back(note);
    }
    if (frames == 0 || (rest > 0 && spec.tail == Tail::drop)) return true;

    const std::size_t samples = spec.tail == Tail::pad ? block : frames;
    std::vector<float> values(samples * source.channels.size());
    const auto scale = static_cast<float>(spec.fullScale);
    for (std::size_t i = 0; i < frames; ++i) {
        for (std::size_t c = 0; c < source.channels.size(); ++c) {
            values[i * source.channels.size() + c] =
                scale * read[i * all + static_cast<std::size_t>(source.channels[c])];
        }
    }
    if (spec.noise) {
        const std::size_t recorded = frames * source.channels.size();
        for (std::size_t i = 0; i < recorded; ++i) {
            values[i] += static_cast<float>(spec.noise->rms * source.noise.next());
        }
    }
    ChannelData data = timeSignal(std::move(values), static_cast<int>(source.channels.size()),
                                  1.0 / recording.rate());
    data.header.xStart =
        recording.start() + static_cast<double>(source.position) / recording.rate();
    data.header.displayMinimum = -spec.fullScale;
    data.header.displaySpan = 2 * spec.fullScale;
    source.position += static_cast<std::int64_t>(frames);
    deliver(source.outlet, data);
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
            if (!node.wired[i]) open.push_back(node.spec->name + "." + node.inputs[i]);
        }
        throw InputError(node.spec->place,
                         "every input of this block must be wired; missing: " + joined(open));
    }
    return picture() != before;
}

bool Runner::handOn(Node& node) {
    bool moved = false;
    for (std::size_t j = 0; j < node.outlets.size(); ++j) {
        const auto output = static_cast<int>(j);
        if (!node.block->delivered(output) || !targetsFree(node.outlets[j])) continue;
        deliver(node.outlets[j], *node.block->take(output));
        moved = true;
    }
    return moved;
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
                                    std::to_string(node.spec->place.line) + ": block." +
                                    node.spec->name + ": " + text);
}

void Runner::raiseIfDataWaits() const {
    for (const Node* node : order_) {
        std::vector<std::string> waiting;
        std::vector<std::string> empty;
        for (std::size_t i = 0; i < node->inputs.size(); ++i) {
            if (!node->wired[i]) continue;
            const bool waits = node->block->waits(static_cast<int>(i));
            (waits ? waiting : empty).push_back(node->spec->name + "." + node->inputs[i]);
        }
        if (waiting.empty()) continue;
        std::string text = textOf(diagram_.file) + ":" + std::to_string(node->spec->place.line) +
                           ": block." + node->spec->name + ": the data at " + joined(waiting) +
                           " is not taken";
        text += empty.empty() ? " (do the inputs fit together?)"
                              : ", nothing comes to " + joined(empty);
        throw RunError(kStalled, text);
    }
}

const OutletInfo& Runner::outlet(const ConnectorName& name) const {
    return const_cast<Runner*>(this)->outletOf(name).info;
}

void Runner::listen(const ConnectorName& name, Listener take) {
    outletOf(name).listeners.push_back(std::move(take));
}

}  // namespace vynhost
