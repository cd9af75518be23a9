#include "filter/overlap_save.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <mutex>
#include <utility>

#include "filter/convolution_kernels.h"
#include "filter/floating_point.h"

namespace ovanlys {
namespace {

// A power of two, which transforms fastest.
std::size_t transformLength(std::size_t taps, std::size_t outputs) {
    std::size_t best = 0;
    double lowestCost = std::numeric_limits<double>::infinity();
    std::size_t power = LaneFft::kShortest;
    while (power < 2 * taps)
        power *= 2;
    for (int doubling = 0; doubling < 4; ++doubling, power *= 2) {
        const std::size_t step = power - taps + 1;
        const auto blocks = static_cast<double>((outputs + step - 1) / step);
        const auto n = static_cast<double>(power);
        const double cost = blocks * n * std::countr_zero(power);
        if (cost < lowestCost) {
            lowestCost = cost;
            best = power;
        }
    }
    return best;
}

// The responses used last. One is taken out for the time of a convolution and put back at the
// front, so that several threads never share one.
class ResponseCache {
public:
    ResponseCache() { responses_.reserve(kMostResponses + 1); }

    std::unique_ptr<TapResponse> take(std::span<const double> c, std::size_t length) {
        {
            const std::lock_guard lock(mutex_);
            const auto known =
                std::find_if(responses_.begin(), responses_.end(), [&](const auto& response) {
                    return response->length == length && response->taps.size() == c.size() &&
                           std::memcmp(response->taps.data(), c.data(), c.size_bytes()) == 0;
                });
            if (known != responses_.end()) {
                auto response = std::move(*known);
                responses_.erase(known);
                return response;
            }
        }
        return std::make_unique<TapResponse>(c, length);
    }

    void putBack(std::unique_ptr<TapResponse> response) noexcept {
        if (response->length > kLongest) return;
        const std::lock_guard lock(mutex_);
        responses_.insert(responses_.begin(), std::move(response));  // within the reserved room
        if (responses_.size() > kMostResponses) responses_.pop_back();
    }

private:
    // Bounds the memory that is held: with eight windows to 6 MiB.
    static constexpr std::size_t kMostResponses = 4;
    static constexpr std::size_t kLongest = std::size_t{1} << 14;

    std::mutex mutex_;
    std::vector<std::unique_ptr<TapResponse>> responses_;  // used last first
};

ResponseCache& responseCache() {
    static ResponseCache cache;
    return cache;
}

}  // namespace

TapResponse::TapResponse(std::span<const double> c, std::size_t transformLength)
    : taps(c.begin(), c.end()),
      length(transformLength),
      re(length),
      im(length / 2 + 1),
      imaginaries(length / 2 + 1) {
    std::copy(c.begin(), c.end(), re.begin());
    const DenormalsFlushed mode;
    BorrowedPlan(length)->forward(re.data(), im.data());
}

OverlapSave::OverlapSave(std::span<const double> c, std::size_t outputs, std::size_t windows,
                         vyn::KernelLevel level)
    : before_(c.size() - 1),
      level_(level),
      response_(responseCache().take(c, transformLength(c.size(), outputs))),
      plan_(response_->length) {
    const std::size_t needed = windows * windowDistance();
    if (response_->windows.size() < needed) response_->windows.resize(needed);
}

OverlapSave::~OverlapSave() { responseCache().putBack(std::move(response_)); }

bool OverlapSave::convolve(std::size_t number) const noexcept {
    double* const re = window(number).data();
    double* const im = response_->imaginaries.data();
    plan_->forward(re, im);
    const bool finite = std::isfinite(re[0]);
    vyn::kernelsAt<ConvolutionKernels>(level_).multiply(re, im, response_->re.data(),
                                                        response_->im.data(), response_->im.size());
    plan_->inverse(re, im);
    return finite;
}

bool OverlapSave::finiteSumOfTaps() const noexcept { return std::isfinite(response_->re[0]); }

}  // namespace ovanlys
