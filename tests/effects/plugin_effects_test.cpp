// Plug-in hosting: the scan (child processes, cache, crashes and time-outs) and Debian's
// swh plug-ins run through the effect driver.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

#include "effects/effect_driver.h"
#include "effects/plugin_instance.h"
#include "effects/plugin_scan.h"
#include "tests/edit/edit_test_support.h"

namespace osmera {
namespace {

namespace fs = std::filesystem;
using testing::RecordingProgress;
using testing::TempDir;

const char* const kLv2Amp = "http://plugin.org.uk/swh-plugins/amp";
const char* const kLv2Limiter = "http://plugin.org.uk/swh-plugins/fastLookaheadLimiter";

// A few plug-ins of the installed packages, behind LV2_PATH and LADSPA_PATH of their own
// so that the scan reads only them.
class PluginTest : public testing::CutTankTest {
  protected:
    static void SetUpTestSuite() {
        plugins_ = new TempDir();
        const fs::path lv2 = plugins_->Path() / "lv2", ladspa = plugins_->Path() / "ladspa";
        fs::create_directories(lv2);
        fs::create_directories(ladspa);
        std::error_code ec;
        for (const char* b : {"amp-swh.lv2", "fast_lookahead_limiter-swh.lv2", "core.lv2"})
            fs::create_directory_symlink(fs::path("/usr/lib/lv2") / b, lv2 / b, ec);
        for (const char* l : {"amp.so", "fast_lookahead_limiter_1913.so"})
            fs::create_symlink(fs::path("/usr/lib/ladspa") / l, ladspa / l, ec);
        setenv("LV2_PATH", lv2.c_str(), 1);
        setenv("LADSPA_PATH", ladspa.c_str(), 1);
        settings_.cacheFile = plugins_->File("plugins.cache");
        catalog_ = new LPluginCatalog(ScanPlugins(settings_));
    }
    static void TearDownTestSuite() {
        delete catalog_;
        delete plugins_;
    }
    void SetUp() override {
        CutTankTest::SetUp();
        if (!catalog_->Find(LPluginKind::kLv2, kLv2Amp) ||
            !catalog_->Find(LPluginKind::kLadspa, "amp_mono"))
            GTEST_SKIP() << "swh-lv2 and ladspa-sdk are not installed";
    }
    void TearDown() override {
        controller_.reset();
        CutTankTest::TearDown();
    }

    LOMFile& Open(int32_t frames, uint8_t channels) {
        for (int32_t i = 0; i < frames * channels; ++i)
            samples_.push_back((i * 7919) % 200001 - 100000);
        LOMFile& doc = controller_->NewDocument(44100, channels);
        doc.audio = Written(samples_, channels);
        return doc;
    }
    LEffectResult Apply(LPluginKind kind, const std::string& id, const std::string& words) {
        LPluginChoice choice;
        if (const LPluginInfo* info = catalog_->Find(kind, id)) {
            choice.info = *info;
            choice.values = info->DefaultValues();
            if (!words.empty()) {
                EXPECT_EQ(ApplyPortWords(*info, {words}, choice.values), "");
            }
        } else {
            choice.info.kind = kind;
            choice.info.id = id;
            choice.info.path = "/nonexistent/" + id;
        }
        LPresetEffectDialog dialog;
        LEffectDriver driver(*controller_, store_, progress_);
        driver.SetPlugin(&choice);
        return driver.Run(
            kind == LPluginKind::kLv2 ? LEffectId::kLv2Effects : LEffectId::kLadspaPlugins,
            &dialog);
    }
    // Every sample of the document within 1 of the original times `gain`.
    void ExpectScaled(double gain) {
        const std::vector<int32_t> now = ReadAll(controller_->GetCurrent()->audio);
        ASSERT_EQ(now.size(), samples_.size());
        for (size_t i = 0; i < now.size(); ++i)
            ASSERT_NEAR(now[i], samples_[i] * gain, 1.0) << "sample " << i;
    }

    static TempDir* plugins_;
    static LPluginScanSettings settings_;
    static LPluginCatalog* catalog_;
    std::vector<int32_t> samples_;
    LMemorySettingsStore store_;
    RecordingProgress progress_;
    std::unique_ptr<LDocumentController> controller_ =
        std::make_unique<LDocumentController>(store_);
};

TempDir* PluginTest::plugins_ = nullptr;
LPluginScanSettings PluginTest::settings_;
LPluginCatalog* PluginTest::catalog_ = nullptr;

TEST_F(PluginTest, ScanDescribesThePluginsAndASecondStartReadsTheCache) {
    EXPECT_EQ(catalog_->itemsScanned, 5);
    EXPECT_TRUE(catalog_->failures.empty());
    const LPluginInfo* amp = catalog_->Find(LPluginKind::kLv2, kLv2Amp);
    ASSERT_EQ(amp->Controls().size(), 1u);
    EXPECT_EQ(amp->Controls()[0]->symbol, "gain");
    EXPECT_EQ(amp->Controls()[0]->min, -70.0f);
    EXPECT_EQ(amp->AudioInputs(), 1);
    const LPluginInfo* mono = catalog_->Find(LPluginKind::kLadspa, "1048");  // by unique id
    ASSERT_TRUE(mono);
    EXPECT_EQ(mono->id, "amp_mono");
    EXPECT_EQ(mono->Controls()[0]->def, 1.0f);

    const LPluginCatalog again = ScanPlugins(settings_);
    EXPECT_EQ(again.itemsScanned, 0);
    EXPECT_EQ(again.itemsCached, 5);
    EXPECT_EQ(again.plugins.size(), catalog_->plugins.size());
}

TEST_F(PluginTest, AmplifiersMultiplyTheSelectionAndUndoRestores) {
    LOMFile& doc = Open(20000, 2);
    // LV2: +6.0206 dB is a factor of 2; mono plug-in, one instance per channel.
    ASSERT_EQ(Apply(LPluginKind::kLv2, kLv2Amp, "gain=6.0206").status, LEffectStatus::kApplied);
    ExpectScaled(2.0);
    controller_->CmUndo();
    EXPECT_EQ(ReadAll(doc.audio), samples_);
    ASSERT_EQ(Apply(LPluginKind::kLadspa, "amp_mono", "gain=0.5").status, LEffectStatus::kApplied);
    ExpectScaled(0.5);
    EXPECT_EQ(progress_.lines[0], "Applying LADSPA Effect");
}

TEST_F(PluginTest, LookAheadLimiterComesBackAligned) {
    // The limiter delays its output by the latency it reports; below its limit the output
    // is the input, frame for frame, once that delay is taken out.
    const LPluginInfo* limiter = catalog_->Find(LPluginKind::kLv2, kLv2Limiter);
    ASSERT_TRUE(limiter);
    std::string error;
    std::unique_ptr<LPluginInstance> raw = InstantiatePlugin(*limiter, 44100, error);
    ASSERT_TRUE(raw) << error;
    std::vector<float> ports(limiter->ports.size()), audio(4 * 256);
    for (const LPluginPort& p : limiter->ports)
        raw->ConnectPort(p.index, p.audio ? &audio[256 * (p.index - 4)] : &ports[p.index]);
    ports[2] = 0.5f;
    raw->Activate();
    raw->Run(256);
    EXPECT_GT(ports[8], 10.0f);  // the latency port reports a delay

    Open(30000, 2);
    ASSERT_EQ(Apply(LPluginKind::kLv2, kLv2Limiter, "limit=0").status, LEffectStatus::kApplied);
    ExpectScaled(1.0);
    ASSERT_EQ(controller_->GetCurrent()->audio.GetLength(), 30000);
}

TEST_F(PluginTest, MissingPluginFailsWithTheMessageAndChangesNothing) {
    LOMFile& doc = Open(5000, 1);
    const LEffectResult r = Apply(LPluginKind::kLadspa, "no_such_plugin", "");
    EXPECT_EQ(r.status, LEffectStatus::kJobFailed);
    EXPECT_EQ(r.title, "Process Audio");
    EXPECT_EQ(r.message, "Applying LADSPA effect FAILED.");
    EXPECT_EQ(ReadAll(doc.audio), samples_);
    EXPECT_EQ(Apply(LPluginKind::kLv2, "urn:missing", "").message, "Applying LV2 effect FAILED.");
    EXPECT_EQ(ReadAll(doc.audio), samples_);
}

// A scanner that crashes on one item and hangs on another: both are skipped and named, and
// the items after them are still read.
TEST(PluginScanTest, CrashAndTimeOutSkipOnlyThatItem) {
    TempDir dir;
    const fs::path libs = dir.Path() / "ladspa";
    fs::create_directories(libs);
    for (const char* name : {"a.so", "crash.so", "hang.so", "z.so"})
        std::ofstream(libs / name) << "x";
    const std::string scanner = dir.File("scanner.sh");
    std::ofstream(scanner)
        << "#!/bin/sh\n"
           "shift 2\n"
           "for item; do\n"
           "  printf 'B\\t%s\\n' \"$item\"\n"
           "  case $item in *crash*) kill -SEGV $$;; *hang*) exec sleep 5;; esac\n"
           "  printf 'D\\t%s\\n' \"$item\"\n"
           "done\n";
    chmod(scanner.c_str(), 0755);
    setenv("LADSPA_PATH", libs.c_str(), 1);
    setenv("LV2_PATH", dir.File("none").c_str(), 1);
    LPluginScanSettings s;
    s.scanner = scanner;
    s.timeoutMs = 300;
    s.cacheFile = dir.File("cache");
    const LPluginCatalog c = ScanPlugins(s);
    ASSERT_EQ(c.failures.size(), 2u);
    EXPECT_NE(c.failures[0].find("crash.so: the scan crashed"), std::string::npos);
    EXPECT_NE(c.failures[1].find("hang.so: no answer"), std::string::npos);
    // Skipped items are remembered too: the next start asks no child.
    const LPluginCatalog again = ScanPlugins(s);
    EXPECT_EQ(again.itemsScanned, 0);
    EXPECT_EQ(again.failures, c.failures);
}

}  // namespace
}  // namespace osmera
