#pragma once
// Start-up after a run that did not end normally: the working folders that such runs left
// (their lock is free) with journals of documents that had unsaved changes are offered to
// the user before anything else, with "Osmera did not close normally. These files had
// unsaved changes:" and the list, and the choices Recover, Discard and Decide Later:
//
// - Recover reopens each document as it was (its audio, undo steps, cursor, selection, view
//   and markers), marked modified, writes its journal in this run's folder and then removes
//   the dead run's folder; audio that was missing or damaged is silence and said so.
// - Discard removes what the journals named (their folders).
// - Decide Later keeps them for the next start; this run works in its own fresh folder
//   beside them.
//
// Journals that could not be read are listed too, and skipped.
//
// Threads: GUI thread, at start-up, once the controller exists.

#include <QString>
#include <functional>
#include <optional>
#include <string>

class QWidget;

namespace osmera {

class LUserPrompts;
class MainDialog;

enum class LRecoveryAnswer { kRecover, kDiscard, kDecideLater };

// The question's text for the documents named `names` and the unreadable journals
// `problems`.
QString RecoveryQuestion(const QStringList& names, const QStringList& problems);

// The answer OSMERA_RECOVERY_ANSWER gives ("recover", "discard" or "later"), if any.
std::optional<LRecoveryAnswer> RecoveryAnswerFromEnvironment();

// Shows the question as a message box with the three buttons.
LRecoveryAnswer AskRecovery(QWidget* parent, const QString& text);

// Offers what dead runs left in `parent` (the working folder's parent the tank was given)
// and does what `ask` answers; nothing is asked when there is nothing to recover. Lost
// audio is reported through `prompts`. Returns the number of documents recovered.
int OfferRecovery(const std::string& parent, MainDialog& controller, LUserPrompts& prompts,
                  const std::function<LRecoveryAnswer(const QString&)>& ask);

}  // namespace osmera
