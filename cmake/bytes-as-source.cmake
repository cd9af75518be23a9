# Writes the bytes of the catalogue FROM into the C++ source TO.
file(READ ${FROM} bytes HEX)
string(REGEX REPLACE "(..)" "\\\\x\\1" bytes "${bytes}")
# A line per 32 bytes, so that no literal gets too long to read.
string(REPEAT "...." 32 row)
string(REGEX REPLACE "(${row})" "\\1\"\n    \"" bytes "${bytes}")
file(WRITE ${TO} "// Made by CMake.
#include \"vynhost/base/message_catalogue.h\"

namespace vynhost {
namespace {

constexpr char kBytes[] =
    \"${bytes}\";

}  // namespace

const std::string_view kGermanCatalogue(kBytes, sizeof kBytes - 1);

}  // namespace vynhost
")
