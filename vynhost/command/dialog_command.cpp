#include "vynhost/command/dialog_command.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/diagram/block_change.h"
#include "vynhost/diagram/block_settings.h"
#include "vynhost/diagram/catalogue.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/diagram/diagram_text.h"
#include "vynhost/interface/installation.h"
#include "vynhost/results/result_files.h"

namespace vynhost {
namespace {

std::string contentsOf(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

const BlockEntry& blockOf(const Diagram& diagram, const std::string& name) {
    const auto found = std::ranges::find(diagram.blocks, name, &BlockEntry::name);
    if (found != diagram.blocks.end()) return *found;
    const std::string file = textOf(diagram.file);
    if (std::ranges::find(diagram.sources, name, &SourceEntry::name) != diagram.sources.end()) {
        throw InputError({file, 0, ""}, tr("\"%1\" is a source, which has no dialog", name));
    }
    std::vector<std::string> names;
    for (const BlockEntry& block : diagram.blocks)
        names.push_back(block.name);
    throw InputError({file, 0, ""}, tr("\"%1\" is no block%2%3", name, didYouMean(name, names),
                                       names.empty() ? tr(" (there are none)")
                                                     : tr(" (there are: %1)", joined(names))));
}

// What a reader wants to know about the difference between two states of a block's entries.
std::vector<std::string> changesBetween(const BlockEntry& before, const BlockEntry& after) {
    const auto find = [](const BlockEntry& entry, const std::string& keyword) {
        return std::ranges::find(entry.settings, keyword, &Setting::keyword);
    };
    std::vector<std::string> lines;
    for (const Setting& setting : after.settings) {
        const auto old = find(before, setting.keyword);
        const std::string line = settingText(setting);
        if (old == before.settings.end() || settingText(*old) != line) {
            lines.push_back(before.name + ": " + line);
        }
    }
    for (const Setting& setting : before.settings) {
        if (find(after, setting.keyword) == after.settings.end()) {
            lines.push_back(tr("%1: %2 is gone", before.name, setting.keyword));
        }
    }
    if (after.record && after.record != before.record) {
        lines.push_back(tr("%1: record, for what no keyword can say", before.name));
    } else if (before.record && !after.record) {
        lines.push_back(tr("%1: record is gone", before.name));
    }
    return lines;
}

}  // namespace

struct BlockEditor::Origin {
    std::filesystem::path file;
    std::string text;
    Diagram diagram;
    BlockEntry entry;
    std::vector<TypeInfo> types;
    std::string record;
};

BlockEditor::BlockEditor(ModuleHost& host, const std::filesystem::path& file,
                         const std::string& block)
    : host_(host), origin_(std::make_unique<Origin>()) {
    origin_->diagram = readDiagram(file);
    // A link stays one: what it leads to is replaced.
    origin_->file = std::filesystem::canonical(file);
    origin_->text = contentsOf(origin_->file);
    origin_->diagram = parseDiagram(origin_->text, file);
    origin_->entry = blockOf(origin_->diagram, block);
    if (!std::ofstream(origin_->file, std::ios::binary | std::ios::app)) {
        throw InputError({textOf(file), 0, ""}, tr("can't be written"));
    }
    origin_->types = moduleTypes(host);
    block_ = placeBlock(host, origin_->types, origin_->entry);
    origin_->record = block_->save();
}

BlockEditor::~BlockEditor() = default;

std::string BlockEditor::className() const {
    const auto found = std::ranges::find(origin_->types, block_->typeCode(), &TypeInfo::code);
    return found->className;
}

std::vector<std::string> BlockEditor::writeBack() {
    const std::string record = block_->save();
    if (record == origin_->record) return {};
    const BlockEntry after = entryFor(host_, origin_->types, origin_->entry,
                                      static_cast<int>(block_->typeCode()), record);
    const std::string text =
        rewriteBlock(origin_->text, origin_->diagram.file, origin_->entry, after);
    if (contentsOf(origin_->file) != origin_->text) {
        throw InputError({textOf(origin_->diagram.file), 0, ""},
                         tr("has been changed meanwhile; nothing is written"));
    }
    replaceFile(origin_->file, text);
    return changesBetween(origin_->entry, after);
}

std::string showBlockDialog(ModuleHost& host, const DialogArguments& arguments) {
    BlockEditor editor(host, pathOf(arguments.diagram), arguments.block);
    const std::filesystem::path pages = findInstallation().pages;
    const std::filesystem::path german =
        pages.parent_path() / codeOf(Language::german) / pages.filename();
    host.setHelp([page = (spokenLanguage() == Language::german ? german : pages) /
                         (editor.className() + ".md")] { platform::showPage(page); });
    switch (editor.block().askUser()) {
        case platform::DialogEnd::none:
            throw InputError(
                tr("the dialog of \"%1\" can't be shown (is there a display?)", arguments.block));
        case platform::DialogEnd::cancelled:
            return tr("cancelled, %1 is unchanged", arguments.diagram) + "\n";
        case platform::DialogEnd::accepted: break;
    }
    std::string said;
    for (const std::string& line : editor.writeBack())
        said += line + "\n";
    return (said.empty() ? tr("nothing new, %1 is unchanged", arguments.diagram)
                         : said + tr("wrote %1", arguments.diagram)) +
           "\n";
}

}  // namespace vynhost
