// Where settings are, and deleting them.
#include "tests/kernel/metric/metric_fixture.h"

using namespace kernel_test;
using qv::WString;

namespace {

constexpr HRESULT registry_result(LONG error) { return static_cast<HRESULT>(0x80070000u | static_cast<DWORD>(error)); }

class MetricKeys : public Metrics {};

TEST_F(MetricKeys, PathsFollowTheVersion) {
  struct Case {
    DWORD version;
    const WCHAR* path;
  };
  const Case cases[] = {
      {0x01020000, QV_TEXT("\\1.2\\Metrics")},   {0xFF00FFFF, QV_TEXT("\\255.0\\Metrics")},
      {0x0A63ABCD, QV_TEXT("\\10.99\\Metrics")}, {0x00020000, QV_TEXT("\\Metrics")},
      {0x00FFFFFF, QV_TEXT("\\Metrics")},        {0, QV_TEXT("\\Metrics")},
      {0x01000000, QV_TEXT("\\1.0\\Metrics")},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.version);
    HQVMETRIC handle = nullptr;
    QvRegDeleteKey(HKEY_CURRENT_USER, path(each.path).c_str());
    EXPECT_EQ(QvMetric_Open(&handle, application_, each.version, nullptr), S_OK);
    EXPECT_TRUE(exists(HKEY_CURRENT_USER, path(each.path)));
    EXPECT_EQ(QvMetric_Close(handle), S_OK);
  }
}

TEST_F(MetricKeys, CompanySubKeysAndPathsCanBeNamed) {
  HQVMETRIC handle = nullptr;
  const WString company = WString(QV_TEXT("QvTestCompany")) + application_;
  EXPECT_EQ(QvMetric_OpenRegHiveAndVersion(&handle, application_, kVersion, company.c_str(), QV_TEXT("Window\\Main")),
            S_OK);
  const WString of_company = WString(QV_TEXT("Software\\")) + company;
  EXPECT_TRUE(
      exists(HKEY_CURRENT_USER, of_company + QV_TEXT("\\") + application_ + QV_TEXT("\\1.2\\Metrics\\Window\\Main")));
  QvMetric_Close(handle);
  EXPECT_EQ(QvMetric_DeleteKeyHiveAndVersion(application_, kVersion, company.c_str(), QV_TEXT("Window")), S_OK);
  EXPECT_TRUE(exists(HKEY_CURRENT_USER, of_company + QV_TEXT("\\") + application_ + QV_TEXT("\\1.2\\Metrics")));
  EXPECT_FALSE(
      exists(HKEY_CURRENT_USER, of_company + QV_TEXT("\\") + application_ + QV_TEXT("\\1.2\\Metrics\\Window")));
  EXPECT_EQ(QvMetric_DeleteAllHiveAndVersion(application_, 0, company.c_str()), S_OK);
  EXPECT_FALSE(exists(HKEY_CURRENT_USER, of_company + QV_TEXT("\\") + application_));
  QvRegDeleteKey(HKEY_CURRENT_USER, of_company.c_str());

  EXPECT_EQ(QvMetric_OpenAppVersion(&handle, path(QV_TEXT("\\Elsewhere")).c_str(), QV_TEXT("")), S_OK);
  EXPECT_TRUE(exists(HKEY_CURRENT_USER, path(QV_TEXT("\\Elsewhere"))));
  EXPECT_EQ(QvMetric_CloseAndDeleteKey(handle), S_OK);
  EXPECT_FALSE(exists(HKEY_CURRENT_USER, path(QV_TEXT("\\Elsewhere"))));
}

TEST_F(MetricKeys, SubKeysAreDirectlyBelowMetrics) {
  HQVMETRIC nested = nullptr;
  HQVMETRIC sub = nullptr;
  ASSERT_EQ(QvMetric_Open(&nested, application_, kVersion, QV_TEXT("A\\B")), S_OK);
  EXPECT_EQ(QvMetric_OpenSubKey(&sub, nested, QV_TEXT("C")), S_OK);
  EXPECT_TRUE(exists(HKEY_CURRENT_USER, path(QV_TEXT("\\1.2\\Metrics\\C"))));
  EXPECT_EQ(QvSetMetric(sub, 1, 11), S_OK);
  EXPECT_EQ(QvGetMetric(handle_, 1), 0u);
  QvMetric_Close(sub);
  EXPECT_EQ(QvMetric_OpenSubKey(&sub, nested, nullptr), S_OK);
  EXPECT_EQ(QvSetMetric(sub, 1, 12), S_OK);
  EXPECT_EQ(QvGetMetric(handle_, 1), 12u);
  QvMetric_Close(sub);
  QvMetric_Close(nested);

  // A path without Metrics gets one.
  ASSERT_EQ(QvMetric_OpenAppVersion(&nested, path(QV_TEXT("\\Plain")).c_str(), nullptr), S_OK);
  EXPECT_EQ(QvMetric_OpenSubKey(&sub, nested, QV_TEXT("D")), S_OK);
  EXPECT_TRUE(exists(HKEY_CURRENT_USER, path(QV_TEXT("\\Plain\\Metrics\\D"))));
  QvMetric_Close(sub);
  QvMetric_Close(nested);

  sub = handle_;
  EXPECT_EQ(QvMetric_OpenSubKey(&sub, nullptr, QV_TEXT("C")), E_FAIL);
  EXPECT_EQ(sub, nullptr);
  EXPECT_EQ(QvMetric_OpenSubKey(&sub, QVMETRIC_DEFAULT, QV_TEXT("C")), E_FAIL) << "there is none yet";
}

TEST_F(MetricKeys, WhatCannotBeOpenedStillGivesAHandle) {
  const WString long_name(300, 'x');
  const WString long_component(256, 'y');
  HQVMETRIC handle = nullptr;
  const HRESULT too_long = registry_result(ERROR_FILENAME_EXCED_RANGE);
  EXPECT_EQ(QvMetric_Open(&handle, long_name.c_str(), kVersion, nullptr), too_long);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(QvSetMetric(handle, 1, 1), E_FAIL);
  EXPECT_EQ(QvGetMetric(handle, 1), 0u);
  QvMetric_Close(handle);
  EXPECT_EQ(QvMetric_Open(&handle, application_, kVersion, long_name.c_str()), too_long);
  QvMetric_Close(handle);
  EXPECT_EQ(QvMetric_OpenAppVersion(&handle, long_component.c_str(), QV_TEXT("zzzz")), too_long);
  QvMetric_Close(handle);
  EXPECT_EQ(QvMetric_OpenAppVersion(&handle, QV_TEXT("\\Software"), nullptr) & 0xFFFF0000, registry_result(0));
  ASSERT_NE(handle, nullptr) << "whatever the registry had against it";
  EXPECT_EQ(QvDoesMetricExist(handle, 1, REG_DWORD), S_FALSE);
  EXPECT_EQ(QvMetric_CloseAndDeleteKey(handle), S_OK);

  for (const WCHAR* name : {static_cast<const WCHAR*>(nullptr), QV_TEXT("")}) {
    handle = handle_;
    EXPECT_EQ(QvMetric_Open(&handle, name, kVersion, nullptr), E_INVALIDARG);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(QvMetric_OpenRegHiveAndVersion(&handle, application_, kVersion, name, nullptr), E_INVALIDARG);
    // These would delete every application's settings.
    EXPECT_EQ(QvMetric_DeleteAll(name, 0), S_OK);
    EXPECT_EQ(QvMetric_DeleteUserMetrics(name, 0), S_OK);
    EXPECT_EQ(QvMetric_DeleteAllHiveAndVersion(application_, 0, name), S_OK);
  }
  EXPECT_TRUE(exists(HKEY_CURRENT_USER, path(QV_TEXT("\\1.2\\Metrics"))));
  EXPECT_EQ(QvMetric_Open(nullptr, application_, kVersion, nullptr), E_INVALIDARG);
  EXPECT_EQ(QvMetric_OpenAppVersion(&handle, nullptr, nullptr), E_INVALIDARG);
  EXPECT_EQ(QvMetric_Close(nullptr), S_OK);
  EXPECT_EQ(QvMetric_CloseAndDeleteKey(nullptr), E_FAIL);
  EXPECT_EQ(QvMetric_CloseAndDeleteKey(QVMETRIC_DEFAULT), E_FAIL);
}

TEST_F(MetricKeys, DeletingReachesWhatItNames) {
  const WCHAR* const kPaths[] = {QV_TEXT("\\1.2\\Metrics\\Sub\\Deep"), QV_TEXT("\\1.2\\Other"),
                                 QV_TEXT("\\2.0\\Metrics"), QV_TEXT("\\Metrics")};
  struct Case {
    const char* name;
    HRESULT (*run)(const WCHAR* application);
    const WCHAR* gone[2]; ///< below the application; null: nothing more
    bool machine_too;
  };
  const Case cases[] = {
      {"a version", [](const WCHAR* a) { return QvMetric_DeleteAll(a, kVersion); }, {QV_TEXT("\\1.2")}, true},
      {"an application", [](const WCHAR* a) { return QvMetric_DeleteAll(a, 0x00020000); }, {QV_TEXT("")}, true},
      {"a user's version",
       [](const WCHAR* a) { return QvMetric_DeleteUserMetrics(a, kVersion); },
       {QV_TEXT("\\1.2")},
       false},
      {"a sub-key",
       [](const WCHAR* a) { return QvMetric_DeleteKey(a, kVersion, QV_TEXT("Sub")); },
       {QV_TEXT("\\1.2\\Metrics\\Sub")},
       true},
      {"metrics",
       [](const WCHAR* a) { return QvMetric_DeleteKey(a, kVersion, nullptr); },
       {QV_TEXT("\\1.2\\Metrics")},
       true},
      {"metrics, no version",
       [](const WCHAR* a) { return QvMetric_DeleteKey(a, 0, QV_TEXT("")); },
       {QV_TEXT("\\Metrics")},
       true},
      {"what is not there", [](const WCHAR* a) { return QvMetric_DeleteKey(a, 0x09000000, nullptr); }, {}, true},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE})
      for (const WCHAR* below : kPaths)
        create(root, path(below));
    EXPECT_EQ(each.run(application_), S_OK);
    for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
      const bool reached = root == HKEY_CURRENT_USER || each.machine_too;
      for (const WCHAR* below : kPaths) {
        const bool gone = reached && each.gone[0] && WString(below).starts_with(each.gone[0]);
        EXPECT_EQ(exists(root, path(below)), !gone) << testing::PrintToString(WString(below));
      }
      if (reached && each.gone[0]) EXPECT_FALSE(exists(root, path(each.gone[0])));
    }
  }
}

TEST_F(MetricKeys, QvRegDeleteKeyTakesTreesOfAnyShape) {
  WString deep = path(QV_TEXT("\\Tree"));
  for (int level = 0; level < 100; ++level)
    deep += QV_TEXT("\\x");
  create(HKEY_CURRENT_USER, deep);
  for (int i = 0; i < 50; ++i) {
    WCHAR name[16];
    QvPrintF(name, QV_TEXT("\\Tree\\%d\\a"), i);
    create(HKEY_CURRENT_USER, path(name));
  }
  EXPECT_EQ(QvRegDeleteKey(HKEY_CURRENT_USER, path(QV_TEXT("\\Tree")).c_str()), ERROR_SUCCESS);
  EXPECT_FALSE(exists(HKEY_CURRENT_USER, path(QV_TEXT("\\Tree"))));
  EXPECT_TRUE(exists(HKEY_CURRENT_USER, path(QV_TEXT("\\1.2\\Metrics"))));
  EXPECT_EQ(QvRegDeleteKey(HKEY_CURRENT_USER, path(QV_TEXT("\\Tree")).c_str()), LONG{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(QvRegDeleteKey(HKEY_CURRENT_USER, nullptr), LONG{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(QvRegDeleteKey(HKEY_CURRENT_USER, QV_TEXT("")), LONG{ERROR_INVALID_PARAMETER});
}

} // namespace
