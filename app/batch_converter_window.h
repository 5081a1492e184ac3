#pragma once
// LOMBatchConverter: the "Batch Converter" window. The user lists input files (Add Files,
// Add Folder, or dropping files and folders on the window), writes a list of script
// commands (picked from the script words with their parameters, or typed; loaded from and
// saved to script files), picks an output folder, a name pattern and a format, and runs.
// The batch runs through the engine's LBatchRunner, the same as `osmera-cli batch`, so
// the files it writes are those the command-line program writes.
//
// While a batch runs the window stays responsive: the runner works on a thread of the
// window's own (with its own worker threads), and each file's start, progress and end is
// handed over to the GUI thread through the window's dispatcher; the file list shows each
// file's state, two bars the current file's and the whole batch's progress, and the log
// every file that failed with its reason. Cancel stops the batch between blocks; files
// not begun are left out. Closing the window while it runs cancels and closes once the
// batch has stopped.
//
// Ownership: a top-level window owned by whoever made it (MainDialog); it borrows nothing
// but the cut tank, whose folder the editor set at start-up. Threads: GUI thread only.

#include <QDialog>
#include <QStringList>
#include <memory>
#include <thread>
#include <vector>

#include "effects/batch_runner.h"
#include "platform/qt_dispatcher.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QProgressBar;
class QPushButton;
class QTreeWidget;

namespace osmera {

class LOMBatchConverter : public QDialog {
    Q_OBJECT
  public:
    explicit LOMBatchConverter(QWidget* parent = nullptr);
    ~LOMBatchConverter() override;

    // Adds files (audio files only from folders, by extension; a file already listed is
    // not listed twice).
    void AddFiles(const QStringList& paths);
    void AddFolder(const QString& folder);
    // The command list: the text of a script without `open`, run on each file.
    void SetCommands(const QString& text);
    QString Commands() const;
    bool LoadCommands(const QString& path);
    bool SaveCommands(const QString& path);
    void SetOutputFolder(const QString& folder);
    void SetNamePattern(const QString& pattern);
    // A format name of the writers ("flac", "mp3"...), or "" for each input's own.
    void SetFormat(const QString& name);

    // Starts the batch; false (with the reason in the log) when one runs already or the
    // window's fields cannot make one.
    bool Run();
    void Cancel();
    bool IsRunning() const { return running_; }
    // The last batch's result (LBatchRunner::kAllDone...), -1 before the first ends.
    int LastResult() const { return lastResult_; }
    QString LogText() const;
    // The state shown for input `index`: "", "Running 40%", "Done", "Failed", "Cancelled".
    QString FileState(int index) const;

  signals:
    void finished(int result);

  protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

  private:
    QWidget* MakeInputs();
    QWidget* MakeCommands();
    QWidget* MakeOutput();
    void AddPickedCommand();
    void BrowseFiles();
    void BrowseFolder();
    void BrowseOutput();
    void BrowseLoad();
    void BrowseSave();
    void FileStarted(size_t index);
    void FileProgress(size_t index, double fraction);
    void FileDone(const LBatchFileResult& result);
    void BatchEnded(int result, const std::vector<std::string>& messages);
    void Log(const QString& line);
    void UpdateStates();

    QTreeWidget* files_ = nullptr;
    QComboBox* words_ = nullptr;
    QPlainTextEdit* commands_ = nullptr;
    QLineEdit* outFolder_ = nullptr;
    QLineEdit* pattern_ = nullptr;
    QComboBox* format_ = nullptr;
    QProgressBar* fileBar_ = nullptr;
    QProgressBar* totalBar_ = nullptr;
    QLabel* status_ = nullptr;
    QPlainTextEdit* log_ = nullptr;
    QPushButton* run_ = nullptr;
    QPushButton* cancel_ = nullptr;
    QString commandsPath_;  // the script file the list came from or went to

    bool running_ = false;
    bool closeWhenDone_ = false;
    int lastResult_ = -1;
    size_t done_ = 0;
    size_t total_ = 0;
    std::unique_ptr<LBatchRunner> runner_;
    std::thread thread_;
    LQtDispatcher dispatcher_;  // declared last: queued calls go before the widgets do
};

}  // namespace osmera
