#include "host/show_message.h"

#include <array>
#include <cstdarg>
#include <cstdio>

#include "platform/resources.h"

namespace vynpack {

int ShowMessage(HostWindow owner, unsigned style, unsigned captionId, unsigned textId,
                ...) noexcept {
    const auto format = platform::loadString(textId);
    const auto caption = platform::loadString(captionId);
    std::array<char, 1024> text{};
    std::va_list arguments;
    va_start(arguments, textId);
    std::vsnprintf(text.data(), text.size(), format.data(), arguments);
    va_end(arguments);
    return platform::messageBox(owner, text.data(), caption.data(), style);
}

int DeferredError::show() const noexcept {
    if (pending_) ShowMessage(HostWindow::none, kBoxExclamation, kTextErrorCaption, text_);
    return 1;
}

}  // namespace vynpack
