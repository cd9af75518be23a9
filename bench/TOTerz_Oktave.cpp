// The third-octave analysis through Simulation, beside a plain loop over the lines. Items are lines
// over all channels.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "bench_host.h"
#include "blocks/spectral/TOTerz_Oktave.h"

namespace vynpack::bench {
namespace {

constexpr double kStep = 48000.0 / 4096;

float line(int channel, int i) {
    return static_cast<float>(40.0 + 30.0 * std::sin(0.01 * i * (channel + 1)));
}

void shapes(benchmark::internal::Benchmark* benchmark) {
    for (const int channels : {1, 8, 32})
        benchmark->Args({channels, 2048});
    benchmark->ArgNames({"channels", "lines"});
}

void countLines(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * state.range(0) * state.range(1));
}

void runBlock(benchmark::State& state, std::int32_t unit, std::int16_t weighting) {
    BenchHost host;
    HostBlock& input = host.addInput(static_cast<int>(state.range(0)),
                                     static_cast<int>(state.range(1)), kStep, line);
    input.header().xAxisKind = kAxisHertz;
    input.header().yUnit = unit;
    TOTerz_Oktave block;
    block.parameters().aWeighting = weighting;
    block.InitSim();
    for (auto _ : state) {
        if (host.simulate(block) != 1) {
            state.SkipWithError("the block failed");
            break;
        }
    }
    block.Stoppen();
    countLines(state);
}

void ThirdOctaves_Power(benchmark::State& state) { runBlock(state, kUnitPower, 0); }
void ThirdOctaves_Amplitude(benchmark::State& state) { runBlock(state, kUnitAmplitude, 0); }
void ThirdOctaves_AmplitudeAWeighted(benchmark::State& state) {
    runBlock(state, kUnitAmplitude, 1);
}
void ThirdOctaves_Level(benchmark::State& state) { runBlock(state, kUnitDecibel, 0); }
BENCHMARK(ThirdOctaves_Power)->Apply(shapes);
BENCHMARK(ThirdOctaves_Amplitude)->Apply(shapes);
BENCHMARK(ThirdOctaves_AmplitudeAWeighted)->Apply(shapes);
BENCHMARK(ThirdOctaves_Level)->Apply(shapes);

// The search and the sum as one would write them down: channel by channel, line by line.
template <class Term>
void plainLoop(benchmark::State& state, Term term) {
    const auto channels = static_cast<std::size_t>(state.range(0));
    const auto lines = static_cast<std::size_t>(state.range(1));
    const auto table = thirdOctaveBands();
    std::vector<float> input(channels * lines);
    for (std::size_t i = 0; i < input.size(); ++i)
        input[i] = line(static_cast<int>(i % channels), static_cast<int>(i / channels));
    std::vector<double> sums(table.size() * channels);
    for (auto _ : state) {
        std::fill(sums.begin(), sums.end(), 0.0);
        for (std::size_t c = 0; c < channels; ++c) {
            std::size_t band = 0;
            double frequency = 0.0;
            for (std::size_t i = 0; i < lines; ++i, frequency += kStep) {
                if (frequency < table[band].lower) continue;
                while (band < table.size() && frequency > table[band].upper)
                    ++band;
                if (band == table.size()) break;
                sums[band * channels + c] += term(input[i * channels + c]);
            }
        }
        benchmark::DoNotOptimize(sums.data());
        benchmark::ClobberMemory();
    }
    countLines(state);
}

void PlainLoop_Amplitude(benchmark::State& state) {
    plainLoop(state, [](double v) { return v * v; });
}
void PlainLoop_Level(benchmark::State& state) {
    plainLoop(state, [](double v) { return std::pow(10.0, v / 10.0); });
}
BENCHMARK(PlainLoop_Amplitude)->Apply(shapes);
BENCHMARK(PlainLoop_Level)->Apply(shapes);

}  // namespace
}  // namespace vynpack::bench
