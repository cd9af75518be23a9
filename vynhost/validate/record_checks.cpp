// Parameter records: whole, damaged, of older layouts.
#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "vynhost/validate/catalogue_of_checks.h"

namespace vynhost {
namespace {

template <class Field>
Field at(const std::string& record, std::size_t offset) {
    Field field{};
    if (record.size() >= offset + sizeof field)
        std::memcpy(&field, record.data() + offset, sizeof field);
    return field;
}

template <class Field>
void put(std::string& record, std::size_t offset, Field field) {
    if (record.size() >= offset + sizeof field)
        std::memcpy(record.data() + offset, &field, sizeof field);
}

template <class... Fields>
std::string bytes(const Fields&... fields) {
    std::string record;
    (record.append(reinterpret_cast<const char*>(&fields), sizeof fields), ...);
    return record;
}

std::string newRecord(Session& session, int type) {
    PlacedBlock block(session.host(), type);
    session.expect(block.created(), "no block of this type can be made");
    return block.save();
}

// Restores the record and lets the block run.
void restoreAndUse(Session& session, int type, const std::string& record) {
    session.begin();
    {
        Subject block(session, type, record);
        block.run(3);
        block.errorShow();
        session.takeBoxes();
    }
    session.settle();
}

void frame(Session& session, int type) {
    Subject block(session, type);
    const std::string record = block.save();
    session.expect(record.size() >= kRecordFrame, "a record is shorter than its frame");
    session.equal(at<std::int32_t>(record, kRecordVersionOffset), kRecordVersion,
                  "the version of the record");
    if (!isKnown(type)) return;
    session.equal(at<std::int32_t>(record, kRecordSizeOffset),
                  kRecordSizeWords.at(static_cast<std::size_t>(type - kFirstType)),
                  "the size word of the record");
}

void comesBack(Session& session, int type) {
    const std::string record = newRecord(session, type);
    Subject restored(session, type, record);
    const std::string again = restored.save();
    session.expect(again == record, "saved again it is " + hexOf(again));
}

void positions(Session& session, int type) {
    const std::string record = newRecord(session, type);
    const std::string before = "what the host keeps in front";
    platform::ParameterFile file(before + record + "and behind");
    file.seek(before.size());
    const Exports& exports = session.exports();
    session.tell("RestoreParameters type " + std::to_string(type) + ", file at " +
                 std::to_string(before.size()) + ": " + hexOf(record));
    const Int handle = session.host().call(exports.RestoreParameters, 1, type, 0, file.handle());
    const auto restoredTo = static_cast<Int>(file.position());
    session.tell("SaveParameters from there on");
    const Int saved = session.host().call(exports.SaveParameters, 1, type, handle, file.handle());
    const auto savedTo = static_cast<Int>(file.position());
    const std::string all = file.contents();
    session.host().call(exports.DestroyBlock, 1, type, handle, 0);
    const auto end = static_cast<Int>(before.size() + record.size());
    session.equal(saved, 1, "SaveParameters answers");
    session.equal(restoredTo, end, "the file's position after reading");
    session.equal(savedTo, end + static_cast<Int>(record.size()),
                  "the file's position after writing");
    session.expect(all.substr(0, static_cast<std::size_t>(savedTo)) == before + record + record,
                   "other bytes of the file than the record's have changed");
}

void randomFields(Session& session, int type) {
    const std::string model = newRecord(session, type);
    for (int i = session.rounds(200); i > 0; --i) {
        session.begin();
        std::string record = model;
        for (std::size_t k = kRecordFrame; k < record.size(); ++k)
            record[k] = static_cast<char>(session.random()());
        const std::string once = Subject(session, type, record).save();
        const std::string twice = Subject(session, type, once).save();
        session.equal(static_cast<Int>(once.size()), static_cast<Int>(model.size()),
                      "the record's length");
        session.expect(once == twice, "saved again it is " + hexOf(twice));
    }
}

void cut(Session& session, int type) {
    const std::string model = newRecord(session, type);
    std::string record = model;
    for (std::size_t k = kRecordFrame; k < record.size(); ++k)
        record[k] = static_cast<char>(~record[k]);  // differs from the defaults everywhere
    for (std::size_t length = 0; length <= record.size(); ++length) {
        session.begin();
        {
            Subject block(session, type, record.substr(0, length));
            const std::string saved = block.save();
            session.equal(static_cast<Int>(saved.size()), static_cast<Int>(model.size()),
                          "the length of what is saved afterwards");
            session.expect(length > kRecordFrame || saved == model,
                           "without a field the record gives other values than the defaults");
        }
        restoreAndUse(session, type, model.substr(0, length));
    }
}

void flipped(Session& session, int type) {
    const std::string model = newRecord(session, type);
    for (std::size_t bit = 0; bit < model.size() * 8; ++bit) {
        std::string record = model;
        record[bit / 8] = static_cast<char>(record[bit / 8] ^ (1 << (bit % 8)));
        restoreAndUse(session, type, record);
    }
}

void strangeFrames(Session& session, int type) {
    constexpr std::array<std::int32_t, 13> kWords = {-1,
                                                     0,
                                                     36,
                                                     64,
                                                     76,
                                                     88,
                                                     399,
                                                     400,
                                                     402,
                                                     403,
                                                     405,
                                                     std::numeric_limits<std::int32_t>::max(),
                                                     std::numeric_limits<std::int32_t>::min()};
    const std::string model = newRecord(session, type);
    for (const std::int32_t size : kWords) {
        for (const std::int32_t version : kWords) {
            std::string record = model;
            put(record, kRecordSizeOffset, size);
            put(record, kRecordVersionOffset, version);
            restoreAndUse(session, type, record);
        }
    }
}

void randomBytes(Session& session, int type) {
    for (int i = session.rounds(60); i > 0; --i) {
        std::string record(1 + session.random()() % 400, '\0');
        for (char& byte : record)
            byte = static_cast<char>(session.random()());
        if (i % 2 == 0) put(record, kRecordVersionOffset, kRecordVersion);
        if (i % 4 == 0 && isKnown(type)) {
            put(record, kRecordSizeOffset,
                kRecordSizeWords.at(static_cast<std::size_t>(type - kFirstType)));
        }
        restoreAndUse(session, type, record);
    }
}

void noFile(Session& session, int type) {
    const std::string model = newRecord(session, type);
    const Exports& exports = session.exports();
    session.tell("RestoreParameters type " + std::to_string(type) + ", file -1");
    const Int handle = session.host().call(exports.RestoreParameters, 1, type, 0, -1);
    session.expect(handle != kNoBlock, "a file that cannot be read gives no block");
    session.tell("SaveParameters");
    platform::ParameterFile file;
    session.host().call(exports.SaveParameters, 1, type, handle, file.handle());
    session.tell("SaveParameters into the file -1");
    const Int answer = session.host().call(exports.SaveParameters, 1, type, handle, -1);
    session.host().call(exports.DestroyBlock, 1, type, handle, 0);
    session.expect(file.contents() == model, "the block has other values than the defaults");
    session.equal(answer, 1, "SaveParameters answers");
}

void ignoresTheGivenHandle(Session& session, int type) {
    Subject first(session, type);
    platform::ParameterFile file(first.save());
    session.tell("RestoreParameters with the handle of the block that there is");
    const Int handle = session.host().call(session.exports().RestoreParameters, 1, type,
                                           first.handle(), file.handle());
    session.host().call(session.exports().DestroyBlock, 1, type, handle, 0);
    session.expect(handle != first.handle() && handle != kNoBlock,
                   "the restored block has the handle " + std::to_string(handle));
}

// --- Older layouts --------------------------------------------------------------------------

void readsInteger(Session& session, Subject& block, const char* keyword, std::int32_t expected) {
    session.equal(block.block().getInteger(keyword), expected, std::string(keyword) + " reads");
}

// Before version 400, and up to 402 with the size word 78: fields without gaps, without a method.
void packedClassification(Session& session) {
    const auto record = [](std::int32_t size, std::int32_t version) {
        return bytes(size, version, std::int16_t{11}, std::int32_t{4}, 0.0, 8.0, 2.0, 8.0,
                     std::int16_t{1015}, std::int32_t{3}, std::int16_t{1017});
    };
    for (const auto& [size, version] :
         {std::pair{46, 399}, {78, 0}, {88, 399}, {78, 400}, {78, 402}}) {
        session.begin();
        // What follows is the next block's.
        Subject block(session, kKlassierung, record(size, version) + std::string(64, '\x7f'));
        readsInteger(session, block, "PkMode", 2);
        readsInteger(session, block, "PkNumber", 4);
        session.expect(block.block().getReal("PkEnd") == 8.0, "PkEnd is not 8");
        session.expect(block.block().getReal("PkHyst") == 0.0, "PkHyst is not 0");
        readsInteger(session, block, "PkReset", 3);
        readsInteger(session, block, "PkNBlocks", 3);
        readsInteger(session, block, "PkCalcMode", 2);
        readsInteger(session, block, "PkMethod", 1);
    }
}

// Versions 400 to 402: today's fields, but samples are counted whatever the method says.
void classificationWithoutMethod(Session& session) {
    constexpr std::size_t kMethodOffset = 58;
    constexpr std::int16_t kPassages = 97;  // reads as 5
    constexpr std::array<std::pair<std::int32_t, std::int32_t>, 4> kMethods = {
        {{400, 1}, {402, 1}, {403, 5}, {404, 5}}};
    for (const auto& [version, method] : kMethods) {
        session.begin();
        std::string record = newRecord(session, kKlassierung);
        put(record, kMethodOffset, kPassages);
        put(record, kRecordVersionOffset, version);
        Subject restored(session, kKlassierung, record);
        readsInteger(session, restored, "PkMethod", method);
    }
}

// Before version 400: a bit per measure in two halves, the output mode, a byte.
void statisticsInBits(Session& session) {
    const std::uint32_t mask = (1U | 1U << 10U) | (3U << 16U);
    for (const std::int32_t version : {300, 399, 0, -1}) {
        session.begin();
        Subject block(
            session, kStatistik,
            bytes(std::int32_t{76}, version, mask, std::int16_t{1053}, char{0x5A}) + "behind");
        session.expect(
            block.block().connectors() == "E,;1,2,3,4,",
            "four measures are selected, and the connectors are " + block.block().connectors());
    }
}

}  // namespace

void addRecordChecks(CheckList& list) {
    const auto offers = [&](int code) {
        return std::ranges::any_of(list.types(),
                                   [&](const auto& type) { return type.code == code; });
    };
    list.ofEveryType("records.frame", 1, "A record begins with its size word and version 404.",
                     frame);
    list.ofEveryType("records.comesBack", 1, "Restored and saved again a record is the same.",
                     comesBack);
    list.ofEveryType("records.positions", 1,
                     "A record is read and written from where the file stands, and no further.",
                     positions);
    list.ofEveryType("records.noFile", 2, "A file that cannot be read gives the defaults.", noFile);
    list.ofEveryType("records.givenHandle", 2, "Restoring ignores the handle given.",
                     ignoresTheGivenHandle);
    list.ofEveryType("records.cut", 3, "A record may be cut at any byte.", cut);
    list.ofEveryType("records.randomFields", 3,
                     "Whatever the fields hold, what is saved once stays as it is.", randomFields);
    list.ofEveryType("records.strangeFrames", 4, "Size and version may be any numbers.",
                     strangeFrames);
    list.ofEveryType("records.randomBytes", 4, "A record may be of any bytes.", randomBytes);
    list.ofEveryType("records.flipped", 5, "Any bit of a record may be flipped.", flipped);
    if (offers(kKlassierung)) {
        list.ofModule("records.packedClassification", 2,
                      "Klassierung: the packed layout of old versions is read.",
                      packedClassification);
        list.ofModule("records.classificationWithoutMethod", 2,
                      "Klassierung: versions 400 to 402 count samples.",
                      classificationWithoutMethod);
    }
    if (offers(kStatistik)) {
        list.ofModule("records.statisticsInBits", 2,
                      "Statistik: before version 400 a bit selects a measure.", statisticsInBits);
    }
}

}  // namespace vynhost
