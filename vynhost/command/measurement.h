// What the commands share that measure something in one recording: its scale, the diagram that they
// make of it, and how they run that.
#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include "vynhost/command/diagram_job.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/diagram/quantity.h"

namespace vynhost {

struct MeasurementArguments {
    std::string recording;
    std::string calibration = {};  // its file; none: the values are in what follows
    std::vector<double> fullScale = {};
    std::string unit = {};
    std::string sensitivity = {};
    std::string range = {};
    std::vector<int> channels = {};  // from 1; none: all
    std::string variable = {};       // of a file that holds several arrays
    double rate = 0;                 // of a file that says none; 0: it does

    std::string out = {};  // folder of the results; none: nothing is written
    std::string csv = "en";
    std::string report = {};   // its file; none: none
    std::string version = {};  // of the program
    double memory = 1;         // GiB
    bool diagram = false;      // prints the diagram instead of running it
    bool force = false;
    bool quiet = false;
    bool noProgress = false;
};

// What is known of a recording before it is read.
struct RecordingFacts {
    double rate = 0;
    std::int64_t frames = 0;
    int channels = 0;
};
// Raises InputError.
RecordingFacts factsOf(const MeasurementArguments& arguments);

// Bytes; raises InputError for what is no such amount.
std::uint64_t memoryOf(double gibibytes);

// "1", "1s", "125 ms", "2min", "1h", in seconds. Raises InputError, which names the option.
double secondsOf(const std::string& text, const char* option);

// What asks for the report, if there is one; a diagram begins with it.
std::string reportText(const MeasurementArguments& arguments);
// Keys and values of a diagram, as text; numbers read back as they are: a source of this recording
// and scale, with further lines.
std::string sourceText(const std::string& name, const MeasurementArguments& arguments,
                       const std::string& lines);
// The same of one of its channels.
std::string channelText(const std::string& name, const MeasurementArguments& arguments, int channel,
                        const std::string& lines);

// Of values in tables: a millionth of a decibel.
inline constexpr int kTableDigits = 9;
// "31.5", "16k"
std::string bandName(double centre);
// Whether the options say that it is sound pressure, whose levels are over 20 uPa.
bool isPressure(const MeasurementArguments& arguments);

// The reference of levels of such a signal: 20 uPa of a sound pressure, else 1.
double referenceOf(const Quantity& signal);

// A diagram that a command has made, on its way.
class Measurement {
public:
    // `command` is what the user calls it. Raises RunError.
    Measurement(const std::string& command, const std::string& diagram,
                const MeasurementArguments& arguments);

    DiagramJob& job() noexcept { return *job_; }
    const Diagram& diagram() const noexcept { return diagram_; }
    bool writes() const noexcept { return writes_; }
    const TableStyle& tables() const { return tableStyleNamed(arguments_.csv); }
    // A further table; nothing where nothing is written.
    void add(const std::string& name, const std::string& content);
    // Rows that a report shows; of more it names the file that has them.
    static constexpr std::size_t kMostReportRows = 5000;
    // What the values at a place are, and their channels' names: "1", or the recording's own.
    const Quantity& quantity() const;
    std::vector<std::string> channelNames(std::size_t channels) const;

    // What the runner has to say, in lines, but not of these sources and blocks.
    void sayNotes(std::ostream& out, std::span<const std::string> silent = {}) const;
    // The files get their names; says which.
    void commit(std::ostream& out);

private:
    MeasurementArguments arguments_;
    Diagram diagram_;
    bool writes_;
    std::unique_ptr<DiagramJob> job_;
};

}  // namespace vynhost
