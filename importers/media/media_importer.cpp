// Movies and sounds.
#include <algorithm>
#include <cstdint>

#include "foundation/text.h"
#include "importers/media/media_tags.h"
#include "importers/support/attributes.h"
#include "importers/support/own_keys.h"
#include "importers/support/text_list.h"
#include "platform/movie.h"

namespace corvy {

namespace {

using platform::Movie;
using platform::MovieTrack;

[[maybe_unused]] const bool kIsPrepared = (platform::prepareMovieLibrary(), true);

void setPositive(Attributes& attributes, const char* key, std::int64_t number) {
    if (number > 0) attributes.set(key, number);
}

void tellSound(Attributes& attributes, const MovieTrack& track) {
    setPositive(attributes, "kMDItemAudioBitRate", track.bitRate);
    setPositive(attributes, "kMDItemAudioChannelCount", track.channels);
    setPositive(attributes, "kMDItemAudioSampleRate", track.sampleRate);
    setPositive(attributes, "kMDItemBitsPerSample", track.bitsPerSample);
}

void tellVideo(Attributes& attributes, const MovieTrack& track) {
    setPositive(attributes, "kMDItemVideoBitRate", track.bitRate);
    attributes.set("kMDItemHasAlphaChannel", track.hasAlpha);
    if (track.framesPerSecond > 0) attributes.set(own_keys::kFrameRate, track.framesPerSecond);
}

// What all tracks use together, then the first of each kind.
void tellTracks(Attributes& attributes, const std::vector<MovieTrack>& tracks) {
    TextList kinds, codecs, languages;
    for (const MovieTrack& track : tracks) {
        kinds.add(track.kind == MovieTrack::Kind::video   ? u"Video"
                  : track.kind == MovieTrack::Kind::audio ? u"Sound"
                                                          : u"Text");
        codecs.add(track.codec);
        languages.add(track.language);
    }
    attributes.set("kMDItemMediaTypes", kinds.texts());
    attributes.set("kMDItemCodecs", codecs.texts());
    attributes.set("kMDItemLanguages", languages.texts());
    const auto video = std::ranges::find(tracks, MovieTrack::Kind::video, &MovieTrack::kind);
    if (video != tracks.end()) tellVideo(attributes, *video);
    const auto sound = std::ranges::find(tracks, MovieTrack::Kind::audio, &MovieTrack::kind);
    if (sound != tracks.end()) tellSound(attributes, *sound);
}

bool importMedia(CorvyAttributes* out, const char*, const char* path) {
    constexpr double kLongest = 5;  // seconds
    const auto movie = Movie::open(pathFromBytes(path), {.all = kLongest});
    if (!movie) return false;
    Attributes attributes(out);
    setTagAttributes(attributes, MediaTags(movie->tags()));
    if (movie->duration() > 0) attributes.set("kMDItemDurationSeconds", movie->duration());
    if (const Size size = movie->naturalSize(); size != Size()) {
        const auto width = static_cast<std::int64_t>(size.width);
        const auto height = static_cast<std::int64_t>(size.height);
        attributes.set("kMDItemPixelWidth", width);
        attributes.set("kMDItemPixelHeight", height);
        attributes.set("kMDItemPixelCount", width * height);
    }
    setPositive(attributes, "kMDItemTotalBitRate", movie->bitRate());
    attributes.set("kMDItemStreamable", movie->isStreamable());
    tellTracks(attributes, movie->tracks());
    return true;
}

}  // namespace

}  // namespace corvy

CORVY_IMPORTER(CorvyImporterFactory, corvy::importMedia)
