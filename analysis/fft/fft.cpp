#include "fft/fft.h"

#include <cstddef>
#include <memory>
#include <utility>

#include "fft/lending_cache.h"

namespace ovanlys {
namespace {

using PlanCache = LendingCache<FftPlan>;

PlanCache& planCache() {
    constexpr std::size_t kMostPlans = 16;
    // Bounds the memory when lengths are huge.
    constexpr std::size_t kMostSamples = std::size_t{1} << 22;
    static PlanCache cache(kMostPlans, kMostSamples);
    return cache;
}

std::unique_ptr<FftPlan> planFor(std::size_t length) {
    auto known =
        planCache().take([length](const FftPlan& plan) { return plan.length() == length; });
    return known ? std::move(known) : std::make_unique<FftPlan>(length);
}

}  // namespace

BorrowedPlan::BorrowedPlan(std::size_t length) : plan_(planFor(length)) {}
BorrowedPlan::~BorrowedPlan() { planCache().putBack(std::move(plan_)); }

void forwardRealTransform(double* a, double* b, int n) {
    BorrowedPlan(static_cast<std::size_t>(n))->forward(a, b);
}

void inverseRealTransform(double* re, double* im, int n) {
    BorrowedPlan(static_cast<std::size_t>(n))->inverse(re, im);
}

}  // namespace ovanlys
