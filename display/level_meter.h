#pragma once
// LLevelMeter: a per-channel level meter on a dB scale, one horizontal bar per channel, with
// a peak-hold tick that stays 1.5 s and then falls 20 dB a second, as on a mixing desk.
//
// Levels arrive in the engine's level units (LChannelLevels: the player's are 10 x log10 of
// the mean square against its reference, the recorder's 20 x log10 of the peak against its
// own), so the scale's top and bottom are set by the owner: SetRange(-60, 15) for the
// player, SetRange(-60, 12) for the recorder. A level at or below the bottom (the engines'
// -127 for silence) draws an empty bar. The last sixth of the scale is drawn in red,
// the rest in the palette's highlight colour.
//
// Ownership: a plain widget; the owner feeds it. Threads: GUI thread only.

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>
#include <vector>

namespace osmera {

class LLevelMeter : public QWidget {
    Q_OBJECT
  public:
    explicit LLevelMeter(QWidget* parent = nullptr);

    // The levels shown at the left and right ends of the bars.
    void SetRange(int bottom, int top);
    // One level per channel (at least one bar is drawn); a new channel count resets holds.
    void SetLevels(const std::vector<int>& levels);
    // Every bar and hold back to silence (playback or recording ended).
    void Reset();

    // For tests and read-outs: the level and held peak of `channel` (bottom when none).
    int Level(int channel) const;
    int Held(int channel) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    struct LChannel {
        int level;
        double held;
        QElapsedTimer heldSince;
    };
    void Decay();
    int XOf(double level, int width) const;

    int bottom_ = -60;
    int top_ = 15;
    std::vector<LChannel> channels_;
    QTimer decay_;
};

}  // namespace osmera
