// Settings... and key macros in the editor: what OK and Cancel write, key capture, and a
// macro run from a key press in the frame.
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QSpinBox>
#include <QTest>
#include <QTreeWidget>
#include <filesystem>
#include <set>

#include "app/key_codes.h"
#include "app/key_dialogs.h"
#include "app/key_macro_runner.h"
#include "app/keys_page.h"
#include "app/recent_file_list.h"
#include "app/settings_dialog.h"
#include "app/splash_window.h"
#include "devices/cd_lookup.h"
#include "tests/app/app_fixture.h"

namespace osmera::testing {
namespace {

// Remembers every value written through it.
class WatchedSettings : public LMemorySettingsStore {
  public:
    void SetInt(const std::string& section, const std::string& key, int32_t value) override {
        written.insert(section + "/" + key);
        LMemorySettingsStore::SetInt(section, key, value);
    }
    void SetText(const std::string& section, const std::string& key,
                 const std::string& value) override {
        written.insert(section + "/" + key);
        LMemorySettingsStore::SetText(section, key, value);
    }
    std::set<std::string> written;
};

constexpr uint32_t kCtrlShiftF5 = kKeyCtrl | kKeyShift | kVkF5;

TEST(SettingsDialog, CancelWritesNothingAndOkWritesEveryPage) {
    TempDir dir;
    WatchedSettings settings;
    settings.SetText("Folders", "Current", dir.File(""));
    settings.SetInt("Settings", "AutoPlaybackAfterEffects", 1);
    settings.written.clear();
    ScriptedPrompts prompts;
    const std::string keys = KeysFilePath(dir.File(""));
    {
        // An empty "keys.dat" is reported as a wrong version; Cancel leaves it as it is.
        WriteBytes(keys, {});
        LOMSettingsDialog dialog(settings, prompts);
        ASSERT_EQ(prompts.told.size(), 1);
        EXPECT_EQ(prompts.told.front(), kKeysWrongVersionMessage);
        dialog.AutoPlayback()->setChecked(false);
        dialog.RecentCount()->setValue(3);
        dialog.KeysPage().AddMacro(kCtrlShiftF5, {kIdPlay});
        dialog.reject();
        EXPECT_TRUE(settings.written.empty());
        EXPECT_EQ(std::filesystem::file_size(keys), 0u);
    }
    std::filesystem::remove(keys);
    LOMSettingsDialog dialog(settings, prompts);
    EXPECT_EQ(dialog.WorkingFolder()->text().toStdString(), dir.File(""));
    dialog.AutoPlayback()->setChecked(false);
    dialog.RecentCount()->setValue(3);
    dialog.Splash()->setChecked(false);
    dialog.Lv2Folder()->setText(QString::fromStdString(dir.File("lv2")));
    dialog.CdLookupEnabled()->setChecked(false);
    dialog.CdLookupService()->setCurrentIndex(1);
    EXPECT_EQ(dialog.CdLookupServer()->placeholderText(), LCdLookupSettings::kCddbServer);
    dialog.CdLookupServer()->setText(" http://127.0.0.1:8880/cddb ");
    dialog.WorkingFolder()->setText(QString::fromStdString(dir.File("work")));
    LKeysPage& page = dialog.KeysPage();
    page.AddMacro(kCtrlShiftF5, {kIdSelectAll});
    page.AddMacro(kKeyAlt | 'A', {kIdCut});
    page.AddMacro(kCtrlShiftF5, {kIdCopy});  // the same key adds to its macro
    ASSERT_EQ(page.List()->topLevelItemCount(), 2);
    EXPECT_EQ(page.List()->topLevelItem(0)->text(0), "Ctrl+Shift+F5");
    EXPECT_EQ(page.List()->topLevelItem(0)->text(1), "Select All, Copy");
    page.List()->topLevelItem(1)->setSelected(true);
    prompts.answers = {LAnswer::kYes};
    page.RemoveSelected();
    EXPECT_EQ(prompts.asked.back(), "Confirm Remove: Remove selected key(s)?");
    dialog.accept();
    EXPECT_EQ(dialog.result(), QDialog::Accepted);

    EXPECT_EQ(settings.GetInt("Settings", "AutoPlaybackAfterEffects", 1), 0);
    EXPECT_EQ(settings.GetInt("Settings", "SoundOutDevice", -1), 0);
    EXPECT_EQ(settings.GetInt("Recorder", "Device", -1), 0);
    EXPECT_EQ(settings.GetText("Settings", "WorkingFolder", ""), dir.File("work"));
    EXPECT_EQ(LRecentFileList::ShownCount(settings), 3);
    EXPECT_FALSE(LOMSplashWindow::IsWanted(settings));
    EXPECT_EQ(settings.GetText("Settings", "LV2Folder", ""), dir.File("lv2"));
    EXPECT_EQ(settings.GetText("Settings", "LADSPAFolder", "-"), "");
    const LCdLookupSettings lookup = LCdLookupSettings::Read(settings);
    EXPECT_FALSE(lookup.enabled);
    EXPECT_TRUE(lookup.cddb);
    EXPECT_EQ(lookup.server, "http://127.0.0.1:8880/cddb");
    LKeyMacroList saved;
    EXPECT_EQ(LoadKeyMacros(keys, saved), LKeysLoad::kLoaded);
    EXPECT_EQ(saved, (LKeyMacroList{{kCtrlShiftF5, {kIdSelectAll, kIdCopy}}}));
}

TEST(SettingsDialog, KeyCaptureKeepsTheKeyAndModifiersAndEndsOnEnter) {
    LKeyChangeDlg capture;
    QTest::keyClick(&capture, Qt::Key_Shift, Qt::ShiftModifier);
    QTest::keyClick(&capture, Qt::Key_Escape);
    EXPECT_EQ(capture.Key(), 0u);
    QTest::keyClick(&capture, Qt::Key_F5, Qt::ControlModifier | Qt::ShiftModifier);
    QTest::keyClick(&capture, Qt::Key_Control, Qt::ControlModifier);
    EXPECT_EQ(capture.Key(), kCtrlShiftF5);
    EXPECT_EQ(KeyText(kCtrlShiftF5 | kKeyAlt), "Ctrl+Alt+Shift+F5");
    QTest::keyClick(&capture, Qt::Key_Return);
    EXPECT_EQ(capture.result(), QDialog::Accepted);
    // Keys move between machines as virtual-key codes.
    EXPECT_EQ(VirtualKeyOf(Qt::Key_Plus, false), 0xbbu);
    EXPECT_EQ(VirtualKeyOf(Qt::Key_5, true), 0x65u);
    EXPECT_EQ(QtKeyOf(0x21), Qt::Key_PageUp);
}

using KeyMacros = EditorTest;

// The macro's commands run in stored order: only select, cut, paste leaves the clipboard
// and the document both holding the whole file.
TEST_F(KeyMacros, AKeyPressInTheFrameRunsTheMacroInOrder) {
    ASSERT_TRUE(SaveKeyMacros(KeysFilePath(dir.File("")),
                              {{kCtrlShiftF5, {kIdSelectAll, kIdCut, kIdPaste}}}));
    main->KeyMacros().Reload();
    LOMFile& doc = Open("a.wav");
    frame->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(frame.get()));
    QTest::keyClick(frame.get(), Qt::Key_F5, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(main->Controller().GetClipboard().GetLength(), 8000);
    EXPECT_EQ(doc.audio.GetLength(), 8000);

    // A macro's key wins over the menu's shortcut on the same key (F9 is Play).
    doc.SetSelection(0, 0);
    QTest::keyClick(frame.get(), Qt::Key_F9);
    EXPECT_TRUE(main->Transport().IsActive());
    main->Dispatch(kIdStop);
    ASSERT_TRUE(SaveKeyMacros(KeysFilePath(dir.File("")), {{0x78, {kIdSelectAll}}}));
    main->KeyMacros().Reload();
    QTest::keyClick(frame.get(), Qt::Key_F9);
    EXPECT_FALSE(main->Transport().IsActive());
    EXPECT_EQ(doc.selEnd, 8000);
}

}  // namespace
}  // namespace osmera::testing
