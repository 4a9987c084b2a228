#include "tools/qv/mp4/codec_names.h"

#include "tools/qv/text.h"

#include "qv/win32.h"

#include <algorithm>
#include <iterator>

namespace qv::tool {

namespace {

using fileutil::FourCC;

template <class Key>
struct Named {
  Key key;
  const char* name;
};

// https://mp4ra.org, and Apple's QuickTime File Format for its PCM.
constexpr Named<FourCC> kCodecs[] = {
    {QvFourCC("mp4a"), "MPEG-4 audio"},
    {QvFourCC("alac"), "Apple Lossless"},
    {QvFourCC("ac-3"), "AC-3"},
    {QvFourCC("ec-3"), "E-AC-3"},
    {QvFourCC("ac-4"), "AC-4"},
    {QvFourCC("Opus"), "Opus"},
    {QvFourCC("fLaC"), "FLAC"},
    {QvFourCC("samr"), "AMR narrow band"},
    {QvFourCC("sawb"), "AMR wide band"},
    {QvFourCC("sawp"), "AMR-WB+"},
    {QvFourCC("sevc"), "EVRC"},
    {QvFourCC("sqcp"), "QCELP"},
    {QvFourCC("dtsc"), "DTS"},
    {QvFourCC("dtsh"), "DTS-HD"},
    {QvFourCC("dtsl"), "DTS-HD lossless"},
    {QvFourCC("dtse"), "DTS Express"},
    {QvFourCC(".mp3"), "MP3"},
    {QvFourCC("mlpa"), "MLP"},
    {QvFourCC("mha1"), "MPEG-H 3D audio"},
    {QvFourCC("mhm1"), "MPEG-H 3D audio"},
    {QvFourCC("sowt"), "PCM, little-endian"},
    {QvFourCC("twos"), "PCM, big-endian"},
    {QvFourCC("raw "), "PCM, unsigned"},
    {QvFourCC("NONE"), "PCM"},
    {QvFourCC("in24"), "PCM of 24 bits"},
    {QvFourCC("in32"), "PCM of 32 bits"},
    {QvFourCC("fl32"), "PCM, floats of 32 bits"},
    {QvFourCC("fl64"), "PCM, floats of 64 bits"},
    {QvFourCC("lpcm"), "PCM"},
    {QvFourCC("ipcm"), "PCM"},
    {QvFourCC("fpcm"), "PCM, floats"},
    {QvFourCC("alaw"), "A-law"},
    {QvFourCC("ulaw"), "mu-law"},
    {QvFourCC("ima4"), "IMA ADPCM"},
    {QvFourCC("enca"), "encrypted audio"},
    {QvFourCC("encv"), "encrypted video"},
    {QvFourCC("mp4v"), "MPEG-4 video"},
    {QvFourCC("avc1"), "H.264"},
    {QvFourCC("avc3"), "H.264"},
    {QvFourCC("hvc1"), "H.265"},
    {QvFourCC("hev1"), "H.265"},
    {QvFourCC("av01"), "AV1"},
    {QvFourCC("vp08"), "VP8"},
    {QvFourCC("vp09"), "VP9"},
    {QvFourCC("s263"), "H.263"},
    {QvFourCC("jpeg"), "JPEG"},
    {QvFourCC("mjpa"), "Motion JPEG"},
    {QvFourCC("png "), "PNG"},
    {QvFourCC("PNG "), "PNG"},
    {QvFourCC("apcn"), "ProRes 422"},
    {QvFourCC("apch"), "ProRes 422 HQ"},
    {QvFourCC("text"), "QuickTime text"},
    {QvFourCC("tx3g"), "timed text"},
    {QvFourCC("wvtt"), "WebVTT"},
    {QvFourCC("stpp"), "XML subtitles"},
    {QvFourCC("c608"), "closed captions"},
    {QvFourCC("tmcd"), "timecode"},
};

constexpr Named<uint32_t> kObjectTypes[] = {
    {0x20, "MPEG-4 video"}, {0x21, "H.264"},        {0x40, "AAC"},          {0x60, "MPEG-2 video"},
    {0x61, "MPEG-2 video"}, {0x62, "MPEG-2 video"}, {0x63, "MPEG-2 video"}, {0x64, "MPEG-2 video"},
    {0x65, "MPEG-2 video"}, {0x66, "AAC Main"},     {0x67, "AAC LC"},       {0x68, "AAC SSR"},
    {0x69, "MPEG audio"},   {0x6A, "MPEG-1 video"}, {0x6B, "MPEG audio"},   {0x6C, "JPEG"},
    {0x6D, "PNG"},          {0xA5, "AC-3"},         {0xA6, "E-AC-3"},       {0xA9, "DTS"},
    {0xAA, "DTS-HD"},       {0xAD, "Opus"},         {0xDD, "Vorbis"},       {0xE1, "QCELP"},
};

constexpr Named<uint32_t> kAudioObjects[] = {
    {1, "AAC Main"}, {2, "AAC LC"},  {3, "AAC SSR"},    {4, "AAC LTP"},  {5, "HE-AAC"}, {17, "AAC LC, error resilient"},
    {22, "BSAC"},    {23, "AAC LD"}, {29, "HE-AAC v2"}, {32, "MP1"},     {33, "MP2"},   {34, "MP3"},
    {36, "ALS"},     {37, "SLS"},    {39, "AAC ELD"},   {42, "xHE-AAC"},
};

constexpr Named<FourCC> kTrackKinds[] = {
    {QvFourCC("soun"), "audio"},     {QvFourCC("vide"), "video"},     {QvFourCC("text"), "text"},
    {QvFourCC("sbtl"), "subtitles"}, {QvFourCC("subt"), "subtitles"}, {QvFourCC("tmcd"), "timecode"},
    {QvFourCC("meta"), "metadata"},  {QvFourCC("hint"), "hints"},     {QvFourCC("auxv"), "auxiliary video"},
    {QvFourCC("clcp"), "captions"},  {QvFourCC("pict"), "picture"},   {QvFourCC("sdsm"), "scene"},
    {QvFourCC("odsm"), "objects"},
};

constexpr Named<FourCC> kContainers[] = {
    {0, "QuickTime"},
    {QvFourCC("qt  "), "QuickTime"},
    {QvFourCC("M4A "), "M4A"},
    {QvFourCC("M4B "), "M4B"},
    {QvFourCC("M4P "), "M4P"},
    {QvFourCC("M4V "), "M4V"},
    {QvFourCC("f4v "), "F4V"},
    {QvFourCC("heic"), "HEIF"},
    {QvFourCC("mif1"), "HEIF"},
    {QvFourCC("avif"), "AVIF"},
    {QvFourCC("mjp2"), "Motion JPEG 2000"},
};

// Apple's QuickTime File Format, "Language Code Values".
constexpr const char* kQuickTimeLanguages[] = {"eng", "fra", "deu", "ita", "nld", "swe", "spa", "dan", "por",
                                               "nor", "heb", "jpn", "ara", "fin", "ell", "isl", "mlt", "tur",
                                               "hrv", "zho", "urd", "hin", "tha", "kor", "lit", "pol", "hun",
                                               "est", "lav", "sme", "fao", "fas", "rus", "zho"};

// https://id3.org/id3v2.3.0, appendix A.
constexpr const char* kGenres[] = {"Blues",
                                   "Classic Rock",
                                   "Country",
                                   "Dance",
                                   "Disco",
                                   "Funk",
                                   "Grunge",
                                   "Hip-Hop",
                                   "Jazz",
                                   "Metal",
                                   "New Age",
                                   "Oldies",
                                   "Other",
                                   "Pop",
                                   "R&B",
                                   "Rap",
                                   "Reggae",
                                   "Rock",
                                   "Techno",
                                   "Industrial",
                                   "Alternative",
                                   "Ska",
                                   "Death Metal",
                                   "Pranks",
                                   "Soundtrack",
                                   "Euro-Techno",
                                   "Ambient",
                                   "Trip-Hop",
                                   "Vocal",
                                   "Jazz+Funk",
                                   "Fusion",
                                   "Trance",
                                   "Classical",
                                   "Instrumental",
                                   "Acid",
                                   "House",
                                   "Game",
                                   "Sound Clip",
                                   "Gospel",
                                   "Noise",
                                   "Alternative Rock",
                                   "Bass",
                                   "Soul",
                                   "Punk",
                                   "Space",
                                   "Meditative",
                                   "Instrumental Pop",
                                   "Instrumental Rock",
                                   "Ethnic",
                                   "Gothic",
                                   "Darkwave",
                                   "Techno-Industrial",
                                   "Electronic",
                                   "Pop-Folk",
                                   "Eurodance",
                                   "Dream",
                                   "Southern Rock",
                                   "Comedy",
                                   "Cult",
                                   "Gangsta",
                                   "Top 40",
                                   "Christian Rap",
                                   "Pop/Funk",
                                   "Jungle",
                                   "Native American",
                                   "Cabaret",
                                   "New Wave",
                                   "Psychedelic",
                                   "Rave",
                                   "Showtunes",
                                   "Trailer",
                                   "Lo-Fi",
                                   "Tribal",
                                   "Acid Punk",
                                   "Acid Jazz",
                                   "Polka",
                                   "Retro",
                                   "Musical",
                                   "Rock & Roll",
                                   "Hard Rock"};

template <class Key, size_t kCount>
const char* find_name(const Named<Key> (&table)[kCount], Key key) {
  const auto* const found = std::find_if(table, table + kCount, [&](const Named<Key>& row) { return row.key == key; });
  return found == table + kCount ? nullptr : found->name;
}

template <size_t kCount>
std::string name_or_code(const Named<FourCC> (&table)[kCount], FourCC code) {
  const char* const name = find_name(table, code);
  return name ? name : code_text(code);
}

template <size_t kCount>
std::string name_or_number(const Named<uint32_t> (&table)[kCount], const char* what, uint32_t number) {
  const char* const name = find_name(table, number);
  return name ? name : what + std::to_string(number);
}

} // namespace

std::string codec_name(FourCC type) { return name_or_code(kCodecs, type); }

std::string object_type_name(uint32_t indication) { return name_or_number(kObjectTypes, "object type ", indication); }

std::string audio_object_name(uint32_t type) { return name_or_number(kAudioObjects, "audio object type ", type); }

std::string track_kind_name(FourCC handler) { return handler == 0 ? "unknown" : name_or_code(kTrackKinds, handler); }

std::string container_name(FourCC major_brand) {
  if (const char* const name = find_name(kContainers, major_brand)) return name;
  const std::string brand = code_text(major_brand);
  return brand.starts_with("3gp") ? "3GP" : brand.starts_with("3g2") ? "3G2" : "MP4";
}

std::string language_code(uint16_t packed) {
  constexpr uint16_t kFirstPacked = 0x400;
  if (packed < kFirstPacked) return packed < std::size(kQuickTimeLanguages) ? kQuickTimeLanguages[packed] : "und";
  std::string code;
  for (int shift = 10; shift >= 0; shift -= 5) {
    const int letter = packed >> shift & 0x1F;
    if (letter < 1 || letter > 26) return "und";
    code += static_cast<char>(0x60 + letter);
  }
  return code;
}

std::string genre_name(uint32_t number) {
  return number >= 1 && number <= std::size(kGenres) ? kGenres[number - 1] : std::to_string(number);
}

} // namespace qv::tool
