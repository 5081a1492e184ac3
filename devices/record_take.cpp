#include "devices/record_take.h"

#include <algorithm>
#include <climits>

#include "core/sound_time.h"
#include "devices/sound_recorder.h"

namespace osmera {
namespace {

constexpr const char* kSection = "Recorder";
// The longest maximum time that still fits a take's frame count at 96,000 Hz.
constexpr int32_t kMaxTimeLimitSeconds = INT32_MAX / 96000;

}  // namespace

LRecordOptions LRecordOptions::Load(LSettingsStore& settings) {
    LRecordOptions o;
    o.threshold = static_cast<int8_t>(
        std::clamp(settings.GetInt(kSection, "Threshold", kThresholdOff), -127, 127));
    o.autotrim = settings.GetInt(kSection, "Autotrim", 1) != 0;
    const int32_t seconds =
        std::clamp(settings.GetInt(kSection, "MaxTime", 0), 0, kMaxTimeLimitSeconds);
    o.maxMs = static_cast<uint32_t>(seconds) * 1000u;
    // The low byte is the device; a negative one (no choice stored) is the default input.
    const auto low = static_cast<int8_t>(settings.GetInt(kSection, "Device", 0) & 0xff);
    o.device = low > 0 ? static_cast<uint32_t>(low) : 0u;
    return o;
}

void LRecordOptions::Save(LSettingsStore& settings) const {
    settings.SetInt(kSection, "Threshold", threshold);
    settings.SetInt(kSection, "Autotrim", autotrim ? 1 : 0);
    settings.SetInt(kSection, "MaxTime", static_cast<int32_t>(maxMs / 1000u));
    settings.SetInt(kSection, "Device", static_cast<int32_t>(device & 0x7f));
}

uint32_t LRecordOptions::StartFlags() const {
    return WaitsForSound() ? 0u : uint32_t{LSoundRecorder::kStartRecordNow};
}

uint32_t LRecordOptions::HangMs() const {
    // The recorder compares the hang time as a signed count: INT32_MAX never ends a take.
    return autotrim ? kAutotrimHangMs : static_cast<uint32_t>(INT32_MAX);
}

bool LRecordOptions::Start(LSoundRecorder& recorder, LSinkRef sink) const {
    return recorder.Start(std::move(sink), StartFlags(), threshold, HangMs(), maxMs);
}

void LRecordOptions::FinishTake(LSoundSinkBase& sink) const {
    if (maxMs == 0 || maxMs > static_cast<uint32_t>(INT32_MAX))
        return;
    LSoundTime limit;
    limit.SetMilliseconds(static_cast<int32_t>(maxMs), sink.GetSampleRate());
    if (sink.GetPosition() > limit.GetSamples())
        sink.Seek(limit.GetSamples());
}

LSNKRecordTake::LSNKRecordTake(LSinkRef inner)
    : LSoundSinkBase(inner ? inner->GetSampleRate() : 0, inner ? inner->GetChannels() : 0),
      inner_(std::move(inner)) {
    if (!inner_ || inner_->IsError())
        SetErrorBit();
}

void LSNKRecordTake::Write(const int32_t* buffer, int32_t frames) {
    if (!inner_)
        return;
    inner_->Write(buffer, frames);
    position = inner_->GetPosition();
    if (inner_->IsError())
        SetErrorBit();
}

void LSNKRecordTake::Seek(int32_t p) {
    // A move to the start is a retake; only trims of the tail are held back.
    if (!inner_ || (keepTail_ && p > 0))
        return;
    inner_->Seek(p);
    position = inner_->GetPosition();
}

}  // namespace osmera
