// The registry's functions, in the system's own registry where there is one.
#include "tests/platform/registry/open_key.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <thread>
#include <vector>

namespace {

using qv::WString;

constexpr const WCHAR* kTop = QV_TEXT("Software\\QvPlatformTest");

/// Deletes the keys that the tests make.
void remove_all() {
  for (const WCHAR* below : {QV_TEXT("\\A\\B\\C"), QV_TEXT("\\A\\B"), QV_TEXT("\\A"), QV_TEXT("\\Gone"), QV_TEXT("\\z"),
                             QV_TEXT("\\\u00E9t\u00E9"), QV_TEXT("\\m"), QV_TEXT("")})
    RegDeleteKeyW(HKEY_CURRENT_USER, (WString(kTop) + below).c_str());
}

class Registry : public testing::Test {
protected:
  void SetUp() override {
    remove_all();
    ASSERT_EQ(top_.create(HKEY_CURRENT_USER, kTop), ERROR_SUCCESS);
  }
  void TearDown() override {
    top_.close();
    remove_all();
  }

  LONG set(const WCHAR* name, DWORD type, const std::vector<BYTE>& bytes) {
    return RegSetValueExW(top_, name, 0, type, bytes.data(), static_cast<DWORD>(bytes.size()));
  }
  /// The value's bytes; fails when it is not there.
  std::vector<BYTE> get(const WCHAR* name, DWORD* type = nullptr) {
    DWORD bytes = 0;
    EXPECT_EQ(RegQueryValueExW(top_, name, nullptr, type, nullptr, &bytes), ERROR_SUCCESS);
    std::vector<BYTE> data(bytes + 1);
    EXPECT_EQ(RegQueryValueExW(top_, name, nullptr, type, data.data(), &bytes), ERROR_SUCCESS);
    data.resize(bytes);
    return data;
  }

  OpenKey top_;
};

TEST_F(Registry, ValuesKeepTypeAndBytes) {
  std::vector<BYTE> large(300'000);
  for (size_t i = 0; i < large.size(); ++i)
    large[i] = static_cast<BYTE>(i * 13);
  const std::vector<std::pair<DWORD, std::vector<BYTE>>> values = {
      {REG_DWORD, {1, 2, 3, 4}}, {REG_BINARY, {}}, {REG_SZ, {'a', 0}}, {REG_SZ, {'a', 0, 0, 0}}, {REG_MULTI_SZ, {1}},
      {REG_NONE, {0, 0, 0}},     {REG_QWORD, {9}}, {12345, {5, 5}},    {REG_BINARY, large},
  };
  for (const auto& [type, bytes] : values) {
    SCOPED_TRACE(testing::Message() << type << " of " << bytes.size());
    ASSERT_EQ(set(QV_TEXT("v"), type, bytes), ERROR_SUCCESS);
    DWORD read_type = 77;
    EXPECT_EQ(get(QV_TEXT("v"), &read_type), bytes);
    EXPECT_EQ(read_type, type);
  }
}

TEST_F(Registry, SmallBuffersSayWhatIsNeeded) {
  ASSERT_EQ(set(QV_TEXT("v"), REG_BINARY, {1, 2, 3}), ERROR_SUCCESS);
  BYTE buffer[3] = {};
  DWORD type = 0, bytes = 2;
  EXPECT_EQ(RegQueryValueExW(top_, QV_TEXT("v"), nullptr, &type, buffer, &bytes), LONG{ERROR_MORE_DATA});
  EXPECT_EQ(bytes, 3u);
  EXPECT_EQ(type, static_cast<DWORD>(REG_BINARY));
  EXPECT_EQ(RegQueryValueExW(top_, QV_TEXT("v"), nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
  EXPECT_EQ(RegQueryValueExW(top_, QV_TEXT("v"), nullptr, nullptr, buffer, nullptr), LONG{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(RegQueryValueExW(top_, QV_TEXT("none"), nullptr, &type, buffer, &bytes), LONG{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(RegDeleteValueW(top_, QV_TEXT("none")), LONG{ERROR_FILE_NOT_FOUND});
}

TEST_F(Registry, NamesDifferByMoreThanCase) {
  ASSERT_EQ(set(QV_TEXT("\u00C9t\u00E9"), REG_BINARY, {1}), ERROR_SUCCESS);
  EXPECT_EQ(get(QV_TEXT("\u00E9T\u00C9")), std::vector<BYTE>{1});
  ASSERT_EQ(set(QV_TEXT("\u00E9t\u00E9"), REG_BINARY, {2}), ERROR_SUCCESS);
  ASSERT_EQ(set(QV_TEXT("ete"), REG_BINARY, {3}), ERROR_SUCCESS);
  ASSERT_EQ(set(nullptr, REG_BINARY, {4}), ERROR_SUCCESS);
  EXPECT_EQ(get(QV_TEXT("")), std::vector<BYTE>{4}) << "the key's own value";
  WCHAR half[] = {0xD801, 0};
  WCHAR other_half[] = {0xD802, 0};
  ASSERT_EQ(set(half, REG_BINARY, {5}), ERROR_SUCCESS);
  ASSERT_EQ(set(other_half, REG_BINARY, {6}), ERROR_SUCCESS);
  EXPECT_EQ(get(half), std::vector<BYTE>{5});

  std::map<WString, BYTE> all;
  for (DWORD i = 0;; ++i) {
    WCHAR name[64];
    BYTE data[4];
    DWORD length = 64, bytes = 4, type = 0;
    const LONG error = RegEnumValueW(top_, i, name, &length, nullptr, &type, data, &bytes);
    if (error == ERROR_NO_MORE_ITEMS) break;
    ASSERT_EQ(error, ERROR_SUCCESS);
    EXPECT_EQ(WString(name).size(), length);
    EXPECT_EQ(bytes, 1u);
    all[WString(name, length)] = data[0];
  }
  const std::map<WString, BYTE> expected = {
      {QV_TEXT("\u00C9t\u00E9"), 2}, {QV_TEXT("ete"), 3}, {QV_TEXT(""), 4}, {half, 5}, {other_half, 6}};
  EXPECT_EQ(all, expected) << "the case of the first writing stays";
  EXPECT_EQ(RegDeleteValueW(top_, QV_TEXT("ETE")), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteValueW(top_, QV_TEXT("ETE")), LONG{ERROR_FILE_NOT_FOUND});
}

TEST_F(Registry, KeysAreATree) {
  OpenKey deep, again;
  ASSERT_EQ(deep.create(top_, QV_TEXT("A\\B\\C")), ERROR_SUCCESS);
  const DWORD number = 5;
  ASSERT_EQ(deep.set(QV_TEXT("n"), number), ERROR_SUCCESS);
  EXPECT_EQ(again.open(HKEY_CURRENT_USER, QV_TEXT("SOFTWARE\\qvplatformtest\\a\\b\\c")), ERROR_SUCCESS);
  DWORD read = 0;
  EXPECT_EQ(again.get(QV_TEXT("N"), read), ERROR_SUCCESS);
  EXPECT_EQ(read, number);
  EXPECT_EQ(again.open(top_, QV_TEXT("A\\X")), LONG{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(again.open(top_, QV_TEXT("X\\B")), LONG{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(again.create(top_, nullptr), ERROR_SUCCESS) << "the key itself";
  EXPECT_EQ(again.create(top_, QV_TEXT("")), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteKeyW(top_, QV_TEXT("A")), LONG{ERROR_ACCESS_DENIED}) << "it has sub-keys";
  EXPECT_EQ(RegDeleteKeyW(top_, QV_TEXT("none")), LONG{ERROR_FILE_NOT_FOUND});
  EXPECT_EQ(RegDeleteKeyW(top_, nullptr), LONG{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(RegDeleteKeyW(top_, QV_TEXT("A\\B\\C")), ERROR_SUCCESS);

  // Whoever has it open is told.
  EXPECT_EQ(RegQueryValueExW(deep, QV_TEXT("n"), nullptr, nullptr, nullptr, nullptr), LONG{ERROR_KEY_DELETED});
  EXPECT_EQ(deep.set(QV_TEXT("n"), number), LONG{ERROR_KEY_DELETED});
  EXPECT_EQ(RegDeleteValueW(deep, QV_TEXT("n")), LONG{ERROR_KEY_DELETED});
  EXPECT_EQ(again.create(deep, QV_TEXT("below")), LONG{ERROR_KEY_DELETED});
  ASSERT_EQ(again.create(top_, QV_TEXT("A\\B\\C")), ERROR_SUCCESS);
  EXPECT_EQ(RegQueryValueExW(again, QV_TEXT("n"), nullptr, nullptr, nullptr, nullptr), LONG{ERROR_FILE_NOT_FOUND})
      << "a new key is empty";
  EXPECT_EQ(RegQueryValueExW(deep, QV_TEXT("n"), nullptr, nullptr, nullptr, nullptr), LONG{ERROR_KEY_DELETED});
}

TEST_F(Registry, SubKeysAreListedInOrder) {
  for (const WCHAR* name : {QV_TEXT("z"), QV_TEXT("A"), QV_TEXT("m"), QV_TEXT("\u00E9t\u00E9")}) {
    OpenKey key;
    ASSERT_EQ(key.create(top_, name), ERROR_SUCCESS);
  }
  std::vector<WString> names;
  WCHAR name[16];
  for (DWORD i = 0;; ++i) {
    DWORD length = 16;
    const LONG error = RegEnumKeyExW(top_, i, name, &length, nullptr, nullptr, nullptr, nullptr);
    if (error == ERROR_NO_MORE_ITEMS) break;
    ASSERT_EQ(error, ERROR_SUCCESS);
    names.emplace_back(name, length);
  }
  EXPECT_EQ(names, (std::vector<WString>{QV_TEXT("A"), QV_TEXT("m"), QV_TEXT("z"), QV_TEXT("\u00E9t\u00E9")}));
  DWORD length = 1;
  EXPECT_EQ(RegEnumKeyExW(top_, 0, name, &length, nullptr, nullptr, nullptr, nullptr), LONG{ERROR_MORE_DATA});
}

TEST_F(Registry, LimitsOfNames) {
  OpenKey key;
  EXPECT_NE(key.create(top_, WString(300, 'k').c_str()), ERROR_SUCCESS);
  EXPECT_EQ(static_cast<HKEY>(key), nullptr);
  const WString longest(255, 'k');
  ASSERT_EQ(key.create(top_, longest.c_str()), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteKeyW(top_, longest.c_str()), ERROR_SUCCESS);
  const WString value_name(16383, 'v');
  EXPECT_EQ(set(value_name.c_str(), REG_BINARY, {1}), ERROR_SUCCESS);
  EXPECT_EQ(get(value_name.c_str()), std::vector<BYTE>{1});
  EXPECT_NE(set((value_name + value_name).c_str(), REG_BINARY, {1}), ERROR_SUCCESS);
}

TEST_F(Registry, HandlesThatAreNone) {
  OpenKey key;
  EXPECT_EQ(RegCloseKey(nullptr), LONG{ERROR_INVALID_HANDLE});
  EXPECT_EQ(RegCloseKey(HKEY_CURRENT_USER), ERROR_SUCCESS);
  EXPECT_EQ(key.open(nullptr, QV_TEXT("a")), LONG{ERROR_INVALID_HANDLE});
  EXPECT_EQ(RegQueryValueExW(nullptr, QV_TEXT("a"), nullptr, nullptr, nullptr, nullptr), LONG{ERROR_INVALID_HANDLE});
}

TEST_F(Registry, OneKeyServesSeveralThreads) {
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&, thread] {
      for (DWORD i = 0; i < 100; ++i) {
        const WCHAR name[] = {static_cast<WCHAR>('a' + thread), static_cast<WCHAR>('A' + i % 26), 0};
        DWORD read = 0;
        EXPECT_EQ(top_.set(name, i), ERROR_SUCCESS);
        EXPECT_EQ(top_.get(name, read), ERROR_SUCCESS);
        EXPECT_EQ(read, i);
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
}

} // namespace
