// The waveform control: the peaks its thread computes for a known signal, its column and
// sample mappings, and how much a move of the view recomputes.

#include "display/wave_window.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QSignalSpy>

#include "core/generator_sources.h"

namespace osmera {
namespace {

// A mono ramp: sample i is i * 100, so column c of a 10-samples-per-column view peaks at
// (10 c + 9) * 100.
LRef<LSoundSourceBase> Ramp(int32_t frames) {
    std::vector<int32_t> s(static_cast<size_t>(frames));
    for (int32_t i = 0; i < frames; ++i)
        s[static_cast<size_t>(i)] = i * 100;
    return MakeRef<LSRCSampleVector>(44100, 1, std::move(s));
}

class WaveWindowTest : public ::testing::Test {
  protected:
    // A control of 100 columns by 100 pixels showing the ramp.
    void SetUp() override {
        w.resize(102, 101);
        w.show();
        w.SetSource(Ramp(20000));
        w.SetLength(20000);
        w.Start();
    }
    // Sets the view and waits until the thread has applied it.
    void Show(int32_t first, int32_t count) {
        QSignalSpy spy(&w, &LWaveWindow::viewApplied);
        w.SetView(first, count);
        for (int i = 0; i < 50 && !w.HasApplied(first, count); ++i)
            spy.wait(100);
        ASSERT_TRUE(w.HasApplied(first, count));
        QApplication::processEvents();
    }
    uint8_t Expected(int32_t first, int c) const {
        return LWaveWindow::PeakByte(int64_t{first + 10 * c + 9} * 100);
    }

    LWaveWindow w;
};

TEST_F(WaveWindowTest, ColumnsOfAKnownSignal) {
    Show(0, 1000);
    EXPECT_EQ(w.ClientWidth(), 100);
    for (int c = 0; c < 100; ++c)
        ASSERT_EQ(w.ColumnByte(c), Expected(0, c)) << c;
    EXPECT_EQ(w.col(55), 5);
    EXPECT_EQ(w.col(5000), 100);  // limited to the width
    EXPECT_EQ(w.sample(7), 70);

    // A bar of 255 in a control 200 pixels high is 99 pixels on each side.
    EXPECT_EQ(LWaveWindow::PeakByte(261120), 255);
    EXPECT_EQ(LWaveWindow::PeakByte(261121), 255);
    EXPECT_EQ(LWaveWindow::PeakByte(1024), 1);
    EXPECT_EQ(LWaveWindow::BarHalfHeight(255, 200), 99);

    // The drawn bar of column 50 (peak byte 4): the window-text colour 2 * 1 + 1 rows high.
    w.SetSelection(0, 0);
    const QImage image = w.grab().toImage();
    const QColor text = w.palette().color(QPalette::WindowText);
    int rows = 0;
    for (int y = 1; y < 100; ++y)
        rows += image.pixelColor(51, y) == text;
    EXPECT_EQ(rows, 2 * LWaveWindow::BarHalfHeight(Expected(0, 50), 100) + 1);
}

TEST_F(WaveWindowTest, MovesRecomputeOnlyWhatCameIntoView) {
    Show(0, 1000);
    Show(100, 1000);  // forward by 10 columns: the last 11 are recomputed, the rest moved
    EXPECT_EQ(w.LastRecomputed(), (std::pair{89, 100}));
    for (int c = 0; c < 100; ++c)
        ASSERT_EQ(w.ColumnByte(c), Expected(100, c)) << c;
    Show(50, 1000);  // back by 5
    EXPECT_EQ(w.LastRecomputed(), (std::pair{0, 7}));
    for (int c = 0; c < 100; ++c)
        ASSERT_EQ(w.ColumnByte(c), Expected(50, c)) << c;
    Show(5000, 1000);  // more than the width: everything, no scroll
    EXPECT_EQ(w.LastRecomputed(), (std::pair{0, 100}));
    EXPECT_EQ(w.ColumnByte(0), Expected(5000, 0));
}

TEST_F(WaveWindowTest, EmptyViewAndNarrowControl) {
    Show(0, 0);
    EXPECT_EQ(w.col(0), -1);
    EXPECT_EQ(w.col(500), -1);
    const QImage image = w.grab().toImage();
    const QColor text = w.palette().color(QPalette::WindowText);
    for (int x = 1; x <= 100; ++x)
        ASSERT_NE(image.pixelColor(x, 50), text) << x;  // no wave anywhere

    // 5 columns use 8 for the pixel-per-sample ratio: 80 samples in view are 10 per pixel.
    w.resize(7, 50);
    QApplication::processEvents();
    Show(0, 80);
    EXPECT_EQ(w.sample(1), 10);
    EXPECT_EQ(w.col(45), 4);
    EXPECT_EQ(w.col(79), 5);
}

}  // namespace
}  // namespace osmera
