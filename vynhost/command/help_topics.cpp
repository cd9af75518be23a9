#include "vynhost/command/help_topics.h"

#include "vynhost/base/messages.h"

namespace vynhost {

const std::string_view kDiagramTopic = "diagram";

namespace {

constexpr HelpPart paragraph(std::string_view text) {
    return {HelpPart::Kind::paragraph, "", text};
}
constexpr HelpPart heading(std::string_view term) { return {HelpPart::Kind::heading, term, ""}; }
constexpr HelpPart item(std::string_view term, std::string_view text) {
    return {HelpPart::Kind::item, term, text};
}
constexpr HelpPart example(std::string_view text) { return {HelpPart::Kind::example, "", text}; }

constexpr HelpPart kDiagram[] = {
    paragraph(
        words("A diagram is a TOML file: where data comes from, which blocks work on it, how "
              "they are wired, and what is to be written. Its tables have a name of the user's "
              "choice behind the point. vynhost skeleton prints a diagram that runs.")),
    heading("[source.NAME]"),
    paragraph(words("A recording, or noise.")),
    item("file", words("the recording, relative to the diagram; \"-\" is standard input")),
    item("block", words("samples per channel in one data block")),
    item(
        "step, blocks",
        words("samples from one data block to the next, where they overlap (for spectra); how many "
              "data blocks there are at most")),
    item("full_scale, unit",
         words("the value of digital full scale (a list: per channel), and its unit")),
    item("calibration", words("instead of the two: a file that vynhost calibrate has written")),
    item("sensitivity, range",
         words("instead of the two: the sensor's sensitivity (\"50 mV/Pa\"), and what digital full "
               "scale is at the input (\"10 V\"); lists: per channel")),
    item("channels", words("which channels, from 1; all when it is missing")),
    item("rate", words("the sample rate of a CSV file without x column, of an array that says "
                       "none, or of noise alone")),
    item("start, length", words("which part of the recording, in seconds")),
    item("format", words("of samples without a head: u8, s16, s24, s32, f32, f64, alaw or ulaw; "
                         "channels is their number then")),
    item("variable, rows", words("which array of a MAT or HDF5 file that holds several; what its "
                                 "rows are: samples or channels")),
    item("tail", words("what becomes of a last short block: keep, drop or pad")),
    item("on_truncated", words("\"use\" takes what there is of a truncated recording")),
    item("noise = { rms, seed }",
         words("white noise on top of the recording, or alone (seconds says how long)")),
    heading("[block.NAME]"),
    paragraph(words("A block at work.")),
    item("type", words("its name, class or code, as vynhost list shows them")),
    item("record", words("a saved parameter record, in hexadecimal digits")),
    paragraph(words("Every other key is one of the block's keywords. A value is read back after it "
                    "has been set; what the block does not take is an error with file, line and "
                    "key.")),
    heading("[wire]"),
    item("\"BLOCK.INPUT\" = \"SOURCE\", \"BLOCK.INPUT\" = \"BLOCK.OUTPUT\"",
         words("with the letters of the block's connectors")),
    heading("[sink.NAME]"),
    paragraph(words("What is written.")),
    item("from", words("a source or an output, or a list")),
    item("csv, jsonl, npy, npz, mat, hdf5, wav, xlsx",
         words("the names of the table, in one format or several")),
    item("svg", words("the name of the picture")),
    item("title, x, y, reference",
         words("the picture's title, its axes (linear, log, dB) and the value of 0 dB")),
    item("average", words("over the data blocks of spectra: none, mean, power or last")),
    item("values", words("which of the named quantities; all when it is missing")),
    heading("[compare.NAME]"),
    item("of, with, tolerance",
         words("how far two signals may differ, as a share of the reference's peak")),
    heading("report = \"FILE\""),
    paragraph(words("Above the tables: one page with everything, for a browser.")),
    example("[source.noise]\n"
            "noise = { rms = 1.0, seed = 1 }\n"
            "rate = 48000.0\n"
            "seconds = 5.0\n"
            "block = 4096\n"
            "\n"
            "[block.spectrum]\n"
            "type = \"FFT\"\n"
            "PkWndFct = \"HANNING\"\n"
            "\n"
            "[wire]\n"
            "\"spectrum.E\" = \"noise\"\n"
            "\n"
            "[sink.spectrum]\n"
            "from = \"spectrum.S\"\n"
            "csv = \"spectrum.csv\"\n"
            "average = \"power\"\n"),
};

constexpr HelpPart kKeywords[] = {
    paragraph(
        words("A block's settings are keywords, which a diagram writes with a number, a name or "
              "a text. Names stand for the numbers that the block knows: both are taken. What a "
              "keyword does not name keeps the value of a new block.")),
    item("vynhost list", words("all blocks with their keywords and what they take")),
    item("vynhost list TYPE", words("what each keyword of one type means")),
    item("vynhost help TYPE", words("the same")),
};

constexpr HelpPart kFormats[] = {
    item("WAV, RF64",
         words("recordings of 8 to 32 bits, float32 and float64, A-law and mu-law, of any length")),
    item("FLAC, CAF, AIFF, ...",
         words("where the system's library for audio files reads them; not on Windows")),
    item("CSV",
         words("recordings with an x column or a rate, with points or decimal commas; tables "
               "with a head, columns with their units (--csv en or de)")),
    item("npy, npz", words("arrays of numpy, as recordings and as tables")),
    item("mat", words("MAT-files of version 5 to 7, as recordings and as tables")),
    item("hdf5", words("arrays of an HDF5 file (and of a MAT-file of version 7.3), where its "
                       "library is installed; not on Windows")),
    item("jsonl", words("tables with an object per row")),
    item("wav", words("signals over time, whose values are the numbers themselves")),
    item("xlsx", words("workbooks, where libxlsxwriter is installed; not on Windows")),
    item("svg", words("pictures")),
    item("html", words("reports, which need nothing but a browser")),
};

constexpr HelpPart kCalibration[] = {
    paragraph(words("What a recorded value is in its unit is said in one of three ways:")),
    item("calibration",
         words("a file that vynhost calibrate has written, from a recording of a sound calibrator: "
               "the scale of each channel in Pa")),
    item("sensitivity, range", words("of the sensor and of the input: \"50 mV/Pa\" and \"10 V\"")),
    item("full_scale, unit", words("the value of digital full scale as a number")),
    paragraph(words("Without any of them levels are relative to digital full scale, and say so.")),
    example("vynhost calibrate cal.wav --level 94\n"
            "vynhost level street.wav --calibration cal.toml\n"),
};

constexpr HelpPart kBatch[] = {
    paragraph(
        words("vynhost run --each runs a diagram once for each recording, in processes side by "
              "side. Each run has a folder of its own; summary.csv has a row for each. One that "
              "fails stops no other.")),
    example("vynhost run d.toml --each mic=\"day/*.wav\" --out \"results/{name}\" --resume\n"),
};

constexpr HelpPart kExitCodes[] = {
    item("0", words("done")),
    item("1",
         words("a comparison missed its tolerance; a recording is no calibrator's tone, or one "
               "of several failed; a validated module does not hold what it must")),
    item("2", words("something to mend in the command line, the diagram, a recording or a file's "
                    "permissions")),
    item("4", words("the module or the analysis library cannot be used")),
    item("5", words("a block reported an error")),
    item("6", words("data waits and no block takes it")),
    item("130", words("interrupted; no file is written")),
};

constexpr HelpPart kEnvironment[] = {
    item(
        "LC_ALL, LC_MESSAGES, LANG",
        words("the language of what is said, where --lang does not say it: German (de) or English. "
              "On Windows it is the user's language. Tables and pictures are the same in any")),
    item("OVSHAREDDIR64",
         words(
             "the shared directory, below which the module looks for the analysis library. When it "
             "is not set, vynhost names the folder of the module itself. On Windows it is a value "
             "of the registry")),
};

constexpr HelpPart kFiles[] = {
    item("/usr/lib/vynpack", words("the module, and the library in the folder Analysis beside it")),
    item("/usr/share/doc/vynpack/examples", words("diagrams to begin with")),
    item("/usr/share/doc/vynpack/docs",
         words("pages on every block, on the host and on the installation")),
};

constexpr HelpTopic kTopics[] = {
    {"diagram", words("DIAGRAMS"), words("what a diagram may hold"), kDiagram},
    {"keywords", words("KEYWORDS"), words("how blocks are set up"), kKeywords},
    {"formats", words("FORMATS"), words("what is read and written"), kFormats},
    {"calibration", words("CALIBRATION"), words("how values get their unit"), kCalibration},
    {"batch", words("MANY RECORDINGS"), words("one diagram over many recordings"), kBatch},
    {"exit-codes", words("EXIT STATUS"), words("what the program ends with"), kExitCodes},
    {"environment", words("ENVIRONMENT"), words("what of the surroundings counts"), kEnvironment},
    {"files", words("FILES"), words("where the packages put things"), kFiles},
};

}  // namespace

std::span<const HelpTopic> helpTopics() { return kTopics; }

}  // namespace vynhost
