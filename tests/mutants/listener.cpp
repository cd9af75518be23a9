#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

// Says, test by test, which planted faults it and the processes that it started have reached:
// "Suite.Name passed|failed|skipped milliseconds number..." per line, parted by tabs, of the file
// that VYN_MUTANT_TESTS names. What is reached between two tests counts for the second.
namespace {

constexpr int kNumbers = 8192;

class Listener : public testing::EmptyTestEventListener {
public:
    Listener(short* reached, std::FILE* tests) : reached_(reached), tests_(tests) {}

private:
    void OnTestEnd(const testing::TestInfo& test) override {
        const testing::TestResult& result = *test.result();
        const char* state = result.Skipped() ? "skipped" : result.Passed() ? "passed" : "failed";
        std::fprintf(tests_, "%s.%s\t%s\t%lld", test.test_suite_name(), test.name(), state,
                     static_cast<long long>(result.elapsed_time()));
        for (int number = 0; number < kNumbers; ++number)
            if (reached_[number] != 0) std::fprintf(tests_, "\t%d", number);
        std::fputc('\n', tests_);
        std::fflush(tests_);
        std::memset(reached_, 0, kNumbers * sizeof *reached_);
    }

    short* reached_;
    std::FILE* tests_;
};

const bool listens = [] {
    const char* path = std::getenv("VYN_MUTANT_REACHED");
    const char* tests = std::getenv("VYN_MUTANT_TESTS");
    if (path == nullptr || tests == nullptr) return false;
    const int file = ::open(path, O_RDWR | O_CLOEXEC);
    void* shared =
        ::mmap(nullptr, kNumbers * sizeof(short), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    ::close(file);
    std::FILE* output = std::fopen(tests, "ae");
    if (shared == MAP_FAILED || output == nullptr) std::abort();
    testing::UnitTest::GetInstance()->listeners().Append(
        new Listener(static_cast<short*>(shared), output));
    return true;
}();

}  // namespace
