// Where settings are, and deleting them.
#include "tests/kernel/metric/metric_fixture.h"

#include <tuple>

using namespace kernel_test;
using qv::WString;

namespace {

constexpr HRESULT registry_result(LONG error) { return static_cast<HRESULT>(0x80070000u | static_cast<DWORD>(error)); }

class MetricKeys : public Metrics {};

TEST_F(MetricKeys, PathsFollowTheVersion) {
  const std::pair<DWORD, const WCHAR*> cases[] = {
      {0x01020000, QV_TEXT("\\1.2\\Metrics")},   {0xFF00FFFF, QV_TEXT("\\255.0\\Metrics")},
      {0x0A63ABCD, QV_TEXT("\\10.99\\Metrics")}, {0x00020000, QV_TEXT("\\Metrics")},
      {0x00FFFFFF, QV_TEXT("\\Metrics")},        {0x01000000, QV_TEXT("\\1.0\\Metrics")},
  };
  for (const auto& [version, expected] : cases) {
    HQVMETRIC handle = nullptr;
    QvRegDeleteKey(HKEY_CURRENT_USER, path(expected).c_str());
    EXPECT_EQ(QvMetric_Open(&handle, application_, version, nullptr), S_OK);
    EXPECT_TRUE(exists(expected)) << version;
    EXPECT_EQ(QvMetric_Close(handle), S_OK);
  }
}

TEST_F(MetricKeys, CompanySubKeysAndPathsCanBeNamed) {
  HQVMETRIC handle = nullptr;
  const WString company = WString(QV_TEXT("QvTestCompany")) + application_;
  const WString of_company = WString(QV_TEXT("Software\\")) + company;
  const auto company_has = [&](const WCHAR* below) {
    return exists(HKEY_CURRENT_USER, of_company + QV_TEXT("\\") + application_ + below);
  };
  EXPECT_EQ(QvMetric_OpenRegHiveAndVersion(&handle, application_, kVersion, company.c_str(), QV_TEXT("Window\\Main")),
            S_OK);
  EXPECT_TRUE(company_has(QV_TEXT("\\1.2\\Metrics\\Window\\Main")));
  QvMetric_Close(handle);
  EXPECT_EQ(QvMetric_DeleteKeyHiveAndVersion(application_, kVersion, company.c_str(), QV_TEXT("Window")), S_OK);
  EXPECT_TRUE(company_has(QV_TEXT("\\1.2\\Metrics")));
  EXPECT_FALSE(company_has(QV_TEXT("\\1.2\\Metrics\\Window")));
  EXPECT_EQ(QvMetric_DeleteAllHiveAndVersion(application_, 0, company.c_str()), S_OK);
  EXPECT_FALSE(company_has(QV_TEXT("")));
  QvRegDeleteKey(HKEY_CURRENT_USER, of_company.c_str());

  EXPECT_EQ(QvMetric_OpenAppVersion(&handle, path(QV_TEXT("\\Elsewhere")).c_str(), QV_TEXT("")), S_OK);
  EXPECT_TRUE(exists(QV_TEXT("\\Elsewhere")));
  EXPECT_EQ(QvMetric_CloseAndDeleteKey(handle), S_OK);
  EXPECT_FALSE(exists(QV_TEXT("\\Elsewhere")));
}

TEST_F(MetricKeys, SubKeysAreDirectlyBelowMetrics) {
  const std::tuple<const WCHAR*, const WCHAR*, const WCHAR*> cases[] = {
      {QV_TEXT("\\1.2\\Metrics\\A\\B"), QV_TEXT("C"), QV_TEXT("\\1.2\\Metrics\\C")},
      {QV_TEXT("\\1.2\\Metrics\\A\\B"), nullptr, QV_TEXT("\\1.2\\Metrics")},
      {QV_TEXT("\\Plain"), QV_TEXT("D"), QV_TEXT("\\Plain\\Metrics\\D")}, // which had no Metrics
  };
  HQVMETRIC sub = handle_;
  EXPECT_EQ(QvMetric_OpenSubKey(&sub, nullptr, QV_TEXT("C")), E_FAIL);
  EXPECT_EQ(sub, nullptr);
  EXPECT_EQ(QvMetric_OpenSubKey(&sub, QVMETRIC_DEFAULT, QV_TEXT("C")), E_FAIL) << "there is none yet";
  for (const auto& [parent_path, sub_key, opened] : cases) {
    HQVMETRIC parent = nullptr;
    ASSERT_EQ(QvMetric_OpenAppVersion(&parent, path(parent_path).c_str(), nullptr), S_OK);
    QvRegDeleteKey(HKEY_CURRENT_USER, path(opened).c_str());
    EXPECT_EQ(QvMetric_OpenSubKey(&sub, parent, sub_key), S_OK);
    EXPECT_TRUE(exists(opened));
    QvMetric_Close(sub);
    QvMetric_Close(parent);
  }
}

TEST_F(MetricKeys, WhatCannotBeOpenedStillGivesAHandle) {
  const WString long_name(300, 'x'), long_path(256, 'y');
  const std::tuple<WString, const WCHAR*, LONG> cases[] = {
      {path(QV_TEXT("")), long_name.c_str(), ERROR_FILENAME_EXCED_RANGE},
      {long_name, nullptr, ERROR_FILENAME_EXCED_RANGE},
      {long_path, QV_TEXT("zzzz"), ERROR_FILENAME_EXCED_RANGE},
      {QV_TEXT("\\Software"), nullptr, 0}, // whatever the registry has against it
  };
  HQVMETRIC handle = nullptr;
  for (const auto& [key_path, sub_key, error] : cases) {
    const HRESULT result = QvMetric_OpenAppVersion(&handle, key_path.c_str(), sub_key);
    EXPECT_EQ(error != 0 ? result : result & static_cast<HRESULT>(0xFFFF0000), registry_result(error));
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(QvSetMetric(handle, 1, 1), E_FAIL);
    EXPECT_EQ(QvDoesMetricExist(handle, 1, REG_DWORD), S_FALSE);
    EXPECT_EQ(QvMetric_CloseAndDeleteKey(handle), S_OK);
  }
  EXPECT_EQ(QvMetric_Open(&handle, long_name.c_str(), kVersion, nullptr), registry_result(ERROR_FILENAME_EXCED_RANGE));
  QvMetric_Close(handle);
}

TEST_F(MetricKeys, ArgumentsAreChecked) {
  HQVMETRIC handle = handle_;
  for (const WCHAR* name : {static_cast<const WCHAR*>(nullptr), QV_TEXT("")}) {
    handle = handle_;
    EXPECT_EQ(QvMetric_Open(&handle, name, kVersion, nullptr), E_INVALIDARG);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(QvMetric_OpenRegHiveAndVersion(&handle, application_, kVersion, name, nullptr), E_INVALIDARG);
    // These would delete every application's settings.
    EXPECT_EQ(QvMetric_DeleteAll(name, 0), S_OK);
    EXPECT_EQ(QvMetric_DeleteUserMetrics(name, 0), S_OK);
    EXPECT_EQ(QvMetric_DeleteAllHiveAndVersion(application_, 0, name), S_OK);
    EXPECT_EQ(QvRegDeleteKey(HKEY_CURRENT_USER, name), LONG{ERROR_INVALID_PARAMETER});
  }
  EXPECT_TRUE(exists(QV_TEXT("\\1.2\\Metrics")));
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
    const WCHAR* gone; ///< below the application, with what is below it; null: nothing
    HRESULT (*run)(const WCHAR* application);
    bool machine_too = true;
  };
  const Case cases[] = {
      {QV_TEXT("\\1.2"), [](const WCHAR* a) { return QvMetric_DeleteAll(a, kVersion); }},
      {QV_TEXT(""), [](const WCHAR* a) { return QvMetric_DeleteAll(a, 0x00020000); }},
      {QV_TEXT("\\1.2"), [](const WCHAR* a) { return QvMetric_DeleteUserMetrics(a, kVersion); }, false},
      {QV_TEXT("\\1.2\\Metrics\\Sub"), [](const WCHAR* a) { return QvMetric_DeleteKey(a, kVersion, QV_TEXT("Sub")); }},
      {QV_TEXT("\\1.2\\Metrics"), [](const WCHAR* a) { return QvMetric_DeleteKey(a, kVersion, nullptr); }},
      {QV_TEXT("\\Metrics"), [](const WCHAR* a) { return QvMetric_DeleteKey(a, 0, QV_TEXT("")); }},
      {nullptr, [](const WCHAR* a) { return QvMetric_DeleteKey(a, 0x09000000, nullptr); }},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(&each - cases);
    for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE})
      for (const WCHAR* below : kPaths)
        create(root, path(below));
    EXPECT_EQ(each.run(application_), S_OK);
    for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
      const bool reached = each.gone && (root == HKEY_CURRENT_USER || each.machine_too);
      for (const WCHAR* below : kPaths)
        EXPECT_EQ(exists(root, path(below)), !reached || !WString(below).starts_with(each.gone));
      if (reached) EXPECT_FALSE(exists(root, path(each.gone)));
    }
  }
}

TEST_F(MetricKeys, QvRegDeleteKeyTakesTreesOfAnyShape) {
  WString deep = path(QV_TEXT("\\Tree"));
  const WString tree = deep;
  for (int level = 0; level < 100; ++level)
    deep += QV_TEXT("\\x");
  create(HKEY_CURRENT_USER, deep);
  for (WCHAR name = 'a'; name <= 'z'; ++name)
    create(HKEY_CURRENT_USER, tree + QV_TEXT("\\") + name + QV_TEXT("\\a"));
  EXPECT_EQ(QvRegDeleteKey(HKEY_CURRENT_USER, tree.c_str()), ERROR_SUCCESS);
  EXPECT_FALSE(exists(QV_TEXT("\\Tree")));
  EXPECT_TRUE(exists(QV_TEXT("\\1.2\\Metrics")));
  EXPECT_EQ(QvRegDeleteKey(HKEY_CURRENT_USER, tree.c_str()), LONG{ERROR_FILE_NOT_FOUND});
}

} // namespace
