// A diagram's block, placed: type, parameter record and keywords as the diagram gives them.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "vynhost/diagram/catalogue.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/interface/placed_block.h"

namespace vynhost {

// Raises InputError for a type, a record, a keyword or a value that the module does not take, and
// for values that contradict each other. Notes are lines for the reader.
std::unique_ptr<PlacedBlock> placeBlock(ModuleHost& host, std::span<const TypeInfo> types,
                                        const BlockEntry& entry, std::vector<std::string>& notes);

// The same without a look at what becomes of it: a record or value that is not taken is passed
// over. The type must exist.
std::unique_ptr<PlacedBlock> placeBlockUnchecked(ModuleHost& host, int typeCode,
                                                 const BlockEntry& entry);

// The setting in the keyword's own type; raises InputError when it is of another.
KeywordValue typedValue(const Setting& setting, const KeywordRow& row);

// The row of a setting's keyword, or null.
const KeywordRow* rowOf(const Setting& setting, std::span<const KeywordRow> rows);

}  // namespace vynhost
