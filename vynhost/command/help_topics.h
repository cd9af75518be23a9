// What the help says besides commands and options. The manual pages and `vynhost help TOPIC` are
// made of the same.
#pragma once

#include <span>
#include <string_view>

namespace vynhost {

struct HelpPart {
    enum class Kind {
        paragraph,  // text
        heading,    // term
        item,       // term, and text that says what it is
        example,    // text, as it stands
    };
    Kind kind;
    std::string_view term;  // as it is written, in every language
    std::string_view text;  // in English; see vynhost/base/messages.h
};

struct HelpTopic {
    std::string_view name;   // "exit-codes"
    std::string_view title;  // "EXIT STATUS", in English
    std::string_view says;   // in a line, in English
    std::span<const HelpPart> parts;
};

std::span<const HelpTopic> helpTopics();

// The one that has a manual page of its own: what a diagram may hold.
extern const std::string_view kDiagramTopic;

}  // namespace vynhost
