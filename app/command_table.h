#pragma once
// The editor's command set as data: one constant row per command with its identifier, its
// word, its menu text, its keys, its status-bar description and what it needs to be
// enabled. The frame builds the menus, the tool bar, the shortcuts and the status-bar help
// from these rows, and MainDialog dispatches by identifier; nothing else spells out an
// identifier, a menu text or a key.
//
// Identifiers are fixed numbers shared with key macros: 1001-1061 File, 2001-2032 Edit,
// 3001-3011 Control, 4001-4022 Effects, 5001-5040 Window, 6000 and up Help, 7001-7010
// Tools, 8000-8005 Bookmarks.
//
// Threads: constant data, any thread.

#include <QKeySequence>
#include <QString>
#include <cstdint>
#include <span>

namespace osmera {

// The identifiers of the table's commands.
enum LCommandId : uint16_t {
    kIdNewFile = 1001,
    kIdOpenFile = 1002,
    kIdLoadCdTracks = 1011,
    kIdCloseFile = 1003,
    kIdSaveFile = 1004,
    kIdSaveFileAs = 1005,
    kIdSend = 1009,
    kIdOpenProject = 1013,
    kIdCloseProject = 1014,
    kIdSaveProject = 1015,
    kIdSaveProjectAs = 1016,
    kIdConvertSampleRate = 1006,
    kIdConvertMono = 1007,
    kIdConvertStereo = 1008,
    kIdEditTags = 1019,
    kIdSettings = 1010,
    kIdExit = 1048,
    kIdUndo = 2001,
    kIdCut = 2002,
    kIdCopy = 2003,
    kIdPaste = 2004,
    kIdPasteFromClipboard = 2025,
    kIdPasteMix = 2005,
    kIdPasteMixFromClipboard = 2026,
    kIdDelete = 2006,
    kIdSelectAll = 2007,
    kIdSelectToStart = 2022,
    kIdSelectToEnd = 2023,
    kIdSelectRegion = 2027,
    kIdMixFile = 2008,
    kIdRepeatLoop = 2009,
    kIdTrim = 2010,
    kIdTrimStart = 2011,
    kIdTrimEnd = 2012,
    kIdAutoTrim = 2013,
    kIdSplit = 2029,
    kIdSilence = 2014,
    kIdSaveSelectRegionAs = 2028,
    kIdInsertSilenceBegin = 2015,
    kIdInsertSilenceCurrent = 2016,
    kIdInsertSilenceEnd = 2017,
    kIdInsertFileBegin = 2018,
    kIdInsertFileCurrent = 2019,
    kIdInsertFileEnd = 2020,
    kIdCopyToNew = 2021,
    kIdMarkFirst = 2030,
    kIdMarkSecond = 2031,
    kIdRecallMark = 2032,
    kIdAmplify = 4001,
    kIdNormalize = 4002,
    kIdHighPass = 4011,
    kIdEqualizer = 4003,
    kIdEcho = 4004,
    kIdReverb = 4005,
    kIdReverse = 4018,
    kIdFadeIn = 4006,
    kIdFadeOut = 4007,
    kIdFadeOutAndTrim = 4013,
    kIdCrossFade = 4021,
    kIdEnvelope = 4008,
    kIdStereoPan = 4022,
    kIdAutoGain = 4009,
    kIdNoiseReduction = 4010,
    kIdSimpleSpeedPitch = 4014,
    kIdConstantPitchSpeed = 4015,
    kIdConstantSpeedPitch = 4016,
    kIdCompressor = 4012,
    kIdDcOffset = 4017,
    kIdLoudnessNormalize = 4023,
    kIdPluginEffects = 4019,
    kIdPlugins = 4020,
    kIdRecord = 3001,
    kIdPlay = 3002,
    kIdPlayNormal = 3004,
    kIdPlaySlow = 3003,
    kIdPlayFast = 3005,
    kIdPlayRepeat = 3011,
    kIdStop = 3006,
    kIdGoToStart = 3007,
    kIdRewind = 3008,
    kIdFastForward = 3009,
    kIdGoToEnd = 3010,
    kIdFft = 7001,
    kIdTfft = 7005,
    kIdAutoClickPop = 7009,
    kIdManualClickPop = 7010,
    kIdTextToSpeech = 7004,
    kIdBatchConverter = 7003,
    kIdBurnAudioCd = 7006,
    kIdCreateIsoImage = 7007,
    kIdSetBookmark = 8001,
    kIdBookmarkList = 8003,
    kIdAddRegion = 8004,
    kIdRegionList = 8000,
    kIdAssembleRegions = 8005,
    kIdCascade = 5009,
    kIdTileHorizontal = 5010,
    kIdTileVertical = 5011,
    kIdArrangeIcons = 5012,
    kIdZoomIn = 5001,
    kIdZoomOut = 5002,
    kIdZoomToSelection = 5003,
    kIdZoomFull = 5004,
    kIdVerticalZoom = 5005,
    kIdDisplayPlusMinus = 5007,
    kIdDisplayLeftRight = 5008,
    kIdCloseAll = 5040,
    kIdHelpContents = 6000,
    kIdAbout = 6013,
};

// What a command needs to be enabled; a row's flags are or-ed.
enum LCommandNeeds : uint32_t {
    kNeedsNothing = 0,
    kNeedsDocument = 1u << 0,         // a current document
    kNeedsSelection = 1u << 1,        // a non-empty selection in it
    kNeedsClipboard = 1u << 2,        // audio in the editor's own clipboard
    kNeedsModified = 1u << 3,         // the current document differs from its file
    kNeedsUndo = 1u << 4,             // an undo step is available
    kNeedsSystemClipboard = 1u << 5,  // wave audio on the desktop clipboard
};

enum class LMenu : uint8_t { kFile, kEdit, kEffects, kControl, kTools, kBookmarks, kWindow, kHelp };

struct LCommandRow {
    uint16_t id;
    const char* name;         // the command's word (key macros, scripts, object names)
    const char* text;         // menu text with & mnemonics, without the key part
    const char* keys;         // "Ctrl+N"; "" for none
    const char* description;  // status-bar help; "" for none
    uint32_t needs;           // LCommandNeeds
    LMenu menu;
    const char* submenu;  // the submenu holding the item ("Convert Channels"); "" for none
    bool separatorBefore;
};

// The dynamic items: recent files and the list of open windows.
inline constexpr uint16_t kRecentFileFirstId = 1050;  // slot n of the list is 1049 + n
inline constexpr uint16_t kRecentFileLastId = 1060;
inline constexpr uint16_t kRecentSeparatorId = 1061;
inline constexpr uint16_t kWindowItemFirstId = 5017;
inline constexpr uint16_t kWindowItemLastId = 5036;
extern const char* const kRecentFileDescription;  // "Open the recent closed file."
extern const char* const kWindowItemDescription;  // "Activates the selected window."

// Every command, menu by menu, in menu order.
std::span<const LCommandRow> CommandTable();
// The row of `id`, or null.
const LCommandRow* FindCommand(uint16_t id);
// The row named `name`, or null.
const LCommandRow* FindCommandByName(const QString& name);

// The menu text as shown: text, then a tab and the keys when there are any
// ("&New File...\tCtrl+N").
QString MenuText(const LCommandRow& row);
// The keys as a shortcut ("Ctrl+Plus" is Ctrl and the + key).
QKeySequence Shortcut(const LCommandRow& row);
// The status-bar help of any identifier, dynamic items included; "" when there is none.
QString CommandDescription(uint16_t id);
// The name a message uses for the command's feature: the submenu's name for items of a
// submenu, else the menu text without mnemonics, dots and keys ("Load Audio CD Track(s)").
QString FeatureName(const LCommandRow& row);
// The title of a top-level menu ("&File").
QString MenuTitle(LMenu menu);

}  // namespace osmera
