#include "tools/qv/mp4/box_path.h"

#include "qv/mp4/box_printer.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace qv::tool {

namespace {

using namespace fileutil;

/// Takes a number off the front; nothing where there is none.
std::optional<uint32_t> take_number(std::string_view& rest, int base, size_t most) {
  uint32_t number = 0;
  const char* const last = rest.data() + std::min(rest.size(), most);
  const auto [end, error] = std::from_chars(rest.data(), last, number, base);
  if (error != std::errc()) return std::nullopt;
  rest.remove_prefix(static_cast<size_t>(end - rest.data()));
  return number;
}

/// Takes a byte of a type off the front.
char take_byte(std::string_view& rest) {
  constexpr std::string_view kSign = "\xC2\xA9"; // "©" in UTF-8
  if (rest.starts_with("\\x")) {
    std::string_view digits = rest.substr(2);
    const std::optional<uint32_t> byte = take_number(digits, 16, 2);
    if (!byte || digits.size() + 4 != rest.size()) throw std::invalid_argument("\\x needs two hexadecimal digits");
    rest = digits;
    return static_cast<char>(*byte);
  }
  const bool is_sign = rest.starts_with(kSign);
  const char byte = is_sign ? '\xA9' : rest.front();
  rest.remove_prefix(is_sign ? kSign.size() : 1);
  return byte;
}

BoxStep take_step(std::string_view& rest) {
  std::string type;
  while (!rest.empty() && rest.front() != '/' && rest.front() != '[')
    type += take_byte(rest);
  if (type.empty() || type.size() > 4) throw std::invalid_argument("a type has one to four characters");
  type.resize(4, ' ');
  BoxStep step;
  std::memcpy(&step.type, type.data(), 4);
  if (!rest.starts_with('[')) return step;
  rest.remove_prefix(1);
  const std::optional<uint32_t> number = take_number(rest, 10, rest.size());
  if (!number || *number == 0 || !rest.starts_with(']'))
    throw std::invalid_argument("boxes of a type are counted from [1]");
  rest.remove_prefix(1);
  step.number = *number;
  return step;
}

std::string quoted(FourCC type) { return "\"" + boxTypeText(type) + "\""; }

/// The same words for the path as far as it leads.
std::string path_text(const BoxPath& path, size_t steps) {
  std::string text;
  for (size_t k = 0; k < steps; ++k)
    text += (k == 0 ? "" : "/") + boxTypeText(path[k].type) +
            (path[k].number == 1 ? "" : "[" + std::to_string(path[k].number) + "]");
  return text;
}

/// Tells children; there are none in a box that is no container.
class Children : public BoxVisitor {
public:
  Boxes* boxes = nullptr;

protected:
  void visitContainer(IContainerBox* box) override { boxes = &box->children(); }
};

} // namespace

BoxPath box_path_from(const std::string& text) {
  BoxPath path;
  std::string_view rest = text;
  for (;;) {
    path.push_back(take_step(rest));
    if (rest.empty()) return path;
    if (!rest.starts_with('/')) throw std::invalid_argument("a slash stands between types");
    rest.remove_prefix(1);
  }
}

IBox& box_at(Boxes& boxes, const BoxPath& path) {
  Boxes* level = &boxes;
  IBox* box = nullptr;
  for (size_t k = 0; k < path.size(); ++k) {
    uint32_t count = 0;
    const auto is_meant = [&](const IBox* each) { return each->type() == path[k].type && ++count == path[k].number; };
    const auto found = level == nullptr ? boxes.end() : std::find_if(level->begin(), level->end(), is_meant);
    if (level == nullptr || found == level->end())
      throw std::invalid_argument((count == 0   ? "there is no "
                                   : count == 1 ? "there is only one "
                                                : "there are only " + std::to_string(count) + " ") +
                                  quoted(path[k].type) + (k == 0 ? "" : " in " + path_text(path, k)));
    box = *found;
    Children children;
    box->accept(&children);
    level = children.boxes;
  }
  return *box;
}

} // namespace qv::tool
