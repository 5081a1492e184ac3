#include "cli/terminal_progress.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace osmera::cli {
namespace {

volatile std::sig_atomic_t gCancel = 0;

void OnSignal(int) {
    gCancel = 1;
}

}  // namespace

void InstallCancelHandlers() {
    struct sigaction sa {};
    sa.sa_handler = OnSignal;
    sigemptyset(&sa.sa_mask);
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
    sigaction(SIGHUP, &sa, nullptr);
}

bool CancelRequested() {
    return gCancel != 0;
}

LTerminalProgress::LTerminalProgress() : visible_(::isatty(STDERR_FILENO) == 1) {}

LTerminalProgress::~LTerminalProgress() {
    Done();
}

void LTerminalProgress::SetLine(int line, const std::string& text) {
    if (line == 0 && !text.empty())
        title_ = text;
}

void LTerminalProgress::SetFraction(double fraction) {
    fraction_ = fraction < 0 ? 0 : fraction > 1 ? 1 : fraction;
    const int percent = static_cast<int>(fraction_ * 100);
    if (percent != lastPercent_) {
        lastPercent_ = percent;
        Draw();
    }
}

void LTerminalProgress::Draw() {
    if (!visible_)
        return;
    constexpr int kWidth = 40;
    const int filled = static_cast<int>(fraction_ * kWidth);
    std::fprintf(stderr, "\r%s [%.*s%*s] %3d%%", title_.empty() ? "Working" : title_.c_str(),
                 filled, "########################################", kWidth - filled, "",
                 lastPercent_);
    std::fflush(stderr);
    drawn_ = true;
}

void LTerminalProgress::Done() {
    if (drawn_) {
        std::fprintf(stderr, "\r\033[K");
        std::fflush(stderr);
        drawn_ = false;
    }
}

}  // namespace osmera::cli
