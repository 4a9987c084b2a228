#include "tools/qv/failure.h"

#include "tools/qv/text.h"

#include <iostream>

namespace qv::tool {

namespace {

struct ErrorText {
  DWORD error;
  const char* text;
};

constexpr ErrorText kErrorTexts[] = {
    {ERROR_FILE_NOT_FOUND, "no such file"},
    {ERROR_PATH_NOT_FOUND, "no such folder"},
    {ERROR_TOO_MANY_OPEN_FILES, "too many files are open"},
    {ERROR_ACCESS_DENIED, "access is denied"},
    {ERROR_NOT_ENOUGH_MEMORY, "out of memory"},
    {ERROR_WRITE_PROTECT, "the medium is write-protected"},
    {ERROR_SHARING_VIOLATION, "another program uses the file"},
    {ERROR_HANDLE_DISK_FULL, "the disk is full"},
    {ERROR_NOT_SUPPORTED, "not a regular file"},
    {ERROR_DISK_FULL, "the disk is full"},
    {ERROR_FILENAME_EXCED_RANGE, "the name is too long"},
    {ERROR_BADDB, "the registry is damaged, or the file is no registry"},
    {ERROR_REGISTRY_IO_FAILED, "the registry could not be read or written"},
    {ERROR_KEY_DELETED, "another program deleted it"},
    {ERROR_IO_DEVICE, "the device reports an error"},
};

} // namespace

void print_error(const std::string& line) { std::cerr << "qv: " + printable(line) + "\n" << std::flush; }

void print_warning(const std::string& file, const std::string& text) { print_error(file + ": warning: " + text); }

std::string result_text(HRESULT result) { return utf8(QvResultText(result)); }

std::string system_error_text(DWORD error) {
  for (const ErrorText& row : kErrorTexts)
    if (row.error == error) return row.text;
  return "system error " + std::to_string(error);
}

} // namespace qv::tool
