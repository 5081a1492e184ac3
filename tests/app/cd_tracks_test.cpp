#include <gtest/gtest.h>

#include <QTimer>
#include <filesystem>

#include "app/cd_rip_dialog.h"
#include "tests/app/app_fixture.h"
#include "tests/support/cd_image.h"

namespace osmera {
namespace {

using Editor = testing::EditorTest;

// Load Audio CD Track(s) from a disc image: the ticked tracks are ripped into files named
// after their titles, each opens as a document with its tags; Cancel on the track list
// rips nothing.
TEST_F(Editor, LoadAudioCdTracksOpensEachTrackAsADocumentWithItsTitle) {
    const testing::CdImage img = testing::WriteCdImage(dir.File(""), {40, 30, 20});
    settings.SetText("CdRip", "Source", img.cue);
    settings.SetText("CdRip", "Folder", dir.File("rips"));
    settings.SetInt("CdLookup", "Enabled", 0);
    QStringList status;
    QTimer::singleShot(0, frame.get(), [&]() {
        auto* dialog = frame->findChild<LOMCdRipDialog*>();
        ASSERT_NE(dialog, nullptr);
        status << dialog->StatusLine();
        dialog->accept();
    });
    main->Dispatch(kIdLoadCdTracks);
    EXPECT_EQ(status, QStringList{"3 tracks, 0:01: Test Band - Test Disc."});
    const auto& docs = main->Controller().GetDocuments();
    ASSERT_EQ(docs.size(), 3u);
    EXPECT_EQ(docs[1]->GetDisplayName(), "02 Song 2.wav");
    EXPECT_EQ(docs[1]->audio.GetLength(), 30 * 588);
    EXPECT_EQ(docs[1]->tags.album, "Test Disc");
    EXPECT_EQ(docs[1]->tags.track, 2u);
    EXPECT_TRUE(std::filesystem::exists(dir.File("rips/03 Song 3.wav")));

    QTimer::singleShot(0, frame.get(), [&]() {
        if (auto* dialog = frame->findChild<LOMCdRipDialog*>())
            dialog->reject();
    });
    main->Dispatch(kIdLoadCdTracks);
    EXPECT_EQ(main->Controller().GetDocuments().size(), 3u);
}

}  // namespace
}  // namespace osmera
