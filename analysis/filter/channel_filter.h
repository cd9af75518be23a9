// Interleaved single-precision channels through filter objects, one for each.
#pragma once

#include <span>

#include "filter/filter_object.h"
#include "kernels/level.h"

namespace ovanlys {

// Filters n samples of each channel from `in` to `out`, which may be the same: sample i of channel
// c is in[i * objects.size() + c]. Every channel goes on from its object's state, and its bits are
// those of FilterObject::filter on the samples as doubles, rounded to single precision. Edited
// heads are taken first: false, and nothing is filtered, if one of them makes no filter. No object
// is there twice. Errors: std::bad_alloc before anything is filtered.
bool filterChannels(std::span<FilterObject* const> objects, const float* in, int n, float* out,
                    vyn::KernelLevel level = vyn::kernelLevel());

}  // namespace ovanlys
