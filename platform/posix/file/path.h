// Paths: UTF-16 in the interface, UTF-8 bytes for the system.
#pragma once

#include "qv/win32.h"

#include <string>

namespace qv::platform {

std::string path_bytes(const WCHAR* path);

/// Whether something exists there.
bool path_exists(const std::string& path);

} // namespace qv::platform
