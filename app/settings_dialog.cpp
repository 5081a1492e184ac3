#include "app/settings_dialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTabWidget>
#include <QVBoxLayout>

#include "app/key_macro_runner.h"
#include "app/keys_page.h"
#include "app/recent_file_list.h"
#include "app/splash_window.h"
#include "devices/cd_lookup.h"
#include "devices/record_take.h"
#include "devices/sound_devices.h"

namespace osmera {
namespace {

constexpr const char* kSettings = "Settings";

// A device chooser: value v is item v, the system's default (0) first.
template <typename Devices>
QComboBox* DeviceChooser(uint32_t chosen) {
    auto* box = new QComboBox;
    for (uint32_t v = 0; v <= Devices::GetCount(); ++v)
        box->addItem(QString::fromStdString(Devices::GetText(v)));
    box->setCurrentIndex(chosen < static_cast<uint32_t>(box->count()) ? static_cast<int>(chosen)
                                                                      : 0);
    return box;
}

}  // namespace

LOMSettingsDialog::LOMSettingsDialog(LSettingsStore& settings, LUserPrompts& prompts,
                                     QWidget* parent)
    : QDialog(parent), settings_(settings), prompts_(prompts) {
    setWindowTitle(QStringLiteral("Settings"));
    pages_ = new QTabWidget;
    keys_ = new LKeysPage(prompts_, KeyMacroFilePath(settings_));
    pages_->addTab(keys_, QStringLiteral("Keys"));
    pages_->addTab(BuildAudioPage(), QStringLiteral("Audio"));
    pages_->addTab(BuildFoldersPage(), QStringLiteral("Folders"));
    pages_->addTab(BuildGeneralPage(), QStringLiteral("General"));
    pages_->addTab(BuildCdPage(), QStringLiteral("CD"));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &LOMSettingsDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(pages_, 1);
    layout->addWidget(buttons);
    resize(520, 400);
}

QWidget* LOMSettingsDialog::BuildAudioPage() {
    const int32_t out = settings_.GetInt(kSettings, "SoundOutDevice", 0);
    outDevice_ = DeviceChooser<LSoundPlayDevice>(out > 0 ? static_cast<uint32_t>(out) : 0u);
    inDevice_ = DeviceChooser<LSoundRecordDevice>(LRecordOptions::Load(settings_).device);
    autoPlayback_ = new QCheckBox(QStringLiteral("&Play the changed place after an effect"));
    autoPlayback_->setChecked(settings_.GetInt(kSettings, "AutoPlaybackAfterEffects", 1) != 0);
    auto* page = new QWidget;
    auto* form = new QFormLayout(page);
    form->addRow(QStringLiteral("&Output device:"), outDevice_);
    form->addRow(QStringLiteral("&Input device:"), inDevice_);
    form->addRow(autoPlayback_);
    return page;
}

QWidget* LOMSettingsDialog::BuildFoldersPage() {
    const std::string current = settings_.GetText("Folders", "Current", "");
    folderShown_ = QString::fromStdString(settings_.GetText(kSettings, "WorkingFolder", current));
    folder_ = new QLineEdit(folderShown_);
    auto* browse = new QPushButton(QStringLiteral("&Browse..."));
    connect(browse, &QPushButton::clicked, this, &LOMSettingsDialog::ChooseFolder);
    auto* row = new QHBoxLayout;
    row->addWidget(folder_, 1);
    row->addWidget(browse);
    auto* note = new QLabel(
        QStringLiteral("Osmera keeps the audio of open files in the working folder. A new "
                       "working folder is used from the next start of Osmera."));
    note->setWordWrap(true);
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    auto* label = new QLabel(QStringLiteral("&Working folder:"));
    label->setBuddy(folder_);
    layout->addWidget(label);
    layout->addLayout(row);
    layout->addWidget(note);
    lv2Folder_ =
        new QLineEdit(QString::fromStdString(settings_.GetText(kSettings, "LV2Folder", "")));
    ladspaFolder_ =
        new QLineEdit(QString::fromStdString(settings_.GetText(kSettings, "LADSPAFolder", "")));
    lv2Folder_->setPlaceholderText(QStringLiteral("Only the standard LV2 folders"));
    ladspaFolder_->setPlaceholderText(QStringLiteral("Only the standard LADSPA folders"));
    auto* plugins = new QFormLayout;
    plugins->addRow(QStringLiteral("Extra &LV2 folder:"), lv2Folder_);
    plugins->addRow(QStringLiteral("Extra L&ADSPA folder:"), ladspaFolder_);
    layout->addSpacing(12);
    layout->addLayout(plugins);
    layout->addStretch(1);
    return page;
}

QWidget* LOMSettingsDialog::BuildGeneralPage() {
    recentCount_ = new QSpinBox;
    recentCount_->setRange(0, LRecentFileList::kSlots);
    recentCount_->setValue(LRecentFileList::ShownCount(settings_));
    splash_ = new QCheckBox(QStringLiteral("Show the &splash window at start-up"));
    splash_->setChecked(LOMSplashWindow::IsWanted(settings_));
    auto* page = new QWidget;
    auto* form = new QFormLayout(page);
    form->addRow(QStringLiteral("&Recent files shown:"), recentCount_);
    form->addRow(splash_);
    return page;
}

QWidget* LOMSettingsDialog::BuildCdPage() {
    const LCdLookupSettings lookup = LCdLookupSettings::Read(settings_);
    cdLookup_ = new QCheckBox(QStringLiteral("&Look up a disc's titles online when it is read"));
    cdLookup_->setChecked(lookup.enabled);
    cdService_ = new QComboBox;
    cdService_->addItems({QStringLiteral("MusicBrainz"), QStringLiteral("CDDB")});
    cdService_->setCurrentIndex(lookup.cddb ? 1 : 0);
    cdServer_ = new QLineEdit(QString::fromStdString(lookup.server));
    // An empty server means the chosen service's usual one, which the field shows greyed.
    const auto showUsual = [this]() {
        cdServer_->setPlaceholderText(QString::fromUtf8(
            cdService_->currentIndex() == 1 ? LCdLookupSettings::kCddbServer
                                            : LCdLookupSettings::kMusicBrainzServer));
    };
    showUsual();
    connect(cdService_, &QComboBox::currentIndexChanged, this, showUsual);
    cdTimeout_ = new QSpinBox;
    cdTimeout_->setRange(1, 120);
    cdTimeout_->setSuffix(QStringLiteral(" s"));
    cdTimeout_->setValue(lookup.timeoutMs / 1000);
    auto* page = new QWidget;
    auto* form = new QFormLayout(page);
    form->addRow(cdLookup_);
    form->addRow(QStringLiteral("&Service:"), cdService_);
    form->addRow(QStringLiteral("Se&rver:"), cdServer_);
    form->addRow(QStringLiteral("&Wait for an answer:"), cdTimeout_);
    return page;
}

void LOMSettingsDialog::ChooseFolder() {
    const QString chosen =
        QFileDialog::getExistingDirectory(this, QStringLiteral("Working Folder"), folder_->text());
    if (!chosen.isEmpty())
        folder_->setText(chosen);
}

void LOMSettingsDialog::accept() {
    if (!keys_->Save()) {
        pages_->setCurrentWidget(keys_);
        return;
    }
    settings_.SetInt(kSettings, "SoundOutDevice", outDevice_->currentIndex());
    LRecordOptions record = LRecordOptions::Load(settings_);
    record.device = static_cast<uint32_t>(inDevice_->currentIndex());
    record.Save(settings_);
    settings_.SetInt(kSettings, "AutoPlaybackAfterEffects", autoPlayback_->isChecked() ? 1 : 0);
    // An untouched folder stays unwritten, so it keeps following "Folders"/"Current".
    const QString folder = folder_->text().trimmed();
    if (folder != folderShown_)
        settings_.SetText(kSettings, "WorkingFolder", folder.toStdString());
    settings_.SetText(kSettings, "LV2Folder", lv2Folder_->text().trimmed().toStdString());
    settings_.SetText(kSettings, "LADSPAFolder", ladspaFolder_->text().trimmed().toStdString());
    settings_.SetInt(kSettings, "RecentFileCount", recentCount_->value());
    settings_.SetInt(kSettings, "ShowSplash", splash_->isChecked() ? 1 : 0);
    LCdLookupSettings lookup = LCdLookupSettings::Read(settings_);
    lookup.enabled = cdLookup_->isChecked();
    lookup.cddb = cdService_->currentIndex() == 1;
    lookup.server = cdServer_->text().trimmed().toStdString();
    lookup.timeoutMs = cdTimeout_->value() * 1000;
    lookup.Write(settings_);
    QDialog::accept();
}

}  // namespace osmera
