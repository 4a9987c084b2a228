// Opening and closing handles, and deleting keys: where the settings of an application are.
#include "kernel/metric/metric_handle.h"

#include "qv/text.h"

#include <atomic>
#include <new>

using namespace qv::kernel;

namespace {

constexpr const WCHAR* kCompany = QV_TEXT("QvKernel");

std::atomic<HQVMETRIC> default_handle{nullptr};

bool is_empty(const WCHAR* text) { return !text || *text == 0; }

size_t length_of(const WCHAR* text) { return std::char_traits<WCHAR>::length(text); }

/// Converts a registry error to a result.
HRESULT result_of(LONG error) {
  return error == ERROR_SUCCESS ? S_OK : static_cast<HRESULT>(0x80070000u | (static_cast<DWORD>(error) & 0xFFFF));
}

/// A key path of at most QVMETRIC_PATH_CHARS characters, terminator included. Its functions return whether it fits.
class KeyPath {
public:
  /// Sets the path of an application, or of one version of it, with `tail` behind it. False for an empty name, too.
  bool format(const WCHAR* company, const WCHAR* application, DWORD version, const WCHAR* tail) {
    if (is_empty(company) || is_empty(application)) return false;
    const size_t fixed = sizeof "Software\\\\\\255.255" + length_of(tail);
    if (length_of(company) + length_of(application) + fixed > QVMETRIC_PATH_CHARS) return false;
    if (version >> 16 > 255) {
      QvCchPrintF(text_, QVMETRIC_PATH_CHARS, QV_TEXT("Software\\%s\\%s\\%d.%d%s"), company, application,
                  static_cast<int>(version >> 24), static_cast<int>(version >> 16 & 0xFF), tail);
    } else {
      QvCchPrintF(text_, QVMETRIC_PATH_CHARS, QV_TEXT("Software\\%s\\%s%s"), company, application, tail);
    }
    return true;
  }
  bool append(const WCHAR* text) {
    size_t length = length_of(text_);
    if (length + length_of(text) >= QVMETRIC_PATH_CHARS) return false;
    while (*text != 0)
      text_[length++] = *text++;
    text_[length] = 0;
    return true;
  }
  bool append_sub_key(const WCHAR* sub_key) { return is_empty(sub_key) || (append(QV_TEXT("\\")) && append(sub_key)); }
  const WCHAR* text() const { return text_; }

private:
  WCHAR text_[QVMETRIC_PATH_CHARS] = {};
};

constexpr const WCHAR* kMetrics = QV_TEXT("\\Metrics");

void close_keys(HQVMETRIC handle) {
  if (handle->furtherKey) RegCloseKey(handle->furtherKey);
  if (handle->key) RegCloseKey(handle->key);
}

/// Deletes a key below HKEY_CURRENT_USER, and below HKEY_LOCAL_MACHINE first when machine_too. Whatever cannot be
/// deleted stays.
HRESULT delete_keys(const KeyPath& path, bool machine_too) {
  if (machine_too) QvRegDeleteKey(HKEY_LOCAL_MACHINE, path.text());
  QvRegDeleteKey(HKEY_CURRENT_USER, path.text());
  return S_OK;
}

} // namespace

HRESULT QvMetric_Open(HQVMETRIC* handle, const WCHAR* application, DWORD version, const WCHAR* subKey) {
  return QvMetric_OpenRegHiveAndVersion(handle, application, version, kCompany, subKey);
}

HRESULT QvMetric_OpenRegHiveAndVersion(HQVMETRIC* handle, const WCHAR* application, DWORD version, const WCHAR* company,
                                       const WCHAR* subKey) {
  if (!handle) return E_INVALIDARG;
  *handle = nullptr;
  if (is_empty(application) || is_empty(company)) return E_INVALIDARG;
  KeyPath path;
  path.format(company, application, version, kMetrics);
  // A path that does not fit stays empty, for which QvMetric_OpenAppVersion makes a handle without a key.
  return QvMetric_OpenAppVersion(handle, path.text(), subKey);
}

HRESULT QvMetric_OpenAppVersion(HQVMETRIC* handle, const WCHAR* path, const WCHAR* subKey) {
  if (!handle) return E_INVALIDARG;
  *handle = nullptr;
  if (!path) return E_INVALIDARG;
  auto* opened = new (std::nothrow) QVMETRIC{};
  if (!opened) return E_OUTOFMEMORY;
  *handle = opened;
  KeyPath key;
  if (is_empty(path) || !key.append(path) || !key.append_sub_key(subKey)) return result_of(ERROR_FILENAME_EXCED_RANGE);
  std::char_traits<WCHAR>::copy(opened->path, key.text(), QVMETRIC_PATH_CHARS);
  const LONG error = RegCreateKeyW(HKEY_CURRENT_USER, opened->path, &opened->key);
  if (error != ERROR_SUCCESS) opened->key = nullptr;
  return result_of(error);
}

HRESULT QvMetric_OpenSubKey(HQVMETRIC* handle, HQVMETRIC parent, const WCHAR* subKey) {
  if (!handle) return E_INVALIDARG;
  *handle = nullptr;
  if (parent == QVMETRIC_DEFAULT) parent = default_handle.load();
  if (!parent) return E_FAIL;
  const std::basic_string_view<WCHAR> whole = parent->path;
  KeyPath path;
  const size_t cut = whole.find(kMetrics);
  WCHAR above[QVMETRIC_PATH_CHARS] = {};
  whole.copy(above, cut == whole.npos ? whole.size() : cut);
  if (whole.empty() || !path.append(above) || !path.append(kMetrics))
    return QvMetric_OpenAppVersion(handle, QV_TEXT(""), subKey);
  return QvMetric_OpenAppVersion(handle, path.text(), subKey);
}

HRESULT QvMetric_Close(HQVMETRIC handle) {
  if (!handle || handle == QVMETRIC_DEFAULT) return S_OK;
  close_keys(handle);
  delete handle;
  return S_OK;
}

HRESULT QvMetric_CloseAndDeleteKey(HQVMETRIC handle) {
  if (!handle || handle == QVMETRIC_DEFAULT) return E_FAIL;
  close_keys(handle);
  QvRegDeleteKey(HKEY_CURRENT_USER, handle->path);
  delete handle;
  return S_OK;
}

HQVMETRIC QvMetric_SetDefault(HQVMETRIC handle) {
  return default_handle.exchange(handle == QVMETRIC_DEFAULT ? nullptr : handle);
}

HKEY qv::kernel::metric_key(HQVMETRIC handle, DefaultHandle rule) {
  if (handle == QVMETRIC_DEFAULT) handle = rule == DefaultHandle::kAccepted ? default_handle.load() : nullptr;
  return handle ? handle->key : nullptr;
}

HRESULT QvMetric_DeleteAll(const WCHAR* application, DWORD version) {
  return QvMetric_DeleteAllHiveAndVersion(application, version, kCompany);
}

HRESULT QvMetric_DeleteAllHiveAndVersion(const WCHAR* application, DWORD version, const WCHAR* company) {
  KeyPath path;
  return path.format(company, application, version, QV_TEXT("")) ? delete_keys(path, true) : S_OK;
}

HRESULT QvMetric_DeleteUserMetrics(const WCHAR* application, DWORD version) {
  KeyPath path;
  return path.format(kCompany, application, version, QV_TEXT("")) ? delete_keys(path, false) : S_OK;
}

HRESULT QvMetric_DeleteKey(const WCHAR* application, DWORD version, const WCHAR* subKey) {
  return QvMetric_DeleteKeyHiveAndVersion(application, version, kCompany, subKey);
}

HRESULT QvMetric_DeleteKeyHiveAndVersion(const WCHAR* application, DWORD version, const WCHAR* company,
                                         const WCHAR* subKey) {
  KeyPath path;
  const bool whole = path.format(company, application, version, kMetrics) && path.append_sub_key(subKey);
  return whole ? delete_keys(path, true) : S_OK;
}
