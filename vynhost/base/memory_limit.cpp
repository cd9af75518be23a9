#include "vynhost/base/memory_limit.h"

#include "vynhost/base/messages.h"

namespace vynhost {

std::string memoryText(std::uint64_t bytes) {
    constexpr int kMebi = 20;
    constexpr int kGibi = 30;
    constexpr std::uint64_t kWholeGibi = std::uint64_t{16} << kGibi;  // from here on
    const int shift = bytes < kWholeGibi ? kMebi : kGibi;
    const std::uint64_t units = (bytes >> shift) + ((bytes & ((1ULL << shift) - 1)) != 0 ? 1 : 0);
    if (shift == kMebi && units % 1024 == 0 && units > 0) {
        return std::to_string(units / 1024) + " GiB";
    }
    return std::to_string(units) + (shift == kMebi ? " MiB" : " GiB");
}

void MemoryPart::refuse(std::uint64_t bytes, const char* what) const {
    const std::uint64_t others = limit_.taken_ - bytes_;
    constexpr std::uint64_t kWorthSaying = std::uint64_t{1} << 20;
    const std::string text = others >= kWorthSaying
                                 ? tr("%1 would take %2 beside %3 of the rest", what,
                                      memoryText(bytes), memoryText(others))
                                 : tr("%1 would take %2", what, memoryText(bytes));
    throw InputError(place_, tr("%1; a run may take %2 (%3 raises that)", text,
                                memoryText(limit_.bytes_), limit_.raisedBy_));
}

}  // namespace vynhost
