// Sums the lines of spectra into third-octave or octave bands.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "blocks/spectral/bands/band_kernels.h"
#include "kernels/level.h"
#include "numerics/band_tables.h"

namespace vynpack {

// What a line of the spectrum is, and with it the band's value.
enum class LineKind {
    level,      // dB: powers are added, the band's value is in dB
    amplitude,  // squares are added, the band's value is the root of their sum
    power,      // lines are added as they are
};

class BandAnalysis {
public:
    explicit BandAnalysis(vyn::KernelLevel level = vyn::kernelLevel()) : level_(level) {}

    // Takes the table for a run; it must outlive the run.
    void start(std::span<const Band> table);
    void stop() noexcept;
    bool started() const noexcept { return !table_.empty(); }

    // Works out which of the lines at first, first + step, … (Hz) belong to which band. Done once
    // per axis. Returns the number of bands up to the last one that has a line, at least 1.
    int assignLines(double first, double step, int lines);

    // The band values of every channel, from band 0 on: `lines` and `bands` are interleaved
    // (line i of channel c at i * channelCount + c), as many lines and bands as assignLines was
    // told and gave. Sums run in double, in the order of the lines. With `weighted`, the
    // A-weighting of each band is applied.
    void analyse(std::span<const float> lines, int channelCount, LineKind kind, bool weighted,
                 std::span<float> bands);

private:
    struct Axis {
        double first = 0.0;
        double step = 0.0;
        int lines = -1;
        bool operator==(const Axis&) const = default;
    };

    void addRunByRun(std::span<const BandRun> runs, std::span<const float> lines,
                     std::size_t channels, LineKind kind);
    void addLevels(const float* lines, std::size_t rows, std::size_t channels, double* sums);

    vyn::KernelLevel level_;
    std::span<const Band> table_;
    std::vector<double> weights_;  // 10^(A/10) per band
    Axis axis_;
    std::vector<BandRun> runs_;   // one for each band, behind those that begin a divided band
    std::size_t beginCount_ = 0;  // of the latter
    int bands_ = 1;
    std::vector<double> sums_;
    std::vector<double> powers_;
};

}  // namespace vynpack
