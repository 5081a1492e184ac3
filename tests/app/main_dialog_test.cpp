#include "app/main_dialog.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QMdiSubWindow>
#include <QStatusBar>
#include <QTimer>
#include <cstdlib>
#include <filesystem>

#include "app/cd_burn_dialog.h"
#include "app/cd_rip_dialog.h"
#include "app/command_menus.h"
#include "app/envelope_dialog.h"
#include "app/equalizer_dialog.h"
#include "display/document_model.h"
#include "tests/app/app_fixture.h"

namespace osmera {
namespace {

using Editor = testing::EditorTest;

// Every identifier reaches its handler, which does its work without saying that its feature
// is not available.
TEST_F(Editor, EveryCommandReachesItsHandler) {
    // The plug-in commands find none (in empty folders) and open no modal dialog.
    setenv("LV2_PATH", dir.File("no-plugins").c_str(), 1);
    setenv("LADSPA_PATH", dir.File("no-plugins").c_str(), 1);
    setenv("XDG_DATA_HOME", dir.File("data").c_str(), 1);
    main->SetPluginDialogRunner([](QDialog&) { return int{QDialog::Rejected}; });
    for (const LCommandRow& row : CommandTable()) {
        SCOPED_TRACE(row.id);
        LOMFile& doc = Open("a.wav");
        doc.SetSelection(100, 900);
        prompts.told.clear();
        if (row.id == kIdEnvelope) {
            // Its dialog is modal: cancel it once it shows.
            QTimer::singleShot(0, frame.get(), [this]() {
                if (auto* dialog = frame->findChild<LEnvelopeDialog*>())
                    dialog->reject();
            });
        }
        if (row.id == kIdLoadCdTracks || row.id == kIdBurnAudioCd) {
            QTimer::singleShot(0, frame.get(), [this]() {
                if (auto* rip = frame->findChild<LOMCdRipDialog*>())
                    rip->reject();
                if (auto* burn = frame->findChild<LOMCdBurnDialog*>())
                    burn->reject();
            });
        }
        main->SetEqualizerDialogRunner([](LEqualizerDialog&) { return int{QDialog::Rejected}; });
        EXPECT_TRUE(main->Dispatch(row.id));
        for (const QString& told : prompts.told)
            EXPECT_FALSE(told.contains("not available")) << told.toStdString();
    }
    EXPECT_EQ(prompts.browsed.size(), 1);  // Help Contents found the manual
    // Without a document, a command on the document does nothing.
    main->Dispatch(kIdCloseAll);
    prompts.answers.assign(30, LAnswer::kNo);
    main->Dispatch(kIdCloseAll);
    ASSERT_EQ(main->Controller().GetCurrent(), nullptr);
    prompts.told.clear();
    EXPECT_FALSE(main->Dispatch(kIdTrimStart));
    EXPECT_TRUE(prompts.told.isEmpty());
}

// A cut names itself in the undo item and enables Save; undoing it restores both.
TEST_F(Editor, UndoItemAndSaveFollowTheDocument) {
    LOMFile& doc = Open("a.wav");
    QAction* undo = main->Menus().Action(kIdUndo);
    QAction* save = main->Menus().Action(kIdSaveFile);
    EXPECT_EQ(undo->text(), "Undo \tCtrl+Z");
    EXPECT_FALSE(undo->isEnabled());
    EXPECT_FALSE(main->Menus().Action(kIdCut)->isEnabled());  // no selection yet
    main->ModelOf(&doc)->SetSelection(1000, 3000);
    main->ModelOf(&doc)->Flush();  // the model reports once per event-loop turn
    EXPECT_TRUE(main->Menus().Action(kIdCut)->isEnabled());
    main->Menus().Action(kIdCut)->trigger();
    EXPECT_EQ(doc.audio.GetLength(), 6000);
    EXPECT_EQ(undo->text(), "Undo Cut\tCtrl+Z");
    EXPECT_TRUE(undo->isEnabled());
    EXPECT_TRUE(save->isEnabled());
    EXPECT_TRUE(main->WindowOf(&doc)->windowTitle().endsWith('*'));
    EXPECT_TRUE(main->Menus().Action(kIdPaste)->isEnabled());
    EXPECT_FALSE(clipboard.bytes.empty());  // a short cut also goes to the desktop
    main->Dispatch(kIdUndo);
    EXPECT_EQ(doc.audio.GetLength(), 8000);
    EXPECT_EQ(undo->text(), "Undo \tCtrl+Z");
    EXPECT_FALSE(undo->isEnabled());
    EXPECT_FALSE(save->isEnabled());
}

// Hovering shows a description for 5000 ms, then the idle text; an item without one
// leaves the status bar alone.
TEST_F(Editor, StatusBarHelp) {
    main->Menus().Action(kIdNewFile)->hover();
    EXPECT_EQ(main->StatusText(), "Creates a new audio file.");
    EXPECT_TRUE(main->IsHelpShowing());
    main->Menus().Action(kIdDelete)->hover();
    EXPECT_EQ(main->StatusText(), "Creates a new audio file.");
    main->ShowCommandHelp(kWindowItemFirstId);
    EXPECT_EQ(main->StatusText(), "Activates the selected window.");
    main->EvHelpTimer();
    EXPECT_EQ(main->StatusText(), MainDialog::IdleText());
    main->Menus().Action(kIdEditTags)->hover();
    EXPECT_EQ(main->StatusText(), MainDialog::IdleText());
    EXPECT_FALSE(main->IsHelpShowing());
}

// Closing a modified document: Cancel keeps it, No closes it unsaved, Yes on an untitled
// one asks for a name through Save As and writes the file.
TEST_F(Editor, ClosePromptAnswers) {
    LOMFile& doc = Open("a.wav");
    const auto size = std::filesystem::file_size(dir.File("a.wav"));
    doc.SetSelection(0, 4000);
    main->Dispatch(kIdDelete);
    prompts.answers = {LAnswer::kCancel};
    main->Dispatch(kIdCloseFile);
    ASSERT_EQ(main->Controller().GetDocuments().size(), 1u);
    EXPECT_EQ(prompts.asked.back(), "Osmera: Save changes to \"a.wav\"?");
    prompts.answers = {LAnswer::kNo};
    main->Dispatch(kIdCloseFile);
    EXPECT_TRUE(main->Controller().GetDocuments().empty());
    EXPECT_EQ(std::filesystem::file_size(dir.File("a.wav")), size);

    LOMFile& copy = Open("b.wav");
    copy.SetSelection(0, 2000);
    main->Dispatch(kIdCopy);
    LOMFile& untitled = main->Controller().NewDocument(8000, 1);
    main->Controller().SetCurrent(&untitled);
    main->Dispatch(kIdPaste);
    ASSERT_TRUE(untitled.modified);
    prompts.answers = {LAnswer::kYes};
    prompts.saveAnswer = QString::fromStdString(dir.File("saved"));
    EXPECT_TRUE(main->QueryCloseDocument(untitled));
    EXPECT_EQ(prompts.asked.back(), "Save Audio File As");
    EXPECT_LT(std::filesystem::file_size(dir.File("saved.wav")) - 2000 * 2, 64u);  // + header
    EXPECT_EQ(settings.GetInt("Settings", "SaveAsFormat", -1), 1);
    EXPECT_EQ(settings.GetText("Settings", "SaveAsDir", ""), dir.Path().string());
}

// Open asks with its title and filters in order, remembers the folder and lists the file.
TEST_F(Editor, OpenRemembersFolderAndRecentFiles) {
    prompts.openAnswer = {QString::fromStdString(MakeWave("one.wav")),
                          QString::fromStdString(dir.File("missing.wav")),
                          QString::fromStdString(MakeWave("two.wav"))};
    main->Dispatch(kIdOpenFile);
    EXPECT_EQ(prompts.asked.back(), "Open Audio File");
    ASSERT_EQ(prompts.openFilters.size(), 19);
    EXPECT_TRUE(prompts.openFilters.front().startsWith("Audio Files (*.wav *.mp3 "));
    EXPECT_EQ(prompts.openFilters.at(2), "MPEG Layer-3 Files (*.mp3 *.mp2 *.mpga)");
    EXPECT_EQ(prompts.openFilters.back(), "All Files (*)");
    EXPECT_EQ(main->Controller().GetDocuments().size(), 2u);  // the missing one was reported
    EXPECT_EQ(prompts.told.size(), 1);
    EXPECT_EQ(settings.GetText("Settings", "OpenFileDir", ""), dir.Path().string());
    const QList<QAction*> recent = main->Menus().RecentActions();
    ASSERT_EQ(recent.size(), 2);
    EXPECT_EQ(recent[0]->data().toUInt(), kRecentFileFirstId);
    EXPECT_TRUE(recent[0]->text().startsWith("&1."));
    EXPECT_EQ(main->Menus().WindowActions().size(), 2);
    EXPECT_TRUE(main->Menus().WindowActions().back()->isChecked());
}

}  // namespace
}  // namespace osmera
