// Summary lists as short texts, "INAM=title;ICMT;IART=": an item without "=" has no text. A dot in an id is a zero
// byte; what is not printable ASCII in a text is shown as \xHHHH.
#pragma once

#include "tests/riff/riff_bytes.h"

#include "qv/summary.h"

#include <optional>
#include <string>
#include <vector>

namespace riff_test {

struct ModelItem {
  std::string id;
  std::optional<qv::WString> text;
};
using Model = std::vector<ModelItem>;

DWORD summary_id(std::string_view code);
qv::WString wide(std::string_view ascii);
inline Bytes zeroed(std::string_view text) { return Bytes(text) + '\0'; }

std::string shown(const qv::WString& text);
Model parse(std::string_view description);
std::string describe(const Model& model);

/// A list's fields, checked to be as they are documented: locked blocks that are large enough, null where empty.
std::string describe(const _summarylisttag& list);

/// The chunk of each form, encoded without the library. Characters of INFO texts are below 256 or the euro sign.
Bytes info_chunk(const Model& model);
Bytes unfo_chunk(const Model& model);

/// A list that frees itself. It is filled block by block as any owner of a list might do it.
class SummaryList : public _summarylisttag {
public:
  SummaryList() = default;
  explicit SummaryList(const Model& model);
  explicit SummaryList(std::string_view description) : SummaryList(parse(description)) {}
  ~SummaryList() { QvSummary_Free(this); }
  SummaryList(const SummaryList&) = delete;
  SummaryList& operator=(const SummaryList&) = delete;
};

} // namespace riff_test
