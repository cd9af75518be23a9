#include "vynhost/validate/catalogue_of_checks.h"

#include <algorithm>

namespace vynhost {

void CheckList::ofModule(const std::string& name, int level, const std::string& sentence,
                         std::function<void(Session&)> run) {
    lastBegin_ = checks_.size();
    checks_.push_back({name, sentence, level, std::move(run)});
}

void CheckList::ofEveryType(const std::string& name, int level, const std::string& sentence,
                            const std::function<void(Session&, int type)>& run,
                            const std::function<bool(const Type&)>& wanted) {
    lastBegin_ = checks_.size();
    for (const Type& type : types_) {
        if (wanted && !wanted(type)) continue;
        checks_.push_back({name + ":" + std::to_string(type.code), type.name + ": " + sentence,
                           level,
                           [run, code = type.code](Session& session) { run(session, code); }});
    }
}

void CheckList::ofEveryKeyword(
    const std::string& name, int level, const std::string& sentence,
    const std::function<void(Session&, const Type&, const KeywordRow&)>& run) {
    lastBegin_ = checks_.size();
    for (const Type& type : types_) {
        for (const KeywordRow& row : type.keywords) {
            checks_.push_back({name + ":" + std::to_string(type.code) + ":" + row.name,
                               type.name + ", " + row.name + ": " + sentence, level,
                               [run, type, row](Session& session) { run(session, type, row); }});
        }
    }
}

void CheckList::withOptions(const ModuleHost::Options& options) {
    for (std::size_t i = lastBegin_; i < checks_.size(); ++i)
        checks_[i].options = options;
}

std::vector<CheckList::Type> typesOf(ModuleHost& host) {
    constexpr int kMostCodes = 10000;
    std::vector<CheckList::Type> types;
    for (int code = 1; code < kMostCodes; ++code) {
        if (host.getInfo(code, kIsType) != 1) continue;
        CheckList::Type type{code, host.infoText(code, kLongName), {}};
        if (PlacedBlock block(host, code); block.created()) type.keywords = block.keywords();
        types.push_back(std::move(type));
    }
    return types;
}

std::vector<Check> checksFor(std::vector<CheckList::Type> types, int level) {
    CheckList list(std::move(types));
    addExportChecks(list);
    addLifeChecks(list);
    addKeywordChecks(list);
    addRecordChecks(list);
    addHeaderChecks(list);
    addHostChecks(list);
    addOrderChecks(list);
    addBitChecks(list);
    addSurroundingChecks(list);
    addLongRunChecks(list);
    std::vector<Check> checks = list.take();
    std::erase_if(checks, [&](const Check& check) { return check.level > level; });
    return checks;
}

}  // namespace vynhost
