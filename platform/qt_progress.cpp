#include "platform/qt_progress.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

namespace osmera {

namespace {
qint64 showAfterMs = 500;
qint64 pumpEveryMs = 30;
constexpr int kBarSteps = 1000;
}  // namespace

LQtProgress::LQtProgress(QWidget* frame, const QString& windowTitle)
    : frame_(frame),
      window_(std::make_unique<QDialog>()),
      showAfterMs_(showAfterMs),
      pumpEveryMs_(pumpEveryMs) {
    window_->setWindowTitle(windowTitle);
    window_->setWindowModality(Qt::ApplicationModal);
    window_->setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint);
    auto* layout = new QVBoxLayout(window_.get());
    for (QLabel*& label : lines_) {
        label = new QLabel(window_.get());
        label->setMinimumWidth(360);
        layout->addWidget(label);
    }
    bar_ = new QProgressBar(window_.get());
    bar_->setRange(0, kBarSteps);
    bar_->setValue(0);
    layout->addWidget(bar_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, window_.get());
    layout->addWidget(buttons);
    QObject::connect(buttons, &QDialogButtonBox::rejected, window_.get(), [this]() {
        cancelled_ = true;
        lines_[1]->setText(QStringLiteral("Cancelling..."));
    });
    // Esc and the window's close button cancel too, rather than hiding a running job.
    QObject::connect(window_.get(), &QDialog::rejected, window_.get(), [this]() {
        cancelled_ = true;
        window_->show();
    });
    lastPump_.start();
}

void LQtProgress::SetTimingForTests(int showAfter, int pumpEvery) {
    showAfterMs = showAfter;
    pumpEveryMs = pumpEvery;
}

LQtProgress::~LQtProgress() {
    window_->hide();
    if (frameDisabled_ && frame_) {
        frame_->setEnabled(true);
        frame_->window()->activateWindow();
    }
}

void LQtProgress::SetLine(int line, const std::string& text) {
    if (line == 0 || line == 1)
        lines_[line]->setText(QString::fromStdString(text));
    KeepAlive();
}

void LQtProgress::SetFraction(double fraction) {
    bar_->setValue(static_cast<int>(std::clamp(fraction, 0.0, 1.0) * kBarSteps));
    KeepAlive();
}

bool LQtProgress::IsCancelled() {
    KeepAlive();
    return cancelled_;
}

bool LQtProgress::IsShown() const {
    return window_->isVisible();
}

void LQtProgress::ShowNow() {
    if (window_->isVisible())
        return;
    if (frame_ && !frameDisabled_) {
        frame_->setEnabled(false);
        frameDisabled_ = true;
        const QRect area = frame_->window()->geometry();
        window_->adjustSize();
        window_->move(area.center() - window_->rect().center());
    }
    window_->show();
    QApplication::processEvents();
    lastPump_.restart();
}

void LQtProgress::KeepAlive() {
    if (!window_->isVisible()) {
        if (!started_.isValid())
            started_.start();
        if (started_.elapsed() < showAfterMs_)
            return;
        ShowNow();
    }
    if (lastPump_.elapsed() < pumpEveryMs_)
        return;
    QApplication::processEvents();
    lastPump_.restart();
}

}  // namespace osmera
