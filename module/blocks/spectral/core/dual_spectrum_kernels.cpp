#include "blocks/spectral/core/dual_spectrum_kernels.h"

namespace vynpack {
namespace {

// Calls work(scaled), where scaled(value) = value / divisor * factor. Multiplying by the exact
// reciprocal gives the quotient's bits.
template <class Work>
void withScale(LineScale scale, Work work) {
    const double divisor = scale.divisor;
    const double reciprocal = 1.0 / scale.divisor;
    const double factor = scale.factor;
    if (!scale.exactReciprocal) {
        work([=](double value) { return value / divisor * factor; });
    } else if (factor == 1.0) {
        work([=](double value) { return value * reciprocal; });
    } else {
        work([=](double value) { return value * reciprocal * factor; });
    }
}

void scaleLines(ComplexLines lines, LineScale scale, std::size_t n) {
    withScale(scale, [=](auto scaled) {
        for (std::size_t k = 0; k < n; ++k) {
            lines.re[k] = scaled(lines.re[k]);
            lines.im[k] = scaled(lines.im[k]);
        }
    });
}

void multiply(ConstComplexLines y, ConstComplexLines x, LineScale scale, ComplexLines cross,
              double* powerOfY, double* powerOfX, std::size_t n) {
    withScale(scale, [=](auto scaled) {
        double* __restrict crossRe = cross.re;
        double* __restrict crossIm = cross.im;
        double* __restrict squaredY = powerOfY;
        double* __restrict squaredX = powerOfX;
        for (std::size_t k = 0; k < n; ++k) {
            const double yRe = scaled(y.re[k]);
            const double yIm = scaled(y.im[k]);
            const double xRe = scaled(x.re[k]);
            const double xIm = scaled(x.im[k]);
            crossRe[k] = yRe * xRe + yIm * xIm;
            crossIm[k] = yRe * xIm - yIm * xRe;
            squaredY[k] = yRe * yRe + yIm * yIm;
            squaredX[k] = xRe * xRe + xIm * xIm;
        }
    });
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

constexpr DualSpectrumKernels kTable = {scaleLines, multiply, divideConjugate, coherence,
                                        takeWeighted};

}  // namespace

constinit const DualSpectrumKernels DualSpectrumKernels::VYN_KERNEL_LEVEL = kTable;

}  // namespace vynpack
