// Diagrams to begin with, and the tables of the blocks' pages.
#include <cmath>

#include "interface/vynhost/diagram_fixture.h"
#include "support/source_folder.h"
#include "vynhost/base/messages.h"
#include "vynhost/command/list.h"
#include "vynhost/command/skeleton.h"
#include "vynhost/diagram/catalogue.h"
#include "vynhost/diagram/keyword_table.h"

namespace vynhost::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class SkeletonTest : public DiagramTest {
protected:
    std::string skeleton(const std::vector<int>& codes) {
        const std::vector<TypeInfo> all = moduleTypes(host);
        std::vector<TypeInfo> types;
        for (const int code : codes)
            types.push_back(all.at(static_cast<std::size_t>(code - kFirstType)));
        return skeletonOf(types);
    }
    std::string errorOfSkeleton(const std::vector<int>& codes) {
        try {
            skeleton(codes);
        } catch (const InputError& error) {
            return error.what();
        }
        return "";
    }
    // Runs the diagram and looks that every sink gets something that is not silence.
    void expectResults(const std::string& text) {
        SCOPED_TRACE(text);
        const Diagram diagram = parseDiagram(text, folder() / "d.toml");
        requireResults(diagram);
        Runner runner(host, diagram, noInputs);
        std::vector<bool> heard(diagram.sinks.size());
        for (std::size_t i = 0; i < diagram.sinks.size(); ++i) {
            for (const ConnectorName& name : diagram.sinks[i].from) {
                runner.listen(name, [&heard, i](const ChannelData& data) {
                    for (const float value : data.values) {
                        if (value != 0 && std::isfinite(value)) heard[i] = true;
                    }
                });
            }
        }
        runner.run();
        EXPECT_THAT(heard, ::testing::Each(true));
        EXPECT_FALSE(heard.empty());
    }
};

TEST_F(SkeletonTest, OfEveryTypeRunsAsItIs) {
    for (int code = kFirstType; code < kFirstType + kTypes; ++code)
        expectResults(skeleton({code}));
}

TEST_F(SkeletonTest, OfEveryTwoTypesThatFitRunsAsItIs) {
    int fitting = 0;
    for (int first = kFirstType; first < kFirstType + kTypes; ++first) {
        for (int second = kFirstType; second < kFirstType + kTypes; ++second) {
            const std::string error = errorOfSkeleton({first, second});
            if (!error.empty()) {
                EXPECT_THAT(error, HasSubstr(" does not fit behind "));
                continue;
            }
            ++fitting;
            expectResults(skeleton({first, second}));
        }
    }
    EXPECT_GT(fitting, kTypes * kTypes / 2);
}

TEST_F(SkeletonTest, OfThreeBlocksMeasuresAFilter) {
    const std::string text = skeleton({kFreqWeight, kDigitalFilter, kDualSpektrum});
    EXPECT_THAT(text, HasSubstr("\"system.E\" = \"signal\"\n\"system.A\" = \"filter.A\"\n"));
    expectResults(text);
}

TEST_F(SkeletonTest, OfBlocksThatDoNotFitSaysWhatComes) {
    EXPECT_EQ(errorOfSkeleton({kLevel, kSpektrum}),
              "\"FFT\" does not fit behind \"Pegelberechnung\", which gives levels, classes or "
              "numbers");
    EXPECT_EQ(errorOfSkeleton({kSpektrum, kDigitalFilter}),
              "\"Digitale Filter\" does not fit behind \"FFT\", which gives spectra");
}

TEST_F(SkeletonTest, ShowsEveryKeywordOnce) {
    for (const BlockMeaning& meaning : blockMeanings()) {
        const std::string text = skeleton({meaning.code});
        for (const KeywordMeaning& keyword : meaning.keywords) {
            const std::string line = std::string(keyword.name) + " = ";
            EXPECT_THAT(text, ::testing::AnyOf(HasSubstr("\n" + line), HasSubstr("\n# " + line)));
        }
    }
}

// What stands there as a comment may be put to work as it is (but for the keyword that sets
// others).
TEST_F(SkeletonTest, ShowsCommentsThatAreSettings) {
    for (const BlockMeaning& meaning : blockMeanings()) {
        std::string text = skeleton({meaning.code});
        const std::size_t all = text.find("# PkAllOn");
        if (all != std::string::npos) text.erase(all, text.find('\n', all) - all);
        for (std::size_t at = text.find("\n# Pk"); at != std::string::npos;
             at = text.find("\n# Pk", at)) {
            text.erase(at + 1, 2);
        }
        expectResults(text);
    }
}

// --- The pages ------------------------------------------------------------------------------

TEST_F(SkeletonTest, TheBlocksPagesShowTheKeywordsAsTheHostKnowsThem) {
    for (const auto& [folder, language] : {std::pair("docs/blocks", Language::english),
                                           std::pair("docs/de/blocks", Language::german)}) {
        speak(language);
        for (const TypeInfo& type : moduleTypes(host)) {
            const std::filesystem::path page =
                std::filesystem::path(kSourceFolder) / folder / (type.className + ".md");
            std::string text = read(page);
            std::erase(text, '\r');
            EXPECT_THAT(text, HasSubstr("<!-- keywords: made by tools/keyword-tables -->\n" +
                                        keywordsAsMarkdown(type) + "<!-- end of keywords -->\n"))
                << page << ": tools/keyword-tables writes it anew";
        }
        speak(Language::english);
    }
}

TEST_F(SkeletonTest, TheListOfOneTypeTellsWhatToWrite) {
    const std::vector<TypeInfo> all = moduleTypes(host);
    for (const char* name : {"FFT", "fft", "TOSpektrum", "5004"}) {
        const std::string text = typeAsText(host, typeNamed(name, all, {}));
        EXPECT_THAT(text, HasSubstr("none (0), energy (1) or amplitude (2)"));
        EXPECT_THAT(text, HasSubstr("PSD               power density"));
        EXPECT_THAT(text, Not(HasSubstr("5005")));
    }
    EXPECT_THROW(typeNamed("FFFT", all, {}), InputError);
    const std::string json = listAsJson(host, std::vector{typeNamed("Pegel", all, {})});
    EXPECT_THAT(json, HasSubstr("\"least\": 0.0"));
    EXPECT_THAT(json, HasSubstr("\"name\": \"Fast\""));
}

}  // namespace
}  // namespace vynhost::test
