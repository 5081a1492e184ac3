#include "platform/unix_signal_notifier.h"

#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QSocketNotifier>

#include "core/trace.h"

namespace osmera {

namespace {

int g_pipe[2] = {-1, -1};
constexpr int kSignals[] = {SIGTERM, SIGINT, SIGHUP};

void OnSignal(int number) {
    const char byte = static_cast<char>(number);
    // Async-signal-safe: one write, result deliberately ignored (a full pipe already
    // carries a pending request).
    [[maybe_unused]] ssize_t written = ::write(g_pipe[0], &byte, 1);
}

}  // namespace

LUnixSignalNotifier::LUnixSignalNotifier(QObject* parent) : QObject(parent) {
    if (g_pipe[0] >= 0 || ::socketpair(AF_UNIX, SOCK_STREAM, 0, g_pipe) != 0) {
        LTrace("LUnixSignalNotifier::LUnixSignalNotifier socketpair FAILED");
        return;
    }
    notifier_ = new QSocketNotifier(g_pipe[1], QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, &LUnixSignalNotifier::Read);
    struct sigaction action = {};
    action.sa_handler = OnSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int number : kSignals)
        sigaction(number, &action, nullptr);
}

LUnixSignalNotifier::~LUnixSignalNotifier() {
    if (!notifier_)
        return;
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigemptyset(&action.sa_mask);
    for (int number : kSignals)
        sigaction(number, &action, nullptr);
    ::close(g_pipe[0]);
    ::close(g_pipe[1]);
    g_pipe[0] = g_pipe[1] = -1;
}

void LUnixSignalNotifier::Read() {
    char byte = 0;
    if (::read(g_pipe[1], &byte, 1) == 1)
        emit terminationRequested(static_cast<unsigned char>(byte));
}

}  // namespace osmera
