#include "app/cd_burn_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include "edit/cut_list_audio.h"
#include "edit/src_cut_list_audio.h"

namespace osmera {

namespace {

constexpr const char* kSection = "CdBurn";
constexpr int kDocumentRole = Qt::UserRole;       // index into documents_, or -1 for a file
constexpr int kPathRole = Qt::UserRole + 1;       // the file's path
constexpr int kSpeeds[] = {0, 4, 8, 16, 24, 48};  // times 176 kB/s; 0 the fastest

}  // namespace

LOMCdBurnDialog::LOMCdBurnDialog(LSettingsStore& settings,
                                 const std::vector<const LOMFile*>& documents, QWidget* parent)
    : QDialog(parent), settings_(settings), documents_(documents) {
    setWindowTitle(QStringLiteral("Burn Audio CD"));
    list_ = new QListWidget(this);
    list_->setObjectName(QStringLiteral("tracks"));
    list_->setMinimumSize(420, 180);
    for (size_t i = 0; i < documents_.size(); ++i) {
        auto* item =
            new QListWidgetItem(QString::fromStdString(documents_[i]->GetDisplayName()), list_);
        item->setData(kDocumentRole, static_cast<int>(i));
    }
    auto* add = new QPushButton(QStringLiteral("Add Files..."), this);
    auto* remove = new QPushButton(QStringLiteral("Remove"), this);
    auto* up = new QPushButton(QStringLiteral("Up"), this);
    auto* down = new QPushButton(QStringLiteral("Down"), this);
    auto* listButtons = new QVBoxLayout;
    for (QPushButton* b : {add, remove, up, down})
        listButtons->addWidget(b);
    listButtons->addStretch();
    auto* listRow = new QHBoxLayout;
    listRow->addWidget(list_, 1);
    listRow->addLayout(listButtons);

    writer_ = new QComboBox(this);
    writer_->setEditable(true);
    writer_->setObjectName(QStringLiteral("writer"));
    for (const std::string& d : CdBurnDrives())
        writer_->addItem(QString::fromStdString(d));
    writer_->setCurrentText(QString::fromStdString(settings_.GetText(
        kSection, "Writer", writer_->count() > 0 ? writer_->itemText(0).toStdString() : "")));
    auto* image = new QPushButton(QStringLiteral("Image File..."), this);
    auto* writerRow = new QHBoxLayout;
    writerRow->addWidget(writer_, 1);
    writerRow->addWidget(image);
    simulate_ = new QCheckBox(QStringLiteral("Simulate only (the laser stays off)"), this);
    speed_ = new QComboBox(this);
    for (int s : kSpeeds)
        speed_->addItem(s == 0 ? QStringLiteral("Fastest") : QStringLiteral("%1x").arg(s));
    speed_->setCurrentIndex(std::clamp(settings_.GetInt(kSection, "Speed", 0), 0, 5));
    eject_ = new QCheckBox(QStringLiteral("Eject the disc when done"), this);
    eject_->setChecked(settings_.GetInt(kSection, "Eject", 1) != 0);
    gap_ = new QSpinBox(this);
    gap_->setRange(0, 10);
    gap_->setSuffix(QStringLiteral(" s"));
    gap_->setValue(settings_.GetInt(kSection, "GapSeconds", 2));
    title_ = new QLineEdit(this);
    performer_ = new QLineEdit(this);

    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("Writer:"), writerRow);
    form->addRow(QStringLiteral("Speed:"), speed_);
    form->addRow(QStringLiteral("Gap between tracks:"), gap_);
    form->addRow(QStringLiteral("Disc title (CD-TEXT):"), title_);
    form->addRow(QStringLiteral("Disc performer:"), performer_);
    form->addRow(QString(), simulate_);
    form->addRow(QString(), eject_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setText(QStringLiteral("Burn"));
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(listRow, 1);
    layout->addLayout(form);
    layout->addWidget(buttons);

    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(add, &QPushButton::clicked, this, &LOMCdBurnDialog::AddFiles);
    connect(remove, &QPushButton::clicked, this, [this] { delete list_->currentItem(); });
    connect(up, &QPushButton::clicked, this, [this] { Move(-1); });
    connect(down, &QPushButton::clicked, this, [this] { Move(1); });
    connect(image, &QPushButton::clicked, this, [this] {
        const QString path = QFileDialog::getSaveFileName(
            this, QStringLiteral("Disc Image"), QDir::homePath() + QStringLiteral("/disc.cue"),
            QStringLiteral("Cue sheet and data (*.cue)"));
        if (!path.isEmpty())
            writer_->setCurrentText(path.endsWith(QStringLiteral(".cue"), Qt::CaseInsensitive)
                                        ? path
                                        : path + QStringLiteral(".cue"));
    });
}

void LOMCdBurnDialog::AddFiles() {
    const QStringList files =
        QFileDialog::getOpenFileNames(this, QStringLiteral("Add Files"),
                                      QString::fromStdString(settings_.GetText(
                                          kSection, "FilesDir", QDir::homePath().toStdString())));
    for (const QString& f : files) {
        auto* item = new QListWidgetItem(QFileInfo(f).fileName(), list_);
        item->setData(kDocumentRole, -1);
        item->setData(kPathRole, f);
    }
    if (!files.isEmpty())
        settings_.SetText(kSection, "FilesDir",
                          QFileInfo(files.first()).absolutePath().toStdString());
}

void LOMCdBurnDialog::Move(int by) {
    const int row = list_->currentRow();
    const int to = row + by;
    if (row < 0 || to < 0 || to >= list_->count())
        return;
    QListWidgetItem* item = list_->takeItem(row);
    list_->insertItem(to, item);
    list_->setCurrentRow(to);
}

LCdBurnRequest LOMCdBurnDialog::Request() const {
    LCdBurnRequest r;
    r.device = writer_->currentText().trimmed().toStdString();
    r.simulate = simulate_->isChecked();
    r.eject = eject_->isChecked();
    r.speedKb = kSpeeds[std::clamp(speed_->currentIndex(), 0, 5)] * 176;
    r.discTitle = title_->text().trimmed().toStdString();
    r.discPerformer = performer_->text().trimmed().toStdString();
    for (int i = 0; i < list_->count(); ++i) {
        const QListWidgetItem* item = list_->item(i);
        LCdBurnItem t;
        t.gapSectors = gap_->value() * 75;
        const int doc = item->data(kDocumentRole).toInt();
        if (doc >= 0) {
            const LOMFile& d = *documents_[static_cast<size_t>(doc)];
            t.path = d.GetDisplayName();
            t.source = LSourceRef(d.audio.MakeSource().Get());
            t.title =
                d.tags.title.empty()
                    ? QFileInfo(QString::fromStdString(t.path)).completeBaseName().toStdString()
                    : d.tags.title;
            t.performer = d.tags.artist;
        } else {
            t.path = item->data(kPathRole).toString().toStdString();
            t.title = QFileInfo(item->data(kPathRole).toString()).completeBaseName().toStdString();
        }
        r.tracks.push_back(t);
    }
    return r;
}

void LOMCdBurnDialog::accept() {
    if (list_->count() == 0 || writer_->currentText().trimmed().isEmpty()) {
        QMessageBox::warning(this, QStringLiteral("Burn Audio CD"),
                             QStringLiteral("Choose the tracks and the writer (a CD drive or a "
                                            "disc image file)."));
        return;
    }
    settings_.SetText(kSection, "Writer", writer_->currentText().trimmed().toStdString());
    settings_.SetInt(kSection, "Speed", speed_->currentIndex());
    settings_.SetInt(kSection, "Eject", eject_->isChecked() ? 1 : 0);
    settings_.SetInt(kSection, "GapSeconds", gap_->value());
    QDialog::accept();
}

}  // namespace osmera
