#include "platform/qt_dispatcher.h"

#include <QMetaObject>

namespace osmera {

LQtDispatcher::LQtDispatcher() : context_(std::make_unique<QObject>()) {}

LQtDispatcher::~LQtDispatcher() = default;

void LQtDispatcher::Post(std::function<void()> call) {
    // A queued invocation on the context object: Qt drops it when the object is gone, so a
    // call posted during shut-down never touches freed state.
    QMetaObject::invokeMethod(
        context_.get(), [call = std::move(call)]() { call(); }, Qt::QueuedConnection);
}

}  // namespace osmera
