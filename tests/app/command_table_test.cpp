#include "app/command_table.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QMenu>
#include <set>

#include "app/command_menus.h"
#include "tests/app/app_fixture.h"

namespace osmera {
namespace {

struct Expected {
    uint16_t id;
    const char* menuText;
    const char* description;
};

// The command set as users and key macros know it: identifier, menu text with its keys,
// status-bar description. The two plug-in items carry this desktop's plug-in kinds.
const Expected kExpected[] = {
    {1001, "&New File...\tCtrl+N", "Creates a new audio file."},
    {1002, "&Open File...\tCtrl+O", "Opens an existing file."},
    {1011, "&Load Audio CD Track(s)...\tCtrl+L", "Load audio track(s) from CDs."},
    {1003, "Close File", "Closes the current file."},
    {1004, "&Save File\tCtrl+S", "Saves the current file."},
    {1005, "Save File &As...", "Saves the current file with a new name or format."},
    {1009, "Send...", "Sends the file by email."},
    {1013, "Open Project...", "Opens a Osmera project."},
    {1014, "Close Project", "Closes the current project."},
    {1015, "Save Project", "Saves the current project."},
    {1016, "Save Project As...", "Saves the current project with a new name."},
    {1006, "Convert Sample Rate", "Converts the sample rate of the current file."},
    {1007, "Mono", "Converts current file to mono."},
    {1008, "Stereo", "Converts current file to stereo."},
    {1019, "Edit ID3 Tags...", ""},
    {1010, "Settings...", "Sets Osmera default settings."},
    {1048, "E&xit\tAlt+F4", "Quit"},
    {2001, "Undo \tCtrl+Z", "Reverses (undo) the last action."},
    {2002, "Cut \tCtrl+X", "Cuts the selection and keeps it on the Clipboard."},
    {2003, "Copy \tCtrl+C", "Copies the selection to the Clipboard."},
    {2004, "Paste \tCtrl+V", "Inserts clipboard contents."},
    {2025, "Paste From Clipboard", "Inserts window clipboard contents."},
    {2005, "Paste Mix...", "Mixes the clipboard contents over the current selected region."},
    {2026, "Paste Mix From Clipboard...",
     "Mixes the window clipboard contents over the current selected region."},
    {2006, "&Delete", ""},
    {2007, "Select All\tCtrl+A", "Selects the entire file."},
    {2022, "Select To Start\tShift+Home", "Selects everything before the current position."},
    {2023, "Select To End\tShift+End", "Selects everything after the current position."},
    {2027, "Select Region\tCtrl+G", ""},
    {2008, "Mix File...", "Mixes the current file with another file"},
    {2009, "Repeat Loop...", "Repeats the selected region."},
    {2010, "Trim\tCtrl+T", "The selected region becomes the entire file."},
    {2011, "Trim Start\tCtrl+M", "Deletes everything before the current position."},
    {2012, "Trim End\tCtrl+E", "Deletes everything after the current position."},
    {2013, "Auto Trim", "Deletes silence from the start and end."},
    {2029, "Split into two at this point",
     "Splits the current file into two files at the current poistion."},
    {2014, "Silence Select Region", "Silences the selected region."},
    {2028, "Save Select Region As...", "Save the selected region as a new file."},
    {2015, "Begin", "Inserts silence at the start."},
    {2016, "Current", "Inserts silence at the current position."},
    {2017, "End", "Inserts silence at the end."},
    {2018, "Begin", "Inserts another file at the start."},
    {2019, "Current", "Inserts another file at the current position."},
    {2020, "End", "Inserts another file at the end."},
    {2021, "Copy To New", "Copies the selected region to a new file."},
    {2030, "Mark First Position", ""},
    {2031, "Mark Second Position", ""},
    {2032, "Recall Mark Selection", ""},
    {4001, "Amplify...", "Increases or decreases the volume of the selected region."},
    {4002, "Normalize...", "Adjusts the volume to an optimal (normal) level."},
    {4011, "High-Pass Filter...", "Removes lower frequencies."},
    {4003, "Equalizer...", "Changes the tone with graphic equaliser"},
    {4004, "Echo...", "Adds echo to the selected region."},
    {4005, "Reverb...", "Adds reverb to the selected region."},
    {4018, "Reverse", "Reverses the selected region."},
    {4006, "Fade In", "Fades in over the selected region."},
    {4007, "Fade Out", "Fades out over the selected region."},
    {4013, "Fade Out and Trim",
     "Fades out over the selected region and deletes everything after the end position."},
    {4021, "CrossFade...", ""},
    {4008, "Envelope...", "Adjusts the volume envelope over the selected region."},
    {4022, "Stereo Pan...", ""},
    {4009, "Automatic Gain Control",
     "Increases soft regions and decreases loud regions for a perfect volume."},
    {4010, "Noise Reduction...", "Reduces background noise."},
    {4014, "Simple Speed and Pitch Change...", "Adjust speed and pitch."},
    {4015, "Constant Pitch and Speed Change...", "Adjusts speed without changing pitch."},
    {4016, "Constant Speed and Pitch Change...", "Adjusts pitch without changing the speed."},
    {4012, "Dynamic Range Compressor...", "Volume compression, limiting or noise gates."},
    {4017, "DCOffset Correction", "Removes DC component to avoid clicks when editing."},
    {4023, "Loudness Normalize...",
     "Brings the loudness to a target in LUFS (EBU R128) under a true-peak ceiling."},
    {4019, "LV2 Effects...", ""},
    {4020, "LADSPA Plugins...", ""},
    {3001, "&Record\tF5", "Records at the current position (or over selection)."},
    {3002, "&Play\tF9", "Plays the current file from the current position."},
    {3004, "Play Normal Speed\tF10",
     "Plays the current file from the current position at normal speed."},
    {3003, "Play Slow Speed\tF11",
     "Plays the current file from the current position at slow speed."},
    {3005, "Play Fast Speed\tF12",
     "Plays the current file from the current position at fast speed."},
    {3011, "Play Repeat\tShift+F9", "Repeats playing the current selection."},
    {3006, "&Stop\tEsc", "Stops playback."},
    {3007, "Go To Start\tHome", "Moves to the start of the file."},
    {3008, "Rewind\tF7", "Rewinds"},
    {3009, "Fast Forward\tF8", "Fast-forwards"},
    {3010, "Go To End\tEnd", "Moves to the end of the current file."},
    {7001, "Frequency Analysis (FFT)", "Views the spectral content of an audio signal."},
    {7005, "Temporal Frequency Analysis (TFFT)",
     "Views the time-varying spectral content of a selected region in the audio waveform."},
    {7009, "Auto Click/Pop Restoration", ""},
    {7010, "Manual Click/Pop Repair", ""},
    {7004, "Text To Speech", "Converts text to audio."},
    {7003, "Batch Converter",
     "Applies multiple effect or edit functions on the current file at once."},
    {8001, "Set Bookmark\tCtrl+B", "Remembers the current position of the file."},
    {8003, "Open Bookmark List\tCtrl+Shift+B", "Set a chosen bookmark at the current position."},
    {8004, "Add Region\tCtrl+R", "Remembers the current selection of the file."},
    {8000, "Open Region List\tCtrl+Shift+R", "Select a chosen region."},
    {8005, "Assemble Regions", "Assemble regions into a new file."},
    {5009, "Cascade", "Cascade windows on the Desktop"},
    {5010, "Tile Horizontal", "Tile windows horizontally on the Desktop"},
    {5011, "Tile Vertical", "Tile windows vertically on the Desktop"},
    {5012, "Arrange Icons", "Arrange all iconized Windows"},
    {5001, "Zoom In\tCtrl+Plus", "Zooms in."},
    {5002, "Zoom Out\tCtrl+Minus", "Zooms out."},
    {5003, "Zoom To Selection\tCtrl+Shift+S", "Zooms to the selected region."},
    {5004, "Zoom Full\tCtrl+Shift+F", "Displays the entire wave length."},
    {5005, "Vertical Zoom\tCtrl+Shift+V",
     "Increase the amplitude of the display (to see softer sounds)."},
    {5007, "Display Wave Form in + /-", "Wave display + up / - down."},
    {5008, "Display Wave Form in L / R", "Wave display left channel up / right channel down."},
    {5040, "Close All", "Closes all windows."},
    {6000, "&Help Contents\tF1", "Displays the manual."},
    {6013, "About Osmera", "Displays program information including version number"},
};

// One pass over the table: every command exists with its exact texts, the identifiers and
// keys are unique, every key parses, and every identifier reaches a handler.
TEST(CommandTable, MatchesTheCommandSet) {
    ASSERT_EQ(CommandTable().size(), std::size(kExpected));
    std::set<uint16_t> ids;
    std::set<QString> keys;
    for (const Expected& e : kExpected) {
        SCOPED_TRACE(e.id);
        const LCommandRow* row = FindCommand(e.id);
        ASSERT_NE(row, nullptr);
        EXPECT_EQ(MenuText(*row), QString::fromUtf8(e.menuText));
        EXPECT_STREQ(row->description, e.description);
        EXPECT_EQ(CommandDescription(e.id), QString::fromUtf8(e.description));
        EXPECT_TRUE(ids.insert(e.id).second);
        EXPECT_TRUE(MainDialog::HasHandler(e.id));
        EXPECT_EQ(FindCommandByName(QString::fromLatin1(row->name)), row);
        if (*row->keys) {
            EXPECT_TRUE(keys.insert(QString::fromLatin1(row->keys)).second) << row->keys;
            EXPECT_EQ(Shortcut(*row).count(), 1) << row->keys;
        }
    }
    EXPECT_EQ(Shortcut(*FindCommand(kIdZoomIn)), QKeySequence(Qt::CTRL | Qt::Key_Plus));
    EXPECT_EQ(CommandDescription(kRecentFileFirstId + 3), "Open the recent closed file.");
    EXPECT_EQ(CommandDescription(kWindowItemLastId), "Activates the selected window.");
    EXPECT_EQ(FeatureName(*FindCommand(kIdConvertMono)), "Convert Channels");
    EXPECT_EQ(FeatureName(*FindCommand(kIdLoadCdTracks)), "Load Audio CD Track(s)");
}

// The frame's actions are the table's: text, shortcut, identifier and word.
using MenuTest = testing::EditorTest;
TEST_F(MenuTest, MenusAreBuiltFromTheTable) {
    for (const LCommandRow& row : CommandTable()) {
        QAction* action = main->Menus().Action(row.id);
        ASSERT_NE(action, nullptr) << row.id;
        EXPECT_EQ(action->text(), MenuText(row));
        EXPECT_EQ(action->data().toUInt(), row.id);
        EXPECT_EQ(action->objectName(), QLatin1String(row.name));
        EXPECT_EQ(action->shortcut(), Shortcut(row));
    }
    auto* submenu = qobject_cast<QMenu*>(main->Menus().Action(kIdConvertMono)->parent());
    ASSERT_NE(submenu, nullptr);
    EXPECT_EQ(submenu->title(), "Convert Channels");
}

}  // namespace
}  // namespace osmera
