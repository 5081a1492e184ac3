// The Send dialog: email or upload of the current file, in the background.
#include "app/send_dialog.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QStandardPaths>
#include <QTabWidget>
#include <QVBoxLayout>

#include "app/save_formats.h"
#include "formats/audio_format.h"

namespace osmera {

namespace {

QString Q(const std::string& s) {
    return QString::fromStdString(s);
}

std::string S(const QString& s) {
    return s.trimmed().toStdString();
}

QLineEdit* PasswordField() {
    auto* field = new QLineEdit;
    field->setEchoMode(QLineEdit::Password);
    return field;
}

}  // namespace

LOMSendDialog::LOMSendDialog(LSettingsStore& settings, QWidget* parent)
    : QDialog(parent), settings_(settings) {
    setWindowTitle(QStringLiteral("Send"));
    setObjectName(QStringLiteral("SendDialog"));
    accounts_ = LSendAccounts::Load(settings_);
    secretStore_ = SecretStoreAvailable();

    tabs_ = new QTabWidget;
    auto* mail = new QWidget;
    auto* mailForm = new QFormLayout(mail);
    smtpServer_ = new QLineEdit(Q(accounts_.smtpUrl));
    smtpServer_->setPlaceholderText(QStringLiteral("smtps://mail.example.org or smtp://...:587"));
    smtpUser_ = new QLineEdit(Q(accounts_.smtpUser));
    smtpPassword_ = PasswordField();
    plain_ = new QCheckBox(QStringLiteral("Unencrypted connection (a server on this computer)"));
    plain_->setChecked(accounts_.smtpPlain);
    from_ = new QLineEdit(Q(accounts_.from));
    to_ = new QLineEdit;
    to_->setPlaceholderText(QStringLiteral("name@example.org, another@example.org"));
    cc_ = new QLineEdit;
    subject_ = new QLineEdit;
    message_ = new QPlainTextEdit;
    message_->setMinimumHeight(70);
    desktop_ = new QPushButton(QStringLiteral("Use my desktop mail program instead"));
    mailForm->addRow(QStringLiteral("Mail server:"), smtpServer_);
    mailForm->addRow(QStringLiteral("User:"), smtpUser_);
    mailForm->addRow(QStringLiteral("Password:"), smtpPassword_);
    mailForm->addRow(QString(), plain_);
    mailForm->addRow(QStringLiteral("From:"), from_);
    mailForm->addRow(QStringLiteral("To:"), to_);
    mailForm->addRow(QStringLiteral("Cc:"), cc_);
    mailForm->addRow(QStringLiteral("Subject:"), subject_);
    mailForm->addRow(QStringLiteral("Message:"), message_);
    mailForm->addRow(QString(), desktop_);
    tabs_->addTab(mail, QStringLiteral("Email"));

    auto* upload = new QWidget;
    auto* uploadForm = new QFormLayout(upload);
    uploadServer_ = new QLineEdit(Q(accounts_.uploadUrl));
    uploadServer_->setPlaceholderText(QStringLiteral("ftp://, ftps:// or sftp://host"));
    folder_ = new QLineEdit;
    uploadUser_ = new QLineEdit(Q(accounts_.uploadUser));
    uploadPassword_ = PasswordField();
    createFolders_ = new QCheckBox(QStringLiteral("Create the folder when it is missing"));
    createFolders_->setChecked(accounts_.createFolders);
    resume_ = new QCheckBox(QStringLiteral("Resume a broken upload of the same file"));
    uploadForm->addRow(QStringLiteral("Server:"), uploadServer_);
    uploadForm->addRow(QStringLiteral("Folder:"), folder_);
    uploadForm->addRow(QStringLiteral("User:"), uploadUser_);
    uploadForm->addRow(QStringLiteral("Password:"), uploadPassword_);
    uploadForm->addRow(QString(), createFolders_);
    uploadForm->addRow(QString(), resume_);
    tabs_->addTab(upload, QStringLiteral("Upload"));

    remember_ = new QCheckBox(QStringLiteral("Remember passwords in the desktop's keyring"));
    remember_->setEnabled(secretStore_);
    remember_->setChecked(secretStore_);
    if (!secretStore_)
        remember_->setToolTip(
            QStringLiteral("No keyring answers: passwords are asked each time "
                           "and kept nowhere."));

    whole_ = new QRadioButton(QStringLiteral("Whole file"));
    selection_ = new QRadioButton(QStringLiteral("Selection"));
    whole_->setChecked(true);
    format_ = new QComboBox;
    for (const LWriteFormat& f : WriteFormats())
        format_->addItem(QString::fromLatin1(f.name));
    const int remembered = format_->findText(Q(accounts_.format));
    format_->setCurrentIndex(remembered >= 0 ? remembered : 0);
    size_ = new QLabel;
    warn_ = new QSpinBox;
    warn_->setRange(1, 10000);
    warn_->setSuffix(QStringLiteral(" MB"));
    warn_->setValue(accounts_.warnMegabytes);
    auto* what = new QHBoxLayout;
    what->addWidget(whole_);
    what->addWidget(selection_);
    what->addStretch();
    auto* encoding = new QHBoxLayout;
    encoding->addWidget(format_);
    encoding->addWidget(size_, 1);
    auto* common = new QFormLayout;
    common->addRow(QStringLiteral("Send:"), what);
    common->addRow(QStringLiteral("Format:"), encoding);
    common->addRow(QStringLiteral("Ask before mailing more than:"), warn_);
    common->addRow(QString(), remember_);

    bar_ = new QProgressBar;
    bar_->setRange(0, 1000);
    bar_->setValue(0);
    outcome_ = new QLabel;
    outcome_->setWordWrap(true);
    outcome_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    send_ = new QPushButton(QStringLiteral("Send"));
    send_->setDefault(true);
    cancel_ = new QPushButton(QStringLiteral("Close"));
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(bar_, 1);
    buttons->addWidget(send_);
    buttons->addWidget(cancel_);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(tabs_);
    layout->addLayout(common);
    layout->addWidget(outcome_);
    layout->addLayout(buttons);

    connect(send_, &QPushButton::clicked, this, &LOMSendDialog::CmSend);
    connect(cancel_, &QPushButton::clicked, this, &LOMSendDialog::CmCancel);
    connect(desktop_, &QPushButton::clicked, this, &LOMSendDialog::CmDesktopMail);
    connect(format_, &QComboBox::currentIndexChanged, this, [this] { UpdateSize(); });
    connect(whole_, &QRadioButton::toggled, this, [this] { UpdateSize(); });
    connect(warn_, &QSpinBox::valueChanged, this, [this] { UpdateSize(); });
    connect(tabs_, &QTabWidget::currentChanged, this, [this](int tab) {
        send_->setText(tab == 0 ? QStringLiteral("Send") : QStringLiteral("Upload"));
        UpdateSize();
    });
    connect(&poll_, &QTimer::timeout, this, &LOMSendDialog::Poll);
    poll_.setInterval(100);
}

LOMSendDialog::~LOMSendDialog() = default;

void LOMSendDialog::Open(const LCutListAudio& audio, int32_t selStart, int32_t selEnd,
                         const std::string& baseName) {
    if (!IsSending()) {
        audio_ = audio;
        selStart_ = selStart;
        selEnd_ = selEnd;
        baseName_ = baseName;
        const bool hasSelection = selEnd > selStart;
        selection_->setEnabled(hasSelection);
        (hasSelection ? selection_ : whole_)->setChecked(true);
        if (!subject_->isModified())
            subject_->setText(Q(baseName));
        outcome_->clear();
        bar_->setValue(0);
        LoadPassword(smtpPassword_, smtpServer_->text(), smtpUser_->text());
        LoadPassword(uploadPassword_, uploadServer_->text(), uploadUser_->text());
        UpdateSize();
    }
    show();
    raise();
    activateWindow();
}

QString LOMSendDialog::OutcomeText() const {
    return outcome_->text();
}

void LOMSendDialog::LoadPassword(QLineEdit* field, const QString& url, const QString& user) {
    std::string password;
    if (secretStore_ && field->text().isEmpty() && !url.isEmpty() && !user.isEmpty() &&
        LookupPassword(ServerOf(S(url)), S(user), password))
        field->setText(Q(password));
}

int64_t LOMSendDialog::Estimate() const {
    const LWriteFormat* format = FindWriteFormat(S(format_->currentText()));
    if (format == nullptr)
        return 0;
    const int64_t frames = selection_->isChecked() ? selEnd_ - selStart_ : audio_.GetLength();
    LWriteOptions options;
    options.format = format->name;
    LoadSaveOptions(settings_, *format, options);
    return EstimateEncodedSize(*format, options, frames,
                               static_cast<int32_t>(audio_.GetSampleRate()), audio_.GetChannels());
}

void LOMSendDialog::UpdateSize() {
    const int64_t bytes = Estimate();
    QString text = QStringLiteral("About %1").arg(Q(SizeText(bytes)));
    if (tabs_->currentIndex() == 0 && bytes > int64_t{warn_->value()} * 1024 * 1024)
        text += QStringLiteral(
                    " - more than %1 MB; many mail servers refuse attachments that "
                    "large")
                    .arg(warn_->value());
    size_->setText(text);
}

void LOMSendDialog::SaveAccounts() {
    accounts_.smtpUrl = S(smtpServer_->text());
    accounts_.smtpUser = S(smtpUser_->text());
    accounts_.from = S(from_->text());
    accounts_.smtpPlain = plain_->isChecked();
    accounts_.uploadUrl = S(uploadServer_->text());
    accounts_.uploadUser = S(uploadUser_->text());
    accounts_.createFolders = createFolders_->isChecked();
    accounts_.format = S(format_->currentText());
    accounts_.warnMegabytes = warn_->value();
    accounts_.Save(settings_);
}

bool LOMSendDialog::StartJob(LSendJob::Kind kind) {
    LSendJob::Request r;
    r.kind = kind;
    if (selection_->isChecked() && selEnd_ > selStart_)
        audio_.EfCopy(selStart_, selEnd_, r.audio);
    else
        r.audio = audio_;
    r.baseName = baseName_;
    const LWriteFormat* format = FindWriteFormat(S(format_->currentText()));
    if (format == nullptr)
        return false;
    r.options.format = format->name;
    LoadSaveOptions(settings_, *format, r.options);
    r.mail.url = S(smtpServer_->text());
    r.mail.user = S(smtpUser_->text());
    r.mail.password = smtpPassword_->text().toStdString();
    r.mail.plain = plain_->isChecked();
    r.mail.from = S(from_->text());
    r.mail.to = SplitAddresses(S(to_->text()));
    r.mail.cc = SplitAddresses(S(cc_->text()));
    r.mail.subject = S(subject_->text());
    r.mail.message = message_->toPlainText().toStdString();
    r.mail.limits.caFile = caFile_;
    std::string server = S(uploadServer_->text());
    while (!server.empty() && server.back() == '/')
        server.pop_back();
    std::string folder = S(folder_->text());
    while (!folder.empty() && folder.front() == '/')
        folder.erase(0, 1);
    if (!folder.empty() && folder.back() != '/')
        folder += '/';
    r.upload.url = server + "/" + folder;
    r.upload.user = S(uploadUser_->text());
    r.upload.password = uploadPassword_->text().toStdString();
    r.upload.createFolders = createFolders_->isChecked();
    r.upload.resume = resume_->isChecked();
    r.upload.limits.caFile = caFile_;
    SaveAccounts();
    jobKind_ = kind;
    job_ = std::make_unique<LSendJob>();
    job_->Start(std::move(r));
    SetBusy(true);
    poll_.start();
    return true;
}

void LOMSendDialog::CmSend() {
    if (IsSending())
        return;
    const bool mail = tabs_->currentIndex() == 0;
    if (mail && Estimate() > int64_t{warn_->value()} * 1024 * 1024 &&
        QMessageBox::question(this, QStringLiteral("Send"),
                              QStringLiteral("The attachment will be about %1, more than %2 MB. "
                                             "Send it anyway?")
                                  .arg(Q(SizeText(Estimate())))
                                  .arg(warn_->value())) != QMessageBox::Yes)
        return;
    outcome_->clear();
    StartJob(mail ? LSendJob::Kind::kMail : LSendJob::Kind::kUpload);
}

void LOMSendDialog::CmDesktopMail() {
    if (IsSending())
        return;
    if (QStandardPaths::findExecutable(QStringLiteral("xdg-email")).isEmpty()) {
        outcome_->setText(
            QStringLiteral("No desktop mail program can be started: xdg-email is "
                           "not installed."));
        return;
    }
    StartJob(LSendJob::Kind::kDesktopMail);
}

void LOMSendDialog::CmCancel() {
    if (IsSending()) {
        job_->Cancel();
        outcome_->setText(QStringLiteral("Cancelling..."));
        return;
    }
    hide();
}

void LOMSendDialog::closeEvent(QCloseEvent* event) {
    if (IsSending()) {
        job_->Cancel();
        event->ignore();
        return;
    }
    QDialog::closeEvent(event);
}

void LOMSendDialog::hideEvent(QHideEvent* event) {
    if (!IsSending())
        audio_ = LCutListAudio();
    QDialog::hideEvent(event);
}

void LOMSendDialog::SetBusy(bool busy) {
    tabs_->setEnabled(!busy);
    format_->setEnabled(!busy);
    whole_->setEnabled(!busy);
    selection_->setEnabled(!busy && selEnd_ > selStart_);
    send_->setEnabled(!busy);
    cancel_->setText(busy ? QStringLiteral("Cancel") : QStringLiteral("Close"));
}

void LOMSendDialog::Poll() {
    if (!job_)
        return;
    bar_->setValue(static_cast<int>(job_->Fraction() * 1000));
    if (!job_->Finished()) {
        if (outcome_->text() != QStringLiteral("Cancelling..."))
            outcome_->setText(Q(job_->Stage()) + QStringLiteral("..."));
        return;
    }
    Finish();
}

void LOMSendDialog::Finish() {
    poll_.stop();
    std::unique_ptr<LSendJob> job = std::move(job_);
    SetBusy(false);
    const LTransferOutcome& out = job->Outcome();
    outcome_->setText(Q(out.message));
    if (out.result != kJobDone) {
        bar_->setValue(0);
        return;
    }
    bar_->setValue(1000);
    if (jobKind_ == LSendJob::Kind::kDesktopMail) {
        QStringList args;
        if (!subject_->text().isEmpty())
            args << QStringLiteral("--subject") << subject_->text();
        if (!message_->toPlainText().isEmpty())
            args << QStringLiteral("--body") << message_->toPlainText();
        for (const std::string& cc : SplitAddresses(S(cc_->text())))
            args << QStringLiteral("--cc") << Q(cc);
        args << QStringLiteral("--attach") << Q(job->Attachment().Path());
        for (const std::string& to : SplitAddresses(S(to_->text())))
            args << Q(to);
        if (!QProcess::startDetached(QStringLiteral("xdg-email"), args))
            outcome_->setText(QStringLiteral("The desktop mail program could not be started."));
        handedOver_.push_back(std::move(job));
        return;
    }
    if (remember_->isChecked() && secretStore_) {
        const bool mail = jobKind_ == LSendJob::Kind::kMail;
        const QString user = (mail ? smtpUser_ : uploadUser_)->text();
        const QString password = (mail ? smtpPassword_ : uploadPassword_)->text();
        if (!user.isEmpty() && !password.isEmpty())
            StorePassword(ServerOf(S((mail ? smtpServer_ : uploadServer_)->text())), S(user),
                          password.toStdString());
    }
}

}  // namespace osmera
