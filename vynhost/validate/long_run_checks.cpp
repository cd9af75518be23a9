// Long lives: memory, handles, loading and unloading, long runs.
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <optional>

#include "vynhost/base/text.h"
#include "vynhost/validate/catalogue_of_checks.h"
#include "vynhost/validate/copied_module.h"
#include "vynhost/validate/platform/process.h"

namespace vynhost {
namespace {

constexpr double kMebi = 1 << 20;
constexpr double kMostGrowth = kMebi;

std::string inMebi(double bytes) { return toText(bytes / kMebi, 3) + " MiB"; }

// Works until warm, then looks whether the process grows or gathers handles in twice as many
// rounds.
void staysAsLarge(Session& session, const std::string& what, int rounds,
                  const std::function<void()>& work) {
    const auto repeat = [&](int times) {
        for (int i = 0; i < times; ++i) {
            session.begin();
            session.tell(what + ", " + std::to_string(3 * rounds) + " times");
            work();
        }
    };
    repeat(rounds);
    const auto before = platform::processSize();
    const platform::HandleCounts handles = platform::handleCounts();
    repeat(2 * rounds);
    session.begin();
    session.tell(what + ", " + std::to_string(3 * rounds) + " times");
    const platform::HandleCounts after = platform::handleCounts();
    if (before) {
        const double growth = *platform::processSize() - *before;
        session.expect(growth <= kMostGrowth, "the process grows by " + inMebi(growth));
    }
    session.equal(after.kernel, handles.kernel, "handles of the system that are open");
    session.equal(after.user, handles.user, "windows that are open");
    session.equal(after.graphics, handles.graphics, "handles for drawing that are open");
    session.settle();
}

void manyRuns(Session& session, int type) {
    WorkingBlock block(session.host(), type);
    staysAsLarge(session, "a run of 5 data blocks of type " + std::to_string(type),
                 session.rounds(100), [&] {
                     run(block, 5);
                     session.takeBoxes();
                 });
}

void manyLives(Session& session, int type) {
    staysAsLarge(session,
                 "a block of type " + std::to_string(type) + " that is destroyed in its run",
                 session.rounds(100), [&] {
                     WorkingBlock block(session.host(), type);
                     block.wireAll();
                     block.initSim();
                     feed(block);
                     block.simulate();
                     block.save();
                     session.takeBoxes();
                 });
}

void manyLoads(Session& session) {
    constexpr double kSlow = 0.1;  // seconds
    const CopiedModule copy(session.installation());
    double slowest = 0;
    int loads = 0;
    staysAsLarge(session, "load the module, run a spectrum, SetInit(3, 0, 0), unload it",
                 session.rounds(20), [&] {
                     const auto start = std::chrono::steady_clock::now();
                     const ModuleLibrary module = loadModule(copy.installation());
                     const std::chrono::duration<double> took =
                         std::chrono::steady_clock::now() - start;
                     if (++loads > 3) slowest = std::max(slowest, took.count());
                     FaultyHost host(module, Session::usualOptions());
                     host.setTraced(false);
                     {
                         WorkingBlock block(host, kSpektrum);
                         session.expect(hasValues(run(block, 1)), "the run puts nothing out");
                     }
                     host.setInit(kShutDown, 0, 0);
                 });
    session.host().listen();
    session.expect(slowest <= kSlow, "one of the loads takes " + toText(slowest, 3) + " s");
}

// --- Long runs ------------------------------------------------------------------------------

// Where a type's work lies that its defaults leave aside.
void configure(Subject& block) {
    switch (block.type()) {
        case kMittelwert: block.set("PkMode", 2); break;
        case kDualSpektrum:
            block.set("PkCoherence", 1);
            block.set("PkAverageType", std::string("EXPONENTIAL"));
            break;
        case kDigitalFilter:
            block.set("PkFIRFilter", 0);
            block.set("PkFilterType", 0);
            block.set("PkFilterOrder", 8);
            break;
        default: break;
    }
}

struct Mean {
    double sum = 0;
    double count = 0;
    void add(double value) {
        sum += value;
        ++count;
    }
    double value() const { return count == 0 ? 0 : sum / count; }
};

void soak(Session& session, int type) {
    constexpr int kChannels = 2;
    constexpr std::size_t kLongest = 8192;
    constexpr std::array<std::size_t, 10> kLengths = {1,    7,    100,  256,  1000,
                                                      1024, 4096, 5000, 8191, 8192};
    constexpr int kAnyLength = 8;  // the level from which it takes enough samples
    // 10^6 samples at level 5, 10^8 at level 10.
    const double samples = std::pow(10.0, 6.0 + 0.4 * (session.level() - kUsualLevel));
    const std::vector<float> noise = evenNoise(kLongest * kChannels, 1);
    Subject block(session, type);
    configure(block);
    block.wireAll();
    for (int i = 0; i < block.inputs(); ++i) {
        if (carriesData(type, i)) continue;
        session.tell("input " + std::to_string(i) + " is not wired");
        block.block().wireInput(i, kUnwired);
    }
    block.initSim();
    session.tell("2 channels of noise in blocks of 1 to 8192 samples, " + toText(samples, 3) +
                 " samples in all");
    Mean first;
    Mean second;
    double done = 0;
    for (int blocks = 1; done < samples; ++blocks) {
        // How large the process is at one moment depends on the lengths that are remembered.
        const std::size_t length = session.level() < kAnyLength
                                       ? kLengths.at(session.random()() % kLengths.size())
                                       : 1 + session.random()() % kLongest;
        ChannelData data = timeSignal(
            std::vector<float>(noise.begin(),
                               noise.begin() + static_cast<std::ptrdiff_t>(length * kChannels)),
            kChannels);
        if (takesSpectra(type)) {
            data.header.xAxisKind = kHertz;
            data.header.xStep = 10;
        }
        for (int i = 0; i < block.inputs(); ++i) {
            if (carriesData(type, i)) block.block().put(i, data);
        }
        for (bool delivered = true; delivered && block.block().waits(0);) {
            block.block().simulate();
            delivered = false;
            for (int j = 0; j < block.outputs(); ++j) {
                const Handle result = block.block().takeHandle(j);
                delivered = delivered || result != Handle::none;
                session.host().memory().free(result);
            }
        }
        done += static_cast<double>(length);
        if (blocks % 4 != 0) continue;
        for (const KeywordRow& row : block.block().keywords())
            block.block().get(row);
        session.noOffences();
        const auto size = platform::processSize();
        if (size && done >= samples / 10) (done < samples / 2 ? first : second).add(*size);
    }
    session.expect(
        second.count == 0 || second.value() - first.value() <= kMostGrowth,
        "the process is " + inMebi(second.value() - first.value()) + " larger in the second half");
    block.stop();
    block.clear();
    session.takeBoxes();
}

}  // namespace

void addLongRunChecks(CheckList& list) {
    list.ofEveryType("long.runs", 4, "Many runs leave neither memory nor handles behind.",
                     manyRuns);
    list.ofEveryType("long.lives", 4, "Many lives leave neither memory nor handles behind.",
                     manyLives);
    list.ofModule("long.loads", 4, "The module may come and go, and loads within 0.1 s.",
                  manyLoads);
    list.ofEveryType("long.soak", 5, "A long run takes no more memory than a short one.", soak);
    ModuleHost::Options roomy = Session::usualOptions();
    roomy.guard = platform::Guard::none;
    list.withOptions(roomy);
}

}  // namespace vynhost
