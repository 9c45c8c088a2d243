#include "vxdep/ProgressBar.h"

#include <fmt/format.h>

#include <algorithm>

#include "vxdep/Console.h"
#include "vxdep/Platform.h"

namespace vxdep {

namespace {

constexpr std::chrono::milliseconds kPatience(300);

// "[######--------]  42 %  1200 of 2800 files", never as wide as the terminal.
std::string BarText(int percent, const std::string& detail, int width) {
    const std::string label = fmt::format("{:3} %  {}", percent, detail);
    const int room = width - 1 - static_cast<int>(label.size()) - 4;
    const int bar = std::min(room, 40);
    if (bar < 8) return label.substr(0, static_cast<std::size_t>(std::max(width - 1, 0)));
    const int filled = bar * std::clamp(percent, 0, 100) / 100;
    return fmt::format("[{:#<{}}{:-<{}}] {}", "", filled, "", bar - filled, label);
}

}  // namespace

ProgressBar::ProgressBar()
    : m_wanted(StandardErrorIsTerminal() && !Console::Instance().IsQuiet()) {}

ProgressBar::~ProgressBar() {
    Console::Instance().ClearStatus();
}

void ProgressBar::Show(int percent, const std::string& detail) {
    if (!m_wanted || Clock::now() - m_start < kPatience) return;
    Console::Instance().ShowStatus(BarText(percent, detail, TerminalWidth()));
}

}  // namespace vxdep
