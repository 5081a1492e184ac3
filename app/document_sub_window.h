#pragma once
// LOMDocumentSubWindow: the child window of the frame's client area that holds one open
// document's file window. Closing it asks its owner first (the "Save changes" prompt);
// the owner then takes the document's views down before the window goes.
//
// Ownership: deleted by Qt when closed (WA_DeleteOnClose). Threads: GUI thread only.

#include <QMdiSubWindow>
#include <functional>

namespace osmera {

class LOMDocumentSubWindow : public QMdiSubWindow {
    Q_OBJECT
  public:
    // `queryClose` decides whether the window may close (false: it stays); `closed` runs
    // once when it does close.
    LOMDocumentSubWindow(std::function<bool()> queryClose, std::function<void()> closed,
                         QWidget* parent = nullptr);

  protected:
    void closeEvent(QCloseEvent* event) override;

  private:
    std::function<bool()> queryClose_;
    std::function<void()> closed_;
};

}  // namespace osmera
