// The module without its analysis library, or without it any more.
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "interface/any_block_test.h"
#include "interface/filter_response.h"
#include "support/own_folder.h"
#include "support/signals.h"

namespace vynhost::test {
namespace {

// Bytes of the process that lie in memory; 0 where nobody says, or where freed memory is kept.
std::size_t residentBytes() {
    [[maybe_unused]] std::size_t total = 0;
    std::size_t resident = 0;
#if !defined(VYN_SANITIZED)
    if (!platform::kLocksAreCounted) std::ifstream("/proc/self/statm") >> total >> resident;
#endif
    constexpr std::size_t kPage = 4096;
    return resident * kPage;
}

// A module of its own: a copy of the file is another library to the system.
class MissingLibraryTest : public ::testing::Test {
protected:
    void load(const std::optional<std::string>& sharedDirectory) {
        const auto copy = folder_.path() / platform::kModuleFile;
        std::filesystem::copy_file(ModuleLibrary::defaultPath(), copy,
                                   std::filesystem::copy_options::overwrite_existing);
        ASSERT_TRUE(platform::setSharedDirectory(sharedDirectory));
        module = std::make_unique<ModuleLibrary>(copy);
        host = std::make_unique<ModuleHost>(*module);
    }
    void SetUp() override {
        ModuleHost original(theModule());
        for (const int type : allTypes())
            ASSERT_TRUE(original.creates(type)) << "no block of type " << type << " can be created";
    }
    void TearDown() override {
        if (host) {
            EXPECT_THAT(host->takeOffences(), ::testing::IsEmpty());
            EXPECT_EQ(host->memory().aliveData(), 0U);
        }
        host.reset();
        module.reset();
        platform::setSharedDirectory(sharedFolder().string());
    }
    // A folder whose library lacks the functions: their names are such that nobody asks for.
    std::string sharedWithoutAll(const std::vector<std::string>& functions) {
        const auto shared = sharedFolder() / "Analysis" / platform::kLibraryFile;
        std::ifstream in(shared, std::ios::binary);
        std::string bytes{std::istreambuf_iterator<char>(in), {}};
        for (const std::string& function : functions) {
            const std::string stored = function + '\0';
            std::size_t found = 0;
            for (std::size_t at = 0; (at = bytes.find(stored, at)) != std::string::npos; ++at) {
                // The names are sorted; the one that takes its place keeps the order.
                bytes[at + function.size() - 1] = function.back() == '8' ? '~' : '.';
                ++found;
            }
            EXPECT_GE(found, 1U) << function;
        }
        const auto folder = folder_.path() / functions.front() / "Analysis";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / platform::kLibraryFile, std::ios::binary) << bytes;
        return (folder_.path() / functions.front()).string();
    }
    std::string sharedWithout(const std::string& function) { return sharedWithoutAll({function}); }
    // Lets a spectrum block at the data; true when it delivered.
    bool spectrumWorks() {
        PlacedBlock block(*host, kSpektrum);
        block.wireAll();
        block.initSim();
        block.put(0, timeSignal(std::vector<float>(64, 0.5F)));
        const Int result = block.simulate();
        const bool delivered = block.take(0).has_value();
        if (!delivered) {
            EXPECT_EQ(result, kFailed);
            EXPECT_TRUE(block.waits(0)) << "the input is gone";
        }
        block.stop();
        return delivered;
    }

    std::unique_ptr<ModuleLibrary> module;
    std::unique_ptr<ModuleHost> host;

private:
    support::OwnFolder folder_{"vynpack-test"};
};

TEST_F(MissingLibraryTest, TheModuleStartsAndAnswersWithoutTheSetting) {
    ASSERT_NO_FATAL_FAILURE(load(std::nullopt));
    EXPECT_EQ(host->getInfo(kSpektrum, kInterface), kInterfaceVersion);
    EXPECT_EQ(host->infoText(kSpektrum, kLongName), "FFT");
    for (const int code : allTypes()) {
        SCOPED_TRACE(code);
        PlacedBlock block(*host, code);
        block.keywords();
        block.save();
        run(block, 3);
        block.errorShow();
    }
    host->takeBoxes();
    EXPECT_FALSE(spectrumWorks());
}

TEST_F(MissingLibraryTest, BlocksThatMissAFunctionFailAndLoseNothing) {
    ASSERT_NO_FATAL_FAILURE(load("a folder that does not exist"));
    EXPECT_FALSE(spectrumWorks());
}

TEST_F(MissingLibraryTest, EachFunctionMayBeMissing) {
    for (const char* function : {"ZABFunc147", "ZABFunc148", "ZABFunc91", "ZABFunc233",
                                 "ZABFunc234", "ZABFunc18", "ZABFunc24", "ZABFunc98", "ZABFunc61",
                                 "ZABFunc12", "ZABFunc79", "ZABFunc335", "ZABFunc32"}) {
        SCOPED_TRACE(function);
        ASSERT_NO_FATAL_FAILURE(load(sharedWithout(function)));
        EXPECT_EQ(spectrumWorks(), std::string(function) != "ZABFunc147");
        for (const int code : allTypes()) {
            SCOPED_TRACE(code);
            PlacedBlock block(*host, code);
            run(block, 2);
            block.set("PkFIRFilter", 0);  // which only one type knows
            for (int characteristic = 0; code == kDigitalFilter && characteristic < 5;
                 ++characteristic) {
                block.set("PkFilterType", characteristic);
                run(block, 2);
            }
            block.errorShow();
        }
        host->takeBoxes();
        EXPECT_THAT(host->takeOffences(), ::testing::IsEmpty());
        EXPECT_EQ(host->memory().aliveData(), 0U);
        host.reset();
        module.reset();
    }
}

TEST_F(MissingLibraryTest, AShutDownUnloadsTheLibrary) {
    ASSERT_NO_FATAL_FAILURE(load(sharedFolder().string()));
    EXPECT_TRUE(spectrumWorks());
    EXPECT_EQ(host->setInit(kShutDown, 0, 0), 0);
    EXPECT_FALSE(spectrumWorks());
    EXPECT_EQ(host->setInit(kShutDown, 0, 0), 0);
}

TEST_F(MissingLibraryTest, AModuleCanBeLoadedAndUnloadedAHundredTimes) {
    ASSERT_NO_FATAL_FAILURE(load(sharedFolder().string()));
    host.reset();
    std::size_t settled = 0;  // bytes of the process after the first loads
    for (int i = 0; i < 100; ++i) {
        module.reset();
        if (i == 20) settled = residentBytes();
        ASSERT_NO_FATAL_FAILURE(load(sharedFolder().string()));
        EXPECT_TRUE(spectrumWorks());
        if (i % 2 == 0) host->setInit(kShutDown, 0, 0);
        host.reset();
    }
    module.reset();
    EXPECT_LE(residentBytes(), settled + (std::size_t{1} << 20));
}

// What the filters make of noise on that many channels, in blocks of uneven lengths.
enum class Which { iir, fir, weighting };
std::vector<float> filtered(ModuleHost& host, Which which, int size, int channels) {
    PlacedBlock block(host, which == Which::weighting ? kFreqWeight : kDigitalFilter);
    block.wireInput(0, 0);
    block.wireOutput(0, 0);
    if (which == Which::weighting) {
        block.set("PkXweight", 1);
    } else {
        block.set("PkFIRFilter", which == Which::fir ? 1 : 0);
        block.set("PkFilterType", 0);
        block.set("PkCutoffFreq", 3000.0);
        block.set("PkFilterOrder", size);
        block.set("PkFilterLength", size);
    }
    block.initSim();
    const auto values = signals::noise<float>(2500 * channels, 5);
    auto out = throughInBlocks(block, values, channels, {1000, 3, 256, 17});
    block.stop();
    EXPECT_EQ(out.size(), values.size());
    return out;
}

TEST_F(MissingLibraryTest, TheFunctionsBesideTheThirteenChangeSpeedAlone) {
    std::vector<std::vector<float>> results[2];
    const std::string folders[] = {
        sharedFolder().string(),
        sharedWithoutAll({"ovanlysFilterChannels", "ovanlysConvolveChannels"})};
    for (int i = 0; i < 2; ++i) {
        ASSERT_NO_FATAL_FAILURE(load(folders[i]));
        for (const int channels : {1, 2, 7, 8, 13, 32}) {
            for (const int order : {2, 8})
                results[i].push_back(filtered(*host, Which::iir, order, channels));
            for (const int length : {1, 25, 255})
                results[i].push_back(filtered(*host, Which::fir, length, channels));
            results[i].push_back(filtered(*host, Which::weighting, 0, channels));
        }
        host.reset();
        module.reset();
    }
    for (std::size_t i = 0; i < results[0].size(); ++i) {
        EXPECT_EQ(results[0][i], results[1][i]) << i;
        EXPECT_NE(results[0][i].back(), 0.0F);
    }
}

}  // namespace
}  // namespace vynhost::test
