#include "tools/qv/metadata/ixml_fields.h"

#include "tools/qv/text.h"

#include <charconv>
#include <optional>

namespace qv::tool {

namespace {

constexpr std::string_view kSpace = " \t\r\n";

std::string_view trimmed(std::string_view text) {
  const size_t first = text.find_first_not_of(kSpace);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

/// The character of "#38", "#x26" or "amp"; nothing for any other name.
std::optional<std::string> entity(std::string_view name) {
  constexpr std::pair<std::string_view, char> kNamed[] = {
      {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
  for (const auto& [known, character] : kNamed)
    if (name == known) return std::string(1, character);
  if (!name.starts_with('#')) return std::nullopt;
  const bool is_hex = name.substr(1).starts_with('x');
  name.remove_prefix(is_hex ? 2 : 1);
  unsigned code = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), code, is_hex ? 16 : 10);
  if (error != std::errc() || end != name.data() + name.size() || code == 0 || code > 0x10FFFF) return std::nullopt;
  if (code < 0x10000) return utf8(WString(1, static_cast<WCHAR>(code)));
  return utf8({static_cast<WCHAR>(0xD7C0 + (code >> 10)), static_cast<WCHAR>(0xDC00 | (code & 0x3FF))});
}

/// A text with its entities replaced; those that are not known stay as they are.
std::string unescaped(std::string_view text) {
  constexpr size_t kLongestEntity = 10;
  std::string out;
  for (size_t at = 0; at < text.size();) {
    const size_t end = text[at] == '&' ? text.substr(at, kLongestEntity).find(';') : std::string_view::npos;
    const auto character = end == std::string_view::npos ? std::nullopt : entity(text.substr(at + 1, end - 1));
    out += character ? *character : std::string(1, text[at]);
    at += character ? end + 1 : 1;
  }
  return out;
}

class Parser {
public:
  explicit Parser(std::string_view text) : left_(text) {}

  IxmlFields parse() {
    while (out_.problem.empty() && step()) {
    }
    if (out_.problem.empty() && !open_.empty()) out_.problem = "the element " + open_.back().name + " has no end";
    return std::move(out_);
  }

private:
  struct Element {
    std::string name;
    std::string path;
    std::string text;
  };

  /// Passes a text and what stands behind it in angle brackets. False at the end.
  bool step() {
    const size_t bracket = left_.find('<');
    if (!open_.empty()) open_.back().text += unescaped(left_.substr(0, bracket));
    if (bracket == std::string_view::npos) return false;
    left_.remove_prefix(bracket);
    if (left_.starts_with("<!--")) return pass("-->");
    if (left_.starts_with("<?")) return pass("?>");
    if (left_.starts_with("<![CDATA[")) return take_verbatim();
    if (left_.starts_with("<!")) return pass(">");
    return take_tag();
  }
  bool pass(std::string_view end) {
    const size_t at = left_.find(end);
    if (at == std::string_view::npos) return stop("something in angle brackets has no end");
    left_.remove_prefix(at + end.size());
    return true;
  }
  bool take_verbatim() {
    constexpr size_t kOpening = 9;
    const std::string_view text = left_.substr(kOpening);
    if (!pass("]]>")) return false;
    if (!open_.empty()) open_.back().text += text.substr(0, text.find("]]>"));
    return true;
  }
  bool take_tag() {
    const std::string_view tag = left_.substr(1, left_.find('>') - 1);
    if (!pass(">")) return false;
    if (tag.starts_with('/')) return close(trimmed(tag.substr(1)));
    const std::string_view name = tag.substr(0, tag.find_first_of(" \t\r\n/"));
    if (name.empty()) return stop("an element has no name");
    if (open_.size() == kMaxIxmlDepth) return stop("elements are nested too deeply");
    const std::string above = open_.size() < 2 ? "" : open_.back().path + "/";
    open_.push_back({std::string(name), above + std::string(name), ""});
    return !tag.ends_with('/') || close(name);
  }
  bool close(std::string_view name) {
    if (open_.empty() || open_.back().name != name) return stop("the element " + std::string(name) + " ends unopened");
    const Element& element = open_.back();
    const std::string_view text = trimmed(element.text);
    if (!text.empty() && out_.fields.size() == kMaxIxmlFields) return stop("it has more fields than are read");
    if (!text.empty()) out_.fields.emplace_back(element.path, text);
    open_.pop_back();
    return true;
  }
  bool stop(std::string reason) {
    out_.problem = std::move(reason);
    return false;
  }

  std::string_view left_;
  std::vector<Element> open_;
  IxmlFields out_;
};

} // namespace

IxmlFields parse_ixml(std::string_view text) {
  const size_t end = text.find('\0'); // some recorders fill up with zeros
  return Parser(text.substr(0, end)).parse();
}

} // namespace qv::tool
