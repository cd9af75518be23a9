// Blocks of a convolution by transforms, and the taps' responses that are kept for the next ones.
//
// Source: A. V. Oppenheim, R. W. Schafer, "Discrete-Time Signal Processing" (overlap-save).
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "fft/fft.h"
#include "kernels/aligned_array.h"
#include "kernels/level.h"

namespace ovanlys {

// What the blocks of one set of taps need: the taps' lines, and memory for a few blocks.
struct TapResponse {
    TapResponse(std::span<const double> c, std::size_t transformLength);

    std::size_t length() const noexcept { return re.size(); }  // of the transforms

    std::vector<double> taps;
    // An odd number of taps that are the same from either end is laid around place 0, where it has
    // real lines alone, and `im` is empty; outputs come so many places earlier then.
    std::size_t early = 0;
    // Of the taps' lines; of windows with `length` samples, a little apart; of a window's lines.
    vyn::AlignedArray<double> re{2};
    vyn::AlignedArray<double> im{3};
    vyn::AlignedArray<double> windows{0};
    vyn::AlignedArray<double> imaginaries{1};
};

// Makes the outputs y[m] = sum_j c[j] x[m-j] block by block. Whoever convolves the same taps again
// gets the same response. Errors: std::bad_alloc, in the constructor alone.
class OverlapSave {
public:
    // The length of the blocks is the one that makes `outputs` outputs at the least cost. There is
    // memory for so many blocks at a time.
    OverlapSave(std::span<const double> c, std::size_t outputs, std::size_t windows = 1,
                vyn::KernelLevel level = vyn::kernelLevel());
    ~OverlapSave();
    OverlapSave(const OverlapSave&) = delete;
    OverlapSave& operator=(const OverlapSave&) = delete;

    // Outputs that a block makes.
    std::size_t step() const noexcept { return response_->length() - before_; }
    // The place in a window of the first output after `convolve`.
    std::size_t firstOutput() const noexcept { return before_ - response_->early; }
    // What the caller fills: the taps - 1 samples before the block's first output, and the samples
    // of its `step` outputs.
    std::span<double> window(std::size_t number = 0) const noexcept {
        return {response_->windows.data() + number * windowDistance(), response_->length()};
    }
    // Numbers from one window to the next; not a power of two, so that they share no cache sets.
    std::size_t windowDistance() const noexcept { return response_->length() + kWindowGap; }
    // Makes the outputs of a window in it. Returns whether the sum of its samples, which is
    // their line 0, is finite: then all of them are, or else no output says anything.
    bool convolve(std::size_t number = 0) const noexcept;
    std::span<const double> outputs(std::size_t number = 0) const noexcept {
        return window(number).subspan(firstOutput(), step());
    }
    // Whether the sum of the taps is finite: then all of them are.
    bool finiteSumOfTaps() const noexcept;

private:
    static constexpr std::size_t kWindowGap = 8;

    std::size_t before_;  // samples that a block needs from before it
    vyn::KernelLevel level_;
    std::unique_ptr<TapResponse> response_;
    BorrowedPlan plan_;
};

}  // namespace ovanlys
