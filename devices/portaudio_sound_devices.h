#pragma once
// Sound devices on the system's sound hardware, through PortAudio.
//
// PortAudio is started on first use (listing or opening a device), once per process; a
// machine without sound hardware simply has no devices. What PortAudio and the sound
// libraries under it print on stderr while starting and opening is discarded.
//
// Devices are numbered by the program's device value: 0 is the system's default device,
// n >= 1 the n-th output (or input) device of the list, counting from 1.

#include <cstdint>
#include <memory>
#include <string>

#include "devices/sound_device.h"

namespace osmera {

// Number of output / input devices; 0 when there is no sound system.
int PortAudioOutputCount();
int PortAudioInputCount();
// The name of the index-th output / input device (from 0); false when there is none.
bool PortAudioOutputName(int index, std::string* name);
bool PortAudioInputName(int index, std::string* name);

// Opens device value `device` (see above); with `mapped` the system's default device is
// used whatever the value, so that its format conversion applies. Null, with a trace,
// when the device cannot be opened in `format`. The stream runs from the start: an
// output plays silence until a buffer is written, an input drops sound until Start.
std::unique_ptr<LSoundOutDevice> OpenPortAudioOut(uint32_t device, bool mapped,
                                                  const LWaveFormat& format,
                                                  std::shared_ptr<LEvent> event);
std::unique_ptr<LSoundInDevice> OpenPortAudioIn(uint32_t device, bool mapped,
                                                const LWaveFormat& format,
                                                std::shared_ptr<LEvent> event);

}  // namespace osmera
