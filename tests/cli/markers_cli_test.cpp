// osmera-cli markers: a label file imported into a WAV file lists and exports back the same,
// the audio stays bit for bit, and a bad label file leaves the output unwritten.

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "core/generator_sources.h"
#include "core/pr_source_to_sink.h"
#include "formats/open_audio_source.h"
#include "formats/wave_file.h"
#include "tests/cli/cli_runner.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

using testing::ReadText;

using testing::Cli;
using testing::Q;
using testing::ReadAll;

TEST(MarkersCli, ImportListExportAndRefuseBadLabelFiles) {
    testing::TempDir dir;
    const std::string in = dir.File("in.wav");
    {
        auto sink = LWaveFile::CreateSink(in, 8000, 0, 2, 1);
        LPRSourceToSink(MakeRef<LSRCTone>(8000, 1, 16000, 441.0, 300000), sink).Process();
    }
    const std::string labels = "0.100000\t0.500000\tIntro part\n1.000000\t1.000000\tMark\n";
    std::ofstream(dir.File("in.txt"), std::ios::binary) << labels;
    const std::string out = dir.File("out.wav");
    ASSERT_EQ(
        Cli("markers " + Q(in) + " --import " + Q(dir.File("in.txt")) + " --out " + Q(out)).code,
        0);
    EXPECT_EQ(ReadAll(out), ReadAll(in));
    EXPECT_EQ(Cli("markers " + Q(out)).out,
              "type=region name=\"Intro part\" start=0.100000 end=0.500000 start-frame=800 "
              "end-frame=4000\n"
              "type=bookmark name=Mark start=1.000000 end=1.000000 start-frame=8000 "
              "end-frame=8000\n");
    ASSERT_EQ(Cli("markers " + Q(out) + " --export " + Q(dir.File("out.txt"))).code, 0);
    EXPECT_EQ(ReadText(dir.File("out.txt")), labels);

    const std::string before = ReadText(out);
    std::ofstream(dir.File("bad.txt")) << "1\tbad\n";
    EXPECT_EQ(
        Cli("markers " + Q(in) + " --import " + Q(dir.File("bad.txt")) + " --out " + Q(out)).code,
        1);
    EXPECT_EQ(Cli("markers " + Q(in) + " --import " + Q(dir.File("in.txt")) + " --out " +
                  Q(dir.File("out.flac")))
                  .code,
              2);
    EXPECT_EQ(ReadText(out), before);
}

}  // namespace
}  // namespace osmera
