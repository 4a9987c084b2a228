#include "fileutil/plan/field_writer.h"

#include <utility>

namespace fileutil {

std::streamsize FieldWriter::Buffer::xsputn(const char* from, std::streamsize count) {
  bytes.insert(bytes.end(), from, from + count);
  return count;
}

FieldWriter::Buffer::int_type FieldWriter::Buffer::overflow(int_type character) {
  if (!traits_type::eq_int_type(character, traits_type::eof())) bytes.push_back(static_cast<uint8_t>(character));
  return traits_type::not_eof(character);
}

FieldWriter::FieldWriter() : writer_(out_, nullptr, 0) { static_cast<std::ios&>(out_).rdbuf(&buffer_); }

Bytes FieldWriter::fieldsOf(IBox* box) {
  buffer_.bytes.clear();
  box->accept(&writer_);
  return std::exchange(buffer_.bytes, {});
}

} // namespace fileutil
