// The settings of a diagram's block, checked against what its keywords mean, and their way to the
// block and back.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "vynhost/base/errors.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/diagram/keyword_table.h"
#include "vynhost/interface/placed_block.h"

namespace vynhost {

// The setting as a diagram writes it, with the name in the place of a choice's number. Raises
// InputError for another type, a name or number that is no choice, a number out of range, NaN and
// infinities; the message says what is allowed.
WrittenValue writtenValue(const KeywordMeaning& keyword, const Setting& setting);

// What is sent to the block for it.
KeywordValue valueToSend(const KeywordMeaning& keyword, const WrittenValue& written);

// What reads back afterwards; nothing where the keyword does not read back.
std::optional<KeywordValue> valueReadBack(const KeywordMeaning& keyword,
                                          const WrittenValue& written);

// What a value that was read back stands for; none when it stands for nothing that has a name.
WrittenValue meaningOfRead(const KeywordMeaning& keyword, const KeywordValue& read);

// The keyword that a setting names; raises InputError when the block has none of this name.
const KeywordMeaning& keywordOf(const BlockMeaning& block, const Setting& setting);

// The values of a block at work, set up by these settings.
KeywordValues valuesOf(PlacedBlock& block, const BlockEntry& entry);

// Raises InputError for values of a block that are out of range whatever brought them about, and
// for a rule between keywords that they break.
void checkValues(const BlockMeaning& block, const BlockEntry& entry, const KeywordValues& values);

// Raises InputError for an input that the block needs, as it is set, and that is not wired, and for
// a wired one that it would never read. `wires` has the places of the wires, by the inputs'
// letters.
void checkInputs(const BlockMeaning& block, const BlockEntry& entry, const KeywordValues& values,
                 const std::map<std::string, Place>& wires);

// The same as checkValues for the rules that ask for the sample rate of the block's input, in Hz.
void checkValuesAtRate(const BlockMeaning& block, const BlockEntry& entry,
                       const KeywordValues& values, double rate);

// Raises InputError when the block, whose filter is to work at this rate, hands on what it is given
// as it is: its design cannot be made, and no message says so.
void checkFilterDesign(PlacedBlock& block, const BlockEntry& entry, double rate);

}  // namespace vynhost
