// "LV2 Effects...": the browser finds the amplifier, its parameter dialog sets the gain, and
// the effect applies it to the file; the choice is remembered for the next time.
#include <gtest/gtest.h>

#include <QLineEdit>
#include <cstdlib>
#include <filesystem>

#include "app/command_menus.h"
#include "app/plugin_dialogs.h"
#include "edit/src_cut_list_audio.h"
#include "tests/app/app_fixture.h"

namespace osmera {
namespace {

namespace fs = std::filesystem;
using Editor = testing::EditorTest;

TEST_F(Editor, PluginBrowserPicksTheAmplifierAndTheEffectAppliesIt) {
    if (!fs::exists("/usr/lib/lv2/amp-swh.lv2"))
        GTEST_SKIP() << "swh-lv2 is not installed";
    // The plug-ins of the test only, and a scan cache of its own.
    fs::create_directories(dir.Path() / "lv2");
    fs::create_directory_symlink("/usr/lib/lv2/amp-swh.lv2", dir.Path() / "lv2" / "amp-swh.lv2");
    setenv("LV2_PATH", dir.File("lv2").c_str(), 1);
    setenv("LADSPA_PATH", dir.File("none").c_str(), 1);
    setenv("XDG_DATA_HOME", dir.File("data").c_str(), 1);
    const std::string amp = "http://plugin.org.uk/swh-plugins/amp";

    LOMFile& doc = Open("a.wav");
    std::vector<int32_t> before(8000), after(8000);
    LSRCCutListAudio(doc.audio).Read(before.data(), 8000);
    std::vector<std::string> listed;
    main->SetPluginDialogRunner([&](QDialog& d) {
        if (auto* browser = dynamic_cast<LPluginBrowserDialog*>(&d)) {
            browser->SearchField()->setText("amplif");
            listed = browser->Listed();
            EXPECT_TRUE(browser->Select(amp));
            browser->ToggleFavourite();
        } else if (auto* params = dynamic_cast<LPluginParamDialog*>(&d)) {
            params->SetValue(0, -6.0206f);  // half
        }
        d.accept();
        return d.result();
    });
    main->Dispatch(kIdPluginEffects);
    EXPECT_EQ(listed, std::vector<std::string>{amp});
    LSRCCutListAudio(doc.audio).Read(after.data(), 8000);
    for (size_t i = 0; i < before.size(); ++i)
        ASSERT_NEAR(after[i], before[i] * 0.5, 1.0) << i;
    EXPECT_EQ(main->Menus().Action(kIdUndo)->text(), "Undo LV2 Effects\tCtrl+Z");
    EXPECT_EQ(settings.GetText("Plugins", "Recent", ""), "lv2:" + amp + "\n");
    EXPECT_EQ(settings.GetText("Plugins", "Favourites", ""), "lv2:" + amp + "\n");
    EXPECT_EQ(settings.GetText("LV2Plugins", "http:||plugin.org.uk|swh-plugins|amp", ""),
              "gain=-6.0206");
    EXPECT_EQ(main->Menus().Action(kIdPluginEffects)->text(), "LV2 Effects...");
    EXPECT_EQ(main->Menus().Action(kIdPlugins)->text(), "LADSPA Plugins...");

    // No LADSPA plug-ins here: the command says so and changes nothing.
    main->Dispatch(kIdPlugins);
    EXPECT_EQ(prompts.told.back(), "No LADSPA plug-ins are installed.");
}

}  // namespace
}  // namespace osmera
