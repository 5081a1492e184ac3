#include "devices/sound_devices.h"

#include "core/trace.h"
#include "devices/portaudio_sound_devices.h"
#include "devices/virtual_sound_devices.h"

namespace osmera {

std::unique_ptr<LSoundOutDevice> OpenSystemOutDevice(uint32_t device, bool mapped,
                                                     const LWaveFormat& format,
                                                     std::shared_ptr<LEvent> event) {
    if (PortAudioOutputCount() == 0) {
        if (device != 0)
            return nullptr;
        LTrace("OpenSystemOutDevice no sound hardware, using the null device");
        return std::make_unique<LVirtualOutDevice>(format, std::move(event), 1.0);
    }
    return OpenPortAudioOut(device, mapped, format, std::move(event));
}

std::unique_ptr<LSoundInDevice> OpenSystemInDevice(uint32_t device, bool mapped,
                                                   const LWaveFormat& format,
                                                   std::shared_ptr<LEvent> event) {
    if (PortAudioInputCount() == 0) {
        if (device != 0)
            return nullptr;
        LTrace("OpenSystemInDevice no sound hardware, using the null device");
        return std::make_unique<LVirtualInDevice>(format, std::move(event), 1.0);
    }
    return OpenPortAudioIn(device, mapped, format, std::move(event));
}

bool HasSoundOutputHardware() {
    return PortAudioOutputCount() > 0;
}

bool HasSoundInputHardware() {
    return PortAudioInputCount() > 0;
}

LOutDeviceOpener VirtualOutOpener(double speed, std::string wavPath) {
    return [speed, wavPath](uint32_t, bool, const LWaveFormat& format,
                            std::shared_ptr<LEvent> event) -> std::unique_ptr<LSoundOutDevice> {
        auto d = std::make_unique<LVirtualOutDevice>(format, std::move(event), speed, wavPath);
        if (!d->FileOk())
            return nullptr;
        return d;
    };
}

LInDeviceOpener VirtualInOpener(double speed, std::function<LSourceRef()> makeSource,
                                std::shared_ptr<LEvent> sourceEnded) {
    return [speed, makeSource, sourceEnded](
               uint32_t, bool, const LWaveFormat& format,
               std::shared_ptr<LEvent> event) -> std::unique_ptr<LSoundInDevice> {
        LSourceRef source = makeSource ? makeSource() : LSourceRef();
        return std::make_unique<LVirtualInDevice>(format, std::move(event), speed,
                                                  std::move(source), sourceEnded);
    };
}

uint32_t LSoundPlayDevice::GetCount() {
    return static_cast<uint32_t>(PortAudioOutputCount());
}

std::string LSoundPlayDevice::GetText(uint32_t device) {
    if (device == 0)
        return "[Default Sound Out]";
    std::string name;
    if (!PortAudioOutputName(static_cast<int>(device - 1), &name)) {
        LTrace("LSoundPlayDevice::GetText waveOutGetDevCaps FAILED");
        return {};
    }
    return name;
}

uint32_t LSoundRecordDevice::GetCount() {
    return static_cast<uint32_t>(PortAudioInputCount());
}

std::string LSoundRecordDevice::GetText(uint32_t device) {
    if (device == 0)
        return "[Default Sound In]";
    std::string name;
    if (!PortAudioInputName(static_cast<int>(device - 1), &name)) {
        LTrace("LSoundRecordDevice::GetText waveInGetDevCaps FAILED");
        return {};
    }
    return name;
}

}  // namespace osmera
