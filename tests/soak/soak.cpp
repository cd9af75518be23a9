// Long runs: every block type over many samples in blocks of random length, with its keywords read
// throughout. A run passes when the process is on average no larger in its second half than in its
// first. (How large it is at one moment depends on the lengths whose transforms the library
// remembers.)
//
//     soak --samples 1000000000 --seed 1 [type code ...]
//
// Not part of the checks: the figures stand in docs/reliability.md.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "support/any_block.h"
#include "vynhost/interface/placed_block.h"

namespace vynhost {
namespace {

constexpr int kChannels = 2;
constexpr std::size_t kLongest = 8192;  // samples per channel
constexpr double kMostGrowth = 1 << 20;

// Bytes of the process that lie in memory.
double residentBytes() {
    std::ifstream statm("/proc/self/statm");
    double total = 0;
    double resident = 0;
    statm >> total >> resident;
    return resident * static_cast<double>(::sysconf(_SC_PAGESIZE));
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

// Where a type's work lies that its defaults leave aside.
void configure(PlacedBlock& block) {
    switch (block.typeCode()) {
        case kStatistik: block.set("PkAllOn", 1); break;
        case kMittelwert: block.set("PkMode", 2); break;
        case kDualSpektrum:
            block.set("PkCoherence", 1);
            block.set("PkAverageType", "EXPONENTIAL");
            break;
        case kDigitalFilter:
            block.set("PkFIRFilter", 0);
            block.set("PkFilterType", 0);
            block.set("PkFilterOrder", 8);
            break;
        case kFreqWeight: block.set("PkXweight", 1); break;
        default: break;
    }
}

class Soak {
public:
    Soak(ModuleHost& host, int typeCode, unsigned seed)
        : host_(host), block_(host, typeCode), random_(seed) {
        configure(block_);
        block_.wireAll();
        inputs_ = static_cast<int>(block_.inputLabels().size());
        outputs_ = static_cast<int>(block_.outputLabels().size());
        for (int i = 0; i < inputs_; ++i) {
            if (!test::carriesData(typeCode, i)) block_.wireInput(i, -1);
        }
        std::normal_distribution<float> noise(0.0F, 1.0F);
        samples_.resize(kLongest * kChannels);
        for (float& sample : samples_)
            sample = noise(random_);
        keywords_ = block_.keywords();
    }

    // True when the run of so many samples left nothing behind.
    bool run(double samples) {
        const auto start = std::chrono::steady_clock::now();
        double done = 0;
        Mean first;
        Mean second;
        block_.initSim();
        while (done < samples) {
            done += step();
            if (blocks_ % 64 != 0) continue;
            if (done >= samples / 10) (done < samples / 2 ? first : second).add(residentBytes());
        }
        block_.stop();
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        const double growth = second.value() - first.value();
        const bool sound = growth <= kMostGrowth && host_.memory().aliveData() == 0 &&
                           host_.takeOffences().empty();
        std::printf(
            "%-6s %lld  %.3g samples, %llu blocks, %.0f s, %.2f MiB, second half %+.3f MiB\n",
            sound ? "ok" : "FAILED", static_cast<long long>(block_.typeCode()), done,
            static_cast<unsigned long long>(blocks_), took.count(), first.value() / (1 << 20),
            growth / (1 << 20));
        std::fflush(stdout);
        return sound;
    }

private:
    // One data block; the samples it held.
    double step() {
        const std::size_t length = 1 + random_() % kLongest;
        const std::vector<float> values(
            samples_.begin(), samples_.begin() + static_cast<std::ptrdiff_t>(length * kChannels));
        ChannelData data = timeSignal(values, kChannels, 1.0 / 48000);
        if (test::takesSpectra(block_.typeCode())) {
            data.header.xAxisKind = kHertz;
            data.header.xStep = 10;
        }
        for (int i = 0; i < inputs_; ++i) {
            if (test::carriesData(block_.typeCode(), i)) block_.put(i, data);
        }
        // A block may have several results for one data block; it leaves one that it refuses.
        bool delivered = true;
        while (delivered && block_.waits(0)) {
            block_.simulate();
            delivered = false;
            for (int j = 0; j < outputs_; ++j) {
                const Handle result = block_.takeHandle(j);
                delivered = delivered || result != Handle::none;
                host_.memory().free(result);
            }
        }
        host_.takeBoxes();
        if (++blocks_ % 64 == 0) {
            for (const KeywordRow& row : keywords_)
                block_.get(row);
        }
        return static_cast<double>(length * kChannels);
    }

    ModuleHost& host_;
    PlacedBlock block_;
    std::mt19937 random_;
    int inputs_ = 0;
    int outputs_ = 0;
    std::uint64_t blocks_ = 0;
    std::vector<float> samples_;
    std::vector<KeywordRow> keywords_;
};

int soak(const std::vector<std::string>& arguments) {
    double samples = 1e8;
    unsigned seed = 1;
    std::vector<int> types;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const bool last = i + 1 == arguments.size();
        if (arguments[i] == "--samples" && !last) {
            samples = std::atof(arguments[++i].c_str());
        } else if (arguments[i] == "--seed" && !last) {
            seed = static_cast<unsigned>(std::atol(arguments[++i].c_str()));
        } else {
            types.push_back(std::atoi(arguments[i].c_str()));
        }
    }
    if (types.empty()) types = test::allTypes();
    platform::setSharedDirectory(platform::programFolder().string());
    const ModuleLibrary module{ModuleLibrary::defaultPath()};
    int failed = 0;
    for (const int type : types) {
        ModuleHost host(module);
        if (!Soak(host, type, seed).run(samples)) ++failed;
    }
    return failed == 0 ? 0 : 1;
}

}  // namespace
}  // namespace vynhost

int main(int argc, char** argv) {
    try {
        return vynhost::soak({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "soak: %s\n", error.what());
        return 2;
    }
}
