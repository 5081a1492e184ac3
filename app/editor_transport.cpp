#include "app/editor_transport.h"

#include <algorithm>

#include "core/trace.h"
#include "display/gui_thread_dispatcher.h"
#include "edit/src_cut_list_audio.h"

namespace osmera {

LEditorTransport::LEditorTransport(LSettingsStore& settings, QObject* parent)
    : QObject(parent),
      settings_(settings),
      player_(std::make_unique<LSoundPlayer>(&LGuiThreadDispatcher::Instance())) {
    player_->SetNotify(this, nullptr);
    tick_.setInterval(kTickMs);
    connect(&tick_, &QTimer::timeout, this, &LEditorTransport::Tick);
}

LEditorTransport::~LEditorTransport() {
    // The player calls back into this object while it closes: close it first.
    player_->Stop();
    player_.reset();
}

bool LEditorTransport::IsPaused() const {
    return (player_->GetState() & LSoundPlayer::kStatePaused) != 0;
}

bool LEditorTransport::Play(LDocumentModel& model, int32_t from, int32_t to, bool repeat) {
    player_->Stop();
    model_ = &model;
    repeat_ = repeat;
    ConnectModel(&model);
    if (!StartRange(from, to, false)) {
        ConnectModel(nullptr);
        model_ = nullptr;
        emit stateChanged();
        return false;
    }
    return true;
}

bool LEditorTransport::PlaySource(const LSourceRef& source) {
    player_->Stop();
    ConnectModel(nullptr);
    model_ = nullptr;
    repeat_ = false;
    if (!source || !source->IsOk()) {
        emit stateChanged();
        return false;
    }
    const int32_t length =
        static_cast<int32_t>(std::clamp<int64_t>(source->GetLengthSample(), 0, INT32_MAX));
    const bool ok = Begin(source, 0, length, LTapeSpeed::kNormal, 0);
    if (!ok)
        emit stateChanged();
    return ok;
}

void LEditorTransport::Stop() {
    if (!player_->IsOpen())
        return;
    QPointer<LDocumentModel> model = model_;
    player_->Stop();
    // The cursor stayed where playing began; bring it back into view.
    if (model) {
        const LOMFile& doc = model->Document();
        if (doc.cursor < doc.viewStart || doc.cursor >= doc.viewEnd)
            model->ScrollTo(doc.cursor);
    }
}

void LEditorTransport::TogglePause() {
    if (!player_->IsOpen())
        return;
    const uint16_t state = player_->GetState();
    if (state & LSoundPlayer::kStatePaused)
        player_->Play();
    else if (!(state & LSoundPlayer::kStateCued))
        player_->Pause();
}

void LEditorTransport::Jump(int32_t frames) {
    if (!player_->IsOpen() || !model_)
        return;
    const int64_t target = int64_t{PlayFrame()} + frames;
    if (repeat_) {
        const int64_t pass = to_ - from_;
        SeekDocument(static_cast<int32_t>(from_ + (((target - from_) % pass) + pass) % pass));
    } else if (target >= to_) {
        Stop();
    } else if (target < from_) {
        const bool paused = IsPaused();
        if (!StartRange(static_cast<int32_t>(std::max<int64_t>(target, 0)), to_, paused))
            player_->Stop();
    } else {
        SeekDocument(static_cast<int32_t>(target));
    }
}

int32_t LEditorTransport::PlayFrame() const {
    if (!player_->IsOpen())
        return -1;
    return shown_ >= 0 ? ToDocument(shown_) : from_;
}

void LEditorTransport::Forget(const LOMFile* doc) {
    if (model_ && &model_->Document() == doc)
        player_->Stop();
}

bool LEditorTransport::StartRange(int32_t from, int32_t to, bool paused) {
    const LOMFile& doc = model_->Document();
    const int32_t length = doc.audio.GetLength();
    to = (to < 0 || to > length) ? length : to;
    from = std::clamp(from, 0, to);
    if (to <= from)
        return false;
    LCutListAudio range;
    doc.audio.EfCopy(from, to, range);
    LSourceRef source(new LSRCCutListAudio(range));
    if (repeat_)
        source = LSourceRef(new LSRCLoop(std::move(source)));
    source = ChangeTapeSpeed(std::move(source), speed_);
    if (!source->IsOk()) {
        LTrace("LEditorTransport::StartRange source error");
        return false;
    }
    return Begin(source, from, to, speed_, paused ? uint32_t{LSoundPlayer::kStartPaused} : 0u);
}

bool LEditorTransport::Begin(const LSourceRef& source, int32_t from, int32_t to, LTapeSpeed speed,
                             uint32_t flags) {
    from_ = from;
    to_ = to;
    playingSpeed_ = speed;
    rate_ = std::max<int32_t>(source->GetSampleRate(), 1);
    chainLength_ = source->GetLengthSample();
    reported_ = 0;
    shown_ = -1;
    sinceReport_.start();
    restarting_ = true;
    const bool ok = StartPlayer(source, flags);
    restarting_ = false;
    return ok;
}

bool LEditorTransport::StartPlayer(const LSourceRef& source, uint32_t flags) {
    if (opener_) {
        player_->SetDeviceOpener(opener_);
        return player_->Start(source, flags);
    }
    if (!HasSoundOutputHardware()) {
        NoDevice();
        player_->SetDeviceOpener(VirtualOutOpener(1.0));
        return player_->Start(source, flags);
    }
    player_->SetDeviceOpener(OpenSystemOutDevice);
    const int32_t device = settings_.GetInt("Settings", "SoundOutDevice", 0);
    player_->SetDevice(static_cast<uint32_t>(std::max(device, 0)));
    if (player_->Start(source, flags))
        return true;
    if (device != 0) {
        LTracef("LEditorTransport::StartPlayer device %d failed, trying the default", device);
        player_->SetDevice(0);
        if (player_->Start(source, flags))
            return true;
    }
    NoDevice();
    player_->SetDeviceOpener(VirtualOutOpener(1.0));
    return player_->Start(source, flags);
}

void LEditorTransport::NoDevice() {
    LTrace("LEditorTransport::NoDevice playing to the null device");
    if (noDeviceSaid_)
        return;
    noDeviceSaid_ = true;
    emit statusMessage(QStringLiteral("No sound output device: playing silently."));
}

int32_t LEditorTransport::ToDocument(int64_t playerFrame) const {
    int64_t s = TapeToSourceFrames(std::max<int64_t>(playerFrame, 0), playingSpeed_);
    if (repeat_ && to_ > from_)
        s %= to_ - from_;
    return static_cast<int32_t>(std::clamp<int64_t>(from_ + s, from_, to_));
}

int64_t LEditorTransport::ToPlayer(int32_t frame) const {
    int64_t s = int64_t{frame} - from_;
    if (repeat_ && to_ > from_ && shown_ >= 0) {
        // Stay in the pass that plays now, so that the loop goes on as many times again.
        const int64_t pass = to_ - from_;
        s += TapeToSourceFrames(shown_, playingSpeed_) / pass * pass;
    }
    return std::clamp<int64_t>(SourceToTapeFrames(s, playingSpeed_), 0, chainLength_);
}

void LEditorTransport::SeekDocument(int32_t frame) {
    const int64_t target = ToPlayer(frame);
    shown_ = -1;  // the line may go back
    player_->Seek(static_cast<int32_t>(target));
}

void LEditorTransport::ShowPosition(int64_t playerFrame) {
    if (!model_ || playerFrame < shown_)
        return;
    shown_ = playerFrame;
    ++updates_;
    const int32_t frame = ToDocument(playerFrame);
    model_->SetPlayPosition(frame);
    emit positionShown(frame);
}

void LEditorTransport::Tick() {
    const uint16_t state = player_->GetState();
    if (!(state & LSoundPlayer::kStateOpen) ||
        (state & (LSoundPlayer::kStatePaused | LSoundPlayer::kStateCued)))
        return;
    const int64_t elapsed = sinceReport_.elapsed() * rate_ / 1000;
    const int64_t ahead = std::min<int64_t>(elapsed, player_->GetFramesPerBuffer());
    ShowPosition(std::min(reported_ + ahead, chainLength_));
}

void LEditorTransport::ConnectModel(LDocumentModel* model) {
    for (const QMetaObject::Connection& c : modelLinks_)
        disconnect(c);
    modelLinks_.clear();
    if (!model)
        return;
    modelLinks_.push_back(
        connect(model, &LDocumentModel::scrubStarted, this, &LEditorTransport::OnScrubStarted));
    modelLinks_.push_back(
        connect(model, &LDocumentModel::scrubMoved, this, &LEditorTransport::OnScrubMoved));
    modelLinks_.push_back(
        connect(model, &LDocumentModel::scrubEnded, this, &LEditorTransport::OnScrubEnded));
}

void LEditorTransport::OnScrubStarted(int32_t frame) {
    if (!player_->IsOpen() || !IsPaused())
        return;
    shown_ = -1;
    player_->Cue();
    SeekDocument(frame);
}

void LEditorTransport::OnScrubMoved(int32_t frame) {
    if (player_->GetState() & LSoundPlayer::kStateCued)
        SeekDocument(frame);
}

void LEditorTransport::OnScrubEnded(int32_t frame) {
    if (!(player_->GetState() & LSoundPlayer::kStateCued))
        return;
    SeekDocument(frame);
    player_->Pause();
}

// ---- the player's reports ----

void LEditorTransport::OnPlay(void*) {
    if (model_)
        model_->SetScrubEnabled(false);
    sinceReport_.restart();
    tick_.start();
    emit stateChanged();
}

void LEditorTransport::OnPause(void*) {
    tick_.stop();
    if (model_)
        model_->SetScrubEnabled(true);
    emit stateChanged();
}

void LEditorTransport::OnCue(void*) {
    tick_.stop();
    emit stateChanged();
}

void LEditorTransport::OnStop(void*) {
    if (restarting_)
        return;
    tick_.stop();
    if (model_) {
        model_->SetScrubEnabled(false);
        model_->SetPlayPosition(-1);
    }
    ConnectModel(nullptr);
    model_ = nullptr;
    shown_ = -1;
    emit levelsChanged({});
    emit stateChanged();
}

void LEditorTransport::OnPosition(void*, int32_t) {
    reported_ = player_->GetPosition();
    sinceReport_.restart();
    ShowPosition(reported_);
}

void LEditorTransport::OnLevels(void*, const LChannelLevels& levels) {
    std::vector<int> values(levels.channels);
    for (size_t c = 0; c < values.size(); ++c)
        values[c] = levels.level[c];
    emit levelsChanged(values);
}

}  // namespace osmera
