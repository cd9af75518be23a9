// A diagram file: sources, blocks, wires, sinks and comparisons, as written in TOML.
//
//     report = "speech.html"       # everything on one page, for a browser
//
//     [source.speech]
//     file = "speech.wav"          # WAV, CSV, and what libsndfile reads
//     block = 4096                 # samples per channel in one data block
//     step = 2048                  # from one data block to the next; they overlap
//     blocks = 100                 # so many data blocks at most
//     full_scale = 20.0            # value of digital full scale, in the unit; a list: per channel
//     unit = "Pa"
//     calibration = "cal.toml"     # instead of both: what `vynhost calibrate` has written
//     sensitivity = "50 mV/Pa"     # instead of both: of the sensor, a list: per channel;
//     range = "10 V"               # and what digital full scale is at the input
//     channels = [1]               # from 1; all when missing
//     start = 2.5                  # s; from where on, and how much of it
//     length = 10.0
//     tail = "keep"                # what becomes of a last short block: keep, drop or pad (with
//     0);
//                                  # when missing, it is in everything but spectra
//     variable = "run3/mic"        # of a MAT or HDF5 file that holds several arrays
//     rows = "channels"            # of such an array; samples when missing
//     on_truncated = "use"         # a recording that ends before its head says so: error or use
//     noise = { rms = 0.01, seed = 1 }  # white noise on top, in the unit
//
//     [source.stream]
//     file = "-"                   # standard input, or a file without a head
//     format = "s16"               # u8, s16, s24, s32, f32, f64, alaw, ulaw; little-endian
//     channels = 2                 # that there are; 1 when missing
//     rate = 48000.0
//
//     [source.noise]
//     noise = { rms = 1.0, seed = 2 }  # noise alone
//     rate = 48000.0               # samples per second
//     seconds = 10.0
//
//     [block.spectrum]
//     type = "FFT"                 # name, class or code
//     PkWndFct = "HANNING"         # the block's keywords
//     record = "38000000 94010000"  # a parameter record in hexadecimal digits; the keywords apply
//                                   # on top of it
//
//     [wire]
//     "spectrum.E" = "speech"      # input = source or output; letters of the connector strings
//
//     [sink.spectrum]
//     from = "spectrum.S"          # one, or a list
//     csv = "spectrum.csv"         # the same as jsonl, npy, npz, mat, hdf5, xlsx; signals also as
//     wav svg = "spectrum.svg" average = "power"            # over the data blocks of spectra:
//     none, mean, power or last x = "log"                    # linear or log y = "dB" # linear or
//     dB (re `reference`)
//
//     [compare.round_trip]
//     of = "back.A"
//     with = "speech"
//     tolerance = 1e-4             # of the reference's peak; optional
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "vynhost/base/errors.h"

namespace vynhost {

// "name" of a source, or "name.letter" of a block's connector.
struct ConnectorName {
    std::string node;
    std::string letter;
    Place place;

    std::string text() const { return letter.empty() ? node : node + "." + letter; }
};

// `automatic` keeps it everywhere but in spectra.
enum class Tail { automatic, keep, drop, pad };

struct NoiseEntry {
    double rms = 0;  // after the scaling
    std::uint64_t seed = 1;
};

struct SourceEntry {
    std::string name;
    Place place = {};
    std::filesystem::path file;  // empty: noise alone; "-": standard input
    Place filePlace;
    int block = 4096;
    int step = 0;  // from one data block to the next, if they overlap
    Place stepPlace = {};
    std::int64_t mostBlocks = 0;          // 0: as many as there are
    std::vector<double> fullScale = {1};  // one for all, or one per chosen channel
    Place fullScalePlace = {};
    std::filesystem::path calibration = {};  // empty: the full scale holds
    Place calibrationPlace = {};
    std::string unit;
    std::vector<int> channels;  // from 1
    Place channelsPlace;
    std::optional<double> rate;  // of a CSV file without x column, and of noise alone
    std::optional<NoiseEntry> noise = {};
    double seconds = 0;  // of noise alone
    Tail tail = Tail::automatic;
    bool usesTruncated = false;  // a recording that ends before its head says so
    std::string format = {};     // of raw samples; empty: the file has a head
    Place formatPlace = {};
    int rawChannels = 1;               // that raw samples are of
    std::string variable = {};         // of a file that holds several arrays
    bool rowsAreChannels = false;      // of such an array
    std::optional<double> start = {};  // s; from where on the recording is taken
    Place startPlace = {};
    std::optional<double> length = {};  // s; how much of it
    Place lengthPlace = {};

    bool overlaps() const noexcept { return step != 0; }
};

struct Setting {
    std::string keyword;
    std::variant<std::int64_t, double, std::string> value;
    Place place = {};
};

struct BlockEntry {
    std::string name;
    std::string type;
    Place place;
    Place typePlace;
    std::optional<std::string> record = {};  // its bytes
    Place recordPlace;
    std::vector<Setting> settings;  // in the order of the file
};

struct WireEntry {
    ConnectorName to;
    ConnectorName from;
};

// What a sink's table may be written as.
enum class TableKind { csv, json, npy, npz, mat, hdf5, wav, xlsx };

// The key of a sink that names such a file.
const char* keyOf(TableKind kind);

struct TableEntry {
    TableKind kind;
    std::string file;
};

enum class Average { none, mean, power, last };

struct SinkEntry {
    std::string name;
    std::vector<ConnectorName> from;
    std::string csv;
    std::vector<TableEntry> tables = {};  // the same in other formats
    std::string svg;
    std::string title;
    std::vector<std::string> values;  // of named quantities; none: all
    Place valuesPlace;
    Average average = Average::none;
    bool logX = false;
    bool decibels = false;
    double reference = 1;
    Place place;
    bool inReport = false;  // what it shows stands in the report, too

    bool hasTable() const noexcept { return !csv.empty() || !tables.empty(); }
};

struct CompareEntry {
    std::string name;
    ConnectorName of;
    ConnectorName with;
    std::optional<double> tolerance;
};

struct Diagram {
    std::filesystem::path file;
    std::string text;  // that it was read from
    std::vector<SourceEntry> sources;
    std::vector<BlockEntry> blocks;
    std::vector<WireEntry> wires;
    std::vector<SinkEntry> sinks;
    std::vector<CompareEntry> comparisons;
    std::string report;  // its file; empty: none
    Place reportPlace;
};

// Raises InputError for what is no diagram. Names of types, keywords and connectors are looked at
// later, when the module is there.
Diagram readDiagram(const std::filesystem::path& file);
// The same from a file's text.
Diagram parseDiagram(const std::string& text, const std::filesystem::path& file);

// Asks for a report of this name, in which every sink has a part.
void askForReport(Diagram& diagram, const std::string& file, const Place& place);

// Raises InputError for a diagram from which nothing would come: an empty one, one without sinks
// and comparisons, or with a sink that shows nothing.
void requireResults(const Diagram& diagram);

}  // namespace vynhost
