#include "app/cd_rip_dialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "devices/cd_lookup_job.h"
#include "edit/audio_cut_tank.h"
#include "platform/qt_dispatcher.h"

namespace osmera {

namespace {

constexpr const char* kSection = "CdRip";

QString Q(const std::string& s) {
    return QString::fromStdString(s);
}

}  // namespace

LOMCdRipDialog::LOMCdRipDialog(LSettingsStore& settings, QWidget* parent)
    : QDialog(parent), settings_(settings), dispatcher_(std::make_unique<LQtDispatcher>()) {
    setWindowTitle(QStringLiteral("Load Audio CD Track(s)"));
    lookup_ = std::make_unique<LCdLookupJob>(*dispatcher_,
                                             [this](const LCdLookupResult& r) { LookupDone(r); });

    source_ = new QComboBox(this);
    source_->setEditable(true);
    source_->setObjectName(QStringLiteral("source"));
    for (const std::string& d : LCdDisc::Drives())
        source_->addItem(Q(d));
    auto* browse = new QPushButton(QStringLiteral("Image..."), this);
    auto* read = new QPushButton(QStringLiteral("Read"), this);
    read->setObjectName(QStringLiteral("read"));
    auto* sourceRow = new QHBoxLayout;
    sourceRow->addWidget(source_, 1);
    sourceRow->addWidget(browse);
    sourceRow->addWidget(read);

    tracks_ = new QTreeWidget(this);
    tracks_->setObjectName(QStringLiteral("tracks"));
    tracks_->setHeaderLabels(
        {QStringLiteral("Track"), QStringLiteral("Length"), QStringLiteral("Title")});
    tracks_->setRootIsDecorated(false);
    tracks_->header()->setStretchLastSection(true);
    tracks_->setMinimumSize(460, 220);

    matchBox_ = new QComboBox(this);
    matchBox_->setObjectName(QStringLiteral("matches"));
    matchBox_->setEnabled(false);
    lookupButton_ = new QPushButton(QStringLiteral("Look Up"), this);
    auto* matchRow = new QHBoxLayout;
    matchRow->addWidget(matchBox_, 1);
    matchRow->addWidget(lookupButton_);
    status_ = new QLabel(this);
    status_->setObjectName(QStringLiteral("status"));
    status_->setWordWrap(true);

    mode_ = new QComboBox(this);
    mode_->addItems(
        {QStringLiteral("Full error correction (secure)"), QStringLiteral("Fast (no correction)")});
    mode_->setCurrentIndex(settings_.GetInt(kSection, "Mode", 0) == 1 ? 1 : 0);
    folder_ = new QLineEdit(
        Q(settings_.GetText(kSection, "Folder", QDir::homePath().toStdString())), this);
    folder_->setObjectName(QStringLiteral("folder"));
    auto* folderBrowse = new QPushButton(QStringLiteral("..."), this);
    auto* folderRow = new QHBoxLayout;
    folderRow->addWidget(folder_, 1);
    folderRow->addWidget(folderBrowse);
    format_ = new QComboBox(this);
    format_->addItems({QStringLiteral("wav"), QStringLiteral("flac")});
    format_->setCurrentText(Q(settings_.GetText(kSection, "Format", "wav")));

    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("Drive or image:"), sourceRow);
    form->addRow(QStringLiteral("Disc:"), matchRow);
    form->addRow(QString(), status_);
    form->addRow(QStringLiteral("Reading:"), mode_);
    form->addRow(QStringLiteral("Save tracks in:"), folderRow);
    form->addRow(QStringLiteral("Format:"), format_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setText(QStringLiteral("Rip"));
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(tracks_, 1);
    layout->addWidget(buttons);

    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(browse, &QPushButton::clicked, this, &LOMCdRipDialog::ChooseImage);
    connect(read, &QPushButton::clicked, this, [this] { OpenSource(source_->currentText()); });
    connect(lookupButton_, &QPushButton::clicked, this, &LOMCdRipDialog::LookUp);
    connect(matchBox_, qOverload<int>(&QComboBox::activated), this, &LOMCdRipDialog::ApplyMatch);
    connect(folderBrowse, &QPushButton::clicked, this, [this] {
        const QString dir = QFileDialog::getExistingDirectory(
            this, QStringLiteral("Save Tracks In"), folder_->text());
        if (!dir.isEmpty())
            folder_->setText(dir);
    });
    const QString last = Q(settings_.GetText(kSection, "Source", ""));
    if (!last.isEmpty() && source_->findText(last) < 0)
        source_->addItem(last);
    if (source_->count() > 0) {
        source_->setCurrentText(last.isEmpty() ? source_->itemText(0) : last);
        OpenSource(source_->currentText());
    } else {
        status_->setText(QStringLiteral("No CD drive was found; choose a disc image."));
    }
}

LOMCdRipDialog::~LOMCdRipDialog() {
    lookup_.reset();  // before the dispatcher it posts through
}

void LOMCdRipDialog::ChooseImage() {
    const QString path = QFileDialog::getOpenFileName(
        this, QStringLiteral("Open Disc Image"), QFileInfo(source_->currentText()).absolutePath(),
        QStringLiteral("Disc images (*.cue *.toc *.nrg);;All files (*)"));
    if (path.isEmpty())
        return;
    source_->setCurrentText(path);
    OpenSource(path);
}

bool LOMCdRipDialog::OpenSource(const QString& source) {
    lookup_->Cancel();
    matches_.clear();
    matchBox_->clear();
    matchBox_->setEnabled(false);
    tracks_->clear();
    source_->setCurrentText(source);
    if (!disc_.Open(source.toStdString())) {
        status_->setText(Q(disc_.Error()));
        lookupButton_->setEnabled(false);
        return false;
    }
    const LCdToc& toc = disc_.Toc();
    for (const LCdTrack& t : toc.tracks) {
        auto* item = new QTreeWidgetItem(tracks_);
        item->setText(0, QString::number(t.number));
        item->setText(1, Q(CdSectorsText(t.sectors)));
        item->setText(2, t.audio ? Q(t.title) : QStringLiteral("(data track)"));
        item->setData(0, Qt::UserRole, t.number);
        if (t.audio) {
            item->setFlags(item->flags() | Qt::ItemIsEditable | Qt::ItemIsUserCheckable);
            item->setCheckState(0, Qt::Checked);
        } else {
            item->setFlags(item->flags() & ~Qt::ItemIsEnabled);
        }
    }
    tracks_->resizeColumnToContents(0);
    QString line = QStringLiteral("%1 tracks, %2")
                       .arg(toc.tracks.size())
                       .arg(Q(CdSectorsText(toc.leadOutSector - toc.tracks.front().startSector)));
    if (!toc.title.empty())
        line += QStringLiteral(": ") +
                (toc.performer.empty() ? QString() : Q(toc.performer) + QStringLiteral(" - ")) +
                Q(toc.title);
    status_->setText(line + QStringLiteral("."));
    lookupButton_->setEnabled(true);
    if (LCdLookupSettings::Read(settings_).enabled)
        LookUp();
    return true;
}

void LOMCdRipDialog::LookUp() {
    if (!disc_.IsOpen())
        return;
    LCdLookupSettings s = LCdLookupSettings::Read(settings_);
    s.enabled = true;  // the button asks even when automatic lookups are off
    const std::string data = UserAppDataFolder();
    if (!data.empty())
        s.cacheFolder = data + "/Quillon/Osmera/CdLookup";
    status_->setText(QStringLiteral("Looking the disc up..."));
    lookup_->Start(disc_.Toc(), s);
}

void LOMCdRipDialog::LookupDone(const LCdLookupResult& r) {
    status_->setText(Q(r.message));
    matches_ = r.matches;
    matchBox_->clear();
    for (const LCdRelease& m : matches_)
        matchBox_->addItem(Q(m.Label()));
    matchBox_->setEnabled(matches_.size() > 1);
    if (!matches_.empty())
        ApplyMatch(0);
}

void LOMCdRipDialog::ApplyMatch(int index) {
    if (index < 0 || static_cast<size_t>(index) >= matches_.size())
        return;
    const LCdRelease& m = matches_[index];
    for (int i = 0; i < tracks_->topLevelItemCount(); ++i) {
        QTreeWidgetItem* item = tracks_->topLevelItem(i);
        const int n = item->data(0, Qt::UserRole).toInt() - disc_.Toc().firstTrack + 1;
        const std::string title = m.TrackTitle(n);
        if (!title.empty())
            item->setText(2, Q(title));
    }
}

std::vector<int> LOMCdRipDialog::ChosenTracks() const {
    std::vector<int> out;
    for (int i = 0; i < tracks_->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* item = tracks_->topLevelItem(i);
        if ((item->flags() & Qt::ItemIsEnabled) && item->checkState(0) == Qt::Checked)
            out.push_back(item->data(0, Qt::UserRole).toInt());
    }
    return out;
}

QString LOMCdRipDialog::TrackTitle(int track) const {
    for (int i = 0; i < tracks_->topLevelItemCount(); ++i)
        if (tracks_->topLevelItem(i)->data(0, Qt::UserRole).toInt() == track)
            return tracks_->topLevelItem(i)->text(2).trimmed();
    return {};
}

LAudioTags LOMCdRipDialog::TrackTags(int track) const {
    LAudioTags tags;
    const LCdToc& toc = disc_.Toc();
    tags.title = TrackTitle(track).toStdString();
    tags.track = static_cast<uint32_t>(track);
    const int index = matchBox_->currentIndex();
    if (index >= 0 && static_cast<size_t>(index) < matches_.size()) {
        const LCdRelease& m = matches_[index];
        tags.artist = m.TrackArtist(track - toc.firstTrack + 1);
        tags.album = m.title;
        tags.year = static_cast<uint32_t>(std::atoi(m.year.c_str()));
    } else {
        const LCdTrack* t = toc.Track(track);
        tags.artist = t && !t->performer.empty() ? t->performer : toc.performer;
        tags.album = toc.title;
    }
    return tags;
}

LCdRipMode LOMCdRipDialog::Mode() const {
    return mode_->currentIndex() == 1 ? LCdRipMode::kFast : LCdRipMode::kFull;
}

QString LOMCdRipDialog::OutputFolder() const {
    return folder_->text();
}

QString LOMCdRipDialog::FormatName() const {
    return format_->currentText();
}

QString LOMCdRipDialog::StatusLine() const {
    return status_->text();
}

void LOMCdRipDialog::accept() {
    if (!disc_.IsOpen() || ChosenTracks().empty()) {
        status_->setText(QStringLiteral("Choose a disc and at least one audio track."));
        return;
    }
    if (!QDir().mkpath(folder_->text())) {
        status_->setText(QStringLiteral("The folder \"%1\" cannot be made.").arg(folder_->text()));
        return;
    }
    settings_.SetText(kSection, "Source", disc_.Source());
    settings_.SetText(kSection, "Folder", folder_->text().toStdString());
    settings_.SetText(kSection, "Format", format_->currentText().toStdString());
    settings_.SetInt(kSection, "Mode", mode_->currentIndex());
    lookup_->Cancel();
    QDialog::accept();
}

}  // namespace osmera
