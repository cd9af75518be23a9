// The block types that the module offers: one row each, read by every export that depends on the
// type.
#pragma once

#include <cstdint>
#include <memory>

#include "host/TOBlock.h"

namespace vynpack {

struct BlockType {
    BlockTypeCode code;
    const char* longName;
    const char* shortName;
    // All connectors must be wired before the block's Simulation is called.
    bool needsEveryConnector;
    // Null where the type cannot be created.
    std::unique_ptr<TOBlock> (*create)();
};

// The row of a code, or null.
const BlockType* findBlockType(std::int32_t code) noexcept;

}  // namespace vynpack
