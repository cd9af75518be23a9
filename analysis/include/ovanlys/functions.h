// The analysis library's 13 functions: plain C, int = 32 bit, never throwing. Beside them stand
// functions for speed alone, which a caller asks for by name and can do without: what they give is
// made of the 13 as their comments say, bit for bit.
//
// Status results: 0 success, -1 a null pointer or a count below 1 (nothing is touched), -2 a design
// whose edges or dB values make no sense, -3 no memory (nothing is touched). Frequencies and rates
// are in Hz.
#pragma once

#include <cstdint>

namespace ovanlys {

extern "C" {

// Forward real FFT in place, any n >= 1. In: a[0..n) samples. Out: for k = 0..n/2, a[k] = Re X_k
// and b[k] = Im X_k with X_k = sum_i x_i e^(-2 pi j k i / n), not normalised; the rest is
// unspecified.
int ZABFunc147(double* a, double* b, int n);

// Its inverse: reads lines 0..n/2 of a conjugate-symmetric spectrum (the imaginary parts of line 0
// and, for even n, of line n/2 count as 0), writes the n samples x_i = (1/n) sum_k X_k e^(+2 pi j k
// i / n) into re; im is unspecified afterwards.
int ZABFunc148(double* re, double* im, int n);

// Filters n samples through a filter object, whose state is carried on from call to call; in and
// out may be the same array. n = 0 does nothing and succeeds.
int ZABFunc91(const double* in, int n, void* object, double* out);

// Creates a filter object: kind 0 low pass, 1 high pass, 2 band pass, 3 band stop; order 1..64.
// Null for anything else or when memory is out. A new object passes samples through unchanged. The
// public head of the object is FilterHead (ovanlys/filter_head.h).
void* ZABFunc233(int kind, int order);

// Destroys it; null is allowed.
void ZABFunc234(void* object);

// IIR designs into an object, for sample rate fs. Low and high pass read f1 only. A refused design
// (-2) leaves the object and its state as they were; a successful one clears the state.
int ZABFunc18(double fs, double f1, double f2, void* object);  // Butterworth, -3 dB edges
int ZABFunc24(double fs, double f1, double f2, double ripple, void* object);  // Chebyshev, type 1
int ZABFunc98(double fs, double f1, double f2, double attenuation,
              void* object);  // Chebyshev, type 2
int ZABFunc61(double fs, double f1, double f2, double ripple, double attenuation,
              void* object);                                   // elliptic
int ZABFunc12(double fs, double f1, double f2, void* object);  // Bessel, -3 dB edges, order <= 25

// The library's version: 100 * major + minor.
int ZABFunc79(void);

// FIR design by the window method into `length` coefficients. Windows: 0 rectangular, 30
// triangular, 1 Hanning, 2 Hamming, 5 Blackman, 60 Kaiser with `beta`; any other code is
// rectangular. A refused design (-2) sets all coefficients to 0.
int ZABFunc335(int kind, double fs, double f1, double f2, int length, int window, double beta,
               double* coefficients);

// Full linear convolution: y[m] = sum_j c[j] x[m - j] for m = 0..n+length-2, and y[n+length-1] = 0.
int ZABFunc32(const double* c, std::int64_t length, const double* x, int n, double* y);

// --- Beside the 13
// ----------------------------------------------------------------------------------

// Filters n samples of each of `channels` interleaved channels through an object each: sample i of
// channel c is in[i * channels + c]. Gives ZABFunc91's bits: of the samples as doubles, rounded to
// float. in and out may be the same array; no object is there twice. n = 0 does nothing and
// succeeds; -2 and -3 leave everything as it was.
int ovanlysFilterChannels(const float* in, int n, void* const* objects, int channels, float* out);

// FIR over n samples of each of `channels` interleaved channels, in the order of `in`:
// y_i = sum_j c[j] x_(i-j), j = 0..length-1. `before` holds the length-1 samples of each channel
// before the block, interleaved too; it may be null for length 1. Gives ZABFunc32's bits: its
// outputs length-1..length+n-2 for the samples of `before` and `in` as doubles, rounded to float.
// `out` overlaps neither. n = 0 does nothing and succeeds; -3 leaves everything as it was.
int ovanlysConvolveChannels(const double* c, std::int64_t length, const float* before,
                            const float* in, int n, int channels, float* out);

}  // extern "C"

}  // namespace ovanlys
