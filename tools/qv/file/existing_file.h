// Opening a file that is there.
#pragma once

#include "tools/qv/file/open_file.h"

#include <string>

namespace qv::tool {

/// No one else may write it meanwhile: what is only read may then be read ahead. Throws Failure, also for what is no
/// regular file.
OpenFile open_existing(const std::string& name, DWORD access, DWORD flags = FILE_ATTRIBUTE_NORMAL);

} // namespace qv::tool
