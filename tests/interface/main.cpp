#include <gmock/gmock.h>

#include <exception>
#include <iostream>

#include "interface/host_fixture.h"

int main(int argc, char** argv) {
    ::testing::InitGoogleMock(&argc, argv);
    try {
        vynhost::test::theModule();
    } catch (const std::exception& error) {
        std::cerr << "interface_tests: " << error.what() << '\n';
        return 2;
    }
    return RUN_ALL_TESTS();
}
