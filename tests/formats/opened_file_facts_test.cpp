#include "formats/opened_file_facts.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "formats/snk_pcm_file_base.h"
#include "formats/wave_file.h"
#include "tests/formats/wave_bytes.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

using testing::Bytes;
using testing::Chunk;
using testing::operator+;
using testing::FormatBody;
using testing::Riff;
using testing::TempDir;
using testing::WriteBytes;

struct Case {
    const char* name;
    uint16_t channels;
    uint32_t rate;
    uint16_t bits;
    uint32_t dataSize;  // as the header states it
    int64_t fileData;   // data bytes the file holds (the file is sparse beyond its header)
    int32_t opened;
    int64_t claimed;
    int64_t present;
    int32_t keptBytes;
    std::vector<const char*> warnings;  // a piece of each expected sentence, in order
};

// The length a source delivers, the lengths the file states and holds, and what the user
// is told, for files too long for 32-bit frame counts and files that end before their
// header says. The long files are sparse, so nothing large is written.
TEST(OpenedFileFacts, LongAndShortFilesAreToldWithBothLengths) {
    const Case cases[] = {
        {"whole 24-bit", 2, 44100, 24, 600, 600, 100, 100, 100, 3, {}},
        {"3e9 frames, 8 kHz 8-bit",
         1,
         8000,
         8,
         3000000000u,
         3000000000,
         2147483647,
         3000000000,
         3000000000,
         1,
         {"\"f.wav\" holds 3000000000 frames (104:10:00.00), more than the 2147483647 frames "
          "this program can open: only the first 74:33:55.46 open and the last 29:36:04.54 "
          "(852516353 frames) are left out."}},
        {"unfinished, 12 GB of 16-bit stereo",
         2,
         48000,
         16,
         0xFFFFFFFFu,
         12000000000,
         2147483647,
         3000000000,
         3000000000,
         2,
         {"(852516353 frames) are left out."}},
        {"17 KB claiming 2 GB",
         2,
         44100,
         16,
         2000000000u,
         17000,
         500000000,
         500000000,
         4250,
         2,
         {"\"f.wav\": the file ends 11337.77 seconds before its header says; the rest opens "
          "as silence."}},
        {"both",
         1,
         8000,
         8,
         3000000000u,
         8000,
         2147483647,
         3000000000,
         8000,
         1,
         {"are left out.", "the file ends 374999 seconds before"}},
    };
    TempDir dir;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = dir.File("f.wav");
        const Bytes header = Riff(Chunk("fmt ", FormatBody(c.channels, c.rate, c.bits)) +
                                  Chunk("data", {}, c.dataSize));
        WriteBytes(path, header);
        std::filesystem::resize_file(path, header.size() + static_cast<uint64_t>(c.fileData));

        LSourceRef source = LWaveFile::OpenSource(path);
        ASSERT_EQ(source->GetError(), kSourceOk);
        EXPECT_EQ(source->GetLengthSample(), c.opened);
        const LOpenedFileFacts facts = LOpenedFileFacts::Of(*source);
        EXPECT_EQ(facts.openedFrames, c.opened);
        EXPECT_EQ(facts.claimedFrames, c.claimed);
        EXPECT_EQ(facts.presentFrames, c.present);
        EXPECT_EQ(facts.keptBytesPerSample, c.keptBytes);
        const std::vector<std::string> warnings = facts.Warnings("f.wav");
        ASSERT_EQ(warnings.size(), c.warnings.size());
        for (size_t i = 0; i < warnings.size(); ++i)
            EXPECT_NE(warnings[i].find(c.warnings[i]), std::string::npos) << warnings[i];
        std::filesystem::remove(path);
    }
}

// 4294967257 data bytes are the most a WAV header's sizes describe.
TEST(OpenedFileFacts, WaveSizeLimit) {
    EXPECT_EQ(LSNKPCMFileBase::CheckSize("o.wav", 4294967257, 1, 1), "");
    EXPECT_NE(LSNKPCMFileBase::CheckSize("o.wav", 4294967258, 1, 1).find("more than the 4 GB"),
              std::string::npos);
    EXPECT_NE(LSNKPCMFileBase::CheckSize("o.wav", 1073741815, 2, 2), "");
}

}  // namespace
}  // namespace osmera
