#pragma once
// LEqualizerDialog: the graphic equalizer's bands as vertical sliders (+-12 dB in tenths,
// each with its centre frequency and its gain), the presets Flat, Bass Boost and Voice,
// and "Preview", which plays the selection through the gains as they stand and restarts
// when a slider moves. The editor reads the gains from "equalizer.dat" before it opens
// and writes them back on OK.
//
// Ownership: a modal dialog made on the stack by the Equalizer command; the transport and
// the document are borrowed. Threads: GUI thread only.

#include <QList>
#include <vector>

#include "app/preview_dialog.h"

class QComboBox;
class QLabel;
class QSlider;

namespace osmera {

class LEqualizerDialog : public LOMPreviewDialog {
    Q_OBJECT
  public:
    // `gainTenths`: one gain per band in tenths of a dB, low band first (missing bands 0).
    LEqualizerDialog(QWidget* parent, LEditorTransport* transport, const LOMFile& doc,
                     const std::vector<int32_t>& gainTenths);

    std::vector<int32_t> Gains() const;
    void SetGains(const std::vector<int32_t>& gainTenths);
    QSlider* Band(int band) const { return sliders_.at(band); }
    // Presets by the names the engine knows ("flat", "bass-boost", "voice").
    void ApplyPreset(const QString& name);

  protected:
    LSourceRef BuildPreviewSource() override;

  private:
    void ShowGain(int band);

    QList<QSlider*> sliders_;
    QList<QLabel*> values_;
    QComboBox* presets_;
};

}  // namespace osmera
