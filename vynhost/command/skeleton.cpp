#include "vynhost/command/skeleton.h"

#include <algorithm>
#include <array>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/diagram/diagram_text.h"
#include "vynhost/diagram/keyword_table.h"

namespace vynhost {
namespace {

// What goes over a wire.
enum class Signal { time, spectra, parts, numbers };

std::string nameOf(Signal signal) {
    switch (signal) {
        case Signal::time: return tr("time signals");
        case Signal::spectra: return tr("spectra");
        case Signal::parts: return tr("real and imaginary parts");
        case Signal::numbers: return tr("levels, classes or numbers");
    }
    return "";
}

// How blocks of a type stand in a chain.
struct Role {
    std::string_view name;  // of the first block
    std::array<bool, 4> takes;
    Signal gives;
    bool keepsKind;            // gives what it takes
    std::string_view average;  // of a sink behind it, where one is due
};
constexpr std::array<bool, 4> kOnlyTime = {true, false, false, false};
constexpr std::array<bool, 4> kOnlySpectra = {false, true, false, false};
constexpr std::array<bool, 4> kOnlyParts = {false, false, true, false};
constexpr std::array<bool, 4> kTimeOrSpectra = {true, true, false, false};
constexpr std::array<bool, 4> kAnything = {true, true, false, true};

constexpr std::array<Role, kTypes> kRoles = {{
    {"classes", kAnything, Signal::numbers, false, "last"},
    {"bands", kOnlySpectra, Signal::numbers, false, "power"},
    {"numbers", kAnything, Signal::numbers, false, ""},
    {"average", kAnything, Signal::time, true, ""},
    {"spectrum", kOnlyTime, Signal::spectra, false, "power"},
    {"back", kOnlyParts, Signal::time, false, ""},
    {"system", kOnlyTime, Signal::spectra, false, "last"},
    {"filter", kOnlyTime, Signal::time, false, ""},
    {"weighted", kTimeOrSpectra, Signal::time, true, ""},
    {"level", kOnlyTime, Signal::numbers, false, ""},
}};

const Role& roleOf(int code) { return kRoles[static_cast<std::size_t>(code - kFirstType)]; }

struct Override {
    std::string_view keyword;
    WrittenValue value;
};

// Parts that are put together again come from the signal as it is.
const std::vector<Override> kPartsOverrides = {
    {"PkAmplType", "REALIMAGINAER"}, {"PkWndFct", "RECTANGLE"}, {"PkWndCorrectTyp", "none"}};

// Bands keep the signal's power.
const std::vector<Override> kBandOverrides = {{"PkWndCorrectTyp", "energy"}};

struct Block {
    int code;
    std::string type;  // as the diagram names it
    std::string name;
    std::vector<Override> overrides = {};
};

std::string commented(const KeywordMeaning& keyword, const Block& block) {
    const auto given = std::ranges::find(block.overrides, keyword.name, &Override::keyword);
    WrittenValue value = given == block.overrides.end() ? keyword.example : given->value;
    const bool active = !std::holds_alternative<std::monostate>(value);
    if (!active) value = keyword.initial;
    if (std::holds_alternative<std::monostate>(value)) value = keyword.choices.back().name;
    return std::string(active ? "" : "# ") + std::string(keyword.name) + " = " +
           settingValueText(value) + "  # " + tr(keyword.says) + ": " + keyword.allowed() + "\n";
}

class Chain {
public:
    void add(const TypeInfo& type) {
        const Role& role = roleOf(type.code);
        const auto takes = [&](Signal signal) {
            return role.takes[static_cast<std::size_t>(signal)];
        };
        if (takes(Signal::spectra) && !takes(Signal::time) && kind_ == Signal::time) {
            addSpectrum(Signal::spectra);
        }
        if (type.code == kTerzOktave && !blocks_.empty() && blocks_.back().code == kSpektrum) {
            blocks_.back().overrides = kBandOverrides;
        }
        if (takes(Signal::parts)) {
            if (kind_ == Signal::time) {
                addSpectrum(Signal::parts);
            } else if (!blocks_.empty() && blocks_.back().code == kSpektrum) {
                blocks_.back().overrides = kPartsOverrides;
                kind_ = Signal::parts;
            }
        }
        if (!takes(kind_)) {
            throw InputError(tr("\"%1\" does not fit behind \"%2\", which gives %3", type.longName,
                                blocks_.back().type, nameOf(kind_)));
        }
        Block block{type.code, type.longName, newName(type.code)};
        if (type.code == kMittelwert && kind_ != Signal::time) {
            block.overrides = {{"PkMode", "data blocks"}};
        }
        wire(block);
        if (!role.keepsKind) kind_ = role.gives;
        if (!role.average.empty()) average_ = role.average;
        if (!role.keepsKind && role.average.empty()) average_ = "";
        blocks_.push_back(std::move(block));
    }

    std::string text() const {
        std::string text = tr("# Noise to try it with; for a recording of your own instead:") +
                           "\n#\n#     file = \"recording.wav\"\n#     full_scale = 1.0       # " +
                           tr("value of digital full scale, in") +
                           "\n"
                           "#     unit = \"Pa\"\n"
                           "\n" +
                           source("signal", 1);
        if (needsResponse_) text += "\n" + source("response", 2);
        for (const Block& block : blocks_) {
            text += "\n[block." + block.name + "]\ntype = \"" + block.type + "\"\n";
            for (const KeywordMeaning& keyword : meaningOf(block.code).keywords)
                text += commented(keyword, block);
        }
        text += "\n[wire]\n" + wires_;
        const Block& last = blocks_.back();
        for (const std::string_view letter : outputsOf(last)) {
            const std::string name =
                last.name + (outputsOf(last).size() > 1 ? "_" + std::string(letter) : "");
            text.append("\n[sink.").append(name).append("]\nfrom = \"").append(last.name);
            text.append(".").append(letter).append("\"\ncsv = \"").append(name);
            text.append(".csv\"\nsvg = \"").append(name).append(".svg\"\n");
            if (!average_.empty()) {
                text += "average = \"" + std::string(average_) + "\"  # " +
                        tr("over the data blocks: none, mean, power or last") + "\n";
            }
        }
        return text;
    }

private:
    static std::string source(const std::string& name, int seed) {
        return "[source." + name + "]\nnoise = { rms = 1.0, seed = " + toText(seed) +
               " }\nrate = 48000.0\nseconds = 2.0\nblock = 4096           # " +
               tr("samples per data block") + "\ntail = \"drop\"          # " +
               tr("a last short block is left out") + "\n";
    }

    std::vector<std::string_view> outputsOf(const Block& block) const {
        if (block.code == kSpektrum) {
            if (kind_ == Signal::parts) return {"R", "I"};
            return {"S"};
        }
        if (block.code == kDualSpektrum) return {"A", "K"};
        return {"A"};
    }

    void addSpectrum(Signal kind) {
        Block block{kSpektrum, "FFT", newName(kSpektrum)};
        if (kind == Signal::parts) block.overrides = kPartsOverrides;
        wire(block);
        kind_ = kind;
        blocks_.push_back(std::move(block));
    }

    std::string newName(int code) const {
        const auto same = std::ranges::count(blocks_, code, &Block::code);
        const std::string name(roleOf(code).name);
        return same == 0 ? name : name + toText(same + 1);
    }

    // What comes out behind the last block.
    std::string end() const {
        if (blocks_.empty()) return "signal";
        return blocks_.back().name + (blocks_.back().code == kSpektrum ? ".S" : ".A");
    }

    void connect(const Block& to, std::string_view input, const std::string& from) {
        wires_ += "\"" + to.name + "." + std::string(input) + "\" = \"" + from + "\"\n";
    }

    void wire(const Block& block) {
        if (block.code == kInverseFFT) {
            connect(block, "R", blocks_.back().name + ".R");
            connect(block, "I", blocks_.back().name + ".I");
        } else if (block.code == kDualSpektrum) {
            // From the signal to what the blocks before have made of it, sample by sample.
            for (Block& before : blocks_) {
                if (before.code == kMittelwert) before.overrides = {{"PkMode", "moving average"}};
            }
            needsResponse_ |= blocks_.empty();
            connect(block, "E", "signal");
            connect(block, "A", blocks_.empty() ? "response" : end());
        } else {
            connect(block, "E", end());
        }
    }

    std::vector<Block> blocks_;
    std::string wires_;
    Signal kind_ = Signal::time;
    std::string_view average_;
    bool needsResponse_ = false;
};

}  // namespace

std::string skeletonOf(const std::vector<TypeInfo>& types) {
    Chain chain;
    for (const TypeInfo& type : types)
        chain.add(type);
    return chain.text();
}

}  // namespace vynhost
