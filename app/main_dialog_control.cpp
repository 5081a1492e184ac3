// MainDialog: the Control menu (playback), the tool bar's pause button and level meter.
// The work is the transport's (editor_transport.h); these handlers pick the document,
// the range and the speed.
#include <QAction>
#include <QStatusBar>
#include <QStyle>
#include <QToolBar>
#include <algorithm>

#include "app/command_menus.h"
#include "app/editor_transport.h"
#include "app/main_dialog.h"
#include "app/mdi_main_window.h"
#include "display/document_model.h"
#include "display/level_meter.h"

namespace osmera {

void MainDialog::AttachTransport() {
    transport_ = std::make_unique<LEditorTransport>(settings_);
    QToolBar* bar = menus_->ToolBar();

    // Pause / resume: the tool bar button and Space. Not a numbered command, so it lives
    // beside the table's actions rather than in it.
    pauseAction_ = new QAction(frame_.style()->standardIcon(QStyle::SP_MediaPause),
                               QStringLiteral("Pause"), &frame_);
    pauseAction_->setObjectName(QStringLiteral("pause"));
    pauseAction_->setShortcut(QKeySequence(Qt::Key_Space));
    pauseAction_->setStatusTip(QStringLiteral("Pauses or resumes playback."));
    pauseAction_->setCheckable(true);
    frame_.addAction(pauseAction_);
    bar->insertAction(menus_->Action(kIdRecord), pauseAction_);
    connect(pauseAction_, &QAction::triggered, this, [this]() {
        if (transport_->IsActive())
            transport_->TogglePause();
        else if (controller_.GetCurrent())
            PlayCurrent(false);
        pauseAction_->setChecked(transport_->IsPaused());
    });

    bar->addSeparator();
    playMeter_ = new LLevelMeter(bar);
    playMeter_->setObjectName(QStringLiteral("playMeter"));
    playMeter_->SetRange(-60, 15);
    playMeter_->setToolTip(QStringLiteral("Playback level (dB)"));
    bar->addWidget(playMeter_);

    connect(transport_.get(), &LEditorTransport::levelsChanged, this,
            [this](const std::vector<int>& levels) {
                if (levels.empty())
                    playMeter_->Reset();
                else
                    playMeter_->SetLevels(levels);
            });
    connect(transport_.get(), &LEditorTransport::stateChanged, this,
            [this]() { pauseAction_->setChecked(transport_->IsPaused()); });
    connect(transport_.get(), &LEditorTransport::statusMessage, this, [this](const QString& text) {
        frame_.statusBar()->showMessage(text);
        helpTimer_.start();
    });
}

void MainDialog::StartPlayback(LOMFile& doc, int32_t position) {
    LDocumentModel* model = ModelOf(&doc);
    if (!model)
        return;
    model->NotifyStateChanged();
    transport_->Play(*model, position, -1, false);
}

void MainDialog::StopPlayback() {
    transport_->Stop();
}

void MainDialog::PlayCurrent(bool repeat) {
    LDocumentModel* model = CurrentModel();
    if (!model)
        return;
    const LOMFile& doc = model->Document();
    const int32_t length = doc.audio.GetLength();
    const int32_t selStart = std::clamp(doc.selStart, 0, length);
    const int32_t selEnd = std::clamp(doc.selEnd, 0, length);
    if (selEnd > selStart)
        transport_->Play(*model, selStart, selEnd, repeat);
    else
        transport_->Play(*model, doc.cursor, -1, repeat);
}

void MainDialog::MoveCursorTo(int64_t frame) {
    LDocumentModel* model = CurrentModel();
    if (!model)
        return;
    transport_->Stop();
    const LOMFile& doc = model->Document();
    const int32_t at = static_cast<int32_t>(std::clamp<int64_t>(frame, 0, doc.audio.GetLength()));
    model->SetCursor(at);
    if (at < doc.viewStart || at >= doc.viewEnd) {
        const int32_t span = doc.viewEnd - doc.viewStart;
        model->ScrollTo(at - span / 2);
    }
}

void MainDialog::CmPlay() {
    LDocumentModel* model = CurrentModel();
    // Play on a paused playback of this document resumes it.
    if (model && transport_->PlayingModel() == model && transport_->IsPaused()) {
        transport_->TogglePause();
        return;
    }
    PlayCurrent(false);
}

void MainDialog::CmPlayNormal() {
    transport_->SetSpeed(LTapeSpeed::kNormal);
    PlayCurrent(false);
}

void MainDialog::CmPlaySlow() {
    transport_->SetSpeed(LTapeSpeed::kHalf);
    PlayCurrent(false);
}

void MainDialog::CmPlayFast() {
    transport_->SetSpeed(LTapeSpeed::kDouble);
    PlayCurrent(false);
}

void MainDialog::CmPlayRepeat() {
    PlayCurrent(true);
}

void MainDialog::CmStop() {
    transport_->Stop();
}

void MainDialog::CmGoToStart() {
    MoveCursorTo(0);
}

void MainDialog::CmGoToEnd() {
    if (const LOMFile* doc = controller_.GetCurrent())
        MoveCursorTo(doc->audio.GetLength());
}

void MainDialog::CmRewind() {
    const LOMFile* doc = controller_.GetCurrent();
    const int32_t step =
        LEditorTransport::kJumpSeconds * static_cast<int32_t>(doc->audio.GetSampleRate());
    if (transport_->IsActive() && transport_->PlayingModel() == CurrentModel())
        transport_->Jump(-step);
    else
        MoveCursorTo(int64_t{doc->cursor} - step);
}

void MainDialog::CmFastForward() {
    const LOMFile* doc = controller_.GetCurrent();
    const int32_t step =
        LEditorTransport::kJumpSeconds * static_cast<int32_t>(doc->audio.GetSampleRate());
    if (transport_->IsActive() && transport_->PlayingModel() == CurrentModel())
        transport_->Jump(step);
    else
        MoveCursorTo(int64_t{doc->cursor} + step);
}

}  // namespace osmera
