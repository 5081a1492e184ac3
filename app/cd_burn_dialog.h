#pragma once
// LOMCdBurnDialog: the dialog of "Burn Audio CD...". The tracks (the open documents to
// begin with, and files the user adds) in the order they will be burned, the writer (a
// drive, or a disc image file), simulation, speed, eject, the gap between tracks and the
// disc's CD-TEXT. Each document's audio is taken as a source over a copy of its cut list
// when the dialog ends, so later edits do not change what is burned.
//
// Ownership: a stack dialog. Threads: GUI thread only.

#include <QDialog>
#include <vector>

#include "core/settings_store.h"
#include "devices/cd_burner.h"
#include "edit/om_file.h"

class QCheckBox;
class QComboBox;
class QLineEdit;
class QListWidget;
class QSpinBox;

namespace osmera {

class LOMCdBurnDialog : public QDialog {
    Q_OBJECT
  public:
    LOMCdBurnDialog(LSettingsStore& settings, const std::vector<const LOMFile*>& documents,
                    QWidget* parent = nullptr);

    // What to burn; valid after OK.
    LCdBurnRequest Request() const;

  private:
    void AddFiles();
    void Move(int by);
    void accept() override;

    LSettingsStore& settings_;
    std::vector<const LOMFile*> documents_;
    QListWidget* list_;
    QComboBox* writer_;
    QCheckBox* simulate_;
    QComboBox* speed_;
    QCheckBox* eject_;
    QSpinBox* gap_;
    QLineEdit* title_;
    QLineEdit* performer_;
};

}  // namespace osmera
