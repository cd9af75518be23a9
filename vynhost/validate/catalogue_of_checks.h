// The checks: what is done to a module, and what must hold.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "vynhost/validate/session.h"

namespace vynhost {

struct Check {
    std::string name;      // "records.cut:5004": group, matter, type
    std::string sentence;  // what must hold
    int level = kLowestLevel;
    std::function<void(Session&)> run;
    ModuleHost::Options options = Session::usualOptions();
};

// Collects the checks.
class CheckList {
public:
    struct Type {
        int code = 0;
        std::string name;
        std::vector<KeywordRow> keywords;
    };

    explicit CheckList(std::vector<Type> types) : types_(std::move(types)) {}

    const std::vector<Type>& types() const noexcept { return types_; }

    void ofModule(const std::string& name, int level, const std::string& sentence,
                  std::function<void(Session&)> run);
    // Once per type; `wanted` leaves types out.
    void ofEveryType(const std::string& name, int level, const std::string& sentence,
                     const std::function<void(Session&, int type)>& run,
                     const std::function<bool(const Type&)>& wanted = {});
    // Once per keyword of every type.
    void ofEveryKeyword(const std::string& name, int level, const std::string& sentence,
                        const std::function<void(Session&, const Type&, const KeywordRow&)>& run);
    // The options of the checks that the last call has added.
    void withOptions(const ModuleHost::Options& options);

    std::vector<Check> take() { return std::move(checks_); }

private:
    std::vector<Type> types_;
    std::vector<Check> checks_;
    std::size_t lastBegin_ = 0;
};

// One function per group.
void addExportChecks(CheckList& list);
void addLifeChecks(CheckList& list);
void addKeywordChecks(CheckList& list);
void addRecordChecks(CheckList& list);
void addHeaderChecks(CheckList& list);
void addHostChecks(CheckList& list);
void addOrderChecks(CheckList& list);
void addBitChecks(CheckList& list);
void addSurroundingChecks(CheckList& list);
void addLongRunChecks(CheckList& list);

// The types that the module offers, with their keywords as their blocks list them.
std::vector<CheckList::Type> typesOf(ModuleHost& host);

// All checks up to the level, in an order that never changes.
std::vector<Check> checksFor(std::vector<CheckList::Type> types, int level);

// The bits that a block of the type puts out by default and with every choice of its keywords.
std::string digestOfType(Session& session, const CheckList::Type& type);

}  // namespace vynhost
