// osmera-cli plugins and the script commands lv2 and ladspa, with Debian's swh and
// ladspa-sdk plug-ins behind plug-in paths of the test's own.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "core/generator_sources.h"
#include "core/pr_source_to_sink.h"
#include "formats/wave_file.h"
#include "tests/cli/cli_runner.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

namespace fs = std::filesystem;

TEST(PluginsCliTest, ListsPluginsAndScriptsApplyThem) {
    if (!fs::exists("/usr/lib/lv2/amp-swh.lv2") || !fs::exists("/usr/lib/ladspa/amp.so"))
        GTEST_SKIP() << "swh-lv2 and ladspa-sdk are not installed";
    testing::TempDir dir;
    fs::create_directories(dir.Path() / "lv2");
    fs::create_directories(dir.Path() / "ladspa");
    fs::create_directory_symlink("/usr/lib/lv2/amp-swh.lv2", dir.Path() / "lv2" / "amp-swh.lv2");
    fs::create_symlink("/usr/lib/ladspa/amp.so", dir.Path() / "ladspa" / "amp.so");
    const std::string env = "LV2_PATH=" + testing::Q(dir.File("lv2")) +
                            " LADSPA_PATH=" + testing::Q(dir.File("ladspa")) +
                            " XDG_DATA_HOME=" + testing::Q(dir.File("data")) + " ";
    const testing::CliResult list = testing::RunShell(env + OSMERA_CLI + " plugins 2>&1");
    EXPECT_EQ(list.code, 0);
    EXPECT_NE(list.out.find("lv2 http://plugin.org.uk/swh-plugins/amp\n    Simple amplifier"),
              std::string::npos)
        << list.out;
    EXPECT_NE(list.out.find("ladspa amp_mono\n    Mono Amplifier"), std::string::npos);
    EXPECT_NE(list.out.find("gain=0  (-70 to 70) Amps gain (dB)"), std::string::npos);
    EXPECT_TRUE(fs::exists(dir.Path() / "data" / "Quillon" / "Osmera" / "plugins.cache"));

    auto sink = LWaveFile::CreateSink(dir.File("in.wav"), 44100, 0, 2, 2);
    LPRSourceToSink(MakeRef<LSRCTone>(44100, 2, 20000, 441.0, 100000), sink).Process();
    sink.Reset();
    std::ofstream(dir.File("s.txt")) << "open in.wav\n"
                                        "ladspa amp_mono gain=0.5\n"
                                        "save half.wav\n"
                                        "undo\n"
                                        "lv2 http://plugin.org.uk/swh-plugins/amp gain=6.0206\n"
                                        "save double.wav\n"
                                        "lv2 urn:no-such-plugin\n";
    const testing::CliResult run =
        testing::RunShell(env + OSMERA_CLI + " run " + testing::Q(dir.File("s.txt")) + " 2>&1");
    EXPECT_NE(run.code, 0);
    EXPECT_NE(run.out.find("s.txt:7: Applying LV2 effect FAILED. (no installed lv2 plug-in is "
                           "urn:no-such-plugin)"),
              std::string::npos)
        << run.out;
    const std::vector<int32_t> in = testing::ReadAll(dir.File("in.wav"));
    const std::vector<int32_t> half = testing::ReadAll(dir.File("half.wav"));
    const std::vector<int32_t> twice = testing::ReadAll(dir.File("double.wav"));
    ASSERT_EQ(half.size(), in.size());
    ASSERT_EQ(twice.size(), in.size());
    for (size_t i = 0; i < in.size(); ++i) {
        ASSERT_NEAR(half[i], in[i] * 0.5, 16.0) << i;  // one 16-bit step
        ASSERT_NEAR(twice[i], in[i] * 2.0, 16.0) << i;
    }
}

}  // namespace
}  // namespace osmera
