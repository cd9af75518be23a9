#include "spectral/dual_spectrum_kernels.h"

namespace vynpack::VYN_KERNEL_LEVEL {
namespace {

void scaleLines(ComplexLines lines, LineScale scale, std::size_t n) {
    if (scale.exactReciprocal) {
        const double reciprocal = 1.0 / scale.divisor;
        for (std::size_t k = 0; k < n; ++k) {
            lines.re[k] = lines.re[k] * reciprocal * scale.factor;
            lines.im[k] = lines.im[k] * reciprocal * scale.factor;
        }
    } else {
        for (std::size_t k = 0; k < n; ++k) {
            lines.re[k] = lines.re[k] / scale.divisor * scale.factor;
            lines.im[k] = lines.im[k] / scale.divisor * scale.factor;
        }
    }
}

void multiply(ConstComplexLines y, ConstComplexLines x, ComplexLines cross,
              double* __restrict powerOfY, double* __restrict powerOfX, std::size_t n) {
    double* __restrict crossRe = cross.re;
    double* __restrict crossIm = cross.im;
    for (std::size_t k = 0; k < n; ++k) {
        crossRe[k] = y.re[k] * x.re[k] + y.im[k] * x.im[k];
        crossIm[k] = y.re[k] * x.im[k] - y.im[k] * x.re[k];
        powerOfY[k] = y.re[k] * y.re[k] + y.im[k] * y.im[k];
        powerOfX[k] = x.re[k] * x.re[k] + x.im[k] * x.im[k];
    }
}

void divideConjugate(ConstComplexLines numerator, ConstComplexLines denominator, ComplexLines out,
                     std::size_t n) {
    const double* a = numerator.re;
    const double* b = numerator.im;
    const double* c = denominator.re;
    const double* d = denominator.im;
    double* __restrict re = out.re;
    double* __restrict im = out.im;
    for (std::size_t k = 0; k < n; ++k) {
        const double squared = c[k] * c[k] + d[k] * d[k];
        // Divided by 1 where the result is thrown away, so that no lane divides by 0.
        const double divisor = squared == 0.0 ? 1.0 : squared;
        const double quotientRe = (a[k] * c[k] + b[k] * d[k]) / divisor;
        const double quotientIm = (a[k] * d[k] - c[k] * b[k]) / divisor;
        re[k] = squared == 0.0 ? 0.0 : quotientRe;
        im[k] = squared == 0.0 ? 0.0 : quotientIm;
    }
}

void coherence(ConstComplexLines cross, const double* powerOfY, const double* powerOfX,
               double* __restrict out, std::size_t n) {
    for (std::size_t k = 0; k < n; ++k) {
        const double product = powerOfY[k] * powerOfX[k];
        const double divisor = product == 0.0 ? 1.0 : product;
        const double quotient = (cross.re[k] * cross.re[k] + cross.im[k] * cross.im[k]) / divisor;
        out[k] = product == 0.0 ? 0.0 : quotient;
    }
}

void takeWeighted(double* __restrict past, const double* __restrict present, double weight,
                  std::size_t n) {
    for (std::size_t k = 0; k < n; ++k)
        past[k] = (past[k] * weight + present[k]) / (weight + 1.0);
}

}  // namespace

const DualSpectrumKernels dualSpectrumKernels = {scaleLines, multiply, divideConjugate, coherence,
                                                 takeWeighted};

}  // namespace vynpack::VYN_KERNEL_LEVEL
