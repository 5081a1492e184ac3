#pragma once
// LQtProgress: the engine's progress as the editor's progress window. A modal window with
// two text lines (the task's title and its detail), a bar and a Cancel button, shown over
// the frame while a job runs on the GUI thread.
//
// The job calls SetLine / SetFraction / IsCancelled between its units of work; those calls
// also run the event loop (at most every 30 ms) so the frame repaints, Cancel can be
// clicked and queued calls are delivered. Jobs shorter than 300 ms show no window at all.
// While the window is up the frame is disabled; it is enabled again when the object dies.
//
// Ownership: a scope object; create it on the stack around one job. The frame is borrowed
// and may disappear meanwhile. Threads: GUI thread only.

#include <QElapsedTimer>
#include <QPointer>
#include <QString>
#include <memory>

#include "core/progress.h"

class QDialog;
class QLabel;
class QProgressBar;
class QWidget;

namespace osmera {

class LQtProgress : public LProgress {
  public:
    explicit LQtProgress(QWidget* frame, const QString& windowTitle = QStringLiteral("Osmera"));
    ~LQtProgress() override;
    LQtProgress(const LQtProgress&) = delete;
    LQtProgress& operator=(const LQtProgress&) = delete;

    void SetLine(int line, const std::string& text) override;
    void SetFraction(double fraction) override;
    bool IsCancelled() override;

    // Shows the window now rather than after the first 300 ms.
    void ShowNow();
    bool IsShown() const;

  private:
    void KeepAlive();

    QPointer<QWidget> frame_;
    std::unique_ptr<QDialog> window_;
    QLabel* lines_[2] = {nullptr, nullptr};
    QProgressBar* bar_ = nullptr;
    bool cancelled_ = false;
    bool frameDisabled_ = false;
    QElapsedTimer started_;
    QElapsedTimer lastPump_;
};

}  // namespace osmera
