// Things that are dear to make, such as plans of transforms, kept for whoever needs them next.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace ovanlys {

// Keeps the things used last. One is taken out while it is used and put back afterwards, so that
// several threads never share one. The one used last waits in a place of its own: to use one thing
// again and again needs no lock. A thing has a length(), which its memory is in proportion to.
template <class Thing>
class LendingCache {
public:
    // Holds so many things, and beside the one used last no more than so much length.
    LendingCache(std::size_t mostThings, std::size_t mostLength)
        : mostOlder_(mostThings - 1), mostLength_(mostLength) {
        older_.reserve(mostOlder_ + 1);
    }
    ~LendingCache() { delete last_.load(); }
    LendingCache(const LendingCache&) = delete;
    LendingCache& operator=(const LendingCache&) = delete;

    // One for which fits(thing) holds; null where there is none.
    template <class Fits>
    std::unique_ptr<Thing> take(Fits fits) {
        std::unique_ptr<Thing> last(last_.exchange(nullptr, std::memory_order_acquire));
        if (last && fits(std::as_const(*last))) return last;
        const std::lock_guard lock(mutex_);
        if (last) keep(std::move(last));
        const auto known = std::find_if(older_.begin(), older_.end(), [&](const auto& thing) {
            return fits(std::as_const(*thing));
        });
        if (known == older_.end()) return nullptr;
        auto thing = std::move(*known);
        older_.erase(known);
        return thing;
    }

    void putBack(std::unique_ptr<Thing> thing) noexcept {
        std::unique_ptr<Thing> before(last_.exchange(thing.release(), std::memory_order_acq_rel));
        if (!before) return;
        const std::lock_guard lock(mutex_);
        keep(std::move(before));
    }

private:
    void keep(std::unique_ptr<Thing> thing) noexcept {
        older_.insert(older_.begin(), std::move(thing));  // within the reserved room
        std::size_t held = 0;
        const auto tooOld = std::find_if(older_.begin(), older_.end(), [&](const auto& older) {
            held += older->length();
            return held > mostLength_;
        });
        older_.erase(tooOld, older_.end());
        if (older_.size() > mostOlder_) older_.pop_back();
    }

    std::size_t mostOlder_;
    std::size_t mostLength_;
    std::atomic<Thing*> last_ = nullptr;
    std::mutex mutex_;
    std::vector<std::unique_ptr<Thing>> older_;  // used last first
};

}  // namespace ovanlys
