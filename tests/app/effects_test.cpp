// Effects in the editor: the table-built dialog's validation (the dialog stays open with
// the value as typed), values remembered across controllers, Cancel writing nothing, the
// stereo-only refusal, a pumped effect cancelled half-way from the progress window, and
// the preview playing exactly the processed selection without touching the document.
#include <gtest/gtest.h>

#include <QAction>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QProgressBar>
#include <QPushButton>
#include <QSlider>
#include <QStatusBar>
#include <QTest>
#include <QTimer>
#include <cstdlib>

#include "app/command_menus.h"
#include "app/effect_dialog.h"
#include "app/equalizer_dialog.h"
#include "edit/src_cut_list_audio.h"
#include "effects/click_repair.h"
#include "effects/filter_effects.h"
#include "formats/open_audio_source.h"
#include "platform/qt_progress.h"
#include "tests/app/app_fixture.h"

namespace osmera {
namespace {

class Effects : public testing::EditorTest {
  protected:
    static std::vector<int32_t> Samples(LSourceRef source) {
        std::vector<int32_t> v(static_cast<size_t>(source->GetLengthSample()) *
                               source->GetChannels());
        if (!v.empty())
            source->Read(v.data(), source->GetLengthSample());
        return v;
    }
    static std::vector<int32_t> Samples(const LCutListAudio& list) {
        return Samples(LSourceRef(new LSRCCutListAudio(list)));
    }
    static void Press(LOMEffectDialog& d, QDialogButtonBox::StandardButton which) {
        d.findChild<QDialogButtonBox*>()->button(which)->click();
    }
    // Types `text` into field 0 and presses OK; true when the dialog stayed open with the
    // text as typed and the field focused.
    bool StaysOpenWith(LOMEffectDialog& d, const QString& text) {
        d.Field(0)->setText(text);
        Press(d, QDialogButtonBox::Ok);
        return d.isVisible() && d.Field(0)->text() == text && d.focusWidget() == d.Field(0);
    }
};

TEST_F(Effects, DialogsValidateRememberAndCancelWithoutWriting) {
    LOMFile& doc = Open("a.wav");
    const std::vector<int32_t> before = Samples(doc.audio);
    main->SetEffectDialogRunner([&](LOMEffectDialog& d) {
        d.show();
        EXPECT_EQ(d.Field(0)->text(), "100");  // the default
        EXPECT_TRUE(StaysOpenWith(d, "401"));
        EXPECT_TRUE(StaysOpenWith(d, "lots"));
        d.Field(0)->setText("400");
        Press(d, QDialogButtonBox::Ok);
        EXPECT_FALSE(d.isVisible());
        return d.result();
    });
    main->Dispatch(kIdAmplify);
    const QString amplify = "Amplify Gain must be less than 400%. Please try again.";
    EXPECT_EQ(prompts.told, QStringList({amplify, amplify}));
    EXPECT_EQ(settings.GetInt("StoredValues", "AmplifyGain", -1), 400);
    EXPECT_NE(Samples(doc.audio), before);  // the whole file, with no selection

    // Normalize accepts 100 but not 101; Cancel afterwards writes nothing.
    prompts.told.clear();
    main->SetEffectDialogRunner([&](LOMEffectDialog& d) {
        d.show();
        EXPECT_TRUE(StaysOpenWith(d, "101"));
        d.Field(0)->setText("50");
        Press(d, QDialogButtonBox::Cancel);
        return d.result();
    });
    main->Dispatch(kIdNormalize);
    EXPECT_EQ(prompts.told, QStringList({"Normailze Peak Level must be less than 100%. Please "
                                         "try again."}));
    EXPECT_EQ(settings.GetInt("StoredValues", "NormalizePeakLevel", -1), -1);

    // A new controller over the same store opens with what was accepted; the click
    // dialog's defaults are its own, not the detector's.
    main.reset();
    main = std::make_unique<MainDialog>(*frame, settings, prompts, clipboard);
    Open("b.wav");
    QStringList shown;
    main->SetEffectDialogRunner([&](LOMEffectDialog& d) {
        const auto fields = d.findChildren<QLineEdit*>();
        for (size_t i = 0; i < static_cast<size_t>(fields.size()); ++i)
            shown << d.Field(i)->text();
        return int{QDialog::Rejected};
    });
    main->Dispatch(kIdAmplify);
    main->Dispatch(kIdAutoClickPop);
    EXPECT_EQ(shown, QStringList({"400", "50", "450"}));
    EXPECT_EQ(ReadClickSettings(settings).maxClickUs, 150);

    // Stereo Pan on a mono file: refused with the conversion message, nothing recorded.
    prompts.told.clear();
    main->Dispatch(kIdStereoPan);
    EXPECT_EQ(prompts.told, QStringList({QString::fromUtf8(kStereoRequiredMessage)}));
    EXPECT_FALSE(main->Controller().GetCurrent()->CurrentUndoStep().IsAvailable());
}

TEST_F(Effects, ReverseCancelledHalfWayLeavesTheDocumentAndAnUndoStep) {
    ASSERT_TRUE(main->OpenFile(QString::fromStdString(MakeWave("long.wav", 20 * 8192))));
    LOMFile& big = *main->Controller().GetCurrent();
    const std::vector<int32_t> before = Samples(big.audio);
    LQtProgress::SetTimingForTests(0, 0);
    int cancelledAt = -1;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&]() {
        for (QWidget* w : QApplication::topLevelWidgets()) {
            auto* bar = w->findChild<QProgressBar*>();
            if (!w->isVisible() || !bar || bar->value() < bar->maximum() / 2 || cancelledAt >= 0)
                continue;
            cancelledAt = bar->value();
            w->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Cancel)->click();
        }
    });
    watch.start(0);
    main->Dispatch(kIdReverse);
    watch.stop();
    LQtProgress::SetTimingForTests(500, 30);
    ASSERT_GE(cancelledAt, 0);
    EXPECT_LT(cancelledAt, 1000);  // before the end
    EXPECT_EQ(Samples(big.audio), before);
    EXPECT_EQ(big.CurrentUndoStep().undoName, "Reverse");
    main->Dispatch(kIdUndo);
    EXPECT_EQ(Samples(big.audio), before);
    EXPECT_TRUE(frame->isEnabled());
}

TEST_F(Effects, PreviewPlaysTheProcessedSelectionAndLeavesTheDocument) {
    LOMFile& doc = Open("a.wav");
    doc.SetSelection(1000, 3000);
    const std::string out = dir.File("preview.wav");
    // Real time: the first preview still plays when the value changes.
    main->Transport().SetDeviceOpener(VirtualOutOpener(1.0, out));
    const std::vector<int32_t> before = Samples(doc.audio);
    LCutListAudio selection;
    doc.audio.EfCopy(1000, 3000, selection);
    main->SetEffectDialogRunner([&](LOMEffectDialog& d) {
        d.show();
        QPushButton* preview = d.findChild<QPushButton*>("preview");
        EXPECT_EQ(preview->text(), "Preview");
        d.Field(0)->setText("200");
        preview->click();
        EXPECT_EQ(preview->text(), "Stop");
        QTest::qWait(40);
        // Typing a new value restarts the preview with it; what is heard last is 50 %.
        d.Field(0)->clear();
        QTest::keyClicks(d.Field(0), "50");
        EXPECT_EQ(preview->text(), "Stop");
        QElapsedTimer t;
        t.start();
        while (preview->text() == "Stop" && t.elapsed() < 10000)
            QTest::qWait(5);
        EXPECT_EQ(preview->text(), "Preview");  // back when playback ended
        Press(d, QDialogButtonBox::Cancel);
        return d.result();
    });
    main->Dispatch(kIdAmplify);
    EXPECT_EQ(Samples(doc.audio), before);
    EXPECT_FALSE(doc.CurrentUndoStep().IsAvailable());
    const std::vector<int32_t> heard = Samples(OpenAudioSource(out));

    // What Amplify 50 % really makes of the selection.
    settings.SetInt("Settings", "AutoPlaybackAfterEffects", 0);
    main->SetEffectDialogRunner([](LOMEffectDialog& d) {
        d.Field(0)->setText("50");
        d.accept();
        return d.result();
    });
    doc.SetSelection(1000, 3000);
    main->Dispatch(kIdAmplify);
    LCutListAudio applied;
    doc.audio.EfCopy(1000, 3000, applied);
    const std::vector<int32_t> made = Samples(applied);
    ASSERT_EQ(heard.size(), 2000u);
    ASSERT_EQ(heard.size(), made.size());
    // The file device writes 16-bit samples: each is the effect's sample to the nearest 16.
    for (size_t i = 0; i < made.size(); ++i)
        ASSERT_LE(std::abs(heard[i] - made[i]), 8) << i;
    EXPECT_NE(made, Samples(LSourceRef(new LSRCCutListAudio(selection))));
}

// The effects whose dialogs hold more than numbers: the compressor's ratio list, the
// equalizer's bands kept in "equalizer.dat", the noise profile taken by Noise Reduction's
// dialog, and the file Mix File asks for first.
TEST_F(Effects, DialogsBeyondNumbersReachTheEngine) {
    settings.SetInt("Settings", "AutoPlaybackAfterEffects", 0);
    LOMFile& doc = Open("a.wav");
    std::vector<int32_t> before = Samples(doc.audio);

    main->SetEffectDialogRunner([](LOMEffectDialog& d) {
        auto* ratio = d.findChild<QComboBox*>();
        EXPECT_EQ(ratio->count(), 8);
        ratio->setCurrentIndex(2);  // 2:1
        d.Field(0)->setText("-20");
        d.accept();
        return d.result();
    });
    main->Dispatch(kIdCompressor);
    EXPECT_EQ(settings.GetInt("StoredValues", "CompressorRatio", -1), 2);
    EXPECT_NE(Samples(doc.audio), before);
    main->Dispatch(kIdUndo);

    main->SetEqualizerDialogRunner([](LEqualizerDialog& d) {
        d.ApplyPreset("bass-boost");
        d.Band(9)->setValue(-120);
        d.accept();
        return d.result();
    });
    main->Dispatch(kIdEqualizer);
    std::vector<int32_t> kept;
    ASSERT_TRUE(LoadEqualizerGains(dir.File("equalizer.dat"), kept));
    std::vector<int32_t> expected = EqualizerPreset("bass-boost");
    expected[9] = -120;
    EXPECT_EQ(kept, expected);
    EXPECT_EQ(main->Menus().Action(kIdUndo)->text(), "Undo Equalizer\tCtrl+Z");
    main->Dispatch(kIdUndo);
    EXPECT_EQ(Samples(doc.audio), before);

    // Get Noise Profile takes the selection and closes the dialog; nothing is applied.
    doc.SetSelection(0, 4000);
    main->SetEffectDialogRunner([](LOMEffectDialog& d) {
        d.findChild<QPushButton*>("noiseProfile")->click();
        return d.result();
    });
    main->Dispatch(kIdNoiseReduction);
    EXPECT_TRUE(frame->statusBar()->currentMessage().contains("Noise profile taken"));
    EXPECT_EQ(Samples(doc.audio), before);
    EXPECT_FALSE(doc.CurrentUndoStep().IsAvailable());

    // Mix File asks for the file, remembers its folder and mixes it in.
    MakeWave("other.wav", 4000);
    prompts.openAnswer = {QString::fromStdString(dir.File("other.wav"))};
    main->SetEffectDialogRunner([](LOMEffectDialog& d) {
        d.accept();
        return d.result();
    });
    doc.SetSelection(0, 0);
    main->Dispatch(kIdMixFile);
    EXPECT_EQ(settings.GetText("Settings", "MixFileDir", ""), dir.Path().string());
    const std::vector<int32_t> mixed = Samples(doc.audio);
    ASSERT_EQ(mixed.size(), before.size());
    EXPECT_EQ(mixed[100], before[100] * 2);  // the same ramp, at 100 %
}

// The mixing effects are heard with the other audio before they are applied.
TEST_F(Effects, PasteMixPreviewHearsTheClipboardOverTheSelection) {
    settings.SetInt("Settings", "AutoPlaybackAfterEffects", 0);
    LOMFile& doc = Open("a.wav");
    doc.SetSelection(0, 1000);
    main->Dispatch(kIdCopy);
    doc.SetSelection(2000, 3000);
    const std::string out = dir.File("mix-preview.wav");
    main->Transport().SetDeviceOpener(VirtualOutOpener(0, out));
    const std::vector<int32_t> before = Samples(doc.audio);
    main->SetEffectDialogRunner([&](LOMEffectDialog& d) {
        d.show();
        QPushButton* preview = d.findChild<QPushButton*>("preview");
        preview->click();
        QElapsedTimer t;
        t.start();
        while (preview->text() == "Stop" && t.elapsed() < 10000)
            QTest::qWait(5);
        d.accept();
        return d.result();
    });
    main->Dispatch(kIdPasteMix);
    const std::vector<int32_t> heard = Samples(OpenAudioSource(out));
    LCutListAudio applied;
    doc.audio.EfCopy(2000, 3000, applied);
    const std::vector<int32_t> made = Samples(applied);
    ASSERT_EQ(heard.size(), made.size());
    for (size_t i = 0; i < made.size(); ++i)
        ASSERT_LE(std::abs(heard[i] - made[i]), 8) << i;
    EXPECT_NE(Samples(doc.audio), before);
}

}  // namespace
}  // namespace osmera
