// From parameters back to what a diagram says: what a dialog changed, as keywords and, where they
// cannot say it, as a parameter record.
#pragma once

#include <span>
#include <string>

#include "vynhost/diagram/catalogue.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/interface/module_host.h"

namespace vynhost {

// The entries of a block that give it the parameters of `record`, byte for byte, as placeBlock
// takes them. They are those of `before` with as little changed as possible: values that differ are
// replaced, missing keywords follow at the end, keywords that would spoil the record are left out.
// `before` must be a block that can be placed.
BlockEntry entryFor(ModuleHost& host, std::span<const TypeInfo> types, const BlockEntry& before,
                    int typeCode, const std::string& record);

}  // namespace vynhost
