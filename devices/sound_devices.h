#pragma once
// Choosing and naming sound devices.
//
// The player and the recorder open their device through an opener, so that the program
// can put a virtual device (virtual_sound_devices.h) where the hardware would be: a WAV
// file for output, a file or a signal for input, or the null devices on a machine
// without sound hardware. An opener is called on the thread that opens the device (the
// recorder's own thread, the player's caller) and must be safe to call there.
//
// Device values: 0 is the system's default device, n >= 1 the n-th device of the list.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "core/sound_source_base.h"
#include "devices/sound_device.h"

namespace osmera {

// Opens device value `device` in `format`, whose finished buffers set `event`; with
// `mapped` the system's converting default device may be used instead. Null when the
// device cannot be opened.
using LOutDeviceOpener = std::function<std::unique_ptr<LSoundOutDevice>(
    uint32_t device, bool mapped, const LWaveFormat& format, std::shared_ptr<LEvent> event)>;
using LInDeviceOpener = std::function<std::unique_ptr<LSoundInDevice>(
    uint32_t device, bool mapped, const LWaveFormat& format, std::shared_ptr<LEvent> event)>;

// The system's devices. On a machine with no output (input) device at all, device value
// 0 opens a null device that runs in real time ("OpenSystemOutDevice no sound hardware,
// using the null device"); other values fail there.
std::unique_ptr<LSoundOutDevice> OpenSystemOutDevice(uint32_t device, bool mapped,
                                                     const LWaveFormat& format,
                                                     std::shared_ptr<LEvent> event);
std::unique_ptr<LSoundInDevice> OpenSystemInDevice(uint32_t device, bool mapped,
                                                   const LWaveFormat& format,
                                                   std::shared_ptr<LEvent> event);

// True when the machine has at least one output (input) device.
bool HasSoundOutputHardware();
bool HasSoundInputHardware();

// An output that drops the sound, or writes it to `wavPath` when that is not empty; see
// LVirtualOutDevice for `speed`. Each open creates the file anew.
LOutDeviceOpener VirtualOutOpener(double speed, std::string wavPath = {});
// An input that delivers what `makeSource` returns at each open (silence when it is
// empty or returns nothing); `sourceEnded`, when given, is set once the source's end has
// been delivered.
LInDeviceOpener VirtualInOpener(double speed, std::function<LSourceRef()> makeSource = {},
                                std::shared_ptr<LEvent> sourceEnded = {});

// Names of the output devices for the device choosers.
class LSoundPlayDevice {
  public:
    // The largest device value: the number of output devices.
    static uint32_t GetCount();
    // "[Default Sound Out]" for 0, else the device's product name; empty, with the trace
    // "LSoundPlayDevice::GetText waveOutGetDevCaps FAILED", for a value with no device.
    static std::string GetText(uint32_t device);
};

class LSoundRecordDevice {
  public:
    static uint32_t GetCount();
    // "[Default Sound In]" for 0, else the device's product name ("LSoundRecordDevice::
    // GetText waveInGetDevCaps FAILED" when there is none).
    static std::string GetText(uint32_t device);
};

}  // namespace osmera
