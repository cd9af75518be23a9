#include "filter/overlap_save.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

#include "fft/lending_cache.h"
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

// Bounds the memory that is held: with eight windows to 6 MiB.
constexpr std::size_t kMostResponses = 4;
constexpr std::size_t kLongestKept = std::size_t{1} << 14;

using ResponseCache = LendingCache<TapResponse>;

ResponseCache& responseCache() {
    static ResponseCache cache(kMostResponses, kMostResponses * kLongestKept);
    return cache;
}

std::unique_ptr<TapResponse> responseOf(std::span<const double> c, std::size_t length) {
    auto known = responseCache().take([&](const TapResponse& response) {
        return response.length() == length && response.taps.size() == c.size() &&
               std::memcmp(response.taps.data(), c.data(), c.size_bytes()) == 0;
    });
    return known ? std::move(known) : std::make_unique<TapResponse>(c, length);
}

}  // namespace

TapResponse::TapResponse(std::span<const double> c, std::size_t transformLength)
    : taps(c.begin(), c.end()) {
    re.assign(transformLength);
    im.assign(transformLength / 2 + 1);
    imaginaries.assign(transformLength / 2 + 1);
    const bool isReal = tapsOf(c).symmetric && c.size() % 2 != 0;
    if (isReal) early = c.size() / 2;
    std::copy(c.begin() + static_cast<std::ptrdiff_t>(early), c.end(), re.data());
    std::copy_n(c.begin(), early, re.data() + transformLength - early);
    const DenormalsFlushed mode;
    BorrowedPlan(transformLength)->forward(re.data(), im.data());
    if (isReal) im.assign(0);
}

OverlapSave::OverlapSave(std::span<const double> c, std::size_t outputs, std::size_t windows,
                         vyn::KernelLevel level)
    : before_(c.size() - 1),
      level_(level),
      response_(responseOf(c, transformLength(c.size(), outputs))),
      plan_(response_->length()) {
    const std::size_t needed = windows * windowDistance();
    if (response_->windows.size() < needed) response_->windows.assign(needed);
}

OverlapSave::~OverlapSave() {
    if (response_->length() <= kLongestKept) responseCache().putBack(std::move(response_));
}

bool OverlapSave::convolve(std::size_t number) const noexcept {
    double* const re = window(number).data();
    double* const im = response_->imaginaries.data();
    plan_->forward(re, im);
    const bool finite = std::isfinite(re[0]);
    const auto& kernels = vyn::kernelsAt<ConvolutionKernels>(level_);
    const std::size_t lines = response_->imaginaries.size();
    if (response_->im.size() == 0) {
        kernels.scale(re, im, response_->re.data(), lines);
    } else {
        kernels.multiply(re, im, response_->re.data(), response_->im.data(), lines);
    }
    plan_->inverse(re, im);
    return finite;
}

bool OverlapSave::finiteSumOfTaps() const noexcept { return std::isfinite(response_->re[0]); }

}  // namespace ovanlys
