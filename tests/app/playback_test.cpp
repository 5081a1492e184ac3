// Playback in the editor through the file output device: what a selection, a repeat and
// the two speeds write; the play position while playing; scrubbing while paused; the
// cursor after Stop. The ramp document (frame i holds 7 * i) tells where each written
// frame came from.
#include <gtest/gtest.h>

#include <QAction>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <cstdlib>

#include "app/editor_transport.h"
#include "display/om_file_window.h"
#include "display/wave_view.h"
#include "formats/open_audio_source.h"
#include "tests/app/app_fixture.h"

namespace osmera {
namespace {

class Playback : public testing::EditorTest {
  protected:
    // The 16-bit values of the file the output device wrote.
    std::vector<int32_t> Written() {
        LSourceRef source = OpenAudioSource(out);
        EXPECT_TRUE(source->IsOk());
        std::vector<int32_t> v(static_cast<size_t>(source->GetLengthSample()));
        if (!v.empty())
            source->Read(v.data(), static_cast<int32_t>(v.size()));
        for (int32_t& x : v)
            x /= 16;
        return v;
    }
    static int32_t Ramp(int64_t frame) { return static_cast<int16_t>(frame * 7); }
    void UseFile(double speed) { main->Transport().SetDeviceOpener(VirtualOutOpener(speed, out)); }
    bool WaitStopped(int ms = 10000) {
        QElapsedTimer t;
        t.start();
        while (main->Transport().IsActive() && t.elapsed() < ms)
            QTest::qWait(5);
        return !main->Transport().IsActive();
    }
    LWaveView& View(const LOMFile& doc) {
        return qobject_cast<LOMFileWindow*>(main->WindowOf(&doc)->widget())->WaveView();
    }
    std::string out = dir.File("out.wav");
};

TEST_F(Playback, SelectionAtEachSpeedWritesItsSamplesAndKeepsTheCursor) {
    LOMFile& doc = Open("a.wav");
    doc.cursor = 500;
    doc.SetSelection(1000, 3000);
    UseFile(0);
    ASSERT_TRUE(main->Dispatch(kIdPlay));
    ASSERT_TRUE(WaitStopped());
    const std::vector<int32_t> normal = Written();
    ASSERT_EQ(normal.size(), 2000u);
    for (size_t i = 0; i < normal.size(); ++i)
        ASSERT_EQ(normal[i], Ramp(1000 + static_cast<int64_t>(i))) << i;
    EXPECT_EQ(doc.cursor, 500);

    // Slow and fast play through the rate converter: twice and half as many frames, and
    // the speed stays for the next Play until Normal.
    ASSERT_TRUE(main->Dispatch(kIdPlaySlow));
    ASSERT_TRUE(WaitStopped());
    EXPECT_NEAR(static_cast<double>(Written().size()), 4000, 2);
    ASSERT_TRUE(main->Dispatch(kIdPlay));
    ASSERT_TRUE(WaitStopped());
    EXPECT_NEAR(static_cast<double>(Written().size()), 4000, 2);
    ASSERT_TRUE(main->Dispatch(kIdPlayFast));
    ASSERT_TRUE(WaitStopped());
    const std::vector<int32_t> fast = Written();
    EXPECT_NEAR(static_cast<double>(fast.size()), 1000, 2);
    // Double speed keeps every other frame of the ramp (less the filter's ripple).
    EXPECT_NEAR(fast[500], Ramp(2000), 40);
    ASSERT_TRUE(main->Dispatch(kIdPlayNormal));
    ASSERT_TRUE(WaitStopped());
    EXPECT_EQ(Written(), normal);
    EXPECT_EQ(doc.cursor, 500);
}

TEST_F(Playback, RepeatLoopsTheSelectionUntilStopped) {
    LOMFile& doc = Open("a.wav");
    doc.SetSelection(2000, 2400);
    UseFile(8);
    ASSERT_TRUE(main->Dispatch(kIdPlayRepeat));
    QTest::qWait(500);  // four seconds of sound at eight times real time
    EXPECT_TRUE(main->Transport().IsActive());
    ASSERT_TRUE(main->Dispatch(kIdStop));
    EXPECT_FALSE(main->Transport().IsActive());
    const std::vector<int32_t> w = Written();
    ASSERT_GE(w.size(), 3u * 400u);
    for (size_t i = 0; i < w.size(); ++i)
        ASSERT_EQ(w[i], Ramp(2000 + static_cast<int64_t>(i % 400))) << i;
    EXPECT_EQ(doc.cursor, 0);
}

TEST_F(Playback, PositionRisesToTheEndAndTheViewFollows) {
    LOMFile& doc = Open("a.wav");
    LWaveView& view = View(doc);
    view.setFixedWidth(400);
    UseFile(4);
    main->Dispatch(kIdZoomIn);
    main->Dispatch(kIdZoomIn);  // a quarter of the file in view
    QTest::qWait(20);
    std::vector<int32_t> seen;
    QObject::connect(&main->Transport(), &LEditorTransport::positionShown,
                     [&](int32_t frame) { seen.push_back(frame); });
    ASSERT_TRUE(main->Dispatch(kIdPlay));
    LDocumentModel* playing = main->Transport().PlayingModel();
    ASSERT_NE(playing, nullptr);
    int32_t highestViewStart = 0;
    QElapsedTimer t;
    t.start();
    while (main->Transport().IsActive() && t.elapsed() < 10000) {
        QTest::qWait(5);
        highestViewStart = std::max(highestViewStart, doc.viewStart);
    }
    ASSERT_FALSE(main->Transport().IsActive());
    ASSERT_GE(seen.size(), 3u);
    EXPECT_EQ(playing->PlayPosition(), -1);  // the line goes when playing ends
    for (size_t i = 1; i < seen.size(); ++i)
        ASSERT_LE(seen[i - 1], seen[i]) << i;
    EXPECT_EQ(seen.back(), 8000);
    EXPECT_GE(highestViewStart, 4000);  // followed page by page
}

TEST_F(Playback, ScrubbingWhilePausedLoopsTheSnippetUnderThePointer) {
    LOMFile& doc = Open("a.wav");
    frame->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(frame.get()));
    QTest::qWait(20);
    UseFile(1);
    ASSERT_TRUE(main->Dispatch(kIdPlay));
    QTest::qWait(50);
    main->PauseAction()->trigger();
    ASSERT_TRUE(main->Transport().IsPaused());
    LWaveView& view = View(doc);
    const int y = view.height() / 2;
    const int x1 = static_cast<int>(view.XOfFrame(4000)),
              x2 = static_cast<int>(view.XOfFrame(6000));
    QTest::mousePress(&view, Qt::LeftButton, {}, QPoint(x1, y));
    QTest::mouseMove(&view, QPoint(x2, y));
    QTest::qWait(300);  // the snippet at x2 loops meanwhile
    QTest::mouseRelease(&view, Qt::LeftButton, {}, QPoint(x2, y));
    const int32_t at = view.FrameAt(x2);
    EXPECT_TRUE(main->Transport().IsPaused());
    EXPECT_EQ(main->Transport().PlayFrame(), at);
    ASSERT_TRUE(main->Dispatch(kIdStop));
    EXPECT_EQ(doc.cursor, 0);
    EXPECT_EQ(doc.selStart, doc.selEnd);

    // The snippet (a quarter of a 100 ms buffer) from the frame under the pointer, at
    // least twice in a row.
    const std::vector<int32_t> w = Written();
    const size_t q = 200;
    int runs = 0;
    for (size_t i = 0; i + q <= w.size(); ++i) {
        if (w[i] != Ramp(at))
            continue;
        bool whole = true;
        for (size_t k = 0; k < q && whole; ++k)
            whole = w[i + k] == Ramp(at + static_cast<int64_t>(k));
        runs += whole;
    }
    EXPECT_GE(runs, 2);
}

}  // namespace
}  // namespace osmera
