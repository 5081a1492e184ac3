#include "app/user_prompts.h"

#include <QDesktopServices>
#include <QFileDialog>
#include <QMessageBox>
#include <QUrl>

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
    dialog.setDefaultSuffix(QStringLiteral("wav"));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    filterIndex = static_cast<int>(filters.indexOf(dialog.selectedNameFilter()));
    return dialog.selectedFiles().first();
}

bool LQtUserPrompts::OpenInBrowser(const QString& path) {
    return QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

}  // namespace osmera
