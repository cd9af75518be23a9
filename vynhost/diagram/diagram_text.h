// Changes in the text of a diagram file that leave everything else in it as its author wrote it.
#pragma once

#include <filesystem>
#include <string>

#include "vynhost/diagram/diagram.h"
#include "vynhost/diagram/keyword_table.h"

namespace vynhost {

// The text with the record and keywords of one block's table brought from `before`, as they were
// read from this text, to `after`. Comments, order, blanks and line ends stay as they are.
std::string rewriteBlock(const std::string& text, const std::filesystem::path& file,
                         const BlockEntry& before, const BlockEntry& after);

// A setting as a line of a diagram: `PkPhase = 1`.
std::string settingText(const Setting& setting);

// What stands behind the equals sign for a keyword's value, which must not be none.
std::string settingValueText(const WrittenValue& value);

}  // namespace vynhost
