#pragma once
// The Send dialog (command 1009 "Send..."): the current file, whole or its selection,
// encoded in a chosen format, sent by email or uploaded to a server, in the background.
//
// Email tab: server, user, password, sender, to, cc, subject, message, and "Use my desktop
// mail program instead" (xdg-email with the encoded file attached). Upload tab: server URL,
// folder, user, password, create missing folders, resume. Below both: whole file or
// selection, format, the attachment's estimated size, the size above which a mail asks
// first, a progress bar, the outcome in one line, Send and Cancel (which stops a running
// send, else closes).
//
// Servers, users, the sender, the format and the warning size live in the settings store
// (section "Send", devices/send_accounts.h); passwords only in the desktop's secret store
// when "Remember" is ticked and one answers, else they are typed each time.
//
// Ownership: a child of the frame, kept for the session (hidden when closed) so that files
// handed to the desktop's mail program live until the editor ends. It owns its running job.
// Threads: GUI thread only; the send runs on the job's worker (app/send_job.h).

#include <QDialog>
#include <QTimer>
#include <memory>
#include <vector>

#include "app/send_job.h"
#include "core/settings_store.h"
#include "devices/send_accounts.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;
class QRadioButton;
class QSpinBox;
class QTabWidget;

namespace osmera {

class LOMSendDialog : public QDialog {
    Q_OBJECT
  public:
    LOMSendDialog(LSettingsStore& settings, QWidget* parent);
    ~LOMSendDialog() override;

    // Shows the dialog for a document: its audio, the selection [selStart, selEnd) (empty:
    // none) and the name the attachment takes.
    void Open(const LCutListAudio& audio, int32_t selStart, int32_t selEnd,
              const std::string& baseName);
    bool IsSending() const { return job_ != nullptr; }
    QString OutcomeText() const;

    // Parts the tests fill in.
    QTabWidget* Tabs() const { return tabs_; }
    QLineEdit* SmtpServer() const { return smtpServer_; }
    QLineEdit* To() const { return to_; }
    QLineEdit* From() const { return from_; }
    QCheckBox* Plain() const { return plain_; }
    QLineEdit* UploadServer() const { return uploadServer_; }
    QLineEdit* Folder() const { return folder_; }
    QLineEdit* UploadUser() const { return uploadUser_; }
    QLineEdit* UploadPassword() const { return uploadPassword_; }
    QComboBox* Format() const { return format_; }
    QRadioButton* SelectionOnly() const { return selection_; }
    QRadioButton* WholeFile() const { return whole_; }
    QLabel* SizeLabel() const { return size_; }
    void SetCaFile(const std::string& file) { caFile_ = file; }

  public slots:
    void CmSend();
    void CmCancel();
    void CmDesktopMail();

  protected:
    void closeEvent(QCloseEvent* event) override;
    // Drops the copy of the audio so that its cuts do not outlive the document's need.
    void hideEvent(QHideEvent* event) override;

  private:
    void UpdateSize();
    void Poll();
    void Finish();
    void SaveAccounts();
    void LoadPassword(QLineEdit* field, const QString& url, const QString& user);
    bool StartJob(LSendJob::Kind kind);
    void SetBusy(bool busy);
    int64_t Estimate() const;

    LSettingsStore& settings_;
    LSendAccounts accounts_;
    bool secretStore_ = false;
    LCutListAudio audio_;
    int32_t selStart_ = 0;
    int32_t selEnd_ = 0;
    std::string baseName_;
    std::string caFile_;

    QTabWidget* tabs_;
    QLineEdit* smtpServer_;
    QLineEdit* smtpUser_;
    QLineEdit* smtpPassword_;
    QCheckBox* plain_;
    QLineEdit* from_;
    QLineEdit* to_;
    QLineEdit* cc_;
    QLineEdit* subject_;
    QPlainTextEdit* message_;
    QLineEdit* uploadServer_;
    QLineEdit* folder_;
    QLineEdit* uploadUser_;
    QLineEdit* uploadPassword_;
    QCheckBox* createFolders_;
    QCheckBox* resume_;
    QCheckBox* remember_;
    QRadioButton* whole_;
    QRadioButton* selection_;
    QComboBox* format_;
    QLabel* size_;
    QSpinBox* warn_;
    QProgressBar* bar_;
    QLabel* outcome_;
    QPushButton* send_;
    QPushButton* desktop_;
    QPushButton* cancel_;
    QTimer poll_;
    std::unique_ptr<LSendJob> job_;
    LSendJob::Kind jobKind_ = LSendJob::Kind::kMail;
    // Jobs whose file the desktop's mail program may still read.
    std::vector<std::unique_ptr<LSendJob>> handedOver_;
};

}  // namespace osmera
