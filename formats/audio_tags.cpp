#include "formats/audio_tags.h"

#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/mpegfile.h>
#include <taglib/opusfile.h>
#include <taglib/tag.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>

#include "core/trace.h"

namespace osmera {
namespace {

std::string Utf8(const TagLib::String& s) {
    return s.to8Bit(true);
}

TagLib::String Text(const std::string& s) {
    return TagLib::String(s, TagLib::String::UTF8);
}

void Fill(TagLib::Tag& tag, const LAudioTags& tags) {
    tag.setTitle(Text(tags.title));
    tag.setArtist(Text(tags.artist));
    tag.setAlbum(Text(tags.album));
    tag.setGenre(Text(tags.genre));
    tag.setComment(Text(tags.comment));
    tag.setYear(tags.year);
    tag.setTrack(tags.track);
}

void Merge(LAudioTags& tags, const TagLib::Tag& tag) {
    auto take = [](std::string& field, const TagLib::String& value) {
        if (field.empty())
            field = Utf8(value);
    };
    take(tags.title, tag.title());
    take(tags.artist, tag.artist());
    take(tags.album, tag.album());
    take(tags.genre, tag.genre());
    take(tags.comment, tag.comment());
    if (tags.year == 0)
        tags.year = tag.year();
    if (tags.track == 0)
        tags.track = tag.track();
}

}  // namespace

LAudioTags ReadAudioTags(const std::string& path) {
    LAudioTags tags;
    TagLib::FileRef file(path.c_str(), false);
    if (file.isNull())
        return tags;
    if (file.tag())
        Merge(tags, *file.tag());
    // A WAV file's general tag is its ID3v2 chunk; its LIST INFO fills what that lacks.
    if (auto* wav = dynamic_cast<TagLib::RIFF::WAV::File*>(file.file()); wav && wav->hasInfoTag())
        Merge(tags, *wav->InfoTag());
    return tags;
}

bool FormatCarriesTags(const std::string& formatName) {
    return formatName == "mp3" || formatName == "flac" || formatName == "ogg" ||
           formatName == "opus" || formatName == "wav";
}

bool WriteAudioTags(const std::string& path, const std::string& formatName,
                    const LAudioTags& tags) {
    if (!FormatCarriesTags(formatName) || tags.IsEmpty())
        return true;
    bool saved = false;
    if (formatName == "mp3") {
        TagLib::MPEG::File file(path.c_str(), false);
        if (file.isValid()) {
            Fill(*file.ID3v2Tag(true), tags);
            saved = file.save(TagLib::MPEG::File::ID3v2, TagLib::File::StripNone);
        }
    } else if (formatName == "flac") {
        TagLib::FLAC::File file(path.c_str(), false);
        if (file.isValid()) {
            Fill(*file.xiphComment(true), tags);
            saved = file.save();
        }
    } else if (formatName == "ogg") {
        TagLib::Ogg::Vorbis::File file(path.c_str(), false);
        if (file.isValid() && file.tag()) {
            Fill(*file.tag(), tags);
            saved = file.save();
        }
    } else if (formatName == "opus") {
        TagLib::Ogg::Opus::File file(path.c_str(), false);
        if (file.isValid() && file.tag()) {
            Fill(*file.tag(), tags);
            saved = file.save();
        }
    } else if (formatName == "wav") {
        TagLib::RIFF::WAV::File file(path.c_str(), false);
        if (file.isValid()) {
            Fill(*file.InfoTag(), tags);
            saved = file.save(TagLib::RIFF::WAV::File::Info, TagLib::File::StripNone);
        }
    }
    if (!saved)
        LTracef("WriteAudioTags unable to write the %s tags of %s", formatName.c_str(),
                path.c_str());
    return saved;
}

}  // namespace osmera
