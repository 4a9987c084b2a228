// How the program reports: one line on standard error that names the file and the reason.
#pragma once

#include "qv/result.h"

#include <stdexcept>
#include <string>

namespace qv::tool {

/// The work on a file failed. Caught where the work was asked for, and printed there.
class Failure : public std::runtime_error {
public:
  Failure(const std::string& file, const std::string& reason) : std::runtime_error(file + ": " + reason) {}
};

/// Exit codes of the program.
enum ExitCode : int { kSuccess = 0, kWorkFailed = 1, kWrongUsage = 2 };

/// Prints "qv: LINE", with control characters made harmless: names and texts of strangers may stand in it.
void print_error(const std::string& line);
/// Prints "qv: FILE: warning: TEXT".
void print_warning(const std::string& file, const std::string& text);

/// What a result of the library means to a user, in the user's language.
std::string result_text(HRESULT result);
/// What a system error means to a user.
std::string system_error_text(DWORD error);

} // namespace qv::tool
