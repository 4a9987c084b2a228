// JSON values and their text. The library that reads and writes it is long to compile: json.cpp alone includes it.
#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qv::tool {

class Json {
public:
  using Member = std::pair<const char*, Json>;

  /// The value null.
  Json() = default;
  Json(std::string text) : kind_(Kind::kString), text_(std::move(text)) {}
  Json(const char* text) : Json(std::string(text)) {}
  Json(bool) = delete;
  Json(std::integral auto number) : kind_(Kind::kNumber), text_(std::to_string(number)) {}
  Json(double number);
  Json(const std::vector<std::string>& texts);
  /// An object whose members stay in this order.
  static Json object(std::initializer_list<Member> members);
  static Json array();
  /// The value that a text says; nothing where it is not JSON. The last of several members of one name counts.
  static std::optional<Json> parsed(const std::string& text);

  bool is_null() const { return kind_ == Kind::kNull; }
  bool is_string() const { return kind_ == Kind::kString; }
  bool is_array() const { return kind_ == Kind::kArray; }
  bool is_object() const { return kind_ == Kind::kObject; }
  /// The characters of a string; the digits of a number as they are printed.
  const std::string& text() const { return text_; }
  /// The value of a number without sign, fraction and exponent, up to 2^64 - 1; nothing for any other value.
  std::optional<uint64_t> whole_number() const;
  /// The items of an array, or the values of an object's members.
  const std::vector<Json>& items() const { return items_; }
  /// The value of an object's member, which the object keeps; null where there is none of that name.
  const Json* find(const std::string& name) const;

  /// Adds to an array.
  void push_back(Json item) { items_.push_back(std::move(item)); }
  /// Adds a member to an object, or replaces its value.
  void set(const std::string& name, Json value);

  /// The text of the value, on several lines with two spaces for each level. What is not UTF-8 is replaced.
  std::string dump() const;

private:
  enum class Kind { kNull, kBool, kNumber, kString, kArray, kObject };
  explicit Json(Kind kind) : kind_(kind) {}
  /// A value from the library's own, which this header does not name.
  static Json from_parsed(const void* value);
  size_t index_of(const std::string& name) const;
  void dump_to(std::string& out, size_t indent) const;

  Kind kind_ = Kind::kNull;
  std::string text_;               ///< of a string; of a bool or number as it is printed
  std::vector<Json> items_;        ///< of an array or object
  std::vector<std::string> names_; ///< of an object's members
};

} // namespace qv::tool
