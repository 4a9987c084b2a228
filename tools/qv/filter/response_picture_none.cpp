// A build without Cairo.
#include "tools/qv/filter/response_picture.h"

#include <stdexcept>

namespace qv::tool {

bool can_draw() { return false; }

std::string drawn(const std::vector<Response>&, const std::string&, bool) {
  throw std::runtime_error("this build draws no pictures");
}

} // namespace qv::tool
