#pragma once
// The small dialogs of the Edit and File menus: a length as time text (Insert Silence), a
// region as two time texts (Select Region), and a sample rate with, for New File, a
// channel count. Times are typed in any of the forms the time parser reads ("1.5",
// "0:01.50", "1:02:03.04"); the dialogs show them in the hundredths form.
//
// A value the dialog cannot take (a negative time, a time beyond what a frame count holds,
// a rate out of range) is answered with an "Invalid value" message and the dialog stays
// open, so nothing typed is lost.
//
// Ownership: ordinary modal QDialogs, made on the stack by LQtUserPrompts. GUI thread only.

#include <QDialog>
#include <cstdint>

class QComboBox;
class QLineEdit;

namespace osmera {

// The sample rates the rate lists offer, lowest first.
const QList<int>& CommonSampleRates();
// A time text as milliseconds; false for text that is negative or too large.
bool ParseTimeText(const QString& text, int32_t& milliseconds);
// Milliseconds in the hundredths form the dialogs show.
QString TimeText(int32_t milliseconds);

class LOMTimeDialog : public QDialog {
    Q_OBJECT
  public:
    // One time field per label, filled with `texts`.
    LOMTimeDialog(QWidget* parent, const QString& title, const QStringList& labels,
                  const QStringList& texts);
    QStringList Texts() const;
    void accept() override;

  private:
    QList<QLineEdit*> fields_;
};

class LOMFormatDialog : public QDialog {
    Q_OBJECT
  public:
    // A rate list (editable, the common rates) and, when `withChannels`, Mono / Stereo.
    LOMFormatDialog(QWidget* parent, const QString& title, int32_t rate, int channels,
                    bool withChannels);
    int32_t Rate() const;
    int Channels() const;
    void accept() override;

  private:
    QComboBox* rate_;
    QComboBox* channels_ = nullptr;
};

}  // namespace osmera
