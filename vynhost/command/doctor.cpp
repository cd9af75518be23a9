#include "vynhost/command/doctor.h"

#include <optional>
#include <string>

#include "kernels/level.h"
#include "vynhost/base/errors.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/interface/installation.h"
#include "vynhost/interface/module_host.h"
#include "vynhost/interface/placed_block.h"
#include "vynhost/interface/platform/system.h"

namespace vynhost {
namespace {

class Findings {
public:
    explicit Findings(std::ostream& out) : out_(out) {}

    void line(const std::string& matter, const std::string& finding) {
        out_ << matter << std::string(matter.size() < 12 ? 12 - matter.size() : 1, ' ') << finding
             << '\n';
    }
    void fault(const std::string& matter, const std::string& finding) {
        line(matter, tr("NOT RIGHT: %1", finding));
        sound_ = false;
    }
    bool sound() const noexcept { return sound_; }

private:
    std::ostream& out_;
    bool sound_ = true;
};

std::string nameOf(vyn::KernelLevel level) {
    switch (level) {
        case vyn::KernelLevel::avx512: return "avx512";
        case vyn::KernelLevel::avx2: return "avx2";
        default: return "baseline";
    }
}

void examineLibrary(const Installation& installation, Findings& findings) {
    for (const LibraryPlace& place : installation.places) {
        findings.line(tr("looked at"), textOf(place.file) + " (" + tr(place.reason) + ")" +
                                           (place.exists ? "" : tr(": not there")));
    }
    const LibraryPlace* library = installation.library();
    if (library == nullptr) {
        findings.fault(tr("library"), tr("it is in none of these places"));
        return;
    }
    std::string why;
    const auto version = libraryVersion(library->file, why);
    if (version) {
        findings.line(tr("library"), tr("%1, version %2", textOf(library->file), *version));
    } else {
        findings.fault(tr("library"), textOf(library->file) + " " + why);
    }
}

// What a block does with a library that it cannot use: it fails.
bool transformsWork(ModuleHost& host) {
    PlacedBlock block(host, kSpektrum);
    block.wireAll();
    block.initSim();
    block.put(0, timeSignal({1.0F, 0.0F, 0.0F, 0.0F}));
    block.simulate();
    const bool works = block.take(0).has_value();
    block.stop();
    return works;
}

void examineModule(const Installation& installation, Findings& findings) {
    try {
        const ModuleLibrary module = loadModule(installation);
        ModuleHost host(module);
        const Int interface = host.getInfo(kFirstType, kInterface);
        findings.line(tr("module"), tr("%1, interface %2", textOf(installation.module), interface));
        if (interface != kInterfaceVersion) {
            findings.fault(tr("interface"), tr("this program speaks %1", kInterfaceVersion));
        }
        int created = 0;
        for (int type = kFirstType; type < kFirstType + kTypes; ++type)
            created += host.creates(type) ? 1 : 0;
        if (created == kTypes) {
            findings.line(tr("blocks"), tr("all %1 types can be made", kTypes));
        } else {
            findings.fault(tr("blocks"), tr("%1 of %2 types can be made", created, kTypes));
        }
        if (installation.library() != nullptr && !transformsWork(host)) {
            findings.fault(tr("spectrum"),
                           tr("a block makes no spectrum: the module does not use the library"));
        }
    } catch (const ModuleError& error) {
        findings.fault(tr("module"), error.what());
    }
}

}  // namespace

int examine(std::ostream& out) {
    Findings findings(out);
    const Installation installation = findInstallation();
    examineModule(installation, findings);
    examineLibrary(installation, findings);
    const std::optional<std::string> setting = platform::sharedDirectory();
    findings.line(tr("setting"),
                  tr(platform::kSharedDirectoryName) + ": " +
                      (setting ? *setting : tr("not set; other hosts find no library")));
    findings.line(tr("kernels"), tr("%1 (this machine has %2)", nameOf(vyn::kernelLevel()),
                                    nameOf(vyn::machineLevel())));
    findings.line("", findings.sound() ? tr("all is well") : tr("not all is well"));
    return findings.sound() ? kSuccess : kNoModule;
}

}  // namespace vynhost
