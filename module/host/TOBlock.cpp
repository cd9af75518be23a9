#include "host/TOBlock.h"

#include <string_view>

namespace vynpack {

void writeConnectors(ConnectorText& text, const char* connectors) noexcept {
    const std::size_t length = std::string_view(connectors).copy(text.data(), text.size() - 1);
    text[length] = '\0';
}

}  // namespace vynpack
