#pragma once
// Shared helpers for the test programs: a sink that keeps what it is given, a progress
// that records what it is told and can cancel on cue, and a temporary folder.

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "core/progress.h"
#include "core/sound_sink_base.h"

namespace osmera::testing {

// Keeps every frame written, and the size of each Write call.
class CollectSink : public LSoundSinkBase {
  public:
    CollectSink(int32_t sampleRate, uint8_t channels) : LSoundSinkBase(sampleRate, channels) {}
    void Write(const int32_t* buffer, int32_t frames) override;

    std::vector<int32_t> samples;
    std::vector<int32_t> writes;
};

// Records lines and fractions; IsCancelled() turns true from its `cancelAt`-th call on
// (counting from 1; 0 never cancels).
class RecordingProgress : public LProgress {
  public:
    explicit RecordingProgress(int cancelAt = 0) : cancelAt_(cancelAt) {}
    void SetLine(int line, const std::string& text) override;
    void SetFraction(double fraction) override { fractions.push_back(fraction); }
    bool IsCancelled() override { return cancelAt_ > 0 && ++checks_ >= cancelAt_; }

    std::string lines[2];
    std::vector<double> fractions;

  private:
    int cancelAt_;
    int checks_ = 0;
};

// The whole of a file as bytes in a string ("" when it cannot be read).
std::string ReadText(const std::string& path);

// A fresh folder under the system's temporary folder, removed with its contents.
class TempDir {
  public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& Path() const { return path_; }
    std::string File(const std::string& name) const { return (path_ / name).string(); }

  private:
    std::filesystem::path path_;
};

}  // namespace osmera::testing
