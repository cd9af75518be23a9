#include "vynhost/command/spectra.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <utility>

#include "vynhost/base/errors.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/command/text_table.h"
#include "vynhost/diagram/catalogue.h"
#include "vynhost/results/series.h"
#include "vynhost/results/table_row.h"
#include "vynhost/run/spectral_peaks.h"

namespace vynhost {
namespace {

constexpr int kLinesOfATone = 3;  // decimals of a frequency in Hz

int samplesOfBlock(const FrameArguments& arguments, int usual) {
    constexpr int kShortest = 64;
    constexpr int kLongest = 1 << 24;
    const int length = arguments.length == 0 ? usual : arguments.length;
    if (length < kShortest || length > kLongest) {
        throw InputError(tr("--length must be from 64 to 16777216 samples"));
    }
    return length;
}

// The lines of a source that say how the recording is cut.
std::string framesText(const FrameArguments& arguments, int block) {
    constexpr double kMost = 99;
    if (!(arguments.overlap >= 0 && arguments.overlap <= kMost)) {
        throw InputError(tr("--overlap must be from 0 to 99, in %"));
    }
    if (arguments.averages < 0) throw InputError(tr("--averages must be above 0"));
    const auto step =
        std::max<std::int64_t>(std::llround(block * (1 - arguments.overlap / 100)), 1);
    std::string text = "block = " + std::to_string(block) + "\n";
    if (step < block) text += "step = " + std::to_string(step) + "\n";
    if (arguments.averages > 0) text += "blocks = " + std::to_string(arguments.averages) + "\n";
    return text;
}

std::string windowText(const std::string& window) {
    std::string name = window;
    std::ranges::transform(name, name.begin(),
                           [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return "PkWndFct = " + tomlString(name) + "\n";
}

std::string levelsText(const MeasurementArguments& arguments) {
    return std::string("x = \"log\"\ny = \"dB\"\n") +
           (isPressure(arguments) ? "reference = 2e-5\n" : "");
}

// How many data blocks come out at a place, and how far apart their lines are.
struct SpectraCount {
    std::int64_t count = 0;
    double step = 0;  // Hz
    void watch(Runner& runner, const ConnectorName& place) {
        runner.listen(place, [this](const ChannelData& data) {
            ++count;
            step = data.header.xStep * (data.header.xAxisKind == kKilohertz ? 1000 : 1);
        });
    }
    std::string text() const {
        constexpr int kStepDigits = 6;
        return tr(count == 1 ? words("%1 spectrum, lines every %2 Hz")
                             : words("%1 spectra, averaged, lines every %2 Hz"),
                  count, toText(step, kStepDigits));
    }
};

Bilingual same(const std::string& text) { return {text, text}; }

}  // namespace

// --- Spectrum -------------------------------------------------------------------------------

std::string spectrumDiagram(const SpectrumArguments& arguments, const RecordingFacts&) {
    constexpr int kUsual = 8192;
    if (arguments.peaks < 0) throw InputError(tr("--peaks must not be below 0"));
    return reportText(arguments) +
           sourceText("recording", arguments,
                      framesText(arguments, samplesOfBlock(arguments, kUsual))) +
           "\n[block.spectrum]\ntype = \"FFT\"\nPkAmplType = \"RMS\"\n" +
           windowText(arguments.window) +
           "PkWndCorrectTyp = \"amplitude\"\n\n[wire]\n\"spectrum.E\" = \"recording\"\n\n"
           "[sink.spectrum]\nfrom = \"spectrum.S\"\ncsv = \"spectrum.csv\"\nsvg = "
           "\"spectrum.svg\"\n"
           "title = \"Spectrum\"\naverage = \"power\"\n" +
           levelsText(arguments);
}

void measureSpectrum(const SpectrumArguments& arguments, std::ostream& out) {
    const std::string text = spectrumDiagram(arguments, factsOf(arguments));
    if (arguments.diagram) {
        out << text;
        return;
    }
    Measurement measurement("spectrum", text, arguments);
    DiagramJob& job = measurement.job();
    SpectraCount frames;
    frames.watch(job.runner(), {"spectrum", "S", {}});
    job.run();
    const std::vector<Series> spectra = job.sinks().front().series();
    const WindowShape shape(job.host(), moduleTypes(job.host()),
                            measurement.diagram().blocks.front());
    const double reference = measurement.diagram().sinks.front().reference;
    const std::string unit = spectra.front().quantity.levelText(reference);
    const std::vector<std::string> names = measurement.channelNames(spectra.size());
    TableRow row(measurement.tables());
    std::string peaksTable(measurement.tables().begin);
    row.addText("channel");
    row.addText(withUnit("f", "Hz"));
    row.addText(withUnit("level", unit));
    peaksTable += row.end();
    ReportTable peaks{
        .title = {"The highest peaks, between the lines",
                  "Die höchsten Spitzen, zwischen den Linien"},
        .columns = {{{"Channel", "Kanal"}},
                    {same("f [Hz]"), kLinesOfATone},
                    {{withUnit("level", unit), withUnit("Pegel", unit)}}},
        .note = {"From the FFT block: the lines. The host's own: overlap, average and "
                 "peaks.",
                 "Vom FFT-Baustein: die Linien. Vom Host: Überlappung, Mittel "
                 "und Spitzen."}};
    std::string shown;
    for (std::size_t c = 0; c < spectra.size(); ++c) {
        TextTable table({"f [Hz]", withUnit(tr("level"), unit)});
        for (const SpectralPeak& peak : findPeaks(spectra[c].y, frames.step, shape,
                                                  static_cast<std::size_t>(arguments.peaks))) {
            const double level = spectra[c].quantity.level(peak.value, reference);
            table.add({fixedText(peak.frequency, kLinesOfATone), fixedText(level)});
            peaks.rows.push_back({names[c], peak.frequency, level});
            row.addText(names[c]);
            row.addNumber(peak.frequency, kTableDigits);
            row.addNumber(level, kTableDigits);
            peaksTable += row.end();
        }
        shown += "\n" + tr("channel %1", printable(names[c])) + "\n" + table.text();
    }
    measurement.add("spectrum_peaks.csv", peaksTable);
    job.addTable(std::move(peaks));
    measurement.sayNotes(out);
    if (!arguments.quiet) {
        out << tr("%1; the highest peaks, between the lines", frames.text()) << '\n'
            << shown << '\n'
            << tr("from the FFT block: the lines; the host's own: overlap, average and peaks")
            << '\n';
    }
    measurement.commit(out);
}

// --- Bands ----------------------------------------------------------------------------------

std::string bandsDiagram(const BandsArguments& arguments, const RecordingFacts& facts) {
    if (arguments.weighting != "Z" && arguments.weighting != "A") {
        throw InputError(tr("--weighting %1: must be one of Z, A", arguments.weighting));
    }
    // Lines at most 2 Hz apart, where the recording is as long: the lowest third octave is 4 Hz
    // wide.
    constexpr int kShortest = 256;
    int usual = kShortest;
    while (usual < facts.rate / 2 && usual < 1 << 23 && 2 * std::int64_t{usual} <= facts.frames)
        usual *= 2;
    return reportText(arguments) +
           sourceText("recording", arguments,
                      framesText(arguments, samplesOfBlock(arguments, usual))) +
           "\n[block.spectrum]\ntype = \"FFT\"\nPkAmplType = \"RMS\"\nPkWndFct = \"HANNING\"\n"
           "PkWndCorrectTyp = \"energy\"\n\n[block.bands]\ntype = \"Terz_Oktav_Analyse\"\n"
           "PkAnalysis = \"" +
           (arguments.octaves ? "octaves" : "third octaves") + "\"\nPkAScaling = \"" +
           (arguments.weighting == "A" ? "on" : "off") +
           "\"\n\n[wire]\n\"spectrum.E\" = \"recording\"\n\"bands.E\" = \"spectrum.S\"\n\n"
           "[sink.bands]\nfrom = \"bands.A\"\ncsv = \"bands.csv\"\nsvg = \"bands.svg\"\n"
           "title = \"" +
           (arguments.octaves ? "Octave" : "Third-octave") + " levels" +
           (arguments.weighting == "A" ? ", A-weighted" : "") + "\"\naverage = \"power\"\n" +
           levelsText(arguments);
}

void measureBands(const BandsArguments& arguments, std::ostream& out) {
    const std::string text = bandsDiagram(arguments, factsOf(arguments));
    if (arguments.diagram) {
        out << text;
        return;
    }
    Measurement measurement("bands", text, arguments);
    DiagramJob& job = measurement.job();
    SpectraCount frames;
    frames.watch(job.runner(), {"spectrum", "S", {}});
    job.run();
    const std::vector<Series> bands = job.sinks().front().series();
    const double reference = measurement.diagram().sinks.front().reference;
    const std::vector<std::string> names = measurement.channelNames(bands.size());
    std::vector<std::string> head = {"f [Hz]"};
    for (const std::string& name : names)
        head.push_back(names.size() > 1 ? "L" + arguments.weighting + " " + name
                                        : "L" + arguments.weighting);
    TextTable table(head);
    std::vector<double> sums(bands.size());
    for (std::size_t band = 0; band < bands.front().x.size(); ++band) {
        std::vector<std::string> row = {bandName(bands.front().x[band])};
        for (std::size_t c = 0; c < bands.size(); ++c) {
            const double value = bands[c].y[band];
            row.push_back(fixedText(bands[c].quantity.level(value, reference)));
            if (!std::isnan(value)) sums[c] += value * value;
        }
        table.add(row);
    }
    std::vector<std::string> total = {tr("sum")};
    const std::string unit = bands.front().quantity.levelText(reference);
    ReportTable reported{
        .title = {"Sum of the bands", "Summe der Bänder"},
        .columns = {{{"Channel", "Kanal"}}, {same(withUnit("L" + arguments.weighting, unit))}},
        .note = {"From the FFT and the third-octave block: the bands. The host's "
                 "own: overlap, average and sum.",
                 "Vom FFT- und vom Terz-Baustein: die Bänder. Vom Host: "
                 "Überlappung, Mittel und Summe."}};
    for (std::size_t c = 0; c < bands.size(); ++c) {
        const double level = bands[c].quantity.level(std::sqrt(sums[c]), reference);
        total.push_back(fixedText(level));
        reported.rows.push_back({names[c], level});
    }
    table.add(total);
    job.addTable(std::move(reported));
    measurement.sayNotes(out);
    if (!arguments.quiet) {
        out << tr("%1; levels in %2", frames.text(), printable(unit)) << "\n\n"
            << table.text() << '\n'
            << tr("from the FFT and the third-octave block: the bands; the host's own: overlap, "
                  "average and sum")
            << '\n';
    }
    measurement.commit(out);
}

// --- Two channels ---------------------------------------------------------------------------

std::string transferDiagram(const TransferArguments& arguments, const RecordingFacts& facts) {
    constexpr int kUsual = 4096;
    if (!arguments.channels.empty()) {
        throw InputError(tr("--channels: transfer takes --excitation and --response"));
    }
    for (const auto& [option, channel] : {std::pair("--excitation ", arguments.excitation),
                                          std::pair("--response ", arguments.response)}) {
        if (channel >= 1 && channel <= facts.channels) continue;
        throw InputError(tr(facts.channels == 1 ? words("%1%2: %3 has %4 channel")
                                                : words("%1%2: %3 has %4 channels"),
                            option, channel, arguments.recording, facts.channels));
    }
    const std::string frames = framesText(arguments, samplesOfBlock(arguments, kUsual));
    const auto block = [&](const char* name, const char* estimator, const char* further) {
        return std::string("[block.") + name +
               "]\ntype = \"FFT zweier Zeitsignale\"\nPkCrossSpectr = \"transfer function\"\n"
               "PkTransFCTType = \"" +
               estimator + "\"\nPkAverageType = \"ARITHMETIC\"\n" + windowText(arguments.window) +
               further + "\n";
    };
    return reportText(arguments) +
           channelText("excitation", arguments, arguments.excitation, frames) + "\n" +
           channelText("response", arguments, arguments.response, frames) + "\n" +
           block("h1", "SPECTRUM H1", "PkTransPhase = \"on\"\nPkCoherence = \"on\"\n") +
           block("h2", "SPECTRUM H2", "") +
           "[wire]\n\"h1.E\" = \"excitation\"\n\"h1.A\" = \"response\"\n\"h2.E\" = \"excitation\"\n"
           "\"h2.A\" = \"response\"\n\n[sink.transfer]\nfrom = [\"h1.A\", \"h2.A\", \"h1.P\", "
           "\"h1.K\"]\ncsv = \"transfer.csv\"\nsvg = \"transfer.svg\"\n"
           "title = \"Transfer function, phase and coherence\"\naverage = \"last\"\nx = \"log\"\ny "
           "= \"dB\"\n";
}

void measureTransfer(const TransferArguments& arguments, std::ostream& out) {
    const std::string text = transferDiagram(arguments, factsOf(arguments));
    if (arguments.diagram) {
        out << text;
        return;
    }
    Measurement measurement("transfer", text, arguments);
    DiagramJob& job = measurement.job();
    SpectraCount frames;
    frames.watch(job.runner(), {"h1", "A", {}});
    job.run();
    const std::vector<Series> curves = job.sinks().front().series();
    const Series& h1 = curves.at(0);
    const Series& h2 = curves.at(1);
    const std::string unit = h1.quantity.levelText(1);
    TextTable table(
        {"f [Hz]", withUnit("H1", unit), withUnit("H2", unit), tr("phase [°]"), tr("coherence")});
    constexpr int kCoherenceDecimals = 4;
    constexpr int kPerDecade = 10;  // the lines nearest to the third octaves' exact centres
    std::size_t last = 0;
    for (int band = 0; !h1.x.empty(); ++band) {
        const double centre = std::pow(10.0, static_cast<double>(band) / kPerDecade);
        const double step = h1.x.size() > 1 ? h1.x[1] - h1.x[0] : 1;
        const auto line = static_cast<std::size_t>(std::llround(centre / step));
        if (line >= h1.x.size()) break;
        if (line == last) continue;
        last = line;
        table.add({fixedText(h1.x[line], kLinesOfATone),
                   fixedText(h1.quantity.level(h1.y[line], 1)),
                   fixedText(h2.quantity.level(h2.y[line], 1)), fixedText(curves.at(2).y[line]),
                   fixedText(curves.at(3).y[line], kCoherenceDecimals)});
    }
    measurement.sayNotes(out);
    if (!arguments.quiet) {
        out << tr("channel %1 over channel %2; %3; the lines nearest to the third octaves' centres",
                  arguments.response, arguments.excitation, frames.text())
            << "\n\n"
            << table.text() << '\n'
            << tr("from the FFT block of two signals: all values and their averages; the host's "
                  "own: overlap")
            << '\n';
    }
    measurement.commit(out);
}

}  // namespace vynhost
