#include "vynhost/base/memory_limit.h"

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
    std::string text = std::string(what) + " would take " + memoryText(bytes);
    if (others >= kWorthSaying) text += " beside " + memoryText(others) + " of the rest";
    throw InputError(place_, text + "; a run may take " + memoryText(limit_.bytes_) + " (" +
                                 limit_.raisedBy_ + " raises that)");
}

}  // namespace vynhost
