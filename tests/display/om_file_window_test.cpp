// The file window on a known document: the columns it draws, the selection the mouse makes,
// zooming around the pointer, redrawing after an edit (only what changed), the model's
// signals merged per event-loop turn, and a picture of it.

#include "display/om_file_window.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <cmath>

#include "display/overview_strip.h"
#include "display/wave_view.h"
#include "edit/audio_cut_tank.h"
#include "edit/snk_cut_list_audio.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

constexpr int32_t kRate = 44100;
constexpr int32_t kFrames = 4 * kRate;

class FileWindowTest : public ::testing::Test {
  protected:
    void SetUp() override {
        LAudioCutTank::Instance().Reset();
        LAudioCutTank::Instance().SetFolder(dir_.Path().string());
        // Left: a 440 Hz tone at half scale; right: 660 Hz at a quarter; then one second
        // of silence from 2 s on.
        std::vector<int32_t> s(static_cast<size_t>(kFrames) * 2);
        for (int32_t i = 0; i < kFrames; ++i) {
            s[2 * i] = static_cast<int32_t>(262144 * std::sin(i * 2 * M_PI * 440 / kRate));
            s[2 * i + 1] = static_cast<int32_t>(131072 * std::sin(i * 2 * M_PI * 660 / kRate));
        }
        {
            auto sink = doc_->audio.MakeSink(kRate, 2);
            sink->Write(s.data(), kFrames);
        }
        doc_->audio.EfSilence(2 * kRate, 3 * kRate);
        model_ = std::make_unique<LDocumentModel>(*doc_);
        window_ = std::make_unique<LOMFileWindow>(*model_);
        window_->resize(900, 420);
        window_->show();
        WaitDrawn();
    }
    void TearDown() override {
        window_.reset();
        model_.reset();
        doc_.reset();
        LAudioCutTank::Instance().Reset();
    }
    LWaveView& View() { return window_->WaveView(); }
    void WaitDrawn() {
        for (int i = 0; i < 500 && !(View().IsComplete() && window_->Overview().IsComplete()); ++i)
            QTest::qWait(10);
        ASSERT_TRUE(View().IsComplete());
        QApplication::processEvents();
    }
    LOMFile& Doc() { return *doc_; }

    testing::TempDir dir_;
    std::unique_ptr<LOMFile> doc_ = std::make_unique<LOMFile>(kRate, 2);
    std::unique_ptr<LDocumentModel> model_;
    std::unique_ptr<LOMFileWindow> window_;
};

TEST_F(FileWindowTest, DrawsTheColumnsOfAKnownDocument) {
    EXPECT_EQ(Doc().viewStart, 0);
    EXPECT_EQ(Doc().viewEnd, kFrames);
    LWaveView& v = View();
    int tone = 0, silent = 0;
    for (int x = 0; x < v.width(); ++x) {
        const LPeakRange* p = v.ColumnPeaks(x);
        ASSERT_NE(p, nullptr) << x;
        const int64_t f0 = v.FramesPerColumn().Boundary(v.FirstColumn() + x);
        const int64_t f1 = v.FramesPerColumn().Boundary(v.FirstColumn() + x + 1);
        if (f1 <= 2 * kRate - 256) {  // the tones: the graph records' peaks of each channel
            ++tone;
            EXPECT_NEAR(p[0].max, 262144, 2048) << x;
            EXPECT_NEAR(p[0].min, -262144, 2048) << x;
            EXPECT_NEAR(p[1].max, 131072, 2048) << x;
        } else if (f0 >= 2 * kRate + 256 && f1 <= 3 * kRate) {
            ++silent;
            EXPECT_EQ(p[0], LPeakRange{}) << x;
            EXPECT_EQ(p[1], LPeakRange{}) << x;
        }
    }
    EXPECT_GT(tone, 300);
    EXPECT_GT(silent, 150);

    // The picture, kept under the build folder.
    Doc().SetSelection(kRate / 2, kRate);
    Doc().cursor = kRate / 2;
    model_->NotifyStateChanged();
    QApplication::processEvents();
    const QImage shot = window_->grab().toImage();
    EXPECT_TRUE(shot.save(OSMERA_TEST_OUTPUT "/file_window.png"));
}

TEST_F(FileWindowTest, MouseSelects) {
    LWaveView& v = View();
    const int32_t at100 = v.FrameAt(100), at300 = v.FrameAt(300), at400 = v.FrameAt(400);
    QTest::mouseClick(&v, Qt::LeftButton, {}, QPoint(100, 50));
    EXPECT_EQ(Doc().cursor, at100);
    EXPECT_EQ(Doc().selStart, Doc().selEnd);

    QTest::mousePress(&v, Qt::LeftButton, {}, QPoint(300, 50));
    QTest::mouseMove(&v, QPoint(200, 60));
    QTest::mouseRelease(&v, Qt::LeftButton, {}, QPoint(100, 60));
    EXPECT_EQ(Doc().selStart, at100);
    EXPECT_EQ(Doc().selEnd, at300);

    QTest::mouseClick(&v, Qt::LeftButton, Qt::ShiftModifier, QPoint(400, 50));
    EXPECT_EQ(Doc().selStart, at100);
    EXPECT_EQ(Doc().selEnd, at400);

    QTest::mouseDClick(&v, Qt::LeftButton, {}, QPoint(250, 50));
    EXPECT_EQ(Doc().selStart, 0);
    EXPECT_EQ(Doc().selEnd, kFrames);
}

TEST_F(FileWindowTest, ZoomKeepsTheFrameUnderThePointer) {
    LWaveView& v = View();
    for (int notch = 0; notch < 12; ++notch) {  // down to single frames
        const int x = 150 + 37 * notch;
        const int32_t before = v.FrameAt(x);
        QWheelEvent wheel(QPointF(x, 40), v.mapToGlobal(QPointF(x, 40)), {}, QPoint(0, 120),
                          Qt::NoButton, Qt::ControlModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&v, &wheel);
        const double frameWidth = std::max(1.0, v.FramesPerColumn().Value());
        EXPECT_LE(std::abs(v.FrameAt(x) - before), frameWidth + 1) << notch;
    }
    EXPECT_EQ(Doc().viewEnd - Doc().viewStart, model_->MinimumSpan());
    WaitDrawn();  // frames drawn as points and lines

    model_->ZoomFull();
    EXPECT_EQ(Doc().viewEnd - Doc().viewStart, kFrames);
    model_->ZoomOut();  // never beyond the whole file
    EXPECT_EQ(Doc().viewEnd - Doc().viewStart, kFrames);
    Doc().SetSelection(kRate, 2 * kRate);
    model_->ZoomToSelection();
    QApplication::processEvents();  // the model signals at the end of the turn
    EXPECT_EQ(Doc().viewStart, kRate);
    EXPECT_EQ(window_->ScrollBar().value(), kRate);
    EXPECT_EQ(window_->ScrollBar().pageStep(), kRate);
}

TEST_F(FileWindowTest, RedrawsAfterAnEdit) {
    Doc().audio.EfDelete(0, 2 * kRate);  // the silence now comes first
    model_->NotifyAudioChanged(0, -1);
    model_->ZoomFull();
    WaitDrawn();
    const LPeakRange* p = View().ColumnPeaks(10);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p[0], LPeakRange{});
    const LPeakRange* last = View().ColumnPeaks(View().width() - 5);
    ASSERT_NE(last, nullptr);
    EXPECT_GT(last[0].max, 250000);
}

TEST_F(FileWindowTest, ABurstOfChangesSignalsOnceAndRedrawsOnlyWhatChanged) {
    QSignalSpy audio(model_.get(), &LDocumentModel::audioChanged);
    QSignalSpy view(model_.get(), &LDocumentModel::viewChanged);
    QSignalSpy cursor(model_.get(), &LDocumentModel::cursorChanged);
    model_->SetCursor(10);
    model_->SetCursor(20);
    model_->SetView(0, kFrames / 2);
    model_->ZoomFull();
    Doc().audio.EfSilence(kRate / 2, kRate);  // same length: only these frames change
    model_->NotifyAudioChanged(kRate / 2, kRate);
    model_->NotifyAudioChanged(kRate * 3 / 4, kRate * 3 / 4 + 10);
    EXPECT_EQ(audio.count() + view.count() + cursor.count(), 0);
    EXPECT_FALSE(View().IsComplete());
    model_->Flush();
    ASSERT_EQ(audio.count(), 1);
    EXPECT_EQ(audio[0][0].toInt(), kRate / 2);
    EXPECT_EQ(audio[0][1].toInt(), kRate);
    EXPECT_EQ(view.count(), 1);
    EXPECT_EQ(cursor.count(), 1);

    // The columns outside the edit keep their peaks; those inside wait for the worker.
    LWaveView& v = View();
    const int64_t x0 = v.XOfFrame(kRate / 2), x1 = v.XOfFrame(kRate);
    for (int x = 0; x < v.width(); ++x) {
        if (x < x0 - 1 || x > x1) {
            EXPECT_NE(v.ColumnPeaks(x), nullptr) << x;
        } else if (x > x0 && x < x1) {
            EXPECT_EQ(v.ColumnPeaks(x), nullptr) << x;
        }
    }
    WaitDrawn();
    EXPECT_EQ(v.ColumnPeaks(static_cast<int>(x0 + x1) / 2)[0], LPeakRange{});

    // A length change reaches the end of the audio, whatever comes after it in the turn.
    model_->NotifyAudioChanged(3 * kRate, -1);
    model_->NotifyAudioChanged(100, 200);
    QApplication::processEvents();
    ASSERT_EQ(audio.count(), 2);
    EXPECT_EQ(audio[1][0].toInt(), 100);
    EXPECT_EQ(audio[1][1].toInt(), -1);
}

// The play line follows the document page by page, scrubbing replaces selecting while
// paused, and the line is gone when playing ends.
TEST_F(FileWindowTest, PlayLineFollowsByPagesAndDragScrubsWhilePaused) {
    model_->SetView(0, kRate);  // one second of four
    model_->Flush();
    model_->SetPlayPosition(kRate / 2);
    model_->Flush();
    EXPECT_EQ(doc_->viewStart, 0);  // in view: the view stays
    model_->SetPlayPosition(kRate + 10);
    model_->Flush();
    EXPECT_EQ(doc_->viewStart, kRate);  // ran off the right edge: the next page
    EXPECT_EQ(doc_->viewEnd, 2 * kRate);
    model_->SetPlayPosition(100);  // a repeat starting over: the page that starts with it
    model_->Flush();
    EXPECT_EQ(doc_->viewStart, 100);

    QSignalSpy started(model_.get(), &LDocumentModel::scrubStarted);
    QSignalSpy moved(model_.get(), &LDocumentModel::scrubMoved);
    QSignalSpy ended(model_.get(), &LDocumentModel::scrubEnded);
    const int y = View().height() / 2;
    model_->SetScrubEnabled(true);
    QTest::mousePress(&View(), Qt::LeftButton, {}, QPoint(100, y));
    QTest::mouseMove(&View(), QPoint(300, y));
    QTest::mouseRelease(&View(), Qt::LeftButton, {}, QPoint(300, y));
    ASSERT_EQ(started.size(), 1);
    ASSERT_GE(moved.size(), 1);
    ASSERT_EQ(ended.size(), 1);
    EXPECT_EQ(started.front().front().toInt(), View().FrameAt(100));
    EXPECT_EQ(ended.front().front().toInt(), View().FrameAt(300));
    EXPECT_EQ(model_->PlayPosition(), View().FrameAt(300));
    EXPECT_EQ(doc_->selStart, doc_->selEnd);  // nothing selected by the drag

    model_->SetScrubEnabled(false);
    model_->SetPlayPosition(-1);
    QTest::mousePress(&View(), Qt::LeftButton, {}, QPoint(100, y));
    QTest::mouseMove(&View(), QPoint(300, y));
    QTest::mouseRelease(&View(), Qt::LeftButton, {}, QPoint(300, y));
    EXPECT_EQ(started.size(), 1);
    EXPECT_LT(doc_->selStart, doc_->selEnd);  // selecting again
}

}  // namespace
}  // namespace osmera
