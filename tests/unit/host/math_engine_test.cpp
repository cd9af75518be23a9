#include "libs/math_engine.h"

#include <gmock/gmock.h>

#include <vector>

#include "host/TOGlobal.h"
#include "host/show_message.h"
#include "platform/resources.h"
#include "support/platform/test_system.h"
#include "unit/host/fixture_libraries.h"

namespace vynpack::test {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;
using vynhost::platform::Box;

// On Windows the string table belongs to the module's file, not to this program.
bool textsAreLinkedIn() { return platform::loadString(kTextMathEngineNotFound)[0] != '\0'; }

// A library of the engine's name that is loaded already is what the loader's search finds.
class Preloaded {
public:
    explicit Preloaded(const char* fixture) {
        std::string why;
        const auto file = std::filesystem::path("VYNMATH").replace_extension(
            std::filesystem::path(vynhost::platform::kModuleFile).extension());
        library_ = vynhost::platform::loadLibrary(fixtureFolder(fixture) / file, why);
        EXPECT_NE(library_, nullptr) << why;
    }
    ~Preloaded() { vynhost::platform::unloadLibrary(library_); }
    Preloaded(const Preloaded&) = delete;
    Preloaded& operator=(const Preloaded&) = delete;

private:
    void* library_ = nullptr;
};

bool load(TOGlobal& global, std::vector<Box>& boxes) {
    vynhost::platform::catchBoxes();
    const bool loaded = global.loadMathEngine();
    boxes = vynhost::platform::caughtBoxes();
    return loaded;
}

TEST(MathEngineLoader, BindsSixteenNamesAndLeavesTheFifteenthEntryAlone) {
    const Preloaded library("math_complete");
    TOGlobal global;
    std::vector<Box> boxes;
    EXPECT_TRUE(load(global, boxes));
    EXPECT_THAT(boxes, IsEmpty());
    for (std::size_t i = 0; i < MathEngine::kFunctions; ++i) {
        EXPECT_EQ(global.mathEngine().function(i) == nullptr, i == 14) << i;
    }
    global.mathEngine().unload();
}

TEST(MathEngineLoader, ASecondCallAnswersTrueWithoutLoadingAgain) {
    TOGlobal global;
    std::vector<Box> boxes;
    {
        const Preloaded library("math_complete");
        EXPECT_TRUE(load(global, boxes));
        global.mathEngine().unload();
    }
    // Nothing of that name can be found any more, and nothing is looked for.
    EXPECT_TRUE(load(global, boxes));
    EXPECT_THAT(boxes, IsEmpty());
}

TEST(MathEngineLoader, AMissingEngineShowsTwoBoxes) {
    if (!vynhost::platform::boxesCanBeCaught()) GTEST_SKIP() << "no display";
    TOGlobal global;
    std::vector<Box> boxes;
    EXPECT_FALSE(load(global, boxes));
    ASSERT_THAT(boxes, SizeIs(2));
    EXPECT_EQ(boxes[0].caption, "");
    EXPECT_EQ(boxes[1].caption, "");
    if (!textsAreLinkedIn()) return;
    EXPECT_EQ(boxes[0].text, "Datei VYNMATH.DLL nicht gefunden.");
    EXPECT_EQ(boxes[1].text, "Falsche Version der Datei VYNMATH.DLL");
}

TEST(MathEngineLoader, AnIncompleteEngineShowsOneBox) {
    if (!vynhost::platform::boxesCanBeCaught()) GTEST_SKIP() << "no display";
    const Preloaded library("math_incomplete");
    TOGlobal global;
    std::vector<Box> boxes;
    EXPECT_FALSE(load(global, boxes));
    ASSERT_THAT(boxes, SizeIs(1));
    if (textsAreLinkedIn()) {
        EXPECT_EQ(boxes[0].text, "Falsche Version der Datei VYNMATH.DLL");
    }
    EXPECT_EQ(global.mathEngine().function(12), nullptr);  // loudness
    EXPECT_NE(global.mathEngine().function(13), nullptr);
    // Kept loaded, so that the next call answers true.
    EXPECT_TRUE(load(global, boxes));
    global.mathEngine().unload();
}

TEST(MathEngineLoader, UnloadWithoutAnEngineDoesNothing) {
    TOGlobal global;
    global.mathEngine().unload();
    for (std::size_t i = 0; i < MathEngine::kFunctions; ++i) {
        EXPECT_EQ(global.mathEngine().function(i), nullptr);
    }
}

}  // namespace
}  // namespace vynpack::test
