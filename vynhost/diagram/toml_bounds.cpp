#include "vynhost/diagram/toml_bounds.h"

#include <algorithm>

#include "vynhost/base/errors.h"
#include "vynhost/base/messages.h"

namespace vynhost {
namespace {

// Walks through a text of TOML as far as it is right; behind the first mistake no parser goes.
class Walk {
public:
    Walk(std::string_view text, const std::string& file) : text_(text), file_(file) {
        constexpr std::string_view kMark = "\xEF\xBB\xBF";
        if (text_.starts_with(kMark)) at_ = kMark.size();
    }

    void go() {
        while (at_ < text_.size()) {
            const char c = text_[at_];
            switch (c) {
                case '#': skipComment(); break;
                case '"':
                case '\'': skipQuoted(c); break;
                case '\n':
                    ++line_;
                    parts_ = 1;
                    ++at_;
                    break;
                case '.': countPart(); break;
                case '[':
                case '{': open(); break;
                case ']':
                case '}':
                    if (brackets_ > 0) --brackets_;
                    parts_ = 1;
                    ++at_;
                    break;
                case '=':
                case ',':
                    parts_ = 1;
                    ++at_;
                    break;
                default:
                    if ((c & 0x80) != 0) {
                        fail(
                            tr("a letter like \"ä\" stands outside of quotes; names with such "
                               "letters need them"));
                    }
                    ++at_;
            }
        }
    }

private:
    [[noreturn]] void fail(const std::string& what) const {
        throw InputError({file_, line_, ""}, what);
    }

    void open() {
        if (++brackets_ > kMostBrackets) {
            fail(tr("more than %1 brackets are open", kMostBrackets));
        }
        parts_ = 1;
        ++at_;
    }

    void countPart() {
        if (++parts_ > kMostNameParts) {
            fail(tr("a name has more than %1 parts", kMostNameParts));
        }
        ++at_;
    }

    void skipComment() { at_ = std::min(text_.find('\n', at_), text_.size()); }

    void skipQuoted(char quote) {
        const std::string three(3, quote);
        if (text_.substr(at_).starts_with(three)) {
            at_ += 3;
            skipLines(quote, three);
            return;
        }
        for (++at_; at_ < text_.size() && text_[at_] != '\n'; ++at_) {
            if (text_[at_] == quote) {
                ++at_;
                return;
            }
            if (quote == '"' && text_[at_] == '\\') ++at_;
        }
    }

    // Of a text in three quotes, which may hold one or two of them, also right at its end.
    void skipLines(char quote, const std::string& three) {
        for (; at_ < text_.size(); ++at_) {
            if (text_.substr(at_).starts_with(three)) {
                at_ += 3;
                for (int more = 0; more < 2 && at_ < text_.size() && text_[at_] == quote; ++more)
                    ++at_;
                return;
            }
            if (text_[at_] == '\n') ++line_;
            if (quote == '"' && text_[at_] == '\\' && at_ + 1 < text_.size() &&
                text_[at_ + 1] != '\n') {
                ++at_;
            }
        }
    }

    std::string_view text_;
    const std::string& file_;
    std::size_t at_ = 0;
    int line_ = 1;
    int parts_ = 1;
    int brackets_ = 0;
};

}  // namespace

void checkBounds(std::string_view text, const std::string& file) {
    if (text.size() > kMostDiagramBytes) {
        throw InputError({file, 0, ""},
                         tr("is larger than a diagram may be (%1 bytes)", kMostDiagramBytes));
    }
    Walk(text, file).go();
}

}  // namespace vynhost
