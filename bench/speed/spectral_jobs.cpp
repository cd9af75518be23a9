// The bare transform, spectrum, inverse FFT, and H1 with coherence, beside FFTW (measured plans)
// that does the whole job: window, transform, conversion.
#include <fftw3.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <stdexcept>
#include <type_traits>

#include "block_case.h"
#include "real_fft.h"
#include "signals.h"
#include "vynhost/interface/platform/system.h"

namespace vynpack::bench {
namespace {

using std::numbers::pi;
constexpr double kStep = 1.0 / 48000;
constexpr std::size_t kTile = 8;  // channels that are moved at once

template <class Real>
const char* fftwName() {
    return std::is_same_v<Real, float> ? "fftw_f" : "fftw_d";
}
template <class Real>
constexpr bool kSingle = std::is_same_v<Real, float>;

// --- The library's function 147 ---------------------------------------------------------------

using Transform = int (*)(double*, double*, int);

Transform libraryTransform() {
    static const Transform function = [] {
        std::string why;
        void* library = vynhost::platform::loadLibrary(
            vynhost::platform::programFolder() / "Analysis/ovanlys.so", why);
        if (library == nullptr) throw std::runtime_error(why);
        return reinterpret_cast<Transform>(vynhost::platform::findFunction(library, "ZABFunc147"));
    }();
    return function;
}

// Every transform begins with laying the samples where they will be transformed, as all that use
// one do; the library's works in place. Its two arrays begin in different sets of the nearest
// cache, as the blocks' do.
class LibraryTransforms {
public:
    LibraryTransforms(Shape shape, const Aligned<double>& samples)
        : shape_(shape), samples_(samples), re_(samples.size()), im_(samples.size() + kShift) {}
    void operator()(Outputs* outputs) {
        const std::size_t n = shape_.samples;
        for (std::size_t c = 0; c < shape_.channels; ++c) {
            double* const re = re_.data() + c * n;
            double* const im = im_.data() + kShift + c * n;
            std::copy_n(samples_.data() + c * n, n, re);
            libraryTransform()(re, im, static_cast<int>(n));
        }
        if (outputs == nullptr) return;
        for (std::size_t c = 0; c < shape_.channels; ++c) {
            for (std::size_t k = c * n; k <= c * n + n / 2; ++k)
                outputs->insert(outputs->end(), {re_[k], im_[kShift + k]});
        }
    }

private:
    static constexpr std::size_t kShift = 5 * 64 / sizeof(double);
    Shape shape_;
    const Aligned<double>& samples_;
    Aligned<double> re_, im_;
};

template <class Real>
class FftwTransforms {
public:
    FftwTransforms(Shape shape, const Aligned<double>& samples)
        : fft_(shape.samples),
          shape_(shape),
          samples_(samples.begin(), samples.end()),
          work_(shape.samples),
          stride_(shape.samples + 16),  // so that every channel begins on a 64-byte border
          lines_(shape.channels * stride_) {}
    void operator()(Outputs* outputs) {
        for (std::size_t c = 0; c < shape_.channels; ++c) {
            std::copy_n(samples_.data() + c * shape_.samples, shape_.samples, work_.data());
            fft_.forward(work_.data(), lines_.data() + c * stride_);
        }
        if (outputs == nullptr) return;
        for (std::size_t c = 0; c < shape_.channels; ++c) {
            const Real* const lines = lines_.data() + c * stride_;
            outputs->insert(outputs->end(), lines, lines + shape_.samples + 2);
        }
    }

private:
    RealFft<Real> fft_;
    Shape shape_;
    Aligned<Real> samples_, work_;
    std::size_t stride_;
    Aligned<Real> lines_;
};

std::unique_ptr<Case> transforms(Shape shape) {
    // Channel after channel, since that is how the function takes them.
    auto job = std::make_unique<Case>(
        shape, 1, shape.values(),
        [&](std::size_t /*block*/, std::vector<Aligned<float>>& inputs) {
            for (std::size_t c = 0; c < shape.channels; ++c) {
                for (std::size_t i = 0; i < shape.samples; ++i)
                    inputs[0][c * shape.samples + i] = tone(c, i);
            }
        },
        1);
    job->ring.resize(1);  // nothing branches by the samples
    const auto samples =
        std::make_shared<Aligned<double>>(job->inputs[0].begin(), job->inputs[0].end());
    const auto candidate = [&](const char* name, bool single, auto work) {
        return Candidate{name, single, [samples, work](Outputs* o) { (*work)(o); }};
    };
    job->project =
        candidate("project", false, std::make_shared<LibraryTransforms>(shape, *samples));
    job->peers.push_back(
        candidate("fftw_d", false, std::make_shared<FftwTransforms<double>>(shape, *samples)));
    job->peers.push_back(
        candidate("fftw_f", true, std::make_shared<FftwTransforms<float>>(shape, *samples)));
    return job;
}

// --- Samples and lines of the peers -----------------------------------------------------------

// Rows of a tile, one per channel, that do not fall into the same cache sets.
template <class Value>
class Rows {
public:
    explicit Rows(std::size_t length)
        : stride_((length + 15) / 16 * 16 + 32), values_(stride_ * kTile) {}
    Value* operator[](std::size_t row) { return values_.data() + row * stride_; }

private:
    std::size_t stride_;
    Aligned<Value> values_;
};

// Calls work(first channel, width) for tiles of channels. The width is a constant for whole tiles
// and for a single channel, whose samples are then neighbours, so that the loops unfold.
template <class Work>
void forTiles(std::size_t channels, Work work) {
    if (channels == 1) {
        work(std::size_t{0}, std::integral_constant<std::size_t, 1>{});
        return;
    }
    if (channels % kTile != 0) throw std::runtime_error("one channel, or a multiple of eight");
    for (std::size_t first = 0; first < channels; first += kTile)
        work(first, std::integral_constant<std::size_t, kTile>{});
}

// The distance of a channel's samples; a constant for a single channel.
template <std::size_t width>
std::size_t strideOf(Shape shape) {
    return width == 1 ? 1 : shape.channels;
}

// Windows, transforms and hands out the lines of a tile of channels.
template <class Real>
class WindowedLines {
public:
    // Hanning; the lines are multiplied by `scale`.
    WindowedLines(Shape shape, double scale)
        : shape_(shape),
          fft_(shape.samples),
          weights_(shape.samples),
          samples_(shape.samples),
          lines_(shape.samples + 2) {
        const auto n = static_cast<double>(shape.samples);
        for (std::size_t i = 0; i < shape.samples; ++i) {
            const double angle = 2.0 * pi * static_cast<double>(i) / n;
            weights_[i] = static_cast<Real>(scale * 0.5 * (1.0 - std::cos(angle)));
        }
    }
    template <std::size_t width>
    Rows<Real>& operator()(const Input& input, std::size_t first,
                           std::integral_constant<std::size_t, width> /*width*/) {
        const float* const x = input.data() + first;
        const Real* const weights = weights_.data();
        std::array<Real*, width> rows;
        for (std::size_t c = 0; c < width; ++c)
            rows[c] = samples_[c];
        const std::size_t stride = strideOf<width>(shape_);
        for (std::size_t i = 0; i < shape_.samples; ++i) {
            for (std::size_t c = 0; c < width; ++c)
                rows[c][i] = static_cast<Real>(x[i * stride + c]) * weights[i];
        }
        for (std::size_t c = 0; c < width; ++c)
            fft_.forward(samples_[c], lines_[c]);
        return lines_;
    }

private:
    Shape shape_;
    RealFft<Real> fft_;
    Aligned<Real> weights_;
    Rows<Real> samples_, lines_;
};

template <std::size_t width, class Real>
std::array<const Real*, width> rowsOf(Rows<Real>& rows) {
    std::array<const Real*, width> starts;
    for (std::size_t c = 0; c < width; ++c)
        starts[c] = rows[c];
    return starts;
}

// --- Spectrum ---------------------------------------------------------------------------------

template <class Real>
class FftwSpectrum {
public:
    FftwSpectrum(Shape shape, const Input& input)
        : shape_(shape),
          input_(input),
          // 2/N, the gain of the window, and the root mean square
          linesOf_(shape, 2.0 / static_cast<double>(shape.samples) / 0.5 / std::sqrt(2.0)),
          out_(shape.values() / 2) {}
    void operator()(Outputs* outputs) {
        forTiles(shape_.channels,
                 [&]<std::size_t width>(std::size_t first,
                                        std::integral_constant<std::size_t, width> tile) {
                     const auto lines = rowsOf<width>(linesOf_(input_, first, tile));
                     float* const out = out_.data() + first;
                     const std::size_t stride = strideOf<width>(shape_);
                     for (std::size_t k = 0; k < shape_.samples / 2; ++k) {
                         for (std::size_t c = 0; c < width; ++c) {
                             const Real re = lines[c][2 * k];
                             const Real im = lines[c][2 * k + 1];
                             out[k * stride + c] = static_cast<float>(std::sqrt(re * re + im * im));
                         }
                     }
                 });
        append(outputs, out_);
    }

private:
    Shape shape_;
    const Input& input_;
    WindowedLines<Real> linesOf_;
    Aligned<float> out_;
};

template <template <class> class Peer>
void addFftw(Case& job, auto&... inputs) {
    const auto add = [&]<class Real>(Real) {
        auto peer = std::make_shared<Peer<Real>>(job.shape, inputs...);
        job.peers.push_back({fftwName<Real>(), kSingle<Real>, [peer](Outputs* o) { (*peer)(o); }});
    };
    add(double{});
    add(float{});
}

std::unique_ptr<Case> spectrum(Shape shape) {
    auto run = std::make_shared<HostRun>(vynhost::kSpektrum);
    run->set("PkAmplType", "RMS");
    run->set("PkWndFct", "HANNING");
    run->set("PkWndCorrectTyp", 2);  // by the window's gain
    auto job = blockCase(shape, run, {.step = kStep}, tone);
    addFftw<FftwSpectrum>(*job, job->inputs[0]);
    return job;
}

// --- Inverse FFT ------------------------------------------------------------------------------

template <class Real>
class FftwInverse {
public:
    FftwInverse(Shape shape, const Input& re, const Input& im)
        : shape_(shape),
          re_(re),
          im_(im),
          fft_(shape.samples),
          lines_(shape.samples + 2),
          samples_(shape.samples),
          out_(shape.values()) {}
    void operator()(Outputs* outputs) {
        forTiles(shape_.channels,
                 [&]<std::size_t width>(std::size_t first,
                                        std::integral_constant<std::size_t, width> /*tile*/) {
                     const std::size_t half = shape_.samples / 2;
                     const std::size_t stride = strideOf<width>(shape_);
                     const float* const re = re_.data() + first;
                     const float* const im = im_.data() + first;
                     std::array<Real*, width> lines;
                     for (std::size_t c = 0; c < width; ++c)
                         lines[c] = lines_[c];
                     for (std::size_t k = 0; k < half; ++k) {
                         for (std::size_t c = 0; c < width; ++c) {
                             lines[c][2 * k] = static_cast<Real>(re[k * stride + c]);
                             lines[c][2 * k + 1] = static_cast<Real>(im[k * stride + c]);
                         }
                     }
                     for (std::size_t c = 0; c < width; ++c) {
                         lines[c][1] = 0;
                         lines[c][2 * half] =
                             static_cast<Real>(re[c + half - 1]);  // the module's Nyquist line
                         lines[c][2 * half + 1] = 0;
                         fft_.inverse(lines[c], samples_[c]);
                     }
                     const auto samples = rowsOf<width>(samples_);
                     float* const out = out_.data() + first;
                     for (std::size_t i = 0; i < shape_.samples; ++i) {
                         for (std::size_t c = 0; c < width; ++c)
                             out[i * stride + c] =
                                 static_cast<float>(samples[c][i] * static_cast<Real>(0.5));
                     }
                 });
        append(outputs, out_);
    }

private:
    Shape shape_;
    const Input& re_;
    const Input& im_;
    RealFft<Real> fft_;
    Rows<Real> lines_, samples_;
    Aligned<float> out_;
};

std::unique_ptr<Case> inverse(Shape shape) {
    auto job = std::make_unique<Case>(
        shape, 2, shape.values() / 2, [&](std::size_t block, std::vector<Aligned<float>>& inputs) {
            for (std::size_t i = 0; i < shape.values() / 2; ++i) {
                inputs[0][i] = noise(2 * (i + block * shape.values()));
                inputs[1][i] = noise(2 * (i + block * shape.values()) + 1);
            }
        });
    attach(*job, std::make_shared<HostRun>(vynhost::kInverseFFT),
           {.kind = vynhost::kHertz, .step = 1.0 / (kStep * static_cast<double>(shape.samples))});
    addFftw<FftwInverse>(*job, job->inputs[0], job->inputs[1]);
    return job;
}

// --- H1 and coherence, averaged ---------------------------------------------------------------

// The sums over the data blocks serve as well as their means.
template <class Real>
class FftwTransfer {
public:
    FftwTransfer(Shape shape, const Input& x, const Input& y)
        : shape_(shape),
          x_(x),
          y_(y),
          linesOfX_(shape, 4.0 / static_cast<double>(shape.samples)),
          linesOfY_(shape, 4.0 / static_cast<double>(shape.samples)),
          re_(shape.values() / 2),
          im_(re_),
          xx_(re_),
          yy_(re_),
          out_(shape.values()) {}
    void operator()(Outputs* outputs) {
        forTiles(shape_.channels,
                 [&]<std::size_t width>(std::size_t first,
                                        std::integral_constant<std::size_t, width> tile) {
                     const std::size_t half = shape_.samples / 2;
                     const std::size_t stride = strideOf<width>(shape_);
                     const auto xs = rowsOf<width>(linesOfX_(x_, first, tile));
                     const auto ys = rowsOf<width>(linesOfY_(y_, first, tile));
                     float* const transfer = out_.data() + first;
                     float* const coherence = transfer + half * stride;
                     for (std::size_t k = 0; k < half; ++k) {
                         for (std::size_t c = 0; c < width; ++c) {
                             const std::size_t at = k * stride + c;
                             const Real xr = xs[c][2 * k];
                             const Real xi = xs[c][2 * k + 1];
                             const Real yr = ys[c][2 * k];
                             const Real yi = ys[c][2 * k + 1];
                             const Real re = re_[first + at] += yr * xr + yi * xi;
                             const Real im = im_[first + at] += yi * xr - yr * xi;
                             const Real xx = xx_[first + at] += xr * xr + xi * xi;
                             const Real yy = yy_[first + at] += yr * yr + yi * yi;
                             const Real cross = re * re + im * im;
                             transfer[at] = static_cast<float>(std::sqrt(cross) / xx);
                             coherence[at] = static_cast<float>(cross / (xx * yy));
                         }
                     }
                 });
        append(outputs, out_);
    }

private:
    Shape shape_;
    const Input& x_;
    const Input& y_;
    WindowedLines<Real> linesOfX_, linesOfY_;
    Aligned<Real> re_, im_, xx_, yy_;
    Aligned<float> out_;
};

std::unique_ptr<Case> transfer(Shape shape) {
    auto job = std::make_unique<Case>(
        shape, 2, shape.values(), [&](std::size_t block, std::vector<Aligned<float>>& inputs) {
            for (std::size_t i = 0; i < shape.values(); ++i) {
                const std::size_t c = i % shape.channels;
                const std::size_t t = i / shape.channels + block * shape.samples;
                const float x = noise(t * 64 + c);
                inputs[0][i] = x;
                inputs[1][i] = 0.5F * x + 0.2F * noise((t + 3) * 64 + c) +
                               0.1F * noise(t * 64 + c + (std::size_t{1} << 40U));
            }
        });
    auto run = std::make_shared<HostRun>(vynhost::kDualSpektrum);
    run->set("PkCrossSpectr", 1);
    run->set("PkTransFCTType", "SPECTRUM H1");
    run->set("PkCoherence", 1);
    run->set("PkAverageType", "ARITHMETIC");
    run->set("PkWndFct", "HANNING");
    run->set("PkWndCorrectTyp", 2);
    attach(*job, run, {.step = kStep});
    addFftw<FftwTransfer>(*job, job->inputs[0], job->inputs[1]);
    return job;
}

}  // namespace

std::vector<Job> spectralJobs() {
    return {{"fft", transforms}, {"spectrum", spectrum}, {"ifft", inverse}, {"h1coh", transfer}};
}

}  // namespace vynpack::bench
