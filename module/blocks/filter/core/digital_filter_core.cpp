#include "blocks/filter/core/digital_filter_core.h"

#include <algorithm>
#include <array>

namespace vynpack {
namespace {

constexpr double kLargestFirBank = 512.0 * 1024 * 1024;  // bytes
constexpr int kMostTaps = 1 << 20;

// The library's window codes, and the beta of the Kaiser window that imitates each window.
struct WindowRow {
    FilterDesign::Window window;
    int code;
    double kaiserBeta;
};
constexpr std::array<WindowRow, 5> kWindows = {{
    {FilterDesign::kRectangular, 0, 0.0},
    {FilterDesign::kTriangular, 30, 1.33},
    {FilterDesign::kHanning, 1, 3.86},
    {FilterDesign::kHamming, 2, 4.86},
    {FilterDesign::kBlackman, 5, 7.04},
}};
constexpr int kKaiserCode = 60;

}  // namespace

EdgeFault edgeFaultOf(const FilterDesign& design, double rate) noexcept {
    const double nyquist = rate / 2.0;
    if (design.isPass() && design.cutoff >= nyquist) return EdgeFault::cutoff;
    if (design.isBand() && design.upper >= nyquist) return EdgeFault::upperEdge;
    return EdgeFault::none;
}

FirWindow firWindowOf(const FilterDesign& design) noexcept {
    const auto found = std::find_if(kWindows.begin(), kWindows.end(), [&](const WindowRow& row) {
        return row.window == design.window;
    });
    const WindowRow& row = found == kWindows.end() ? kWindows.front() : *found;
    return design.kaiser != 0 ? FirWindow{kKaiserCode, row.kaiserBeta} : FirWindow{row.code, 0.0};
}

bool firFits(const FilterDesign& design, int channels) noexcept {
    return design.length <= kMostTaps &&
           FirFilterBank::bytesFor(std::max(design.length, 0), channels) <= kLargestFirBank;
}

}  // namespace vynpack
