// What a template file vouches for: the owner of a file that is made, or that of one which is opened.
#pragma once

#include "qv/win32.h"

#include <sys/stat.h>

namespace qv::platform {

/// Gives a file that was made to the template's owner and group, as far as this user may. An error only for a template
/// that is no open file.
DWORD take_owner(int descriptor, const struct stat& made, HANDLE template_file);

/// ERROR_INVALID_OWNER unless the file is regular and nobody but this user and the template's owner can have written
/// it.
DWORD check_owner(const struct stat& opened, HANDLE template_file);

} // namespace qv::platform
