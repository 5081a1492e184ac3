#include "devices/portaudio_sound_devices.h"

#include <fcntl.h>
#include <portaudio.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <vector>

#include "core/trace.h"

namespace osmera {
namespace {

// Sends stderr to /dev/null for its lifetime (unless the trace is on), so that the sound
// libraries' chatter about missing cards stays off the user's terminal.
class LQuietStderr {
  public:
    LQuietStderr() {
        const char* trace = std::getenv("OSMERA_TRACE");
        if (trace != nullptr && *trace != '\0' && *trace != '0')
            return;
        std::fflush(stderr);
        saved_ = dup(2);
        const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (saved_ < 0 || null < 0 || dup2(null, 2) < 0) {
            if (null >= 0)
                close(null);
            if (saved_ >= 0)
                close(saved_);
            saved_ = -1;
            return;
        }
        close(null);
    }
    ~LQuietStderr() {
        if (saved_ < 0)
            return;
        std::fflush(stderr);
        dup2(saved_, 2);
        close(saved_);
    }
    LQuietStderr(const LQuietStderr&) = delete;
    LQuietStderr& operator=(const LQuietStderr&) = delete;

  private:
    int saved_ = -1;
};

// PortAudio is started once and kept for the life of the process. Every PortAudio call
// of the program runs under this lock.
std::mutex gPaLock;
bool gPaTried = false;
bool gPaOk = false;

bool EnsurePortAudioLocked() {
    if (!gPaTried) {
        gPaTried = true;
        // Never start a sound server just to look for devices.
        setenv("JACK_NO_START_SERVER", "1", 0);
        LQuietStderr quiet;
        gPaOk = Pa_Initialize() == paNoError;
        if (!gPaOk)
            LTrace("PortAudio Pa_Initialize FAILED");
    }
    return gPaOk;
}

// The PortAudio indexes of the devices with outputs (or inputs), in PortAudio's order.
std::vector<PaDeviceIndex> DevicesLocked(bool output) {
    std::vector<PaDeviceIndex> list;
    if (!EnsurePortAudioLocked())
        return list;
    const PaDeviceIndex count = Pa_GetDeviceCount();
    for (PaDeviceIndex i = 0; i < count; ++i) {
        const PaDeviceInfo* info = Pa_GetDeviceInfo(i);
        if (info && (output ? info->maxOutputChannels : info->maxInputChannels) > 0)
            list.push_back(i);
    }
    return list;
}

bool NameOf(bool output, int index, std::string* name) {
    std::lock_guard<std::mutex> l(gPaLock);
    const auto list = DevicesLocked(output);
    if (index < 0 || index >= static_cast<int>(list.size()))
        return false;
    const PaDeviceInfo* info = Pa_GetDeviceInfo(list[static_cast<size_t>(index)]);
    if (!info || !info->name)
        return false;
    *name = info->name;
    return true;
}

// Opens a 16-bit stream on device value `device`; null when it cannot.
PaStream* OpenStreamLocked(bool output, uint32_t device, bool mapped, const LWaveFormat& format,
                           PaStreamCallback* callback, void* user) {
    const auto list = DevicesLocked(output);
    if (list.empty())
        return nullptr;
    PaDeviceIndex index;
    if (device == 0 || mapped)
        index = output ? Pa_GetDefaultOutputDevice() : Pa_GetDefaultInputDevice();
    else if (device <= list.size())
        index = list[device - 1];
    else
        return nullptr;
    const PaDeviceInfo* info = index == paNoDevice ? nullptr : Pa_GetDeviceInfo(index);
    if (!info)
        return nullptr;
    PaStreamParameters p{};
    p.device = index;
    p.channelCount = format.channels;
    p.sampleFormat = paInt16;
    p.suggestedLatency = output ? info->defaultHighOutputLatency : info->defaultHighInputLatency;
    PaStream* stream = nullptr;
    LQuietStderr quiet;
    PaError e = Pa_OpenStream(&stream, output ? nullptr : &p, output ? &p : nullptr, format.rate,
                              paFramesPerBufferUnspecified, paNoFlag, callback, user);
    if (e == paNoError) {
        e = Pa_StartStream(stream);
        if (e != paNoError) {
            Pa_CloseStream(stream);
            stream = nullptr;
        }
    }
    if (e != paNoError) {
        LTracef("PortAudio Pa_OpenStream FAILED %s", Pa_GetErrorText(e));
        return nullptr;
    }
    return stream;
}

void CloseStream(PaStream* stream) {
    if (!stream)
        return;
    std::lock_guard<std::mutex> l(gPaLock);
    Pa_AbortStream(stream);
    Pa_CloseStream(stream);
}

class LPortAudioOutDevice : public LSoundOutDevice {
  public:
    using LSoundOutDevice::LSoundOutDevice;
    ~LPortAudioOutDevice() override { CloseStream(stream_); }

    bool Open(uint32_t device, bool mapped) {
        std::lock_guard<std::mutex> l(gPaLock);
        stream_ = OpenStreamLocked(true, device, mapped, Format(), &Callback, this);
        return stream_ != nullptr;
    }

  private:
    static int Callback(const void*, void* output, unsigned long frames,
                        const PaStreamCallbackTimeInfo*, PaStreamCallbackFlags, void* user) {
        static_cast<LPortAudioOutDevice*>(user)->Consume(static_cast<int16_t*>(output),
                                                         static_cast<int32_t>(frames));
        return paContinue;
    }

    PaStream* stream_ = nullptr;
};

class LPortAudioInDevice : public LSoundInDevice {
  public:
    using LSoundInDevice::LSoundInDevice;
    ~LPortAudioInDevice() override { CloseStream(stream_); }

    bool Open(uint32_t device, bool mapped) {
        std::lock_guard<std::mutex> l(gPaLock);
        stream_ = OpenStreamLocked(false, device, mapped, Format(), &Callback, this);
        return stream_ != nullptr;
    }

  private:
    static int Callback(const void* input, void*, unsigned long frames,
                        const PaStreamCallbackTimeInfo*, PaStreamCallbackFlags, void* user) {
        if (input)
            static_cast<LPortAudioInDevice*>(user)->Produce(static_cast<const int16_t*>(input),
                                                            static_cast<int32_t>(frames));
        return paContinue;
    }

    PaStream* stream_ = nullptr;
};

}  // namespace

int PortAudioOutputCount() {
    std::lock_guard<std::mutex> l(gPaLock);
    return static_cast<int>(DevicesLocked(true).size());
}

int PortAudioInputCount() {
    std::lock_guard<std::mutex> l(gPaLock);
    return static_cast<int>(DevicesLocked(false).size());
}

bool PortAudioOutputName(int index, std::string* name) {
    return NameOf(true, index, name);
}

bool PortAudioInputName(int index, std::string* name) {
    return NameOf(false, index, name);
}

std::unique_ptr<LSoundOutDevice> OpenPortAudioOut(uint32_t device, bool mapped,
                                                  const LWaveFormat& format,
                                                  std::shared_ptr<LEvent> event) {
    auto d = std::make_unique<LPortAudioOutDevice>(format, std::move(event));
    if (!d->Open(device, mapped))
        return nullptr;
    return d;
}

std::unique_ptr<LSoundInDevice> OpenPortAudioIn(uint32_t device, bool mapped,
                                                const LWaveFormat& format,
                                                std::shared_ptr<LEvent> event) {
    auto d = std::make_unique<LPortAudioInDevice>(format, std::move(event));
    if (!d->Open(device, mapped))
        return nullptr;
    return d;
}

}  // namespace osmera
