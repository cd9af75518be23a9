// The analysis library's filters on one channel's data block of 4096 samples, beside a plain
// cascade of direct forms, a plain convolution sum and liquid-dsp's filters. Items are samples.
#include <benchmark/benchmark.h>
#include <liquid/liquid.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "ovanlys/filter_head.h"
#include "ovanlys/functions.h"

namespace ovanlys::bench {
namespace {

constexpr int kSamples = 4096;
constexpr double kRate = 48000.0;
constexpr double kCutoff = 3000.0;

template <class Value>
std::vector<Value> signal() {
    std::vector<Value> samples;
    for (int i = 0; i < kSamples; ++i)
        samples.push_back(static_cast<Value>(std::sin(0.05 * i) + 0.25 * std::sin(0.71 * i)));
    return samples;
}

void countSamples(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * kSamples);
}

void runObject(benchmark::State& state, void* object) {
    const std::vector<double> in = signal<double>();
    std::vector<double> out(in.size());
    for (auto _ : state) {
        ZABFunc91(in.data(), kSamples, object, out.data());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    ZABFunc234(object);
    countSamples(state);
}

void Analysis_Butterworth(benchmark::State& state) {
    void* object = ZABFunc233(0, static_cast<int>(state.range(0)));
    ZABFunc18(kRate, kCutoff, 0.0, object);
    runObject(state, object);
}
BENCHMARK(Analysis_Butterworth)->ArgName("order")->Arg(2)->Arg(8)->Arg(64);

// Six poles and zeros, as an A-weighting has them.
void Analysis_SixRealPoles(benchmark::State& state) {
    void* object = ZABFunc233(2, 3);
    auto& head = *static_cast<FilterHead*>(object);
    head.zeroCount = head.poleCount = 6;
    const double zeros[] = {1, 1, 1, 1, -1, -1};
    const double poles[] = {0.9973, 0.9973, 0.986, 0.908, 0.11, 0.11};
    for (int i = 0; i < 6; ++i) {
        head.zeros[2 * i] = zeros[i];
        head.poles[2 * i] = poles[i];
    }
    head.gain = 0.2;
    head.changed = 1;
    runObject(state, object);
}
BENCHMARK(Analysis_SixRealPoles);

// The usual way: one section after the other for each sample, transposed direct form 2. Its
// coefficients make some stable low pass of the order; the time does not depend on them.
void Plain_BiquadCascade(benchmark::State& state) {
    struct Biquad {
        double b0 = 0.03, b1 = 0.06, b2 = 0.03, a1 = -1.5, a2 = 0.62, s1 = 0, s2 = 0;
    };
    std::vector<Biquad> sections(static_cast<std::size_t>(state.range(0)) / 2);
    const std::vector<double> in = signal<double>();
    std::vector<double> out(in.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < in.size(); ++i) {
            double x = in[i];
            for (Biquad& s : sections) {
                const double y = s.b0 * x + s.s1;
                s.s1 = s.b1 * x - s.a1 * y + s.s2;
                s.s2 = s.b2 * x - s.a2 * y;
                x = y;
            }
            out[i] = x;
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    countSamples(state);
}
BENCHMARK(Plain_BiquadCascade)->ArgName("order")->Arg(2)->Arg(8)->Arg(64);

void Liquid_Butterworth(benchmark::State& state) {
    std::vector<float> in = signal<float>();
    std::vector<float> out(in.size());
    iirfilt_rrrf filter =
        iirfilt_rrrf_create_prototype(LIQUID_IIRDES_BUTTER, LIQUID_IIRDES_LOWPASS,
                                      LIQUID_IIRDES_SOS, static_cast<unsigned>(state.range(0)),
                                      static_cast<float>(kCutoff / kRate), 0.0F, 1.0F, 60.0F);
    for (auto _ : state) {
        iirfilt_rrrf_execute_block(filter, in.data(), kSamples, out.data());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    iirfilt_rrrf_destroy(filter);
    countSamples(state);
}
BENCHMARK(Liquid_Butterworth)->ArgName("order")->Arg(2)->Arg(8);

std::vector<double> lowPassTaps(int length) {
    std::vector<double> taps(static_cast<std::size_t>(length));
    ZABFunc335(0, kRate, kCutoff, 0.0, length, 2, 0.0, taps.data());
    return taps;
}

void tapCounts(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgName("taps")->Arg(25)->Arg(255)->Arg(511)->Arg(512)->Arg(1023)->Arg(4095);
}

void Analysis_Convolution(benchmark::State& state) {
    const std::vector<double> taps = lowPassTaps(static_cast<int>(state.range(0)));
    const std::vector<double> in = signal<double>();
    std::vector<double> out(in.size() + taps.size());
    for (auto _ : state) {
        ZABFunc32(taps.data(), static_cast<std::int64_t>(taps.size()), in.data(), kSamples,
                  out.data());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    countSamples(state);
}
BENCHMARK(Analysis_Convolution)->Apply(tapCounts);

// Every sample spreads over its outputs: the loop that compilers vectorise by themselves.
void Plain_Convolution(benchmark::State& state) {
    const std::vector<double> taps = lowPassTaps(static_cast<int>(state.range(0)));
    const std::vector<double> in = signal<double>();
    std::vector<double> out(in.size() + taps.size());
    for (auto _ : state) {
        std::fill(out.begin(), out.end(), 0.0);
        for (std::size_t i = 0; i < in.size(); ++i)
            for (std::size_t j = 0; j < taps.size(); ++j)
                out[i + j] += taps[j] * in[i];
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    countSamples(state);
}
BENCHMARK(Plain_Convolution)->Apply(tapCounts);

void Liquid_Fir(benchmark::State& state) {
    std::vector<float> in = signal<float>();
    std::vector<float> out(in.size());
    firfilt_rrrf filter = firfilt_rrrf_create_kaiser(
        static_cast<unsigned>(state.range(0)), static_cast<float>(kCutoff / kRate), 60.0F, 0.0F);
    for (auto _ : state) {
        firfilt_rrrf_execute_block(filter, in.data(), kSamples, out.data());
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    firfilt_rrrf_destroy(filter);
    countSamples(state);
}
BENCHMARK(Liquid_Fir)->ArgName("taps")->Arg(25)->Arg(255)->Arg(1023);

}  // namespace
}  // namespace ovanlys::bench
