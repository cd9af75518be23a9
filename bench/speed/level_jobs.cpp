// The level block: 18 quantities at 10 Hz, Fast.
#include <algorithm>
#include <array>
#include <cmath>

#include "block_case.h"
#include "signals.h"

namespace vynpack::bench {
namespace {

constexpr double kRate = 48000.0;
constexpr double kStep = 1.0 / kRate;
constexpr std::size_t kQuantities = 18;
constexpr std::size_t kInterval = 4800;  // samples
constexpr int kClockSeconds = 3;
constexpr double kBinWidth = 0.2;
constexpr std::size_t kBins = 1002;

// A meter as anyone would write it down: a logarithm per sample.
struct PlainMeter : PeerBase {
    PlainMeter(Shape s, const Input& x) : PeerBase(s, x, 0), meters(s.channels) {}
    void operator()() {
        out.clear();
        for (std::size_t i = 0; i < shape.samples; ++i) {
            running += kStep;
            part += kStep;
            bool closing = false;
            if (part >= 1.0) {
                part -= 1.0;
                closing = ++seconds % kClockSeconds == 0;
            }
            for (std::size_t c = 0; c < shape.channels; ++c)
                meters[c].take(in[i * shape.channels + c], closing);
            if (++taken < kInterval) continue;
            taken = 0;
            putOut();
        }
    }

    struct Meter {
        double meanSquare = 0.0, level = 0.0;
        double maximum = 0.0, minimum = 200.0, energy = 0.0;
        double clock = 0.0, lastClock = 0.0, clockSum = 0.0, clocks = 0.0;
        std::vector<double> histogram = std::vector<double>(kBins);

        void take(double x, bool closing) {
            static const double alpha = 1.0 - std::exp(-kStep / 0.125);
            meanSquare += alpha * (x * x - meanSquare);
            double q = meanSquare / 4e-10;
            if (q == 0.0) q = 1.0;
            level = 10.0 * std::log10(q);
            maximum = std::max(maximum, level);
            minimum = std::min(minimum, level);
            energy += q;
            clock = std::max(clock, q);
            if (closing) {
                lastClock = clock;
                clockSum += clock;
                clocks += 1.0;
                clock = 0.0;
            }
            const double bin =
                std::clamp(std::ceil(level / kBinWidth), 0.0, static_cast<double>(kBins - 1));
            histogram[static_cast<std::size_t>(bin)] += 1.0;
        }
        // The bin's lower limit that the level has exceeded in that part of the time.
        double percentile(double part, double time) const {
            double sum = 0.0;
            int bin = 0;
            while (sum < part * time * kRate && bin < static_cast<int>(kBins))
                sum += histogram[static_cast<std::size_t>(bin++)];
            return kBinWidth * (bin - 2);
        }
    };

    static double decibels(double q) { return 10.0 * std::log10(q == 0.0 ? 1.0 : q); }

    void putOut() {
        const std::size_t begin = out.size();
        out.resize(begin + kQuantities * shape.channels);
        for (std::size_t c = 0; c < shape.channels; ++c) {
            const Meter& m = meters[c];
            const double leq = 10.0 * std::log10(m.energy / std::ceil(running / kStep));
            const std::array<double, kQuantities> values = {
                m.level,
                running,
                running,
                running,
                m.level,
                m.maximum,
                m.minimum,
                leq,
                leq + 10.0 * std::log10(running),
                decibels(m.lastClock),
                m.clocks == 0.0 ? 0.0 : decibels(m.clockSum / m.clocks),
                m.percentile(0.99, running),
                m.percentile(0.95, running),
                m.percentile(0.9, running),
                m.percentile(0.5, running),
                m.percentile(0.1, running),
                m.percentile(0.05, running),
                m.percentile(0.01, running)};
            for (std::size_t q = 0; q < kQuantities; ++q)
                out[begin + q * shape.channels + c] = static_cast<float>(values[q]);
        }
    }

    std::vector<Meter> meters;
    double running = 0.0, part = 0.0;
    int seconds = 0;
    std::size_t taken = 0;
};

std::unique_ptr<Case> level(Shape shape) {
    auto run = std::make_shared<HostRun>(vynhost::kLevel);
    run->set("PkTimeTc", 1);  // Fast
    auto job = blockCase(
        shape, run, {.step = kStep},
        [](std::size_t c, std::size_t i) { return 0.1F * noise(i * 64 + c); },
        std::max<std::size_t>(3, 3 * kInterval / shape.samples + 1));
    job->eachByItself = true;
    // An interval that ends with a data block is put out with the next one.
    job->lateValues = kQuantities * shape.channels;
    addPeer<PlainMeter>(*job, "plain_cpp", false);
    return job;
}

}  // namespace

std::vector<Job> levelJobs() { return {{"level", level}}; }

}  // namespace vynpack::bench
