#include "platform/resources.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace vynpack::platform {
namespace {

struct Text {
    unsigned id;
    std::string_view utf8;
};

constexpr Text kTexts[] = {
#define VYN_STRING(id, text) {id, text},
#include "dialogs/strings.def"
#undef VYN_STRING
};

// Windows hands texts out in the western code page, which for our characters is Latin-1.
constexpr bool kLatin1 = sizeof(wchar_t) == 2;

std::string asTheSystemHasIt(std::string_view utf8) {
    if (!kLatin1) return std::string(utf8);
    std::string latin1;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const auto byte = static_cast<unsigned char>(utf8[i]);
        if (byte < 0x80) {
            latin1 += utf8[i];
        } else {
            const auto next = static_cast<unsigned char>(utf8[++i]);
            latin1 += static_cast<char>((byte & 0x03) << 6 | (next & 0x3f));
        }
    }
    return latin1;
}

TEST(StringTable, EveryTextComesOutAsItIsWritten) {
    for (const Text& text : kTexts) {
        EXPECT_EQ(loadString(text.id).data(), asTheSystemHasIt(text.utf8)) << text.id;
    }
}

// The hundred texts were digested once, apart from this file, from the list they were given in:
// "id:text" and a line feed each, ascending, FNV-1a.
TEST(StringTable, NoCharacterOfAnyTextHasChanged) {
    std::uint64_t digest = 0xcbf29ce484222325U;
    const auto digestBytes = [&digest](std::string_view bytes) {
        for (const char byte : bytes)
            digest = (digest ^ static_cast<unsigned char>(byte)) * 0x100000001b3U;
    };
    for (const Text& text : kTexts)
        digestBytes(std::to_string(text.id) + ":" + std::string(text.utf8) + "\n");
    EXPECT_EQ(std::size(kTexts), 100U);
    EXPECT_EQ(digest, 0x31a72c7f3767015fU);
}

TEST(StringTable, UmlautsAreTheSystemsOwn) {
    const std::string text = loadString(142).data();
    EXPECT_NE(text.find(kLatin1 ? "Filter mu\xdf eine" : "Filter muß eine"), std::string::npos);
    EXPECT_EQ(std::string(loadString(77).data()), kLatin1 ? "Gau\xdf" : "Gauß");
}

TEST(StringTable, MisspeltTextsStayMisspelt) {
    EXPECT_STREQ(loadString(74).data(), "Bartlet / Dreieck");
    EXPECT_STREQ(loadString(97).data(), "spitzenwertverfahren2");
    EXPECT_STREQ(loadString(124).data(),
                 "Fehler !\n Die obere Grenzfrenz ist groesser als die halbe Abtastrate.");
    EXPECT_NE(std::string_view(loadString(142).data()).find("Odnung"), std::string_view::npos);
}

TEST(StringTable, AnIdWithoutAnEntryGivesTheEmptyText) {
    for (const unsigned id : {0U, 5U, 13U, 58U, 119U, 120U, 134U, 145U, 1000U, 1001U, 65535U}) {
        EXPECT_STREQ(loadString(id).data(), "") << id;
    }
}

}  // namespace
}  // namespace vynpack::platform
