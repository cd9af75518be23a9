// What the process around the module may be like, and what the module leaves as it was.
#include <xmmintrin.h>

#include <array>
#include <clocale>
#include <filesystem>

#include "vynhost/base/text.h"
#include "vynhost/validate/catalogue_of_checks.h"
#include "vynhost/validate/copied_module.h"
#include "vynhost/validate/platform/process.h"

namespace vynhost {
namespace {

// --- Locale ---------------------------------------------------------------------------------

class LocaleOf {
public:
    explicit LocaleOf(const char* name)
        : before_(std::setlocale(LC_ALL, nullptr)), set_(std::setlocale(LC_ALL, name) != nullptr) {}
    ~LocaleOf() { std::setlocale(LC_ALL, before_.c_str()); }
    LocaleOf(const LocaleOf&) = delete;
    LocaleOf& operator=(const LocaleOf&) = delete;
    bool isSet() const noexcept { return set_; }

private:
    std::string before_;
    bool set_;
};

void locales(Session& session, int type) {
    const std::vector<Outputs> expected = Subject(session, type).properRun(2);
    for (const char* name : {"C", "C.UTF-8", "de_DE.UTF-8", "tr_TR.UTF-8", "German", "Turkish"}) {
        const LocaleOf locale(name);
        if (!locale.isSet()) continue;
        const std::string whole = std::setlocale(LC_ALL, nullptr);
        session.begin();
        session.tell(std::string("setlocale(LC_ALL, \"") + name + "\")");
        Subject block(session, type);
        for (const KeywordRow& row : block.block().keywords()) {
            // In a Turkish locale the small letter of I is another one.
            std::string small = row.name;
            for (char& c : small) {
                if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
            }
            session.tell("lRemoteControl 50 " + small);
            if (row.type == ValueType::text) continue;  // some read bytes that mean nothing
            session.expect(block.block().get({small, row.type}) == block.block().get(row),
                           small + " is not " + row.name);
        }
        session.same(block.run(2), expected, "in this locale");
        session.expect(std::setlocale(LC_ALL, nullptr) == whole, "the locale has changed");
    }
}

// --- Floating point -------------------------------------------------------------------------

std::uint16_t x87Word() {
    std::uint16_t word = 0;
    __asm__ volatile("fnstcw %0" : "=m"(word));
    return word;
}

void setX87Word(std::uint16_t word) { __asm__ volatile("fldcw %0" : : "m"(word)); }

struct Mode {
    const char* name;
    unsigned set;
    unsigned cleared;
    std::uint16_t x87;  // 0: as it is
};

constexpr std::array<Mode, 5> kModes = {{
    {"denormals flushed to zero", 0x8040, 0, 0},
    {"rounding up", 0x4000, 0x2000, 0},
    {"rounding to zero", 0x6000, 0, 0},
    {"invalid operations and divisions by zero trapped", 0, 0x0280, 0},
    {"x87 with 24 bits, rounding up", 0, 0, 0x087F},
}};

// The mode holds around each call only: the host's own arithmetic is not what is looked at.
template <class Call>
void inMode(Session& session, const Mode& mode, Call call) {
    const unsigned usual = _mm_getcsr();
    const std::uint16_t usualWord = x87Word();
    const unsigned wanted = (usual & ~mode.cleared) | mode.set;
    const std::uint16_t wantedWord = mode.x87 == 0 ? usualWord : mode.x87;
    setX87Word(wantedWord);
    _mm_setcsr(wanted);
    call();
    const unsigned after = _mm_getcsr();
    const std::uint16_t afterWord = x87Word();
    _mm_setcsr(usual);
    setX87Word(usualWord);
    constexpr unsigned kFlags = 0x3F;
    session.expect((after & ~kFlags) == (wanted & ~kFlags) && afterWord == wantedWord,
                   "the floating-point mode has changed");
}

void floatingPointModes(Session& session, int type) {
    const std::vector<Outputs> expected = Subject(session, type).properRun(3);
    const Exports& exports = session.exports();
    for (const Mode& mode : kModes) {
        session.begin();
        session.tell(std::string("floating-point mode: ") + mode.name);
        Subject block(session, type);
        block.wireAll();
        PlacedBlock& placed = block.block();
        const auto forward = [&](const char* name, auto function, Int last) {
            session.tell(name);
            inMode(session, mode, [&] { function(placed.context(), type, placed.handle(), last); });
        };
        forward("InitSim", exports.InitSim, 0);
        for (unsigned i = 0; i < expected.size(); ++i) {
            block.feed(i + 1);
            forward("Simulation", exports.Simulation, static_cast<Int>(placed.record()));
            session.same(block.collect(), expected[i], "in this mode");
        }
        forward("Stoppen", exports.Stoppen, 0);
        block.clear();
    }
}

// --- Folder ---------------------------------------------------------------------------------

void currentFolder(Session& session, int type) {
    const std::filesystem::path before = std::filesystem::current_path();
    Subject block(session, type);
    block.properRun(2);
    session.expect(std::filesystem::current_path() == before,
                   "the current folder is now " + textOf(std::filesystem::current_path()));
}

// --- Two modules ----------------------------------------------------------------------------

void twoModules(Session& session, int type) {
    const std::vector<Outputs> expected = Subject(session, type).properRun(3);
    session.settle();
    session.tell("load a copy of the module beside it, from another folder");
    const CopiedModule copy(session.installation());
    const ModuleLibrary other = loadModule(copy.installation());
    Subject block(session, type);
    block.wireAll();
    block.initSim();
    for (unsigned i = 0; i < expected.size(); ++i) {
        {
            session.tell("a whole run of a block of the copy");
            FaultyHost otherHost(other, Session::usualOptions());
            otherHost.setTraced(false);
            WorkingBlock twin(otherHost, type);
            session.equal(twin.handle(), 1, "the handle of the copy's only block");
            session.same(run(twin, static_cast<int>(expected.size())), expected, "the copy's run");
        }
        session.host().listen();
        block.feed(i + 1);
        block.simulate();
        session.same(block.collect(), expected[i], "the run between the copy's");
    }
    block.stop();
    block.clear();
}

}  // namespace

void addSurroundingChecks(CheckList& list) {
    list.ofEveryType("surroundings.locale", 2, "The locale changes nothing and stays as it is.",
                     locales);
    list.ofEveryType("surroundings.floatingPoint", 2,
                     "The floating-point mode changes no bit and stays as it is.",
                     floatingPointModes);
    list.ofEveryType("surroundings.folder", 2, "The current folder stays as it is.", currentFolder);
    list.ofEveryType("surroundings.twoModules", 4,
                     "A copy of the module in the same process is a module of its own.",
                     twoModules);
}

}  // namespace vynhost
