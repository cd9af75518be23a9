// All 21 statistics.
#include <gsl/gsl_statistics_float.h>

#include <array>
#include <cmath>
#include <cstdlib>

#include "block_case.h"
#include "signals.h"

namespace vynpack::bench {
namespace {

constexpr double kStep = 1.0 / 48000;
constexpr std::size_t kMeasures = 21;

// What both peers put together in the same way.
struct Measures {
    double sum, squares, high, low, harmonic, geometric, variance, deviation;
    std::size_t highAt, lowAt;
};

struct StatisticsPeer : PeerBase {
    StatisticsPeer(Shape s, const Input& x)
        : PeerBase(s, x, kMeasures * s.channels), sumsOfRun(s.channels) {}

    void put(std::size_t c, const Measures& m) {
        const auto n = static_cast<double>(shape.samples);
        const std::size_t stride = shape.channels;
        sumsOfRun[c] += m.sum;
        const double mean = m.sum / n;
        const double deviation = std::sqrt(m.variance);
        const double coefficient = mean == 0.0 ? 0.0 : deviation / mean;
        const std::array<double, kMeasures> values = {m.sum,
                                                      sumsOfRun[c],
                                                      m.squares,
                                                      m.high,
                                                      static_cast<double>(m.highAt) * kStep,
                                                      m.low,
                                                      static_cast<double>(m.lowAt) * kStep,
                                                      n * kStep,
                                                      in[(shape.samples - 1) * stride + c],
                                                      0.0,
                                                      in[c],
                                                      mean,
                                                      std::sqrt(m.squares / n),
                                                      m.geometric,
                                                      m.harmonic,
                                                      m.high - m.low,
                                                      deviation,
                                                      m.variance,
                                                      coefficient,
                                                      coefficient / std::sqrt(n - 1.0) * 100.0,
                                                      m.deviation};
        for (std::size_t i = 0; i < kMeasures; ++i)
            out[i * stride + c] = static_cast<float>(values[i]);
    }

    std::vector<double> sumsOfRun;
};

// Two loops over the samples of each channel.
struct PlainStatistics : StatisticsPeer {
    using StatisticsPeer::StatisticsPeer;
    void operator()() {
        const auto n = static_cast<double>(shape.samples);
        for (std::size_t c = 0; c < shape.channels; ++c) {
            const float* const x = in.data() + c;
            Measures m{.sum = 0,
                       .squares = 0,
                       .high = x[0],
                       .low = x[0],
                       .harmonic = 0,
                       .geometric = 0,
                       .variance = 0,
                       .deviation = 0,
                       .highAt = 0,
                       .lowAt = 0};
            double logarithms = 0.0;
            double reciprocals = 0.0;
            bool positive = true;
            bool zero = false;
            for (std::size_t i = 0; i < shape.samples; ++i) {
                const float v = x[i * shape.channels];
                m.sum += v;
                m.squares += v * v;
                reciprocals += 1.0F / v;
                zero |= v == 0.0F;
                if (v > 0.0F) {
                    logarithms += std::log(static_cast<double>(v));
                } else {
                    positive = false;
                }
                if (v > m.high) {
                    m.high = v;
                    m.highAt = i;
                }
                if (v < m.low) {
                    m.low = v;
                    m.lowAt = i;
                }
            }
            m.geometric = positive ? std::exp(logarithms / n) : 0.0;
            m.harmonic = zero ? 0.0 : n / reciprocals;
            const double mean = m.sum / n;
            for (std::size_t i = 0; i < shape.samples; ++i) {
                const double d = x[i * shape.channels] - mean;
                m.variance += d * d;
                m.deviation += std::fabs(d);
            }
            m.variance /= n - 1.0;
            m.deviation /= n;
            put(c, m);
        }
    }
};

// GSL has no geometric and no harmonic mean.
struct GslStatistics : StatisticsPeer {
    using StatisticsPeer::StatisticsPeer;
    void operator()() {
        const std::size_t n = shape.samples;
        const auto count = static_cast<double>(n);
        for (std::size_t c = 0; c < shape.channels; ++c) {
            const float* const x = in.data() + c;
            const std::size_t stride = shape.channels;
            const double mean = gsl_stats_float_mean(x, stride, n);
            std::size_t highAt = 0;
            std::size_t lowAt = 0;
            gsl_stats_float_minmax_index(&lowAt, &highAt, x, stride, n);
            double logarithms = 0.0;
            double reciprocals = 0.0;
            for (std::size_t i = 0; i < n; ++i) {
                const double v = x[i * stride];
                logarithms += std::log(v);
                reciprocals += 1.0 / v;
            }
            const double low = x[lowAt * stride];
            put(c, {.sum = mean * count,
                    .squares = gsl_stats_float_tss_m(x, stride, n, 0.0),
                    .high = x[highAt * stride],
                    .low = low,
                    .harmonic = low > 0.0 ? count / reciprocals : 0.0,
                    .geometric = low > 0.0 ? std::exp(logarithms / count) : 0.0,
                    .variance = gsl_stats_float_variance_m(x, stride, n, mean),
                    .deviation = gsl_stats_float_absdev_m(x, stride, n, mean),
                    .highAt = highAt,
                    .lowAt = lowAt});
        }
    }
};

std::unique_ptr<Case> statistics(Shape shape) {
    auto run = std::make_shared<HostRun>(vynhost::kStatistik);
    run->set("PkAllOn", 1);
    auto job = blockCase(shape, run, {.step = kStep}, [](std::size_t c, std::size_t i) {
        return 5.0F + static_cast<float>(3.0 * std::sin(0.05 * static_cast<double>(i * (c + 1)))) +
               0.2F * noise(i * 64 + c);
    });
    job->eachByItself = true;
    addPeer<PlainStatistics>(*job, "plain_cpp", false);
    addPeer<GslStatistics>(*job, "gsl", false);
    return job;
}

}  // namespace

std::vector<Job> statisticJobs() { return {{"stats21", statistics}}; }

}  // namespace vynpack::bench
