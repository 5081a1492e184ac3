#include "app/format_dialogs.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QVBoxLayout>
#include <cstring>

#include "app/edit_dialogs.h"

namespace osmera {

namespace {

struct LEncodingText {
    LRawEncoding encoding;
    const char* text;
};
constexpr LEncodingText kEncodings[] = {
    {LRawEncoding::kPcm16, "Signed 16-bit PCM"},
    {LRawEncoding::kPcm24, "Signed 24-bit PCM"},
    {LRawEncoding::kPcm32, "Signed 32-bit PCM"},
    {LRawEncoding::kPcmS8, "Signed 8-bit PCM"},
    {LRawEncoding::kPcmU8, "Unsigned 8-bit PCM"},
    {LRawEncoding::kFloat, "32-bit float"},
    {LRawEncoding::kUlaw, "u-Law"},
    {LRawEncoding::kAlaw, "A-Law"},
};

bool Is(const LWriteFormat& format, const char* name) {
    return std::strcmp(format.name, name) == 0;
}

QComboBox* EncodingList(QWidget* parent, LRawEncoding current) {
    auto* list = new QComboBox(parent);
    for (const LEncodingText& e : kEncodings) {
        list->addItem(QString::fromLatin1(e.text), static_cast<int>(e.encoding));
        if (e.encoding == current)
            list->setCurrentIndex(list->count() - 1);
    }
    return list;
}

QComboBox* EndianList(QWidget* parent, bool bigEndian) {
    auto* list = new QComboBox(parent);
    list->addItems(
        {QStringLiteral("Little endian (Intel)"), QStringLiteral("Big endian (Motorola)")});
    list->setCurrentIndex(bigEndian ? 1 : 0);
    return list;
}

// OK and Cancel under `form`, in a vertical layout of `dialog`.
void FinishLayout(QDialog* dialog, QFormLayout* form) {
    auto* layout = new QVBoxLayout(dialog);
    layout->addLayout(form);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, dialog);
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    layout->addWidget(buttons);
}

}  // namespace

bool HasSaveOptions(const LWriteFormat& format) {
    if (Is(format, "wav"))
        return false;
    return format.hasWidth || format.lossy ? !Is(format, "vox") && !Is(format, "gsm")
                                           : Is(format, "raw");
}

LSaveOptionsDialog::LSaveOptionsDialog(QWidget* parent, const LWriteFormat& format,
                                       const LWriteOptions& options)
    : QDialog(parent), options_(options) {
    setWindowTitle(QStringLiteral("%1 Options").arg(QString::fromLatin1(format.name).toUpper()));
    auto* form = new QFormLayout;
    if (format.hasWidth) {
        bits_ = new QComboBox(this);
        for (int bits : {8, 16, 24, 32}) {
            // FLAC holds at most 24 bits.
            if (Is(format, "flac") && bits == 32)
                continue;
            bits_->addItem(QStringLiteral("%1-bit").arg(bits), bits);
        }
        const int at = bits_->findData(options.bits > 0 ? options.bits : 16);
        bits_->setCurrentIndex(at >= 0 ? at : bits_->findData(16));
        form->addRow(QStringLiteral("Bit depth:"), bits_);
    }
    if (Is(format, "flac")) {
        compression_ = new QSpinBox(this);
        compression_->setRange(0, 8);
        compression_->setValue(options.compression >= 0 ? options.compression : 5);
        form->addRow(QStringLiteral("Compression level (0 fastest, 8 smallest):"), compression_);
    } else if (Is(format, "mp3")) {
        mp3Mode_ = new QComboBox(this);
        mp3Mode_->addItems(
            {QStringLiteral("Constant bit rate"), QStringLiteral("Variable bit rate (quality)")});
        mp3Mode_->setCurrentIndex(options.bitrate > 0 ? 0 : 1);
        bitrate_ = new QSpinBox(this);
        bitrate_->setRange(32, 320);
        bitrate_->setSuffix(QStringLiteral(" kbit/s"));
        bitrate_->setValue(options.bitrate > 0 ? options.bitrate : 192);
        quality_ = new QDoubleSpinBox(this);
        quality_->setDecimals(0);
        quality_->setRange(0, 9);
        quality_->setValue(options.quality >= 0 ? options.quality : 2);
        form->addRow(QStringLiteral("Mode:"), mp3Mode_);
        form->addRow(QStringLiteral("Bit rate:"), bitrate_);
        form->addRow(QStringLiteral("VBR quality (0 best, 9 smallest):"), quality_);
        auto sync = [this]() {
            bitrate_->setEnabled(mp3Mode_->currentIndex() == 0);
            quality_->setEnabled(mp3Mode_->currentIndex() == 1);
        };
        connect(mp3Mode_, &QComboBox::currentIndexChanged, this, sync);
        sync();
    } else if (Is(format, "ogg")) {
        quality_ = new QDoubleSpinBox(this);
        quality_->setDecimals(1);
        quality_->setRange(0, 10);
        quality_->setValue(options.quality >= 0 ? options.quality : 5);
        form->addRow(QStringLiteral("Quality (0 smallest, 10 best):"), quality_);
    } else if (Is(format, "opus")) {
        bitrate_ = new QSpinBox(this);
        bitrate_->setRange(6, 510);
        bitrate_->setSuffix(QStringLiteral(" kbit/s"));
        bitrate_->setValue(options.bitrate > 0 ? options.bitrate : 96);
        form->addRow(QStringLiteral("Bit rate:"), bitrate_);
    } else if (Is(format, "raw")) {
        encoding_ = EncodingList(this, options.raw.encoding);
        endian_ = EndianList(this, options.raw.bigEndian);
        form->addRow(QStringLiteral("Encoding:"), encoding_);
        form->addRow(QStringLiteral("Byte order:"), endian_);
    }
    FinishLayout(this, form);
}

LWriteOptions LSaveOptionsDialog::Options() const {
    LWriteOptions o = options_;
    if (bits_)
        o.bits = bits_->currentData().toInt();
    if (compression_)
        o.compression = compression_->value();
    if (mp3Mode_) {
        o.bitrate = mp3Mode_->currentIndex() == 0 ? bitrate_->value() : 0;
        o.quality = quality_->value();
    } else {
        if (bitrate_)
            o.bitrate = bitrate_->value();
        if (quality_)
            o.quality = quality_->value();
    }
    if (encoding_)
        o.raw.encoding = static_cast<LRawEncoding>(encoding_->currentData().toInt());
    if (endian_)
        o.raw.bigEndian = endian_->currentIndex() == 1;
    return o;
}

LRawOpenDialog::LRawOpenDialog(QWidget* parent, const QString& fileName, const LRawParams& params,
                               bool codedOnly)
    : QDialog(parent), params_(params) {
    setWindowTitle(QStringLiteral("Open Raw Audio"));
    auto* form = new QFormLayout;
    form->addRow(new QLabel(
        QStringLiteral("The file \"%1\" does not say how its audio is stored.").arg(fileName),
        this));
    rate_ = new QComboBox(this);
    rate_->setEditable(true);
    for (int r : CommonSampleRates())
        rate_->addItem(QString::number(r), r);
    rate_->setCurrentText(QString::number(params.sampleRate));
    channels_ = new QComboBox(this);
    channels_->addItems({QStringLiteral("Mono"), QStringLiteral("Stereo")});
    channels_->setCurrentIndex(params.channels == 2 ? 1 : 0);
    form->addRow(QStringLiteral("Sample rate:"), rate_);
    form->addRow(QStringLiteral("Channels:"), channels_);
    if (!codedOnly) {
        encoding_ = EncodingList(this, params.encoding);
        endian_ = EndianList(this, params.bigEndian);
        form->addRow(QStringLiteral("Encoding:"), encoding_);
        form->addRow(QStringLiteral("Byte order:"), endian_);
    }
    rate_->setValidator(new QIntValidator(1000, 384000, rate_));
    FinishLayout(this, form);
}

LRawParams LRawOpenDialog::Params() const {
    LRawParams p = params_;
    bool ok = false;
    const int rate = rate_->currentText().trimmed().toInt(&ok);
    if (ok && rate >= 1000 && rate <= 384000)
        p.sampleRate = rate;
    p.channels = channels_->currentIndex() == 1 ? 2 : 1;
    if (encoding_)
        p.encoding = static_cast<LRawEncoding>(encoding_->currentData().toInt());
    if (endian_)
        p.bigEndian = endian_->currentIndex() == 1;
    return p;
}

LTagsDialog::LTagsDialog(QWidget* parent, const LAudioTags& tags)
    : QDialog(parent),
      title_(new QLineEdit(QString::fromStdString(tags.title), this)),
      artist_(new QLineEdit(QString::fromStdString(tags.artist), this)),
      album_(new QLineEdit(QString::fromStdString(tags.album), this)),
      year_(new QSpinBox(this)),
      genre_(new QLineEdit(QString::fromStdString(tags.genre), this)),
      track_(new QSpinBox(this)),
      comment_(new QLineEdit(QString::fromStdString(tags.comment), this)) {
    setWindowTitle(QStringLiteral("Edit ID3 Tags"));
    setMinimumWidth(420);
    // 0 shows as empty: the tag is left out.
    year_->setRange(0, 9999);
    year_->setSpecialValueText(QStringLiteral(" "));
    year_->setValue(static_cast<int>(std::min<uint32_t>(tags.year, 9999)));
    track_->setRange(0, 999);
    track_->setSpecialValueText(QStringLiteral(" "));
    track_->setValue(static_cast<int>(std::min<uint32_t>(tags.track, 999)));
    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("Title:"), title_);
    form->addRow(QStringLiteral("Artist:"), artist_);
    form->addRow(QStringLiteral("Album:"), album_);
    form->addRow(QStringLiteral("Year:"), year_);
    form->addRow(QStringLiteral("Genre:"), genre_);
    form->addRow(QStringLiteral("Track:"), track_);
    form->addRow(QStringLiteral("Comment:"), comment_);
    FinishLayout(this, form);
}

LAudioTags LTagsDialog::Tags() const {
    LAudioTags t;
    t.title = title_->text().trimmed().toStdString();
    t.artist = artist_->text().trimmed().toStdString();
    t.album = album_->text().trimmed().toStdString();
    t.genre = genre_->text().trimmed().toStdString();
    t.comment = comment_->text().trimmed().toStdString();
    t.year = static_cast<uint32_t>(year_->value());
    t.track = static_cast<uint32_t>(track_->value());
    return t;
}

}  // namespace osmera
