// The tones of an amplitude spectrum: where between the lines they lie, and how large they are.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "vynhost/diagram/catalogue.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/interface/module_host.h"

namespace vynhost {

// What an FFT block of certain settings makes of a tone. The block itself is asked: a second one of
// its settings is given tones between two lines.
class WindowShape {
public:
    // The block must put out RMS values. Raises RunError as placing a block does.
    WindowShape(ModuleHost& host, std::span<const TypeInfo> types, const BlockEntry& block);

    struct Tone {
        double offset;  // from its highest line, in lines: -0.5 to 0.5
        double value;   // of the tone itself
    };
    // Of a highest line and those beside it.
    Tone toneOf(double before, double highest, double behind) const;
    // What a tone of 1 can leave so many lines beside it, at most.
    double leakage(double lines) const;

private:
    // For tones 0 to half a line behind their highest line, in even steps.
    std::vector<double> skews_;    // line behind less line before, of the highest
    std::vector<double> heights_;  // of the highest line
    std::vector<double> leakage_;  // by whole lines
};

struct SpectralPeak {
    double frequency = 0;  // Hz
    double value = 0;
};

// At most so many, the largest first. `amplitudes` are those of the lines 0, step, 2 step ... in
// Hz. A peak is a highest line that stands out by 10 dB from the median of the 64 lines around it,
// and that is no leakage of a larger peak.
std::vector<SpectralPeak> findPeaks(std::span<const double> amplitudes, double step,
                                    const WindowShape& shape, std::size_t most);

}  // namespace vynhost
