// The statistics block through Simulation, beside plain loops. Items are samples over all channels.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "bench_host.h"
#include "blocks/stats/TOStatistik.h"

namespace vynpack::bench {
namespace {

float sample(int channel, int i) {
    return static_cast<float>(5.0 + 3.0 * std::sin(0.05 * i * (channel + 1)));
}

void shapes(benchmark::internal::Benchmark* benchmark) {
    for (const int channels : {1, 8, 32})
        benchmark->Args({channels, 4096});
    benchmark->ArgNames({"channels", "samples"});
}

void countSamples(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * state.range(0) * state.range(1));
}

void runBlock(benchmark::State& state, const std::vector<Statistic>& selected) {
    BenchHost host;
    host.addInput(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), 1.0 / 48000,
                  sample);
    TOStatistik block;
    for (const Statistic statistic : selected)
        block.parameters().selected[static_cast<std::size_t>(statistic)] = 1;
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

void Statistics_All21(benchmark::State& state) {
    std::vector<Statistic> all;
    for (int i = 0; i < kStatistics; ++i)
        all.push_back(static_cast<Statistic>(i));
    runBlock(state, all);
}
void Statistics_MeanAndDeviation(benchmark::State& state) { runBlock(state, {kAMean, kStdAbw}); }
void Statistics_Extremes(benchmark::State& state) { runBlock(state, {kYMax, kYMin}); }
void Statistics_GeometricMean(benchmark::State& state) { runBlock(state, {kGMean}); }
BENCHMARK(Statistics_All21)->Apply(shapes);
BENCHMARK(Statistics_MeanAndDeviation)->Apply(shapes);
BENCHMARK(Statistics_Extremes)->Apply(shapes);
BENCHMARK(Statistics_GeometricMean)->Apply(shapes);

// What the 21 measures need, channel by channel, in two loops over the samples.
void PlainLoops_All(benchmark::State& state) {
    const auto channels = static_cast<std::size_t>(state.range(0));
    const auto samples = static_cast<std::size_t>(state.range(1));
    std::vector<float> input(channels * samples);
    for (std::size_t i = 0; i < input.size(); ++i)
        input[i] = sample(static_cast<int>(i % channels), static_cast<int>(i / channels));
    const double exponent = 1.0 / static_cast<double>(samples);
    for (auto _ : state) {
        for (std::size_t c = 0; c < channels; ++c) {
            double sum = 0.0;
            double squares = 0.0;
            double reciprocals = 0.0;
            double product = 1.0;
            float high = -1e38F;
            float low = 1e38F;
            std::size_t highAt = 0;
            std::size_t lowAt = 0;
            for (std::size_t k = 0; k < samples; ++k) {
                const float x = input[k * channels + c];
                sum += x;
                squares += x * x;
                reciprocals += 1.0F / x;
                product *= std::pow(static_cast<double>(x), exponent);
                if (x > high) high = x, highAt = k;
                if (x < low) low = x, lowAt = k;
            }
            const double mean = sum * exponent;
            double deviations = 0.0;
            double absolutes = 0.0;
            for (std::size_t k = 0; k < samples; ++k) {
                const double difference = input[k * channels + c] - mean;
                deviations += difference * difference;
                absolutes += std::fabs(difference);
            }
            benchmark::DoNotOptimize(squares + reciprocals + product + deviations + absolutes);
            benchmark::DoNotOptimize(highAt + lowAt);
        }
    }
    countSamples(state);
}
BENCHMARK(PlainLoops_All)->Apply(shapes);

}  // namespace
}  // namespace vynpack::bench
