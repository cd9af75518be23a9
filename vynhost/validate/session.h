// One check at work: the host, the blocks that it places, and the story of what was done, which is
// told when something is found.
#pragma once

#include <cstdint>
#include <functional>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "vynhost/interface/installation.h"
#include "vynhost/validate/faulty_host.h"
#include "vynhost/validate/working_block.h"

namespace vynhost {

// What a check has found; the text is one line.
class Finding : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// How hard to look: 1 (a glance) to 10 (long, for machines left alone).
inline constexpr int kLowestLevel = 1;
inline constexpr int kHighestLevel = 10;
inline constexpr int kUsualLevel = 5;

class Session {
public:
    struct Surroundings {
        const Installation* installation = nullptr;
        const ModuleLibrary* module = nullptr;
        int level = kUsualLevel;
        unsigned seed = 1;
        // Told every step before it is done, beside the story itself.
        std::function<void(const std::string&)> listener;
        std::function<void()> atBegin;
    };

    Session(Surroundings surroundings, ModuleHost::Options options);
    // What a host is given for a check: locks counted, else guard pages behind all memory; and no
    // huge outputs, so that absurd parameters cost no time.
    static ModuleHost::Options usualOptions();

    FaultyHost& host() noexcept { return host_; }
    const Exports& exports() const noexcept { return host_.exports(); }
    const Installation& installation() const noexcept { return *surroundings_.installation; }
    std::mt19937& random() noexcept { return random_; }
    int level() const noexcept { return surroundings_.level; }
    // How often to do what takes that many rounds up to level 5; more above.
    int rounds(int usual) const noexcept;

    // --- The story ---
    // What follows does not depend on what was told so far.
    void begin();
    void tell(std::string step);
    const std::vector<std::string>& story() const noexcept { return story_; }

    // --- What must hold; Finding where it does not ---
    [[noreturn]] void fail(const std::string& what) { throw Finding(what); }
    void expect(bool holds, std::string_view what);
    void equal(Int found, Int expected, std::string_view what);
    void same(const Outputs& found, const Outputs& expected, std::string_view what);
    void same(const std::vector<Outputs>& found, const std::vector<Outputs>& expected,
              std::string_view what);
    // Nothing happened that no host allows, no box is open, no data lives on.
    void settle();
    // The same for a moment in which blocks are at work.
    void noOffences();
    // Forgets the boxes of errors that were asked for.
    void takeBoxes() { host_.takeBoxes(); }

private:
    Surroundings surroundings_;
    FaultyHost host_;
    std::mt19937 random_;
    std::vector<std::string> story_;
};

// A block whose every call is told.
class Subject {
public:
    Subject(Session& session, int type);
    Subject(Session& session, int type, const std::string& record);
    ~Subject();
    Subject(const Subject&) = delete;
    Subject& operator=(const Subject&) = delete;

    // For what needs no telling.
    PlacedBlock& block() noexcept { return block_; }
    int type() const noexcept { return static_cast<int>(block_.typeCode()); }
    Int handle() const noexcept { return block_.handle(); }
    int inputs() const noexcept { return static_cast<int>(block_.inputCount()); }
    int outputs() const noexcept { return static_cast<int>(block_.outputCount()); }

    void set(const KeywordRow& row, const KeywordValue& value);
    void set(std::string_view keyword, const KeywordValue& value);
    void wireAll();
    void initSim();
    Int simulate();
    void stop();
    void errorShow();
    std::string save();
    void put(int input, const ChannelData& data, std::string_view values);
    // Suitable data at every input that is free.
    void feed(unsigned seed = 1);
    // Takes what lies at the outputs.
    Outputs collect();
    // Takes back what lies at the inputs.
    void clear();
    // InitSim, so many data blocks, Stoppen.
    std::vector<Outputs> run(int dataBlocks, unsigned firstSeed = 1);
    // A run that puts something out.
    std::vector<Outputs> properRun(int dataBlocks);
    // No data block lives but those at the connectors, and what the type keeps.
    void nothingLost();

private:
    Session& session_;
    PlacedBlock block_;
};

// --- What is known of the types -------------------------------------------------------------

// Keeps its counts in a data block of the host's from the run's first data block to its end; a
// start without an end before it forgets that block.
inline bool keepsABlock(int type) { return type == kKlassierung; }
// Leaves two inputs locked that differ in both counts.
inline bool leavesInputsLocked(int type) { return type == kDualSpektrum; }
inline bool isKnown(int type) { return type >= kFirstType && type < kFirstType + kTypes; }

bool hasValues(const Outputs& outputs);
bool hasValues(const std::vector<Outputs>& results);

// --- Texts ----------------------------------------------------------------------------------

std::string textOf(const KeywordValue& value);
std::string hexOf(std::string_view bytes);
std::string headOf(const ChannelData& data);
// Empty when they are bit for bit the same.
std::string differenceOf(const Outputs& found, const Outputs& expected);
// Over all bits of heads and values.
std::string digestOf(const std::vector<Outputs>& results);

}  // namespace vynhost
