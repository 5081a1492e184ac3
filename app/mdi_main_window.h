#pragma once
// The frame: LMDIMainWindow, the main window titled "Osmera" holding the menus, the tool
// bar, the status bar and the client area (LMDIClientArea) in which every open document
// has its own child window. The empty client area shows the background picture centred.
//
// The frame knows no commands: the menus and the tool bar are built into it from the
// command table (command_menus.h), and what the user asks of the frame itself (closing,
// dropping files) goes to its owner through the hooks and signals below.
//
// Ownership: Qt parent/child. Threads: GUI thread only.

#include <QMainWindow>
#include <QMdiArea>
#include <functional>

class QLabel;

namespace osmera {

class LMDIClientArea : public QMdiArea {
    Q_OBJECT
  public:
    explicit LMDIClientArea(QWidget* parent = nullptr);

  protected:
    void paintEvent(QPaintEvent* event) override;
};

class LMDIMainWindow : public QMainWindow {
    Q_OBJECT
  public:
    explicit LMDIMainWindow(QWidget* parent = nullptr);

    LMDIClientArea* ClientArea() const { return client_; }

    // Asked when the user closes the frame; false keeps it open. Unset: the frame closes.
    void SetCloseHandler(std::function<bool()> handler) { closeHandler_ = std::move(handler); }
    // Closes without asking (a termination signal, the session's end).
    void CloseWithoutAsking();

  signals:
    void filesDropped(const QStringList& paths);
    // The frame accepted a close: the program ends.
    void frameClosed();

  protected:
    bool event(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    LMDIClientArea* client_;
    std::function<bool()> closeHandler_;
    bool closeWithoutAsking_ = false;
};

}  // namespace osmera
