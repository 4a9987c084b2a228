#include "tools/qv/file/codec/coded_texts.h"

#include "tools/qv/file/codec/sound_library.h"

#include "qv/chunk_id.h"

#include <algorithm>

namespace qv::tool {

namespace {

struct Row {
  DWORD id;
  int number;
};

/// Without that of the software, to which libsndfile adds its own name.
constexpr Row kRows[] = {{QvFourCC("INAM"), SF_STR_TITLE},     {QvFourCC("IART"), SF_STR_ARTIST},
                         {QvFourCC("ICMT"), SF_STR_COMMENT},   {QvFourCC("ICRD"), SF_STR_DATE},
                         {QvFourCC("IPRD"), SF_STR_ALBUM},     {QvFourCC("IGNR"), SF_STR_GENRE},
                         {QvFourCC("ICOP"), SF_STR_COPYRIGHT}, {QvFourCC("IPRT"), SF_STR_TRACKNUMBER}};

const Row* row_of(DWORD id) {
  const auto row = std::find_if(std::begin(kRows), std::end(kRows), [=](const Row& known) { return known.id == id; });
  return row == std::end(kRows) ? nullptr : row;
}

} // namespace

bool has_coded_text(DWORD info_id) { return row_of(info_id) != nullptr; }

CodedTexts read_coded_texts(const SoundLibrary& library, SNDFILE* stream) {
  CodedTexts texts;
  for (const Row& row : kRows)
    if (const char* const text = library.get_string(stream, row.number)) texts.emplace_back(row.id, text);
  return texts;
}

bool write_coded_texts(const SoundLibrary& library, SNDFILE* stream, const CodedTexts& texts) {
  for (const auto& [id, text] : texts)
    if (const Row* const row = row_of(id); row && library.set_string(stream, row->number, text.c_str()) != 0)
      return false;
  return true;
}

} // namespace qv::tool
