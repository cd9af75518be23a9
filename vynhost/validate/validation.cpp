#include "vynhost/validate/validation.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <deque>
#include <optional>
#include <string_view>

#include "vynhost/base/errors.h"
#include "vynhost/base/text.h"
#include "vynhost/validate/catalogue_of_checks.h"
#include "vynhost/validate/platform/process.h"

namespace vynhost {
namespace {

// --- What the two processes say to each other -----------------------------------------------

constexpr std::string_view kCheck = "@check ";    // of the list: name, tab, sentence
constexpr std::string_view kBegin = "@begin ";    // a check begins
constexpr std::string_view kNew = "@new";         // its story begins anew
constexpr std::string_view kStep = "@step ";      // a step of the story, before it is done
constexpr std::string_view kPassed = "@passed";   // it held
constexpr std::string_view kFinding = "@found ";  // it did not

bool takes(std::string_view line, std::string_view word, std::string& rest) {
    if (!line.starts_with(word)) return false;
    rest = line.substr(word.size());
    return true;
}

double patience(int level) { return level <= kUsualLevel ? 45 : 600; }  // seconds per check

// --- The process that works -----------------------------------------------------------------

class Worker {
public:
    Worker(const Installation& installation, const ValidationOptions& options, std::ostream& out)
        : installation_(installation),
          options_(options),
          out_(out),
          module_(loadModule(installation)) {
        ModuleHost host(module_);
        types_ = typesOf(host);
    }

    void list() {
        for (const Check& check : checks())
            out_ << kCheck << check.name << '\t' << check.sentence << '\n';
    }

    // Ends behind the first check that finds something: what follows gets another process.
    void work(std::size_t first, std::size_t last, bool aloud) {
        const std::vector<Check> all = checks();
        for (std::size_t i = first; i <= last && i < all.size(); ++i) {
            if (!passes(all[i], aloud)) return;
        }
    }

    void digest(int code) {
        Session session(surroundings("digest", false), Session::usualOptions());
        for (const CheckList::Type& type : types_) {
            if (type.code == code) out_ << "@digest " << digestOfType(session, type) << '\n';
        }
    }

private:
    std::vector<Check> checks() const {
        std::vector<Check> all = checksFor(types_, options_.level);
        std::erase_if(all,
                      [&](const Check& check) { return !check.name.starts_with(options_.only); });
        return all;
    }

    // Each check has a seed of its own, whatever runs before it.
    unsigned seedOf(const std::string& name) const {
        std::uint32_t hash = 2166136261U ^ options_.seed;  // FNV-1a
        for (const char letter : name)
            hash = (hash ^ static_cast<unsigned char>(letter)) * 16777619U;
        return hash;
    }

    Session::Surroundings surroundings(const std::string& name, bool aloud) {
        Session::Surroundings result;
        result.installation = &installation_;
        result.module = &module_;
        result.level = options_.level;
        result.seed = seedOf(name);
        if (aloud) {
            result.listener = [this](const std::string& step) {
                out_ << kStep << onOneLine(step) << std::endl;
            };
            result.atBegin = [this] { out_ << kNew << std::endl; };
        }
        return result;
    }

    bool passes(const Check& check, bool aloud) {
        out_ << kBegin << check.name << std::endl;
        std::string finding;
        std::vector<std::string> story;
        {
            Session session(surroundings(check.name, aloud), check.options);
            try {
                check.run(session);
                session.settle();
            } catch (const Finding& found) {
                finding = found.what();
            } catch (const std::exception& error) {
                finding = std::string("the host cannot go on: ") + error.what();
            }
            story = session.story();
        }
        if (finding.empty()) {
            out_ << kPassed << std::endl;
            return true;
        }
        if (!aloud) {
            for (const std::string& step : story)
                out_ << kStep << onOneLine(step) << '\n';
        }
        out_ << kFinding << onOneLine(finding) << std::endl;
        return false;
    }

    const Installation& installation_;
    const ValidationOptions& options_;
    std::ostream& out_;
    ModuleLibrary module_;
    std::vector<CheckList::Type> types_;
};

// --- The process that judges ----------------------------------------------------------------

struct ListedCheck {
    std::string name;
    std::string sentence;
};

class Judge {
public:
    Judge(const Installation& installation, const ValidationOptions& options,
          const std::function<void(const CheckResult&)>& onResult)
        : installation_(installation), options_(options), onResult_(onResult) {}

    int judge() {
        list();
        for (std::size_t first = 0; first < checks_.size();)
            first = workFrom(first);
        return findings_;
    }

private:
    platform::Ending start(const std::string& task,
                           const std::function<void(const std::string&)>& onLine) {
        std::vector<std::string> words = {
            "validate", textOf(installation_.module),  "--level",  std::to_string(options_.level),
            "--seed",   std::to_string(options_.seed), "--worker", task};
        if (!options_.only.empty()) words.insert(words.end(), {"--check", options_.only});
        said_.clear();
        return platform::runSelf(words, {}, patience(options_.level), [&](const std::string& line) {
            onLine(line);
            return patience(options_.level);
        });
    }

    void list() {
        const platform::Ending ending = start("list", [&](const std::string& line) {
            std::string rest;
            if (takes(line, kCheck, rest)) {
                const std::size_t tab = rest.find('\t');
                checks_.push_back({rest.substr(0, tab), rest.substr(tab + 1)});
            } else {
                hear(line);
            }
        });
        if (!ending.well) {
            throw ModuleError("the module " + textOf(installation_.module) +
                              " cannot be asked for its types and keywords: " +
                              (said_.empty() ? ending.text : said_.back()));
        }
        if (checks_.empty()) {
            throw InputError(options_.only.empty()
                                 ? "the module " + textOf(installation_.module) + " offers no type"
                                 : "no check's name begins with \"" + options_.only + "\"");
        }
    }

    // What a worker says beside its results: a sanitizer's report, say.
    void hear(const std::string& line) {
        constexpr std::size_t kMost = 12;
        if (line.empty()) return;
        said_.push_back(line);
        if (said_.size() > kMost) said_.pop_front();
    }

    // Works on a group's checks until one of them finds something; the next check to begin with.
    std::size_t workFrom(std::size_t first) {
        std::size_t last = first;
        while (last + 1 < checks_.size() &&
               groupOf(checks_[last + 1].name) == groupOf(checks_[first].name))
            ++last;
        std::size_t now = first;
        bool lastPassed = false;
        std::optional<std::string> finding;
        std::vector<std::string> story;
        const platform::Ending ending =
            start("work:" + std::to_string(first) + ":" + std::to_string(last),
                  [&](const std::string& line) {
                      std::string rest;
                      if (line == kPassed) {
                          lastPassed = now == last;  // told when the process has ended well
                          if (!lastPassed) pass(now);
                          ++now;
                      } else if (takes(line, kStep, rest)) {
                          story.push_back(rest);
                      } else if (takes(line, kFinding, rest)) {
                          finding = rest;
                      } else if (!line.starts_with(kBegin)) {
                          hear(line);
                      }
                  });
        if (finding && now <= last) {
            find(now++, *finding, story);
        } else if (now <= last) {  // it ended in the middle of a check
            lookAgain(now++, ending);
        } else if (lastPassed && ending.well) {
            pass(last);
        } else {
            find(last, "the process that has done these checks ends by " + ending.text + said(),
                 {});
        }
        return now;
    }

    // Once more, alone and aloud: every step is told before it is done.
    void lookAgain(std::size_t index, const platform::Ending& firstEnding) {
        const std::string firstSaid = said();
        std::optional<std::string> finding;
        std::vector<std::string> story;
        bool passed = false;
        const std::string task = std::to_string(index);
        const platform::Ending ending =
            start("alone:" + task + ":" + task, [&](const std::string& line) {
                std::string rest;
                if (line == kNew) {
                    story.clear();
                } else if (line == kPassed) {
                    passed = true;
                } else if (takes(line, kStep, rest)) {
                    story.push_back(rest);
                } else if (takes(line, kFinding, rest)) {
                    finding = rest;
                } else if (!line.starts_with(kBegin)) {
                    hear(line);
                }
            });
        const std::string first = "the process ends by " + firstEnding.text + firstSaid;
        if (finding) {
            find(index, *finding, story);
        } else if (!passed) {
            find(index, "the process ends by " + ending.text + said(), story);
        } else {
            find(index, first + "; alone, it does not", {});
        }
    }

    std::string said() const {
        for (const std::string& line : said_) {
            if (line.find("ERROR: ") != std::string::npos ||
                line.find("runtime error") != std::string::npos) {
                return ": " + line;
            }
        }
        return said_.empty() ? "" : ": " + said_.back();
    }

    void pass(std::size_t index) {
        onResult_({checks_[index].name, checks_[index].sentence, true, {}, {}});
    }

    void find(std::size_t index, const std::string& finding,
              const std::vector<std::string>& story) {
        ++findings_;
        onResult_({checks_[index].name, checks_[index].sentence, false, finding, story});
    }

    const Installation& installation_;
    const ValidationOptions& options_;
    const std::function<void(const CheckResult&)>& onResult_;
    std::vector<ListedCheck> checks_;
    std::deque<std::string> said_;
    int findings_ = 0;
};

std::size_t numberIn(std::string_view text) {
    std::size_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

}  // namespace

int validate(const Installation& installation, const ValidationOptions& options,
             const std::function<void(const CheckResult&)>& onResult) {
    return Judge(installation, options, onResult).judge();
}

int workAsValidator(const Installation& installation, const ValidationOptions& options,
                    const std::string& task, std::ostream& out) {
    platform::crashQuietly();
    Worker worker(installation, options, out);
    const std::size_t colon = task.find(':');
    const std::string kind = task.substr(0, colon);
    const std::string rest = colon == std::string::npos ? "" : task.substr(colon + 1);
    if (kind == "list") {
        worker.list();
    } else if (kind == "digest") {
        worker.digest(static_cast<int>(numberIn(rest)));
    } else {
        const std::size_t second = rest.find(':');
        worker.work(numberIn(rest),
                    numberIn(second == std::string::npos ? rest : rest.substr(second + 1)),
                    kind == "alone");
    }
    return kSuccess;
}

}  // namespace vynhost
