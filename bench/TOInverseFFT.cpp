// The inverse FFT block through Simulation, beside the bare inverse transforms of the same lines by
// PocketFFT and by FFTW. Items are samples over all channels.
#include <benchmark/benchmark.h>
#include <fftw3.h>
#include <pocketfft_hdronly.h>

#include <cmath>
#include <vector>

#include "bench_host.h"
#include "blocks/spectral/TOInverseFFT.h"

namespace vynpack::bench {
namespace {

float line(int channel, int k) {
    return static_cast<float>(std::sin(0.05 * k * (channel + 1)) + 0.25 * std::sin(0.71 * k));
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

void InverseFFTBlock(benchmark::State& state) {
    BenchHost host;
    const int lines = static_cast<int>(state.range(1)) / 2;
    for (int part = 0; part < 2; ++part) {
        HostBlock& input = host.addInput(static_cast<int>(state.range(0)), lines, 10.0, line);
        input.header().xAxisKind = kAxisHertz;
    }
    TOInverseFFT block;
    block.InitSim();
    for (auto _ : state) {
        host.simulate(block);
        // What the host has given out tells that the block has worked.
        if (host.given() != 1) {
            state.SkipWithError("the block did nothing: is the analysis library found?");
            break;
        }
    }
    block.Stoppen();
    countSamples(state);
}
BENCHMARK(InverseFFTBlock)->Apply(shapes);

// The transform alone, on lines that lie ready as doubles, channel by channel.
template <class Transform>
void runBare(benchmark::State& state, Transform transform) {
    for (auto _ : state) {
        for (int c = 0; c < state.range(0); ++c)
            transform();
    }
    countSamples(state);
}

void BareInverse_PocketFFT(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(1));
    const pocketfft::detail::pocketfft_r<double> plan(n);
    std::vector<double> ready(n);
    for (std::size_t k = 0; k < n; ++k)
        ready[k] = line(0, static_cast<int>(k));
    std::vector<double> samples(n);
    runBare(state, [&] {
        samples = ready;
        plan.exec(samples.data(), 1.0, false);
        benchmark::DoNotOptimize(samples.data());
    });
}
BENCHMARK(BareInverse_PocketFFT)->Apply(shapes);

void BareInverse_FFTW(benchmark::State& state) {
    const auto n = static_cast<int>(state.range(1));
    const int count = n / 2 + 1;
    fftw_complex* lines = fftw_alloc_complex(static_cast<std::size_t>(count));
    double* samples = fftw_alloc_real(static_cast<std::size_t>(n));
    const fftw_plan plan =
        fftw_plan_dft_c2r_1d(n, lines, samples, FFTW_MEASURE | FFTW_PRESERVE_INPUT);
    for (int k = 0; k < count; ++k)
        lines[k][0] = lines[k][1] = line(0, k);
    runBare(state, [&] {
        fftw_execute(plan);
        benchmark::DoNotOptimize(samples);
    });
    fftw_destroy_plan(plan);
    fftw_free(samples);
    fftw_free(lines);
}
BENCHMARK(BareInverse_FFTW)->Apply(shapes);

}  // namespace
}  // namespace vynpack::bench
