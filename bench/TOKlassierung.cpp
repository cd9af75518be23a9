// The classification block through Simulation, beside plain C++ counting on the same data. Items
// are samples over all channels.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "bench_host.h"
#include "blocks/classify/TOKlassierung.h"

namespace vynpack::bench {
namespace {

constexpr int kSamples = 4096;
constexpr int kClasses = 20;

// "Load": a slow swing through most classes with noise of a fifth of a class upon it. "Noise":
// every sample anywhere.
enum Signal { kLoad, kNoise };

struct Source {
    Signal kind;
    std::mt19937 random{1};
    std::normal_distribution<float> normal{};
    float operator()(int channel, int i) {
        if (kind == kNoise) return 4.0F * normal(random);
        return static_cast<float>(8.0 * std::sin(0.05 * i + channel)) + 0.2F * normal(random);
    }
};

void shapes(benchmark::internal::Benchmark* benchmark) {
    for (const std::int64_t channels : {1, 8, 32}) {
        for (const std::int64_t signal : {kLoad, kNoise})
            benchmark->Args({channels, signal});
    }
    benchmark->ArgNames({"channels", "noise"});
}

void countSamples(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * state.range(0) * kSamples);
}

template <CountingMethodId method>
void Classify(benchmark::State& state) {
    BenchHost host;
    host.addInput(static_cast<int>(state.range(0)), kSamples, 1e-4,
                  Source{static_cast<Signal>(state.range(1))});
    TOKlassierung block;
    block.parameters().method = method;
    block.parameters().hysteresis = 10.0;
    block.InitSim();
    for (auto _ : state) {
        if (host.simulate(block) != 1) {
            state.SkipWithError("the block failed");
            break;
        }
    }
    block.Stoppen();
    countSamples(state);
}
BENCHMARK_TEMPLATE(Classify, kSampleCount)->Apply(shapes);
BENCHMARK_TEMPLATE(Classify, kDwellTime)->Apply(shapes);
BENCHMARK_TEMPLATE(Classify, kLevelCrossings)->Apply(shapes);
BENCHMARK_TEMPLATE(Classify, kExcursionPeaks)->Apply(shapes);
BENCHMARK_TEMPLATE(Classify, kTurningPoints)->Apply(shapes);
BENCHMARK_TEMPLATE(Classify, kSeparatePeaks)->Apply(shapes);

std::vector<float> signalOf(const benchmark::State& state) {
    Source source{static_cast<Signal>(state.range(1))};
    const auto width = static_cast<int>(state.range(0));
    std::vector<float> x;
    for (int i = 0; i < kSamples; ++i) {
        for (int c = 0; c < width; ++c)
            x.push_back(source(c, i));
    }
    return x;
}

// The plain loop of a histogram.
void Plain_Histogram(benchmark::State& state) {
    const std::vector<float> x = signalOf(state);
    const auto width = static_cast<std::size_t>(state.range(0));
    std::vector<std::uint32_t> counts(width * kClasses);
    for (auto _ : state) {
        for (std::size_t i = 0; i < x.size(); i += width) {
            for (std::size_t c = 0; c < width; ++c) {
                const double k = std::floor((x[i + c] + 10.0) / 20.0 * kClasses);
                if (k >= 0 && k < kClasses) ++counts[c * kClasses + static_cast<std::size_t>(k)];
            }
        }
        benchmark::DoNotOptimize(counts.data());
        benchmark::ClobberMemory();
    }
    countSamples(state);
}
BENCHMARK(Plain_Histogram)->Apply(shapes);

// The plain loop over all classes of a level crossing count, without hysteresis.
void Plain_LevelCrossings(benchmark::State& state) {
    const std::vector<float> x = signalOf(state);
    const auto width = static_cast<std::size_t>(state.range(0));
    std::vector<std::uint32_t> counts(width * kClasses);
    for (auto _ : state) {
        for (std::size_t i = width; i < x.size(); i += width) {
            for (std::size_t c = 0; c < width; ++c) {
                const double a = x[i - width + c];
                const double b = x[i + c];
                for (std::size_t k = 0; k < kClasses; ++k) {
                    const double limit = -10.0 + static_cast<double>(k);
                    counts[c * kClasses + k] += a < limit && limit <= b ? 1U : 0U;
                }
            }
        }
        benchmark::DoNotOptimize(counts.data());
        benchmark::ClobberMemory();
    }
    countSamples(state);
}
BENCHMARK(Plain_LevelCrossings)->Apply(shapes);

}  // namespace
}  // namespace vynpack::bench
