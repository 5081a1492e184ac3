#include "devices/signal_object.h"

#include <utility>

#include "core/trace.h"

namespace osmera {

LSignalObject::LSignalObject() : hSignalObject(std::make_shared<LEvent>()) {}

LSignalObject::LSignalObject(std::shared_ptr<LEvent> event) : hSignalObject(std::move(event)) {}

void LSignalObject::Set() {
    if (hSignalObject)
        hSignalObject->Set();
}

void LSignalObject::Reset() {
    if (hSignalObject)
        hSignalObject->Reset();
}

bool LSignalObject::IsSet() const {
    return hSignalObject && hSignalObject->IsSet();
}

LWaitResult LSignalObject::WaitSignalDual(const LEvent& stopEvent, uint32_t timeoutMs) const {
    if (!hSignalObject) {
        LTrace("LSignalObject::WaitSignalDual hSignalObject is NULL");
        return kWaitFailed;
    }
    return WaitEitherEvent(stopEvent, *hSignalObject, timeoutMs);
}

}  // namespace osmera
