#include "app/edit_dialogs.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QIntValidator>
#include <QLineEdit>
#include <QMessageBox>
#include <QVBoxLayout>

#include "core/sound_time.h"

namespace osmera {

namespace {

constexpr int32_t kLowestRate = 1000;
constexpr int32_t kHighestRate = 384000;

QDialogButtonBox* AddButtons(QDialog* dialog, QVBoxLayout* layout) {
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, dialog);
    QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    layout->addWidget(buttons);
    return buttons;
}

}  // namespace

const QList<int>& CommonSampleRates() {
    static const QList<int> kRates = {8000, 11025, 16000, 22050, 32000, 44100, 48000, 88200, 96000};
    return kRates;
}

bool ParseTimeText(const QString& text, int32_t& milliseconds) {
    bool tooLarge = false;
    const int32_t ms = LSoundTime::ParseTime(text.toStdString(), &tooLarge);
    if (tooLarge || ms < 0)
        return false;
    milliseconds = ms;
    return true;
}

QString TimeText(int32_t milliseconds) {
    return QString::fromStdString(LSoundTime::FormatHundredths(milliseconds));
}

LOMTimeDialog::LOMTimeDialog(QWidget* parent, const QString& title, const QStringList& labels,
                             const QStringList& texts)
    : QDialog(parent) {
    setWindowTitle(title);
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    for (qsizetype k = 0; k < labels.size(); ++k) {
        auto* field = new QLineEdit(k < texts.size() ? texts.at(k) : QString(), this);
        field->setMinimumWidth(160);
        form->addRow(labels.at(k), field);
        fields_ << field;
    }
    layout->addLayout(form);
    AddButtons(this, layout);
    if (!fields_.isEmpty())
        fields_.front()->selectAll();
}

QStringList LOMTimeDialog::Texts() const {
    QStringList texts;
    for (const QLineEdit* field : fields_)
        texts << field->text();
    return texts;
}

void LOMTimeDialog::accept() {
    for (QLineEdit* field : fields_) {
        int32_t ms = 0;
        if (!ParseTimeText(field->text(), ms)) {
            QMessageBox::warning(this, QStringLiteral("Invalid value"),
                                 QStringLiteral("Type a time of 0 or more, such as 1.5 or "
                                                "0:01:30.00."));
            field->setFocus();
            field->selectAll();
            return;
        }
    }
    QDialog::accept();
}

LOMFormatDialog::LOMFormatDialog(QWidget* parent, const QString& title, int32_t rate, int channels,
                                 bool withChannels)
    : QDialog(parent) {
    setWindowTitle(title);
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    rate_ = new QComboBox(this);
    rate_->setEditable(true);
    rate_->setValidator(new QIntValidator(kLowestRate, kHighestRate, rate_));
    for (int common : CommonSampleRates())
        rate_->addItem(QString::number(common));
    rate_->setCurrentText(QString::number(rate));
    form->addRow(QStringLiteral("Sample rate (Hz):"), rate_);
    if (withChannels) {
        channels_ = new QComboBox(this);
        channels_->addItems({QStringLiteral("Mono"), QStringLiteral("Stereo")});
        channels_->setCurrentIndex(channels == 1 ? 0 : 1);
        form->addRow(QStringLiteral("Channels:"), channels_);
    }
    layout->addLayout(form);
    AddButtons(this, layout);
}

int32_t LOMFormatDialog::Rate() const {
    return rate_->currentText().toInt();
}

int LOMFormatDialog::Channels() const {
    return channels_ && channels_->currentIndex() == 0 ? 1 : 2;
}

void LOMFormatDialog::accept() {
    const int32_t rate = Rate();
    if (rate < kLowestRate || rate > kHighestRate) {
        QMessageBox::warning(this, QStringLiteral("Invalid value"),
                             QStringLiteral("The sample rate must lie between %1 and %2 Hz.")
                                 .arg(kLowestRate)
                                 .arg(kHighestRate));
        rate_->setFocus();
        return;
    }
    QDialog::accept();
}

}  // namespace osmera
