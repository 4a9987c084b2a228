// Metadata between chunks and compressed files (FLAC, Ogg, MP3), of which the texts alone are read and written.
#include "tools/qv/carry/carried_metadata.h"
#include "tools/qv/carry/chunk_rules.h"
#include "tools/qv/file/codec/coded_texts.h"
#include "tools/qv/metadata/info_list.h"
#include "tools/qv/metadata/text_fields.h"
#include "tools/qv/text.h"

namespace qv::tool {

namespace {

bool holds_texts(DWORD id, const ChunkEntry& entry, Container kind) {
  if (is_aiff(kind)) return is_aiff_text(id);
  return entry.list_type == QVSUMMARY_FORM_INFO || id == kSummaryListGuid.Data1 || id == QvFourCC("CSET");
}

/// Names the chunks that hold no texts.
void name_other_chunks(const AudioFile& source, LeftOut& left_out) {
  for (const ChunkEntry& entry : source.chunks) {
    const DWORD id = source.kind == Container::kWave64 ? as_riff_id(entry.id) : entry.id;
    const bool is_made_anew = chunk_rule(id, entry.list_type, is_aiff(source.kind)).carry == Carry::kNever;
    if (!is_made_anew && !holds_texts(id, entry, source.kind)) left_out.add(named(entry, id));
  }
}

} // namespace

Carried to_coded(const AudioFile& source, Container container) {
  Carried carried;
  LeftOut left_out;
  const InfoList list = read_info_list(source);
  if (!list.problem.empty()) carried.warnings.push_back("of its texts not all are kept: " + list.problem);
  for (const InfoItem& item : list.items) {
    const DWORD id = is_aiff(source.kind) ? info_id_for_aiff(item.id) : item.id;
    if (has_coded_text(id))
      add_chunk(carried.chunks.before_audio, id, item.text);
    else
      left_out.add("the text " + printable_code(item.id));
  }
  name_other_chunks(source, left_out);
  left_out.report(std::string("left out, because ") + name_of(container) + " is written without the like",
                  carried.warnings);
  return carried;
}

Carried from_coded(const AudioFile& source, Container container) {
  Carried carried;
  LeftOut left_out;
  if (is_aiff(container)) {
    texts_to_aiff(carried, left_out, source);
  } else {
    std::vector<std::pair<DWORD, std::string>> texts;
    for (const InfoItem& item : read_info_list(source).items)
      texts.emplace_back(item.id, item.text);
    add_texts(carried.chunks, texts, container);
  }
  left_out.report("left out, because AIFF has nothing like it", carried.warnings);
  return carried;
}

} // namespace qv::tool
