// An application of the test's own in the registry, deleted before and after.
#pragma once

#include "qv/metric.h"
#include "qv/text.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <vector>

namespace kernel_test {

inline constexpr DWORD kVersion = 0x01020000;

class Metrics : public testing::Test {
protected:
  void SetUp() override {
    QvPrintF(application_, QV_TEXT("QvTest%d"), static_cast<int>(GetTickCount() & 0xFFFFFF));
    remove_all();
    ASSERT_EQ(QvMetric_Open(&handle_, application_, kVersion, nullptr), S_OK);
  }
  void TearDown() override {
    QvMetric_SetDefault(nullptr);
    QvMetric_Close(handle_);
    remove_all();
  }

  qv::WString path(const WCHAR* tail) const {
    return qv::WString(QV_TEXT("Software\\QvKernel\\")) + application_ + tail;
  }
  static bool exists(HKEY root, const qv::WString& path) {
    HKEY key = nullptr;
    return RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) == ERROR_SUCCESS && RegCloseKey(key) == ERROR_SUCCESS;
  }
  /// Of the user, below the application.
  bool exists(const WCHAR* below) const { return exists(HKEY_CURRENT_USER, path(below)); }
  static void create(HKEY root, const qv::WString& path) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyW(root, path.c_str(), &key), ERROR_SUCCESS);
    RegCloseKey(key);
  }

  /// Stores a value as anything could have, whatever the accessors would write.
  void store(const WCHAR* name, DWORD type, const void* data, size_t bytes) {
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, path(QV_TEXT("\\1.2\\Metrics")).c_str(), 0, KEY_ALL_ACCESS, &key),
              ERROR_SUCCESS);
    ASSERT_EQ(RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(bytes)),
              ERROR_SUCCESS);
    RegCloseKey(key);
  }
  WCHAR application_[32] = {};
  HQVMETRIC handle_ = nullptr;

private:
  void remove_all() {
    QvRegDeleteKey(HKEY_CURRENT_USER, path(QV_TEXT("")).c_str());
    QvRegDeleteKey(HKEY_LOCAL_MACHINE, path(QV_TEXT("")).c_str());
  }
};

} // namespace kernel_test
