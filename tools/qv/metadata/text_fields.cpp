#include "tools/qv/metadata/text_fields.h"

#include "qv/chunk_id.h"

#include <algorithm>

namespace qv::tool {

namespace {

/// The ids are those that players and editors agree on: IPRT is where they look for a track's number.
constexpr TextField kFields[] = {
    {"title", QvFourCC("INAM"), QvFourCC("NAME")},
    {"artist", QvFourCC("IART"), QvFourCC("AUTH")},
    {"album", QvFourCC("IPRD"), 0},
    {"comment", QvFourCC("ICMT"), QvFourCC("ANNO")},
    {"date", QvFourCC("ICRD"), 0},
    {"genre", QvFourCC("IGNR"), 0},
    {"track", QvFourCC("IPRT"), 0},
    {"copyright", QvFourCC("ICOP"), QvFourCC("(c) ")},
    {"engineer", QvFourCC("IENG"), 0},
    {"technician", QvFourCC("ITCH"), 0},
    {"software", QvFourCC("ISFT"), 0},
    {"subject", QvFourCC("ISBJ"), 0},
    {"keywords", QvFourCC("IKEY"), 0},
    {"source", QvFourCC("ISRC"), 0},
    {"source-form", QvFourCC("ISRF"), 0},
    {"medium", QvFourCC("IMED"), 0},
    {"language", QvFourCC("ILNG"), 0},
    {"commissioned", QvFourCC("ICMS"), 0},
    {"archive", QvFourCC("IARL"), 0},
};

DWORD counterpart(DWORD id, DWORD TextField::*from, DWORD TextField::*to) {
  const auto row =
      std::find_if(std::begin(kFields), std::end(kFields), [=](const TextField& field) { return field.*from == id; });
  return id == 0 || row == std::end(kFields) ? 0 : (*row).*to;
}

} // namespace

std::span<const TextField> text_fields() { return kFields; }

const TextField* text_field_named(const std::string& name) {
  const auto row =
      std::find_if(std::begin(kFields), std::end(kFields), [&](const TextField& field) { return field.name == name; });
  return row == std::end(kFields) ? nullptr : row;
}

DWORD aiff_id_for_info(DWORD info_id) { return counterpart(info_id, &TextField::info, &TextField::aiff); }
DWORD info_id_for_aiff(DWORD aiff_id) { return counterpart(aiff_id, &TextField::aiff, &TextField::info); }
bool is_aiff_text(DWORD chunk_id) { return info_id_for_aiff(chunk_id) != 0; }

} // namespace qv::tool
