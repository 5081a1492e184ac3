#include "display/gui_thread_dispatcher.h"

#include <QCoreApplication>
#include <QMetaObject>

namespace osmera {

void LGuiThreadDispatcher::Post(std::function<void()> call) {
    QCoreApplication* app = QCoreApplication::instance();
    if (app == nullptr || !call)
        return;
    QMetaObject::invokeMethod(app, std::move(call), Qt::QueuedConnection);
}

LGuiThreadDispatcher& LGuiThreadDispatcher::Instance() {
    static LGuiThreadDispatcher dispatcher;
    return dispatcher;
}

}  // namespace osmera
