// vynhost list: what the module offers and what a diagram may write, for people, for programs and
// for the blocks' pages.
#pragma once

#include <span>
#include <string>

#include "vynhost/diagram/catalogue.h"
#include "vynhost/interface/placed_block.h"

namespace vynhost {

// All types with connectors and keywords: for every keyword what a new block has and what is
// allowed.
std::string listAsText(ModuleHost& host);

// One type with what its keywords and their values mean and what must hold between them.
std::string typeAsText(ModuleHost& host, const TypeInfo& type);

// The same of some types as JSON.
std::string listAsJson(ModuleHost& host, std::span<const TypeInfo> types);

// The keywords of a type as a table in Markdown, with the rules below it.
std::string keywordsAsMarkdown(const TypeInfo& type);

}  // namespace vynhost
