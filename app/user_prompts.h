#pragma once
// The questions and messages the controller puts to the user, and the file dialogs, behind
// one interface so tests can answer them without a window blocking.
//
// LQtUserPrompts shows the desktop's message boxes and file dialogs over the frame.
// Threads: GUI thread only.

#include <QString>
#include <QStringList>
#include <cstdint>

#include "formats/audio_format.h"
#include "formats/audio_tags.h"

class QWidget;

namespace osmera {

enum class LAnswer { kYes, kNo, kCancel };

class LUserPrompts {
  public:
    virtual ~LUserPrompts() = default;
    // A question with Yes, No and Cancel buttons (Cancel also when the box is closed).
    virtual LAnswer AskYesNoCancel(const QString& title, const QString& text) = 0;
    // A question with Yes and No buttons (No also when the box is closed).
    virtual LAnswer AskYesNo(const QString& title, const QString& text) = 0;
    virtual void Inform(const QString& title, const QString& text) = 0;
    virtual void Warn(const QString& title, const QString& text) = 0;
    // The program's name, version and licence.
    virtual void About(const QString& title, const QString& text) = 0;
    // Files chosen to open (empty on Cancel). `filters` in the dialog's order.
    virtual QStringList OpenFileNames(const QString& title, const QString& folder,
                                      const QStringList& filters) = 0;
    // A file name to save to ("" on Cancel); `filterIndex` is the filter shown first and
    // comes back as the one chosen.
    virtual QString SaveFileName(const QString& title, const QString& folder,
                                 const QStringList& filters, int& filterIndex) = 0;
    // Shows the local file `path` in the desktop's web browser; false when none took it.
    virtual bool OpenInBrowser(const QString& path) = 0;
    // Time texts, one field per label, shown filled with `texts` and changed on OK; false
    // on Cancel. Every text returned parses as a time of 0 or more (edit_dialogs.h).
    virtual bool AskTimes(const QString& title, const QStringList& labels, QStringList& texts) = 0;
    // A sample rate and, when `channels` is given, a channel count (1 or 2), shown with the
    // values they hold and changed on OK; false on Cancel.
    virtual bool AskFormat(const QString& title, int32_t& rate, int* channels) = 0;
    // The options of `format` for a save, shown with `options` and changed on OK; false on
    // Cancel (format_dialogs.h).
    virtual bool AskSaveOptions(const LWriteFormat& format, LWriteOptions& options) = 0;
    // How the headerless file `fileName` stores its audio: rate and channels, and for raw
    // PCM (not `codedOnly` VOX or GSM data) the encoding and byte order; false on Cancel.
    virtual bool AskRawParams(const QString& fileName, LRawParams& params, bool codedOnly) = 0;
    // The document's text tags, changed on OK; false on Cancel.
    virtual bool AskTags(LAudioTags& tags) = 0;
    // One of `choices` (its index, `current` shown first); -1 on Cancel.
    virtual int AskChoice(const QString& title, const QString& text, const QStringList& choices,
                          int current) = 0;
    // One line of text (a bookmark's name), shown filled with `text` and changed on OK;
    // false on Cancel.
    virtual bool AskText(const QString& title, const QString& label, QString& text) = 0;
};

class LQtUserPrompts : public LUserPrompts {
  public:
    explicit LQtUserPrompts(QWidget* parent) : parent_(parent) {}

    LAnswer AskYesNoCancel(const QString& title, const QString& text) override;
    LAnswer AskYesNo(const QString& title, const QString& text) override;
    void Inform(const QString& title, const QString& text) override;
    void Warn(const QString& title, const QString& text) override;
    void About(const QString& title, const QString& text) override;
    QStringList OpenFileNames(const QString& title, const QString& folder,
                              const QStringList& filters) override;
    QString SaveFileName(const QString& title, const QString& folder, const QStringList& filters,
                         int& filterIndex) override;
    bool OpenInBrowser(const QString& path) override;
    bool AskTimes(const QString& title, const QStringList& labels, QStringList& texts) override;
    bool AskFormat(const QString& title, int32_t& rate, int* channels) override;
    bool AskSaveOptions(const LWriteFormat& format, LWriteOptions& options) override;
    bool AskRawParams(const QString& fileName, LRawParams& params, bool codedOnly) override;
    bool AskTags(LAudioTags& tags) override;
    int AskChoice(const QString& title, const QString& text, const QStringList& choices,
                  int current) override;
    bool AskText(const QString& title, const QString& label, QString& text) override;

  private:
    QWidget* parent_;
};

}  // namespace osmera
