#include "vynhost/command/batch.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <thread>
#include <utility>

#include "vynhost/base/digest.h"
#include "vynhost/base/errors.h"
#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"
#include "vynhost/base/wildcards.h"
#include "vynhost/command/diagram_job.h"
#include "vynhost/command/platform/child_process.h"
#include "vynhost/diagram/diagram.h"
#include "vynhost/interface/installation.h"
#include "vynhost/results/platform/file_system.h"
#include "vynhost/results/result_files.h"
#include "vynhost/results/result_list.h"
#include "vynhost/run/interrupt.h"

namespace vynhost {
namespace {

constexpr const char* kSummary = "summary.csv";
constexpr const char* kState = ".vynhost-batch";
constexpr std::string_view kName = "{name}";
constexpr std::string_view kTotal = "total: ";

using NamedValues = std::vector<std::pair<std::string, double>>;

struct Outcome {
    bool ok = false;
    std::string reason = {};  // of a failure
    bool crashed = false;     // the system has ended it
    NamedValues totals = {};
};

// --- What is to be done ---------------------------------------------------------------------

bool systemIgnoresCase() { return platform::sameFileName("a", "A"); }

std::string replaced(std::string text, const std::string& name) {
    return text.replace(text.find(kName), kName.size(), name);
}

// The part of the folder's path before the one that bears the name.
std::filesystem::path folderBefore(const std::filesystem::path& out) {
    std::filesystem::path folder;
    for (const std::filesystem::path& part : out) {
        if (textOf(part).find(kName) != std::string::npos) break;
        folder /= part;
    }
    return folder.empty() ? "." : folder;
}

// Links may lead elsewhere.
void requireBelow(const std::filesystem::path& folder, const std::filesystem::path& out) {
    const std::filesystem::path root = platform::realPath(folder);
    const std::filesystem::path real = platform::realPath(out);
    const auto rest = std::ranges::mismatch(root, real).in1;
    if (rest == root.end() || rest->empty()) return;
    throw InputError(tr("%1 does not lie in %2, where --out begins", textOf(out), textOf(folder)));
}

void requireOwnNames(const BatchPlan& plan) {
    for (std::size_t i = 0; i < plan.entries.size(); ++i) {
        const BatchEntry& entry = plan.entries[i];
        if (!platform::isFileName(pathOf(entry.name)) || entry.name == "." || entry.name == "..") {
            throw InputError(tr("%1: \"%2\" can't be a folder", textOf(entry.file), entry.name));
        }
        const std::filesystem::path below =
            entry.out.lexically_normal().lexically_relative(plan.folder.lexically_normal());
        for (const char* own : {kSummary, kState}) {
            if (platform::sameFileName(*below.begin(), own)) {
                throw InputError(tr("%1: its folder would be %2", textOf(entry.file), own));
            }
        }
        for (std::size_t j = 0; j < i; ++j) {
            const BatchEntry& other = plan.entries[j];
            if (!platform::sameFileName(pathOf(other.name), pathOf(entry.name))) continue;
            throw InputError(tr("%1 and %2 have one name, and their results one folder",
                                textOf(other.file), textOf(entry.file)));
        }
    }
}

void requireSource(const Diagram& diagram, const std::string& name) {
    std::vector<std::string> names;
    for (const SourceEntry& source : diagram.sources)
        names.push_back(source.name);
    if (std::ranges::find(names, name) != names.end()) return;
    throw InputError(tr("--each %1: no such source%2", name, didYouMean(name, names)));
}

// --- What has been done ---------------------------------------------------------------------

// A line of JSON for each recording that a batch has finished, appended when it has: an
// interrupted batch goes on behind it. Whatever else stands there counts as not done.
class BatchState {
public:
    explicit BatchState(const std::filesystem::path& folder) : file_(folder / kState) {
        const auto status = std::filesystem::symlink_status(file_);
        if (!std::filesystem::exists(status)) return;
        std::ifstream in(file_, std::ios::binary);
        std::string line;
        if (!std::filesystem::is_regular_file(status) || !std::getline(in, line) ||
            line != kTitle) {
            throw InputError(tr("%1: is no list of a batch, and not replaced", textOf(file_)));
        }
        hasTitle_ = true;
        while (std::getline(in, line))
            read(line);
    }

    // Its totals, where it was done with this key.
    const NamedValues* find(const std::string& name, const std::string& key) const {
        const auto found = entries_.find(name);
        return found == entries_.end() || found->second.first != key ? nullptr
                                                                     : &found->second.second;
    }

    void add(const std::string& name, const std::string& key, const NamedValues& totals) {
        nlohmann::json line = {{"name", name}, {"key", key}, {"totals", nlohmann::json::array()}};
        for (const auto& [what, value] : totals)
            line["totals"].push_back({what, toText(value)});
        std::ofstream out(file_, std::ios::binary | std::ios::app);
        if (!std::exchange(hasTitle_, true)) out << kTitle << '\n';
        // A name that is no UTF-8 is not found again, and done again.
        out << line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
        if (!out.flush()) failWriting(file_);
    }

private:
    static constexpr const char* kTitle = "Recordings that a batch of vynhost has finished";

    void read(const std::string& text) {
        const nlohmann::json line = nlohmann::json::parse(text, nullptr, false);
        if (!line.is_object() || !line.contains("name") || !line["name"].is_string() ||
            !line.contains("key") || !line["key"].is_string() || !line.contains("totals") ||
            !line["totals"].is_array()) {
            return;
        }
        NamedValues totals;
        for (const nlohmann::json& total : line["totals"]) {
            if (!total.is_array() || total.size() != 2 || !total[0].is_string() ||
                !total[1].is_string()) {
                return;
            }
            const auto value = toNumber(total[1].get<std::string>());
            if (!value) return;
            totals.emplace_back(total[0].get<std::string>(), *value);
        }
        entries_[line["name"].get<std::string>()] = {line["key"].get<std::string>(), totals};
    }

    std::filesystem::path file_;
    bool hasTitle_ = false;
    std::map<std::string, std::pair<std::string, NamedValues>> entries_;
};

// Everything that its results depend on.
class Keys {
public:
    Keys(const BatchArguments& arguments, const BatchPlan& plan, const Diagram& diagram) {
        const Installation installation = findInstallation();
        std::vector<std::filesystem::path> files = {pathOf(platform::programFile()),
                                                    installation.module, diagram.file};
        if (const LibraryPlace* library = installation.library()) files.push_back(library->file);
        std::set<std::string> given = {plan.source};
        std::string text = arguments.csv + "\n" + plan.source + "\n" + arguments.report + "\n" +
                           arguments.language + "\n";
        for (const std::string& input : arguments.inputs) {
            const std::size_t equals = input.find('=');
            if (equals == std::string::npos) continue;  // every run refuses it
            given.insert(input.substr(0, equals));
            text += input.substr(0, equals) + "\n";
            files.push_back(pathOf(input.substr(equals + 1)));
        }
        for (const SourceEntry& source : diagram.sources) {
            if (!source.calibration.empty()) files.push_back(source.calibration);
            if (!source.file.empty() && !given.contains(source.name)) files.push_back(source.file);
        }
        for (const std::filesystem::path& file : files)
            text += checksumOf(file) + "\n";
        before_ = sha256Of(text);
    }

    std::string of(const BatchEntry& entry) const {
        return sha256Of(before_ + "\n" + entry.name + "\n" + checksumOf(entry.file) + "\n");
    }

private:
    // What can't be read is what every run tells.
    static std::string checksumOf(const std::filesystem::path& file) {
        return sha256OfFile(file).value_or("none");
    }

    std::string before_;
};

// They lie there as the run has written them.
bool resultsLie(const Diagram& diagram, const std::string& report,
                const std::filesystem::path& folder) {
    const auto lies = [&](const std::string& name) {
        if (name.empty()) return true;
        const std::filesystem::path file = folder / pathOf(name);
        try {
            return ResultList(file.parent_path()).holds(file);
        } catch (const InputError&) {
            return false;
        }
    };
    const auto allLie = [&](const SinkEntry& sink) {
        return lies(sink.csv) && lies(sink.svg) &&
               std::ranges::all_of(sink.tables, lies, &TableEntry::file);
    };
    return lies(report) && std::ranges::all_of(diagram.sinks, allLie);
}

// --- Doing it -------------------------------------------------------------------------------

// What a run has said: totals, and the error in its last line.
Outcome outcomeOf(const platform::ChildProcess::End& end) {
    Outcome outcome{.ok = end.code == kSuccess};
    std::istringstream lines(end.output);
    for (std::string line; std::getline(lines, line);) {
        if (line.ends_with('\r')) line.pop_back();
        constexpr std::string_view kError = "vynhost: ";
        if (line.starts_with(kError)) outcome.reason = line.substr(kError.size());
        const std::size_t equals = line.rfind(" = ");
        if (!line.starts_with(kTotal) || equals == std::string::npos) continue;
        constexpr std::size_t kSign = 3;
        const auto value = toNumber(std::string_view(line).substr(equals + kSign));
        if (value) {
            outcome.totals.emplace_back(line.substr(kTotal.size(), equals - kTotal.size()), *value);
        }
    }
    constexpr int kFirstOfSystem = 128;
    outcome.crashed = end.code < 0 || end.code >= kFirstOfSystem;
    if (!outcome.ok && outcome.reason.empty()) {
        outcome.reason =
            outcome.crashed ? tr("crashed, code %1", end.code) : tr("ended with code %1", end.code);
    }
    return outcome;
}

// What a run had begun that the system has ended.
void removeBegun(const std::filesystem::path& folder) {
    std::error_code error;  // what can't be removed stays
    std::vector<std::filesystem::path> begun;
    for (const auto& file : std::filesystem::recursive_directory_iterator(folder, error)) {
        if (isUnguessable(file.path())) begun.push_back(file.path());
    }
    for (const std::filesystem::path& file : begun)
        std::filesystem::remove(file, error);
    if (std::filesystem::is_empty(folder, error) && !error) {
        std::filesystem::remove(folder, error);
    }
}

// Runs as many at a time as it may, each in a process of its own.
class Crew {
public:
    using Words = std::function<std::vector<std::string>(std::size_t)>;
    using Report = std::function<void(std::size_t, const Outcome&)>;

    // `report` is called by one thread at a time.
    Crew(std::vector<std::size_t> work, Words words, Report report)
        : work_(std::move(work)), words_(std::move(words)), report_(std::move(report)) {}

    // Raises RunError when the user has interrupted, and what `report` raises.
    void run(std::size_t jobs) {
        constexpr auto kLook = std::chrono::milliseconds(50);
        std::vector<std::thread> threads;
        working_ = std::min(jobs, work_.size());
        for (std::size_t i = 0; i < working_; ++i)
            threads.emplace_back([this] { follow(); });
        {
            std::unique_lock lock(guard_);
            while (working_ > 0) {
                changed_.wait_for(lock, kLook);
                if (!interrupted()) continue;
                stopped_ = true;
                next_ = work_.size();
                for (platform::ChildProcess* child : children_)
                    child->interrupt();
            }
        }
        for (std::thread& thread : threads)
            thread.join();
        if (error_) std::rethrow_exception(error_);
        if (stopped_) throw RunError(kInterrupted, tr("interrupted; what was finished stays"));
    }

private:
    void follow() {
        for (std::unique_lock lock(guard_); next_ < work_.size();) {
            const std::size_t index = work_[next_++];
            lock.unlock();
            const Outcome outcome = outcomeOf(ending(words_(index)));
            lock.lock();
            if (stopped_ && !outcome.ok) continue;
            try {
                report_(index, outcome);
            } catch (...) {
                error_ = std::current_exception();
                next_ = work_.size();
            }
        }
        const std::lock_guard lock(guard_);
        --working_;
        changed_.notify_all();
    }

    platform::ChildProcess::End ending(const std::vector<std::string>& words) {
        std::unique_ptr<platform::ChildProcess> child;
        try {
            child = std::make_unique<platform::ChildProcess>(words);
        } catch (const std::runtime_error& error) {
            return {kWrongInput, std::string("vynhost: ") + error.what()};
        }
        {
            const std::lock_guard lock(guard_);
            children_.insert(child.get());
            if (stopped_) child->interrupt();
        }
        platform::ChildProcess::End end = child->wait();
        const std::lock_guard lock(guard_);
        children_.erase(child.get());
        return end;
    }

    std::vector<std::size_t> work_;
    Words words_;
    Report report_;
    std::mutex guard_;  // of all below
    std::condition_variable changed_;
    std::size_t next_ = 0;
    std::size_t working_ = 0;
    bool stopped_ = false;
    std::set<platform::ChildProcess*> children_;
    std::exception_ptr error_;
};

std::string summaryOf(const BatchPlan& plan, const std::vector<Outcome>& outcomes,
                      const TableStyle& style) {
    std::vector<std::string> columns;
    for (const Outcome& outcome : outcomes) {
        for (const auto& total : outcome.totals) {
            if (std::ranges::find(columns, total.first) == columns.end()) {
                columns.push_back(total.first);
            }
        }
    }
    TableRow row(style);
    std::string table(style.begin);
    for (const char* head : {"name", "file", "result", "reason"})
        row.addText(head);
    for (const std::string& column : columns)
        row.addText(column);
    table += row.end();
    for (std::size_t i = 0; i < outcomes.size(); ++i) {
        const Outcome& outcome = outcomes[i];
        row.addText(plan.entries[i].name);
        row.addText(textOf(plan.entries[i].file));
        row.addText(outcome.ok ? "ok" : "failed");
        row.addText(outcome.reason);
        for (const std::string& column : columns) {
            const auto total =
                std::ranges::find(outcome.totals, column, &std::pair<std::string, double>::first);
            constexpr int kDigits = 9;
            if (total == outcome.totals.end()) {
                row.addEmpty();
            } else {
                row.addNumber(total->second, kDigits);
            }
        }
        table += row.end();
    }
    return table;
}

std::string contentOf(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace

BatchPlan planOf(const BatchArguments& arguments) {
    const std::string& first = arguments.each.front();
    const std::size_t equals = first.find('=');
    if (equals == std::string::npos || equals == 0) {
        throw InputError(tr("--each %1: must be NAME=FILES", first));
    }
    if (arguments.out.find(kName) == std::string::npos ||
        arguments.out.find(kName) != arguments.out.rfind(kName)) {
        throw InputError(tr("--out must hold {name} once, which stands for a recording's name"));
    }
    BatchPlan plan{.source = first.substr(0, equals),
                   .folder = folderBefore(pathOf(arguments.out)),
                   .entries = {}};
    const std::string prefix = plan.source + "=";
    std::set<std::filesystem::path> seen;
    for (const std::string& word : arguments.each) {
        // Shells that find the files themselves leave the name before the first of them only, or
        // before each.
        const std::string pattern = word.starts_with(prefix) ? word.substr(prefix.size()) : word;
        const auto files = filesMatching(pathOf(pattern), systemIgnoresCase());
        if (files.empty()) throw InputError(tr("--each %1: no such file", word));
        for (const std::filesystem::path& file : files) {
            if (!seen.insert(file).second) continue;
            const std::string name = textOf(file.stem());
            plan.entries.push_back({name, file, pathOf(replaced(arguments.out, name))});
        }
    }
    requireOwnNames(plan);
    for (const BatchEntry& entry : plan.entries)
        requireBelow(plan.folder, entry.out);
    return plan;
}

bool runBatch(const BatchArguments& arguments, std::ostream& out, std::ostream& errors) {
    constexpr int kMostJobs = 256;
    if (arguments.jobs < 0 || arguments.jobs > kMostJobs) {
        throw InputError(tr("--jobs must be from 1 to 256"));
    }
    const BatchPlan plan = planOf(arguments);
    Diagram diagram = readDiagram(pathOf(arguments.diagram));
    if (!arguments.report.empty()) askForReport(diagram, arguments.report, {"", 0, "--report"});
    requireResults(diagram);
    requireSource(diagram, plan.source);
    std::vector<ReadFile> read = readFiles(diagram, {});
    for (const BatchEntry& entry : plan.entries)
        read.push_back({entry.file, tr("the recording of %1", plan.source)});
    ResultFiles files(plan.folder, read, arguments.force);
    files.claim(kSummary);
    std::error_code error;
    std::filesystem::create_directories(plan.folder, error);
    if (error) throw InputError(textOf(plan.folder) + ": " + error.message());
    BatchState state(plan.folder);
    const Keys keys(arguments, plan, diagram);

    const std::string& reportName = arguments.report.empty() ? diagram.report : arguments.report;
    std::vector<Outcome> outcomes(plan.entries.size());
    std::vector<std::string> keyOf(plan.entries.size());
    std::vector<std::size_t> work;
    for (std::size_t i = 0; i < plan.entries.size(); ++i) {
        keyOf[i] = keys.of(plan.entries[i]);
        const NamedValues* totals =
            arguments.resume ? state.find(plan.entries[i].name, keyOf[i]) : nullptr;
        if (totals != nullptr && resultsLie(diagram, reportName, plan.entries[i].out)) {
            outcomes[i] = {.ok = true, .reason = {}, .totals = *totals};
        } else {
            work.push_back(i);
        }
    }
    const std::size_t before = plan.entries.size() - work.size();
    if (before > 0 && !arguments.quiet) {
        out << tr("%1 of %2 are done and as they were", before, plan.entries.size()) << '\n';
    }
    const auto wordsOf = [&](std::size_t i) {
        std::vector<std::string> words = {"run", arguments.diagram, "--quiet", "--totals"};
        words.push_back("--input=" + plan.source + "=" + textOf(plan.entries[i].file));
        for (const std::string& input : arguments.inputs)
            words.push_back("--input=" + input);
        words.push_back("--out=" + textOf(plan.entries[i].out));
        words.push_back("--csv=" + arguments.csv);
        words.push_back("--memory=" + toText(arguments.memory));
        words.push_back("--lang=" + arguments.language);
        if (!arguments.report.empty()) words.push_back("--report=" + arguments.report);
        if (arguments.force) words.emplace_back("--force");
        return words;
    };
    const auto report = [&](std::size_t i, const Outcome& outcome) {
        outcomes[i] = outcome;
        if (outcome.crashed) removeBegun(plan.entries[i].out);
        if (outcome.ok) state.add(plan.entries[i].name, keyOf[i], outcome.totals);
        if (outcome.ok && !arguments.quiet) {
            out << tr("%1: ok", printable(plan.entries[i].name)) << '\n' << std::flush;
        } else if (!outcome.ok) {
            errors << messageLine(tr("%1: failed: %2", plan.entries[i].name, outcome.reason))
                   << '\n'
                   << std::flush;
        }
    };
    const std::size_t jobs = arguments.jobs > 0
                                 ? static_cast<std::size_t>(arguments.jobs)
                                 : std::max<std::size_t>(std::thread::hardware_concurrency(), 1);
    Crew(work, wordsOf, report).run(jobs);

    const std::string summary = summaryOf(plan, outcomes, tableStyleNamed(arguments.csv));
    if (contentOf(plan.folder / kSummary) != summary) {
        files.add(kSummary, summary);
        for (const std::filesystem::path& path : files.commit()) {
            if (!arguments.quiet) out << printable(tr("wrote %1", textOf(path))) << '\n';
        }
    }
    const auto ok = std::ranges::count_if(outcomes, &Outcome::ok);
    const auto failed = std::ssize(outcomes) - ok;
    if (!arguments.quiet || failed > 0) {
        (arguments.quiet ? errors : out) << tr("vynhost: %1 ok, %2 failed", ok, failed) << '\n';
    }
    return failed == 0;
}

}  // namespace vynhost
