// The Envelope command: its point editor under the mouse and keyboard, and the dialog run
// by the effect driver from the Envelope handler (OK keeps the points in "envelope.dat"
// and applies exactly the engine's envelope; Cancel leaves file and document alone).
#include <QApplication>
#include <QMouseEvent>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <functional>

#include "app/envelope_dialog.h"
#include "display/envelope_editor.h"
#include "tests/app/app_fixture.h"

namespace osmera::testing {
namespace {

void Send(QWidget& w, QEvent::Type type, Qt::MouseButton button, Qt::MouseButtons held,
          QPoint pos) {
    QMouseEvent event(type, QPointF(pos), w.mapToGlobal(QPointF(pos)), button, held,
                      Qt::NoModifier);
    QApplication::sendEvent(&w, &event);
}

void Click(QWidget& w, QPoint pos, Qt::MouseButton button = Qt::LeftButton) {
    Send(w, QEvent::MouseButtonPress, button, button, pos);
    Send(w, QEvent::MouseButtonRelease, button, Qt::NoButton, pos);
}

void Drag(QWidget& w, QPoint from, QPoint to) {
    Send(w, QEvent::MouseButtonPress, Qt::LeftButton, Qt::LeftButton, from);
    Send(w, QEvent::MouseMove, Qt::NoButton, Qt::LeftButton, (from + to) / 2);
    Send(w, QEvent::MouseMove, Qt::NoButton, Qt::LeftButton, to);
    Send(w, QEvent::MouseButtonRelease, Qt::LeftButton, Qt::NoButton, to);
}

std::vector<int32_t> Samples(const LCutListAudio& audio) {
    auto source = audio.MakeSource();
    std::vector<int32_t> out(static_cast<size_t>(audio.GetLength()) * audio.GetChannels());
    source->Read(out.data(), audio.GetLength());
    return out;
}

TEST(EnvelopeEditorTest, MouseAndDeleteKeyAddMoveAndRemovePoints) {
    LEnvelopeEditor editor;
    editor.resize(300, 160);
    ASSERT_EQ(editor.Points(), FlatPoints());

    const QPoint first = editor.ToWidget({100, 200});
    Click(editor, first);
    ASSERT_EQ(editor.Points().size(), 3u);
    EXPECT_EQ(editor.Points()[1], editor.FromWidget(first));
    // A point left of the first added one goes before it: the list stays in rising x.
    Click(editor, editor.ToWidget({50, 60}));
    ASSERT_EQ(editor.Points().size(), 4u);
    EXPECT_LT(editor.Points()[1].x, editor.Points()[2].x);

    // Dragged past its neighbour a point stops at the neighbour's x; the ends keep theirs.
    const uint8_t neighbour = editor.Points()[2].x;
    Drag(editor, editor.ToWidget(editor.Points()[1]), editor.ToWidget({180, 20}));
    EXPECT_EQ(editor.Points()[1].x, neighbour);
    EXPECT_EQ(editor.Points()[1].y, editor.FromWidget(editor.ToWidget({180, 20})).y);
    Drag(editor, editor.ToWidget(editor.Points()[0]), editor.ToWidget({120, 255}));
    EXPECT_EQ(editor.Points()[0], (LEnvelopePoint{0, 255}));
    Drag(editor, editor.ToWidget(editor.Points()[3]), editor.ToWidget({10, 0}));
    EXPECT_EQ(editor.Points()[3], (LEnvelopePoint{255, 0}));

    // Right-click removes a point, but never an end; Delete removes the selected one.
    Click(editor, editor.ToWidget(editor.Points()[3]), Qt::RightButton);
    EXPECT_EQ(editor.Points().size(), 4u);
    const LEnvelopePoint kept = editor.Points()[2];
    Click(editor, editor.ToWidget(editor.Points()[1]), Qt::RightButton);
    ASSERT_EQ(editor.Points().size(), 3u);
    EXPECT_EQ(editor.Points()[1], kept);
    Click(editor, editor.ToWidget(kept));
    QTest::keyClick(&editor, Qt::Key_Delete);
    EXPECT_EQ(editor.Points(), (LPointList{{0, 255}, {255, 0}}));
}

class EnvelopeCommandTest : public EditorTest {
  protected:
    // Runs the Envelope command; `inDialog` acts on the dialog once it is shown.
    void RunEnvelope(const std::function<void(LEnvelopeDialog&)>& inDialog) {
        bool shown = false;
        QTimer::singleShot(0, frame.get(), [&]() {
            LEnvelopeDialog* dialog = frame->findChild<LEnvelopeDialog*>();
            ASSERT_NE(dialog, nullptr);
            ASSERT_TRUE(dialog->isVisible());
            shown = true;
            inDialog(*dialog);
        });
        ASSERT_TRUE(main->Dispatch(kIdEnvelope));
        EXPECT_TRUE(shown);
    }
    std::string PointFile() { return dir.File("envelope.dat"); }
};

TEST_F(EnvelopeCommandTest, OkKeepsThePointsAndAppliesTheEnginesEnvelopeUndoably) {
    LOMFile& doc = Open("a.wav");
    doc.SetSelection(2000, 6000);
    const LCutListAudio before = doc.audio;
    LPointList points;
    RunEnvelope([&](LEnvelopeDialog& dialog) {
        LEnvelopeEditor& editor = dialog.Editor();
        EXPECT_EQ(editor.Points(), FlatPoints());  // no file yet
        Click(editor, editor.ToWidget({128, 40}));
        Drag(editor, editor.ToWidget(editor.Points().back()), editor.ToWidget({255, 200}));
        points = editor.Points();
        dialog.accept();
    });
    ASSERT_EQ(points.size(), 3u);

    Bytes expectedFile{3};
    for (const LEnvelopePoint& p : points)
        expectedFile.insert(expectedFile.end(), {p.x, p.y});
    EXPECT_EQ(ReadBytes(PointFile()), expectedFile);

    LCutListAudio expected = before;
    LNullProgress progress;
    LEffectRequest request{&expected, 6000, 2000, {}};
    ASSERT_EQ(Envelope(progress, request, points, "Envelope"), kJobDone);
    const std::vector<int32_t> original = Samples(before);
    ASSERT_NE(Samples(expected), original);
    EXPECT_EQ(Samples(doc.audio), Samples(expected));
    EXPECT_EQ(doc.CurrentUndoStep().undoName, "Envelope");

    main->Controller().CmUndo();
    EXPECT_EQ(Samples(doc.audio), original);
}

TEST_F(EnvelopeCommandTest, CancelChangesNothingAndResetGoesBackToFlat) {
    LOMFile& doc = Open("a.wav");
    const LPointList stored{{0, 64}, {128, 255}, {255, 64}};
    ASSERT_TRUE(SavePointList(PointFile(), stored));
    const Bytes file = ReadBytes(PointFile());
    const std::vector<int32_t> original = Samples(doc.audio);
    const std::string undoBefore = doc.CurrentUndoStep().undoName;

    RunEnvelope([&](LEnvelopeDialog& dialog) {
        EXPECT_EQ(dialog.Editor().Points(), stored);  // starts from the file
        Click(dialog.Editor(), dialog.Editor().ToWidget({30, 30}));
        dialog.reject();
    });
    EXPECT_EQ(ReadBytes(PointFile()), file);
    EXPECT_EQ(Samples(doc.audio), original);
    EXPECT_EQ(doc.CurrentUndoStep().undoName, undoBefore);

    // Without a selection the whole file is the range; Reset keeps the flat envelope.
    RunEnvelope([&](LEnvelopeDialog& dialog) {
        dialog.findChild<QPushButton*>(QStringLiteral("reset"))->click();
        EXPECT_EQ(dialog.Editor().Points(), FlatPoints());
        dialog.accept();
    });
    EXPECT_EQ(ReadBytes(PointFile()), (Bytes{2, 0, 128, 255, 128}));
    EXPECT_EQ(doc.selStart, 0);
    EXPECT_EQ(doc.selEnd, 8000);
    EXPECT_EQ(doc.CurrentUndoStep().undoName, "Envelope");
}

}  // namespace
}  // namespace osmera::testing
