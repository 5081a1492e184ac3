#pragma once
// LOMCdRipDialog: the dialog of "Load Audio CD Track(s)...". The user picks a drive or a
// disc image, sees its tracks with their lengths and titles (from CD-TEXT, then from a
// lookup chosen among its matches), ticks the tracks to rip, the correction mode, and the
// folder and format the ripped files go to. The lookup runs in the background
// (devices/cd_lookup_job.h): the dialog stays usable and shows its result in one line.
//
// Ownership: a stack dialog; it owns the opened disc, which the caller uses after OK to
// rip. Threads: GUI thread only.

#include <QDialog>
#include <memory>
#include <vector>

#include "core/settings_store.h"
#include "devices/cd_disc.h"
#include "devices/cd_lookup.h"
#include "devices/cd_track_source.h"
#include "formats/audio_tags.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTreeWidget;

namespace osmera {

class LCdLookupJob;
class LQtDispatcher;

class LOMCdRipDialog : public QDialog {
    Q_OBJECT
  public:
    LOMCdRipDialog(LSettingsStore& settings, QWidget* parent = nullptr);
    ~LOMCdRipDialog() override;

    // Opens a drive or an image and lists its tracks; false (and a line saying why) when it
    // cannot be read.
    bool OpenSource(const QString& source);
    // Looks the disc up with the user's lookup settings.
    void LookUp();

    // After OK.
    const LCdDisc& Disc() const { return disc_; }
    std::vector<int> ChosenTracks() const;
    QString TrackTitle(int track) const;
    // Tags for `track`: its title, the chosen match's artist, album and year, else CD-TEXT.
    LAudioTags TrackTags(int track) const;
    LCdRipMode Mode() const;
    QString OutputFolder() const;
    QString FormatName() const;
    QString StatusLine() const;

    // Checks the choice (a disc, a track, a folder that can be made) and remembers it.
    void accept() override;

  private:
    void ChooseImage();
    void ApplyMatch(int index);
    void LookupDone(const LCdLookupResult& result);

    LSettingsStore& settings_;
    LCdDisc disc_;
    std::vector<LCdRelease> matches_;
    std::unique_ptr<LQtDispatcher> dispatcher_;
    std::unique_ptr<LCdLookupJob> lookup_;
    QComboBox* source_;
    QTreeWidget* tracks_;
    QComboBox* matchBox_;
    QLabel* status_;
    QPushButton* lookupButton_;
    QComboBox* mode_;
    QLineEdit* folder_;
    QComboBox* format_;
};

}  // namespace osmera
