// The editor as a user drives it: mouse events on a file window's waveform, the keys of
// the Edit menu, Save As; the saved file must equal what the engine makes of the same
// edits. And a picture of the frame with the demo open, kept beside the test program.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QMdiSubWindow>
#include <QTest>

#include "app/command_menus.h"
#include "app/command_table.h"
#include "app/demo_audio.h"
#include "display/om_file_window.h"
#include "display/wave_view.h"
#include "edit/document_io.h"
#include "tests/app/app_fixture.h"

namespace osmera {
namespace {

using Editor = testing::EditorTest;
using testing::Bytes;
using testing::ReadBytes;

LWaveView& ViewOf(MainDialog& main, const LOMFile& doc) {
    return qobject_cast<LOMFileWindow*>(main.WindowOf(&doc)->widget())->WaveView();
}

// Lets merged model signals and the views' worker results arrive.
void Settle() {
    for (int k = 0; k < 5; ++k)
        QTest::qWait(10);
}

TEST_F(Editor, MouseAndKeysFlowSavesWhatTheEngineMakes) {
    const std::string source = MakeWave("flow.wav", 32000);  // four seconds at 8000 Hz
    frame->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(frame.get()));
    ASSERT_TRUE(main->OpenFile(QString::fromStdString(source)));
    LOMFile& doc = *main->Controller().GetCurrent();
    frame->activateWindow();
    Settle();
    LWaveView& view = ViewOf(*main, doc);
    ASSERT_GT(view.width(), 200);
    const int y = view.height() / 2;

    // Drag over one second, from 1 s to 2 s.
    const int from = static_cast<int>(view.XOfFrame(8000));
    const int to = static_cast<int>(view.XOfFrame(16000));
    QTest::mousePress(&view, Qt::LeftButton, {}, QPoint(from, y));
    QTest::mouseMove(&view, QPoint((from + to) / 2, y));
    QTest::mouseMove(&view, QPoint(to, y));
    QTest::mouseRelease(&view, Qt::LeftButton, {}, QPoint(to, y));
    const int32_t selStart = doc.selStart;
    const int32_t selEnd = doc.selEnd;
    const double column = view.FramesPerColumn().Value() + 1;
    EXPECT_NEAR(selStart, 8000, column);
    EXPECT_NEAR(selEnd - selStart, 8000, 2 * column);
    Settle();

    QTest::keyClick(&view, Qt::Key_X, Qt::ControlModifier);
    EXPECT_EQ(doc.audio.GetLength(), 32000 - (selEnd - selStart));
    Settle();
    QTest::keyClick(&view, Qt::Key_Z, Qt::ControlModifier);
    ASSERT_EQ(doc.audio.GetLength(), 32000);
    Settle();
    const int place = static_cast<int>(view.XOfFrame(28000));
    QTest::mouseClick(&view, Qt::LeftButton, {}, QPoint(place, y));
    const int32_t cursor = doc.cursor;
    EXPECT_NEAR(cursor, 28000, column);
    Settle();
    QTest::keyClick(&view, Qt::Key_V, Qt::ControlModifier);
    ASSERT_EQ(doc.audio.GetLength(), 32000 + (selEnd - selStart));
    prompts.saveAnswer = QString::fromStdString(dir.File("edited.wav"));
    main->Menus().Action(kIdSaveFileAs)->trigger();

    // The same edits through the engine's controller alone.
    LDocumentController engine(settings);
    ASSERT_EQ(engine.OpenDocument(source, nullptr), kJobDone);
    LOMFile& same = *engine.GetCurrent();
    same.SetSelection(selStart, selEnd);
    ASSERT_EQ(engine.CmCut(), LEditResult::kDone);
    engine.CmUndo();
    same.cursor = cursor;
    ASSERT_EQ(engine.CmPaste(), LEditResult::kDone);
    ASSERT_EQ(engine.SaveCurrentFile(dir.File("engine.wav"), 0, nullptr), kJobDone);
    const Bytes saved = ReadBytes(dir.File("edited.wav"));
    EXPECT_LT(saved.size() - 2u * (32000u + static_cast<uint32_t>(selEnd - selStart)), 64u);
    EXPECT_TRUE(saved == ReadBytes(dir.File("engine.wav")));
}

// The frame with the demo in a file window, drawn to a PNG beside the test program (the
// README's picture). The demo's chord shows as a waveform, its pause as a flat line.
TEST_F(Editor, ScreenshotOfTheFrameWithTheDemo) {
    frame->resize(1000, 620);
    frame->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(frame.get()));
    ASSERT_TRUE(main->OpenDemoFile());
    LOMFile& doc = *main->Controller().GetCurrent();
    EXPECT_EQ(doc.audio.GetLength(), static_cast<int32_t>(kDemoSeconds * kDemoSampleRate));
    EXPECT_FALSE(doc.modified);
    main->WindowOf(&doc)->showMaximized();
    main->ModelOf(&doc)->SetSelection(int32_t{kDemoSampleRate} * 2, int32_t{kDemoSampleRate} * 3);
    LWaveView& view = ViewOf(*main, doc);
    QTRY_VERIFY_WITH_TIMEOUT(view.IsComplete(), 10000);
    Settle();
    const auto columnOf = [&view](double seconds) {
        return static_cast<int>(view.XOfFrame(static_cast<int64_t>(seconds * kDemoSampleRate)));
    };
    const LPeakRange* chord = view.ColumnPeaks(columnOf(0.5));
    const LPeakRange* pause = view.ColumnPeaks(columnOf(1.8));
    ASSERT_TRUE(chord && pause);
    EXPECT_GT(chord->max - chord->min, 100000);
    EXPECT_EQ(pause->max - pause->min, 0);

    const QString path = QDir(QCoreApplication::applicationDirPath()).filePath("screenshot.png");
    const QPixmap shot = frame->grab();
    ASSERT_TRUE(shot.save(path, "PNG"));
    EXPECT_EQ(shot.size(), frame->size());
}

}  // namespace
}  // namespace osmera
