// FFTW asks these functions which of its loops the processor can run. Linked into a program that
// has them already, it takes theirs: here those of a machine without AVX, as numpy and numba are
// held to the level by their settings.
extern "C" {
int fftw_have_simd_avx() { return 0; }
int fftwf_have_simd_avx() { return 0; }
}
