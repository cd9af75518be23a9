// Third octaves of amplitude spectra.
#include <array>
#include <cmath>

#include "block_case.h"
#include "signals.h"

namespace vynpack::bench {
namespace {

// Lower and upper edges in Hz.
constexpr std::array<std::array<double, 2>, 32> kBands = {{
    {14, 18},       {18, 23},       {23, 27},     {28, 35.5},   {35.5, 45},    {45, 56},
    {56, 71},       {71, 89},       {89, 112},    {112, 141},   {141, 178},    {178, 223},
    {223, 280},     {280, 355},     {355, 450},   {450, 560},   {560, 710},    {710, 890},
    {890, 1120},    {1120, 1410},   {1410, 1780}, {1780, 2230}, {2230, 2800},  {2800, 3550},
    {3550, 4500},   {4500, 5600},   {5600, 7100}, {7100, 8900}, {8900, 11200}, {11200, 14130},
    {14130, 17780}, {17780, 22497},
}};

// The search and the sum as one would write them down: channel by channel, line by line.
struct PlainBands : PeerBase {
    PlainBands(Shape s, const Input& x, double lineStep)
        : PeerBase(s, x, kBands.size() * s.channels), step(lineStep), sums(out.size()) {}
    void operator()() {
        std::fill(sums.begin(), sums.end(), 0.0);
        for (std::size_t c = 0; c < shape.channels; ++c) {
            std::size_t band = 0;
            double frequency = 0.0;
            for (std::size_t i = 0; i < shape.samples; ++i, frequency += step) {
                if (frequency < kBands[band][0]) continue;
                while (band < kBands.size() && frequency > kBands[band][1])
                    ++band;
                if (band == kBands.size()) break;
                const double v = in[i * shape.channels + c];
                sums[band * shape.channels + c] += v * v;
            }
        }
        for (std::size_t i = 0; i < sums.size(); ++i)
            out[i] = static_cast<float>(std::sqrt(sums[i]));
    }
    double step;
    std::vector<double> sums;
};

std::unique_ptr<Case> thirdOctaves(Shape shape) {
    const double step = 22000.0 / static_cast<double>(shape.samples);
    auto job =
        blockCase(shape, std::make_shared<HostRun>(vynhost::kTerzOktave),
                  {.kind = vynhost::kHertz, .unit = vynhost::kUnitAmplitude, .step = step},
                  [](std::size_t c, std::size_t i) { return 1.0F + 0.1F * noise(i * 64 + c); });
    job->eachByItself = true;
    addPeer<PlainBands>(*job, "plain_cpp", false, step);
    return job;
}

}  // namespace

std::vector<Job> bandJobs() { return {{"thirdoct", thirdOctaves}}; }

}  // namespace vynpack::bench
