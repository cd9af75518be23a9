#include "fft/fft.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace ovanlys {
namespace {

// The plans of the lengths used last. A plan is taken out for the time of a transform and put back
// afterwards, so that several threads never share one. The one used last waits in a place of its
// own: transforms of one length after the other need no lock.
class PlanCache {
public:
    PlanCache() { older_.reserve(kMostOlder + 1); }
    ~PlanCache() { delete last_.load(); }
    PlanCache(const PlanCache&) = delete;
    PlanCache& operator=(const PlanCache&) = delete;

    std::unique_ptr<FftPlan> take(std::size_t length) {
        std::unique_ptr<FftPlan> last(last_.exchange(nullptr, std::memory_order_acquire));
        if (last && last->length() == length) return last;
        {
            const std::lock_guard lock(mutex_);
            if (last) keep(std::move(last));
            const auto known =
                std::find_if(older_.begin(), older_.end(),
                             [length](const auto& plan) { return plan->length() == length; });
            if (known != older_.end()) {
                auto plan = std::move(*known);
                older_.erase(known);
                return plan;
            }
        }
        return std::make_unique<FftPlan>(length);
    }

    void putBack(std::unique_ptr<FftPlan> plan) noexcept {
        std::unique_ptr<FftPlan> before(last_.exchange(plan.release(), std::memory_order_acq_rel));
        if (!before) return;
        const std::lock_guard lock(mutex_);
        keep(std::move(before));
    }

private:
    static constexpr std::size_t kMostOlder = 15;
    // Bounds the memory when lengths are huge.
    static constexpr std::size_t kMaxSamplesHeld = std::size_t{1} << 22;

    void keep(std::unique_ptr<FftPlan> plan) noexcept {
        older_.insert(older_.begin(), std::move(plan));  // within the reserved room
        std::size_t held = 0;
        const auto tooOld = std::find_if(older_.begin(), older_.end(), [&held](const auto& p) {
            held += p->length();
            return held > kMaxSamplesHeld;
        });
        older_.erase(tooOld, older_.end());
        if (older_.size() > kMostOlder) older_.pop_back();
    }

    std::atomic<FftPlan*> last_ = nullptr;
    std::mutex mutex_;
    std::vector<std::unique_ptr<FftPlan>> older_;  // used last first
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
