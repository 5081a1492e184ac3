#pragma once
// The text tags of an audio file (title, artist, album, year, genre, comment, track), read
// and written through TagLib: ID3v2 in MP3, Vorbis comments in FLAC, Ogg Vorbis and Opus,
// LIST INFO in WAV. A document keeps the tags it was opened with, so that they survive its
// edits and saves.
//
// Plain values; the functions may be called from any thread, on files no one else writes
// at the time.

#include <cstdint>
#include <string>

namespace osmera {

struct LAudioTags {
    std::string title;
    std::string artist;
    std::string album;
    std::string genre;
    std::string comment;
    uint32_t year = 0;   // 0: none
    uint32_t track = 0;  // 0: none

    bool IsEmpty() const {
        return title.empty() && artist.empty() && album.empty() && genre.empty() &&
               comment.empty() && year == 0 && track == 0;
    }
    bool operator==(const LAudioTags&) const = default;
};

// The tags of `path` (any format TagLib knows, found by extension, else by content); empty
// tags when the file has none or cannot be read.
LAudioTags ReadAudioTags(const std::string& path);

// Writes `tags` into `path`, a file already written in the format named `formatName`
// ("mp3", "flac", "ogg", "opus", "wav"; see formats/audio_format.h). The file is given by
// format rather than by extension, so a temporary of any name can be tagged before it
// replaces the user's file. True when the tags were written or the format carries none
// (nothing to do); false when TagLib could not save them.
bool WriteAudioTags(const std::string& path, const std::string& formatName, const LAudioTags& tags);

// True when the format named `formatName` carries tags this program writes.
bool FormatCarriesTags(const std::string& formatName);

}  // namespace osmera
