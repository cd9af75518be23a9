// The digital filter through Simulation, beside liquid-dsp's filters on the same data. Items are
// samples over all channels.
#include <benchmark/benchmark.h>
#include <liquid/liquid.h>

#include <cmath>
#include <vector>

#include "bench_host.h"
#include "blocks/filter/TODigitalFilter.h"

namespace vynpack::bench {
namespace {

constexpr double kRate = 48000.0;
constexpr double kCutoff = 3000.0;

float signal(int channel, int i) {
    return static_cast<float>(std::sin(0.05 * i * (channel + 1)) + 0.25 * std::sin(0.71 * i));
}

void blockShapes(benchmark::internal::Benchmark* benchmark, const std::vector<std::int64_t>& sizes,
                 const char* size) {
    for (const std::int64_t channels : {1, 8, 32}) {
        for (const std::int64_t filter : sizes)
            benchmark->Args({channels, 4096, filter});
    }
    benchmark->ArgNames({"channels", "samples", size});
}
void orders(benchmark::internal::Benchmark* benchmark) { blockShapes(benchmark, {2, 8}, "order"); }
void taps(benchmark::internal::Benchmark* benchmark) {
    blockShapes(benchmark, {25, 255, 4095}, "taps");
}

void countSamples(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * state.range(0) * state.range(1));
}

void runBlock(benchmark::State& state, BenchHost& host, TOBlock& block) {
    block.InitSim();
    for (auto _ : state) {
        if (host.simulate(block) != 0) {
            state.SkipWithError("the block did nothing: is the analysis library found?");
            break;
        }
    }
    block.Stoppen();
    countSamples(state);
}

HostBlock& addSignal(BenchHost& host, const benchmark::State& state) {
    return host.addInput(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)),
                         1.0 / kRate, signal);
}

void DigitalFilter_Butterworth(benchmark::State& state) {
    BenchHost host;
    addSignal(host, state);
    TODigitalFilter block;
    block.parameters().fir = 0;
    block.parameters().characteristic = FilterDesign::kButterworth;
    block.parameters().cutoff = kCutoff;
    block.parameters().order = static_cast<int>(state.range(2));
    runBlock(state, host, block);
}
BENCHMARK(DigitalFilter_Butterworth)->Apply(orders);

void DigitalFilter_Fir(benchmark::State& state) {
    BenchHost host;
    addSignal(host, state);
    TODigitalFilter block;
    block.parameters().cutoff = kCutoff;
    block.parameters().length = static_cast<int>(state.range(2));
    runBlock(state, host, block);
}
BENCHMARK(DigitalFilter_Fir)->Apply(taps);

// --- liquid-dsp: single precision, samples that lie ready channel by channel ----------------

std::vector<float> readySamples(const benchmark::State& state) {
    std::vector<float> samples;
    for (int i = 0; i < state.range(1); ++i)
        samples.push_back(signal(0, i));
    return samples;
}

void Liquid_Butterworth(benchmark::State& state) {
    std::vector<float> in = readySamples(state);
    std::vector<float> out(in.size());
    iirfilt_rrrf filter =
        iirfilt_rrrf_create_prototype(LIQUID_IIRDES_BUTTER, LIQUID_IIRDES_LOWPASS,
                                      LIQUID_IIRDES_SOS, static_cast<unsigned>(state.range(2)),
                                      static_cast<float>(kCutoff / kRate), 0.0F, 1.0F, 60.0F);
    for (auto _ : state) {
        for (int c = 0; c < state.range(0); ++c) {
            iirfilt_rrrf_execute_block(filter, in.data(), static_cast<unsigned>(in.size()),
                                       out.data());
            benchmark::DoNotOptimize(out.data());
        }
    }
    iirfilt_rrrf_destroy(filter);
    countSamples(state);
}
BENCHMARK(Liquid_Butterworth)->Apply(orders);

void Liquid_Fir(benchmark::State& state) {
    std::vector<float> in = readySamples(state);
    std::vector<float> out(in.size());
    firfilt_rrrf filter = firfilt_rrrf_create_kaiser(
        static_cast<unsigned>(state.range(2)), static_cast<float>(kCutoff / kRate), 60.0F, 0.0F);
    for (auto _ : state) {
        for (int c = 0; c < state.range(0); ++c) {
            firfilt_rrrf_execute_block(filter, in.data(), static_cast<unsigned>(in.size()),
                                       out.data());
            benchmark::DoNotOptimize(out.data());
        }
    }
    firfilt_rrrf_destroy(filter);
    countSamples(state);
}
BENCHMARK(Liquid_Fir)->Apply(taps);

}  // namespace
}  // namespace vynpack::bench
