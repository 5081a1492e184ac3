#pragma once
// The dialogs of the file formats: the options of a format chosen in Save As (bit depth,
// MP3 bit rate or VBR quality, Ogg Vorbis quality, Opus bit rate, FLAC compression level,
// the encoding and byte order of raw data), the parameters of a headerless file being
// opened (rate, channels, encoding, byte order), and the text tags of a document.
//
// Each shows the values it is given and hands back the user's on OK; Cancel changes
// nothing. Values the dialog cannot take cannot be typed: the fields are lists and spin
// boxes over the ranges the writers accept.
//
// Ownership: ordinary modal QDialogs, made on the stack by LQtUserPrompts. GUI thread only.

#include <QDialog>

#include "formats/audio_format.h"
#include "formats/audio_tags.h"

class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QLineEdit;
class QSpinBox;

namespace osmera {

// True when Save As asks options of `format` (every format but plain WAV, whose width the
// file dialog's filter already names, and those without choices).
bool HasSaveOptions(const LWriteFormat& format);

class LSaveOptionsDialog : public QDialog {
    Q_OBJECT
  public:
    LSaveOptionsDialog(QWidget* parent, const LWriteFormat& format, const LWriteOptions& options);
    // The options as chosen; fields the format has no use for keep their given values.
    LWriteOptions Options() const;

  private:
    LWriteOptions options_;
    QComboBox* bits_ = nullptr;
    QSpinBox* compression_ = nullptr;
    QComboBox* mp3Mode_ = nullptr;
    QSpinBox* bitrate_ = nullptr;
    QDoubleSpinBox* quality_ = nullptr;
    QComboBox* encoding_ = nullptr;
    QComboBox* endian_ = nullptr;
};

class LRawOpenDialog : public QDialog {
    Q_OBJECT
  public:
    // `codedOnly`: VOX and GSM data, whose encoding is fixed; only rate and channels asked.
    LRawOpenDialog(QWidget* parent, const QString& fileName, const LRawParams& params,
                   bool codedOnly);
    LRawParams Params() const;

  private:
    LRawParams params_;
    QComboBox* rate_ = nullptr;
    QComboBox* channels_ = nullptr;
    QComboBox* encoding_ = nullptr;
    QComboBox* endian_ = nullptr;
};

class LTagsDialog : public QDialog {
    Q_OBJECT
  public:
    LTagsDialog(QWidget* parent, const LAudioTags& tags);
    LAudioTags Tags() const;

  private:
    QLineEdit* title_;
    QLineEdit* artist_;
    QLineEdit* album_;
    QSpinBox* year_;
    QLineEdit* genre_;
    QSpinBox* track_;
    QLineEdit* comment_;
};

}  // namespace osmera
