#pragma once
// The editing side of the main controller: the list of open documents, the current one, the
// undo bracket every editing command goes through, the controller's own clipboard, and the
// exchange of audio with other programs through "clipboard.wav".
//
// Every editing command changes the current document between StartModifyCurrentFile (which
// records an undo step named after the command and marks the document modified) and
// EndModifyCurrentFile (which moves the cursor to the change and may start playback a
// preroll before it). That bracket is what makes a command undoable; effects and the script
// runner use it the same way:
//
//     controller.StartModifyCurrentFile("Amplify");
//     doc->audio.EfAmplify(doc->selStart, doc->selEnd, 150);
//     controller.EndModifyCurrentFile(doc->selStart, doc->audio.GetSampleRate());
//
// Menus, tool bars, the player and the views are not known here: whoever shows them
// implements LDocumentListener. The controller owns its documents and its clipboard; the
// settings store and the listener are borrowed and must outlive it.
//
// Threads: the thread that owns the documents only (the GUI thread; the script runner).

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/progress.h"
#include "core/settings_store.h"
#include "edit/om_file.h"
#include "formats/audio_format.h"
#include "formats/open_audio_source.h"

namespace osmera {

// The text and state of the undo entry of the Edit menu (and of the undo tool button).
struct LUndoMenuItem {
    std::string text;  // "Undo <name>\tCtrl+Z"; "Undo \tCtrl+Z" when nothing can be undone
    bool enabled = false;
};

// What the controller tells the rest of the program. Every call is optional.
class LDocumentListener {
  public:
    virtual ~LDocumentListener() = default;
    virtual void StopPlayback() {}
    // Playback of `doc` from frame `position`.
    virtual void StartPlayback(LOMFile& /*doc*/, int32_t /*position*/) {}
    virtual void UndoMenuChanged(const LUndoMenuItem& /*item*/) {}
    // The Save command (menu and tool bar) is enabled exactly when this says so.
    virtual void SaveEnabledChanged(bool /*enabled*/) {}
    // The audio, cursor or selection of `doc` changed: redraw views and position displays.
    virtual void DocumentChanged(LOMFile& /*doc*/) {}
    // `doc` is about to be closed and freed (a script's `close`, or the editor's own
    // CloseDocument): drop every reference to it now.
    virtual void DocumentClosing(LOMFile& /*doc*/) {}
};

// The system clipboard as wave-audio bytes (a whole WAV file).
class LClipboardExchange {
  public:
    virtual ~LClipboardExchange() = default;
    // The clipboard's wave-audio data; false when it holds none.
    virtual bool GetWaveData(std::vector<uint8_t>& bytes) = 0;
    // Puts `bytes` on the clipboard as wave audio; false when the clipboard refused.
    virtual bool SetWaveData(const std::vector<uint8_t>& bytes) = 0;
};

// Results of the editing commands.
enum class LEditResult {
    kDone,
    kNoDocument,      // no current document
    kNoSelection,     // the command needs a selection and the (clamped) one is empty
    kClipboardEmpty,  // nothing to paste
    kChannelsDiffer,  // the pasted audio is mono and the document stereo, or the reverse
    kTankFull,        // too few free cut numbers for the new audio (kCutTankFullMessage)
};

class LDocumentController {
  public:
    explicit LDocumentController(LSettingsStore& settings, LDocumentListener* listener = nullptr);
    ~LDocumentController();
    LDocumentController(const LDocumentController&) = delete;
    LDocumentController& operator=(const LDocumentController&) = delete;

    // A new empty untitled document (numbered by GetUntitledIdx); it becomes current.
    LOMFile& NewDocument(uint32_t sampleRate, uint8_t channels);
    // Opens `path` into a new document that becomes current; the document remembers the
    // file's sample width for later saves. On anything but kJobDone (document_io.h) no
    // document is added and `message` says why (kCutTankFullMessage when no cut number is
    // free). A file of more than two channels is mixed down, or gives the pair `open` asks. On
    // kJobDone `warning` is "" when the file opened whole, else the lines to show the user: frames
    // beyond what a document holds left out, or a file that ends before its header says whose rest
    // opened as silence. `open` as LoadAudioFile takes it (a headerless file's parameters, a
    // channel pair).
    int OpenDocument(const std::string& path, LProgress* progress, std::string* message = nullptr,
                     std::string* warning = nullptr, const LOpenOptions* open = nullptr);
    // Saves the current document to `path` ("" for its own path) in the format its
    // extension selects (PCM WAV for any other), PCM formats at `bytesPerSample`, 0 meaning the
    // width the document was opened with (16 bits for a new one). On success the document takes
    // that path and width and is no longer modified. A document without a path needs one
    // (kJobFailed otherwise).
    int SaveCurrentFile(const std::string& path, int32_t bytesPerSample, LProgress* progress,
                        std::string* message = nullptr);
    // The same with every writer option (format, width, quality, bit rate, compression;
    // options.bits 0 keeps the document's width). The document's tags go with it, and a WAV
    // file gets its bookmarks and regions as cue points (read back by OpenDocument).
    int SaveCurrentFile(const std::string& path, const LWriteOptions& options, LProgress* progress,
                        std::string* message = nullptr);
    // Takes `doc` (a document recovered after a crash, say) into the list of open documents;
    // it becomes current.
    LOMFile& AdoptDocument(std::unique_ptr<LOMFile> doc);
    // Closes `doc` without asking (the editor asks "Save changes" before). The next
    // document, else the previous one, becomes current.
    void CloseDocument(LOMFile* doc);

    LOMFile* GetCurrent() const { return current_; }
    void SetCurrent(LOMFile* doc);
    const std::vector<std::unique_ptr<LOMFile>>& GetDocuments() const { return documents_; }

    // The lowest number from 1 to 19 no open document uses; 1 when all are in use.
    uint32_t GetUntitledIdx() const;

    // kDone when `needed` cut numbers are free for a command that writes new audio (an
    // effect, a recording, a load), else kTankFull: the command is then refused before it
    // starts, with kCutTankFullMessage. Commands that only rearrange audio need no check.
    LEditResult CheckFreeCuts(uint32_t needed = 1) const;

    // Records an undo step named `undoName` for the current document and marks it modified.
    void StartModifyCurrentFile(const std::string& undoName);
    // Puts the cursor at `position`; when "Settings"/"AutoPlaybackAfterEffects" is on
    // (default on) moves it back by `preroll` frames (not below 0) and starts playback there.
    void EndModifyCurrentFile(int32_t position, int32_t preroll);
    // Stops playback and undoes the current document's most recent step, if any.
    void CmUndo();

    LUndoMenuItem GetUndoMenuItem() const;
    // Tells the listener the undo entry's text and state.
    void UpdateUndoMenuItem();
    // True exactly when the current document is modified.
    bool IsSaveEnabled() const;

    // The edit commands on the current document. Cut, copy, delete, trim and paste-over
    // first clamp the selection to [0, length]; cut, copy, delete and trim need a selection.
    LEditResult CmCut();        // selection -> clipboard, removed; cursor at its start
    LEditResult CmCopy();       // selection -> clipboard; the document is not changed
    LEditResult CmPaste();      // clipboard at the cursor; the pasted range becomes the selection
    LEditResult CmPasteOver();  // clipboard in place of the selection, which becomes it
    LEditResult CmDelete();     // selection removed
    LEditResult CmTrim();       // everything but the selection removed
    LEditResult CmTrimStart();  // everything before the cursor removed; cursor at 0
    LEditResult CmTrimEnd();    // everything after the cursor removed; cursor at the end
    LEditResult CmSilence();    // the selection silenced (undo step "Silence"); needs one
    // `length` frames of silence at `at` (a negative `at` inserts only the part that lies
    // at or after 0); the inserted range becomes the selection. A negative length does
    // nothing.
    LEditResult CmInsertSilence(int32_t at, int32_t length);
    // `list` (a file loaded for Insert File, say) pasted at `at`, clamped to [0, length],
    // as one undo step named `undoName`; the pasted range becomes the selection. The list
    // is only read: the caller keeps it. Results as for CmPaste.
    LEditResult CmPasteList(const LCutListAudio& list, int32_t at, const std::string& undoName);
    // A recorded take (in the document's rate and channels) in place of the selection when
    // the clamped selection is not empty, else at the cursor, as one undo step "Record"; the
    // recorded range becomes the selection. The take is only read. Results as for CmPaste.
    LEditResult CmPasteRecording(const LCutListAudio& take);

    // kDone when there is a current document whose selection, clamped to its audio, is
    // not empty; otherwise why not. Clamps the current document's selection.
    LEditResult CheckSelection();

    // The controller's clipboard, one list for the whole run.
    LCutListAudio& GetClipboard() { return clipboard_; }
    // The system clipboard's wave audio loaded into new cuts of `audio`; false when the
    // clipboard holds none that loads.
    bool LoadSystemClipboard(LClipboardExchange& exchange, LCutListAudio& audio,
                             LProgress* progress);

    // Saves the selection as a 16-bit WAV "clipboard.wav" in the folder "Folders"/"Current",
    // hands its bytes to `exchange` and deletes the file. Needs a selection.
    LEditResult CmCopyToSystemClipboard(LClipboardExchange& exchange, LProgress* progress);
    // Writes the clipboard's wave data to "clipboard.wav", loads it and pastes it at the
    // cursor as CmPaste does. kClipboardEmpty when the clipboard holds no wave audio or the
    // file cannot be read (those errors are not reported further); kTankFull, with nothing
    // changed, when no cut number is free.
    LEditResult CmPasteFromSystemClipboard(LClipboardExchange& exchange, LProgress* progress);
    // The path of "clipboard.wav" (the folder is chosen as the cut tank chooses it).
    std::string ClipboardFilePath();

  private:
    LEditResult PasteList(const LCutListAudio& list, bool overSelection,
                          const std::string& undoName);

    LSettingsStore& settings_;
    LDocumentListener* listener_;
    LDocumentListener noListener_;
    std::vector<std::unique_ptr<LOMFile>> documents_;
    LOMFile* current_ = nullptr;
    LCutListAudio clipboard_;
};

}  // namespace osmera
