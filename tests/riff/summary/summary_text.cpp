#include "tests/riff/summary/summary_text.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>

namespace riff_test {

namespace {

constexpr WCHAR kEuro = 0x20AC;

std::string code_of(DWORD id) {
  std::string code = u32(id);
  std::replace(code.begin(), code.end(), '\0', '.');
  return code;
}

void* locked_block(size_t bytes) { return GlobalLock(GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes)); }

void expect_block(const void* memory, size_t least_bytes) {
  const HGLOBAL block = GlobalHandle(memory);
  ASSERT_NE(block, nullptr);
  EXPECT_NE(block, memory) << "moveable";
  EXPECT_EQ(GlobalFlags(block) & GMEM_LOCKCOUNT, 1u);
  EXPECT_GE(GlobalSize(block), least_bytes);
}

Bytes list_chunk(std::string_view form, const Model& model, Bytes (*encode)(const qv::WString&), bool pads) {
  Bytes body;
  for (size_t index = 0; index < model.size(); ++index) {
    if (!model[index].text) continue;
    const Bytes data = encode(*model[index].text);
    body += u32(summary_id(model[index].id)) + u32(static_cast<uint32_t>(data.size())) + data;
    if (pads && data.size() % 2 == 1) body += static_cast<char>(index);
  }
  return list(form, body);
}

Bytes ansi(const qv::WString& text) {
  Bytes bytes;
  for (const WCHAR character : text)
    bytes += character == kEuro ? '\x80' : static_cast<char>(character);
  return bytes + '\0';
}

Bytes utf16(const qv::WString& text) {
  Bytes bytes;
  for (const WCHAR character : text)
    bytes += u16(character);
  return bytes + u16(0);
}

} // namespace

std::string shown(const qv::WString& text) {
  std::string out;
  for (const WCHAR character : text) {
    char escaped[8];
    std::snprintf(escaped, sizeof escaped, "\\x%04X", static_cast<unsigned>(character) & 0xFFFF);
    if (character >= ' ' && character < 0x7F)
      out += static_cast<char>(character);
    else
      out += escaped;
  }
  return out;
}

DWORD summary_id(std::string_view code) {
  Bytes bytes(code);
  std::replace(bytes.begin(), bytes.end(), '.', '\0');
  return u32_at(bytes, 0);
}

qv::WString wide(std::string_view ascii) { return qv::WString(ascii.begin(), ascii.end()); }

Model parse(std::string_view description) {
  Model model;
  while (!description.empty()) {
    const std::string_view item = description.substr(0, description.find(';'));
    description.remove_prefix(std::min(item.size() + 1, description.size()));
    model.push_back({std::string(item.substr(0, 4)), {}});
    if (item.size() > 4) model.back().text = wide(item.substr(5));
  }
  return model;
}

std::string describe(const Model& model) {
  std::string out;
  for (const ModelItem& item : model) {
    if (!out.empty()) out += ';';
    out += item.id + (item.text ? '=' + shown(*item.text) : "");
  }
  return out;
}

std::string describe(const _summarylisttag& list) {
  EXPECT_EQ(!list.items, list.count == 0);
  Model model;
  if (list.count != 0) expect_block(list.items, list.count * sizeof *list.items);
  for (DWORD k = 0; k < list.count; ++k) {
    model.push_back({code_of(list.items[k].id), {}});
    if (!list.items[k].text) continue;
    model.back().text = list.items[k].text;
    expect_block(list.items[k].text, (model.back().text->size() + 1) * sizeof(WCHAR));
  }
  return describe(model);
}

Bytes info_chunk(const Model& model) { return list_chunk("INFO", model, ansi, true); }
Bytes unfo_chunk(const Model& model) { return list_chunk("UNFO", model, utf16, false); }

SummaryList::SummaryList(const Model& model) {
  if (model.empty()) return;
  count = static_cast<DWORD>(model.size());
  items = static_cast<_summaryitemtag*>(locked_block(count * sizeof *items));
  for (DWORD k = 0; k < count; ++k) {
    items[k].id = summary_id(model[k].id);
    if (!model[k].text) continue;
    const size_t bytes = (model[k].text->size() + 1) * sizeof(WCHAR);
    items[k].text = static_cast<WCHAR*>(locked_block(bytes));
    std::memcpy(items[k].text, model[k].text->c_str(), bytes);
  }
}

} // namespace riff_test
