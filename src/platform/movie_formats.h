// The movie and sound formats that are opened here. Whoever opens a file and whoever asks "is this
// a movie?" look into this one table, so that nothing is called a movie which nothing opens.
//
// Not in it, though the library knows them: playlists, session descriptions and all else that
// names other files or addresses, pictures, subtitles, and formats that are known by nothing but
// the name of the file.
#pragma once

#include <string_view>

namespace corvy::platform {

struct MovieFormatEntry {
    std::string_view demuxer;        // the library's name for it; empty for our own reader
    std::u16string_view extensions;  // in lower case, a blank between each two
    std::u16string_view typeCodes;   // classic file type codes, four characters each, or empty
};

inline constexpr MovieFormatEntry kMovieFormats[] = {
    {"mov", u"mov qt mp4 m4v m4a m4b m4p m4r 3gp 3gpp 3g2 3gp2 mj2 f4v f4a ismv",
     u"MooVM4V M4A M4B M4P mpg43gpp3gp2"},
    {"matroska", u"mkv mka mk3d webm", u""},
    {"avi", u"avi divx vfw", u"VfW "},
    {"mpeg", u"mpg mpeg mpe vob m2p", u"MPEGMPG "},
    {"mpegts", u"ts mts m2ts m2t tp trp", u""},
    {"mpegvideo", u"m1v m2v mpv", u"M1V MPGV"},
    {"m4v", u"", u""},
    {"h264", u"h264 264 avc", u""},
    {"hevc", u"h265 265 hevc", u""},
    {"flv", u"flv", u"FLV "},
    {"asf", u"asf wmv wma", u"ASF_WMV WMA "},
    {"ogg", u"ogg ogv oga ogx opus spx", u"OggS"},
    {"rm", u"rm rmvb ra", u"PNRM"},
    {"dv", u"dv dif", u"dvc!"},
    {"mxf", u"mxf", u"mxfd"},
    {"gxf", u"gxf", u""},
    {"nut", u"nut", u""},
    {"ivf", u"ivf", u""},
    {"wtv", u"wtv", u""},
    {"flic", u"flc fli", u"FLI "},
    {"swf", u"swf", u"SWFL"},
    {"mp3", u"mp3 mp2 mp1 m1a m2a mpa", u"MPG3MP3 MPGA"},
    {"aac", u"aac adts", u"adts"},
    {"ac3", u"ac3", u""},
    {"eac3", u"eac3 ec3", u""},
    {"dts", u"dts", u""},
    {"amr", u"amr", u"amr "},
    {"wav", u"wav wave bwf", u"WAVE.WAV"},
    {"w64", u"w64", u""},
    {"aiff", u"aif aiff aifc", u"AIFFAIFC"},
    {"caf", u"caf", u"caff"},
    {"au", u"au snd", u"ULAWNeXT"},
    {"flac", u"flac", u"fLaC"},
    {"ape", u"ape", u""},
    {"wv", u"wv", u""},
    {"tta", u"tta", u""},
    {"tak", u"tak", u""},
    {"mpc", u"mpc", u""},
    {"mpc8", u"", u""},
    {"dsf", u"dsf", u""},
    {"voc", u"voc", u""},
    {"", u"mid midi kar smf rmi", u"Midi"},
};

}  // namespace corvy::platform
