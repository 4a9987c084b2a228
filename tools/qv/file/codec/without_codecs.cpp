// What becomes of compressed audio in a build without libsndfile.
#include "tools/qv/failure.h"
#include "tools/qv/file/codec/coded_audio.h"

namespace qv::tool {

struct CodedReader::Stream {};
struct CodedWriter::Stream {};

CodedReader::CodedReader(const AudioFile& audio) {
  throw Failure(audio.name, "its compressed audio cannot be read: this build has no libsndfile");
}
CodedReader::~CodedReader() = default;
CodedTexts CodedReader::texts() const { return {}; }
WORD CodedReader::format_tag() const { return 0; }
bool CodedReader::read(void*, DWORD) { return false; }

CodedWriter::CodedWriter(const std::string& name, HANDLE, Container, const _qvwaveformat&) {
  throw Failure(name, "cannot be encoded: this build has no libsndfile");
}
CodedWriter::~CodedWriter() = default;
bool CodedWriter::write_texts(const CodedTexts&) { return false; }
bool CodedWriter::write(const void*, DWORD) { return false; }
bool CodedWriter::finish() { return false; }

bool has_coded_text(DWORD) { return false; }

} // namespace qv::tool
