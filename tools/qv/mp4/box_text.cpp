// Boxes as lines for a terminal.
#include "tools/qv/mp4/box_report.h"
#include "tools/qv/text.h"

#include "qv/mp4/box_printer.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <set>

namespace qv::tool {

namespace {

using namespace fileutil;

constexpr size_t kMaxText = 60;   // bytes of a text
constexpr size_t kMaxBytes = 12;  // of raw bytes
constexpr size_t kMaxNumbers = 9; // of a table: all of a matrix

std::string shown(uint64_t value) { return std::to_string(value); }
std::string shown(int64_t value) { return std::to_string(value); }

std::string shown(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.9g", value);
  return text;
}

std::string shown(const std::string& value) {
  size_t length = value.size();
  if (length > kMaxText)
    for (length = kMaxText; length > 0 && (static_cast<unsigned char>(value[length]) & 0xC0) == 0x80; --length) {
    } // between two characters
  return "\"" + printable(value.substr(0, length)) + (length < value.size() ? "...\"" : "\"");
}

std::string shown(const std::vector<std::string>& values) {
  std::string line;
  for (size_t k = 0; k < std::min(values.size(), kMaxNumbers); ++k)
    line += (k == 0 ? "" : ", ") + shown(values[k]);
  return "[" + line + (values.size() > kMaxNumbers ? ", ...]" : "]");
}

std::string shown(std::span<const uint8_t> bytes) {
  std::string line = "[" + std::to_string(bytes.size()) + " bytes";
  for (size_t k = 0; k < std::min(bytes.size(), kMaxBytes); ++k) {
    char text[8];
    std::snprintf(text, sizeof text, "%s%02X", k == 0 ? ": " : " ", bytes[k]);
    line += text;
  }
  return line + (bytes.size() > kMaxBytes ? " ...]" : "]");
}

std::string shown(const BoxTable& table) {
  const size_t rows = std::min(table.rows, std::max<size_t>(kMaxNumbers / table.columns.size(), 1));
  std::string line = "[" + std::to_string(table.rows) + ":";
  for (size_t row = 0; row < rows; ++row)
    for (size_t column = 0; column < table.columns.size(); ++column)
      line += (column > 0 ? "/" : " ") + std::to_string(table.at(row, column));
  return line + (rows < table.rows ? " ...]" : "]");
}

/// The columns of a table, where it has several: that is how its rows are shown.
std::string shown_name(const char* name, const BoxValue& value) {
  const auto* const table = std::get_if<BoxTable>(&value);
  if (table == nullptr || table->columns.size() == 1) return name;
  std::string names;
  for (const char* column : table->columns)
    names += (names.empty() ? "" : "/") + std::string(column);
  return names;
}

/// What nearly every file says here.
bool is_usual(const std::string& name, const BoxValue& value) {
  static const std::set<std::string> kUsuallyZero = {"version", "flags",           "creation_time", "modification_time",
                                                     "layer",   "alternate_group", "balance",       "locale"};
  const std::string text = std::visit([](const auto& each) { return shown(each); }, value);
  static const std::string kUnity = "[9: 65536 0 0 0 65536 0 0 0 1073741824]";
  return (text == "0" && kUsuallyZero.contains(name)) || (text == kUnity && name == "matrix") || text == "\"\"";
}

class TextReport : public IBoxReport {
public:
  TextReport() { std::cout << "    position          size head  box\n"; }

  void beginBox(const IBox& box) override {
    end_line();
    char line[96];
    std::snprintf(line, sizeof line, "%12llu  %12llu %4u  ", static_cast<unsigned long long>(box.position()),
                  static_cast<unsigned long long>(box.size()), static_cast<unsigned>(box.headerSize()));
    begin_line(line, boxTypeText(box.type()));
    ++level_;
  }

  void field(const char* name, const BoxValue& value) override {
    if (is_usual(name, value)) return;
    std::cout << std::string(padding_, ' ') << shown_name(name, value) << "="
              << std::visit([](const auto& each) { return shown(each); }, value);
    padding_ = 1;
  }

  void beginPart(const char* /*group*/, const std::string& name) override {
    end_line();
    begin_line(std::string(33, ' '), name);
    ++level_;
  }

  void endPart() override { --level_; }

  void endBox() override {
    end_line();
    --level_;
  }

private:
  void begin_line(const std::string& columns, const std::string& name) {
    constexpr size_t kFieldColumn = 24;
    std::cout << columns << std::string(2 * level_, ' ') << name;
    const size_t used = 2 * level_ + name.size() - static_cast<size_t>(std::count(name.begin(), name.end(), '\xC2'));
    padding_ = std::max<size_t>(kFieldColumn, used + 2) - used;
    is_open_ = true;
  }

  void end_line() {
    if (is_open_) std::cout << "\n";
    is_open_ = false;
  }

  size_t level_ = 0;
  size_t padding_ = 0;
  bool is_open_ = false;
};

} // namespace

void print_boxes(Boxes& boxes, unsigned levels) {
  TextReport report;
  BoxPrinter(&boxes, report, levels).doIt();
}

} // namespace qv::tool
