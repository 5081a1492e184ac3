// osmera-cli devices
//
// Lists the sound output and input devices with the numbers that play --device and
// record --device take. 0 is always the system's default device.

#include <cstdio>

#include "cli/args.h"
#include "cli/commands.h"
#include "devices/sound_devices.h"

namespace osmera::cli {

int RunDevices(int argc, char** argv) {
    LArgs args(argc, argv, {});
    if (args.Error().empty() && !args.Positional().empty()) {
        PrintError("devices takes no arguments");
        return kExitUsage;
    }
    if (!args.Error().empty()) {
        PrintError(args.Error());
        return kExitUsage;
    }
    std::printf("Output devices:\n");
    const uint32_t outs = LSoundPlayDevice::GetCount();
    for (uint32_t v = 0; v <= outs; ++v)
        std::printf("  %u  %s\n", v, LSoundPlayDevice::GetText(v).c_str());
    if (outs == 0)
        std::printf("     (no sound hardware: playing goes to the null device)\n");
    std::printf("Input devices:\n");
    const uint32_t ins = LSoundRecordDevice::GetCount();
    for (uint32_t v = 0; v <= ins; ++v)
        std::printf("  %u  %s\n", v, LSoundRecordDevice::GetText(v).c_str());
    if (ins == 0)
        std::printf("     (no sound hardware: recording takes silence from the null device)\n");
    std::printf("Virtual: play --device file:OUT.wav, record --input-file IN.wav\n");
    return kExitOk;
}

}  // namespace osmera::cli
