// The 13 functions, thin: arguments are checked, the matter's own file does the work, and no
// exception leaves.
#include <new>

#include "fft.h"
#include "ovanlys/functions.h"
#include "version.h"

namespace ovanlys {
namespace {

enum Status { kDone = 0, kBadArgument = -1, kOutOfMemory = -3 };

template <class Work>
int guarded(Work work) noexcept {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    }
}

constexpr int kNotYet = -3;

}  // namespace

int ZABFunc147(double* a, double* b, int n) {
    if (a == nullptr || b == nullptr || n < 1) return kBadArgument;
    return guarded([&] {
        forwardRealTransform(a, b, n);
        return kDone;
    });
}

int ZABFunc148(double* re, double* im, int n) {
    if (re == nullptr || im == nullptr || n < 1) return kBadArgument;
    return guarded([&] {
        inverseRealTransform(re, im, n);
        return kDone;
    });
}

int ZABFunc91(const double*, int, void*, double*) { return kNotYet; }
void* ZABFunc233(int, int) { return nullptr; }
void ZABFunc234(void*) {}
int ZABFunc18(double, double, double, void*) { return kNotYet; }
int ZABFunc24(double, double, double, double, void*) { return kNotYet; }
int ZABFunc98(double, double, double, double, void*) { return kNotYet; }
int ZABFunc61(double, double, double, double, double, void*) { return kNotYet; }
int ZABFunc12(double, double, double, void*) { return kNotYet; }

int ZABFunc79() { return kVersion; }

int ZABFunc335(int, double, double, double, int, int, double, double*) { return kNotYet; }
int ZABFunc32(const double*, std::int64_t, const double*, int, double*) { return kNotYet; }

}  // namespace ovanlys
