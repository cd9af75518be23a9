// Runs a fuzz target without a fuzzer: the files that are given, then a number of inputs made from
// a seed.
//
//     fuzz_session --runs 1000 --seed 1 [file or folder ...]
//
// Ends with a line that the test scripts count. An input that crashes is named before it runs.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Input = std::vector<std::uint8_t>;

// Of the processor's time, so that a busy machine fails nothing. Filters of a million taps take
// some.
constexpr double kSlowSeconds = 20.0;
int passed = 0;
int failed = 0;

void run(const std::string& name, const Input& input) {
    // Where a crash will be seen: in the last line of this file.
    if (const char* log = std::getenv("VYN_FUZZ_LOG")) std::ofstream(log) << name << '\n';
    const std::clock_t start = std::clock();
    LLVMFuzzerTestOneInput(input.data(), input.size());
    const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    if (seconds > kSlowSeconds) {
        std::printf("%s took %.1f s of the processor\n", name.c_str(), seconds);
        ++failed;
    } else {
        ++passed;
    }
}

Input made(std::uint64_t seed) {
    std::mt19937_64 random(seed);
    Input input(64 + random() % 1984);
    for (auto& byte : input)
        byte = static_cast<std::uint8_t>(random());
    return input;
}

Input read(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return Input(std::istreambuf_iterator<char>(file), {});
}

}  // namespace

int main(int argc, char** argv) {
    std::uint64_t seed = 1;
    std::uint64_t runs = 0;
    std::vector<std::filesystem::path> files;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--seed" && i + 1 < argc) {
            seed = std::strtoull(argv[++i], nullptr, 10);
        } else if (argument == "--runs" && i + 1 < argc) {
            runs = std::strtoull(argv[++i], nullptr, 10);
        } else if (std::filesystem::is_directory(argument)) {
            for (const auto& entry : std::filesystem::directory_iterator(argument)) {
                files.push_back(entry.path());
            }
        } else {
            files.emplace_back(argument);
        }
    }
    for (const auto& file : files)
        run(file.string(), read(file));
    for (std::uint64_t i = 0; i < runs; ++i)
        run("seed " + std::to_string(seed + i), made(seed + i));
    std::printf("%d passed, %d failed\n", passed, failed);
    return failed == 0 ? 0 : 1;
}
