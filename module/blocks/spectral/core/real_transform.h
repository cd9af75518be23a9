// The analysis library's real FFT, as the spectral cores take it.
#pragma once

namespace vynpack {

// In place over n samples: re[k] and im[k] for k = 0..n/2 afterwards. A negative result is a
// failure.
using RealTransform = int (*)(double* re, double* im, int n);

}  // namespace vynpack
