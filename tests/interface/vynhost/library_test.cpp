// libvynhost, through its C functions.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <numbers>
#include <string>
#include <thread>
#include <vector>

#include "support/own_folder.h"
#include "vynhost/base/text.h"
#include "vynhost/interface/platform/system.h"
#include "vynhost/library/include/vynpack/vynhost.h"

namespace vynhost::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

vynhost_setting text(const char* keyword, const char* value) {
    vynhost_setting setting{};
    setting.keyword = keyword;
    setting.kind = VYNHOST_TEXT;
    setting.text = value;
    return setting;
}

vynhost_setting number(const char* keyword, double value) {
    vynhost_setting setting{};
    setting.keyword = keyword;
    setting.kind = VYNHOST_REAL;
    setting.real = value;
    return setting;
}

vynhost_setting integer(const char* keyword, std::int64_t value) {
    vynhost_setting setting{};
    setting.keyword = keyword;
    setting.kind = VYNHOST_INTEGER;
    setting.integer = value;
    return setting;
}

std::vector<float> sine(int samples, double cycles, float amplitude = 1) {
    std::vector<float> values;
    for (int i = 0; i < samples; ++i) {
        const double angle = 2 * std::numbers::pi * cycles * i / samples;
        values.push_back(amplitude * static_cast<float>(std::sin(angle)));
    }
    return values;
}

vynhost_data signal(const std::vector<float>& values, double rate = 1000) {
    vynhost_data data{};
    data.values = values.data();
    data.count = static_cast<std::int64_t>(values.size());
    data.channels = 1;
    data.x_kind = 1;
    data.x_step = 1 / rate;
    data.display_minimum = -1;
    data.display_span = 2;
    return data;
}

class Library : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(vynhost_open(nullptr), VYNHOST_DONE) << vynhost_error(); }
    void TearDown() override {
        vynhost_block_delete(block);
        EXPECT_EQ(vynhost_close(), VYNHOST_DONE) << vynhost_error();
    }

    std::int32_t make(const char* type, const std::vector<vynhost_setting>& settings = {}) {
        return vynhost_block_new(type, "b", nullptr, 0, settings.data(),
                                 static_cast<std::int32_t>(settings.size()), &block);
    }
    std::int32_t feed(const vynhost_data& data) {
        return vynhost_block_feed(block, &data, 1, outputs.data(), 3, &moved);
    }
    std::vector<float> output(std::size_t index = 0) const {
        const vynhost_data& data = outputs.at(index);
        return {data.values, data.values + data.count};
    }
    std::string record() {
        std::int64_t size = 0;
        EXPECT_EQ(vynhost_block_record(block, nullptr, 0, &size), VYNHOST_DONE);
        std::string bytes(static_cast<std::size_t>(size), '\0');
        EXPECT_EQ(vynhost_block_record(block, bytes.data(), size, &size), VYNHOST_DONE);
        return bytes;
    }

    vynhost_block* block = nullptr;
    std::array<vynhost_data, 3> outputs{};
    std::int32_t moved = 0;
};

TEST_F(Library, ASpectrumReadsTheAmplitudeOfATone) {
    ASSERT_EQ(make("FFT", {text("PkAmplType", "PEAK")}), VYNHOST_DONE) << vynhost_error();
    ASSERT_EQ(vynhost_block_start(block, 1), VYNHOST_DONE);
    const std::vector<float> tone = sine(64, 5, 3);
    ASSERT_EQ(feed(signal(tone)), VYNHOST_DONE) << vynhost_error();
    EXPECT_EQ(moved, 1);
    ASSERT_EQ(outputs[0].count, 32);
    EXPECT_EQ(outputs[0].x_kind, 3);
    EXPECT_DOUBLE_EQ(outputs[0].x_step, 1000.0 / 64);
    EXPECT_EQ(outputs[0].y_unit, 26);
    EXPECT_NEAR(output()[5], 3, 1e-6);  // single precision
    EXPECT_EQ(outputs[1].values, nullptr);
}

TEST_F(Library, ANameThatIsNoneIsRefusedWithWhatIsAllowed) {
    EXPECT_EQ(make("FFT", {text("PkWndFct", "HANING")}), VYNHOST_WRONG_INPUT);
    EXPECT_THAT(vynhost_error(), HasSubstr("b.PkWndFct: \"HANING\" is none of its values, did you "
                                           "mean HANNING?"));
    EXPECT_EQ(make("FFTT"), VYNHOST_WRONG_INPUT);
    EXPECT_THAT(vynhost_error(), HasSubstr("\"FFTT\" is no block type, did you mean FFT?"));
    vynhost_setting named = text("PkWindow", "HANNING");
    named.place = "Spectrum(window)";
    EXPECT_EQ(make("FFT", {named}), VYNHOST_WRONG_INPUT);
    EXPECT_THAT(vynhost_error(), HasSubstr("Spectrum(window): no such keyword"));
    EXPECT_EQ(block, nullptr);
}

TEST_F(Library, RulesBetweenKeywordsHoldAtOnceAndThoseOfTheRateWithTheFirstData) {
    EXPECT_EQ(make("Filter", {text("PkFIRFilter", "IIR")}), VYNHOST_WRONG_INPUT);
    EXPECT_THAT(vynhost_error(), HasSubstr("an IIR filter needs a characteristic"));
    ASSERT_EQ(make("Filter", {number("PkCutoffFreq", 600)}), VYNHOST_DONE) << vynhost_error();
    ASSERT_EQ(vynhost_block_start(block, 1), VYNHOST_DONE);
    EXPECT_EQ(feed(signal(sine(64, 5))), VYNHOST_WRONG_INPUT);
    EXPECT_THAT(vynhost_error(), HasSubstr("below half the sample rate, 1000 Hz"));
    EXPECT_EQ(feed(signal(sine(64, 5))), VYNHOST_WRONG_INPUT);  // nor when it is tried again
}

TEST_F(Library, ABlocksErrorHasItsOwnText) {
    ASSERT_EQ(make("Mittelwert", {integer("PkReduceVal", 100)}), VYNHOST_DONE);
    ASSERT_EQ(vynhost_block_start(block, 1), VYNHOST_DONE);
    EXPECT_EQ(feed(signal(sine(64, 5))), VYNHOST_BLOCK_ERROR);
    EXPECT_THAT(vynhost_error(), HasSubstr("b: Mittelung: Die Intervallbreite"));
}

TEST_F(Library, ValuesReadBackAsTheyAreWritten) {
    ASSERT_EQ(make("FFT", {text("PkAmplType", "psd"), integer("PkWndCorrectTyp", 2)}),
              VYNHOST_DONE);
    vynhost_setting value{};
    ASSERT_EQ(vynhost_block_get(block, "PkAmplType", &value), VYNHOST_DONE);
    EXPECT_STREQ(value.text, "PSD");
    ASSERT_EQ(vynhost_block_get(block, "pkwndcorrecttyp", &value), VYNHOST_DONE);
    EXPECT_STREQ(value.text, "amplitude");
    ASSERT_EQ(vynhost_block_get(block, "PkWndFct", &value), VYNHOST_DONE);
    EXPECT_STREQ(value.text, "RECTANGLE");  // what a new block computes
    ASSERT_EQ(vynhost_block_get(block, "PkWndPara", &value), VYNHOST_DONE);
    EXPECT_EQ(value.real, 10.0);
    EXPECT_EQ(vynhost_block_get(block, "PkWndPar", &value), VYNHOST_WRONG_INPUT);
}

TEST_F(Library, ASettingReplacesTheOneBeforeAndARefusedOneChangesNothing) {
    ASSERT_EQ(make("Klassierung", {number("PkBegin", 0), number("PkEnd", 4)}), VYNHOST_DONE);
    const std::vector<vynhost_setting> wider = {number("PkEnd", 8)};
    ASSERT_EQ(vynhost_block_set(block, wider.data(), 1), VYNHOST_DONE) << vynhost_error();
    const std::string before = record();
    const std::vector<vynhost_setting> wrong = {number("PkEnd", -8)};
    EXPECT_EQ(vynhost_block_set(block, wrong.data(), 1), VYNHOST_WRONG_INPUT);
    EXPECT_THAT(vynhost_error(), HasSubstr("the class begin lies below the class end"));
    EXPECT_EQ(record(), before);
    ASSERT_EQ(vynhost_block_start(block, 1), VYNHOST_DONE);
    EXPECT_EQ(vynhost_block_set(block, wider.data(), 1), VYNHOST_WRONG_INPUT);
    EXPECT_THAT(vynhost_error(), HasSubstr("a run is under way"));
}

TEST_F(Library, ARecordMakesTheSameBlock) {
    ASSERT_EQ(make("FFT", {text("PkWndFct", "GAUSS"), number("PkWndPara", 7)}), VYNHOST_DONE);
    const std::string bytes = record();
    vynhost_block* copy = nullptr;
    ASSERT_EQ(vynhost_block_new("FFT", "copy", bytes.data(),
                                static_cast<std::int64_t>(bytes.size()), nullptr, 0, &copy),
              VYNHOST_DONE)
        << vynhost_error();
    vynhost_block_delete(block);
    block = copy;
    EXPECT_EQ(record(), bytes);
    EXPECT_EQ(vynhost_block_new("FFT", "cut", bytes.data(), 5, nullptr, 0, &copy),
              VYNHOST_WRONG_INPUT);
    EXPECT_THAT(vynhost_error(), HasSubstr("cut.record: is damaged"));
}

TEST_F(Library, ConnectorsFollowTheSettings) {
    ASSERT_EQ(make("FFT", {text("PkAmplType", "REALIMAGINAER")}), VYNHOST_DONE);
    const char* names = nullptr;
    ASSERT_EQ(vynhost_block_inputs(block, &names), VYNHOST_DONE);
    EXPECT_STREQ(names, "E");
    ASSERT_EQ(vynhost_block_outputs(block, &names), VYNHOST_DONE);
    EXPECT_STREQ(names, "R,I");
}

TEST_F(Library, QuantitiesHaveNamesAndUnits) {
    ASSERT_EQ(make("Statistik", {text("PkYMax", "on"), text("PkQMean", "on")}), VYNHOST_DONE);
    const char* names = nullptr;
    ASSERT_EQ(vynhost_block_quantities(block, 0, &names), VYNHOST_DONE);
    EXPECT_STREQ(names, "YMax\nQMean\n");
    vynhost_block_delete(block);
    ASSERT_EQ(make("Pegel"), VYNHOST_DONE);
    ASSERT_EQ(vynhost_block_quantities(block, 0, &names), VYNHOST_DONE);
    EXPECT_THAT(names, HasSubstr("Leq [dB]\n"));
}

TEST_F(Library, OneLongSignalIsWhatItsDataBlocksAre) {
    const std::vector<float> tone = sine(1000, 31);
    ASSERT_EQ(make("Filter"), VYNHOST_DONE);
    ASSERT_EQ(vynhost_block_start(block, 1), VYNHOST_DONE);
    std::vector<float> pieces;
    for (std::size_t i = 0; i < 1000; i += 250) {
        const std::vector<float> piece(tone.begin() + static_cast<std::ptrdiff_t>(i),
                                       tone.begin() + static_cast<std::ptrdiff_t>(i + 250));
        ASSERT_EQ(feed(signal(piece, 8000)), VYNHOST_DONE) << vynhost_error();
        for (const float value : output())
            pieces.push_back(value);
    }
    ASSERT_EQ(vynhost_block_start(block, 1), VYNHOST_DONE);
    std::vector<float> flowed(1000);
    std::int64_t written = 0;
    vynhost_data head{};
    const vynhost_data whole = signal(tone, 8000);
    ASSERT_EQ(vynhost_block_flow(block, &whole, 250, flowed.data(), 1000, &written, &head),
              VYNHOST_DONE)
        << vynhost_error();
    EXPECT_EQ(written, 1000);
    EXPECT_EQ(head.x_kind, 1);
    EXPECT_EQ(flowed, pieces);
    EXPECT_THAT(flowed, Not(testing::Each(0.0F)));
    ASSERT_EQ(vynhost_block_start(block, 1), VYNHOST_DONE);
    EXPECT_EQ(vynhost_block_flow(block, &whole, 250, flowed.data(), 999, &written, &head),
              VYNHOST_WRONG_INPUT);
    EXPECT_THAT(vynhost_error(), HasSubstr("room for 999 values"));
}

TEST_F(Library, TheEndOfTheDataClosesALevelInterval) {
    ASSERT_EQ(make("Pegel", {number("PkFreqOut", 10)}), VYNHOST_DONE);
    ASSERT_EQ(vynhost_block_start(block, 1), VYNHOST_DONE);
    int intervals = 0;
    double end = 0;
    const auto count = [&] {
        do {
            if (outputs[0].channels == 0) continue;
            ++intervals;
            end = outputs[0].x_start + outputs[0].x_step;
        } while (vynhost_block_feed(block, nullptr, 0, outputs.data(), 3, &moved) == VYNHOST_DONE &&
                 moved != 0);
    };
    ASSERT_EQ(feed(signal(sine(250, 20))), VYNHOST_DONE) << vynhost_error();
    count();
    ASSERT_EQ(feed(signal(sine(50, 4))), VYNHOST_DONE) << vynhost_error();
    count();
    EXPECT_EQ(intervals, 2);  // the third is full, but nothing has followed it
    int followers = 0;
    for (std::int32_t more = 1; more != 0 && followers < 10; ++followers) {
        ASSERT_EQ(vynhost_block_finish(block, &more), VYNHOST_DONE);
        count();
    }
    EXPECT_EQ(intervals, 3);
    EXPECT_DOUBLE_EQ(end, 0.3);
}

TEST_F(Library, WhoeverTakesNothingNeedsNoPlaceForIt) {
    ASSERT_EQ(make("Filter"), VYNHOST_DONE);
    ASSERT_EQ(vynhost_block_start(block, 1), VYNHOST_DONE);
    const std::vector<float> values = sine(64, 5);
    const vynhost_data data = signal(values, 8000);
    EXPECT_EQ(vynhost_block_feed(block, &data, 1, nullptr, 0, nullptr), VYNHOST_DONE)
        << vynhost_error();
    EXPECT_EQ(vynhost_block_feed(block, nullptr, 0, nullptr, 1, nullptr), VYNHOST_WRONG_INPUT);
    EXPECT_THAT(vynhost_error(), HasSubstr("the place of the outputs is missing"));
}

// Natively; a Windows module answers the thread that owns its window.
TEST_F(Library, AnotherThreadMayMakeABlock) {
    std::int32_t answer = VYNHOST_DONE;
    std::thread([&] { answer = make("Filter"); }).join();
    EXPECT_EQ(answer == VYNHOST_DONE, !platform::kWindowBelongsToThread) << answer;
}

TEST_F(Library, DataThatMakeNoSenseAreRefused) {
    ASSERT_EQ(make("Filter"), VYNHOST_DONE);
    const std::vector<float> values = sine(64, 5);
    EXPECT_EQ(feed(signal(values)), VYNHOST_WRONG_INPUT);
    EXPECT_THAT(vynhost_error(), HasSubstr("no run has been started"));
    ASSERT_EQ(vynhost_block_start(block, 1), VYNHOST_DONE);
    const auto refused = [&](void (*spoil)(vynhost_data&), const char* what) {
        vynhost_data data = signal(values, 8000);
        spoil(data);
        EXPECT_EQ(feed(data), VYNHOST_WRONG_INPUT) << what;
        EXPECT_THAT(vynhost_error(), HasSubstr(what));
    };
    refused([](vynhost_data& d) { d.channels = -1; }, "input E: -1 channels, allowed is 1 or more");
    refused([](vynhost_data& d) { d.channels = 3; }, "64 values are no multiple of 3 channels");
    refused([](vynhost_data& d) { d.count = -2; }, "-2 values");
    refused([](vynhost_data& d) { d.count = std::int64_t{1} << 32; }, "allowed is 0 to 2147483647");
    refused([](vynhost_data& d) { d.values = nullptr; }, "there are no values");
    refused([](vynhost_data& d) { d.x_step = 0; }, "the x step is 0, allowed is above 0");
    refused([](vynhost_data& d) { d.x_step = std::nan(""); }, "the x step is nan");
    refused([](vynhost_data& d) { d.x_start = std::numeric_limits<double>::infinity(); },
            "x starts at inf");
    EXPECT_EQ(feed(signal(values, 8000)), VYNHOST_DONE) << vynhost_error();
}

TEST_F(Library, WhatIsMissingIsNamed) {
    ASSERT_EQ(make("Inverse FFT"), VYNHOST_DONE);
    ASSERT_EQ(vynhost_block_start(block, 1), VYNHOST_DONE);
    const std::vector<float> values(64);
    vynhost_data data = signal(values);
    data.x_kind = 3;
    ASSERT_EQ(feed(data), VYNHOST_WRONG_INPUT);
    EXPECT_THAT(vynhost_error(), HasSubstr("every input must have data; missing: I"));
    const char* names = nullptr;
    ASSERT_EQ(vynhost_block_waiting(block, &names), VYNHOST_DONE);
    EXPECT_STREQ(names, "R");
    EXPECT_EQ(feed(data), VYNHOST_WRONG_INPUT);
    EXPECT_THAT(vynhost_error(), HasSubstr("still waits"));
}

TEST_F(Library, KeywordsAreListedFromTheHostsTable) {
    vynhost_keyword keyword{};
    ASSERT_EQ(vynhost_keyword_at("Pegel", 1, &keyword), VYNHOST_DONE);
    EXPECT_STREQ(keyword.name, "PkTimeTc");
    EXPECT_STREQ(keyword.allowed, "Slow (0), Fast (1) or Impulse (2)");
    ASSERT_EQ(vynhost_keyword_at("Pegel", 4, &keyword), VYNHOST_DONE);
    EXPECT_STREQ(keyword.unit, "Hz");
    ASSERT_EQ(vynhost_keyword_at("Pegel", 5, &keyword), VYNHOST_DONE);
    EXPECT_EQ(keyword.name, nullptr);
}

TEST_F(Library, ThereIsOneModuleAtATime) {
    EXPECT_EQ(vynhost_open(nullptr), VYNHOST_NO_MODULE);
    EXPECT_THAT(vynhost_error(), HasSubstr("a module is open already"));
    ASSERT_EQ(vynhost_close(), VYNHOST_DONE);
    EXPECT_EQ(make("FFT"), VYNHOST_NO_MODULE);
    EXPECT_THAT(vynhost_error(), HasSubstr("no module has been opened"));
    EXPECT_EQ(vynhost_open("/nowhere/VYNPACKM.so"), VYNHOST_NO_MODULE);
    EXPECT_EQ(vynhost_open(nullptr), VYNHOST_DONE);
}

TEST_F(Library, ADiagramHandsItsDataBlocksToTheListener) {
    const support::OwnFolder folder("vynhost-library");
    const std::filesystem::path file = folder.path() / "d.toml";
    std::ofstream(file) << "[source.noise]\nnoise = { rms = 1.0, seed = 1 }\nrate = 1000.0\n"
                           "seconds = 1.0\nblock = 250\nunit = \"V\"\n"
                           "[block.s]\ntype = \"FFT\"\n[wire]\n\"s.E\" = \"noise\"\n"
                           "[sink.lines]\nfrom = [\"noise\", \"s.S\"]\ncsv = \"lines.csv\"\n";
    std::vector<std::int64_t> counts;
    const auto take = [](void* user, std::int32_t place, const vynhost_data* data) {
        static_cast<std::vector<std::int64_t>*>(user)->push_back(place * 10000 + data->count);
    };
    const std::string name = textOf(file);
    const char* description = nullptr;
    const auto runs = [&](const char* diagram, std::int64_t memory) {
        return vynhost_diagram_run(diagram, nullptr, nullptr, 0, memory, take, &counts,
                                   &description);
    };
    ASSERT_EQ(runs(name.c_str(), 0), VYNHOST_DONE) << vynhost_error();
    EXPECT_THAT(counts,
                testing::UnorderedElementsAre(250, 250, 250, 250, 10125, 10125, 10125, 10125));
    EXPECT_THAT(description, HasSubstr(R"("place":1,"name":"s.S","unit":"V")"));
    EXPECT_FALSE(std::filesystem::exists("lines.csv"));
    EXPECT_EQ(runs("none.toml", 0), VYNHOST_WRONG_INPUT);
    EXPECT_EQ(runs(name.c_str(), -1), VYNHOST_WRONG_INPUT);
    EXPECT_STREQ(vynhost_error(), "memory is -1, allowed is 0 or more");
    EXPECT_EQ(runs(name.c_str(), 1000), VYNHOST_WRONG_INPUT);
    EXPECT_THAT(vynhost_error(), HasSubstr("a run may take 1 MiB (memory raises that)"));
    const char* source = "nois";
    EXPECT_EQ(
        vynhost_diagram_run(name.c_str(), &source, &source, 1, 0, take, &counts, &description),
        VYNHOST_WRONG_INPUT);
    EXPECT_THAT(vynhost_error(), HasSubstr("there is no source nois, did you mean noise?"));
}

TEST_F(Library, WhatACallLeavesOutIsNamed) {
    const auto refused = [](std::int32_t code, const char* what) {
        EXPECT_EQ(code, VYNHOST_WRONG_INPUT) << what;
        EXPECT_THAT(vynhost_error(), HasSubstr(what));
    };
    vynhost_keyword keyword{};
    refused(vynhost_keyword_at("Pegel", 0, nullptr), "the place of the keyword is missing");
    refused(vynhost_keyword_at(nullptr, 0, &keyword), "the type is missing");
    ASSERT_EQ(vynhost_keyword_at("Pegel", -1, &keyword), VYNHOST_DONE);
    EXPECT_EQ(keyword.name, nullptr);
    vynhost_block* other = nullptr;
    const auto create = [&](const char* type, const vynhost_setting* settings, std::int32_t count) {
        return vynhost_block_new(type, nullptr, nullptr, 0, settings, count, &other);
    };
    refused(create(nullptr, nullptr, 0), "the type is missing");
    refused(create("FFT", nullptr, 1), "the settings is missing");
    refused(vynhost_block_new("FFT", nullptr, "12345678", -1, nullptr, 0, &other),
            "FFT.record: has a size below 0");
    refused(vynhost_block_new("FFT", nullptr, nullptr, 0, nullptr, 0, nullptr),
            "the place of the block is missing");
    vynhost_setting setting{};
    refused(create("FFT", &setting, 1), "a setting's keyword is missing");
    setting.keyword = "PkPhase";
    refused(create("FFT", &setting, 1), "FFT.PkPhase: has no value");
    setting.kind = VYNHOST_TEXT;
    refused(create("FFT", &setting, 1), "a text is missing");
    refused(vynhost_block_start(nullptr, 1), "the block is missing");
    ASSERT_EQ(make("FFT"), VYNHOST_DONE);
    refused(vynhost_block_get(block, "PkPhase", nullptr), "the place of the value is missing");
    refused(vynhost_block_get(block, nullptr, &setting), "the keyword is missing");
    refused(vynhost_block_inputs(block, nullptr), "the place of the names is missing");
    refused(vynhost_block_record(block, nullptr, 0, nullptr), "the place of the size is missing");
    char nothing = 'x';
    std::int64_t size = 0;
    EXPECT_EQ(vynhost_block_record(block, &nothing, 0, &size), VYNHOST_DONE);
    EXPECT_EQ(nothing, 'x');
    refused(vynhost_block_feed(block, nullptr, 1, outputs.data(), 3, &moved),
            "the inputs is missing");
    refused(vynhost_block_feed(block, nullptr, 0, nullptr, 3, &moved),
            "the place of the outputs is missing");
    refused(vynhost_block_feed(block, nullptr, 0, nullptr, 0, &moved), "no run has been started");
    std::int32_t more = 7;
    EXPECT_EQ(vynhost_block_finish(block, &more), VYNHOST_DONE);
    EXPECT_EQ(more, 0);  // of no run there is no rest
    refused(vynhost_block_finish(block, nullptr), "the place of the answer is missing");
    const char* text = "";
    for (const std::int32_t output : {-1, 1, 16, 1 << 30}) {
        EXPECT_EQ(vynhost_block_quantities(block, output, &text), VYNHOST_DONE) << output;
        EXPECT_STREQ(text, "");
    }
    refused(vynhost_diagram_run("d.toml", nullptr, nullptr, 0, 0, nullptr, nullptr, &text),
            "the listener is missing");
    const auto take = [](void*, std::int32_t, const vynhost_data*) {};
    refused(vynhost_diagram_run("d.toml", nullptr, nullptr, 1, 0, take, nullptr, &text),
            "the sources is missing");
}

TEST_F(Library, TwoInputsTakeTheirDataTogetherOrOneByOne) {
    ASSERT_EQ(make("FFT zweier Zeitsignale"), VYNHOST_DONE) << vynhost_error();
    const std::vector<float> tone = sine(64, 5);
    const vynhost_data one = signal(tone);
    vynhost_data none{};
    ASSERT_EQ(vynhost_block_start(block, 1), VYNHOST_DONE);
    const std::array<vynhost_data, 2> both = {one, one};
    const auto give = [&](const vynhost_data& first, const vynhost_data& second) {
        const std::array<vynhost_data, 2> inputs = {first, second};
        return vynhost_block_feed(block, inputs.data(), 2, outputs.data(), 3, &moved);
    };
    EXPECT_EQ(give(one, one), VYNHOST_WRONG_INPUT);
    EXPECT_THAT(vynhost_error(), HasSubstr("data come to input 1, which is not wired"));
    const std::array<vynhost_data, 9> nine = {none, none, none, none, none, none, none, none, one};
    EXPECT_EQ(vynhost_block_feed(block, nine.data(), 9, outputs.data(), 3, &moved),
              VYNHOST_WRONG_INPUT);
    EXPECT_THAT(vynhost_error(), HasSubstr("data come to input 8, which is not wired"));
    ASSERT_EQ(vynhost_block_start(block, 3), VYNHOST_DONE);
    ASSERT_EQ(give(one, one), VYNHOST_DONE) << vynhost_error();
    const std::vector<float> together = output();
    ASSERT_EQ(vynhost_block_start(block, 3), VYNHOST_DONE);
    ASSERT_EQ(give(one, none), VYNHOST_DONE) << vynhost_error();
    EXPECT_EQ(outputs[0].values, nullptr);
    ASSERT_EQ(vynhost_block_feed(block, &both[0], 0, outputs.data(), 3, nullptr), VYNHOST_DONE);
    ASSERT_EQ(give(none, one), VYNHOST_DONE) << vynhost_error();
    EXPECT_EQ(output(), together);
    // A signal alone can't flow through it.
    ASSERT_EQ(vynhost_block_start(block, 3), VYNHOST_DONE);
    std::vector<float> result(64);
    std::int64_t written = 0;
    EXPECT_EQ(vynhost_block_flow(block, &one, 64, result.data(), 64, &written, nullptr),
              VYNHOST_WRONG_INPUT);
    EXPECT_THAT(vynhost_error(), HasSubstr("the block does not take the data at E"));
}

TEST_F(Library, ASignalFlowsInPiecesOfAnyLength) {
    const std::vector<float> tone = sine(1000, 31);
    ASSERT_EQ(make("Filter"), VYNHOST_DONE);
    vynhost_data whole = signal(tone, 8000);
    std::vector<float> expected;
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
    for (const std::int64_t samples : {std::int64_t{1000}, std::int64_t{7}, kMost, kMost / 2}) {
        ASSERT_EQ(vynhost_block_start(block, 1), VYNHOST_DONE);
        std::vector<float> flowed(1000);
        std::int64_t written = 0;
        whole.channels = samples == kMost / 2 ? 2 : 1;
        ASSERT_EQ(
            vynhost_block_flow(block, &whole, samples, flowed.data(), 1000, &written, nullptr),
            VYNHOST_DONE)
            << vynhost_error();
        EXPECT_EQ(written, 1000);
        if (expected.empty()) expected = flowed;
        if (whole.channels == 1) {
            EXPECT_EQ(flowed, expected) << samples;
        }
    }
    const auto refused = [&](vynhost_data data, std::int64_t samples, const char* what) {
        std::int64_t written = 0;
        float result = 0;
        ASSERT_EQ(vynhost_block_start(block, 1), VYNHOST_DONE);
        EXPECT_EQ(vynhost_block_flow(block, &data, samples, &result, 1, &written, nullptr),
                  VYNHOST_WRONG_INPUT);
        EXPECT_THAT(vynhost_error(), HasSubstr(what));
    };
    whole.channels = 1;
    refused(whole, 0, "data blocks have 1 sample or more");
    whole.count = -5;
    refused(whole, 100, "-5 values");
    whole.channels = 0;
    refused(whole, 100, "the signal has no channels");
    whole = signal(tone);
    whole.x_step = std::numeric_limits<double>::infinity();
    refused(whole, 100, "the x step is inf");
}

}  // namespace
}  // namespace vynhost::test
