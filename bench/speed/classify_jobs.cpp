// Counting into 20 classes from -10 to 10, absolute, hysteresis 10 %: samples, dwell times,
// crossings, peaks.
#include <gsl/gsl_histogram.h>

#include <algorithm>
#include <cmath>

#include "block_case.h"
#include "signals.h"

namespace vynpack::bench {
namespace {

constexpr std::size_t kClasses = 20;
constexpr double kBegin = -10.0;
constexpr double kEnd = 10.0;
constexpr double kWidth = 1.0;
constexpr double kHysteresis = 0.1;
constexpr double kStep = 1.0 / 48000;

// -1 outside.
int classOf(double x) {
    const double k = std::floor((x - kBegin) / kWidth);
    return k >= 0.0 && k < static_cast<double>(kClasses) ? static_cast<int>(k) : -1;
}

template <class Count>
struct ClassPeer : PeerBase {
    ClassPeer(Shape s, const Input& x)
        : PeerBase(s, x, kClasses * s.channels), counts(out.size()) {}
    void putOut() {
        for (std::size_t k = 0; k < kClasses; ++k) {
            for (std::size_t c = 0; c < shape.channels; ++c)
                out[k * shape.channels + c] = static_cast<float>(counts[c * kClasses + k]);
        }
    }
    Count* countsOf(std::size_t c) { return counts.data() + c * kClasses; }
    std::vector<Count> counts;  // channel after channel
};

struct PlainHistogram : ClassPeer<std::uint32_t> {
    using ClassPeer::ClassPeer;
    void operator()() {
        for (std::size_t i = 0; i < in.size(); i += shape.channels) {
            for (std::size_t c = 0; c < shape.channels; ++c) {
                const double x = in[i + c];
                const int k = classOf(x);
                if (k >= 0 && x > kBegin) ++countsOf(c)[k];
            }
        }
        putOut();
    }
};

struct GslHistogram : PeerBase {
    GslHistogram(Shape s, const Input& x) : PeerBase(s, x, kClasses * s.channels) {
        for (std::size_t c = 0; c < s.channels; ++c) {
            histograms.push_back(gsl_histogram_alloc(kClasses));
            gsl_histogram_set_ranges_uniform(histograms.back(), kBegin, kEnd);
        }
    }
    ~GslHistogram() {
        for (gsl_histogram* histogram : histograms)
            gsl_histogram_free(histogram);
    }
    GslHistogram(const GslHistogram&) = delete;
    GslHistogram& operator=(const GslHistogram&) = delete;
    void operator()() {
        for (std::size_t i = 0; i < in.size(); i += shape.channels) {
            for (std::size_t c = 0; c < shape.channels; ++c)
                gsl_histogram_increment(histograms[c], in[i + c]);
        }
        for (std::size_t k = 0; k < kClasses; ++k) {
            for (std::size_t c = 0; c < shape.channels; ++c)
                out[k * shape.channels + c] = static_cast<float>(histograms[c]->bin[k]);
        }
    }
    std::vector<gsl_histogram*> histograms;
};

// Work on pairs of neighbouring samples, channel by channel: `pair(c, a, b)`.
template <class Count>
struct PairPeer : ClassPeer<Count> {
    PairPeer(Shape s, const Input& x) : ClassPeer<Count>(s, x), last(s.channels) {}
    template <class Pair>
    void forPairs(Pair pair) {
        for (std::size_t c = 0; c < this->shape.channels; ++c) {
            double a = last[c];
            std::size_t i = c;
            if (first) {
                a = this->in[i];
                i += this->shape.channels;
            }
            for (; i < this->in.size(); i += this->shape.channels) {
                const double b = this->in[i];
                pair(c, a, b);
                a = b;
            }
            last[c] = a;
        }
        first = false;
        this->putOut();
    }
    std::vector<double> last;
    bool first = true;
};

// Walks along the line from class to class. A pair counts when its second sample lies inside.
struct PlainDwell : PairPeer<double> {
    using PairPeer::PairPeer;
    void operator()() {
        forPairs([&](std::size_t c, double a, double b) {
            if (!(b >= kBegin && b <= kEnd)) return;
            const double low = std::max(std::min(a, b), kBegin);
            const double high = std::min(std::max(a, b), kEnd);
            const int from = std::min(static_cast<int>((low - kBegin) / kWidth), 19);
            const int to = std::min(static_cast<int>((high - kBegin) / kWidth), 19);
            double* const times = countsOf(c);
            if (from == to && low == std::min(a, b) && high == std::max(a, b)) {
                times[from] += kStep;
                return;
            }
            const double slowness = kStep / std::fabs(b - a);
            for (int k = from; k <= to; ++k) {
                const double lower = std::max(low, kBegin + k * kWidth);
                const double upper = std::min(high, kBegin + (k + 1) * kWidth);
                times[k] += (upper - lower) * slowness;
            }
        });
    }
};

// All classes for every pair; upwards from the reference line 0 on, downwards below it.
struct PlainCrossings : PairPeer<std::uint32_t> {
    PlainCrossings(Shape s, const Input& x) : PairPeer(s, x), armed(out.size(), 1) {}
    void operator()() {
        forPairs([&](std::size_t c, double a, double b) {
            std::uint32_t* const crossed = countsOf(c);
            char* const arms = armed.data() + c * kClasses;
            for (std::size_t k = 0; k < kClasses; ++k) {
                const double limit = kBegin + static_cast<double>(k) * kWidth;
                if (limit >= 0.0) {
                    if (arms[k] != 0 && a < limit && limit <= b) {
                        ++crossed[k];
                        arms[k] = 0;
                    }
                    // The last class is armed by going back alone.
                    if (b <= limit - kHysteresis || (k + 1 < kClasses && b >= limit + kWidth))
                        arms[k] = 1;
                } else {
                    if (arms[k] != 0 && b <= limit && limit < a) {
                        ++crossed[k];
                        arms[k] = 0;
                    }
                    if (b >= limit + kHysteresis || b <= limit - kWidth) arms[k] = 1;
                }
            }
        });
    }
    std::vector<char> armed;
};

// Maxima above and minima below the reference line 0, each confirmed by a retreat.
struct PlainPeaks : PairPeer<std::uint32_t> {
    PlainPeaks(Shape s, const Input& x) : PairPeer(s, x), states(s.channels) {}
    void operator()() {
        forPairs([&](std::size_t c, double a, double b) {
            State& s = states[c];
            const int slope = b > a ? 1 : b < a ? -1 : 0;
            const int before = s.slope == kUnknown ? slope : s.slope;
            s.slope = slope;
            if (before > 0 && slope <= 0 && a >= 0.0) {
                s.waiting = kMaximum;
                s.extreme = a;
            } else if (before < 0 && slope >= 0 && a < 0.0) {
                s.waiting = kMinimum;
                s.extreme = a;
            }
            if (s.waiting == kMaximum) {
                if (b > s.extreme) {
                    s.waiting = kNone;
                } else if (b < s.extreme - kHysteresis) {
                    count(c, s);
                }
            } else if (s.waiting == kMinimum) {
                if (b < s.extreme) {
                    s.waiting = kNone;
                } else if (b > s.extreme + kHysteresis) {
                    count(c, s);
                }
            }
        });
    }
    enum Waiting { kNone, kMaximum, kMinimum };
    static constexpr int kUnknown = 2;
    struct State {
        int slope = kUnknown;
        Waiting waiting = kNone;
        double extreme = 0.0;
    };
    void count(std::size_t c, State& s) {
        s.waiting = kNone;
        if (const int k = classOf(s.extreme); k >= 0) ++countsOf(c)[k];
    }
    std::vector<State> states;
};

constexpr std::size_t kMethodOffset = 50;  // in the parameter record

std::unique_ptr<Case> classify(Shape shape, std::int16_t method) {
    auto run = std::make_shared<HostRun>(vynhost::kKlassierung);
    run->set("PkCalcMode", 2);  // absolute
    run->set("PkHyst", 10.0);
    run->patchRecord(kMethodOffset, method);  // no keyword sets the peak methods
    return blockCase(shape, run, {.step = kStep}, load);
}

std::unique_ptr<Case> samples(Shape shape) {
    auto job = classify(shape, 93);
    addPeer<PlainHistogram>(*job, "plain_cpp", false);
    addPeer<GslHistogram>(*job, "gsl", false);
    return job;
}

std::unique_ptr<Case> dwell(Shape shape) {
    auto job = classify(shape, 94);
    addPeer<PlainDwell>(*job, "plain_cpp", false);
    return job;
}

std::unique_ptr<Case> crossings(Shape shape) {
    auto job = classify(shape, 95);
    addPeer<PlainCrossings>(*job, "plain_cpp", false);
    return job;
}

std::unique_ptr<Case> peaks(Shape shape) {
    auto job = classify(shape, 97);
    addPeer<PlainPeaks>(*job, "plain_cpp", false);
    return job;
}

}  // namespace

std::vector<Job> classifyJobs() {
    return {{"hist20", samples}, {"dwell20", dwell}, {"cross20", crossings}, {"peaks20", peaks}};
}

}  // namespace vynpack::bench
