// Text To Speech in the editor: OK makes a new untitled document of the speech with a bookmark
// per sentence and remembers the dialog's values; with the insert choice the speech goes in at
// the cursor as one undo step; an empty text is refused in the dialog.
#include <QApplication>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>
#include <QTimer>

#include "app/speech_dialog.h"
#include "platform/qt_progress.h"
#include "tests/app/app_fixture.h"

namespace osmera::testing {
namespace {

class SpeechEditorTest : public EditorTest {
  protected:
    // Answers the next dialog with `text` and the changes `fill` makes, pressing OK.
    void Answer(const QString& text, std::function<void(LSpeechDialog&)> fill = {}) {
        main->SetSpeechDialogRunner([=](LSpeechDialog& dialog) {
            dialog.SetText(text);
            if (fill)
                fill(dialog);
            dialog.accept();
            return dialog.result();
        });
    }
};

TEST_F(SpeechEditorTest, OkMakesANewDocumentWithSentenceBookmarks) {
    Answer(QStringLiteral("Good morning. How are you today?"), [](LSpeechDialog& d) {
        EXPECT_TRUE(d.SelectVoice(QStringLiteral("en-gb")));
        d.findChild<QSpinBox*>(QStringLiteral("rate"))->setValue(200);
        EXPECT_FALSE(d.InsertBox()->isEnabled()) << "no document to insert into";
    });
    main->Dispatch(kIdTextToSpeech);
    const LOMFile* doc = main->Controller().GetCurrent();
    ASSERT_NE(doc, nullptr);
    EXPECT_EQ(doc->GetDisplayName().rfind("Untitled", 0), 0u);
    EXPECT_EQ(doc->audio.GetSampleRate(), 44100u);
    EXPECT_GT(doc->audio.GetLength(), 44100);
    ASSERT_EQ(doc->markers.Bookmarks().size(), 2u);
    EXPECT_EQ(doc->markers.Bookmarks()[0].name, "Good morning");
    EXPECT_EQ(doc->markers.Bookmarks()[1].name, "How are you today");
    EXPECT_EQ(settings.GetInt("TextToSpeech", "Rate", 0), 200);
    EXPECT_EQ(settings.GetText("TextToSpeech", "Voice", ""), "gmw/en");

    // Insert at the cursor of an open document: one undo step takes audio and marks back.
    LOMFile& open = Open("speech.wav");
    open.cursor = 4000;
    Answer(QStringLiteral("Hello."), [](LSpeechDialog& d) {
        EXPECT_EQ(d.findChild<QSpinBox*>(QStringLiteral("rate"))->value(), 200) << "remembered";
        d.InsertBox()->setChecked(true);
        EXPECT_EQ(d.Params().outRate, 8000);
    });
    main->Dispatch(kIdTextToSpeech);
    ASSERT_EQ(main->Controller().GetCurrent(), &open);
    EXPECT_GT(open.audio.GetLength(), 8000 + 2000);
    ASSERT_EQ(open.markers.Bookmarks().size(), 1u);
    EXPECT_EQ(open.markers.Bookmarks()[0].position, 4000);
    main->Dispatch(kIdUndo);
    EXPECT_EQ(open.audio.GetLength(), 8000);
    EXPECT_TRUE(open.markers.Empty());

    // Nothing to say: the dialog says so and stays open; nothing changes.
    Answer(QStringLiteral("  \n "));
    const size_t documents = main->Controller().GetDocuments().size();
    main->Dispatch(kIdTextToSpeech);
    EXPECT_EQ(prompts.told.last(), "There is no text to speak: the text is empty.");
    EXPECT_EQ(main->Controller().GetDocuments().size(), documents);
    EXPECT_EQ(open.audio.GetLength(), 8000);
}

TEST_F(SpeechEditorTest, CancelStopsALongTextAndLeavesNoDocument) {
    QString text;
    for (int i = 0; i < 60; ++i)
        text += QStringLiteral("This is sentence number %1 of a long text. ").arg(i);
    Answer(text);
    LQtProgress::SetTimingForTests(0, 0);
    bool cancelled = false;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&]() {
        for (QWidget* w : QApplication::topLevelWidgets()) {
            auto* bar = w->findChild<QProgressBar*>();
            if (!w->isVisible() || !bar || bar->value() <= 0 || cancelled)
                continue;
            cancelled = true;
            w->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Cancel)->click();
        }
    });
    watch.start(0);
    main->Dispatch(kIdTextToSpeech);
    watch.stop();
    LQtProgress::SetTimingForTests(500, 30);
    EXPECT_TRUE(cancelled);
    EXPECT_TRUE(main->Controller().GetDocuments().empty());
    EXPECT_TRUE(prompts.told.isEmpty());
    EXPECT_EQ(LAudioCutTank::Instance().GetCutsInUse(), 0u);
    EXPECT_TRUE(frame->isEnabled());
}

}  // namespace
}  // namespace osmera::testing
