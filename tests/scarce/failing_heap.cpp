#include "scarce/failing_heap.h"

#include <link.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string_view>

namespace vynhost::test::failing_heap {
namespace {

struct Code {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
};

// Plain data: looked at from within operator new.
std::array<Code, 2> watched;
int wait = 0;  // allocations up to the first that fails; 0: none does
bool always = false;
bool refused = false;

int noteCode(dl_phdr_info* library, std::size_t, void* count) {
    const std::string_view name(library->dlpi_name);
    if (!name.ends_with("VYNPACKM.so") && !name.ends_with("ovanlys.so")) return 0;
    for (int i = 0; i < library->dlpi_phnum; ++i) {
        const auto& part = library->dlpi_phdr[i];
        if (part.p_type != PT_LOAD || (part.p_flags & PF_X) == 0) continue;
        auto& used = *static_cast<std::size_t*>(count);
        if (used == watched.size()) return 1;
        watched[used].begin = library->dlpi_addr + part.p_vaddr;
        watched[used].end = watched[used].begin + part.p_memsz;
        ++used;
    }
    return 0;
}

bool isWatched(const void* caller) noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(caller);
    for (const Code& code : watched) {
        if (address >= code.begin && address < code.end) return true;
    }
    return false;
}

bool fails(const void* caller) noexcept {
    if (wait == 0 || !isWatched(caller)) return false;
    if (wait > 1) {
        --wait;
        return false;
    }
    if (!always) wait = 0;
    refused = true;
    return true;
}

void* allocate(std::size_t bytes, const void* caller) noexcept {
    return fails(caller) ? nullptr : std::malloc(bytes == 0 ? 1 : bytes);
}

void* allocate(std::size_t bytes, std::align_val_t alignment, const void* caller) noexcept {
    const auto unit = static_cast<std::size_t>(alignment);
    return fails(caller) ? nullptr : std::aligned_alloc(unit, (bytes + unit) / unit * unit);
}

void* orThrow(void* memory) {
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

}  // namespace

void failAt(int n, bool forEver) {
    watched = {};
    std::size_t count = 0;
    ::dl_iterate_phdr(noteCode, &count);
    always = forEver;
    refused = false;
    wait = n;
}

bool stop() {
    wait = 0;
    return refused;
}

}  // namespace vynhost::test::failing_heap

// What the module's and the library's containers end up with: this program's operators come first.
namespace heap = vynhost::test::failing_heap;

void* operator new(std::size_t n) {
    return heap::orThrow(heap::allocate(n, __builtin_return_address(0)));
}
void* operator new[](std::size_t n) {
    return heap::orThrow(heap::allocate(n, __builtin_return_address(0)));
}
void* operator new(std::size_t n, const std::nothrow_t&) noexcept {
    return heap::allocate(n, __builtin_return_address(0));
}
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept {
    return heap::allocate(n, __builtin_return_address(0));
}
void* operator new(std::size_t n, std::align_val_t alignment) {
    return heap::orThrow(heap::allocate(n, alignment, __builtin_return_address(0)));
}
void* operator new[](std::size_t n, std::align_val_t alignment) {
    return heap::orThrow(heap::allocate(n, alignment, __builtin_return_address(0)));
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
