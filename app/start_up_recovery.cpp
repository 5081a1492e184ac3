#include "app/start_up_recovery.h"

#include <QMessageBox>
#include <QPushButton>
#include <QStringList>

#include "app/document_journal_keeper.h"
#include "app/main_dialog.h"
#include "app/user_prompts.h"
#include "edit/journal_recovery.h"

namespace osmera {

QString RecoveryQuestion(const QStringList& names, const QStringList& problems) {
    QString text =
        QStringLiteral("Osmera did not close normally. These files had unsaved changes:");
    for (const QString& name : names)
        text += QStringLiteral("\n    ") + name;
    if (!problems.isEmpty()) {
        text += QStringLiteral("\n\nThese records of unsaved changes are damaged and are skipped:");
        for (const QString& problem : problems)
            text += QStringLiteral("\n    ") + problem;
    }
    return text;
}

std::optional<LRecoveryAnswer> RecoveryAnswerFromEnvironment() {
    const QByteArray answer = qgetenv("OSMERA_RECOVERY_ANSWER");
    if (answer == "recover")
        return LRecoveryAnswer::kRecover;
    if (answer == "discard")
        return LRecoveryAnswer::kDiscard;
    if (answer == "later")
        return LRecoveryAnswer::kDecideLater;
    return std::nullopt;
}

LRecoveryAnswer AskRecovery(QWidget* parent, const QString& text) {
    QMessageBox box(QMessageBox::Warning, QStringLiteral("Osmera"), text, QMessageBox::NoButton,
                    parent);
    QPushButton* recover = box.addButton(QStringLiteral("Recover"), QMessageBox::AcceptRole);
    QPushButton* discard = box.addButton(QStringLiteral("Discard"), QMessageBox::DestructiveRole);
    QPushButton* later = box.addButton(QStringLiteral("Decide Later"), QMessageBox::RejectRole);
    box.setDefaultButton(recover);
    box.setEscapeButton(later);
    box.exec();
    if (box.clickedButton() == recover)
        return LRecoveryAnswer::kRecover;
    if (box.clickedButton() == discard)
        return LRecoveryAnswer::kDiscard;
    return LRecoveryAnswer::kDecideLater;
}

int OfferRecovery(const std::string& parent, MainDialog& controller, LUserPrompts& prompts,
                  const std::function<LRecoveryAnswer(const QString&)>& ask) {
    auto runs = LJournalRecovery::FindIn(parent);
    if (runs.empty())
        return 0;
    QStringList names, problems;
    for (const auto& run : runs) {
        for (const LJournalState& doc : run->Documents())
            names << QString::fromStdString(doc.path.empty() ? doc.DisplayName() : doc.path);
        for (const std::string& problem : run->Problems())
            problems << QString::fromStdString(problem);
    }
    const LRecoveryAnswer answer = ask(RecoveryQuestion(names, problems));
    if (answer == LRecoveryAnswer::kDecideLater)
        return 0;  // the folders stay, unlocked again when `runs` goes
    int recovered = 0;
    std::vector<std::string> notes;
    for (const auto& run : runs) {
        if (answer == LRecoveryAnswer::kRecover) {
            for (auto& doc : run->Recover(notes)) {
                controller.OpenRecovered(std::move(doc));
                ++recovered;
            }
            // This run's journals name the documents now; only then does the old folder go.
            controller.Journal().Flush();
        }
        run->Discard();
    }
    if (!notes.empty()) {
        QStringList lines;
        for (const std::string& note : notes)
            lines << QString::fromStdString(note);
        prompts.Warn(QStringLiteral("Osmera"), lines.join(QLatin1Char('\n')));
    }
    return recovered;
}

}  // namespace osmera
