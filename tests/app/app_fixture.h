#pragma once
// A whole editor for tests: the frame and its controller over a temporary settings store
// and cut-tank folder, with prompts that answer from a script and record what they were
// asked, and a clipboard exchange held in memory.

#include <gtest/gtest.h>

#include <QMdiSubWindow>
#include <deque>
#include <functional>
#include <memory>
#include <optional>

#include "app/editor_transport.h"
#include "app/effect_dialog.h"
#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "devices/sound_devices.h"
#include "edit/audio_cut_tank.h"
#include "tests/edit/memory_clipboard.h"
#include "tests/formats/wave_bytes.h"
#include "tests/support/test_support.h"

namespace osmera::testing {

class ScriptedPrompts : public LUserPrompts {
  public:
    LAnswer AskYesNoCancel(const QString& title, const QString& text) override {
        asked << title + ": " + text;
        return Next();
    }
    LAnswer AskYesNo(const QString& title, const QString& text) override {
        asked << title + ": " + text;
        return Next();
    }
    void Inform(const QString&, const QString& text) override { told << text; }
    void Warn(const QString&, const QString& text) override { told << text; }
    void About(const QString& title, const QString&) override { told << title; }
    QStringList OpenFileNames(const QString& title, const QString&,
                              const QStringList& filters) override {
        asked << title;
        openFilters = filters;
        return openAnswer;
    }
    QString SaveFileName(const QString& title, const QString&, const QStringList&,
                         int& filterIndex) override {
        asked << title;
        filterIndex = saveFormat;
        return saveAnswer;
    }
    bool OpenInBrowser(const QString& path) override {
        browsed << path;
        return true;
    }

    bool AskTimes(const QString& title, const QStringList&, QStringList& texts) override {
        asked << title;
        if (timeAnswer.isEmpty())
            return false;
        texts = timeAnswer;
        return true;
    }
    bool AskFormat(const QString& title, int32_t& rate, int* channels) override {
        asked << title;
        if (rateAnswer == 0)
            return false;
        rate = rateAnswer;
        if (channels)
            *channels = channelsAnswer;
        return true;
    }

    bool AskSaveOptions(const LWriteFormat& format, LWriteOptions& options) override {
        asked << QString::fromLatin1(format.name) + " options";
        if (!saveOptionsAnswer)
            return false;
        saveOptionsAnswer(options);
        return true;
    }
    bool AskRawParams(const QString& fileName, LRawParams& params, bool) override {
        asked << "raw " + fileName;
        if (!rawAnswer)
            return false;
        params = *rawAnswer;
        return true;
    }
    bool AskTags(LAudioTags& tags) override {
        asked << "tags";
        if (!tagsAnswer)
            return false;
        tags = *tagsAnswer;
        return true;
    }
    int AskChoice(const QString& title, const QString&, const QStringList& choices, int) override {
        asked << title;
        offered = choices;
        return choiceAnswer;
    }
    bool AskText(const QString& title, const QString&, QString& text) override {
        asked << title + ": " + text;
        if (!textAnswer)
            return false;
        if (!textAnswer->isEmpty())
            text = *textAnswer;
        return true;
    }

    std::deque<LAnswer> answers;  // questions take these in order; Cancel when empty
    QStringList asked, told, browsed, openFilters, openAnswer;
    QString saveAnswer;
    int saveFormat = 1;
    QStringList timeAnswer;  // Cancel when empty
    int32_t rateAnswer = 0;  // Cancel when 0
    int channelsAnswer = 2;
    std::function<void(LWriteOptions&)> saveOptionsAnswer;  // Cancel when empty
    std::optional<LRawParams> rawAnswer;                    // Cancel when empty
    std::optional<LAudioTags> tagsAnswer;                   // Cancel when empty
    int choiceAnswer = -1;                                  // Cancel
    QStringList offered;
    std::optional<QString> textAnswer = QString();  // "": keep the offered text; none: Cancel

  private:
    LAnswer Next() {
        if (answers.empty())
            return LAnswer::kCancel;
        const LAnswer a = answers.front();
        answers.pop_front();
        return a;
    }
};

class EditorTest : public ::testing::Test {
  protected:
    void SetUp() override {
        settings.SetText("Folders", "Current", dir.File(""));
        LAudioCutTank::Instance().SetFolder(dir.File(""));
        frame = std::make_unique<LMDIMainWindow>();
        main = std::make_unique<MainDialog>(*frame, settings, prompts, clipboard);
        // No sound hardware in tests: playback (also after edits) goes to the null device.
        main->Transport().SetDeviceOpener(VirtualOutOpener(0));
        // Effect dialogs are cancelled unless a test answers them.
        main->SetEffectDialogRunner([](LOMEffectDialog&) { return int{QDialog::Rejected}; });
        main->SetSpeechDialogRunner([](LSpeechDialog&) { return int{QDialog::Rejected}; });
        frame->resize(900, 600);
    }
    void TearDown() override {
        main.reset();
        frame.reset();
        LAudioCutTank::Instance().Reset();
    }

    // A 16-bit mono WAV of `frames` frames at 8000 Hz, a ramp, in the temporary folder.
    std::string MakeWave(const std::string& name, int frames = 8000) {
        Bytes data;
        for (int i = 0; i < frames; ++i)
            Append16(data, static_cast<uint16_t>(i * 7));
        const std::string path = dir.File(name);
        WriteBytes(path, Riff(Chunk("fmt ", FormatBody(1, 8000, 16)) + Chunk("data", data)));
        return path;
    }
    LOMFile& Open(const std::string& name) {
        EXPECT_TRUE(main->OpenFile(QString::fromStdString(MakeWave(name))));
        return *main->Controller().GetCurrent();
    }

    TempDir dir;
    LMemorySettingsStore settings;
    ScriptedPrompts prompts;
    MemoryClipboard clipboard;
    std::unique_ptr<LMDIMainWindow> frame;
    std::unique_ptr<MainDialog> main;
};

}  // namespace osmera::testing
