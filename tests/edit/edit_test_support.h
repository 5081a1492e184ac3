#pragma once
// Shared pieces of the editing-engine tests: a fixture that points the process-wide cut
// tank at a private temporary folder and checks that every test gives all its cuts back,
// and helpers that write audio into cuts and read lists back.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "edit/audio_cut_tank.h"
#include "edit/cut_list_audio.h"
#include "edit/snk_cut_list_audio.h"
#include "edit/src_cut_list_audio.h"
#include "tests/support/test_support.h"

namespace osmera::testing {

class CutTankTest : public ::testing::Test {
  protected:
    void SetUp() override {
        Tank().Reset();
        Tank().SetFolder(dir_.Path().string());
    }
    void TearDown() override {
        EXPECT_EQ(Tank().GetCutsInUse(), 0u) << "a test kept cut references";
        EXPECT_EQ(CutFilesInFolder(), 0u) << "released cuts left files behind";
        Tank().Reset();
    }

    static LAudioCutTank& Tank() { return LAudioCutTank::Instance(); }

    // "*.aud" and "*.grf" files in the tank's folder.
    size_t CutFilesInFolder() const {
        size_t n = 0;
        for (const auto& e : std::filesystem::directory_iterator(dir_.Path())) {
            const auto ext = e.path().extension();
            n += ext == ".aud" || ext == ".grf";
        }
        return n;
    }

    // A list holding one new cut of `samples` (interleaved), written in one go.
    static LCutListAudio Written(const std::vector<int32_t>& samples, uint8_t channels,
                                 int32_t rate = 44100) {
        LCutListAudio list;
        {
            auto sink = list.MakeSink(rate, channels);
            sink->Write(samples.data(), static_cast<int32_t>(samples.size() / channels));
        }  // released here: `list` now holds the cut
        return list;
    }

    // `frames` frames read from `list` from frame `from` on.
    static std::vector<int32_t> ReadList(const LCutListAudio& list, int32_t from, int32_t frames) {
        auto source = list.MakeSource();
        if (from != 0)
            source->Seek(from);
        std::vector<int32_t> out(static_cast<size_t>(frames) * list.GetChannels());
        source->Read(out.data(), frames);
        return out;
    }
    static std::vector<int32_t> ReadAll(const LCutListAudio& list) {
        return ReadList(list, 0, list.GetLength());
    }

    TempDir dir_;
};

// Frames 0, 1, 2, ... as samples (frame i of channel c holds (i + 1) * 16 + c), so that every
// frame of a test signal is told apart from silence and from every other frame.
inline std::vector<int32_t> Ramp(int32_t frames, uint8_t channels, int32_t base = 0) {
    std::vector<int32_t> s(static_cast<size_t>(frames) * channels);
    for (int32_t i = 0; i < frames; ++i) {
        for (int c = 0; c < channels; ++c)
            s[static_cast<size_t>(i) * channels + c] = (base + i + 1) * 16 + c;
    }
    return s;
}

}  // namespace osmera::testing
