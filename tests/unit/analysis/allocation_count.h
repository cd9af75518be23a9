// Counts the heap allocations of the whole test program, and can refuse them.
#pragma once

#include <cstddef>

namespace ovanlys::test {

// False where the heap belongs to someone else (sanitizers, Wine): counts stay 0 there, and no
// allocation is refused.
bool allocationsAreCounted() noexcept;

// malloc, calloc, realloc, aligned_alloc and everything built on them, since the program's start.
std::size_t allocationCount() noexcept;

// While one of these lives, every allocation after the next `allowed` ones fails.
class FailingHeap {
public:
    explicit FailingHeap(std::size_t allowed) noexcept;
    ~FailingHeap();
    FailingHeap(const FailingHeap&) = delete;
    FailingHeap& operator=(const FailingHeap&) = delete;
};

}  // namespace ovanlys::test
