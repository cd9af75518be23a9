#include "vynhost/command/validate_command.h"

#include <nlohmann/json.hpp>

#include <filesystem>

#include "vynhost/base/errors.h"
#include "vynhost/base/text.h"
#include "vynhost/interface/installation.h"
#include "vynhost/validate/validation.h"

namespace vynhost {
namespace {

Installation chosenInstallation(const std::string& module) {
    if (module.empty()) return findInstallation();
    return installationOf(std::filesystem::absolute(pathOf(module)).lexically_normal());
}

// Results as they come, a line per group and a paragraph per finding.
class TextReport {
public:
    TextReport(std::ostream& out, std::string again) : out_(out), again_(std::move(again)) {}

    void add(const CheckResult& result) {
        if (groupOf(result.name) != group_) endGroup();
        group_ = groupOf(result.name);
        ++checks_;
        if (result.passed) return;
        ++findings_;
        out_ << "FAILED  " << result.name << '\n'
             << "        must hold  " << printable(result.sentence) << '\n'
             << "        found      " << printable(result.finding) << '\n';
        tell(result.story);
        out_ << "        again      " << again_ << result.name << '\n' << std::flush;
    }

    void endGroup() {
        if (checks_ != 0) {
            out_ << (findings_ == 0 ? "ok      " : "FAILED  ") << group_
                 << std::string(group_.size() < 14 ? 14 - group_.size() : 1, ' ');
            if (findings_ != 0) out_ << findings_ << " of ";
            out_ << checks_ << " checks\n" << std::flush;
        }
        checks_ = findings_ = 0;
    }

private:
    // The beginning, and the end, where it happens.
    void tell(const std::vector<std::string>& story) {
        constexpr std::size_t kFirst = 8;
        constexpr std::size_t kLast = 24;
        for (std::size_t i = 0; i < story.size(); ++i) {
            out_ << (i == 0 ? "        by         " : "                   ");
            if (i == kFirst && story.size() > kFirst + kLast + 1) {
                out_ << "... " << story.size() - kFirst - kLast << " more calls ...\n";
                i = story.size() - kLast - 1;
                continue;
            }
            out_ << printable(story[i]) << '\n';
        }
    }

    std::ostream& out_;
    std::string again_;
    std::string group_;
    int checks_ = 0;
    int findings_ = 0;
};

}  // namespace

int validateModule(const ValidateArguments& arguments, std::ostream& out) {
    const Installation installation = chosenInstallation(arguments.module);
    const ValidationOptions options{arguments.level, arguments.seed, arguments.check};
    if (!arguments.worker.empty())
        return workAsValidator(installation, options, arguments.worker, out);

    TextReport report(out, "vynhost validate \"" + textOf(installation.module) + "\" --level " +
                               std::to_string(options.level) + " --seed " +
                               std::to_string(options.seed) + " --check ");
    nlohmann::ordered_json checks = nlohmann::ordered_json::array();
    if (!arguments.json) {
        out << "module  " << printable(textOf(installation.module)) << ", level " << options.level
            << ", seed " << options.seed << '\n';
        if (installation.library() == nullptr)
            out << "        without its analysis library, which was looked for and not found\n";
        out << std::flush;
    }
    int count = 0;
    const int findings = validate(installation, options, [&](const CheckResult& result) {
        ++count;
        if (!arguments.json) {
            report.add(result);
            return;
        }
        nlohmann::ordered_json check = {{"name", result.name},
                                        {"sentence", printable(result.sentence)},
                                        {"passed", result.passed}};
        if (!result.passed) {
            check["finding"] = printable(result.finding);
            check["calls"] = nlohmann::ordered_json::array();
            for (const std::string& step : result.story)
                check["calls"].push_back(printable(step));
        }
        checks.push_back(std::move(check));
    });
    if (arguments.json) {
        out << nlohmann::ordered_json{{"module", textOf(installation.module)},
                                      {"level", options.level},
                                      {"seed", options.seed},
                                      {"checks", std::move(checks)},
                                      {"count", count},
                                      {"findings", findings}}
                   .dump(2)
            << '\n';
    } else {
        report.endGroup();
        if (findings == 0) {
            out << "SUCCESS " << count << " checks\n";
        } else {
            out << "FAILURE " << findings << " of " << count << '\n';
        }
    }
    return findings == 0 ? kSuccess : kDifferent;
}

}  // namespace vynhost
