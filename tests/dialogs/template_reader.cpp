#include "dialogs/template_reader.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstddef>
#include <cstring>

#include "dialogs/host_side.h"

namespace dialog_test {
namespace {

// Walks the words of an extended template.
class Reader {
public:
    explicit Reader(const void* data) : data_(static_cast<const unsigned char*>(data)) {}

    template <class Value>
    Value next() {
        Value value{};
        std::memcpy(&value, data_ + place_, sizeof value);
        place_ += sizeof value;
        return value;
    }
    void align() { place_ = (place_ + 3) / 4 * 4; }
    void skip(std::size_t bytes) { place_ += bytes; }

    // A zero-terminated text, or 0xFFFF and a number, which comes back as digits.
    std::string textOrNumber() {
        std::wstring wide;
        auto word = next<std::uint16_t>();
        if (word == 0xFFFF) return std::to_string(next<std::uint16_t>());
        for (; word != 0; word = next<std::uint16_t>()) {
            wide.push_back(static_cast<wchar_t>(word));
        }
        return utf8(wide);
    }

private:
    const unsigned char* data_;
    std::size_t place_ = 0;
};

Kind kindOf(const std::string& windowClass, std::uint32_t style) {
    if (windowClass == "129") return Kind::edit;
    if (windowClass == "130") return Kind::label;
    if (windowClass == "132") return Kind::arrows;
    if (windowClass == "133") return Kind::list;
    if (windowClass != "128") return Kind::other;
    switch (style & BS_TYPEMASK) {
        case BS_PUSHBUTTON: return Kind::pushButton;
        case BS_DEFPUSHBUTTON: return Kind::defaultButton;
        case BS_AUTOCHECKBOX: return Kind::checkBox;
        case BS_AUTORADIOBUTTON: return Kind::radio;
        case BS_GROUPBOX: return Kind::group;
        default: return Kind::other;
    }
}

}  // namespace

Template readTemplate(int id) {
    Template result;
    HRSRC found = ::FindResourceW(moduleInstance(), MAKEINTRESOURCEW(id), MAKEINTRESOURCEW(5));
    EXPECT_NE(found, nullptr) << "no template " << id;
    if (found == nullptr) return result;
    Reader reader(::LockResource(::LoadResource(moduleInstance(), found)));
    EXPECT_EQ(reader.next<std::uint16_t>(), 1);
    EXPECT_EQ(reader.next<std::uint16_t>(), 0xFFFF);
    reader.skip(4 + 4 + 4);  // help, extended style, style
    const auto count = reader.next<std::uint16_t>();
    reader.skip(2 + 2);
    result.width = reader.next<std::int16_t>();
    result.height = reader.next<std::int16_t>();
    reader.textOrNumber();  // menu
    reader.textOrNumber();  // class
    result.caption = reader.textOrNumber();
    result.fontSize = reader.next<std::uint16_t>();
    reader.skip(2 + 1 + 1);  // weight, italic, character set
    result.font = reader.textOrNumber();
    for (int i = 0; i < count; ++i) {
        TemplateControl control;
        reader.align();
        reader.skip(4 + 4);  // help, extended style
        control.style = reader.next<std::uint32_t>();
        control.x = reader.next<std::int16_t>();
        control.y = reader.next<std::int16_t>();
        control.width = reader.next<std::int16_t>();
        control.height = reader.next<std::int16_t>();
        control.id = reader.next<std::int32_t>();
        const std::string windowClass = reader.textOrNumber();
        control.text = reader.textOrNumber();
        control.kind = kindOf(windowClass, control.style);
        reader.skip(reader.next<std::uint16_t>());
        result.controls.push_back(control);
    }
    return result;
}

}  // namespace dialog_test
