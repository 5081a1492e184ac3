#include "app/command_table.h"

#include <algorithm>

namespace osmera {

const char* const kRecentFileDescription = "Open the recent closed file.";
const char* const kWindowItemDescription = "Activates the selected window.";

namespace {

// Menu by menu, in the order the items appear. The plug-in rows name the plug-in kinds of
// this desktop.
constexpr LCommandRow kCommands[] = {
    {kIdNewFile, "new", "&New File...", "Ctrl+N", "Creates a new audio file.", kNeedsNothing,
     LMenu::kFile, "", false},
    {kIdOpenFile, "open", "&Open File...", "Ctrl+O", "Opens an existing file.", kNeedsNothing,
     LMenu::kFile, "", false},
    {kIdLoadCdTracks, "load-cd", "&Load Audio CD Track(s)...", "Ctrl+L",
     "Load audio track(s) from CDs.", kNeedsNothing, LMenu::kFile, "", false},
    {kIdCloseFile, "close", "Close File", "", "Closes the current file.", kNeedsDocument,
     LMenu::kFile, "", false},
    {kIdSaveFile, "save", "&Save File", "Ctrl+S", "Saves the current file.",
     kNeedsDocument | kNeedsModified, LMenu::kFile, "", true},
    {kIdSaveFileAs, "save-as", "Save File &As...", "",
     "Saves the current file with a new name or format.", kNeedsDocument, LMenu::kFile, "", false},
    {kIdSend, "send", "Send...", "", "Sends the file by email.", kNeedsDocument, LMenu::kFile, "",
     true},
    {kIdOpenProject, "open-project", "Open Project...", "", "Opens a Osmera project.",
     kNeedsNothing, LMenu::kFile, "", true},
    {kIdCloseProject, "close-project", "Close Project", "", "Closes the current project.",
     kNeedsDocument, LMenu::kFile, "", false},
    {kIdSaveProject, "save-project", "Save Project", "", "Saves the current project.",
     kNeedsDocument, LMenu::kFile, "", false},
    {kIdSaveProjectAs, "save-project-as", "Save Project As...", "",
     "Saves the current project with a new name.", kNeedsDocument, LMenu::kFile, "", false},
    {kIdConvertSampleRate, "convert-rate", "Convert Sample Rate", "",
     "Converts the sample rate of the current file.", kNeedsDocument, LMenu::kFile, "", true},
    {kIdConvertMono, "convert-mono", "Mono", "", "Converts current file to mono.", kNeedsDocument,
     LMenu::kFile, "Convert Channels", false},
    {kIdConvertStereo, "convert-stereo", "Stereo", "", "Converts current file to stereo.",
     kNeedsDocument, LMenu::kFile, "Convert Channels", false},
    {kIdEditTags, "edit-tags", "Edit ID3 Tags...", "", "", kNeedsDocument, LMenu::kFile, "", true},
    {kIdSettings, "settings", "Settings...", "", "Sets Osmera default settings.", kNeedsNothing,
     LMenu::kFile, "", false},
    {kIdExit, "exit", "E&xit", "Alt+F4", "Quit", kNeedsNothing, LMenu::kFile, "", true},
    {kIdUndo, "undo", "Undo ", "Ctrl+Z", "Reverses (undo) the last action.",
     kNeedsDocument | kNeedsUndo, LMenu::kEdit, "", false},
    {kIdCut, "cut", "Cut ", "Ctrl+X", "Cuts the selection and keeps it on the Clipboard.",
     kNeedsDocument | kNeedsSelection, LMenu::kEdit, "", true},
    {kIdCopy, "copy", "Copy ", "Ctrl+C", "Copies the selection to the Clipboard.",
     kNeedsDocument | kNeedsSelection, LMenu::kEdit, "", false},
    {kIdPaste, "paste", "Paste ", "Ctrl+V", "Inserts clipboard contents.",
     kNeedsDocument | kNeedsClipboard, LMenu::kEdit, "", false},
    {kIdPasteFromClipboard, "paste-from-clipboard", "Paste From Clipboard", "",
     "Inserts window clipboard contents.", kNeedsDocument | kNeedsSystemClipboard, LMenu::kEdit, "",
     false},
    {kIdPasteMix, "paste-mix", "Paste Mix...", "",
     "Mixes the clipboard contents over the current selected region.",
     kNeedsDocument | kNeedsClipboard, LMenu::kEdit, "", false},
    {kIdPasteMixFromClipboard, "paste-mix-from-clipboard", "Paste Mix From Clipboard...", "",
     "Mixes the window clipboard contents over the current selected region.",
     kNeedsDocument | kNeedsSystemClipboard, LMenu::kEdit, "", false},
    {kIdDelete, "delete", "&Delete", "", "", kNeedsDocument | kNeedsSelection, LMenu::kEdit, "",
     false},
    {kIdSelectAll, "select-all", "Select All", "Ctrl+A", "Selects the entire file.", kNeedsDocument,
     LMenu::kEdit, "", true},
    {kIdSelectToStart, "select-to-start", "Select To Start", "Shift+Home",
     "Selects everything before the current position.", kNeedsDocument, LMenu::kEdit, "", false},
    {kIdSelectToEnd, "select-to-end", "Select To End", "Shift+End",
     "Selects everything after the current position.", kNeedsDocument, LMenu::kEdit, "", false},
    {kIdSelectRegion, "select-region", "Select Region", "Ctrl+G", "", kNeedsDocument, LMenu::kEdit,
     "", false},
    {kIdMixFile, "mix-file", "Mix File...", "", "Mixes the current file with another file",
     kNeedsDocument, LMenu::kEdit, "", true},
    {kIdRepeatLoop, "repeat", "Repeat Loop...", "", "Repeats the selected region.",
     kNeedsDocument | kNeedsSelection, LMenu::kEdit, "", false},
    {kIdTrim, "trim", "Trim", "Ctrl+T", "The selected region becomes the entire file.",
     kNeedsDocument | kNeedsSelection, LMenu::kEdit, "", true},
    {kIdTrimStart, "trim-start", "Trim Start", "Ctrl+M",
     "Deletes everything before the current position.", kNeedsDocument, LMenu::kEdit, "", false},
    {kIdTrimEnd, "trim-end", "Trim End", "Ctrl+E", "Deletes everything after the current position.",
     kNeedsDocument, LMenu::kEdit, "", false},
    {kIdAutoTrim, "auto-trim", "Auto Trim", "", "Deletes silence from the start and end.",
     kNeedsDocument, LMenu::kEdit, "", false},
    {kIdSplit, "split", "Split into two at this point", "",
     "Splits the current file into two files at the current poistion.", kNeedsDocument,
     LMenu::kEdit, "", false},
    {kIdSilence, "silence", "Silence Select Region", "", "Silences the selected region.",
     kNeedsDocument | kNeedsSelection, LMenu::kEdit, "", true},
    {kIdSaveSelectRegionAs, "save-selection-as", "Save Select Region As...", "",
     "Save the selected region as a new file.", kNeedsDocument | kNeedsSelection, LMenu::kEdit, "",
     false},
    {kIdInsertSilenceBegin, "insert-silence-start", "Begin", "", "Inserts silence at the start.",
     kNeedsDocument, LMenu::kEdit, "Insert Silence...", false},
    {kIdInsertSilenceCurrent, "insert-silence-current", "Current", "",
     "Inserts silence at the current position.", kNeedsDocument, LMenu::kEdit, "Insert Silence...",
     false},
    {kIdInsertSilenceEnd, "insert-silence-end", "End", "", "Inserts silence at the end.",
     kNeedsDocument, LMenu::kEdit, "Insert Silence...", false},
    {kIdInsertFileBegin, "insert-file-start", "Begin", "", "Inserts another file at the start.",
     kNeedsDocument, LMenu::kEdit, "Insert File...", false},
    {kIdInsertFileCurrent, "insert-file-current", "Current", "",
     "Inserts another file at the current position.", kNeedsDocument, LMenu::kEdit,
     "Insert File...", false},
    {kIdInsertFileEnd, "insert-file-end", "End", "", "Inserts another file at the end.",
     kNeedsDocument, LMenu::kEdit, "Insert File...", false},
    {kIdCopyToNew, "copy-to-new", "Copy To New", "", "Copies the selected region to a new file.",
     kNeedsDocument | kNeedsSelection, LMenu::kEdit, "", false},
    {kIdMarkFirst, "mark-first", "Mark First Position", "", "", kNeedsDocument, LMenu::kEdit, "",
     true},
    {kIdMarkSecond, "mark-second", "Mark Second Position", "", "", kNeedsDocument, LMenu::kEdit, "",
     false},
    {kIdRecallMark, "recall-mark", "Recall Mark Selection", "", "", kNeedsDocument, LMenu::kEdit,
     "", false},
    {kIdAmplify, "amplify", "Amplify...", "",
     "Increases or decreases the volume of the selected region.", kNeedsDocument, LMenu::kEffects,
     "", false},
    {kIdNormalize, "normalize", "Normalize...", "",
     "Adjusts the volume to an optimal (normal) level.", kNeedsDocument, LMenu::kEffects, "",
     false},
    {kIdHighPass, "high-pass", "High-Pass Filter...", "", "Removes lower frequencies.",
     kNeedsDocument, LMenu::kEffects, "", true},
    {kIdEqualizer, "equalizer", "Equalizer...", "", "Changes the tone with graphic equaliser",
     kNeedsDocument, LMenu::kEffects, "", false},
    {kIdEcho, "echo", "Echo...", "", "Adds echo to the selected region.", kNeedsDocument,
     LMenu::kEffects, "", true},
    {kIdReverb, "reverb", "Reverb...", "", "Adds reverb to the selected region.", kNeedsDocument,
     LMenu::kEffects, "", false},
    {kIdReverse, "reverse", "Reverse", "", "Reverses the selected region.", kNeedsDocument,
     LMenu::kEffects, "", false},
    {kIdFadeIn, "fade-in", "Fade In", "", "Fades in over the selected region.", kNeedsDocument,
     LMenu::kEffects, "", true},
    {kIdFadeOut, "fade-out", "Fade Out", "", "Fades out over the selected region.", kNeedsDocument,
     LMenu::kEffects, "", false},
    {kIdFadeOutAndTrim, "fade-out-trim", "Fade Out and Trim", "",
     "Fades out over the selected region and deletes everything after the end position.",
     kNeedsDocument, LMenu::kEffects, "", false},
    {kIdCrossFade, "cross-fade", "CrossFade...", "", "", kNeedsDocument, LMenu::kEffects, "",
     false},
    {kIdEnvelope, "envelope", "Envelope...", "",
     "Adjusts the volume envelope over the selected region.", kNeedsDocument, LMenu::kEffects, "",
     false},
    {kIdStereoPan, "stereo-pan", "Stereo Pan...", "", "", kNeedsDocument, LMenu::kEffects, "",
     false},
    {kIdAutoGain, "auto-gain", "Automatic Gain Control", "",
     "Increases soft regions and decreases loud regions for a perfect volume.", kNeedsDocument,
     LMenu::kEffects, "", true},
    {kIdNoiseReduction, "noise-reduction", "Noise Reduction...", "", "Reduces background noise.",
     kNeedsDocument, LMenu::kEffects, "", false},
    {kIdSimpleSpeedPitch, "speed-pitch", "Simple Speed and Pitch Change...", "",
     "Adjust speed and pitch.", kNeedsDocument, LMenu::kEffects, "", true},
    {kIdConstantPitchSpeed, "speed", "Constant Pitch and Speed Change...", "",
     "Adjusts speed without changing pitch.", kNeedsDocument, LMenu::kEffects, "", false},
    {kIdConstantSpeedPitch, "pitch", "Constant Speed and Pitch Change...", "",
     "Adjusts pitch without changing the speed.", kNeedsDocument, LMenu::kEffects, "", false},
    {kIdCompressor, "compressor", "Dynamic Range Compressor...", "",
     "Volume compression, limiting or noise gates.", kNeedsDocument, LMenu::kEffects, "", true},
    {kIdDcOffset, "dc-offset", "DCOffset Correction", "",
     "Removes DC component to avoid clicks when editing.", kNeedsDocument, LMenu::kEffects, "",
     false},
    {kIdLoudnessNormalize, "loudness-normalize", "Loudness Normalize...", "",
     "Brings the loudness to a target in LUFS (EBU R128) under a true-peak ceiling.",
     kNeedsDocument, LMenu::kEffects, "", false},
    {kIdPluginEffects, "lv2-effects", "LV2 Effects...", "", "", kNeedsDocument, LMenu::kEffects, "",
     true},
    {kIdPlugins, "ladspa-plugins", "LADSPA Plugins...", "", "", kNeedsDocument, LMenu::kEffects, "",
     false},
    {kIdRecord, "record", "&Record", "F5", "Records at the current position (or over selection).",
     kNeedsNothing, LMenu::kControl, "", false},
    {kIdPlay, "play", "&Play", "F9", "Plays the current file from the current position.",
     kNeedsDocument, LMenu::kControl, "", false},
    {kIdPlayNormal, "play-normal", "Play Normal Speed", "F10",
     "Plays the current file from the current position at normal speed.", kNeedsDocument,
     LMenu::kControl, "", false},
    {kIdPlaySlow, "play-slow", "Play Slow Speed", "F11",
     "Plays the current file from the current position at slow speed.", kNeedsDocument,
     LMenu::kControl, "", false},
    {kIdPlayFast, "play-fast", "Play Fast Speed", "F12",
     "Plays the current file from the current position at fast speed.", kNeedsDocument,
     LMenu::kControl, "", false},
    {kIdPlayRepeat, "play-repeat", "Play Repeat", "Shift+F9",
     "Repeats playing the current selection.", kNeedsDocument, LMenu::kControl, "", false},
    {kIdStop, "stop", "&Stop", "Esc", "Stops playback.", kNeedsNothing, LMenu::kControl, "", false},
    {kIdGoToStart, "go-to-start", "Go To Start", "Home", "Moves to the start of the file.",
     kNeedsDocument, LMenu::kControl, "", true},
    {kIdRewind, "rewind", "Rewind", "F7", "Rewinds", kNeedsDocument, LMenu::kControl, "", false},
    {kIdFastForward, "fast-forward", "Fast Forward", "F8", "Fast-forwards", kNeedsDocument,
     LMenu::kControl, "", false},
    {kIdGoToEnd, "go-to-end", "Go To End", "End", "Moves to the end of the current file.",
     kNeedsDocument, LMenu::kControl, "", false},
    {kIdFft, "fft", "Frequency Analysis (FFT)", "",
     "Views the spectral content of an audio signal.", kNeedsDocument, LMenu::kTools, "", false},
    {kIdTfft, "tfft", "Temporal Frequency Analysis (TFFT)", "",
     "Views the time-varying spectral content of a selected region in the audio waveform.",
     kNeedsDocument, LMenu::kTools, "", false},
    {kIdAutoClickPop, "click-repair", "Auto Click/Pop Restoration", "", "", kNeedsDocument,
     LMenu::kTools, "", true},
    {kIdManualClickPop, "click-repair-manual", "Manual Click/Pop Repair", "", "", kNeedsDocument,
     LMenu::kTools, "", false},
    {kIdTextToSpeech, "text-to-speech", "Text To Speech", "", "Converts text to audio.",
     kNeedsNothing, LMenu::kTools, "", true},
    {kIdBatchConverter, "batch", "Batch Converter", "",
     "Applies multiple effect or edit functions on the current file at once.", kNeedsNothing,
     LMenu::kTools, "", false},
    {kIdBurnAudioCd, "burn-cd", "Burn Audio CD...", "",
     "Burns open files or other files as the tracks of an audio CD.", kNeedsNothing, LMenu::kTools,
     "", true},
    {kIdCreateIsoImage, "iso-image", "Create ISO Image...", "",
     "Makes a data-disc image (ISO 9660) of files.", kNeedsNothing, LMenu::kTools, "", false},
    {kIdSetBookmark, "set-bookmark", "Set Bookmark", "Ctrl+B",
     "Remembers the current position of the file.", kNeedsDocument, LMenu::kBookmarks, "", false},
    {kIdBookmarkList, "bookmark-list", "Open Bookmark List", "Ctrl+Shift+B",
     "Set a chosen bookmark at the current position.", kNeedsDocument, LMenu::kBookmarks, "",
     false},
    {kIdAddRegion, "add-region", "Add Region", "Ctrl+R",
     "Remembers the current selection of the file.", kNeedsDocument, LMenu::kBookmarks, "", true},
    {kIdRegionList, "region-list", "Open Region List", "Ctrl+Shift+R", "Select a chosen region.",
     kNeedsDocument, LMenu::kBookmarks, "", false},
    {kIdAssembleRegions, "assemble-regions", "Assemble Regions", "",
     "Assemble regions into a new file.", kNeedsDocument, LMenu::kBookmarks, "", false},
    {kIdCascade, "cascade", "Cascade", "", "Cascade windows on the Desktop", kNeedsDocument,
     LMenu::kWindow, "", false},
    {kIdTileHorizontal, "tile-horizontal", "Tile Horizontal", "",
     "Tile windows horizontally on the Desktop", kNeedsDocument, LMenu::kWindow, "", false},
    {kIdTileVertical, "tile-vertical", "Tile Vertical", "",
     "Tile windows vertically on the Desktop", kNeedsDocument, LMenu::kWindow, "", false},
    {kIdArrangeIcons, "arrange-icons", "Arrange Icons", "", "Arrange all iconized Windows",
     kNeedsDocument, LMenu::kWindow, "", false},
    {kIdZoomIn, "zoom-in", "Zoom In", "Ctrl+Plus", "Zooms in.", kNeedsDocument, LMenu::kWindow, "",
     true},
    {kIdZoomOut, "zoom-out", "Zoom Out", "Ctrl+Minus", "Zooms out.", kNeedsDocument, LMenu::kWindow,
     "", false},
    {kIdZoomToSelection, "zoom-selection", "Zoom To Selection", "Ctrl+Shift+S",
     "Zooms to the selected region.", kNeedsDocument | kNeedsSelection, LMenu::kWindow, "", false},
    {kIdZoomFull, "zoom-full", "Zoom Full", "Ctrl+Shift+F", "Displays the entire wave length.",
     kNeedsDocument, LMenu::kWindow, "", false},
    {kIdVerticalZoom, "vertical-zoom", "Vertical Zoom", "Ctrl+Shift+V",
     "Increase the amplitude of the display (to see softer sounds).", kNeedsDocument,
     LMenu::kWindow, "", false},
    {kIdDisplayPlusMinus, "display-plus-minus", "Display Wave Form in + /-", "",
     "Wave display + up / - down.", kNeedsDocument, LMenu::kWindow, "", true},
    {kIdDisplayLeftRight, "display-left-right", "Display Wave Form in L / R", "",
     "Wave display left channel up / right channel down.", kNeedsDocument, LMenu::kWindow, "",
     false},
    {kIdCloseAll, "close-all", "Close All", "", "Closes all windows.", kNeedsDocument,
     LMenu::kWindow, "", true},
    {kIdHelpContents, "help", "&Help Contents", "F1", "Displays the manual.", kNeedsNothing,
     LMenu::kHelp, "", false},
    {kIdAbout, "about", "About Osmera", "", "Displays program information including version number",
     kNeedsNothing, LMenu::kHelp, "", true},
};

}  // namespace

std::span<const LCommandRow> CommandTable() {
    return kCommands;
}

const LCommandRow* FindCommand(uint16_t id) {
    const auto it = std::find_if(std::begin(kCommands), std::end(kCommands),
                                 [id](const LCommandRow& row) { return row.id == id; });
    return it == std::end(kCommands) ? nullptr : &*it;
}

const LCommandRow* FindCommandByName(const QString& name) {
    const auto it =
        std::find_if(std::begin(kCommands), std::end(kCommands),
                     [&name](const LCommandRow& row) { return name == QLatin1String(row.name); });
    return it == std::end(kCommands) ? nullptr : &*it;
}

QString MenuText(const LCommandRow& row) {
    QString text = QString::fromUtf8(row.text);
    if (*row.keys)
        text += QLatin1Char('\t') + QLatin1String(row.keys);
    return text;
}

QKeySequence Shortcut(const LCommandRow& row) {
    QString keys = QString::fromLatin1(row.keys);
    // Menus spell the + and - keys out; QKeySequence wants the characters.
    keys.replace(QLatin1String("Plus"), QLatin1String("+"));
    keys.replace(QLatin1String("Minus"), QLatin1String("-"));
    return QKeySequence(keys, QKeySequence::PortableText);
}

QString CommandDescription(uint16_t id) {
    if (id >= kRecentFileFirstId && id <= kRecentFileLastId)
        return QString::fromUtf8(kRecentFileDescription);
    if (id >= kWindowItemFirstId && id <= kWindowItemLastId)
        return QString::fromUtf8(kWindowItemDescription);
    const LCommandRow* row = FindCommand(id);
    return row ? QString::fromUtf8(row->description) : QString();
}

QString FeatureName(const LCommandRow& row) {
    QString name = QString::fromUtf8(*row.submenu ? row.submenu : row.text);
    name.remove(QLatin1Char('&'));
    if (name.endsWith(QLatin1String("...")))
        name.chop(3);
    return name.trimmed();
}

QString MenuTitle(LMenu menu) {
    switch (menu) {
        case LMenu::kFile:
            return QStringLiteral("&File");
        case LMenu::kEdit:
            return QStringLiteral("&Edit");
        case LMenu::kEffects:
            return QStringLiteral("Effe&cts");
        case LMenu::kControl:
            return QStringLiteral("&Control");
        case LMenu::kTools:
            return QStringLiteral("&Tools");
        case LMenu::kBookmarks:
            return QStringLiteral("&Bookmark");
        case LMenu::kWindow:
            return QStringLiteral("&Window");
        case LMenu::kHelp:
            return QStringLiteral("&Help");
    }
    return {};
}

}  // namespace osmera
