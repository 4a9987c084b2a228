// Changes that were broken off are finished or taken back.
#pragma once

#include <string>

namespace qv::tool {

/// Settles what a change of a file has left that was killed, be it by this program or the library: waits while one goes
/// on. Answers in words what was done. Throws Failure, also where the file has been changed since.
std::string recover_change_of(const std::string& name);

} // namespace qv::tool
