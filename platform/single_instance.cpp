#include "platform/single_instance.h"

#include <unistd.h>

#include <QDir>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>

#include "core/trace.h"
#include "devices/system_lock_mutex.h"

namespace osmera {

namespace {

// How long a start waits for another start to finish setting up, and for the running
// editor to take a request.
constexpr uint32_t kRunLockWaitMs = 10000;
constexpr int kSocketWaitMs = 2000;

QString Absolute(const QString& path) {
    return path.isEmpty() ? path : QFileInfo(path).absoluteFilePath();
}

}  // namespace

LSingleInstance::LSingleInstance(const QString& name, const std::string& lockFolder,
                                 QObject* parent)
    : QObject(parent),
      socketName_(QStringLiteral("%1-%2").arg(name).arg(static_cast<qulonglong>(getuid()))),
      runLock_(std::make_unique<LSystemLockMutex>((name + QStringLiteral("RunMutex")).toStdString(),
                                                  lockFolder)) {}

LSingleInstance::~LSingleInstance() {
    if (server_)
        server_->close();
}

QByteArray LSingleInstance::ForwardRequest(const QStringList& arguments) {
    QByteArray request = "show\n";
    if (!arguments.isEmpty() && arguments.first() == QLatin1String("-batch")) {
        if (arguments.size() > 1)
            request += "batch\t" + Absolute(arguments.at(1)).toUtf8() + '\n';
        return request;
    }
    for (const QString& argument : arguments) {
        if (argument == QLatin1String("-runedit"))
            continue;
        if (!argument.isEmpty())
            request += "open\t" + Absolute(argument).toUtf8() + '\n';
        break;
    }
    return request;
}

LSingleInstance::LRole LSingleInstance::Start(const QStringList& arguments) {
    // A start that cannot get the lock in time goes on anyway: the socket still decides.
    if (!runLock_->Lock(kRunLockWaitMs))
        LTrace("LSingleInstance::Start run lock not taken");
    if (Forward(arguments)) {
        runLock_->Unlock();
        return LRole::kForwarded;
    }
    // Nobody answered: a socket file left by an editor that crashed is stale.
    QLocalServer::removeServer(socketName_);
    server_ = new QLocalServer(this);
    server_->setSocketOptions(QLocalServer::UserAccessOption);
    if (!server_->listen(socketName_)) {
        LTracef("LSingleInstance::Start listen FAILED %s",
                server_->errorString().toUtf8().constData());
        return LRole::kFailed;
    }
    connect(server_, &QLocalServer::newConnection, this, &LSingleInstance::AcceptConnections);
    return LRole::kEditor;
}

void LSingleInstance::ReleaseRunLock() {
    if (runLock_->IsLocked())
        runLock_->Unlock();
}

bool LSingleInstance::Forward(const QStringList& arguments) {
    QLocalSocket socket;
    socket.connectToServer(socketName_);
    if (!socket.waitForConnected(kSocketWaitMs))
        return false;
    socket.write(ForwardRequest(arguments));
    const bool written = socket.waitForBytesWritten(kSocketWaitMs);
    socket.disconnectFromServer();
    if (socket.state() != QLocalSocket::UnconnectedState)
        socket.waitForDisconnected(kSocketWaitMs);
    if (!written)
        LTrace("LSingleInstance::Forward request not written");
    return written;
}

void LSingleInstance::AcceptConnections() {
    while (QLocalSocket* socket = server_->nextPendingConnection()) {
        // Complete lines are handled as they arrive; a sender ends every line with '\n'.
        auto drain = [this, socket]() {
            while (socket->canReadLine())
                HandleLine(socket->readLine().chopped(1));
        };
        connect(socket, &QLocalSocket::readyRead, this, drain);
        connect(socket, &QLocalSocket::disconnected, this, [socket, drain]() {
            drain();
            socket->deleteLater();
        });
        drain();
    }
}

void LSingleInstance::HandleLine(const QByteArray& line) {
    const int tab = line.indexOf('\t');
    const QByteArray word = tab < 0 ? line : line.left(tab);
    const QString value = tab < 0 ? QString() : QString::fromUtf8(line.mid(tab + 1));
    if (word == "show") {
        emit showRequested();
    } else if (word == "open" && !value.isEmpty()) {
        emit openFileRequested(value);
    } else if (word == "batch" && !value.isEmpty()) {
        emit runBatchRequested(value);
    } else {
        LTrace("LSingleInstance::HandleLine unknown request");
    }
}

}  // namespace osmera
