// There are no dialogs here: each behaves as if it had been cancelled at once.
#include "platform/dialog.h"

namespace vynpack::platform {

int DialogWindow::run(int, HostWindow) noexcept { return kDialogCancel; }

void DialogWindow::end(int) noexcept {}

std::string DialogWindow::text(int, std::size_t) const { return {}; }

void DialogWindow::setText(int, std::string_view) {}

bool DialogWindow::modified(int) const noexcept { return false; }

void DialogWindow::clearModified(int) noexcept {}

bool DialogWindow::checked(int) const noexcept { return false; }

void DialogWindow::setChecked(int, bool) noexcept {}

void DialogWindow::addEntry(int, unsigned) noexcept {}

int DialogWindow::selection(int) const noexcept { return -1; }

void DialogWindow::select(int, int) noexcept {}

void DialogWindow::setEnabled(int, bool) noexcept {}

void DialogWindow::setVisible(int, bool) noexcept {}

}  // namespace vynpack::platform
