// Moving average over 7, reduction by 10, average of data blocks.
#include <gsl/gsl_movstat.h>

#include <algorithm>

#include "block_case.h"
#include "signals.h"

namespace vynpack::bench {
namespace {

constexpr std::size_t kWidth = 7;
constexpr std::size_t kGroup = 10;

// --- Moving average ---------------------------------------------------------------------------

// The last samples of the block before, then the block.
struct PlainMovingAverage : PeerBase {
    PlainMovingAverage(Shape s, const Input& x)
        : PeerBase(s, x, s.values()), samples((kWidth - 1) * s.channels + s.values()) {}
    void operator()() {
        const std::size_t stride = shape.channels;
        const std::size_t past = (kWidth - 1) * stride;
        std::copy(samples.end() - static_cast<std::ptrdiff_t>(past), samples.end(),
                  samples.begin());
        std::copy(in.begin(), in.end(), samples.begin() + static_cast<std::ptrdiff_t>(past));
        for (std::size_t i = 0; i < out.size(); ++i) {
            double sum = 0.0;
            for (std::size_t j = 0; j < kWidth; ++j)
                sum += samples[i + j * stride];
            out[i] = static_cast<float>(sum) / static_cast<float>(kWidth);
        }
        if (seen >= kWidth) return;
        // The beginning of a run has fewer samples.
        for (std::size_t i = 0; i < shape.samples && seen < kWidth - 1; ++i) {
            ++seen;
            for (std::size_t c = 0; c < stride; ++c)
                out[i * stride + c] *= static_cast<float>(kWidth) / static_cast<float>(seen);
        }
        seen = kWidth;
    }
    Aligned<float> samples;
    std::size_t seen = 0;
};

struct GslMovingAverage : PeerBase {
    GslMovingAverage(Shape s, const Input& x)
        : PeerBase(s, x, s.values()),
          workspace(gsl_movstat_alloc2(kWidth - 1, 0)),
          past(s.channels),
          samples(gsl_vector_alloc(kWidth - 1 + s.samples)),
          means(gsl_vector_alloc(kWidth - 1 + s.samples)) {}
    ~GslMovingAverage() {
        gsl_movstat_free(workspace);
        gsl_vector_free(samples);
        gsl_vector_free(means);
    }
    GslMovingAverage(const GslMovingAverage&) = delete;
    GslMovingAverage& operator=(const GslMovingAverage&) = delete;
    void operator()() {
        const std::size_t n = shape.samples;
        for (std::size_t c = 0; c < shape.channels; ++c) {
            const std::size_t before = past[c].size();
            std::copy(past[c].begin(), past[c].end(), samples->data);
            for (std::size_t i = 0; i < n; ++i)
                samples->data[before + i] = in[i * shape.channels + c];
            samples->size = means->size = before + n;
            gsl_movstat_mean(GSL_MOVSTAT_END_TRUNCATE, samples, means, workspace);
            for (std::size_t i = 0; i < n; ++i)
                out[i * shape.channels + c] = static_cast<float>(means->data[before + i]);
            past[c].assign(samples->data + samples->size - (kWidth - 1),
                           samples->data + samples->size);
        }
    }
    gsl_movstat_workspace* workspace;
    std::vector<std::vector<double>> past;
    gsl_vector* samples;
    gsl_vector* means;
};

std::unique_ptr<Case> movingAverage(Shape shape) {
    auto run = std::make_shared<HostRun>(vynhost::kMittelwert);
    run->set("PkMode", 2);
    auto job = blockCase(shape, run, {}, tone);
    addPeer<PlainMovingAverage>(*job, "plain_cpp", false);
    addPeer<GslMovingAverage>(*job, "gsl", false);
    return job;
}

// --- Reduction --------------------------------------------------------------------------------

struct PlainReduction : PeerBase {
    PlainReduction(Shape s, const Input& x) : PeerBase(s, x, 0), sums(s.channels) {
        out.reserve((s.samples / kGroup + 2) * s.channels);
    }
    void operator()() {
        // The module's number of values, which need not be a multiple of the channels.
        const std::size_t results = (taken * shape.channels + in.size()) / kGroup;
        const Aligned<double> before = sums;
        const std::size_t takenBefore = taken;
        out.clear();
        for (std::size_t i = 0; i < shape.samples; ++i) {
            for (std::size_t c = 0; c < shape.channels; ++c)
                sums[c] += in[i * shape.channels + c];
            if (++taken < kGroup) continue;
            for (double& sum : sums) {
                out.push_back(static_cast<float>(sum) / static_cast<float>(kGroup));
                sum = 0.0;
            }
            taken = 0;
        }
        out.resize(results);
        if (taken > 0) return;
        // A block that ends with a group leaves what was carried to it as it was: the module's way.
        sums = before;
        taken = takenBefore;
    }
    Aligned<double> sums;
    std::size_t taken = 0;
};

std::unique_ptr<Case> reduction(Shape shape) {
    auto run = std::make_shared<HostRun>(vynhost::kMittelwert);
    run->set("PkMode", 1);
    auto job = blockCase(shape, run, {}, tone);
    addPeer<PlainReduction>(*job, "plain_cpp", false);
    return job;
}

// --- Average of data blocks -------------------------------------------------------------------

struct PlainBlockAverage : PeerBase {
    PlainBlockAverage(Shape s, const Input& x) : PeerBase(s, x, s.values()), average(s.values()) {}
    void operator()() {
        const auto blocks = static_cast<float>(count++);
        for (std::size_t i = 0; i < average.size(); ++i) {
            average[i] = (average[i] * blocks + in[i]) / (blocks + 1.0F);
            out[i] = average[i];
        }
    }
    Aligned<float> average;
    std::size_t count = 0;
};

std::unique_ptr<Case> blockAverage(Shape shape) {
    auto run = std::make_shared<HostRun>(vynhost::kMittelwert);
    run->set("PkMode", 3);
    auto job = blockCase(shape, run, {}, tone);
    addPeer<PlainBlockAverage>(*job, "plain_cpp", false);
    return job;
}

}  // namespace

std::vector<Job> averagingJobs() {
    return {{"mavg7", movingAverage}, {"reduce10", reduction}, {"blockavg", blockAverage}};
}

}  // namespace vynpack::bench
