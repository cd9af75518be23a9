#include "unit/analysis/allocation_count.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <limits>

#if defined(__GLIBC__) && !defined(VYN_SANITIZED)
#define OVANLYS_TEST_COUNTS_ALLOCATIONS 1
#endif

namespace ovanlys::test {
namespace {

constexpr std::size_t kUnlimited = std::numeric_limits<std::size_t>::max();
std::atomic<std::size_t> count{0};
std::atomic<std::size_t> limit{kUnlimited};

}  // namespace

std::size_t allocationCount() noexcept { return count; }

FailingHeap::FailingHeap(std::size_t allowed) noexcept { limit = count + allowed; }
FailingHeap::~FailingHeap() { limit = kUnlimited; }

#ifdef OVANLYS_TEST_COUNTS_ALLOCATIONS
bool allocationsAreCounted() noexcept { return true; }

static bool mayAllocate() noexcept {
    const bool allowed = count < limit;
    if (allowed) {
        ++count;
    } else {
        errno = ENOMEM;
    }
    return allowed;
}
#else
bool allocationsAreCounted() noexcept { return false; }
#endif

}  // namespace ovanlys::test

#ifdef OVANLYS_TEST_COUNTS_ALLOCATIONS
// The C library lets a program put its own functions in front of these four.
#pragma GCC visibility push(default)  // libraries find them as well
extern "C" {

void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);

void* malloc(std::size_t bytes) {
    return ovanlys::test::mayAllocate() ? __libc_malloc(bytes) : nullptr;
}

void* calloc(std::size_t count, std::size_t bytes) {
    return ovanlys::test::mayAllocate() ? __libc_calloc(count, bytes) : nullptr;
}

void* realloc(void* memory, std::size_t bytes) {
    return ovanlys::test::mayAllocate() ? __libc_realloc(memory, bytes) : nullptr;
}

void* aligned_alloc(std::size_t alignment, std::size_t bytes) {
    return ovanlys::test::mayAllocate() ? __libc_memalign(alignment, bytes) : nullptr;
}

}  // extern "C"
#pragma GCC visibility pop
#endif
