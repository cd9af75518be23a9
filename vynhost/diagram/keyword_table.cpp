#include "vynhost/diagram/keyword_table.h"

#include <algorithm>
#include <cmath>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"

namespace vynhost {
namespace {

using enum ValueType;

constexpr NumberRange kAny{};
constexpr NumberRange kAboveZero{.least = 0, .above = true};
constexpr NumberRange kCount{.least = 1, .most = std::numeric_limits<std::int32_t>::max()};

constexpr NamedChoice kSwitch[] = {{"off", 0}, {"on", 1}};

// --- 5000 Klassierung -----------------------------------------------------------------------

constexpr NamedChoice kClassModes[] = {{"automatic", 1}, {"manual", 2}};
constexpr NamedChoice kResets[] = {
    {"never", 1},
    {"trigger", 2, words("after a data block at T with a value above the trigger level")},
    {"count", 3, words("after a number of data blocks")},
};
constexpr NamedChoice kCalculations[] = {
    {"relative", 1, words("percent of the channel's total")},
    {"absolute", 2, words("counts, or seconds")},
};
constexpr NamedChoice kMethods[] = {
    {"samples", 1, words("Stichprobe: how many samples lie in each class")},
    {"dwell time", 2, words("Verweildauer: how long the signal stays in each class")},
    {"level crossings", 3,
     words("Klassendurchgang: how often each class's lower limit is crossed")},
    {.name = "peaks 1", .number = 4, .says = words("Spitzenwertverfahren1"), .writable = false},
    {.name = "peaks 2", .number = 5, .says = words("Spitzenwertverfahren2"), .writable = false},
    {.name = "peaks 3", .number = 6, .says = words("Spitzenwertverfahren3"), .writable = false},
};

constexpr KeywordMeaning kClassification[] = {
    {.name = "PkMode",
     .type = integer,
     .says = words("whether the dialog offers the class limits; nothing is computed from it"),
     .choices = kClassModes,
     .initial = "automatic"},
    {.name = "PkNumber",
     .type = integer,
     .says = words("number of classes; the width follows"),
     .range = {.least = 1, .most = 9999999},
     .initial = 20},
    {.name = "PkBegin",
     .type = real,
     .says = words("lower limit of the first class; the width follows"),
     .range = kAny,
     .initial = -10.0},
    {.name = "PkEnd",
     .type = real,
     .says = words("upper limit of the last class; the width follows"),
     .range = kAny,
     .initial = 10.0},
    {.name = "PkWidth",
     .type = real,
     .says = words("width of a class; number and end follow"),
     .range = kAboveZero,
     .initial = 1.0},
    {.name = "PkRange",
     .type = real,
     .says = words("all classes together; width and end follow"),
     .range = kAboveZero,
     .initial = 20.0},
    {.name = "PkReset",
     .type = integer,
     .says = words("when counting starts anew"),
     .choices = kResets,
     .initial = "never"},
    {.name = "PkNBlocks",
     .type = integer,
     .says = words("data blocks between resets by count"),
     .range = kCount,
     .initial = 1},
    {.name = "PkCalcMode",
     .type = integer,
     .says = words("what a class's value is"),
     .choices = kCalculations,
     .initial = "relative"},
    {.name = "PkRefline",
     .type = real,
     .says = words("reference line: crossings are counted upwards above it, downwards below it"),
     .range = kAny,
     .initial = 0.0},
    {.name = "PkHyst",
     .type = real,
     .says = words("hysteresis, of the class width"),
     .unit = "%",
     .range = {.least = 0, .most = 100},
     .initial = 0.0},
    {.name = "PkMethod",
     .type = integer,
     .says = words("what is counted"),
     .choices = kMethods,
     .initial = "samples",
     .note = words(
         "the three peak methods read back as 4, 5 and 6; only the dialog or a parameter record "
         "chooses them")},
};

constexpr KeywordRule kClassificationRules[] = {
    {{"PkBegin", "PkEnd", "PkRange", "PkWidth"},
     words("the class begin lies below the class end"),
     false,
     [](const KeywordValues& v, double) { return v.number("PkBegin") < v.number("PkEnd"); }},
};

// --- 5001 Terz_Oktav_Analyse ----------------------------------------------------------------

constexpr NamedChoice kAnalyses[] = {{"third octaves", 1}, {"octaves", 2}};

constexpr KeywordMeaning kBands[] = {
    {.name = "PkAnalysis",
     .type = integer,
     .says = words("which bands"),
     .choices = kAnalyses,
     .initial = "third octaves"},
    {.name = "PkAScaling",
     .type = integer,
     .says = words("A-weights the bands"),
     .choices = kSwitch,
     .initial = "off"},
};

// --- 5002 Statistik -------------------------------------------------------------------------

constexpr KeywordMeaning measure(std::string_view name, std::string_view says,
                                 WrittenValue example = {}) {
    return {.name = name,
            .type = integer,
            .says = says,
            .choices = kSwitch,
            .initial = "off",
            .example = example};
}

constexpr NamedChoice kStatisticOutputs[] = {
    {"one output", 1},
    {"an output per measure", 2, words("outputs 1, 2, ... in the order of this table")},
};

constexpr KeywordMeaning kStatistics[] = {
    measure("PkSumBlock", words("sum of the samples of a data block")),
    measure("PkSumAll", words("sum of all samples of the run")),
    measure("PkQSum", words("sum of the squared samples")),
    measure("PkYMax", words("largest sample"), "on"),
    measure("PkXonYMax", words("x of the largest sample")),
    measure("PkYMin", words("smallest sample"), "on"),
    measure("PkXonYMin", words("x of the smallest sample")),
    measure("PkXMax", words("x behind the last sample")),
    measure("PkYonXMax", words("last sample")),
    measure("PkXMin", words("x of the first sample")),
    measure("PkYonXMin", words("first sample")),
    measure("PkAMean", words("arithmetic mean")),
    measure("PkQMean", words("root mean square"), "on"),
    measure("PkGMean", words("geometric mean; 0 with a sample that is not above 0")),
    measure("PkHMean", words("harmonic mean; 0 with a sample of 0")),
    measure("PkSpannw", words("largest less smallest sample")),
    measure("PkStdAbw", words("standard deviation")),
    measure("PkVarianz", words("variance")),
    measure("PkVarKoeff", words("coefficient of variation: standard deviation over mean")),
    measure("PkVarKoRel", words("coefficient of variation over the root of n - 1, in percent")),
    measure("PkMAAVMW", words("mean distance from the mean")),
    {.name = "PkAllOn",
     .type = integer,
     .says = words("all measures at once; what follows it in the diagram still counts"),
     .choices = kSwitch,
     .note = words("reads back as 0 whatever was written"),
     .readsBack = false},
    {.name = "PkOutMode",
     .type = integer,
     .says = words("how the measures leave the block"),
     .choices = kStatisticOutputs,
     .initial = "one output"},
};

bool selectsAMeasure(const KeywordValues& values, double) {
    return std::ranges::any_of(kStatistics, [&](const KeywordMeaning& keyword) {
        return keyword.readsBack && keyword.name != "PkOutMode" && values.is(keyword.name, "on");
    });
}

constexpr KeywordRule kStatisticsRules[] = {
    {{"PkAllOn"}, words("at least one measure must be on"), false, selectsAMeasure},
};

// --- 5003 Mittelwert ------------------------------------------------------------------------

constexpr NamedChoice kAverageModes[] = {
    {"reduction", 1, words("the mean of every R samples")},
    {"moving average", 2, words("the mean of the last N samples")},
    {"data blocks", 3, words("the mean of data blocks, value by value")},
};
constexpr NamedChoice kAverageOutputs[] = {
    {"every block", 0, words("a result with every data block")},
    {"at a reset", 1, words("with reset by trigger or count: the finished averages only")},
};
// The counts are stored in 16 bits.
constexpr NumberRange kSampleCount{.least = 1, .most = std::numeric_limits<std::uint16_t>::max()};

constexpr KeywordMeaning kAveraging[] = {
    {.name = "PkMode",
     .type = integer,
     .says = words("what is averaged"),
     .choices = kAverageModes,
     .initial = "reduction"},
    {.name = "PkReduceVal",
     .type = integer,
     .says = words("R of the reduction, at most the values of a data block"),
     .unit = "samples",
     .range = kSampleCount,
     .initial = 10},
    {.name = "PkSmoothNVal",
     .type = integer,
     .says = words("N of the moving average, at most the values of a data block"),
     .unit = "samples",
     .range = kSampleCount,
     .initial = 7},
    {.name = "PkWFactor",
     .type = real,
     .says = words("weight of the data blocks before: 1 the plain mean, 0 the last block alone"),
     .range = {.least = 0, .most = 1},
     .initial = 1.0},
    {.name = "PkResetMode",
     .type = integer,
     .says = words("when an average of data blocks starts anew"),
     .choices = kResets,
     .initial = "never"},
    {.name = "PkResNBlocks",
     .type = integer,
     .says = words("data blocks between resets by count"),
     .range = kCount,
     .initial = 1},
    {.name = "PkOutMode",
     .type = integer,
     .says = words("which averages of data blocks are put out"),
     .choices = kAverageOutputs,
     .initial = "at a reset"},
};

// --- 5004 FFT, 5006 FFT zweier Zeitsignale --------------------------------------------------

constexpr NamedChoice kAmplitudeTypes[] = {
    {.name = "PEAK", .says = words("amplitude of a tone")},
    {.name = "RMS", .says = words("root mean square of a tone")},
    {.name = "POWERSPECTRUM", .says = words("mean square of a tone")},
    {.name = "PSD",
     .says = words("power density: mean square per Hz"),
     .readsText = "POWERSPECTRUMDENSITY"},
    {.name = "AUTOSPECTRUM", .says = words("squared amplitude")},
    {.name = "CEPSTRUM", .says = words("power of the spectrum's logarithm")},
    {.name = "REALIMAGINAER", .says = words("real and imaginary part, at R and I")},
};
constexpr NamedChoice kWindows[] = {
    {.name = "RECTANGLE"}, {.name = "HANNING"},     {.name = "HAMMING"},   {.name = "BLACKMAN"},
    {.name = "FLATTOP"},   {.name = "KAISER"},      {.name = "COS10PERC"}, {.name = "WELCH"},
    {.name = "PARZEN"},    {.name = "BARTLETT"},    {.name = "VALLEE"},    {.name = "CAUCHY"},
    {.name = "GAUSS"},     {.name = "EXPONENTIAL"}, {.name = "RIEMANN"},
};
constexpr std::string_view kEnergySays =
    words("for random signals: levels and bands keep their power");
constexpr std::string_view kAmplitudeSays = words("for tones: a line reads the tone's amplitude");
constexpr NamedChoice kCorrections[] = {
    {.name = "none", .number = 0, .reads = 1},
    {.name = "energy", .number = 1, .says = kEnergySays, .reads = 2},
    {.name = "amplitude", .number = 2, .says = kAmplitudeSays, .reads = 3},
};
constexpr NamedChoice kDualCorrections[] = {
    {"none", 0},
    {"energy", 1, kEnergySays},
    {"amplitude", 2, kAmplitudeSays},
};
constexpr std::string_view kWindowSays = words("window function, before the transform");
constexpr std::string_view kWindowNote = words(
    "a new block has no window, which no keyword writes and which computes what RECTANGLE does");
constexpr std::string_view kCorrectionSays = words("what makes up for the window's attenuation");
constexpr std::string_view kParameterSays =
    words("shape of the windows KAISER, CAUCHY, GAUSS and EXPONENTIAL");
constexpr NumberRange kWindowParameter{.least = 0, .most = 100};

constexpr KeywordMeaning kSpectrum[] = {
    {.name = "PkAmplType",
     .type = text,
     .says = words("what a line's value is"),
     .choices = kAmplitudeTypes,
     .initial = "PEAK",
     .example = "RMS",
     .note = words("PSD reads back as POWERSPECTRUMDENSITY")},
    {.name = "PkWndFct",
     .type = text,
     .says = kWindowSays,
     .choices = kWindows,
     .example = "HANNING",
     .note = kWindowNote},
    {.name = "PkWndCorrectTyp",
     .type = integer,
     .says = kCorrectionSays,
     .choices = kCorrections,
     .initial = "none",
     .example = "amplitude",
     .note = words("reads back one higher than it is written: 1, 2, 3")},
    {.name = "PkWndPara",
     .type = real,
     .says = kParameterSays,
     .range = kWindowParameter,
     .initial = 10.0},
    {.name = "PkPhase",
     .type = integer,
     .says = words("puts the phases out, at P"),
     .choices = kSwitch,
     .initial = "off"},
};

constexpr NamedChoice kTransferTypes[] = {
    {.name = "SPECTRUM H0", .says = words("quotient of the spectra")},
    {.name = "SPECTRUM H1", .says = words("noise on the response averages out")},
    {.name = "SPECTRUM H2", .says = words("noise on the excitation averages out")},
};
constexpr NamedChoice kQuantities[] = {
    {.name = "cross spectrum", .number = 0, .reads = 1},
    {.name = "transfer function", .number = 1, .reads = 2},
};
constexpr NamedChoice kAverageTypes[] = {
    {.name = "NO", .says = words("every data block by itself")},
    {.name = "ARITHMETIC", .says = words("the mean")},
    {.name = "EXPONENTIAL", .says = words("1/n of the past and the rest of the new block")},
    {.name = "PEAKMIN", .says = words("the smallest")},
    {.name = "PEAKMAX", .says = words("the largest")},
    {.name = "MINMAXAVERAGE", .says = words("weighted, see PkAvgFactor")},
    {.name = "PEAKMINMAX", .says = words("the same as ARITHMETIC")},
};
constexpr NamedChoice kAverageSources[] = {
    {"amplitude", 0, words("the values that go out")},
    {"power", 1, words("the cepstrum's power, before its conversion")},
};
constexpr NamedChoice kDualResets[] = {
    {"never", 0},
    {"trigger", 1, words("after a data block at T with a value above 2.4")},
    {"count", 2, words("after a number of data blocks")},
};
constexpr std::string_view kNoReadNote = words("reads back as one byte without meaning");

constexpr KeywordMeaning kDualSpectrum[] = {
    {.name = "PkOutChnMode",
     .type = integer,
     .says = words("kept with the parameters, without effect"),
     .range = {.least = 0, .most = std::numeric_limits<std::int16_t>::max()},
     .initial = 1143},
    {.name = "PkAmplType",
     .type = text,
     .says = words("what a line's value is"),
     .choices = kAmplitudeTypes,
     .initial = "PEAK",
     .note = kNoReadNote,
     .readsBack = false},
    {.name = "PkTransPhase",
     .type = integer,
     .says = words("puts the phases out, at P"),
     .choices = kSwitch,
     .initial = "off"},
    {.name = "PkCoherence",
     .type = integer,
     .says = words("puts the coherence out, at K"),
     .choices = kSwitch,
     .initial = "off",
     .example = "on"},
    {.name = "PkTransFCTType",
     .type = text,
     .says = words("which transfer function"),
     .choices = kTransferTypes,
     .initial = "SPECTRUM H0",
     .example = "SPECTRUM H1",
     .note = kNoReadNote,
     .readsBack = false},
    {.name = "PkCrossSpectr",
     .type = integer,
     .says = words("what is computed"),
     .choices = kQuantities,
     .initial = "cross spectrum",
     .example = "transfer function",
     .note = words("reads back one higher than it is written: 1, 2")},
    {.name = "PkAverageType",
     .type = text,
     .says = words("how data blocks are averaged"),
     .choices = kAverageTypes,
     .initial = "NO",
     .example = "ARITHMETIC",
     .note = kNoReadNote,
     .readsBack = false},
    {.name = "PkAverageSource",
     .type = integer,
     .says = words("what is averaged"),
     .choices = kAverageSources,
     .initial = "amplitude",
     .note = words("power averages with PkAverageType NO too")},
    {.name = "PkWndFct",
     .type = text,
     .says = kWindowSays,
     .choices = kWindows,
     .example = "HANNING",
     .note = words(
         "reads back as one byte without meaning; a new block has no window, which no keyword "
         "writes and which computes what RECTANGLE does"),
     .readsBack = false},
    {.name = "PkWndCorrectTyp",
     .type = integer,
     .says = kCorrectionSays,
     .choices = kDualCorrections,
     .initial = "none"},
    {.name = "PkWndPara",
     .type = real,
     .says = kParameterSays,
     .range = kWindowParameter,
     .initial = 10.0},
    {.name = "PkResetMode",
     .type = integer,
     .says = words("when an average starts anew"),
     .choices = kDualResets,
     .initial = "never"},
    {.name = "PkResetCount",
     .type = integer,
     .says = words("data blocks between resets by count"),
     .range = kCount,
     .initial = 10},
    {.name = "PkDataOnReset",
     .type = integer,
     .says = words("with averages and resets: puts the finished averages out only"),
     .choices = kSwitch,
     .initial = "off"},
    {.name = "PkAvgFactor",
     .type = real,
     .says =
         words("of MINMAXAVERAGE: what the past's weight is multiplied by after every data block"),
     .range = {.least = 0, .most = 1},
     .initial = 1.0},
};

// --- 5007 Digitale Filter -------------------------------------------------------------------

constexpr NamedChoice kFilterKinds[] = {{"IIR", 0, words("recursive")},
                                        {"FIR", 1, words("window method")}};
constexpr NamedChoice kFilterModes[] = {
    {"low pass", 0}, {"high pass", 1}, {"band pass", 2}, {"band stop", 3}};
constexpr NamedChoice kFirWindows[] = {
    {"rectangular", 0}, {"triangular", 1}, {"Hanning", 2}, {"Hamming", 3}, {"Blackman", 4}};
constexpr NamedChoice kCharacteristics[] = {
    {"Butterworth", 0}, {"Chebyshev", 1}, {"elliptic", 2}, {"inverse Chebyshev", 3}, {"Bessel", 4}};
// Behind these bounds nothing is left to filter: rounding alone lies 300 dB below full scale.
constexpr NumberRange kRipple{.least = 0, .most = 100, .above = true};
constexpr NumberRange kAttenuation{.least = 0, .most = 300, .above = true};
constexpr double kMostBesselOrder = 25;

constexpr KeywordMeaning kFilter[] = {
    {.name = "PkFIRFilter",
     .type = flag,
     .says = words("kind of filter"),
     .choices = kFilterKinds,
     .initial = "FIR",
     .example = "IIR"},
    {.name = "PkFilterMode",
     .type = integer,
     .says = words("what passes"),
     .choices = kFilterModes,
     .initial = "low pass"},
    {.name = "PkCutoffFreq",
     .type = real,
     .says = words("edge of low pass and high pass"),
     .unit = "Hz",
     .range = kAboveZero,
     .initial = 500.0},
    {.name = "PkUpperFreq",
     .type = real,
     .says = words("upper edge of band pass and band stop"),
     .unit = "Hz",
     .range = kAboveZero,
     .initial = 1000.0},
    {.name = "PkLowerFreq",
     .type = real,
     .says = words("lower edge of band pass and band stop"),
     .unit = "Hz",
     .range = kAboveZero,
     .initial = 100.0},
    {.name = "PkWindowFunction",
     .type = integer,
     .says = words("FIR: window of the design"),
     .choices = kFirWindows,
     .initial = "Blackman"},
    {.name = "PkFilterLength",
     .type = integer,
     .says = words("FIR: number of taps"),
     .range = {.least = 3, .most = (1 << 20) - 1, .odd = true},
     .initial = 25},
    {.name = "PkKaiserWindow",
     .type = flag,
     .says = words("FIR: a Kaiser window stands in for the chosen one"),
     .choices = kSwitch,
     .initial = "off"},
    {.name = "PkFilterType",
     .type = integer,
     .says = words("IIR: characteristic"),
     .choices = kCharacteristics,
     .example = "Butterworth",
     .note = words("a new block has none, which reads back as 6; an IIR filter needs one")},
    {.name = "PkRipple",
     .type = real,
     .says = words("IIR, Chebyshev and elliptic: ripple in the pass band"),
     .unit = "dB",
     .range = kRipple,
     .initial = 1.2},
    {.name = "PkAttenuation",
     .type = real,
     .says = words("IIR, elliptic and inverse Chebyshev: attenuation in the stop band"),
     .unit = "dB",
     .range = kAttenuation,
     .initial = 40.0},
    {.name = "PkFilterOrder",
     .type = integer,
     .says = words("IIR: order; bands have twice as many poles"),
     .range = {.least = 1, .most = 64},
     .initial = 2},
};

bool isIir(const KeywordValues& v) { return v.is("PkFIRFilter", "IIR"); }
bool hasBand(const KeywordValues& v) {
    return v.isAnyOf("PkFilterMode", {"band pass", "band stop"});
}

// Of three taps these windows leave the middle one alone, which filters nothing.
bool hasTaps(const KeywordValues& v) {
    return v.number("PkFilterLength") > 3 || v.is("PkKaiserWindow", "on") ||
           !v.isAnyOf("PkWindowFunction", {"Hanning", "Blackman"});
}

constexpr KeywordRule kFilterRules[] = {
    {{"PkFilterLength", "PkWindowFunction"},
     words("an FIR filter with a Hanning or Blackman window has 5 taps or more"),
     false,
     [](const KeywordValues& v, double) { return isIir(v) || hasTaps(v); }},
    {{"PkFilterType", "PkFIRFilter"},
     words("an IIR filter needs a characteristic: Butterworth (0), Chebyshev (1), elliptic (2), "
           "inverse "
           "Chebyshev (3) or Bessel (4)"),
     false,
     [](const KeywordValues& v, double) {
         return !isIir(v) || v.isAnyOf("PkFilterType", {"Butterworth", "Chebyshev", "elliptic",
                                                        "inverse Chebyshev", "Bessel"});
     }},
    {{"PkFilterOrder", "PkFilterType"},
     words("a Bessel filter has an order of 1 to 25"),
     false,
     [](const KeywordValues& v, double) {
         return !isIir(v) || !v.is("PkFilterType", "Bessel") ||
                v.number("PkFilterOrder") <= kMostBesselOrder;
     }},
    {{"PkRipple", "PkAttenuation", "PkFilterType"},
     words("the ripple of an elliptic filter lies below its attenuation"),
     false,
     [](const KeywordValues& v, double) {
         return !isIir(v) || !v.is("PkFilterType", "elliptic") ||
                v.number("PkRipple") < v.number("PkAttenuation");
     }},
    {{"PkLowerFreq", "PkUpperFreq", "PkFilterMode"},
     words("the lower edge of a band lies below its upper edge"),
     false,
     [](const KeywordValues& v, double) {
         return !hasBand(v) || v.number("PkLowerFreq") < v.number("PkUpperFreq");
     }},
    {{"PkCutoffFreq"},
     words("the edge of a low pass or high pass lies below half the sample rate"),
     true,
     [](const KeywordValues& v, double rate) {
         return hasBand(v) || v.number("PkCutoffFreq") < rate / 2;
     }},
    {{"PkUpperFreq", "PkLowerFreq"},
     words("the edges of a band lie below half the sample rate"),
     true,
     [](const KeywordValues& v, double rate) {
         return !hasBand(v) || v.number("PkUpperFreq") < rate / 2;
     }},
};

// --- 5008 Frequenzbewertung -----------------------------------------------------------------

constexpr NamedChoice kCurves[] = {
    {"linear", 0, words("passes everything on as it is")}, {"A", 1}, {"B", 2}, {"C", 3}};

constexpr KeywordMeaning kWeighting[] = {
    {.name = "PkXweight",
     .type = integer,
     .says = words("weighting curve; data at S choose another one while the run goes on"),
     .choices = kCurves,
     .initial = "linear",
     .example = "A"},
};

constexpr double kLeastWeightingRate = 4e3;
constexpr double kMostWeightingRate = 1e6;

constexpr KeywordRule kWeightingRules[] = {
    {{"PkXweight"},
     words("time signals of 4000 Hz to 1000000 Hz sample rate are weighted"),
     true,
     [](const KeywordValues& v, double rate) {
         return v.is("PkXweight", "linear") ||
                (rate >= kLeastWeightingRate && rate <= kMostWeightingRate);
     }},
};

// --- 5009 Pegelberechnung -------------------------------------------------------------------

constexpr NamedChoice kSignalTypes[] = {
    {"peak", 0, words("momentary values")},
    {"RMS", 1, words("mean squares, with the time weighting")},
};
constexpr NamedChoice kTimeWeightings[] = {
    {"Slow", 0, words("1 s")},
    {"Fast", 1, words("0.125 s")},
    {"Impulse", 2, words("0.035 s, held")},
};
constexpr NamedChoice kClockPeriods[] = {{"1 s", 0}, {"3 s", 1}, {"5 s", 2}};

constexpr KeywordMeaning kLevels[] = {
    {.name = "PkRMS",
     .type = flag,
     .says = words("what a level is made of"),
     .choices = kSignalTypes,
     .initial = "RMS"},
    {.name = "PkTimeTc",
     .type = integer,
     .says = words("time weighting"),
     .choices = kTimeWeightings,
     .initial = "Slow",
     .example = "Fast"},
    {.name = "PkTimeTx",
     .type = integer,
     .says = words("clock period, for the clock maximum levels"),
     .choices = kClockPeriods,
     .initial = "3 s"},
    {.name = "PkTimeHold",
     .type = real,
     .says = words("what a pause takes back of the time before it"),
     .unit = "s",
     .range = {.least = 0, .most = 60},
     .initial = 0.0},
    {.name = "PkFreqOut",
     .type = real,
     .says = words("rate of the output, at most the sample rate"),
     .unit = "Hz",
     .range = kAboveZero,
     .initial = 10.0},
};

constexpr KeywordRule kLevelRules[] = {
    {{"PkFreqOut"},
     words("levels come at most at the sample rate"),
     true,
     [](const KeywordValues& v, double rate) { return v.number("PkFreqOut") <= rate; }},
};

// --- Inputs ---------------------------------------------------------------------------------

constexpr InputMeaning trigger(std::string_view keyword, std::string_view when,
                               bool (*isRead)(const KeywordValues& values)) {
    return {"T", words("the trigger"), InputNeed::conditional, keyword, when, isRead};
}
constexpr InputMeaning kClassTrigger =
    trigger("PkReset", words("PkReset is \"trigger\""),
            [](const KeywordValues& v) { return v.is("PkReset", "trigger"); });
constexpr InputMeaning kDualTrigger =
    trigger("PkResetMode", words("PkResetMode is \"trigger\""),
            [](const KeywordValues& v) { return v.is("PkResetMode", "trigger"); });
constexpr InputMeaning kAverageTrigger =
    trigger("PkResetMode", words("PkResetMode is \"trigger\" and PkMode is \"data blocks\""),
            [](const KeywordValues& v) {
                return v.is("PkResetMode", "trigger") && v.is("PkMode", "data blocks");
            });
constexpr InputMeaning kData[] = {{"E", words("the data")}};
constexpr InputMeaning kClassified[] = {{"E", words("the data")}, kClassTrigger};
constexpr InputMeaning kAveraged[] = {{"E", words("the data")}, kAverageTrigger};
constexpr InputMeaning kDataAndControl[] = {
    {"E", words("the signal")}, {"S", words("the control values"), InputNeed::optional}};
constexpr InputMeaning kParts[] = {{"R", words("the real parts")},
                                   {"I", words("the imaginary parts")}};
constexpr InputMeaning kTwoSignals[] = {
    {"E", words("the excitation")}, {"A", words("the response")}, kDualTrigger};

// --- All ------------------------------------------------------------------------------------

constexpr BlockMeaning kBlocks[] = {
    {kKlassierung, kClassification, kClassified, kClassificationRules},
    {kTerzOktave, kBands, kData},
    {kStatistik, kStatistics, kData, kStatisticsRules},
    {kMittelwert, kAveraging, kAveraged},
    {kSpektrum, kSpectrum, kData},
    {kInverseFFT, {}, kParts},
    {kDualSpektrum, kDualSpectrum, kTwoSignals},
    {kDigitalFilter, kFilter, kData, kFilterRules},
    {kFreqWeight, kWeighting, kDataAndControl, kWeightingRules},
    {kLevel, kLevels, kDataAndControl, kLevelRules},
};

constexpr bool inTheOrderOfTheirCodes() {
    std::int32_t code = kFirstType;
    for (const BlockMeaning& block : kBlocks) {
        if (block.code != code++) return false;
    }
    return code == kFirstType + kTypes;
}
static_assert(inTheOrderOfTheirCodes());

}  // namespace

bool NumberRange::holds(double number) const {
    if (!std::isfinite(number) || number > most) return false;
    if (above ? number <= least : number < least) return false;
    return !odd || std::fmod(number, 2.0) != 0;
}

std::string NumberRange::text(std::string_view unit) const {
    constexpr double kUnbounded = std::numeric_limits<double>::max();
    std::string result = odd ? tr("odd, ") : "";
    if (least == -kUnbounded) {
        result += tr("any number");
    } else if (above && most != kUnbounded) {
        result += tr("above %1 to %2", least, most);
    } else if (above) {
        result += tr("above %1", least);
    } else if (most == std::numeric_limits<std::int32_t>::max()) {
        result += tr("%1 or more", least);
    } else {
        // Counts in full.
        result += tr("%1 to %2", least, static_cast<std::int64_t>(most));
    }
    return unit.empty() ? result : result + " " + std::string(unit);
}

const NamedChoice* KeywordMeaning::choice(std::string_view wanted) const {
    const auto found = std::ranges::find_if(
        choices, [&](const NamedChoice& c) { return equalIgnoringCase(c.name, wanted); });
    return found == choices.end() ? nullptr : &*found;
}

std::string KeywordMeaning::allowed() const {
    if (choices.empty()) return range.text(unit);
    std::vector<std::string> names;
    for (const NamedChoice& named : choices) {
        if (!named.writable) continue;
        names.emplace_back(named.name);
        if (type != ValueType::text) names.back() += " (" + toText(named.number) + ")";
    }
    std::string text = names.front();
    for (std::size_t i = 1; i < names.size(); ++i)
        text += (i + 1 == names.size() ? tr(" or ") : ", ") + names[i];
    return text;
}

void KeywordValues::set(const KeywordMeaning& keyword, WrittenValue value) {
    const auto known = std::ranges::find(entries_, &keyword, &Entry::keyword);
    if (known != entries_.end()) {
        known->value = value;
    } else {
        entries_.push_back({&keyword, value});
    }
}

const WrittenValue* KeywordValues::find(std::string_view keyword) const {
    const auto found =
        std::ranges::find_if(entries_, [&](const Entry& e) { return e.keyword->name == keyword; });
    return found == entries_.end() ? nullptr : &found->value;
}

double KeywordValues::number(std::string_view keyword) const {
    const WrittenValue* value = find(keyword);
    if (value != nullptr) {
        if (const auto* real = std::get_if<double>(value)) return *real;
        if (const auto* integer = std::get_if<std::int32_t>(value)) return *integer;
    }
    return std::numeric_limits<double>::quiet_NaN();
}

bool KeywordValues::is(std::string_view keyword, std::string_view name) const {
    const WrittenValue* value = find(keyword);
    const auto* given = value == nullptr ? nullptr : std::get_if<std::string_view>(value);
    return given != nullptr && *given == name;
}

bool KeywordValues::isAnyOf(std::string_view keyword,
                            std::initializer_list<std::string_view> names) const {
    return std::ranges::any_of(names, [&](std::string_view name) { return is(keyword, name); });
}

const KeywordMeaning* BlockMeaning::keyword(std::string_view wanted) const {
    const auto found = std::ranges::find_if(
        keywords, [&](const KeywordMeaning& k) { return equalIgnoringCase(k.name, wanted); });
    return found == keywords.end() ? nullptr : &*found;
}

KeywordValues BlockMeaning::initialValues() const {
    KeywordValues values;
    for (const KeywordMeaning& meaning : keywords)
        values.set(meaning, meaning.initial);
    return values;
}

const BlockMeaning& meaningOf(std::int32_t typeCode) {
    return kBlocks[static_cast<std::size_t>(typeCode - kFirstType)];
}

std::span<const BlockMeaning> blockMeanings() { return kBlocks; }

}  // namespace vynhost
