#pragma once
// LQtProgress: the engine's progress as the editor's progress window. A modal window with
// two text lines (the task's title and its detail), a bar and a Cancel button, shown over
// the frame while a job runs on the GUI thread.
//
// The job calls SetLine / SetFraction / IsCancelled between its units of work; those calls
// also run the event loop (at most every 30 ms) so the frame repaints, Cancel can be
// clicked and queued calls are delivered. The window's title is the command's. Jobs that
// end within half a second of their first call show no window at all (no flicker); the
// clock starts at that first call, so the object may be made before a dialog that asks
// for the job's values. While the window is up the frame is disabled; when the object dies
// the frame is enabled and activated again.
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

    // Shows the window now rather than after the first half second.
    void ShowNow();
    bool IsShown() const;

    // Tests: how long a job runs before the window shows, and how often the poll runs the
    // event loop (defaults 500 and 30 ms). Applies to objects made afterwards.
    static void SetTimingForTests(int showAfterMs, int pumpEveryMs);

  private:
    void KeepAlive();

    QPointer<QWidget> frame_;
    std::unique_ptr<QDialog> window_;
    QLabel* lines_[2] = {nullptr, nullptr};
    QProgressBar* bar_ = nullptr;
    bool cancelled_ = false;
    bool frameDisabled_ = false;
    QElapsedTimer started_;  // from the job's first call
    qint64 showAfterMs_;
    qint64 pumpEveryMs_;
    QElapsedTimer lastPump_;
};

}  // namespace osmera
