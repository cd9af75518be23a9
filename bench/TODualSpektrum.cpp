// The dual spectrum block through Simulation, beside the bare PocketFFT transforms that it
// contains: two per channel. Items are pairs of samples over all channels.
#include <benchmark/benchmark.h>
#include <pocketfft_hdronly.h>

#include <cmath>
#include <vector>

#include "bench_host.h"
#include "blocks/spectral/TODualSpektrum.h"

namespace vynpack::bench {
namespace {

float excitation(int channel, int i) {
    return static_cast<float>(std::sin(0.05 * i * (channel + 1)) + 0.25 * std::sin(0.71 * i));
}

float response(int channel, int i) {
    return 0.5F * excitation(channel, i) + 0.2F * excitation(channel, i + 3);
}

void shapes(benchmark::internal::Benchmark* benchmark) {
    for (const int channels : {1, 8, 32}) {
        for (const int samples : {1024, 4096, 65536})
            benchmark->Args({channels, samples});
    }
    benchmark->ArgNames({"channels", "samples"});
}

void countSamples(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * state.range(0) * state.range(1));
}

void runBlock(benchmark::State& state, TODualSpektrum::Parameters parameters) {
    BenchHost host;
    const auto channels = static_cast<int>(state.range(0));
    const auto samples = static_cast<int>(state.range(1));
    host.addInput(channels, samples, 1.0 / 48000, excitation);
    host.addInput(channels, samples, 1.0 / 48000, response);
    TODualSpektrum block;
    block.parameters() = parameters;
    block.InitSim();
    host.simulate(block);  // the first block of a run allocates, and its averages are copies
    for (auto _ : state)
        host.simulate(block);
    block.Stoppen();
    countSamples(state);
}

void DualSpectrum_H1CoherenceAveraged(benchmark::State& state) {
    runBlock(state, {.coherence = 1,
                     .quantity = 0,
                     .transferType = kTransferH1,
                     .averageType = kArithmeticAveraging});
}
BENCHMARK(DualSpectrum_H1CoherenceAveraged)->Apply(shapes);

void DualSpectrum_CrossPlain(benchmark::State& state) { runBlock(state, {}); }
BENCHMARK(DualSpectrum_CrossPlain)->Apply(shapes);

// On samples that lie ready as doubles, channel by channel.
void DualSpectrum_BarePocketFFT(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(1));
    std::vector<double> samples(n);
    for (std::size_t i = 0; i < n; ++i)
        samples[i] = excitation(0, static_cast<int>(i));
    std::vector<double> work(n);
    const pocketfft::detail::pocketfft_r<double> plan(n);
    for (auto _ : state) {
        for (int transform = 0; transform < 2 * state.range(0); ++transform) {
            work = samples;
            plan.exec(work.data(), 1.0, true);
            benchmark::DoNotOptimize(work.data());
        }
    }
    countSamples(state);
}
BENCHMARK(DualSpectrum_BarePocketFFT)->Apply(shapes);

}  // namespace
}  // namespace vynpack::bench
