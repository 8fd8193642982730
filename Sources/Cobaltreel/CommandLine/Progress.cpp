#include "Cobaltreel/CommandLine/Progress.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <utility>

#include <unistd.h>

namespace cobaltreel {

namespace {

constexpr int barWidth = 30;
constexpr auto redrawInterval = std::chrono::milliseconds(100);
constexpr const char* eraseLine = "\r\x1b[K";

}  // namespace

Progress::Progress(std::string label)
    : label_(std::move(label)),
      terminal_(isatty(STDERR_FILENO) != 0),
      begun_(std::chrono::steady_clock::now()) {}

Progress::~Progress() {
    if (drawn_) std::cerr << eraseLine << std::flush;
}

void Progress::show(double share) {
    if (!terminal_) return;
    const auto now = std::chrono::steady_clock::now();
    if (share < 1 && now - lastDrawn_ < redrawInterval) return;
    const int filled = static_cast<int>(std::clamp(share, 0.0, 1.0) * barWidth);
    std::string line = "[" + std::string(static_cast<std::size_t>(filled), '#') +
                       std::string(static_cast<std::size_t>(barWidth - filled), '.') + "] " +
                       std::to_string(static_cast<int>(share * 100)) + " %";
    const double spent = std::chrono::duration<double>(now - begun_).count();
    if (share > 0 && spent > 1) line += "  " + minutesAndSeconds(spent / share - spent) + " left";
    status(line);
}

void Progress::status(const std::string& text) {
    if (!terminal_) return;
    std::cerr << eraseLine << label_ << ' ' << text << std::flush;
    drawn_ = true;
    lastDrawn_ = std::chrono::steady_clock::now();
}

std::string minutesAndSeconds(double seconds) {
    const auto whole = static_cast<long>(std::lround(std::max(seconds, 0.0)));
    char text[32];
    if (whole >= 3600)
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60);
    else
        std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
    return text;
}

}  // namespace cobaltreel
