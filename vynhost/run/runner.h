// Runs a diagram: places its blocks, wires them, and moves data blocks until the recordings end.
#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "vynhost/base/bilingual.h"
#include "vynhost/base/memory_limit.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/diagram/quantity.h"
#include "vynhost/diagram/value_names.h"
#include "vynhost/interface/module_host.h"

namespace vynhost {

class Source;

// What comes out at one source or output.
struct OutletInfo {
    std::string name;                         // as the diagram calls it
    SignalKind kind = {};                     // of the values
    std::vector<std::string> channels = {};   // their names, where the recording has some
    std::vector<ValueName> values = {};       // of data blocks that hold named quantities
    std::vector<bool> bandsWithoutLine = {};  // of the last data block of bands, from band 0
    bool overIntervals = false;               // data blocks hold what an interval of time came to
    double time = 0;  // s; where in the signal the last data block, or what it was made of, begins
    std::vector<Bilingual> notes = {};  // after the run: what of the data is not in there
};

class Runner {
public:
    // `inputs` replaces the files of sources, by name. Raises RunError for whatever in the diagram
    // the module does not know, and for data blocks that take more than `memory`, in bytes;
    // `raisedBy` is what the caller's user writes to allow more.
    Runner(ModuleHost& host, const Diagram& diagram,
           const std::map<std::string, std::filesystem::path>& inputs,
           std::uint64_t memory = MemoryLimit::kUsual, const char* raisedBy = "--memory");
    ~Runner();

    // Raises RunError; the blocks are stopped in any case.
    void run();

    // Of a name that a sink or a comparison asks for.
    const OutletInfo& outlet(const ConnectorName& name) const;
    // From now on `take` is given every data block that comes out there.
    using Listener = std::function<void(const ChannelData& block)>;
    void listen(const ConnectorName& name, Listener take);

    // How far the longest source has come, in seconds of its signal.
    struct Progress {
        double position = 0;
        double length = 0;
    };
    using Watcher = std::function<void(const Progress& progress)>;
    // `watch` is told with every round of data blocks.
    void watch(Watcher watch) { watch_ = std::move(watch); }

    // Of which whoever listens takes a part.
    MemoryLimit& memory() noexcept { return memory_; }

    // A line each: what was read, what was left out or added.
    const std::vector<std::string>& notes() const noexcept { return notes_; }

    // --- For whoever reports, after the run ---
    std::vector<const Source*> sources() const;
    // Every block in the order of the diagram, set up as it has worked.
    void visitBlocks(
        const std::function<void(const BlockEntry& entry, PlacedBlock& block)>& visit) const;
    // What may not be what was expected.
    const std::vector<Bilingual>& warnings() const noexcept { return warnings_; }

private:
    struct Node;
    struct Feed;  // a source and what it feeds
    struct Target {
        Node* node;
        int input;
    };
    struct Outlet {
        std::vector<Target> targets = {};
        OutletInfo info;
        std::vector<Listener> listeners = {};
        std::vector<const Feed*> origins = {};  // the sources that it stems from
    };

    void openSources(const std::map<std::string, std::filesystem::path>& inputs);
    void placeBlocks();
    void wire();
    void checkInputs();
    void orderBlocks();
    void carryKinds();
    void carryOrigins();
    void checkOverlaps() const;
    static void checkSteps(const Node& node);
    void limitDataBlocks();
    // Nodes and outlets lie on the heap: the runner's own constness is not theirs.
    Outlet& outletOf(const ConnectorName& name) const;
    Node* findNode(const std::string& name) const;
    Feed* findFeed(const std::string& name) const;
    std::vector<std::string> sourceNames() const;
    std::vector<std::string> blockNames() const;

    Progress progress() const;
    bool feed(Feed& feed);
    bool step(Node& node);
    bool handOn(Node& node);
    bool endInterval(Node& node);
    void noteRest(Node& node);
    static bool targetsFree(const Outlet& outlet);
    static void checkRateOnce(Node& node, const ChannelHeader& header);
    static void findBandsWithoutLine(Node& node, const Outlet& from, const ChannelData& data);
    static void deliver(Outlet& outlet, const ChannelData& data);
    // True where the data is the short rest of a recording, which is in no spectrum.
    static bool leavesOut(Node& node, int input, const ChannelData& data);
    static bool endsInSpectra(const Node& node);
    void noteShortBlock(Node& node);
    [[noreturn]] void raiseBlockError(Node& node);
    void raiseIfDataWaits() const;
    static std::string whyNotTaken(const Node& node);

    ModuleHost& host_;
    const Diagram& diagram_;
    MemoryLimit memory_;
    std::deque<MemoryPart> dataBlocks_;  // per source
    std::vector<std::unique_ptr<Feed>> feeds_;
    std::vector<std::unique_ptr<Node>> nodes_;
    std::vector<Node*> order_;
    std::vector<std::string> notes_;
    std::vector<Bilingual> warnings_;
    Watcher watch_;
};

}  // namespace vynhost
