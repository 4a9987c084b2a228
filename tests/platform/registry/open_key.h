// An open registry key that closes itself, and its numbers.
#pragma once

#include "qv/win32.h"

class OpenKey {
public:
  OpenKey() = default;
  OpenKey(const OpenKey&) = delete;
  OpenKey& operator=(const OpenKey&) = delete;
  ~OpenKey() { close(); }
  operator HKEY() const { return key_; }
  HKEY* out() {
    close();
    return &key_;
  }
  void close() {
    if (key_) RegCloseKey(key_);
    key_ = nullptr;
  }

  LONG create(HKEY parent, const WCHAR* path) { return RegCreateKeyW(parent, path, out()); }
  LONG open(HKEY parent, const WCHAR* path) { return RegOpenKeyExW(parent, path, 0, KEY_READ, out()); }

  LONG set(const WCHAR* name, DWORD number) const {
    return RegSetValueExW(key_, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
  }
  LONG get(const WCHAR* name, DWORD& number) const {
    DWORD bytes = sizeof number;
    return RegQueryValueExW(key_, name, nullptr, nullptr, reinterpret_cast<BYTE*>(&number), &bytes);
  }

private:
  HKEY key_ = nullptr;
};
