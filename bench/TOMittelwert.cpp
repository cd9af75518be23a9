// The averaging block through Simulation, beside plain loops. Items are samples over all channels.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "bench_host.h"
#include "blocks/stats/TOMittelwert.h"

namespace vynpack::bench {
namespace {

float sample(int channel, int i) { return static_cast<float>(std::sin(0.05 * i * (channel + 1))); }

void shapes(benchmark::internal::Benchmark* benchmark) {
    for (const int channels : {1, 8, 32})
        benchmark->Args({channels, 4096});
    benchmark->ArgNames({"channels", "samples"});
}

void countSamples(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * state.range(0) * state.range(1));
}

std::vector<float> interleaved(const benchmark::State& state) {
    const auto channels = static_cast<std::size_t>(state.range(0));
    std::vector<float> input(channels * static_cast<std::size_t>(state.range(1)));
    for (std::size_t i = 0; i < input.size(); ++i)
        input[i] = sample(static_cast<int>(i % channels), static_cast<int>(i / channels));
    return input;
}

void runBlock(benchmark::State& state, const AvgParameters& parameters) {
    BenchHost host;
    host.addInput(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), 1.0 / 48000,
                  sample);
    TOMittelwert block;
    block.parameters() = parameters;
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

void Reduction_By10(benchmark::State& state) {
    runBlock(state, {.mode = kAvgReduce, .reduceValue = 10});
}
void Smoothing_Over7(benchmark::State& state) {
    runBlock(state, {.mode = kAvgSmoothing, .smoothingWidth = 7});
}
void Smoothing_Over100(benchmark::State& state) {
    runBlock(state, {.mode = kAvgSmoothing, .smoothingWidth = 100});
}
void BlockAverage_EachPassedOn(benchmark::State& state) { runBlock(state, {.mode = kAvgBlocks}); }
void BlockAverage_EveryTenthPassedOn(benchmark::State& state) {
    runBlock(state, {.mode = kAvgBlocks, .resetMode = kAvgResetByCount, .resetBlockCount = 10});
}
BENCHMARK(Reduction_By10)->Apply(shapes);
BENCHMARK(Smoothing_Over7)->Apply(shapes);
BENCHMARK(Smoothing_Over100)->Apply(shapes);
BENCHMARK(BlockAverage_EachPassedOn)->Apply(shapes);
BENCHMARK(BlockAverage_EveryTenthPassedOn)->Apply(shapes);

void PlainLoop_ReductionBy10(benchmark::State& state) {
    const std::vector<float> input = interleaved(state);
    const auto channels = static_cast<std::size_t>(state.range(0));
    const auto groups = static_cast<std::size_t>(state.range(1)) / 10;
    std::vector<float> out(groups * channels);
    for (auto _ : state) {
        for (std::size_t c = 0; c < channels; ++c) {
            for (std::size_t p = 0; p < groups; ++p) {
                double sum = 0.0;
                for (std::size_t k = 0; k < 10; ++k)
                    sum += input[(p * 10 + k) * channels + c];
                out[p * channels + c] = static_cast<float>(sum) / 10.0F;
            }
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    countSamples(state);
}
BENCHMARK(PlainLoop_ReductionBy10)->Apply(shapes);

void PlainLoop_SmoothingOver7(benchmark::State& state) {
    const std::vector<float> input = interleaved(state);
    const auto channels = static_cast<std::size_t>(state.range(0));
    std::vector<float> out(input.size());
    for (auto _ : state) {
        for (std::size_t i = 6 * channels; i < input.size(); ++i) {
            double sum = 0.0;
            for (std::size_t k = 0; k < 7; ++k)
                sum += input[i - (6 - k) * channels];
            out[i] = static_cast<float>(sum) / 7.0F;
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    countSamples(state);
}
BENCHMARK(PlainLoop_SmoothingOver7)->Apply(shapes);

void PlainLoop_BlockAverage(benchmark::State& state) {
    const std::vector<float> input = interleaved(state);
    std::vector<float> average(input.size());
    std::vector<float> out(input.size());
    double weight = 0.0;
    for (auto _ : state) {
        const auto w = static_cast<float>(weight);
        const auto d = static_cast<float>(weight + 1.0);
        for (std::size_t i = 0; i < input.size(); ++i)
            out[i] = average[i] = (average[i] * w + input[i]) / d;
        weight += 1.0;
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    countSamples(state);
}
BENCHMARK(PlainLoop_BlockAverage)->Apply(shapes);

}  // namespace
}  // namespace vynpack::bench
