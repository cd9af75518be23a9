#include "fft/fft.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace ovanlys {
namespace {

// The plans of the lengths used last. A plan is taken out for the time of a transform and put back
// at the front, so that several threads never share one.
class PlanCache {
public:
    PlanCache() { plans_.reserve(kMaxPlans + 1); }

    std::unique_ptr<FftPlan> take(std::size_t length) {
        {
            const std::lock_guard lock(mutex_);
            const auto known =
                std::find_if(plans_.begin(), plans_.end(),
                             [length](const auto& plan) { return plan->length() == length; });
            if (known != plans_.end()) {
                auto plan = std::move(*known);
                plans_.erase(known);
                return plan;
            }
        }
        return std::make_unique<FftPlan>(length);
    }

    void putBack(std::unique_ptr<FftPlan> plan) noexcept {
        const std::lock_guard lock(mutex_);
        plans_.insert(plans_.begin(), std::move(plan));  // within the reserved room
        std::size_t held = 0;
        const auto tooOld = std::find_if(plans_.begin() + 1, plans_.end(), [&held](const auto& p) {
            held += p->length();
            return held > kMaxSamplesHeld;
        });
        plans_.erase(tooOld, plans_.end());
        if (plans_.size() > kMaxPlans) plans_.pop_back();
    }

private:
    static constexpr std::size_t kMaxPlans = 16;
    // Lengths held beside the one used last: bounds the memory when lengths are huge.
    static constexpr std::size_t kMaxSamplesHeld = std::size_t{1} << 22;

    std::mutex mutex_;
    std::vector<std::unique_ptr<FftPlan>> plans_;  // used last first
};

PlanCache& planCache() {
    static PlanCache cache;
    return cache;
}

}  // namespace

BorrowedPlan::BorrowedPlan(std::size_t length) : plan_(planCache().take(length)) {}
BorrowedPlan::~BorrowedPlan() { planCache().putBack(std::move(plan_)); }

void forwardRealTransform(double* a, double* b, int n) {
    BorrowedPlan(static_cast<std::size_t>(n))->forward(a, b);
}

void inverseRealTransform(double* re, double* im, int n) {
    BorrowedPlan(static_cast<std::size_t>(n))->inverse(re, im);
}

}  // namespace ovanlys
