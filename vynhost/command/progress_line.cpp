#include "vynhost/command/progress_line.h"

#include <algorithm>
#include <cmath>

#include "vynhost/base/messages.h"
#include "vynhost/base/text.h"

namespace vynhost {
namespace {

using namespace std::chrono_literals;

constexpr auto kBeforeFirst = 1s;
constexpr auto kBetween = 250ms;

// "0:07", "12:34", "1:02:03"
std::string timeText(double seconds) {
    constexpr std::int64_t kMinute = 60;
    constexpr std::int64_t kHour = 60 * kMinute;
    const std::int64_t all = std::llround(seconds);
    const auto twoDigits = [](std::int64_t number) {
        return (number < 10 ? "0" : "") + std::to_string(number);
    };
    const std::string behind = ":" + twoDigits(all % kMinute);
    const std::int64_t minutes = all % kHour / kMinute;
    if (all < kHour) return std::to_string(minutes) + behind;
    return std::to_string(all / kHour) + ":" + twoDigits(minutes) + behind;
}

std::string speedText(double speed) {
    constexpr double kWhole = 100;
    return speed < kWhole ? toText(speed, 2) : std::to_string(std::llround(speed));
}

}  // namespace

std::string progressText(const Runner::Progress& progress, double elapsedSeconds) {
    const double speed = progress.position / elapsedSeconds;
    std::string text = tr("%1 of %2 (%3 %)", timeText(progress.position), timeText(progress.length),
                          static_cast<int>(100 * progress.position / progress.length));
    if (!(speed > 0)) return text;
    return tr("%1, %2 x real time, %3 left", text, speedText(speed),
              timeText((progress.length - progress.position) / speed));
}

ProgressLine::ProgressLine(std::ostream& terminal, int columns, Clock::time_point now)
    : terminal_(terminal),
      room_(static_cast<std::size_t>(std::max(columns - 1, 0))),
      begin_(now),
      next_(now + kBeforeFirst) {}

void ProgressLine::show(const Runner::Progress& progress, Clock::time_point now) {
    if (now < next_ || !(progress.length > 0)) return;
    next_ = now + kBetween;
    write(progressText(progress, std::chrono::duration<double>(now - begin_).count()));
}

void ProgressLine::say(const std::string& what) {
    if (shown_ > 0) write(what);
}

void ProgressLine::clear() {
    if (shown_ == 0) return;
    write("");
    terminal_ << '\r' << std::flush;
}

// Blanks cover what stood there, since not every console knows a sign that clears.
void ProgressLine::write(std::string text) {
    text.resize(std::min(text.size(), room_));
    const std::size_t shown = text.size();
    text.resize(std::max(shown, shown_), ' ');
    terminal_ << '\r' << text << std::flush;
    shown_ = shown;
}

}  // namespace vynhost
