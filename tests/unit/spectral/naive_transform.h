// The discrete Fourier transform by its definition, in long double: slow, and nothing to get wrong.
#pragma once

#include <cmath>
#include <numbers>
#include <vector>

namespace vynpack::test {

// Single-precision samples and results: the tolerance is a few units of float.
inline constexpr double kFloat = 5e-7;
inline constexpr long double kPi = std::numbers::pi_v<long double>;

// As the analysis library's ZABFunc147: lines 0..n/2 into re and im.
inline int naiveTransform(double* re, double* im, int n) {
    if (n < 1) return -1;
    const std::vector<double> x(re, re + n);
    for (int k = 0; k <= n / 2; ++k) {
        long double sumRe = 0;
        long double sumIm = 0;
        for (int i = 0; i < n; ++i) {
            // The angle from the reduced product, so that it stays small and exact.
            const auto turns = static_cast<long long>(k) * i % n;
            const long double angle = 2 * kPi * static_cast<long double>(turns) / n;
            sumRe += x[i] * std::cos(angle);
            sumIm -= x[i] * std::sin(angle);
        }
        re[k] = static_cast<double>(sumRe);
        if (k < n) im[k] = static_cast<double>(sumIm);
    }
    return 0;
}

// As ZABFunc148: lines 0..n/2 of re and im into the samples in re.
inline int naiveInverse(double* re, double* im, int n) {
    if (n < 1) return -1;
    const std::vector<double> lineRe(re, re + n / 2 + 1);
    const std::vector<double> lineIm(im, im + n / 2 + 1);
    for (int i = 0; i < n; ++i) {
        long double sum = lineRe[0];
        for (int k = 1; 2 * k < n; ++k) {
            const auto turns = static_cast<long long>(k) * i % n;
            const long double angle = 2 * kPi * static_cast<long double>(turns) / n;
            sum += 2 * (lineRe[k] * std::cos(angle) - lineIm[k] * std::sin(angle));
        }
        if (n % 2 == 0) sum += (i % 2 == 0 ? 1 : -1) * lineRe[n / 2];
        re[i] = static_cast<double>(sum / n);
    }
    return 0;
}

}  // namespace vynpack::test
