#include "libs/analysis_library.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "unit/host/fixture_libraries.h"

namespace vynpack::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AnalysisLibraryTest : public ::testing::Test {
protected:
    AnalysisLibraryTest() : before_(vynhost::platform::sharedDirectory()) {}
    ~AnalysisLibraryTest() override { vynhost::platform::setSharedDirectory(before_); }

    static void loadFrom(AnalysisLibrary& library, const std::optional<std::string>& directory) {
        ASSERT_TRUE(vynhost::platform::setSharedDirectory(directory));
        library.load();
    }
    static std::vector<std::string> unbound(const AnalysisLibrary& library) {
        std::vector<std::string> names;
        AnalysisFunctions functions = library.functions();
        functions.forEach([&](const auto& entry) {
            if (!entry.bound()) names.emplace_back(entry.name());
        });
        return names;
    }

private:
    std::optional<std::string> before_;
};

constexpr int kFunctions = 13;

TEST_F(AnalysisLibraryTest, BindsAllThirteenNames) {
    AnalysisLibrary library;
    loadFrom(library, fixtureFolder("analysis_complete").string());
    EXPECT_TRUE(library.loaded());
    EXPECT_FALSE(library.incomplete());
    EXPECT_THAT(unbound(library), IsEmpty());
    library.unload();
}

TEST_F(AnalysisLibraryTest, WithOneNameMissingBindsTheOtherTwelve) {
    AnalysisLibrary library;
    loadFrom(library, fixtureFolder("analysis_incomplete").string());
    EXPECT_TRUE(library.loaded());
    EXPECT_TRUE(library.incomplete());
    EXPECT_THAT(unbound(library), ElementsAre("ZABFunc61"));
    EXPECT_THROW(library.functions().designElliptic.address(), AnalysisFunctionMissing);
    EXPECT_NO_THROW(library.functions().designBessel.address());
    library.unload();
}

TEST_F(AnalysisLibraryTest, MissesSilentlyWhereNothingIsSetUp) {
    AnalysisLibrary library;
    loadFrom(library, std::nullopt);
    EXPECT_FALSE(library.loaded());
    EXPECT_FALSE(library.incomplete());
    EXPECT_EQ(unbound(library).size(), static_cast<std::size_t>(kFunctions));
    EXPECT_THROW(library.functions().realTransform.address(), AnalysisFunctionMissing);
}

TEST_F(AnalysisLibraryTest, MissesSilentlyWhereTheDirectoryHoldsNoLibrary) {
    AnalysisLibrary library;
    for (const std::string& directory :
         {std::string(), std::string("no\\such/folder"), fixtureFolder("no such folder").string(),
          std::string(5000, 'x'), std::string("%s%n")}) {
        loadFrom(library, directory);
        EXPECT_FALSE(library.loaded());
        EXPECT_FALSE(library.incomplete());
    }
}

TEST_F(AnalysisLibraryTest, TakesTheDirectoryAsItStandsEvenWithASeparatorAtItsEnd) {
    AnalysisLibrary library;
    loadFrom(library, fixtureFolder("analysis_complete").string() + "/");
    EXPECT_TRUE(library.loaded());
    library.unload();
}

TEST_F(AnalysisLibraryTest, UnloadClearsHandleAndEntries) {
    AnalysisLibrary library;
    loadFrom(library, fixtureFolder("analysis_complete").string());
    library.unload();
    EXPECT_FALSE(library.loaded());
    EXPECT_EQ(unbound(library).size(), static_cast<std::size_t>(kFunctions));
    library.unload();  // without a library nothing happens
    EXPECT_FALSE(library.loaded());
}

TEST_F(AnalysisLibraryTest, LoadingAgainForgetsThatALibraryWasIncomplete) {
    AnalysisLibrary library;
    loadFrom(library, fixtureFolder("analysis_incomplete").string());
    library.unload();
    loadFrom(library, std::nullopt);
    EXPECT_FALSE(library.incomplete());
}

}  // namespace
}  // namespace vynpack::test
