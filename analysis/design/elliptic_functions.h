// Elliptic integrals and functions for filter design. A modulus is carried with its complement, so
// that neither loses digits when the other is close to 1.
#pragma once

namespace ovanlys {

struct Modulus {
    long double k;
    long double complementary;  // sqrt(1 - k^2)

    Modulus complement() const { return {complementary, k}; }
};

// The complete integral of the first kind, K(k). Both parts of the modulus are positive.
long double quarterPeriod(Modulus modulus);

struct JacobiFunctions {
    long double sn, cn, dn;
};

// sn, cn, dn of a real argument, 0 <= u <= K.
JacobiFunctions jacobiFunctions(long double u, Modulus modulus);

// The u >= 0 with sc(u, k') = x for x >= 0, k' the complementary modulus.
long double inverseScOfComplement(long double x, Modulus modulus);

// The selectivity k of an elliptic filter of the order whose discrimination is given:
// K'(k)/K(k) = K'(k1) / (order K(k1)).
Modulus degreeEquation(int order, Modulus discrimination);

}  // namespace ovanlys
