// The analysis library's transform of one block beside the bare PocketFFT and FFTW (measured
// plans), all in double and on the same data, samples restored each time. Items are samples.
#include <benchmark/benchmark.h>
#include <fftw3.h>
#include <pocketfft_hdronly.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "ovanlys/functions.h"

namespace ovanlys::bench {
namespace {

std::vector<double> signal(const benchmark::State& state) {
    std::vector<double> samples;
    for (int i = 0; i < state.range(0); ++i)
        samples.push_back(std::sin(0.05 * i * i));
    return samples;
}

void lengths(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgName("n")->Arg(1024)->Arg(4096)->Arg(5000)->Arg(8191)->Arg(65536);
}

void countSamples(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void Analysis_Transform(benchmark::State& state) {
    const std::vector<double> in = signal(state);
    std::vector<double> a(in.size());
    std::vector<double> b(in.size());
    for (auto _ : state) {
        std::copy(in.begin(), in.end(), a.begin());
        ZABFunc147(a.data(), b.data(), static_cast<int>(in.size()));
        benchmark::DoNotOptimize(a.data());
        benchmark::ClobberMemory();
    }
    countSamples(state);
}
BENCHMARK(Analysis_Transform)->Apply(lengths);

void PocketFft_Transform(benchmark::State& state) {
    const std::vector<double> in = signal(state);
    std::vector<double> a(in.size());
    const pocketfft::detail::pocketfft_r<double> plan(in.size());
    for (auto _ : state) {
        std::copy(in.begin(), in.end(), a.begin());
        plan.exec(a.data(), 1.0, true);
        benchmark::DoNotOptimize(a.data());
        benchmark::ClobberMemory();
    }
    countSamples(state);
}
BENCHMARK(PocketFft_Transform)->Apply(lengths);

void Fftw_Transform(benchmark::State& state) {
    const std::vector<double> in = signal(state);
    std::vector<double> a(in.size());
    std::vector<double> lines(in.size() + 2);
    fftw_plan plan =
        fftw_plan_dft_r2c_1d(static_cast<int>(in.size()), a.data(),
                             reinterpret_cast<fftw_complex*>(lines.data()), FFTW_MEASURE);
    for (auto _ : state) {
        std::copy(in.begin(), in.end(), a.begin());
        fftw_execute(plan);
        benchmark::DoNotOptimize(lines.data());
        benchmark::ClobberMemory();
    }
    fftw_destroy_plan(plan);
    countSamples(state);
}
BENCHMARK(Fftw_Transform)->Apply(lengths);

}  // namespace
}  // namespace ovanlys::bench
