// A curve of any length in bounded memory, with every peak that a picture can show.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace vynhost {

// Neighbouring points share a bin, of which the first, the lowest, the highest and the last are
// kept. Bins widen as the curve grows; there are always far more of them than a picture has
// columns. Bins on both sides of a gap stay apart unless there are too many gaps.
class ThinnedCurve {
public:
    static constexpr std::size_t kMostBins = 4096;
    // The height at which a value is drawn; points without a finite one are not kept. One that is
    // no number is a gap. None: the value itself.
    using Height = std::function<double(double y)>;

    explicit ThinnedCurve(Height height) : height_(std::move(height)) {}

    void add(double x, double y);
    // One channel of a data block, as if its values came one by one: value i, at i * stride, at the
    // place i * step behind `start`.
    void add(double start, double step, std::span<const float> values, std::size_t stride);
    // What it takes when so many points more have come, at most, in bytes.
    std::uint64_t bytesWith(std::uint64_t more) const noexcept;
    // Points that have come, and whether they are more than those that are kept.
    std::uint64_t count() const noexcept { return count_; }
    bool isThinned() const noexcept { return binWidth_ > 1; }
    // The kept points in the order in which they came, and one that is no number for each gap.
    void appendTo(std::vector<double>& x, std::vector<double>& y) const;

private:
    struct Point {
        std::uint64_t number;
        double x;
        double y;
        double height;
    };
    struct Bin {
        std::uint64_t points;
        bool afterGap;
        Point first;
        Point lowest;
        Point highest;
        Point last;

        void take(const Bin& next);
    };
    bool addToLastBin(double start, double step, const float* values, std::size_t stride,
                      std::size_t from, std::size_t to);
    void halveBins();

    Height height_;
    std::vector<Bin> bins_;
    std::uint64_t binWidth_ = 1;  // points
    std::uint64_t count_ = 0;
    bool gap_ = false;  // since the last point
};

}  // namespace vynhost
