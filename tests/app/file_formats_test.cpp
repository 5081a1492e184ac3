// Formats in the editor: Save As writes the format of the filter or of the extension typed,
// with the options asked and remembered; a lossy file saved in place asks first; tags
// edited reach the file; headerless files ask how they are stored; a multichannel file
// opens as the channel pair the user picks.
#include <gtest/gtest.h>

#include <QStatusBar>
#include <filesystem>

#include "app/save_formats.h"
#include "edit/src_cut_list_audio.h"
#include "formats/audio_format.h"
#include "formats/audio_tags.h"
#include "formats/open_audio_source.h"
#include "tests/app/app_fixture.h"

namespace osmera {
namespace {

using namespace testing;

class FileFormats : public testing::EditorTest {
  protected:
    LReaderKind KindOf(const std::string& path) {
        const Bytes head = ReadBytes(path);
        return SniffContent(head.data(), std::min<size_t>(head.size(), 64));
    }
    std::vector<int32_t> Frames(const LOMFile& doc) {
        std::vector<int32_t> v(static_cast<size_t>(doc.audio.GetLength()) *
                               doc.audio.GetChannels());
        LSRCCutListAudio(doc.audio).Read(v.data(), doc.audio.GetLength());
        return v;
    }
};

TEST_F(FileFormats, SaveAsWritesTheChosenFormatWithItsOptionsAndTags) {
    LOMFile& doc = Open("a.wav");
    const std::vector<int32_t> audio = Frames(doc);

    // FLAC by its filter; the name gets the extension; the options are asked and kept.
    prompts.saveFormat = SaveFilterOf("flac");
    prompts.saveAnswer = QString::fromStdString(dir.File("song"));
    prompts.saveOptionsAnswer = [](LWriteOptions& o) {
        o.bits = 24;
        o.compression = 8;
    };
    prompts.tagsAnswer = LAudioTags{"Title", "Artist", "Album", "Genre", "Note", 2026, 3};
    main->Dispatch(kIdEditTags);
    EXPECT_TRUE(doc.modified);
    main->Dispatch(kIdSaveFileAs);
    EXPECT_TRUE(prompts.asked.contains("flac options"));
    EXPECT_EQ(doc.path, dir.File("song.flac"));
    EXPECT_EQ(KindOf(doc.path), LReaderKind::kSndFile);
    EXPECT_EQ(ReadAudioTags(doc.path), *prompts.tagsAnswer);
    EXPECT_EQ(settings.GetInt("Settings", "SaveAsFormat", -1), SaveFilterOf("flac"));
    LWriteOptions kept;
    LoadSaveOptions(settings, *FindWriteFormat("flac"), kept);
    EXPECT_EQ(kept.bits, 24);
    EXPECT_EQ(kept.compression, 8);
    ASSERT_TRUE(main->OpenFile(QString::fromStdString(doc.path)));
    EXPECT_EQ(Frames(*main->Controller().GetCurrent()), audio);  // lossless

    // An extension typed under another filter wins: "b.mp3" under WAV is MP3.
    main->Controller().SetCurrent(&doc);
    prompts.saveFormat = SaveFilterOf("wav");
    prompts.saveAnswer = QString::fromStdString(dir.File("b.mp3"));
    prompts.saveOptionsAnswer = [](LWriteOptions& o) { o.bitrate = 128; };
    main->Dispatch(kIdSaveFileAs);
    ASSERT_EQ(doc.path, dir.File("b.mp3"));
    EXPECT_EQ(KindOf(doc.path), LReaderKind::kSndFile);
    EXPECT_EQ(ReadAudioTags(doc.path).title, "Title");

    // Saving a lossy file in place asks first (not right after Save As chose the format);
    // Cancel writes nothing.
    ASSERT_TRUE(main->OpenFile(QString::fromStdString(dir.File("b.mp3"))));
    LOMFile& mp3 = *main->Controller().GetCurrent();
    const auto written = std::filesystem::last_write_time(mp3.path);
    mp3.modified = true;
    prompts.answers = {LAnswer::kCancel};
    prompts.asked.clear();
    main->Dispatch(kIdSaveFile);
    EXPECT_EQ(prompts.asked.size(), 1);
    EXPECT_TRUE(prompts.asked.front().contains("lossy"));
    EXPECT_EQ(std::filesystem::last_write_time(mp3.path), written);
    // No: Save As offers FLAC.
    prompts.answers = {LAnswer::kNo};
    prompts.saveFormat = -1;
    prompts.saveAnswer.clear();
    main->Dispatch(kIdSaveFile);
    EXPECT_TRUE(prompts.asked.contains("Save Audio File As"));
    // Yes keeps the format, and is not asked again for this document.
    prompts.answers = {LAnswer::kYes};
    prompts.asked.clear();
    main->Dispatch(kIdSaveFile);
    main->Dispatch(kIdSaveFile);
    EXPECT_EQ(prompts.asked.size(), 1);
    EXPECT_NE(std::filesystem::last_write_time(mp3.path), written);
}

TEST_F(FileFormats, HeaderlessAndMultichannelFilesAskHowToOpen) {
    // 1000 stereo frames of big-endian 16-bit samples: left i, right -i.
    Bytes raw;
    for (int i = 0; i < 1000; ++i)
        for (int v : {i, -i}) {
            raw.push_back(static_cast<uint8_t>((v >> 8) & 0xFF));
            raw.push_back(static_cast<uint8_t>(v & 0xFF));
        }
    WriteBytes(dir.File("take.raw"), raw);
    EXPECT_FALSE(main->OpenFile(QString::fromStdString(dir.File("take.raw"))));  // Cancel
    EXPECT_EQ(main->Controller().GetCurrent(), nullptr);
    prompts.rawAnswer = LRawParams{22050, 2, LRawEncoding::kPcm16, true};
    ASSERT_TRUE(main->OpenFile(QString::fromStdString(dir.File("take.raw"))));
    const LOMFile& take = *main->Controller().GetCurrent();
    EXPECT_EQ(take.audio.GetSampleRate(), 22050u);
    ASSERT_EQ(take.audio.GetLength(), 1000);
    std::vector<int32_t> frames(2000);
    LSRCCutListAudio(take.audio).Read(frames.data(), 1000);
    EXPECT_EQ(frames[2 * 999], 999 * 16);
    EXPECT_EQ(frames[2 * 999 + 1], -999 * 16);
    EXPECT_EQ(settings.GetInt("Settings", "RawOpenRate", 0), 22050);

    // Six channels, channel c holding (c + 1) * 1000: the user picks channels 3 and 4.
    Bytes data;
    for (int i = 0; i < 100; ++i)
        for (int c = 0; c < 6; ++c)
            Append16(data, static_cast<uint16_t>((c + 1) * 1000));
    WriteBytes(dir.File("six.wav"),
               Riff(Chunk("fmt ", FormatBody(6, 8000, 16)) + Chunk("data", data)));
    prompts.choiceAnswer = 2;
    ASSERT_TRUE(main->OpenFile(QString::fromStdString(dir.File("six.wav"))));
    EXPECT_EQ(prompts.offered.size(), 4);  // the mix, then pairs 1-2, 3-4, 5-6
    const LOMFile& six = *main->Controller().GetCurrent();
    ASSERT_EQ(six.audio.GetChannels(), 2);
    LSRCCutListAudio(six.audio).Read(frames.data(), 1);
    EXPECT_EQ(frames[0], 3000 * 16);
    EXPECT_EQ(frames[1], 4000 * 16);
}

}  // namespace
}  // namespace osmera
