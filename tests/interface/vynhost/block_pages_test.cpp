// What the blocks' pages advise, and the numbers that they give for it.
#include <array>
#include <cstdio>
#include <regex>
#include <set>

#include "interface/vynhost/run_fixture.h"
#include "support/source_folder.h"
#include "vynhost/base/text.h"
#include "vynhost/diagram/catalogue.h"
#include "vynhost/diagram/keyword_check.h"

namespace vynhost::test {
namespace {

using ::testing::HasSubstr;

class BlockPages : public RunTest {
protected:
    static std::string page(const std::string& className) {
        return read(pathOf(kSourceFolder) / "docs" / "blocks" / (className + ".md"));
    }
    static std::string advice(const std::string& text, const char* heading) {
        const std::size_t begin = text.find(heading);
        return begin == std::string::npos
                   ? ""
                   : text.substr(begin, text.find("\n## ", begin + 1) - begin);
    }
    static Setting settingOf(const std::string& keyword, const std::string& value) {
        Setting setting{keyword, std::int64_t{0}, {}};
        if (value.starts_with('"')) {
            setting.value = value.substr(1, value.size() - 2);
        } else if (value.find('.') != std::string::npos) {
            setting.value = std::stod(value);
        } else {
            setting.value = std::int64_t{std::stoi(value)};
        }
        return setting;
    }
    static bool isTakenBy(const BlockMeaning& block, const Setting& setting) {
        try {
            writtenValue(keywordOf(block, setting), setting);
            return true;
        } catch (const InputError&) {
            return false;
        }
    }
};

// Those of the FFT before a block stand on its page, too; the German page has the same.
TEST_F(BlockPages, EachAdvisesSettingsThatExist) {
    const std::regex wanted("`(Pk[A-Za-z]+) = ([^`]+)`");
    for (const TypeInfo& type : moduleTypes(host)) {
        SCOPED_TRACE(type.className);
        const std::string english = advice(page(type.className), "\n## Which settings for what\n");
        const std::string german =
            advice(page("../de/blocks/" + type.className), "\n## Welche Einstellung wofür\n");
        const auto settingsIn = [&](const std::string& text) {
            std::set<std::string> settings;
            for (std::sregex_iterator at(text.begin(), text.end(), wanted), end; at != end; ++at)
                settings.insert((*at)[0]);
            return settings;
        };
        EXPECT_THAT(settingsIn(german), ::testing::IsSupersetOf(settingsIn(english)));
        const std::string text = english + german;
        int seen = 0;
        for (std::sregex_iterator at(text.begin(), text.end(), wanted), end; at != end; ++at) {
            const Setting setting = settingOf((*at)[1], (*at)[2]);
            const bool taken =
                isTakenBy(meaningOf(static_cast<std::int32_t>(type.code)), setting) ||
                isTakenBy(meaningOf(kSpektrum), setting) ||
                isTakenBy(meaningOf(kTerzOktave), setting);
            EXPECT_TRUE(taken) << (*at)[0];
            ++seen;
        }
        EXPECT_GE(seen, 3);
    }
}

// The calibrator's 94 dB in the highest line of each spectrum and in the band at 1 kHz.
TEST_F(BlockPages, SayWhatTheCalibratorReads) {
    constexpr std::size_t kSettings = 4;
    std::array<std::string, kSettings> lines;
    std::array<std::string, kSettings> bands;
    const auto text = [](double pressure) {
        std::array<char, 16> buffer{};
        std::snprintf(buffer.data(), buffer.size(), "%.2f", 20 * std::log10(pressure / 2e-5));
        return std::string(buffer.data());
    };
    runFile(pathOf(kSourceFolder) / "examples" / "calibrator.toml", [&](const RunResult& result) {
        ASSERT_EQ(result.sinks.size(), 2U);
        ASSERT_EQ(result.series(0).size(), kSettings);
        ASSERT_EQ(result.series(1).size(), kSettings);
        for (std::size_t i = 0; i < kSettings; ++i) {
            lines[i] = text(std::ranges::max(result.series(0)[i].y));
            const Series band = result.series(1)[i];
            const auto place = std::ranges::find(band.x, 1000.0) - band.x.begin();
            bands[i] = text(band.y.at(static_cast<std::size_t>(place)));
        }
    });
    const std::string numbers =
        "<!-- numbers: examples/calibrator.toml -->\n"
        "| settings | highest line | third octave at 1 kHz |\n|---|---|---|\n"
        "| `RMS`, `FLATTOP`, `amplitude` | **" +
        lines[0] + " dB** | " + bands[0] +
        " dB |\n"
        "| `RMS`, `HANNING`, `energy` | " +
        lines[1] + " dB | **" + bands[1] +
        " dB** |\n"
        "| `RMS`, `HANNING`, `amplitude` | " +
        lines[2] + " dB | " + bands[2] +
        " dB |\n"
        "| a new block: `PEAK`, no window | " +
        lines[3] + " dB | " + bands[3] +
        " dB |\n"
        "<!-- end of numbers -->\n";
    EXPECT_THAT(page("TOSpektrum"), HasSubstr(numbers));
    EXPECT_THAT(page("TOTerz_Oktave"),
                HasSubstr("reads " + bands[1] + " dB in the band at 1 kHz\nwith these settings, " +
                          bands[2] + " dB with `PkWndCorrectTyp = \"amplitude\"`, and " + bands[3] +
                          " dB behind a new FFT block"));
    // What the calibrator gives, by hand.
    EXPECT_EQ(lines[0], "94.00");
    EXPECT_EQ(bands[1], "94.00");
    EXPECT_EQ(bands[2], "95.76");  // 94 + 10 lg 1.5
    EXPECT_EQ(bands[3], "96.98");
}

TEST_F(BlockPages, SayHowACalibratorFindsTheScale) {
    const std::filesystem::path examples = pathOf(kSourceFolder) / "examples";
    std::string toml = read(examples / "calibrator.toml");
    const std::string scale = "full_scale = 20.0";
    ASSERT_THAT(toml, HasSubstr(scale));
    toml.replace(toml.find(scale), scale.size(), "full_scale = 1.0");
    double reading = 0;
    run(toml,
        [&](const RunResult& result) {
            const Series band = result.series(1)[1];
            const auto place = std::ranges::find(band.x, 1000.0) - band.x.begin();
            reading = 20 * std::log10(band.y.at(static_cast<std::size_t>(place)) / 2e-5);
        },
        {{"calibrator", examples / "calibrator.wav"}});
    EXPECT_NEAR(reading, 67.98, 0.005);
    EXPECT_NEAR(std::pow(10, (94 - 67.98) / 20), 20.0, 0.05);
    EXPECT_THAT(read(pathOf(kSourceFolder) / "docs" / "vynhost.md"),
                HasSubstr("reads 67.98 dB then, and\n10^((94 − 67.98) / 20) = 20.0"));
}

// What a window does to one line and to a sum of lines, worked out from the window alone.
TEST_F(BlockPages, ExplainTheNumbersByTheWindow) {
    constexpr double kBetween =
        1.0 / 3;  // 1000 Hz from the nearest of the lines 48000/8192 Hz apart
    const double sinc = std::sin(std::numbers::pi * kBetween) / (std::numbers::pi * kBetween);
    const auto decibels = [](double factor) { return 20 * std::log10(factor); };
    EXPECT_NEAR(94 + decibels(std::sqrt(1.5)), 95.76, 0.005);
    EXPECT_NEAR(94 + decibels(sinc / (1 - kBetween * kBetween)), 93.37, 0.005);  // Hanning
    EXPECT_NEAR(94 + decibels(std::sqrt(2.0) * sinc), 95.36, 0.005);             // none
    EXPECT_NEAR(94 + decibels(std::sqrt(3.774)), 99.76, 0.01);                   // flat top
}

}  // namespace
}  // namespace vynhost::test
