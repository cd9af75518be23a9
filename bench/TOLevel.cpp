// The level block through Simulation, beside a plain C++ sound level meter on the same data. Items
// are samples over all channels.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "bench_host.h"
#include "blocks/filter/TOLevel.h"

namespace vynpack::bench {
namespace {

constexpr double kRate = 48000.0;
constexpr int kSamples = 4096;

// Noise of 74 dB.
struct Noise {
    std::mt19937 random{1};
    std::normal_distribution<float> pascal{0.0F, 0.1F};
    float operator()(int, int) { return pascal(random); }
};

void countSamples(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * state.range(0) * kSamples);
}

void channels(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(1)->Arg(8)->Arg(32)->ArgName("channels");
}

// All 18 quantities at 10 Hz, with the histogram and a history of 2 s.
void measure(benchmark::State& state, bool rms, TimeWeighting weighting) {
    BenchHost host;
    host.addInput(static_cast<int>(state.range(0)), kSamples, 1.0 / kRate, Noise{});
    TOLevel block;
    block.parameters().rms = rms ? 1 : 0;
    block.parameters().timeWeighting = weighting;
    block.parameters().blankedSeconds = 2.0;
    block.InitSim();
    for (auto _ : state) {
        if (host.simulate(block) != 0) {
            state.SkipWithError("the block failed");
            break;
        }
    }
    block.Stoppen();
    countSamples(state);
}
void Level_Slow(benchmark::State& state) { measure(state, true, kSlow); }
void Level_Fast(benchmark::State& state) { measure(state, true, kFast); }
void Level_Impulse(benchmark::State& state) { measure(state, true, kImpulse); }
void Level_Peak(benchmark::State& state) { measure(state, false, kSlow); }
BENCHMARK(Level_Slow)->Apply(channels);
BENCHMARK(Level_Fast)->Apply(channels);
BENCHMARK(Level_Impulse)->Apply(channels);
BENCHMARK(Level_Peak)->Apply(channels);

// The same recursion, extremes, energy and bins as anyone would write them down: a logarithm per
// sample.
void Plain_SoundLevelMeter(benchmark::State& state) {
    const auto width = static_cast<std::size_t>(state.range(0));
    Noise noise;
    std::vector<float> x(width * kSamples);
    std::ranges::generate(x, [&] { return noise(0, 0); });
    struct Channel {
        double meanSquare = 0.0;
        double maximum = 0.0;
        double minimum = 200.0;
        double energy = 0.0;
        std::vector<double> histogram = std::vector<double>(1002);
    };
    std::vector<Channel> meter(width);
    const double alpha = 1.0 - std::exp(-1.0 / kRate);
    for (auto _ : state) {
        for (std::size_t i = 0; i < x.size(); i += width) {
            for (std::size_t c = 0; c < width; ++c) {
                Channel& m = meter[c];
                const double value = x[i + c];
                m.meanSquare += alpha * (value * value - m.meanSquare);
                const double ratio = m.meanSquare / 4e-10;
                const double level = 10.0 * std::log10(ratio);
                m.maximum = std::max(m.maximum, level);
                m.minimum = std::min(m.minimum, level);
                m.energy += ratio;
                const int bin = std::clamp(static_cast<int>(std::ceil(level / 0.2)), 0, 1001);
                m.histogram[static_cast<std::size_t>(bin)] += 1.0;
            }
        }
        benchmark::DoNotOptimize(meter.data());
        benchmark::ClobberMemory();
    }
    countSamples(state);
}
BENCHMARK(Plain_SoundLevelMeter)->Apply(channels);

}  // namespace
}  // namespace vynpack::bench
