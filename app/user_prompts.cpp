#include "app/user_prompts.h"

#include "app/edit_dialogs.h"
#include "app/format_dialogs.h"

#include <QDesktopServices>
#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QRegularExpression>
#include <QUrl>
#include <algorithm>

namespace osmera {

LAnswer LQtUserPrompts::AskYesNoCancel(const QString& title, const QString& text) {
    const auto button = QMessageBox::question(
        parent_, title, text, QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel,
        QMessageBox::Yes);
    return button == QMessageBox::Yes  ? LAnswer::kYes
           : button == QMessageBox::No ? LAnswer::kNo
                                       : LAnswer::kCancel;
}

LAnswer LQtUserPrompts::AskYesNo(const QString& title, const QString& text) {
    const auto button = QMessageBox::question(parent_, title, text,
                                              QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
    return button == QMessageBox::Yes ? LAnswer::kYes : LAnswer::kNo;
}

void LQtUserPrompts::Inform(const QString& title, const QString& text) {
    QMessageBox::information(parent_, title, text);
}

void LQtUserPrompts::Warn(const QString& title, const QString& text) {
    QMessageBox::warning(parent_, title, text);
}

void LQtUserPrompts::About(const QString& title, const QString& text) {
    QMessageBox::about(parent_, title, text);
}

QStringList LQtUserPrompts::OpenFileNames(const QString& title, const QString& folder,
                                          const QStringList& filters) {
    return QFileDialog::getOpenFileNames(parent_, title, folder, filters.join(QLatin1String(";;")));
}

QString LQtUserPrompts::SaveFileName(const QString& title, const QString& folder,
                                     const QStringList& filters, int& filterIndex) {
    QFileDialog dialog(parent_, title, folder);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilters(filters);
    if (filterIndex >= 0 && filterIndex < filters.size())
        dialog.selectNameFilter(filters.at(filterIndex));
    // A name typed without an extension gets the one of the filter chosen.
    auto suffixOf = [](const QString& filter) {
        const QRegularExpressionMatch m =
            QRegularExpression(QStringLiteral("\\*\\.(\\w+)")).match(filter);
        return m.hasMatch() ? m.captured(1) : QStringLiteral("wav");
    };
    dialog.setDefaultSuffix(suffixOf(dialog.selectedNameFilter()));
    QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog,
                     [&](const QString& filter) { dialog.setDefaultSuffix(suffixOf(filter)); });
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    filterIndex = static_cast<int>(filters.indexOf(dialog.selectedNameFilter()));
    return dialog.selectedFiles().first();
}

bool LQtUserPrompts::OpenInBrowser(const QString& path) {
    return QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

bool LQtUserPrompts::AskTimes(const QString& title, const QStringList& labels, QStringList& texts) {
    LOMTimeDialog dialog(parent_, title, labels, texts);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    texts = dialog.Texts();
    return true;
}

bool LQtUserPrompts::AskText(const QString& title, const QString& label, QString& text) {
    bool ok = false;
    const QString answer =
        QInputDialog::getText(parent_, title, label, QLineEdit::Normal, text, &ok);
    if (!ok)
        return false;
    text = answer;
    return true;
}

bool LQtUserPrompts::AskFormat(const QString& title, int32_t& rate, int* channels) {
    LOMFormatDialog dialog(parent_, title, rate, channels ? *channels : 0, channels != nullptr);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    rate = dialog.Rate();
    if (channels)
        *channels = dialog.Channels();
    return true;
}

bool LQtUserPrompts::AskSaveOptions(const LWriteFormat& format, LWriteOptions& options) {
    LSaveOptionsDialog dialog(parent_, format, options);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    options = dialog.Options();
    return true;
}

bool LQtUserPrompts::AskRawParams(const QString& fileName, LRawParams& params, bool codedOnly) {
    LRawOpenDialog dialog(parent_, fileName, params, codedOnly);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    params = dialog.Params();
    return true;
}

bool LQtUserPrompts::AskTags(LAudioTags& tags) {
    LTagsDialog dialog(parent_, tags);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    tags = dialog.Tags();
    return true;
}

int LQtUserPrompts::AskChoice(const QString& title, const QString& text, const QStringList& choices,
                              int current) {
    bool ok = false;
    const QString chosen = QInputDialog::getItem(
        parent_, title, text, choices, std::clamp<int>(current, 0, choices.size() - 1), false, &ok);
    return ok ? static_cast<int>(choices.indexOf(chosen)) : -1;
}

}  // namespace osmera
