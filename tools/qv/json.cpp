#include "tools/qv/json.h"

#include "tools/qv/text.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace qv::tool {

namespace {

using Parsed = nlohmann::ordered_json;

std::string quoted(const std::string& text) {
  // What a terminal would obey is escaped, which changes no value.
  return with_harmless(Parsed(text).dump(-1, ' ', false, Parsed::error_handler_t::replace), [](char32_t character) {
    char escape[8]; // all of them have four digits
    std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(character));
    return std::string(escape);
  });
}

} // namespace

Json::Json(double number) : kind_(Kind::kNumber), text_(Parsed(number).dump()) {}

Json::Json(const std::vector<std::string>& texts) : Json(Kind::kArray) {
  for (const std::string& text : texts)
    items_.emplace_back(text);
}

Json Json::object(std::initializer_list<Member> members) {
  Json object(Kind::kObject);
  for (const auto& [name, value] : members)
    object.set(name, value);
  return object;
}

Json Json::array() { return Json(Kind::kArray); }

Json Json::from_parsed(const void* value) {
  const Parsed& parsed = *static_cast<const Parsed*>(value);
  if (parsed.is_string()) return parsed.get<std::string>();
  Json json(parsed.is_object()    ? Kind::kObject
            : parsed.is_array()   ? Kind::kArray
            : parsed.is_number()  ? Kind::kNumber
            : parsed.is_boolean() ? Kind::kBool
                                  : Kind::kNull);
  if (parsed.is_number() || parsed.is_boolean()) json.text_ = parsed.dump();
  if (parsed.is_array())
    for (const Parsed& item : parsed)
      json.push_back(from_parsed(&item));
  if (parsed.is_object())
    for (const auto& [name, item] : parsed.items())
      json.set(name, from_parsed(&item));
  return json;
}

std::optional<Json> Json::parsed(const std::string& text) {
  const Parsed parsed = Parsed::parse(text, nullptr, false);
  return parsed.is_discarded() ? std::nullopt : std::optional(from_parsed(&parsed));
}

std::optional<uint64_t> Json::whole_number() const {
  uint64_t number = 0;
  const char* const last = text_.data() + text_.size();
  const auto [end, error] = std::from_chars(text_.data(), last, number);
  return kind_ == Kind::kNumber && error == std::errc() && end == last ? std::optional(number) : std::nullopt;
}

size_t Json::index_of(const std::string& name) const {
  return static_cast<size_t>(std::find(names_.begin(), names_.end(), name) - names_.begin());
}

const Json* Json::find(const std::string& name) const {
  const size_t index = index_of(name);
  return index == names_.size() ? nullptr : &items_[index];
}

void Json::set(const std::string& name, Json value) {
  if (const size_t index = index_of(name); index < names_.size()) {
    items_[index] = std::move(value);
    return;
  }
  names_.push_back(name);
  items_.push_back(std::move(value));
}

std::string Json::dump() const {
  std::string out;
  dump_to(out, 0);
  return out;
}

void Json::dump_to(std::string& out, size_t indent) const {
  const bool holds_items = is_array() || is_object();
  if (!holds_items) {
    out += is_null() ? "null" : is_string() ? quoted(text_) : text_;
    return;
  }
  out += is_array() ? '[' : '{';
  for (size_t k = 0; k < items_.size(); ++k) {
    out += (k == 0 ? "\n" : ",\n") + std::string(indent + 2, ' ');
    if (is_object()) out += quoted(names_[k]) + ": ";
    items_[k].dump_to(out, indent + 2);
  }
  if (!items_.empty()) out += "\n" + std::string(indent, ' ');
  out += is_array() ? ']' : '}';
}

} // namespace qv::tool
