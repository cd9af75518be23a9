#include "planted.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

// Part of every program and library of its own, none of which sees another's.
namespace {

constexpr int kNumbers = 8192;
short unseen[kNumbers];

// Before all other static objects, which may contain faults. The file is one for all processes of a
// test.
__attribute__((constructor(101))) void begin() {
    if (const char* number = std::getenv("VYN_MUTANT")) vynPlantedNumber = std::atoi(number);
    const char* path = std::getenv("VYN_MUTANT_REACHED");
    const int file = path != nullptr ? ::open(path, O_RDWR | O_CLOEXEC) : -1;
    if (file < 0) return;
    void* shared = ::mmap(nullptr, sizeof unseen, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (shared != MAP_FAILED) vynPlantedReached = static_cast<short*>(shared);
    ::close(file);
}

__attribute__((destructor(101))) void end() {
    if (vynPlantedReached == unseen) return;
    void* shared = vynPlantedReached;
    vynPlantedReached = unseen;
    ::munmap(shared, sizeof unseen);
}

}  // namespace

int vynPlantedNumber = 0;
short* vynPlantedReached = unseen;
