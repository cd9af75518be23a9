#include "filter/convolution_kernels.h"

#include "kernels/lanes.h"

namespace ovanlys {
namespace {

using namespace vyn;  // its lanes

using Group = Registers<8>;

// `chained` groups of eight outputs that lie side by side. The eight samples at an offset serve all
// of them: with the tap j for the first group, with j + 8 for the next, and so on. Walking the
// offsets downwards, every output sees its taps in ascending order; a group that is out of taps
// meets zeros, which change nothing. `sets` of such chains share the taps that a register holds.
template <int chained, int sets>
struct Outputs {
    static constexpr int kSetOutputs = 8 * chained;
    static constexpr int kCount = kSetOutputs * sets;

    static void make(const double* c, std::ptrdiff_t taps, const double* x, double* y) {
        Group sums[sets][chained] = {};
        const double* samples = x + 8 * (chained - 1);
        for (const double* tap = c - 8 * (chained - 1); tap != c + taps; ++tap, --samples) {
#pragma GCC unroll 4
            for (int set = 0; set < sets; ++set) {
                const Group here = Group::load(samples + set * kSetOutputs);
#pragma GCC unroll 4
                for (int group = 0; group < chained; ++group)
                    sums[set][group] = sums[set][group] + here * tap[8 * group];
            }
        }
        for (int set = 0; set < sets; ++set)
            for (int group = 0; group < chained; ++group)
                sums[set][group].store(y + set * kSetOutputs + 8 * group);
    }
};

template <class Shape>
void makeBlock(const double* c, std::ptrdiff_t taps, const double* x, double* y) {
    for (int done = 0; done < kOutputsAtOnce; done += Shape::kCount)
        Shape::make(c, taps, x + done, y + done);
}

// As many sums at a time as the level has registers for. Short filters gain from short chains,
// which have fewer zeros to walk through.
constexpr int kGroupsInRegisters = kLanes == 2 ? 2 : kLanes == 4 ? 4 : 8;
constexpr std::ptrdiff_t kShort = 96;
using ForShort = Outputs<2, kGroupsInRegisters / 2>;
using ForLong = Outputs<kGroupsInRegisters == 2 ? 2 : 4, kGroupsInRegisters == 8 ? 2 : 1>;

void outputs(const double* c, std::ptrdiff_t taps, const double* x, double* y,
             std::ptrdiff_t blocks) {
    for (; blocks > 0; --blocks, x += kOutputsAtOnce, y += kOutputsAtOnce) {
        if (taps < kShort) {
            makeBlock<ForShort>(c, taps, x, y);
        } else {
            makeBlock<ForLong>(c, taps, x, y);
        }
    }
}

constexpr ConvolutionKernels kTable = {outputs};

}  // namespace

constinit const ConvolutionKernels ConvolutionKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace ovanlys
