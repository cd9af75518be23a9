// Keyword accesses straight to the members of a parameter structure: what most rows are made of.
#pragma once

#include <cstdint>
#include <type_traits>
#include <utility>

#include "host/remote_control.h"

namespace vynpack {

namespace keyword_members {

template <class Class, class Field>
Class classOf(Field Class::*);

template <auto member>
using Subject = decltype(classOf(member));

template <auto member>
using Field = std::remove_reference_t<decltype(std::declval<Subject<member>&>().*member)>;

// Adds around the corner and keeps the low bits that the member has room for.
template <auto member, int base>
constexpr void store(Subject<member>& subject, std::int32_t value) {
    subject.*member = static_cast<Field<member>>(static_cast<std::uint32_t>(value) +
                                                 static_cast<std::uint32_t>(base));
}

}  // namespace keyword_members

// An integer that is stored with an offset: value + base. It reads back as stored - readBase.
template <auto member, int base = 0, int readBase = base>
constexpr auto integer() {
    using namespace keyword_members;
    return IntegerAccess<Subject<member>>{[](const Subject<member>& subject) {
                                              return static_cast<std::int32_t>(subject.*member) -
                                                     readBase;
                                          },
                                          store<member, base>};
}

// A choice of 1..last, stored as value + base; other values change nothing.
template <auto member, int base, int last>
constexpr auto choice() {
    using namespace keyword_members;
    return IntegerAccess<Subject<member>>{integer<member, base>().get,
                                          [](Subject<member>& subject, std::int32_t value) {
                                              if (value < 1 || value > last) return;
                                              store<member, base>(subject, value);
                                          }};
}

template <auto member>
constexpr auto real() {
    using namespace keyword_members;
    return RealAccess<Subject<member>>{
        [](const Subject<member>& subject) -> double { return subject.*member; },
        [](Subject<member>& subject, double value) { subject.*member = value; }};
}

// A named number.
template <auto member, const NamedTexts& texts>
constexpr auto named() {
    using namespace keyword_members;
    return TextAccess<Subject<member>>{
        [](const Subject<member>& subject) {
            return nameOf(texts.names, subject.*member, texts.otherName);
        },
        [](Subject<member>& subject, HostText text) {
            subject.*member = static_cast<Field<member>>(idOf(texts.keys, text, texts.other));
        }};
}

}  // namespace vynpack
