// vynhost dialog: a block's own dialog, opened on the parameters that a diagram gives, writes what
// it changes back into the diagram.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "vynhost/interface/placed_block.h"

namespace vynhost {

// A block of a diagram file whose parameters are about to change.
class BlockEditor {
public:
    // Raises InputError for a diagram, block or value that is none, and for a file that can't be
    // written.
    BlockEditor(ModuleHost& host, const std::filesystem::path& file, const std::string& block);
    ~BlockEditor();
    BlockEditor(const BlockEditor&) = delete;
    BlockEditor& operator=(const BlockEditor&) = delete;

    PlacedBlock& block() noexcept { return *block_; }
    // The name of the block's type in the documentation.
    std::string className() const;

    // Writes what has become of the block's parameters since it was placed; gives a line per
    // change, and none when nothing has changed. The file is replaced as a whole or stays as it
    // was. Raises InputError when it can't be written or has been changed meanwhile.
    std::vector<std::string> writeBack();

private:
    struct Origin;

    ModuleHost& host_;
    std::unique_ptr<Origin> origin_;
    std::unique_ptr<PlacedBlock> block_;
};

struct DialogArguments {
    std::string diagram;
    std::string block;
};

// Raises RunError; gives what is to be said about the outcome, in lines.
std::string showBlockDialog(ModuleHost& host, const DialogArguments& arguments);

}  // namespace vynhost
