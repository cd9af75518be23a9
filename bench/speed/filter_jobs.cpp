// FIR and IIR filters and the A-weighting, in time signals at 48 kHz.
#include <liquid/liquid.h>
#include <rtfilter.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <numbers>

#include "block_case.h"
#include "real_fft.h"
#include "signals.h"

namespace vynpack::bench {
namespace {

using std::numbers::pi;
constexpr double kRate = 48000.0;
constexpr double kCutoff = 3000.0;

// --- Designs ----------------------------------------------------------------------------------

// A low pass by the window method (Blackman), its response 1 at 0 Hz.
std::vector<double> lowPassTaps(std::size_t length) {
    std::vector<double> taps(length);
    const auto last = static_cast<double>(length - 1);
    double sum = 0.0;
    for (std::size_t i = 0; i < length; ++i) {
        const double t = static_cast<double>(i) - last / 2.0;
        const double angle = 2.0 * pi * static_cast<double>(i) / last;
        const double ideal =
            t == 0.0 ? 2.0 * kCutoff / kRate : std::sin(2.0 * pi * kCutoff / kRate * t) / (pi * t);
        taps[i] = ideal * (0.42 - 0.5 * std::cos(angle) + 0.08 * std::cos(2.0 * angle));
        sum += taps[i];
    }
    for (double& tap : taps)
        tap /= sum;
    return taps;
}

struct Section {
    double b0, b1, b2, a1, a2;
};
using Sections = std::vector<Section>;

// By the bilinear transform with the edge pre-warped.
Sections butterworth(std::size_t order) {
    const double k = std::tan(pi * kCutoff / kRate);
    Sections sections;
    for (std::size_t i = 0; i < order / 2; ++i) {
        const double angle = pi * static_cast<double>(2 * i + 1) / static_cast<double>(2 * order);
        const double damping = 2.0 * std::sin(angle) * k;
        const double norm = 1.0 / (1.0 + damping + k * k);
        sections.push_back({.b0 = k * k * norm,
                            .b1 = 2.0 * k * k * norm,
                            .b2 = k * k * norm,
                            .a1 = 2.0 * (k * k - 1.0) * norm,
                            .a2 = (1.0 - damping + k * k) * norm});
    }
    return sections;
}

// The A curve's corners, pre-warped each; magnitude 1 at 1 kHz.
Sections aWeighting() {
    const auto pole = [](double frequency) {
        const double s = 2.0 * std::tan(std::min(2.0 * pi * frequency / kRate, 0.86 * pi) / 2.0);
        return (2.0 - s) / (2.0 + s);
    };
    const auto section = [](double p, double q, double zero) {
        return Section{.b0 = 1.0, .b1 = -2.0 * zero, .b2 = 1.0, .a1 = -(p + q), .a2 = p * q};
    };
    Sections sections = {section(pole(20.6), pole(20.6), 1.0),
                         section(pole(107.65), pole(737.86), 1.0),
                         section(pole(12194.22), pole(12194.22), -1.0)};
    const std::complex<double> z = std::polar(1.0, -2.0 * pi * 1000.0 / kRate);
    std::complex<double> response = 1.0;
    for (const Section& s : sections)
        response *= (s.b0 + z * (s.b1 + z * s.b2)) / (1.0 + z * (s.a1 + z * s.a2));
    sections[0].b0 /= std::abs(response);
    sections[0].b1 /= std::abs(response);
    sections[0].b2 /= std::abs(response);
    return sections;
}

// --- Plain loops ------------------------------------------------------------------------------

// One section after the other for each sample, transposed direct form 2.
struct PlainCascade : PeerBase {
    PlainCascade(Shape s, const Input& x, const Sections& design)
        : PeerBase(s, x, s.values()), sections(design), state(s.channels * design.size()) {}
    void operator()() {
        for (std::size_t c = 0; c < shape.channels; ++c) {
            State* const states = state.data() + c * sections.size();
            for (std::size_t i = c; i < out.size(); i += shape.channels) {
                double x = in[i];
                for (std::size_t k = 0; k < sections.size(); ++k) {
                    const Section& s = sections[k];
                    const double y = s.b0 * x + states[k].first;
                    states[k].first = s.b1 * x - s.a1 * y + states[k].second;
                    states[k].second = s.b2 * x - s.a2 * y;
                    x = y;
                }
                out[i] = static_cast<float>(x);
            }
        }
    }
    struct State {
        double first = 0.0, second = 0.0;
    };
    Sections sections;
    std::vector<State> state;
};

// The last samples of the block before, then the block; every channel on its own.
struct PlainFir : PeerBase {
    PlainFir(Shape s, const Input& x, const std::vector<double>& design)
        : PeerBase(s, x, s.values()),
          taps(design),
          samples(s.channels, Aligned<double>(design.size() - 1 + s.samples)),
          sums(s.samples) {}
    void operator()() {
        const std::size_t past = taps.size() - 1;
        for (std::size_t c = 0; c < shape.channels; ++c) {
            double* const x = samples[c].data();
            std::copy_n(x + shape.samples, past, x);
            for (std::size_t i = 0; i < shape.samples; ++i)
                x[past + i] = in[i * shape.channels + c];
            std::fill(sums.begin(), sums.end(), 0.0);
            for (std::size_t j = 0; j <= past; ++j) {
                const double tap = taps[past - j];
                for (std::size_t i = 0; i < shape.samples; ++i)
                    sums[i] += tap * x[i + j];
            }
            for (std::size_t i = 0; i < shape.samples; ++i)
                out[i * shape.channels + c] = static_cast<float>(sums[i]);
        }
    }
    std::vector<double> taps;
    std::vector<Aligned<double>> samples;
    Aligned<double> sums;
};

// --- liquid-dsp: contiguous channels in single precision ---------------------------------------

struct LiquidFilter : PeerBase {
    LiquidFilter(Shape s, const Input& x)
        : PeerBase(s, x, s.values()), before(s.samples), after(s.samples) {}
    template <class Filter>
    void filter(Filter filterChannel) {
        for (std::size_t c = 0; c < shape.channels; ++c) {
            for (std::size_t i = 0; i < shape.samples; ++i)
                before[i] = in[i * shape.channels + c];
            filterChannel(c);
            for (std::size_t i = 0; i < shape.samples; ++i)
                out[i * shape.channels + c] = after[i];
        }
    }
    Aligned<float> before, after;
};

struct LiquidFir : LiquidFilter {
    LiquidFir(Shape s, const Input& x, const std::vector<double>& design) : LiquidFilter(s, x) {
        std::vector<float> taps(design.begin(), design.end());
        for (std::size_t c = 0; c < s.channels; ++c)
            filters.push_back(firfilt_rrrf_create(taps.data(), static_cast<unsigned>(taps.size())));
    }
    ~LiquidFir() {
        for (firfilt_rrrf filter : filters)
            firfilt_rrrf_destroy(filter);
    }
    LiquidFir(const LiquidFir&) = delete;
    LiquidFir& operator=(const LiquidFir&) = delete;
    void operator()() {
        filter([&](std::size_t c) {
            firfilt_rrrf_execute_block(filters[c], before.data(),
                                       static_cast<unsigned>(shape.samples), after.data());
        });
    }
    std::vector<firfilt_rrrf> filters;
};

struct LiquidCascade : LiquidFilter {
    LiquidCascade(Shape s, const Input& x, const Sections& design) : LiquidFilter(s, x) {
        std::vector<float> b;
        std::vector<float> a;
        for (const Section& k : design) {
            for (const double value : {k.b0, k.b1, k.b2})
                b.push_back(static_cast<float>(value));
            for (const double value : {1.0, k.a1, k.a2})
                a.push_back(static_cast<float>(value));
        }
        for (std::size_t c = 0; c < s.channels; ++c)
            filters.push_back(
                iirfilt_rrrf_create_sos(b.data(), a.data(), static_cast<unsigned>(design.size())));
    }
    ~LiquidCascade() {
        for (iirfilt_rrrf filter : filters)
            iirfilt_rrrf_destroy(filter);
    }
    LiquidCascade(const LiquidCascade&) = delete;
    LiquidCascade& operator=(const LiquidCascade&) = delete;
    void operator()() {
        filter([&](std::size_t c) {
            iirfilt_rrrf_execute_block(filters[c], before.data(),
                                       static_cast<unsigned>(shape.samples), after.data());
        });
    }
    std::vector<iirfilt_rrrf> filters;
};

// --- rtfilter: interleaved channels in single precision, side by side --------------------------

struct RtFilter : PeerBase {
    RtFilter(Shape s, const Input& x) : PeerBase(s, x, s.values()), between(s.values()) {}
    ~RtFilter() {
        for (hfilter filter : filters)
            rtf_destroy_filter(filter);
    }
    RtFilter(const RtFilter&) = delete;
    RtFilter& operator=(const RtFilter&) = delete;
    void add(const std::vector<double>& b, const std::vector<double>& a) {
        filters.push_back(rtf_create_filter(
            static_cast<unsigned>(shape.channels), RTF_FLOAT, static_cast<unsigned>(b.size()),
            b.data(), static_cast<unsigned>(a.size()), a.empty() ? nullptr : a.data(), RTF_DOUBLE));
    }
    void operator()() {
        const float* from = in.data();
        for (std::size_t k = 0; k < filters.size(); ++k) {
            // The last one ends in `out`.
            float* const to = (filters.size() - k) % 2 == 1 ? out.data() : between.data();
            rtf_filter(filters[k], from, to, static_cast<unsigned>(shape.samples));
            from = to;
        }
    }
    std::vector<hfilter> filters;
    Aligned<float> between;
};

struct RtFir : RtFilter {
    RtFir(Shape s, const Input& x, const std::vector<double>& taps) : RtFilter(s, x) {
        add(taps, {});
    }
};

// A filter for each section, one behind the other.
struct RtCascade : RtFilter {
    RtCascade(Shape s, const Input& x, const Sections& design) : RtFilter(s, x) {
        for (const Section& k : design)
            add({k.b0, k.b1, k.b2}, {1.0, k.a1, k.a2});
    }
};

// --- FFTW: overlap-save -----------------------------------------------------------------------

// The power of two that needs the fewest steps for a block.
std::size_t overlapLength(std::size_t samples, std::size_t taps) {
    std::size_t best = 0;
    double least = 0.0;
    for (std::size_t n = 512; n <= 16384; n *= 2) {
        const std::size_t hop = n - taps + 1;
        const auto pieces = static_cast<double>((samples + hop - 1) / hop);
        const double work = pieces * static_cast<double>(n) * std::log2(n);
        if (best != 0 && work >= least) continue;
        best = n;
        least = work;
    }
    return best;
}

template <class Real>
struct FftwOverlapSave : PeerBase {
    FftwOverlapSave(Shape s, const Input& x, const std::vector<double>& taps)
        : PeerBase(s, x, s.values()),
          past(taps.size() - 1),
          n(overlapLength(s.samples, taps.size())),
          fft(n),
          response(n + 2),
          lines(n + 2),
          piece(n),
          samples(s.channels, Aligned<Real>(past + s.samples)) {
        Aligned<Real> padded(n);
        for (std::size_t j = 0; j < taps.size(); ++j)
            padded[j] = static_cast<Real>(taps[j] / static_cast<double>(n));
        fft.forward(padded.data(), response.data());
    }
    void operator()() {
        for (std::size_t c = 0; c < shape.channels; ++c) {
            Real* const x = samples[c].data();
            std::copy_n(x + shape.samples, past, x);
            for (std::size_t i = 0; i < shape.samples; ++i)
                x[past + i] = static_cast<Real>(in[i * shape.channels + c]);
            for (std::size_t start = 0; start < shape.samples; start += n - past)
                filterPiece(x, c, start);
        }
    }
    void filterPiece(const Real* x, std::size_t c, std::size_t start) {
        const std::size_t given = std::min(n, past + shape.samples - start);
        std::copy_n(x + start, given, piece.data());
        std::fill(piece.begin() + static_cast<std::ptrdiff_t>(given), piece.end(), Real{0});
        fft.forward(piece.data(), lines.data());
        multiply(lines.data(), response.data(), n / 2 + 1);
        fft.inverse(lines.data(), piece.data());
        float* const to = out.data() + start * shape.channels + c;
        const Real* const from = piece.data() + past;
        if (shape.channels == 1) {
            for (std::size_t i = 0; i < given - past; ++i)
                to[i] = static_cast<float>(from[i]);
        } else {
            for (std::size_t i = 0; i < given - past; ++i)
                to[i * shape.channels] = static_cast<float>(from[i]);
        }
    }
    static void multiply(Real* __restrict a, const Real* __restrict b, std::size_t count) {
        for (std::size_t k = 0; k < 2 * count; k += 2) {
            const Real re = a[k] * b[k] - a[k + 1] * b[k + 1];
            a[k + 1] = a[k] * b[k + 1] + a[k + 1] * b[k];
            a[k] = re;
        }
    }
    std::size_t past, n;
    RealFft<Real> fft;
    Aligned<Real> response, lines, piece;
    std::vector<Aligned<Real>> samples;
};

// --- Jobs -------------------------------------------------------------------------------------

template <std::size_t taps>
std::unique_ptr<Case> fir(Shape shape) {
    auto run = std::make_shared<HostRun>(vynhost::kDigitalFilter);
    run->set("PkFIRFilter", 1);
    run->set("PkCutoffFreq", kCutoff);
    run->set("PkFilterLength", static_cast<std::int32_t>(taps));
    auto job = blockCase(shape, run, {.step = 1.0 / kRate}, tone);
    const std::vector<double> design = lowPassTaps(taps);
    addPeer<PlainFir>(*job, "plain_cpp", false, design);
    addPeer<LiquidFir>(*job, "liquid_f", true, design);
    addPeer<RtFir>(*job, "rtfilter_f", true, design);
    if (taps > 100) {
        addPeer<FftwOverlapSave<double>>(*job, "fftw_d", false, design);
        addPeer<FftwOverlapSave<float>>(*job, "fftw_f", true, design);
    }
    return job;
}

void addCascades(Case& job, const Sections& design) {
    addPeer<PlainCascade>(job, "plain_cpp", false, design);
    addPeer<LiquidCascade>(job, "liquid_f", true, design);
    addPeer<RtCascade>(job, "rtfilter_f", true, design);
}

template <std::size_t order>
std::unique_ptr<Case> iir(Shape shape) {
    auto run = std::make_shared<HostRun>(vynhost::kDigitalFilter);
    run->set("PkFIRFilter", 0);
    run->set("PkFilterType", 0);  // Butterworth
    run->set("PkCutoffFreq", kCutoff);
    run->set("PkFilterOrder", static_cast<std::int32_t>(order));
    auto job = blockCase(shape, run, {.step = 1.0 / kRate}, tone);
    addCascades(*job, butterworth(order));
    return job;
}

std::unique_ptr<Case> aWeight(Shape shape) {
    auto run = std::make_shared<HostRun>(vynhost::kFreqWeight);
    run->set("PkXweight", 1);
    auto job = blockCase(shape, run, {.step = 1.0 / kRate}, tone);
    addCascades(*job, aWeighting());
    return job;
}

}  // namespace

std::vector<Job> filterJobs() {
    return {{"fir25", fir<25>},
            {"fir255", fir<255>},
            {"iir2", iir<2>},
            {"iir8", iir<8>},
            {"aweight", aWeight}};
}

}  // namespace vynpack::bench
