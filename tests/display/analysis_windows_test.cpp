// The Frequency Analysis and Temporal Frequency Analysis windows on a known document: each
// shows the peak of its tone, follows the document, and the spectrogram selects in it.

#include <gtest/gtest.h>

#include <QApplication>
#include <QFile>
#include <QListWidget>
#include <QTest>
#include <cmath>

#include "display/spectrogram_window.h"
#include "display/spectrum_window.h"
#include "edit/audio_cut_tank.h"
#include "edit/snk_cut_list_audio.h"
#include "tests/support/test_support.h"

namespace osmera {
namespace {

constexpr int32_t kRate = 44100;
constexpr int32_t kFrames = 4 * kRate;

class AnalysisWindowTest : public ::testing::Test {
  protected:
    void SetUp() override {
        LAudioCutTank::Instance().Reset();
        LAudioCutTank::Instance().SetFolder(dir_.Path().string());
        // Left 440 Hz at half scale, right 3 kHz at a quarter; from 2 s on 6 kHz on both.
        std::vector<int32_t> s(static_cast<size_t>(kFrames) * 2);
        for (int32_t i = 0; i < kFrames; ++i) {
            const bool late = i >= 2 * kRate;
            s[2 * i] =
                static_cast<int32_t>(262144 * std::sin(i * 2 * M_PI * (late ? 6000 : 440) / kRate));
            s[2 * i + 1] = static_cast<int32_t>(
                131072 * std::sin(i * 2 * M_PI * (late ? 6000 : 3000) / kRate));
        }
        {
            auto sink = doc_->audio.MakeSink(kRate, 2);
            sink->Write(s.data(), kFrames);
        }
        doc_->viewStart = 0;
        doc_->viewEnd = kFrames;
        model_ = std::make_unique<LDocumentModel>(*doc_);
    }
    void TearDown() override {
        model_.reset();
        doc_.reset();
        LAudioCutTank::Instance().Reset();
    }

    testing::TempDir dir_;
    std::unique_ptr<LOMFile> doc_ = std::make_unique<LOMFile>();
    std::unique_ptr<LDocumentModel> model_;
};

TEST_F(AnalysisWindowTest, SpectrumShowsTheSelectionsPeaksAndExportsThem) {
    LOMSpectrumWindow window(*model_);
    window.resize(760, 420);
    window.show();
    model_->SetSelection(0, kRate);
    model_->Flush();
    ASSERT_FALSE(window.Spectrum().Empty());
    ASSERT_EQ(window.Spectrum().levels.size(), 2u);
    ASSERT_FALSE(window.Peaks().empty());
    EXPECT_NEAR(window.Peaks()[0].frequency, 440.0, 3.0);
    window.SetWindow(LFftWindow::kFlatTop);
    EXPECT_NEAR(window.Spectrum().LevelAt(0, 440.0), -6.0, 0.5);
    EXPECT_NEAR(window.Spectrum().LevelAt(1, 3000.0), -12.0, 0.5);
    // The pointer over the peak reads its frequency, levels and note.
    QTest::mouseMove(&window.Plot(), QPoint(window.Plot().XOf(440.0), 40));
    EXPECT_TRUE(window.Readout().contains("A4")) << window.Readout().toStdString();
    // A new selection in the document is analysed at once.
    model_->SetSelection(3 * kRate, 4 * kRate);
    model_->Flush();
    EXPECT_NEAR(window.Peaks().at(0).frequency, 6000.0, 6.0);
    // While the document plays, the window follows the play position.
    model_->SetPlayPosition(kRate / 2);
    model_->Flush();
    for (int i = 0; i < 100 && std::abs(window.Peaks().at(0).frequency - 440.0) > 3.0; ++i)
        QTest::qWait(10);
    EXPECT_NEAR(window.Peaks().at(0).frequency, 440.0, 3.0);
    model_->SetPlayPosition(-1);
    model_->Flush();
    const QString csv = QString::fromStdString(dir_.File("spectrum.csv"));
    QString error;
    ASSERT_TRUE(window.ExportCsv(csv, &error));
    QFile file(csv);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readLine(), "frequency_hz,channel1_db,channel2_db\n");
    EXPECT_FALSE(window.ExportCsv(QString::fromStdString(dir_.File("no/such/x.csv")), &error));
    EXPECT_FALSE(error.isEmpty());
    EXPECT_TRUE(window.grab().toImage().save(OSMERA_TEST_OUTPUT "/spectrum_window.png"));
}

TEST_F(AnalysisWindowTest, SpectrogramShowsTheTonesFollowsTheViewAndSelects) {
    LOMSpectrogramWindow window(*model_);
    window.resize(820, 420);
    window.show();
    LSpectrogramView& view = window.View();
    auto waitComplete = [&view]() {
        for (int i = 0; i < 500 && !view.IsComplete(); ++i)
            QTest::qWait(10);
        return view.IsComplete();
    };
    ASSERT_TRUE(waitComplete());
    const int early = view.width() / 4, late = view.width() * 3 / 4;
    EXPECT_GT(view.LevelAt(early, 440.0), view.LevelAt(early, 6000.0) + 40.0f);
    EXPECT_GT(view.LevelAt(late, 6000.0), view.LevelAt(late, 440.0) + 40.0f);
    EXPECT_TRUE(window.grab().toImage().save(OSMERA_TEST_OUTPUT "/spectrogram_window.png"));
    // The file window's zoom moves the picture: the second half now fills it.
    model_->SetView(2 * kRate, kFrames);
    model_->Flush();
    ASSERT_TRUE(waitComplete());
    EXPECT_GT(view.LevelAt(10, 6000.0), view.LevelAt(10, 440.0) + 40.0f);
    // Dragging across the middle selects about the middle half second of the view.
    QTest::mousePress(&view, Qt::LeftButton, {}, QPoint(view.width() / 4, 50));
    QMouseEvent move(QEvent::MouseMove, QPointF(view.width() * 3 / 4, 50), QPointF(), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&view, &move);
    QTest::mouseRelease(&view, Qt::LeftButton, {}, QPoint(view.width() * 3 / 4, 50));
    EXPECT_NEAR(doc_->selStart, 2.5 * kRate, kRate / 50);
    EXPECT_NEAR(doc_->selEnd, 3.5 * kRate, kRate / 50);
}

}  // namespace
}  // namespace osmera
