// What the module offers, asked from the module itself.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "vynhost/base/errors.h"
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

// The type of this long or short name, class name or code, in any case of letters. Raises
// InputError with the place when there is none.
const TypeInfo& typeNamed(const std::string& name, std::span<const TypeInfo> types,
                          const Place& place);

// The names of a block's connectors: its label, or label and number (from 1) where a label
// stands at several inputs or several outputs.
std::vector<std::string> connectorNames(const std::vector<std::string>& labels);

std::string typeText(ValueType type);

}  // namespace vynhost
