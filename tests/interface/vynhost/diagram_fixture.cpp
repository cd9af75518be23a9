#include "interface/vynhost/diagram_fixture.h"

#include <cmath>
#include <cstring>
#include <fstream>
#include <numbers>
#include <sstream>

#include "support/record_bytes.h"
#include "vynhost/base/text.h"

namespace vynhost::test {
DiagramTest::DiagramTest() : HostTest(allTypes()) {}

std::filesystem::path DiagramTest::write(const std::string& name,
                                         const std::string& content) const {
    const std::filesystem::path file = folder() / pathOf(name);
    std::ofstream(file, std::ios::binary) << content;
    return file;
}

std::filesystem::path DiagramTest::writeWav(const std::string& name,
                                            const std::vector<float>& interleaved, int channels,
                                            int rate) const {
    std::string data;
    for (const float sample : interleaved) {
        data += bytes(static_cast<std::int16_t>(std::lround(sample * 32768)));
    }
    const auto size = static_cast<std::uint32_t>(data.size());
    constexpr std::uint16_t kPcm = 1;
    constexpr std::uint16_t kBytes = 2;  // per sample
    const auto frame = static_cast<std::uint16_t>(kBytes * channels);
    const std::string wav =
        "RIFF" + bytes(36 + size) + "WAVEfmt " +
        bytes(std::uint32_t{16}, kPcm, static_cast<std::uint16_t>(channels),
              static_cast<std::uint32_t>(rate), static_cast<std::uint32_t>(rate * frame), frame,
              static_cast<std::uint16_t>(8 * kBytes)) +
        "data" + bytes(size);
    return write(name, wav + data);
}

std::string DiagramTest::read(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

std::string DiagramTest::errorOf(const std::string& toml) {
    int code = 0;
    const std::string text = errorOf(toml, code);
    EXPECT_TRUE(text.empty() || code == kWrongInput) << code;
    return text;
}

std::string DiagramTest::errorOf(const std::string& toml, int& code) {
    const std::filesystem::path file = write("d.toml", toml);
    try {
        const Diagram diagram = readDiagram(file);
        Runner runner(host, diagram, noInputs);
        runner.run();
    } catch (const RunError& error) {
        code = error.code();
        std::string text = error.what();
        EXPECT_EQ(text.find('\n'), std::string::npos) << text;
        const std::string prefix = textOf(folder() / "");
        for (std::size_t at = text.find(prefix); at != std::string::npos; at = text.find(prefix)) {
            text.erase(at, prefix.size());
        }
        return text;
    }
    return "";
}

}  // namespace vynhost::test
