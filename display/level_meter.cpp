#include "display/level_meter.h"

#include <QPainter>
#include <algorithm>

namespace osmera {
namespace {

constexpr int kHoldMs = 1500;
constexpr double kFallPerSecond = 20.0;
constexpr int kDecayTickMs = 50;

}  // namespace

LLevelMeter::LLevelMeter(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    channels_.resize(2, LChannel{bottom_, static_cast<double>(bottom_), {}});
    decay_.setInterval(kDecayTickMs);
    connect(&decay_, &QTimer::timeout, this, &LLevelMeter::Decay);
}

void LLevelMeter::SetRange(int bottom, int top) {
    bottom_ = bottom;
    top_ = std::max(top, bottom + 1);
    Reset();
}

void LLevelMeter::SetLevels(const std::vector<int>& levels) {
    const size_t count = std::max<size_t>(1, levels.size());
    if (count != channels_.size())
        channels_.assign(count, LChannel{bottom_, static_cast<double>(bottom_), {}});
    for (size_t c = 0; c < levels.size(); ++c) {
        LChannel& channel = channels_[c];
        channel.level = std::clamp(levels[c], bottom_, top_);
        if (channel.level >= channel.held) {
            channel.held = channel.level;
            channel.heldSince.start();
        }
    }
    if (!decay_.isActive())
        decay_.start();
    update();
}

void LLevelMeter::Reset() {
    for (LChannel& channel : channels_) {
        channel.level = bottom_;
        channel.held = bottom_;
        channel.heldSince.invalidate();
    }
    decay_.stop();
    update();
}

int LLevelMeter::Level(int channel) const {
    return channel >= 0 && channel < static_cast<int>(channels_.size()) ? channels_[channel].level
                                                                        : bottom_;
}

int LLevelMeter::Held(int channel) const {
    return channel >= 0 && channel < static_cast<int>(channels_.size())
               ? static_cast<int>(channels_[channel].held)
               : bottom_;
}

void LLevelMeter::Decay() {
    bool moving = false;
    for (LChannel& channel : channels_) {
        if (channel.held <= channel.level)
            continue;
        if (!channel.heldSince.isValid() || channel.heldSince.elapsed() > kHoldMs) {
            channel.held = std::max<double>(channel.level,
                                            channel.held - kFallPerSecond * kDecayTickMs / 1000.0);
        }
        moving = true;
    }
    if (!moving)
        decay_.stop();
    update();
}

int LLevelMeter::XOf(double level, int width) const {
    const double fraction = (level - bottom_) / static_cast<double>(top_ - bottom_);
    return static_cast<int>(std::clamp(fraction, 0.0, 1.0) * width + 0.5);
}

void LLevelMeter::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRect area = rect().adjusted(1, 1, -1, -1);
    painter.fillRect(rect(), palette().color(QPalette::Base));
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
    const int count = static_cast<int>(channels_.size());
    const int gap = 1;
    const int barHeight = std::max(1, (area.height() - gap * (count - 1)) / count);
    const int warnFrom = XOf(top_ - (top_ - bottom_) / 6.0, area.width());
    const QColor normal = palette().color(QPalette::Highlight);
    const QColor warning = QColor(220, 60, 40);
    for (int c = 0; c < count; ++c) {
        const int y = area.top() + c * (barHeight + gap);
        const int x = XOf(channels_[c].level, area.width());
        painter.fillRect(area.left(), y, std::min(x, warnFrom), barHeight, normal);
        if (x > warnFrom)
            painter.fillRect(area.left() + warnFrom, y, x - warnFrom, barHeight, warning);
        const int hold = XOf(channels_[c].held, area.width());
        if (hold > 0) {
            painter.fillRect(area.left() + std::max(0, hold - 2), y, 2, barHeight,
                             hold > warnFrom ? warning : palette().color(QPalette::Text));
        }
    }
}

QSize LLevelMeter::sizeHint() const {
    return {160, 4 + 7 * static_cast<int>(channels_.size())};
}

QSize LLevelMeter::minimumSizeHint() const {
    return {60, 2 + 3 * static_cast<int>(channels_.size())};
}

}  // namespace osmera
