#include "interface/vynhost/diagram_fixture.h"

#include <cmath>
#include <cstring>
#include <fstream>
#include <numbers>
#include <sstream>

#include "vynhost/base/text.h"

namespace vynhost::test {
namespace {

template <class Number>
void append(std::string& bytes, Number number) {
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

}  // namespace

DiagramTest::DiagramTest() : HostTest(allTypes()) {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    folder_ = std::filesystem::temp_directory_path() /
              (std::string("vynhost-") + info->test_suite_name() + "-" + info->name());
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
}

DiagramTest::~DiagramTest() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::filesystem::path DiagramTest::write(const std::string& name,
                                         const std::string& content) const {
    const std::filesystem::path file = folder_ / pathOf(name);
    std::ofstream(file, std::ios::binary) << content;
    return file;
}

std::filesystem::path DiagramTest::writeWav(const std::string& name,
                                            const std::vector<float>& interleaved, int channels,
                                            int rate) const {
    std::string data;
    for (const float sample : interleaved) {
        append(data, static_cast<std::int16_t>(std::lround(sample * 32768)));
    }
    std::string wav = "RIFF";
    append(wav, static_cast<std::uint32_t>(36 + data.size()));
    wav += "WAVEfmt ";
    append(wav, std::uint32_t{16});
    append(wav, std::uint16_t{1});
    append(wav, static_cast<std::uint16_t>(channels));
    append(wav, static_cast<std::uint32_t>(rate));
    append(wav, static_cast<std::uint32_t>(rate * channels * 2));
    append(wav, static_cast<std::uint16_t>(channels * 2));
    append(wav, std::uint16_t{16});
    wav += "data";
    append(wav, static_cast<std::uint32_t>(data.size()));
    return write(name, wav + data);
}

std::string DiagramTest::read(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

std::string DiagramTest::errorOf(const std::string& toml) const {
    int code = 0;
    const std::string text = errorOf(toml, code);
    EXPECT_TRUE(text.empty() || code == kWrongInput) << code;
    return text;
}

std::string DiagramTest::errorOf(const std::string& toml, int& code) const {
    const std::filesystem::path file = write("d.toml", toml);
    try {
        const Diagram diagram = readDiagram(file);
        Runner runner(const_cast<ModuleHost&>(host), diagram, noInputs);
        runner.run();
    } catch (const RunError& error) {
        code = error.code();
        std::string text = error.what();
        EXPECT_EQ(text.find('\n'), std::string::npos) << text;
        const std::string prefix = textOf(folder_ / "");
        for (std::size_t at = text.find(prefix); at != std::string::npos; at = text.find(prefix)) {
            text.erase(at, prefix.size());
        }
        return text;
    }
    return "";
}

std::vector<float> DiagramTest::sine(int samples, int periods, float amplitude) {
    std::vector<float> values(static_cast<std::size_t>(samples));
    for (int i = 0; i < samples; ++i) {
        values[static_cast<std::size_t>(i)] =
            amplitude * static_cast<float>(std::sin(2 * std::numbers::pi * periods * i / samples));
    }
    return values;
}

}  // namespace vynhost::test
