#pragma once
// LUnixSignalNotifier: turns SIGTERM, SIGINT and SIGHUP into a Qt signal on the GUI thread,
// so the editor can close its frame (asking nothing, emptying the working folder) rather
// than die with cut files left behind. The signal handler only writes one byte to a
// socket pair; the GUI thread reads it through a QSocketNotifier.
//
// One object per program. Threads: construct and use on the GUI thread.

#include <QObject>

class QSocketNotifier;

namespace osmera {

class LUnixSignalNotifier : public QObject {
    Q_OBJECT
  public:
    explicit LUnixSignalNotifier(QObject* parent = nullptr);
    ~LUnixSignalNotifier() override;

    // False when the socket pair or the handlers could not be set up (then nothing is
    // reported and the signals keep their default action).
    bool IsActive() const { return notifier_ != nullptr; }

  signals:
    void terminationRequested(int signalNumber);

  private:
    void Read();

    QSocketNotifier* notifier_ = nullptr;
};

}  // namespace osmera
