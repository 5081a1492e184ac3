#pragma once
// The two dialogs of the Keys page that make a key macro:
//
// LKeyChangeDlg captures a key: every key press shows its text; Enter ends the capture;
// Shift, Ctrl and Alt pressed alone and Esc are ignored; any other key is kept together
// with the modifiers held at the time. Enter with no key captured yet, and Cancel, end it
// without a key.
//
// AddKeysCommandDlg ("Select command(s) to add to the Macro.") lists every command of the
// command table by its menu text; OK gives the ones selected, in the table's order.
//
// Ownership: Qt parent/child. Threads: GUI thread only.

#include <QDialog>
#include <cstdint>
#include <vector>

class QLabel;
class QListWidget;

namespace osmera {

class LKeyChangeDlg : public QDialog {
    Q_OBJECT
  public:
    explicit LKeyChangeDlg(QWidget* parent = nullptr);

    // The key value captured (virtual-key code and modifier bits); 0 for none.
    uint32_t Key() const { return key_; }

  protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    QLabel* keyText_;
    uint32_t key_ = 0;
};

class AddKeysCommandDlg : public QDialog {
    Q_OBJECT
  public:
    explicit AddKeysCommandDlg(QWidget* parent = nullptr);

    QListWidget* List() const { return list_; }
    // The identifiers selected, in the table's order.
    std::vector<uint32_t> Commands() const;

  private:
    QListWidget* list_;
};

// A command's menu text without mnemonics and keys ("Open File..."); the number for an
// identifier the table does not know.
QString CommandMenuName(uint32_t id);

}  // namespace osmera
