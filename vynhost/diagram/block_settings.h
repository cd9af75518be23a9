// A diagram's block, placed: type, parameter record and keywords as the diagram gives them.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "vynhost/diagram/catalogue.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/interface/placed_block.h"

namespace vynhost {

// Raises InputError for a type or record that the module does not take, for keywords and values
// that mean nothing, and for values that change each other. Whether they fit together, and what the
// record brings along, is looked at before a run (keyword_check.h).
std::unique_ptr<PlacedBlock> placeBlock(ModuleHost& host, std::span<const TypeInfo> types,
                                        const BlockEntry& entry);

// The same without a look at what becomes of it: a record or value that is not taken is passed
// over. The type must exist.
std::unique_ptr<PlacedBlock> placeBlockUnchecked(ModuleHost& host, int typeCode,
                                                 const BlockEntry& entry);

// What is sent to a block of the type for a setting; nothing when it is none of the type's, or
// means nothing.
std::optional<KeywordValue> valueOf(const Setting& setting, int typeCode);

// The row of a setting's keyword, or null.
const KeywordRow* rowOf(const Setting& setting, std::span<const KeywordRow> rows);

}  // namespace vynhost
