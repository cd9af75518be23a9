// The keyword protocol, and what values do to a block.
#include <algorithm>
#include <array>
#include <cctype>
#include <limits>
#include <set>

#include "vynhost/base/text.h"
#include "vynhost/validate/catalogue_of_checks.h"

namespace vynhost {
namespace {

using Type = CheckList::Type;

constexpr char kUntouched = '\x5A';
constexpr std::array<Int, 5> kSubCodes = {kCountKeywords, kClearWord, kListKeywords, kGetValue,
                                          kSetValue};

std::string contents(const SharedRecord& record, std::size_t size) {
    std::string bytes(size, '\0');
    record.read(0, bytes.data(), size);
    return bytes;
}

void fill(SharedRecord& record, std::size_t size) {
    const std::string bytes(size, kUntouched);
    record.write(0, bytes.data(), size);
}

void request(Session& session, Subject& block, Int subCode, Handle info, Handle value) {
    session.equal(session.host().call(session.exports().lRemoteControl, block.block().context(),
                                      block.handle(), static_cast<Int>(value), subCode,
                                      static_cast<Int>(info)),
                  0, "lRemoteControl answers");
}

std::string lowered(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

std::string raised(std::string text) {
    for (char& c : text) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    }
    return text;
}

bool isText(const KeywordRow& row) { return row.type == ValueType::text; }

// The bytes that the keyword reads.
std::string valueBytes(Subject& block, const KeywordRow& row, const std::string& name) {
    std::string bytes(isText(row) ? 256 : 8, kUntouched);
    block.block().remoteControl(kGetValue, name, bytes);
    if (isText(row)) bytes.resize(std::min(bytes.find('\0'), bytes.size()));
    return bytes;
}

void table(Session& session, int type) {
    Subject block(session, type);
    session.tell("lRemoteControl 10 and 30");
    std::set<std::string> names;
    for (const KeywordRow& row : block.block().keywords()) {
        session.expect(!row.name.empty() && row.name.size() < kKeywordNameSize,
                       "a keyword has 1 to 16 letters");
        session.expect(names.insert(lowered(row.name)).second, row.name + " stands twice");
        session.expect(row.type == ValueType::real || row.type == ValueType::integer ||
                           row.type == ValueType::text || row.type == ValueType::flag,
                       row.name + " has an unknown type");
        session.expect(row.reserved1 == 0 && row.reserved2 == 0,
                       row.name + " has something in its reserved words");
    }
}

void countsInTheFirstWord(Session& session, int type) {
    Subject block(session, type);
    SharedRecord info(session.host().memory(), kInfoSize);
    const auto count = block.block().keywords().size();
    for (const Int subCode : {Int{kCountKeywords}, Int{1 << 16} + kCountKeywords}) {
        fill(info, kInfoSize);
        session.tell("lRemoteControl " + std::to_string(subCode));
        request(session, block, subCode, info.handle(), Handle::none);
        if (count != 0) {
            std::int32_t found = 0;
            info.read(kInfoCountOffset, &found, sizeof found);
            session.equal(found, static_cast<Int>(count), "keywords are counted");
        }
        session.expect(
            contents(info, kInfoSize).substr(4) == std::string(kInfoSize - 4, kUntouched),
            "more than the count is written");
    }
}

void listsNoMoreThanItsRows(Session& session, const Type& type) {
    Subject block(session, type.code);
    HostMemory& memory = session.host().memory();
    SharedRecord info(memory, kInfoSize);
    const std::size_t size = type.keywords.size() * kKeywordRow;
    SharedRecord rows(memory, size + kKeywordRow);
    fill(rows, size + kKeywordRow);
    const Handle handle = rows.handle();
    info.write(kInfoTableOffset, &handle, sizeof handle);
    session.tell("lRemoteControl 30 with a table that has room for a row more");
    request(session, block, kListKeywords, info.handle(), Handle::none);
    session.expect(
        contents(rows, size + kKeywordRow).substr(size) == std::string(kKeywordRow, kUntouched),
        "something is written behind the last row");
    session.noOffences();
}

void otherSubCodes(Session& session, int type) {
    Subject block(session, type);
    const std::string before = block.save();
    SharedRecord info(session.host().memory(), kInfoSize);
    SharedRecord value(session.host().memory(), kValueRecordSize);
    fill(info, kInfoSize);
    for (Int subCode = 0; subCode < 65536; ++subCode) {
        if (std::ranges::find(kSubCodes, subCode) != kSubCodes.end()) continue;
        session.begin();
        session.tell("lRemoteControl " + std::to_string(subCode));
        session.equal(
            session.exports().lRemoteControl(1, block.handle(), static_cast<Int>(value.handle()),
                                             subCode, static_cast<Int>(info.handle())),
            0, "it answers");
    }
    session.expect(contents(info, kInfoSize) == std::string(kInfoSize, kUntouched),
                   "the info record is written to");
    session.expect(block.save() == before, "the parameters have changed");
}

void missingRecords(Session& session, int type) {
    Subject block(session, type);
    const std::string before = block.save();
    HostMemory& memory = session.host().memory();
    const Handle unlockable = memory.allocateUnlockable(HostMemory::Kind::record);
    for (const Int subCode : kSubCodes) {
        for (const Handle record : {Handle::none, unlockable}) {
            session.tell("lRemoteControl " + std::to_string(subCode) +
                         (record == Handle::none ? " without records"
                                                 : " with records that cannot be locked"));
            request(session, block, subCode, record, record);
        }
    }
    SharedRecord info(memory, kInfoSize);
    for (const Handle rows : {Handle::none, unlockable}) {
        info.write(kInfoTableOffset, &rows, sizeof rows);
        session.tell("lRemoteControl 30 with a table that is none or cannot be locked");
        request(session, block, kListKeywords, info.handle(), Handle::none);
    }
    memory.free(unlockable);
    session.expect(block.save() == before, "the parameters have changed");
}

// --- One keyword ----------------------------------------------------------------------------

void readingChangesNothing(Session& session, const Type& type, const KeywordRow& row) {
    Subject block(session, type.code);
    const std::string before = block.save();
    session.tell("lRemoteControl 50 " + row.name + ", twice, in any letter case");
    const std::string value = valueBytes(block, row, row.name);
    for (const std::string& name : {row.name, lowered(row.name), raised(row.name)}) {
        session.expect(valueBytes(block, row, name) == value,
                       name + " reads something else than " + row.name);
    }
    session.expect(block.save() == before, "reading has changed the parameters");
}

void needsItsWholeName(Session& session, const Type& type, const KeywordRow& row) {
    Subject block(session, type.code);
    const std::string before = block.save();
    for (const std::string& name :
         {row.name.substr(0, row.name.size() - 1), row.name + "X", row.name + " ", std::string()}) {
        const bool another = std::ranges::any_of(
            type.keywords, [&](const KeywordRow& other) { return other.name == name; });
        if (another) continue;
        session.begin();
        session.tell("lRemoteControl 50 and 60 \"" + name + "\"");
        std::string value(256, kUntouched);
        block.block().remoteControl(kGetValue, name, value);
        session.expect(value == std::string(256, kUntouched),
                       "\"" + name + "\" reads a value, and is no keyword");
        block.block().remoteControl(kSetValue, name, value);
        session.expect(block.save() == before, "\"" + name + "\" sets a value, and is no keyword");
    }
}

void needsAnAddress(Session& session, const Type& type, const KeywordRow& row) {
    Subject block(session, type.code);
    const std::string before = block.save();
    SharedRecord info(session.host().memory(), kInfoSize);
    SharedRecord value(session.host().memory(), kValueRecordSize);
    value.write(0, row.name.c_str(), row.name.size() + 1);
    for (const Int subCode : {Int{kGetValue}, Int{kSetValue}}) {
        session.tell("lRemoteControl " + std::to_string(subCode) + " " + row.name +
                     " with the address 0");
        request(session, block, subCode, info.handle(), value.handle());
    }
    session.expect(block.save() == before, "the parameters have changed");
}

std::vector<KeywordValue> extremeValues(const KeywordRow& row) {
    switch (row.type) {
        case ValueType::real:
            return {std::numeric_limits<double>::quiet_NaN(),
                    std::numeric_limits<double>::infinity(),
                    -std::numeric_limits<double>::infinity(),
                    0.0,
                    -0.0,
                    -1.0,
                    1e-320,
                    1e-300,
                    1e9,
                    1e308,
                    -1e308};
        case ValueType::text:
            return {std::string(),          std::string("no such name"),
                    std::string(4096, 'X'), std::string("\x80\xC4\xFF"),
                    std::string("%s%s%n"),  std::string(4096, '\xE4')};
        default:
            return {std::numeric_limits<std::int32_t>::min(), -1, 0, 1, 2, 3, 4, 200, 65535, 65536,
                    std::numeric_limits<std::int32_t>::max()};
    }
}

void extremeValuesAreSurvived(Session& session, const Type& type, const KeywordRow& row) {
    std::vector<Outputs> expected;
    {
        Subject block(session, type.code);
        expected = block.properRun(1);
    }
    for (const KeywordValue& value : extremeValues(row)) {
        session.begin();
        {
            Subject block(session, type.code);
            block.set(row, value);
            session.tell("lRemoteControl 50 " + row.name);
            valueBytes(block, row, row.name);
            block.run(3);
            block.errorShow();
            session.takeBoxes();
        }
        session.settle();
        Subject other(session, type.code);
        session.same(other.run(1), expected, "the run of another block afterwards");
    }
}

void settingTwiceIsSettingOnce(Session& session, const Type& type, const KeywordRow& row) {
    for (const KeywordValue& value : extremeValues(row)) {
        session.begin();
        Subject block(session, type.code);
        block.set(row, value);
        const std::string once = block.save();
        block.set(row, value);
        session.expect(block.save() == once, "set once more, the value gives another record");
        session.equal(static_cast<Int>(once.size()),
                      static_cast<Int>(Subject(session, type.code).save().size()),
                      "the record's length");
    }
}

// --- In a run -------------------------------------------------------------------------------

// From one change on to many, so that the first story that fails is short.
void valuesChangeInARun(Session& session, const Type& type) {
    constexpr std::array<std::int32_t, 12> kIntegers = {-5, 0, 1, 2, 3, 4, 5, 10, 25, 64, 100, 200};
    constexpr std::array<double, 9> kReals = {-1, 0, 1e-3, 0.1, 1, 2.5, 10, 100, 1000};
    constexpr std::array<const char*, 8> kTexts = {"HANNING",  "KAISER",      "PSD",
                                                   "CEPSTRUM", "EXPONENTIAL", "REALIMAGINAER",
                                                   "NO",       "SPECTRUM H1"};
    const auto pick = [&](const auto& values) {
        return values.at(session.random()() % values.size());
    };
    for (int story = session.rounds(60); story > 0; --story) {
        const int changes = 1 + (session.rounds(60) - story) * 40 / session.rounds(60);
        session.begin();
        {
            Subject block(session, type.code);
            block.wireAll();
            block.initSim();
            for (int i = 0; i < changes; ++i) {
                const KeywordRow& row = pick(type.keywords);
                if (row.type == ValueType::real) {
                    block.set(row, pick(kReals));
                } else if (isText(row)) {
                    block.set(row, std::string(pick(kTexts)));
                } else {
                    block.set(row, pick(kIntegers));
                }
                block.wireAll();  // the connectors may have changed
                block.feed();
                block.simulate();
                for (int j = 0; j < kMaxConnectors; ++j)
                    block.block().take(j);
            }
            block.stop();
            block.clear();
            session.takeBoxes();
        }
        session.settle();
    }
}

}  // namespace

void addKeywordChecks(CheckList& list) {
    list.ofEveryType("keywords.table", 1, "The table of keywords is well-formed.", table);
    list.ofEveryType("keywords.count", 1, "Counting keywords writes one word.",
                     countsInTheFirstWord);
    for (const Type& type : list.types()) {
        if (type.keywords.empty()) continue;
        list.ofEveryType(
            "keywords.rows", 2, "Listing keywords writes no more than their rows.",
            [type](Session& session, int) { listsNoMoreThanItsRows(session, type); },
            [code = type.code](const Type& other) { return other.code == code; });
    }
    list.ofEveryType("keywords.otherSubCodes", 2, "Sub-codes that are none do nothing.",
                     otherSubCodes);
    list.ofEveryType("keywords.missingRecords", 2, "Records that are missing are survived.",
                     missingRecords);
    list.ofEveryKeyword("keyword.reading", 2, "Reading it changes nothing, in any letter case.",
                        readingChangesNothing);
    list.ofEveryKeyword("keyword.wholeName", 2, "Nothing but its whole name means it.",
                        needsItsWholeName);
    list.ofEveryKeyword("keyword.noAddress", 2, "Without an address it is left alone.",
                        needsAnAddress);
    list.ofEveryKeyword("keyword.setTwice", 3, "Set twice it is as set once.",
                        settingTwiceIsSettingOnce);
    list.ofEveryKeyword("keyword.extremes", 3, "Runs survive its extreme values.",
                        extremeValuesAreSurvived);
    for (const Type& type : list.types()) {
        if (type.keywords.empty()) continue;
        list.ofEveryType(
            "keywords.inARun", 4, "Runs survive values that change between data blocks.",
            [type](Session& session, int) { valuesChangeInARun(session, type); },
            [code = type.code](const Type& other) { return other.code == code; });
    }
}

}  // namespace vynhost
