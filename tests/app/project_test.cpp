// Projects in the editor: what is open, saved as a project, closed, and opened again in a
// fresh editor (after its folder moved) is what it was, bit for bit and window for window;
// a damaged project opens nothing.
#include <gtest/gtest.h>

#include <QDir>
#include <QMdiSubWindow>
#include <QTest>
#include <filesystem>
#include <fstream>

#include "display/document_model.h"
#include "edit/src_cut_list_audio.h"
#include "tests/app/app_fixture.h"

namespace osmera {
namespace {

namespace fs = std::filesystem;

// What a document shows and holds, for comparing before and after.
struct LSeen {
    std::string name;
    std::vector<int32_t> samples;
    uint32_t rate;
    int32_t cursor, selStart, selEnd, viewStart, viewEnd;
    uint8_t modified;
    QRect geometry;
    bool minimized;
    bool operator==(const LSeen&) const = default;
};

class Project : public testing::EditorTest {
  protected:
    void SetUp() override {
        EditorTest::SetUp();
        settings.SetInt("Settings", "AutoPlaybackAfterEffects", 0);
    }

    void Fresh() {
        main.reset();
        frame.reset();
        frame = std::make_unique<LMDIMainWindow>();
        main = std::make_unique<MainDialog>(*frame, settings, prompts, clipboard);
        main->Transport().SetDeviceOpener(VirtualOutOpener(0));
        frame->resize(900, 600);
    }

    std::vector<LSeen> Seen() {
        QTest::qWait(20);
        std::vector<LSeen> seen;
        for (QMdiSubWindow* window : frame->ClientArea()->subWindowList()) {
            for (const auto& doc : main->Controller().GetDocuments()) {
                if (main->WindowOf(doc.get()) != window)
                    continue;
                std::vector<int32_t> samples(static_cast<size_t>(doc->audio.GetLength()) *
                                             doc->audio.GetChannels());
                doc->audio.MakeSource()->Read(samples.data(), doc->audio.GetLength());
                seen.push_back({doc->GetDisplayName(), samples, doc->audio.GetSampleRate(),
                                doc->cursor, doc->selStart, doc->selEnd, doc->viewStart,
                                doc->viewEnd, doc->modified, window->geometry(),
                                window->isMinimized()});
            }
        }
        return seen;
    }

    std::string Current() { return main->Controller().GetCurrent()->GetDisplayName(); }
};

TEST_F(Project, ReopensAsSavedInAFreshEditorAfterItsFolderMoved) {
    fs::create_directories(dir.File("work"));
    LOMFile& take = Open("work/take.wav");
    // An untitled document: the middle of the file copied to a new one.
    main->ModelOf(&take)->SetSelection(1000, 3000);
    ASSERT_TRUE(main->Dispatch(kIdCopyToNew));
    LOMFile& copy = *main->Controller().GetCurrent();
    ASSERT_TRUE(copy.path.empty());
    // An unsaved edit of the file, with a gain that gives values no 16-bit file holds.
    main->ModelOf(&copy)->SetCursor(700);
    main->WindowOf(&copy)->showMinimized();
    frame->ClientArea()->setActiveSubWindow(main->WindowOf(&take));
    LDocumentModel& model = *main->ModelOf(&take);
    model.SetSelection(2000, 6000);
    main->Controller().StartModifyCurrentFile("Amplify");
    take.audio.EfAmplify(2000, 6000, 33);
    main->Controller().EndModifyCurrentFile(2000, 0);
    model.SetSelection(500, 1500);
    model.SetCursor(1234);
    model.SetView(400, 4400);
    main->WindowOf(&take)->setGeometry(30, 40, 520, 270);
    ASSERT_TRUE(take.modified);

    prompts.saveAnswer = QString::fromStdString(dir.File("work/Session"));
    ASSERT_TRUE(main->Dispatch(kIdSaveProjectAs));
    EXPECT_EQ(frame->windowTitle(), "Osmera [Session.omp]");
    const std::vector<LSeen> saved = Seen();
    ASSERT_EQ(saved.size(), 2u);
    ASSERT_EQ(saved[0].name, "take.wav");
    ASSERT_EQ(saved[1].name, "Untitled 1");

    // Unchanged, it closes without a question; after a change, one question for it all.
    prompts.asked.clear();
    main->ModelOf(&take)->SetCursor(10);
    prompts.answers = {LAnswer::kNo};
    ASSERT_TRUE(main->Dispatch(kIdCloseProject));
    EXPECT_EQ(prompts.asked, QStringList{"Osmera: Save changes to \"Session.omp\"?"});
    EXPECT_TRUE(main->Controller().GetDocuments().empty());
    EXPECT_EQ(frame->windowTitle(), "Osmera");

    Fresh();
    fs::rename(dir.File("work"), dir.File("moved"));
    LRunArguments arguments;
    arguments.projects << QString::fromStdString(dir.File("moved/Session.omp"));
    ASSERT_TRUE(main->EvRunArguments(arguments)) << prompts.told.join("\n").toStdString();
    std::vector<LSeen> reopened = Seen();
    ASSERT_EQ(reopened.size(), 2u);
    EXPECT_EQ(reopened, saved);
    EXPECT_EQ(Current(), "take.wav");
    EXPECT_EQ(main->Controller().GetDocuments().front()->path, dir.File("moved/take.wav"));

    // Leaving the editor asks once for the project too; Cancel keeps it all open.
    main->ModelOf(main->Controller().GetCurrent())->SetCursor(5);
    prompts.asked.clear();
    prompts.answers = {LAnswer::kCancel};
    EXPECT_FALSE(frame->close());
    EXPECT_EQ(prompts.asked, QStringList{"Osmera: Save changes to \"Session.omp\"?"});
    EXPECT_EQ(main->Controller().GetDocuments().size(), 2u);
    main->ModelOf(main->Controller().GetCurrent())->SetCursor(reopened[0].cursor);

    // Closing it again asks nothing: nothing changed since it opened.
    prompts.asked.clear();
    ASSERT_TRUE(main->Dispatch(kIdCloseProject));
    EXPECT_TRUE(prompts.asked.isEmpty());
}

TEST_F(Project, DamagedOrIncompleteProjectOpensNothing) {
    LOMFile& doc = Open("keep.wav");
    prompts.saveAnswer = QString::fromStdString(dir.File("Good.omp"));
    ASSERT_TRUE(main->Dispatch(kIdSaveProjectAs));

    const auto refused = [&](const std::string& text, const QString& expected) {
        std::ofstream(dir.File("Bad.omp")) << text;
        prompts.told.clear();
        EXPECT_FALSE(main->OpenFile(QString::fromStdString(dir.File("Bad.omp"))));
        ASSERT_EQ(prompts.told.size(), 1);
        EXPECT_TRUE(prompts.told.front().contains(expected)) << prompts.told.front().toStdString();
        // What was open stays open, and it is still the project it was.
        ASSERT_EQ(main->Controller().GetDocuments().size(), 1u);
        EXPECT_EQ(main->Controller().GetCurrent(), &doc);
        EXPECT_EQ(main->ProjectPath(), QString::fromStdString(dir.File("Good.omp")));
    };
    refused("[project]\nformat=1\ndocuments=1\n", "[document 1] is missing");
}

}  // namespace
}  // namespace osmera
