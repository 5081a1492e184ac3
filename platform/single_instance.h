#pragma once
// LSingleInstance: one editor per user. A starting program takes the run lock
// ("OsmeraRunMutex"), then looks for a running editor on the user's local socket. When one
// answers, the start hands its request over ("open this file" or "run this batch script")
// and ends; otherwise it becomes the editor and listens on the socket for later starts.
//
// The lock is held from Start until ReleaseRunLock (call it once the frame exists), so two
// programs started together cannot both become the editor.
//
// Requests are lines of UTF-8 text on the socket: "show", "open\t<absolute path>" and
// "batch\t<absolute path>". Relative paths are made absolute by the sending program, whose
// working folder the editor does not know.
//
// Threads: GUI thread only (the signals arrive through its event loop).

#include <QObject>
#include <QStringList>
#include <memory>
#include <string>

class QLocalServer;

namespace osmera {

class LSystemLockMutex;

class LSingleInstance : public QObject {
    Q_OBJECT
  public:
    enum class LRole {
        kEditor,     // no editor was running: this program listens now
        kForwarded,  // a running editor took the request; this program should end (exit 0)
        kFailed,     // neither: the socket could not be opened for listening
    };

    // `name` names the service; the socket is "<name>-<user id>" and the lock `name` +
    // "RunMutex" ("OsmeraRunMutex" for "Osmera"). `lockFolder` overrides where the lock
    // file lives (tests); "" is the user's runtime folder.
    explicit LSingleInstance(const QString& name = QStringLiteral("Osmera"),
                             const std::string& lockFolder = {}, QObject* parent = nullptr);
    ~LSingleInstance() override;

    // Decides the role of this run from its arguments (without the program name).
    LRole Start(const QStringList& arguments);
    // Lets the next starting program look for this editor.
    void ReleaseRunLock();

    QString SocketName() const { return socketName_; }

    // The request lines a start with `arguments` sends: always "show"; then, when the
    // first argument is "-batch", the script that follows, else the first argument that is
    // not "-runedit" as a file to open.
    static QByteArray ForwardRequest(const QStringList& arguments);

  signals:
    void showRequested();
    void openFileRequested(const QString& path);
    void runBatchRequested(const QString& script);

  private:
    bool Forward(const QStringList& arguments);
    void AcceptConnections();
    void HandleLine(const QByteArray& line);

    QString socketName_;
    std::unique_ptr<LSystemLockMutex> runLock_;
    QLocalServer* server_ = nullptr;
};

}  // namespace osmera
