// The frequency weighting through Simulation: a time signal through the curve's filter, and a
// spectrum of levels. Items are samples or lines over all channels.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>

#include "bench_host.h"
#include "blocks/filter/TOFreqWeight.h"

namespace vynpack::bench {
namespace {

constexpr double kRate = 48000.0;

float signal(int channel, int i) {
    return static_cast<float>(std::sin(0.05 * i * (channel + 1)) + 0.25 * std::sin(0.71 * i));
}

void curves(benchmark::internal::Benchmark* benchmark) {
    for (const std::int64_t channels : {1, 8, 32}) {
        for (const std::int64_t curve : {1, 2, 3})
            benchmark->Args({channels, 4096, curve});
    }
    benchmark->ArgNames({"channels", "samples", "curve"});
}

HostBlock& addSignal(BenchHost& host, const benchmark::State& state) {
    return host.addInput(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)),
                         1.0 / kRate, signal);
}

void runBlock(benchmark::State& state, BenchHost& host) {
    TOFreqWeight block;
    block.parameters().weighting = static_cast<std::int16_t>(state.range(2));
    block.InitSim();
    for (auto _ : state) {
        if (host.simulate(block) != 0) {
            state.SkipWithError("the block did nothing: is the analysis library found?");
            break;
        }
    }
    block.Stoppen();
    state.SetItemsProcessed(state.iterations() * state.range(0) * state.range(1));
}

void FreqWeight_TimeSignal(benchmark::State& state) {
    BenchHost host;
    addSignal(host, state);
    runBlock(state, host);
}
BENCHMARK(FreqWeight_TimeSignal)->Apply(curves);

void FreqWeight_LevelSpectrum(benchmark::State& state) {
    BenchHost host;
    HostBlock& input = addSignal(host, state);
    input.header().xAxisKind = kAxisHertz;
    input.header().yUnit = kUnitDecibel;
    input.header().xStep = 5.0;
    runBlock(state, host);
}
BENCHMARK(FreqWeight_LevelSpectrum)->Apply(curves);

}  // namespace
}  // namespace vynpack::bench
