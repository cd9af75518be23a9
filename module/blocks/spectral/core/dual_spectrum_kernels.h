// The loops over the lines of two spectra, compiled for several instruction-set levels.
#pragma once

#include <cstddef>

namespace vynpack {

// Lines of a complex spectrum.
struct ComplexLines {
    double* re;
    double* im;
};
struct ConstComplexLines {
    const double* re;
    const double* im;
};

// What a transform's lines are divided by and then multiplied with.
struct LineScale {
    double divisor;
    bool exactReciprocal;  // the divisor is a power of two
    double factor;
};

// Averages of the cross product and of the powers.
struct ProductPlaces {
    double* crossRe;
    double* crossIm;
    double* powerOfY;
    double* powerOfX;
};

// What averageAndDivide makes of the averages.
struct DividedLines {
    bool h2;            // |Y|^2 / cross instead of cross / |X|^2
    int conversion;     // of the quotient: ConversionKind, kToMagnitude to kToPower
    float divisor;      // of the converted quotient
    float* amplitudes;  // null: none
    float* coherences;  // null: none
};

struct DualSpectrumKernels {
    // lines = lines / divisor * factor
    void (*scaleLines)(ComplexLines lines, LineScale scale, std::size_t n);

    // cross = x conj(y) and the powers |y|^2 and |x|^2, all of the scaled lines.
    void (*multiply)(ConstComplexLines y, ConstComplexLines x, LineScale scale, ComplexLines cross,
                     double* powerOfY, double* powerOfX, std::size_t n);

    // out = conj(numerator / denominator), 0 where the squared denominator is 0.
    void (*divideConjugate)(ConstComplexLines numerator, ConstComplexLines denominator,
                            ComplexLines out, std::size_t n);

    // out = |cross|^2 / (powerOfY * powerOfX), 0 where the product is 0.
    void (*coherence)(ConstComplexLines cross, const double* powerOfY, const double* powerOfX,
                      double* out, std::size_t n);

    // All steps from the transforms' lines to a transfer function and its coherence, whose averages
    // are the same ones, in one pass: multiply with a scale whose reciprocal is exact, the products
    // taken into the averages as the count-th ones (below 2: in their place), divideConjugate with
    // a real |X|^2 or |Y|^2, the conversion, coherence, rounded to float.
    void (*averageAndDivide)(ConstComplexLines y, ConstComplexLines x, LineScale scale,
                             ProductPlaces averages, double count, const DividedLines& out,
                             std::size_t n);

    // past = (past * weight + present) / (weight + 1)
    void (*takeWeighted)(double* past, const double* present, double weight, std::size_t n);

    static const DualSpectrumKernels baseline, avx2, avx512;
};

}  // namespace vynpack
