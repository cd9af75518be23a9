// The spectrum block through Simulation, beside the bare transforms of the same data by PocketFFT,
// by the analysis library and by FFTW. Items are samples over all channels.
#include <benchmark/benchmark.h>
#include <fftw3.h>
#include <pocketfft_hdronly.h>

#include <cmath>
#include <vector>

#include "bench_host.h"
#include "blocks/spectral/TOSpektrum.h"
#include "ovanlys/functions.h"

namespace vynpack::bench {
namespace {

float signal(int channel, int i) {
    return static_cast<float>(std::sin(0.05 * i * (channel + 1)) + 0.25 * std::sin(0.71 * i));
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

void runBlock(benchmark::State& state, std::uint16_t amplitudeType, std::uint16_t window) {
    BenchHost host;
    host.addInput(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)), 1.0 / 48000,
                  signal);
    TOSpektrum block;
    block.parameters().amplitudeType = amplitudeType;
    block.parameters().window = window;
    block.parameters().correction = window == kNoWindow ? kNoCorrection : kAmplitudeCorrection;
    block.InitSim();
    host.simulate(block);  // the first block of a run allocates
    for (auto _ : state) {
        if (host.simulate(block) != 0) {
            state.SkipWithError("the block did nothing: is the analysis library found?");
            break;
        }
    }
    block.Stoppen();
    countSamples(state);
}

void SpectrumBlock_RmsHanning(benchmark::State& state) { runBlock(state, kRms, kHanningWindow); }
void SpectrumBlock_PeakPlain(benchmark::State& state) { runBlock(state, kPeak, kNoWindow); }
BENCHMARK(SpectrumBlock_RmsHanning)->Apply(shapes);
BENCHMARK(SpectrumBlock_PeakPlain)->Apply(shapes);

// The transform alone, on samples that lie ready as doubles, channel by channel.
template <class Transform>
void runBare(benchmark::State& state, Transform transform) {
    const auto n = static_cast<int>(state.range(1));
    std::vector<double> samples(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
        samples[static_cast<std::size_t>(i)] = signal(0, i);
    std::vector<double> work(samples.size());
    for (auto _ : state) {
        for (int c = 0; c < state.range(0); ++c) {
            work = samples;
            transform(work.data());
            benchmark::DoNotOptimize(work.data());
        }
    }
    countSamples(state);
}

void BareTransform_PocketFFT(benchmark::State& state) {
    const pocketfft::detail::pocketfft_r<double> plan(static_cast<std::size_t>(state.range(1)));
    runBare(state, [&](double* samples) { plan.exec(samples, 1.0, true); });
}
BENCHMARK(BareTransform_PocketFFT)->Apply(shapes);

void BareTransform_Analysis(benchmark::State& state) {
    std::vector<double> imaginary(static_cast<std::size_t>(state.range(1)));
    runBare(state, [&](double* samples) {
        ovanlys::ZABFunc147(samples, imaginary.data(), static_cast<int>(state.range(1)));
    });
}
BENCHMARK(BareTransform_Analysis)->Apply(shapes);

void BareTransform_FFTW(benchmark::State& state) {
    const auto n = static_cast<int>(state.range(1));
    double* samples = fftw_alloc_real(static_cast<std::size_t>(n));
    fftw_complex* lines = fftw_alloc_complex(static_cast<std::size_t>(n / 2 + 1));
    const fftw_plan plan = fftw_plan_dft_r2c_1d(n, samples, lines, FFTW_MEASURE);
    for (int i = 0; i < n; ++i)
        samples[i] = signal(0, i);
    for (auto _ : state) {
        for (int c = 0; c < state.range(0); ++c) {
            fftw_execute(plan);
            benchmark::DoNotOptimize(lines);
        }
    }
    fftw_destroy_plan(plan);
    fftw_free(lines);
    fftw_free(samples);
    countSamples(state);
}
BENCHMARK(BareTransform_FFTW)->Apply(shapes);

}  // namespace
}  // namespace vynpack::bench
