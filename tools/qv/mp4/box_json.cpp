// Boxes as JSON.
#include "tools/qv/json.h"
#include "tools/qv/mp4/box_report.h"

#include "qv/mp4/box_printer.h"

#include <algorithm>
#include <concepts>
#include <iostream>
#include <vector>

namespace qv::tool {

namespace {

using namespace fileutil;

/// What is open: arrays and objects, one in the other.
class JsonStream {
public:
  void item() {
    std::cout << (levels_.back().is_empty ? "\n" : ",\n") << std::string(2 * levels_.size(), ' ');
    levels_.back().is_empty = false;
  }
  void member(const char* name) {
    item();
    std::cout << '"' << name << "\": "; // a name of ours, which needs no escapes
  }
  /// `what` is the caller's name for it.
  void open(char bracket, int what) {
    std::cout << bracket;
    levels_.push_back({what, bracket == '[' ? ']' : '}', true});
  }
  void close() {
    const Level level = levels_.back();
    levels_.pop_back();
    if (!level.is_empty) std::cout << "\n" << std::string(2 * levels_.size(), ' ');
    std::cout << level.end;
  }
  bool is_in(int what) const { return levels_.back().what == what; }

private:
  struct Level {
    int what;
    char end;
    bool is_empty;
  };
  std::vector<Level> levels_;
};

/// The first of them.
std::string hexadecimal(std::span<const uint8_t> bytes) {
  constexpr size_t kMaxBytes = 256;
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const uint8_t byte : bytes.first(std::min(bytes.size(), kMaxBytes))) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

class JsonReport : public IBoxReport {
public:
  JsonReport() { json_.open('[', kBoxes); }

  void beginBox(const IBox& box) override {
    if (json_.is_in(kFields)) {
      json_.close();
      json_.member("children");
      json_.open('[', kBoxes);
    }
    json_.item();
    json_.open('{', kBox);
    member("type", boxTypeText(box.type()));
    member("position", box.position());
    member("size", box.size());
    member("header_size", box.headerSize());
    json_.member("fields");
    json_.open('{', kFields);
  }

  void field(const char* name, const BoxValue& value) override {
    close_parts();
    json_.member(name);
    std::visit([this](const auto& each) { print(each); }, value);
  }

  void beginPart(const char* group, const std::string& name) override {
    if (!json_.is_in(kParts)) {
      json_.member(group);
      json_.open('[', kParts);
    }
    json_.item();
    json_.open('{', kPart);
    member("name", name);
  }

  void endPart() override {
    close_parts();
    json_.close();
  }

  void endBox() override {
    close_parts();
    if (json_.is_in(kFields)) {
      json_.close();
      json_.member("children");
      json_.open('[', kBoxes);
    }
    json_.close();
    json_.close();
  }

  void end() {
    json_.close();
    std::cout << "\n";
  }

private:
  enum What { kBoxes, kBox, kFields, kParts, kPart };

  void close_parts() {
    if (json_.is_in(kParts)) json_.close();
  }

  void member(const char* name, const auto& value) {
    json_.member(name);
    print(value);
  }

  void print(const std::string& text) { std::cout << Json(text).dump(); }
  void print(double value) { std::cout << Json(value).dump(); }
  void print(const std::integral auto& number) { std::cout << number; }

  void print(std::span<const uint8_t> bytes) {
    json_.open('{', kPart);
    member("length", bytes.size());
    member("hex", hexadecimal(bytes));
    json_.close();
  }

  void print(const std::vector<std::string>& texts) {
    json_.open('[', kPart);
    for (const std::string& text : texts) {
      json_.item();
      print(text);
    }
    json_.close();
  }

  /// A row on a line.
  void print(const BoxTable& table) {
    json_.open('[', kPart);
    for (size_t row = 0; row < table.rows; ++row) {
      json_.item();
      if (table.columns.size() == 1) {
        std::cout << table.at(row, 0);
        continue;
      }
      for (size_t column = 0; column < table.columns.size(); ++column)
        std::cout << (column == 0 ? "{\"" : ", \"") << table.columns[column] << "\": " << table.at(row, column);
      std::cout << "}";
    }
    json_.close();
  }

  JsonStream json_;
};

} // namespace

void print_boxes_json(Boxes& boxes, unsigned levels) {
  JsonReport report;
  BoxPrinter(&boxes, report, levels).doIt();
  report.end();
}

} // namespace qv::tool
