#include <gmock/gmock.h>

#include <exception>
#include <iostream>

#include "interface/host_fixture.h"

// Under the sanitizers an allocation that no machine grants fails like any other.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1:max_allocation_size_mb=2048";
}

int main(int argc, char** argv) {
    ::testing::InitGoogleMock(&argc, argv);
    // What a test asks for by mistake is refused instead of taking the machine down.
    vynhost::platform::limitMemory(std::size_t{4} << 30);
    try {
        vynhost::test::theModule();
    } catch (const std::exception& error) {
        std::cerr << "interface_tests: " << error.what() << '\n';
        return 2;
    }
    return RUN_ALL_TESTS();
}
