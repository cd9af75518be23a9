// vynhost spectrum, bands and transfer: averaged spectra of a recording, band levels, and what lies
// between two channels. The blocks give them; cutting the recording into data blocks that overlap,
// averaging spectra and looking for peaks is the host's.
#pragma once

#include <ostream>
#include <string>

#include "vynhost/command/measurement.h"

namespace vynhost {

struct FrameArguments : MeasurementArguments {
    int length = 0;       // samples of a data block; 0: chosen
    double overlap = 50;  // % of it
    int averages = 0;     // data blocks at most; 0: all
};

struct SpectrumArguments : FrameArguments {
    std::string window = "HANNING";  // as the FFT block calls it
    int peaks = 10;                  // at most
};

struct BandsArguments : FrameArguments {
    bool octaves = false;
    std::string weighting = "Z";  // or A
};

struct TransferArguments : FrameArguments {
    int excitation = 1;  // channels
    int response = 2;
    std::string window = "HANNING";
};

// The diagrams, for this recording. Raise InputError.
std::string spectrumDiagram(const SpectrumArguments& arguments, const RecordingFacts& facts);
std::string bandsDiagram(const BandsArguments& arguments, const RecordingFacts& facts);
std::string transferDiagram(const TransferArguments& arguments, const RecordingFacts& facts);

// Print tables, and write tables and pictures where there is a folder for them: spectrum.csv, .svg
// and spectrum_peaks.csv; bands.csv and .svg; transfer.csv and .svg. Raise RunError.
void measureSpectrum(const SpectrumArguments& arguments, std::ostream& out);
void measureBands(const BandsArguments& arguments, std::ostream& out);
void measureTransfer(const TransferArguments& arguments, std::ostream& out);

}  // namespace vynhost
