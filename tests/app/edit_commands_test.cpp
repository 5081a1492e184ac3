// The Edit and File commands that ask something first (time texts, a rate) or make new
// documents: what the user types reaches the engine, and every change is one undo step.
#include <gtest/gtest.h>

#include <QAction>

#include <filesystem>

#include "app/command_menus.h"
#include "app/command_table.h"
#include "app/effect_dialog.h"
#include "display/document_model.h"
#include "edit/document_io.h"
#include "edit/src_cut_list_audio.h"
#include "tests/app/app_fixture.h"

namespace osmera {
namespace {

using Editor = testing::EditorTest;

TEST_F(Editor, SilenceLengthsAndTimeTextsPlaceSilenceAndSelectRegions) {
    LOMFile& doc = Open("a.wav");  // one second at 8000 Hz
    doc.cursor = 2000;
    QString typed = "250";
    main->SetEffectDialogRunner([&](LOMEffectDialog& d) {
        d.Field(0)->setText(typed);
        d.accept();
        return d.result();
    });
    main->Dispatch(kIdInsertSilenceCurrent);
    EXPECT_EQ(doc.audio.GetLength(), 10000);
    // The silence sits at the cursor (the ramp goes on after it).
    std::vector<int32_t> frames(10000);
    LSRCCutListAudio(doc.audio).Read(frames.data(), 10000);
    EXPECT_NE(frames[1999], 0);
    EXPECT_EQ(frames[2000], 0);
    EXPECT_EQ(frames[3999], 0);
    EXPECT_EQ(frames[4000], frames[1999] + 7 * 16);
    EXPECT_EQ(settings.GetInt("StoredValues", "SilenceTimes", -1), 250);
    EXPECT_EQ(main->Menus().Action(kIdUndo)->text(), "Undo Edit Silence\tCtrl+Z");
    typed = "abc";  // refused by the dialog, then cancelled: nothing changes
    main->SetEffectDialogRunner([&](LOMEffectDialog& d) {
        d.Field(0)->setText(typed);
        d.accept();
        return int{QDialog::Rejected};
    });
    main->Dispatch(kIdInsertSilenceEnd);
    EXPECT_EQ(doc.audio.GetLength(), 10000);

    prompts.timeAnswer = {"0:00:00.50", "0.125"};  // the ends in either order
    main->Dispatch(kIdSelectRegion);
    EXPECT_EQ(doc.selStart, 1000);
    EXPECT_EQ(doc.selEnd, 4000);
    main->Dispatch(kIdSilence);
    EXPECT_EQ(doc.audio.GetLength(), 10000);
    EXPECT_EQ(main->Menus().Action(kIdUndo)->text(), "Undo Silence\tCtrl+Z");

    doc.cursor = 300;
    main->Dispatch(kIdMarkFirst);
    doc.cursor = 700;
    main->Dispatch(kIdMarkSecond);
    doc.SetSelection(0, 0);
    main->Dispatch(kIdRecallMark);
    EXPECT_EQ(doc.selStart, 300);
    EXPECT_EQ(doc.selEnd, 700);

    doc.cursor = 9000;
    main->Dispatch(kIdTrimEnd);
    doc.cursor = 1000;
    main->Dispatch(kIdTrimStart);
    EXPECT_EQ(doc.audio.GetLength(), 8000);
    for (int k = 0; k < 4; ++k)
        main->Dispatch(kIdUndo);
    EXPECT_EQ(doc.audio.GetLength(), 8000);
    EXPECT_FALSE(doc.modified);
}

TEST_F(Editor, NewDocumentsFromSelectionSplitAndNewFile) {
    LOMFile& doc = Open("a.wav");
    doc.SetSelection(1000, 3000);
    main->Dispatch(kIdCopyToNew);
    const auto& docs = main->Controller().GetDocuments();
    ASSERT_EQ(docs.size(), 2u);
    EXPECT_EQ(docs[1]->audio.GetLength(), 2000);
    EXPECT_EQ(docs[1]->GetDisplayName(), "Untitled 1");
    EXPECT_EQ(docs[1]->viewEnd, 2000);  // the new window shows all of it

    main->Controller().SetCurrent(&doc);
    doc.cursor = 6000;
    main->Dispatch(kIdSplit);
    ASSERT_EQ(docs.size(), 3u);
    EXPECT_EQ(doc.audio.GetLength(), 6000);
    EXPECT_EQ(docs[2]->audio.GetLength(), 2000);
    EXPECT_EQ(main->Controller().GetCurrent(), docs[2].get());

    main->Controller().SetCurrent(&doc);
    doc.SetSelection(0, 500);
    prompts.saveAnswer = QString::fromStdString(dir.File("part"));
    main->Dispatch(kIdSaveSelectRegionAs);
    EXPECT_LT(std::filesystem::file_size(dir.File("part.wav")) - 500 * 2, 64u);  // + header
    EXPECT_EQ(doc.path, dir.File("a.wav"));  // the document keeps its own file

    prompts.rateAnswer = 22050;
    prompts.channelsAnswer = 1;
    main->Dispatch(kIdNewFile);
    ASSERT_EQ(docs.size(), 4u);
    EXPECT_EQ(docs[3]->audio.GetSampleRate(), 22050u);
    EXPECT_EQ(docs[3]->audio.GetChannels(), 1);
    EXPECT_EQ(settings.GetInt("Settings", "NewFileSampleRate", 0), 22050);
    EXPECT_EQ(settings.GetInt("Settings", "NewFileChannels", 0), 1);
}

// Insert File converts a file of another format to the document's; the conversions are
// single undo steps that bring rate, channels and audio back.
TEST_F(Editor, InsertFileAndConversionsAreUndoable) {
    LOMFile& doc = Open("a.wav");
    prompts.channelsAnswer = 2;
    main->Dispatch(kIdConvertStereo);
    ASSERT_EQ(doc.audio.GetChannels(), 2);
    EXPECT_EQ(doc.audio.GetLength(), 8000);
    EXPECT_EQ(main->Menus().Action(kIdUndo)->text(), "Undo Convert to Stereo\tCtrl+Z");

    prompts.openAnswer = {QString::fromStdString(MakeWave("mono.wav", 4000))};
    main->Dispatch(kIdInsertFileBegin);  // mono into stereo
    EXPECT_EQ(doc.audio.GetLength(), 12000);
    EXPECT_EQ(doc.selEnd, 4000);

    doc.SetSelection(8000, 12000);
    prompts.rateAnswer = 16000;
    main->Dispatch(kIdConvertSampleRate);
    EXPECT_EQ(doc.audio.GetSampleRate(), 16000u);
    EXPECT_NEAR(doc.audio.GetLength(), 24000, 2);
    EXPECT_EQ(doc.selStart, 16000);  // the selection keeps its place in time
    main->Dispatch(kIdUndo);
    main->Dispatch(kIdUndo);
    main->Dispatch(kIdUndo);
    EXPECT_EQ(doc.audio.GetSampleRate(), 8000u);
    EXPECT_EQ(doc.audio.GetChannels(), 1);
    EXPECT_EQ(doc.audio.GetLength(), 8000);

    prompts.told.clear();
    prompts.openAnswer = {QString::fromStdString(dir.File("missing.wav"))};
    main->Dispatch(kIdInsertFileEnd);
    EXPECT_EQ(prompts.told.size(), 1);  // the file's error, and nothing changed
    EXPECT_EQ(doc.audio.GetLength(), 8000);
    EXPECT_FALSE(doc.modified);
}

}  // namespace
}  // namespace osmera
