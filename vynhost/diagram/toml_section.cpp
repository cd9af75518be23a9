#include "vynhost/diagram/toml_section.h"

#include <fstream>

#include "vynhost/base/messages.h"
#include "vynhost/diagram/toml_bounds.h"

namespace vynhost {

std::string tomlTextOf(const std::filesystem::path& file) {
    std::error_code error;  // of a name that is too long, say
    if (!std::filesystem::is_regular_file(file, error)) {
        throw InputError({textOf(file), 0, ""}, tr("no such file"));
    }
    std::ifstream in(file, std::ios::binary);
    std::string text(kMostDiagramBytes + 1, '\0');  // one more tells that there is more
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(in.gcount()));
    return text;
}

toml::table parseToml(const std::string& text, const std::string& file) {
    checkBounds(text, file);
    try {
        return toml::parse(text, file);
    } catch (const toml::parse_error& error) {
        const int line = static_cast<int>(error.source().begin.line);
        throw InputError({file, line, ""}, onOneLine(error.description()));
    }
}

}  // namespace vynhost
