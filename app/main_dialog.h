#pragma once
// MainDialog: the editor's controller behind the frame. Every command arrives here as an
// identifier of the command table (menu, shortcut, tool bar, key macro) and is dispatched
// to one handler Cm<Command>, which works on the current document through the engine's
// LDocumentController and turns its result into a message. MainDialog is also the engine's
// LDocumentListener: it forwards document changes to the document's view-model and keeps
// the menus' texts and states in step (one UpdateCommandStates from a snapshot).
//
// Each open document has an LDocumentModel and an LOMFileWindow inside a child window of
// the frame; the active child window makes its document the controller's current one.
//
// Ownership: the frame, settings store, prompts and clipboard are borrowed and outlive the
// controller; the controller owns the engine's document controller, the models and the
// menus' bookkeeping (the actions themselves are children of the frame).
// Threads: GUI thread only.

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "app/command_table.h"
#include "app/recent_file_list.h"
#include "app/run_arguments.h"
#include "app/user_prompts.h"
#include "edit/document_controller.h"
#include "edit/project_manifest.h"
#include "effects/effect_table.h"
#include "effects/noise_reduction.h"

class QAction;
class QDialog;
class QMdiSubWindow;

namespace osmera {

class LCommandMenus;
class LDocumentJournalKeeper;
enum class LPluginKind;
class LEffectDialog;
class LEffectDriver;
class LEqualizerDialog;
class LOMEffectDialog;
class LDocumentModel;
class LEditorTransport;
class LKeyMacroRunner;
class LSpeechDialog;
class LLevelMeter;
class LMDIMainWindow;
class LMarkerList;
class LOMMarkerDock;
class LOMRecordWindow;
class LOMBatchConverter;

// The open dialog's filters in order, and Save As's (WAV 8, 16, 24 and 32 bits).
QStringList OpenFileFilters();

class MainDialog : public QObject, public LDocumentListener {
    Q_OBJECT
  public:
    MainDialog(LMDIMainWindow& frame, LSettingsStore& settings, LUserPrompts& prompts,
               LClipboardExchange& clipboard, QObject* parent = nullptr);
    ~MainDialog() override;

    // Runs the handler of `id` (table commands, recent files 1050-1060, windows
    // 5017-5036). False when `id` has none, or when it needs a document and none is open.
    bool Dispatch(uint16_t id);
    static bool HasHandler(uint16_t id);

    // Status-bar help for the item under the pointer: its description for 5000 ms, then
    // the idle text; an item without a description leaves the status bar as it is.
    void ShowCommandHelp(uint16_t id);
    void EvHelpTimer();  // the help's time is up
    QString StatusText() const;
    bool IsHelpShowing() const { return helpTimer_.isActive(); }
    static QString IdleText() { return QStringLiteral("Ready"); }

    // The run arguments, once the frame exists. True when a file was opened.
    bool EvRunArguments(const LRunArguments& arguments);
    // Opens `path` as a new document in its own window; a failure is reported to the
    // user. `firstFile`: no file has opened yet in this batch of files.
    bool OpenFile(const QString& path, bool firstFile = true);
    void OpenFiles(const QStringList& paths);
    // The generated demo (demo_audio.h) as a new untitled, unmodified document; false when
    // it could not be written.
    bool OpenDemoFile();
    // Runs a batch script ("-batch", or handed over by a second start) on the editor's
    // documents with a progress window, as `osmera-cli run` would; failing lines are shown
    // as "SCRIPT:LINE: message". Waits while another job runs.
    void RunBatchScript(const QString& path);
    // Projects (main_dialog_project.cpp). Opens the project `path` in place of what is open,
    // after the "Save changes" prompt; a project that fails to open is reported and opens
    // nothing. OpenFile hands ".omp" paths here.
    bool OpenProject(const QString& path);
    // Saves every open document and the windows' layout as the project `path`, which then is
    // the open project; a failure is reported.
    bool SaveProjectTo(const QString& path);
    QString ProjectPath() const { return projectPath_; }  // "" when no project is open
    static bool IsProjectFile(const QString& path);

    // Asks about every modified document; false (nothing closed) when the user cancels.
    bool QueryCloseAll();
    // The "Save changes" prompt for `doc`; false when the user cancels.
    bool QueryCloseDocument(LOMFile& doc);

    void AddToRecentFileList(const std::string& path);
    void LoadRecentFileList();
    // The path of the recent item at place `index` (from 0) of the menu; "" for none.
    std::string ExtractRecentFilePath(int index) const;

    void UpdateCommandStates();
    // The state flags (LCommandNeeds) that hold now.
    uint32_t CurrentState() const;

    // The record window (made at its first use); while its take runs, commands that could
    // change documents are refused with a note in the status bar.
    LOMRecordWindow& RecordWindow();
    bool IsTakeRunning() const;

    LDocumentController& Controller() { return controller_; }
    // The crash-recovery journals of the open documents (off until start-up turns it on).
    LDocumentJournalKeeper& Journal() { return *journal_; }
    // A document recovered after a crash, in its own window; it becomes current.
    void OpenRecovered(std::unique_ptr<LOMFile> doc);
    // Tests: runs each effect dialog instead of its exec(); returns the dialog's result.
    void SetEqualizerDialogRunner(std::function<int(LEqualizerDialog&)> run) {
        equalizerDialogRunner_ = std::move(run);
    }
    void SetEffectDialogRunner(std::function<int(LOMEffectDialog&)> run) {
        effectDialogRunner_ = std::move(run);
    }
    void SetSpeechDialogRunner(std::function<int(LSpeechDialog&)> run) {
        speechDialogRunner_ = std::move(run);
    }
    // Tests: runs the plug-in browser and parameter dialogs instead of their exec().
    void SetPluginDialogRunner(std::function<int(QDialog&)> run) {
        pluginDialogRunner_ = std::move(run);
    }
    // Playback (editor_transport.h); the pause button and the level meter of the tool bar.
    LEditorTransport& Transport() { return *transport_; }
    QAction* PauseAction() const { return pauseAction_; }
    LLevelMeter& PlayMeter() const { return *playMeter_; }
    LCommandMenus& Menus() { return *menus_; }
    // The key macros of "keys.dat", run from key presses in the frame
    // (main_dialog_settings.cpp).
    LKeyMacroRunner& KeyMacros() { return *keyMacros_; }
    LRecentFileList& RecentFiles() { return recent_; }
    LDocumentModel* ModelOf(const LOMFile* doc) const;
    // The bookmark list (false) or the region list (true); null until first opened.
    LOMMarkerDock* MarkerDock(bool regions) const;
    QMdiSubWindow* WindowOf(const LOMFile* doc) const;
    // Opens the manual in the browser: the first of `ManualCandidates` that exists.
    static QStringList ManualCandidates();

    // LDocumentListener.
    void UndoMenuChanged(const LUndoMenuItem& item) override;
    void SaveEnabledChanged(bool enabled) override;
    void DocumentChanged(LOMFile& doc) override;
    void DocumentClosing(LOMFile& doc) override;
    // After an edit the engine moves the cursor back by the preroll to play from there.
    void StartPlayback(LOMFile& doc, int32_t position) override;
    void StopPlayback() override;

  private:
    struct LOpenDocument {
        LOMFile* doc;
        std::unique_ptr<LDocumentModel> model;
        QPointer<QMdiSubWindow> window;
        // Mark First / Mark Second Position; Recall Mark Selection selects between them.
        int32_t marks[2] = {0, 0};
        // The user agreed to save this lossy file in its own format again.
        bool lossyKept = false;
    };
    // Where Insert Silence and Insert File put their audio.
    enum class LInsertAt { kBegin, kCursor, kEnd };
    struct LHandler {
        uint16_t id;
        void (MainDialog::*handler)();
    };
    static std::span<const LHandler> Handlers();

    // Documents and their windows.
    void AttachWindow(LOMFile& doc);
    void DetachWindow(LOMFile* doc);
    void EvSubWindowActivated(QMdiSubWindow* window);
    void UpdateWindowTitle(LOpenDocument& open);
    void UpdateWindowList();
    LOpenDocument* Find(const LOMFile* doc);
    LDocumentModel* CurrentModel() const;

    // File helpers.
    bool SaveDocument(LOMFile& doc);
    // What opening `path` needs from the user: a headerless file's rate, channels and
    // encoding, and what a file of more than two channels becomes. False on Cancel.
    bool AskOpenOptions(const QString& path, LOpenOptions& options);
    // `filter`: the save dialog's filter shown first; -1 for the one last chosen.
    bool SaveDocumentAs(LOMFile& doc, int filter = -1);
    // Save As's dialog, then the chosen format's options: the path to write and what to
    // write it with, the folder and filter remembered in "SaveAsDir" / "SaveAsFormat";
    // `defaultBits` is the width offered when the format's own is not remembered. False on
    // Cancel.
    bool AskSavePath(const QString& suggestedName, const std::string& folderOf, int32_t defaultBits,
                     QString& path, LWriteOptions& options, int filter = -1);
    // Shows a file job's failure ("File Error" with its message); true when it finished.
    bool JobFinished(int result, const std::string& message);
    void ReportEditResult(LEditResult result);
    // The edits that need more than one call of the engine (main_dialog_document.cpp).
    void InsertFile(LInsertAt where);
    // A new untitled document holding `audio`, in its own window; it becomes current.
    void OpenAsNewDocument(const LCutListAudio& audio, const std::string& undoName);
    // Converts the current document to `rate` and `channels` as one undoable step.
    void ConvertCurrent(uint32_t rate, uint8_t channels, const std::string& undoName);
    void SetMark(int which);
    void CopySelectionToDesktop();
    // A finished take into `target` (null: a new document) as one undo step "Record".
    void DeliverTake(LOMFile* target, const LCutListAudio& take);
    // True, with a note in the status bar, when `id` must wait for the take to end.
    bool RefusedWhileRecording(uint16_t id);
    // Runs effect `id` on the current document through the engine's effect driver, with
    // `dialog` (the table-built effect dialog when null) and the progress window
    // (main_dialog_effects.cpp).
    // `prepare` hands the driver what the effect needs beyond its values (a file, a list,
    // equalizer gains) before it runs.
    void RunEffect(LEffectId id, LEffectDialog* dialog = nullptr,
                   const std::function<void(LEffectDriver&)>& prepare = {});
    void NotAvailable(const QString& feature);
    // The plug-in commands: browser, parameters, then the effect (main_dialog_plugins.cpp).
    void RunPluginCommand(LPluginKind kind);
    void TileWindows(bool stacked);
    // The transport's tool bar pieces and reports (main_dialog_control.cpp).
    void AttachTransport();
    // Plays the current document from the cursor, or its selection; `repeat` loops it.
    void PlayCurrent(bool repeat);
    // Moves the cursor of the current document (stopped) and brings it into view.
    void MoveCursorTo(int64_t frame);

    // Command handlers, menu by menu.
    void CmNewFile();
    void CmOpen();
    void CmLoadCdTracks();
    void CmBurnAudioCd();
    void CmCreateIsoImage();
    void CmCloseFile();
    void CmSave();
    void CmSaveAs();
    void CmSend();
    void CmOpenProject();
    void CmCloseProject();
    void CmSaveProject();
    void CmSaveProjectAs();
    void CmConvertSampleRate();
    void CmConvertMono();
    void CmConvertStereo();
    void CmEditTags();
    void CmSettings();
    void CmExit();
    void CmUndo();
    void CmCut();
    void CmCopy();
    void CmPaste();
    void CmPasteFromClipboard();
    void CmPasteMix();
    void CmPasteMixFromClipboard();
    void CmDelete();
    void CmSelectAll();
    void CmSelectToStart();
    void CmSelectToEnd();
    void CmSelectRegion();
    void CmMixFile();
    void CmRepeatLoop();
    void CmTrim();
    void CmTrimStart();
    void CmTrimEnd();
    void CmAutoTrim();
    void CmSplit();
    void CmSilence();
    void CmSaveSelectRegionAs();
    void CmInsertSilenceBegin();
    void CmInsertSilenceCurrent();
    void CmInsertSilenceEnd();
    void CmInsertFileBegin();
    void CmInsertFileCurrent();
    void CmInsertFileEnd();
    void CmCopyToNew();
    void CmMarkFirst();
    void CmMarkSecond();
    void CmRecallMark();
    void CmAmplify();
    void CmNormalize();
    void CmHighPass();
    void CmEqualizer();
    void CmEcho();
    void CmReverb();
    void CmReverse();
    void CmFadeIn();
    void CmFadeOut();
    void CmFadeOutAndTrim();
    void CmCrossFade();
    void CmEnvelope();
    void CmStereoPan();
    void CmAutoGain();
    void CmNoiseReduction();
    void CmSimpleSpeedPitch();
    void CmConstantPitchSpeed();
    void CmConstantSpeedPitch();
    void CmCompressor();
    void CmLoudnessNormalize();
    void CmDcOffset();
    void CmPluginEffects();
    void CmPlugins();
    void CmRecord();
    void CmPlay();
    void CmPlayNormal();
    void CmPlaySlow();
    void CmPlayFast();
    void CmPlayRepeat();
    void CmStop();
    void CmGoToStart();
    void CmRewind();
    void CmFastForward();
    void CmGoToEnd();
    void CmFft();
    void CmTfft();
    void CmAutoClickPop();
    void CmManualClickPop();
    void CmTextToSpeech();
    void CmBatchConverter();
    void CmSetBookmark();
    void CmBookmarkList();
    void CmAddRegion();
    void CmRegionList();
    void CmAssembleRegions();
    // Bookmarks and regions (main_dialog_markers.cpp).
    LOMMarkerDock& EnsureMarkerDock(bool regions);
    void RefreshMarkerDocks();
    // Runs `change` on a copy of the current document's markers; when it returns true and
    // changed them, records an undo step `undoName` and keeps the copy.
    void ChangeMarkers(const std::string& undoName,
                       const std::function<bool(LMarkerList&)>& change);
    void GoToMarker(bool regions, int index);
    void ExportMarkers();
    void ImportMarkers();
    // Select Region with regions to offer: true when it is done (one chosen, or Cancel),
    // false when the user wants to give times.
    bool AskRegionToSelect();
    void CmCascade();
    void CmTileHorizontal();
    void CmTileVertical();
    void CmArrangeIcons();
    void CmZoomIn();
    void CmZoomOut();
    void CmZoomToSelection();
    void CmZoomFull();
    void CmVerticalZoom();
    void CmDisplayPlusMinus();
    void CmDisplayLeftRight();
    void CmCloseAll();
    void CmHelpContents();
    void CmAbout();
    void CmRecentFile(int index);
    void CmActivateWindow(int index);

    LMDIMainWindow& frame_;
    LSettingsStore& settings_;
    LUserPrompts& prompts_;
    LClipboardExchange& clipboard_;
    LDocumentController controller_;
    LRecentFileList recent_;
    LCommandMenus* menus_;
    std::unique_ptr<LEditorTransport> transport_;
    QAction* pauseAction_ = nullptr;
    LLevelMeter* playMeter_ = nullptr;
    std::vector<LOpenDocument> open_;
    QPointer<LOMRecordWindow> recordWindow_;
    QPointer<LOMMarkerDock> bookmarkDock_;
    QPointer<LOMMarkerDock> regionDock_;
    QPointer<LOMBatchConverter> batchConverter_;  // the Batch Converter window, once shown
    std::unique_ptr<LKeyMacroRunner> keyMacros_;
    QTimer helpTimer_;
    bool undoAvailable_ = false;
    std::function<int(LOMEffectDialog&)> effectDialogRunner_;
    std::function<int(LEqualizerDialog&)> equalizerDialogRunner_;
    std::function<int(LSpeechDialog&)> speechDialogRunner_;
    std::function<int(QDialog&)> pluginDialogRunner_;
    bool pluginFailuresShown_ = false;  // the plug-ins the scan skipped were named once
    // The noise Noise Reduction removes, taken by its dialog; kept for the whole run.
    LNoiseProfile noiseProfile_;
    int busy_ = 0;  // > 0 while a file job runs; requests from outside wait for it

    // Projects (main_dialog_project.cpp): the open project, its state when last saved or
    // opened (to know whether closing must ask), and the bypass of the per-document prompt
    // while the project's documents close together.
    LProject DescribeProject(std::vector<const LCutListAudio*>* audio) const;
    void RememberProjectState();
    bool IsProjectChanged() const;
    bool QueryCloseProject();
    void CloseAllUnasked();
    void UpdateFrameTitle();
    QString projectPath_;
    LProject projectSaved_;
    std::vector<std::vector<LAudioCut>> projectEntries_;
    bool closingProject_ = false;
    std::unique_ptr<LDocumentJournalKeeper> journal_;
};

}  // namespace osmera
