// What the module offers, asked from the module itself.
#pragma once

#include <string>
#include <vector>

#include "vynhost/interface/placed_block.h"

namespace vynhost {

struct TypeInfo {
    int code;
    std::string className;
    std::string longName;
    std::string shortName;
    bool creatable;
};

std::vector<TypeInfo> moduleTypes(ModuleHost& host);

// The names of a block's connectors: its label, or label and number (from 1) where a label
// stands at several inputs or several outputs.
std::vector<std::string> connectorNames(const std::vector<std::string>& labels);

std::string typeText(ValueType type);

// Some keywords of some types answer one meaningless byte instead of their text; no value name is
// that short.
bool isReadable(const std::string& text);
std::string valueText(const KeywordValue& value);

}  // namespace vynhost
