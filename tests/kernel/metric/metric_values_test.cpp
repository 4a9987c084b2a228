// Settings of every type, what they answer when there is none, and what the store may hold against expectation.
#include "tests/kernel/metric/metric_fixture.h"

#include "qv/memory_stream.h"

#include <climits>
#include <cstring>
#include <functional>

using namespace kernel_test;
using qv::WString;

namespace {

class MetricValues : public Metrics {};

TEST(MetricNames, FollowNumberAndType) {
  struct Case {
    LONG n;
    DWORD type;
    const WCHAR* name;
  };
  const Case cases[] = {{7, REG_DWORD, QV_TEXT("D7")},
                        {-7, REG_DWORD, QV_TEXT("D7")},
                        {0, REG_SZ, QV_TEXT("S0")},
                        {123, REG_BINARY, QV_TEXT("B123")},
                        {5, REG_MULTI_SZ, QV_TEXT("Z5")},
                        {5, REG_NONE, QV_TEXT("Z5")},
                        {5, 11, QV_TEXT("Z5")},
                        {INT_MAX, REG_SZ, QV_TEXT("S2147483647")},
                        {static_cast<LONG>(0x80000001u), REG_DWORD, QV_TEXT("D2147483647")},
                        {static_cast<LONG>(0xFFFFFFFFu), REG_BINARY, QV_TEXT("B1")},
                        {INT_MIN, REG_SZ, QV_TEXT("S-2147483648")}};
  for (const Case& each : cases) {
    WCHAR name[QVMETRIC_NAME_CHARS];
    EXPECT_EQ(QvMetricGetName(each.n, each.type, name), S_OK);
    EXPECT_EQ(WString(name), each.name);
  }
  EXPECT_EQ(QvMetricGetName(1, REG_SZ, nullptr), E_POINTER);
}

TEST_F(MetricValues, NumbersHaveOneNameForBothSigns) {
  EXPECT_EQ(QvGetMetric(handle_, 5), 0u);
  EXPECT_EQ(QvSetMetric(handle_, -5, 0xFEDCBA98), S_OK);
  EXPECT_EQ(QvGetMetric(handle_, 5), 0xFEDCBA98u);
  EXPECT_EQ(QvGetMetricUsingName(handle_, QV_TEXT("5")), 0xFEDCBA98u);
  EXPECT_EQ(QvSetMetric(handle_, static_cast<LONG>(0x80000001u), 8), S_OK);
  EXPECT_EQ(QvGetMetric(handle_, INT_MAX), 8u);
  EXPECT_EQ(QvSetMetric(handle_, INT_MIN, 9), S_OK);
  EXPECT_EQ(QvGetMetricUsingName(handle_, QV_TEXT("-2147483648")), 9u);
  EXPECT_EQ(QvSetMetricUsingName(handle_, QV_TEXT("Width"), 640), S_OK);
  EXPECT_EQ(QvGetMetricUsingName(handle_, QV_TEXT("WIDTH")), 640u);
  EXPECT_EQ(QvDeleteMetricUsingName(handle_, QV_TEXT("width"), REG_DWORD), S_OK);
  EXPECT_EQ(QvDeleteMetricUsingName(handle_, QV_TEXT("width"), REG_DWORD), E_FAIL);
  EXPECT_EQ(QvGetMetricUsingName(handle_, nullptr), 0u);
  EXPECT_EQ(QvSetMetricUsingName(handle_, nullptr, 1), E_FAIL);
  EXPECT_EQ(QvDeleteMetricUsingName(handle_, nullptr, REG_DWORD), E_FAIL);
}

TEST_F(MetricValues, NumbersAreLimited) {
  struct Case {
    LONG stored, minimum, maximum, expected;
  };
  const Case cases[] = {{0, 1, 10, 1},       {50, 1, 10, 10},      {5, 1, 10, 5},  {99, 3, 3, 99}, {-5, -10, -1, -5},
                        {-50, -10, 10, -10}, {INT_MIN, -1, 1, -1}, {5, 10, 1, 10}, {20, 10, 1, 1}};
  for (const Case& each : cases) {
    SCOPED_TRACE(each.stored);
    QvSetMetric(handle_, 1, static_cast<DWORD>(each.stored));
    EXPECT_EQ(static_cast<LONG>(QvGetMetricEx(handle_, 1, each.minimum, each.maximum, 7)), each.expected);
    // The default goes the same way.
    EXPECT_EQ(static_cast<LONG>(QvGetMetricEx(handle_, 2, each.minimum, each.maximum, static_cast<DWORD>(each.stored))),
              each.expected);
  }
  EXPECT_EQ(QvGetMetricBool(handle_, 2, 0), FALSE);
  EXPECT_EQ(QvGetMetricBool(handle_, 2, -4), TRUE);
  QvSetMetric(handle_, 2, 0);
  EXPECT_EQ(QvGetMetricBool(handle_, 2, TRUE), FALSE);
  QvSetMetric(handle_, 2, 0x80000000);
  EXPECT_EQ(QvGetMetricBool(handle_, 2, FALSE), TRUE);
}

TEST_F(MetricValues, NumbersOfOtherSizesAreAbsent) {
  const BYTE bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  for (const size_t size : {0, 1, 3, 5, 8}) {
    store(QV_TEXT("1"), REG_DWORD, bytes, size);
    EXPECT_EQ(QvGetMetric(handle_, 1), 0u) << size;
    EXPECT_EQ(QvGetMetricEx(handle_, 1, 0, 0, 77), 77u) << size;
  }
  store(QV_TEXT("1"), REG_BINARY, bytes, 4);
  EXPECT_EQ(QvGetMetric(handle_, 1), 0x04030201u) << "the size is what counts";
}

TEST_F(MetricValues, BytesFillTheRestWithZeros) {
  const BYTE data[5] = {1, 2, 3, 4, 5};
  ASSERT_EQ(QvSetMetricBinary(handle_, 1, data, 5), S_OK);
  ASSERT_EQ(QvSetMetricBinary(handle_, 2, data, 0), S_OK);
  store(QV_TEXT("B3"), REG_SZ, data, 4);
  struct Case {
    LONG n;
    DWORD size, expected;
    HRESULT result;
    DWORD reported;
  };
  const Case cases[] = {{1, 8, 5, S_OK, 5},    {1, 5, 5, S_OK, 5},    {1, 4, 0, QVERR_MOREDATA, 5}, {2, 8, 0, S_OK, 0},
                        {3, 8, 0, S_FALSE, 0}, {3, 2, 0, S_FALSE, 0}, {4, 8, 0, S_FALSE, 0}};
  for (const Case& each : cases) {
    SCOPED_TRACE(testing::Message() << each.n << " in " << each.size);
    BYTE buffer[9], expected[9] = {};
    std::memset(buffer, 0xAA, sizeof buffer);
    std::memcpy(expected, data, each.expected);
    std::memset(expected + each.size, 0xAA, sizeof expected - each.size);
    EXPECT_EQ(QvGetMetricBinary(handle_, each.n, buffer, each.size), each.expected);
    EXPECT_EQ(std::memcmp(buffer, expected, sizeof buffer), 0);
    std::memset(buffer, 0xAA, each.size);
    DWORD bytes = 77;
    EXPECT_EQ(QvGetMetricBinaryEx(handle_, each.n, buffer, each.size, &bytes), each.result);
    EXPECT_EQ(bytes, each.reported);
    EXPECT_EQ(std::memcmp(buffer, expected, sizeof buffer), 0);
  }
  DWORD bytes = 77;
  EXPECT_EQ(QvGetMetricBinaryEx(handle_, 1, nullptr, 0, &bytes), QVERR_MOREDATA);
  EXPECT_EQ(bytes, 5u);
  EXPECT_EQ(QvGetMetricBinaryEx(handle_, 1, nullptr, 0, nullptr), E_INVALIDARG);
  EXPECT_EQ(QvGetMetricBinaryEx(nullptr, 1, nullptr, 0, &bytes), QVERR_RIFF_NOTFOUND);
  EXPECT_EQ(QvGetMetricBinaryEx(QVMETRIC_DEFAULT, 1, nullptr, 0, &bytes), QVERR_RIFF_NOTFOUND);
  EXPECT_EQ(QvGetMetricBinary(handle_, 1, nullptr, 0), 0u);
  EXPECT_EQ(QvSetMetricBinary(handle_, 1, nullptr, 5), E_FAIL);
}

/// A read into a buffer of `capacity` characters between guards.
struct TextRead {
  DWORD length;
  WString text; ///< the whole buffer
};

TextRead read_text(DWORD capacity, const std::function<DWORD(WCHAR*, DWORD)>& read) {
  std::vector<WCHAR> buffer(capacity + 2, 'G');
  const DWORD length = read(buffer.data() + 1, capacity);
  EXPECT_EQ(buffer.front(), 'G');
  EXPECT_EQ(buffer.back(), 'G');
  return {length, WString(buffer.begin() + 1, buffer.end() - 1)};
}

TEST_F(MetricValues, TextsAreCutAndTerminated) {
  constexpr const WCHAR* kNone = nullptr;
  struct Case {
    const char* name;
    WString stored; ///< as it is, terminators and all
    DWORD type;
    DWORD capacity;
    const WCHAR* absent;
    BOOL keep_empty;
    DWORD length;
    WString buffer; ///< up to its first two terminators or the capacity
  };
  const WString abc(QV_TEXT("abc\0"), 4), empty(1, 0), bare(QV_TEXT("abc"));
  const Case cases[] = {
      {"roomy", abc, REG_SZ, 6, kNone, FALSE, 3, WString(QV_TEXT("abc\0\0\0"), 6)},
      {"exact", abc, REG_SZ, 4, kNone, FALSE, 3, abc},
      {"too small is absent", abc, REG_SZ, 3, QV_TEXT("no"), FALSE, 2, WString(QV_TEXT("no\0"), 3)},
      {"too small without default", abc, REG_SZ, 3, kNone, FALSE, 0, WString(3, 0)},
      {"default is cut", abc, REG_SZ, 3, QV_TEXT("nobody"), FALSE, 2, WString(QV_TEXT("no\0"), 3)},
      {"empty without keep", empty, REG_SZ, 4, QV_TEXT("no"), FALSE, 2, WString(QV_TEXT("no\0\0"), 4)},
      {"empty with keep", empty, REG_SZ, 4, QV_TEXT("no"), TRUE, 0, WString(4, 0)},
      {"no bytes with keep", WString(), REG_SZ, 4, QV_TEXT("no"), TRUE, 2, WString(QV_TEXT("no\0\0"), 4)},
      {"another type", abc, REG_BINARY, 6, QV_TEXT("no"), TRUE, 2, WString(QV_TEXT("no\0\0\0\0"), 6)},
      {"expandable is another type", abc, REG_EXPAND_SZ, 6, kNone, TRUE, 0, WString(6, 0)},
      {"unterminated", bare, REG_SZ, 6, kNone, FALSE, 2, WString(QV_TEXT("abc\0\0\0"), 6)},
      {"unterminated and full", bare, REG_SZ, 3, kNone, FALSE, 2, WString(QV_TEXT("ab\0"), 3)},
      {"one unterminated character", WString(1, 'x'), REG_SZ, 4, kNone, TRUE, 0, WString(4, 0)},
      {"capacity 1", empty, REG_SZ, 1, QV_TEXT("no"), FALSE, 0, WString(1, 0)},
      {"capacity 0", abc, REG_SZ, 0, QV_TEXT("no"), FALSE, 0, WString()},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    store_text(QV_TEXT("S1"), each.type, each.stored);
    const TextRead read = read_text(each.capacity, [&](WCHAR* buffer, DWORD capacity) {
      return QvGetMetricStringEx(handle_, 1, buffer, capacity, each.absent, each.keep_empty);
    });
    EXPECT_EQ(read.length, each.length);
    EXPECT_EQ(read.text, each.buffer);
  }
  EXPECT_EQ(QvGetMetricStringEx(handle_, 1, nullptr, 10, QV_TEXT("no"), TRUE), 0u);
}

TEST_F(MetricValues, OddBytesAreDropped) {
  const BYTE odd[] = {'a', 0, 'b', 0, 'c'};
  store(QV_TEXT("S1"), REG_SZ, odd, sizeof odd);
  store(QV_TEXT("Z1"), REG_MULTI_SZ, odd, sizeof odd);
  WCHAR text[4] = {'G', 'G', 'G', 'G'};
  EXPECT_EQ(QvGetMetricStringEx(handle_, 1, text, 4, nullptr, FALSE), 1u);
  EXPECT_EQ(WString(text, 4), WString(QV_TEXT("ab\0\0"), 4));
  EXPECT_EQ(QvGetMetricMultiStringEx(handle_, 1, text, 4), 1u);
  EXPECT_EQ(WString(text, 4), WString(QV_TEXT("ab\0\0"), 4));
}

TEST_F(MetricValues, TextsComeBack) {
  WCHAR text[32];
  const WString unusual = {'a', 0xD800, 'b', 0xDC00, 0xFFFF, 0x20AC};
  EXPECT_EQ(QvSetMetricString(handle_, -3, unusual.c_str()), S_OK);
  EXPECT_EQ(QvGetMetricStringEx(handle_, 3, text, 32, nullptr, FALSE), unusual.size());
  EXPECT_EQ(WString(text), unusual);
  EXPECT_EQ(QvSetMetricString(handle_, 3, QV_TEXT("")), S_OK);
  EXPECT_EQ(QvGetMetricStringEx(handle_, 3, text, 32, QV_TEXT("default"), TRUE), 0u);
  EXPECT_EQ(text[0], 0);
  EXPECT_EQ(QvSetMetricString(handle_, 3, nullptr), E_FAIL);

  const WString several(QV_TEXT("one\0two\0\0"), 9);
  EXPECT_EQ(QvSetMetricMultiString(handle_, 3, several.data(), 9), S_OK);
  EXPECT_EQ(QvGetMetricMultiStringEx(handle_, 3, text, 32), 8u);
  EXPECT_EQ(WString(text, 9), several);
  EXPECT_EQ(QvGetMetricMultiStringEx(handle_, 3, text, 9), 8u);
  EXPECT_EQ(QvGetMetricMultiStringEx(handle_, 3, text, 8), 0u);
  EXPECT_EQ(WString(text, 8), WString(8, 0));
  EXPECT_EQ(QvSetMetricMultiString(handle_, 3, nullptr, 9), E_FAIL);
  store_text(QV_TEXT("Z4"), REG_MULTI_SZ, QV_TEXT("abcd"));
  EXPECT_EQ(QvGetMetricMultiStringEx(handle_, 4, text, 4), 3u);
  EXPECT_EQ(WString(text, 4), WString(QV_TEXT("ab\0\0"), 4)) << "two terminators at the end";
  EXPECT_EQ(QvGetMetricMultiStringEx(handle_, 4, text, 0), 0u);
}

TEST_F(MetricValues, AnyTypeIsReadAsItIsStored) {
  const BYTE data[3] = {7, 8, 9};
  store(QV_TEXT("S1"), REG_BINARY, data, 3);
  BYTE buffer[4] = {0xAA, 0xAA, 0xAA, 0xAA};
  DWORD type = REG_SZ, size = 4;
  EXPECT_EQ(QvGetMetricAny(handle_, 1, &type, buffer, &size), S_OK);
  EXPECT_EQ(type, static_cast<DWORD>(REG_BINARY));
  EXPECT_EQ(size, 3u);
  EXPECT_EQ(buffer[2], 9);
  EXPECT_EQ(buffer[3], 0xAA);
  type = REG_SZ, size = 2;
  EXPECT_EQ(QvGetMetricAny(handle_, 1, &type, buffer, &size), QVERR_MOREDATA);
  EXPECT_EQ(size, 3u);
  type = REG_DWORD, size = 4;
  EXPECT_EQ(QvGetMetricAny(handle_, 1, &type, buffer, &size), S_FALSE);
  EXPECT_EQ(size, 0u);
  type = REG_SZ;
  EXPECT_EQ(QvGetMetricAny(handle_, 1, &type, nullptr, &size), QVERR_MOREDATA);
  EXPECT_EQ(size, 3u);
  EXPECT_EQ(QvGetMetricAny(nullptr, 1, &type, buffer, &size), QVERR_RIFF_NOTFOUND);
  EXPECT_EQ(QvGetMetricAny(handle_, 1, nullptr, buffer, &size), E_INVALIDARG);
  EXPECT_EQ(QvGetMetricAny(handle_, 1, &type, buffer, nullptr), E_INVALIDARG);
}

TEST_F(MetricValues, ExistAndAreDeletedByNumberAndType) {
  const std::vector<BYTE> large(100'000, 5);
  ASSERT_EQ(QvSetMetricBinary(handle_, 1, large.data(), 100'000), S_OK);
  ASSERT_EQ(QvSetMetric(handle_, 1, 5), S_OK);
  store(QV_TEXT("S1"), REG_BINARY, large.data(), 10);
  EXPECT_EQ(QvDoesMetricExist(handle_, -1, REG_BINARY), S_OK);
  EXPECT_EQ(QvDoesMetricExist(handle_, 1, REG_DWORD), S_OK);
  EXPECT_EQ(QvDoesMetricExist(handle_, 1, REG_SZ), S_FALSE) << "it is of another type";
  EXPECT_EQ(QvDoesMetricExist(handle_, 1, REG_MULTI_SZ), S_FALSE);
  EXPECT_EQ(QvDeleteMetric(handle_, -1, REG_BINARY), S_OK);
  EXPECT_EQ(QvDeleteMetric(handle_, 1, REG_BINARY), E_FAIL);
  EXPECT_EQ(QvDoesMetricExist(handle_, 1, REG_BINARY), S_FALSE);
  EXPECT_EQ(QvGetMetric(handle_, 1), 5u);
}

TEST_F(MetricValues, TheDefaultHandleServesWhatAcceptsIt) {
  const HQVMETRIC all = QVMETRIC_DEFAULT;
  EXPECT_EQ(QvSetMetric(all, 1, 4), E_FAIL) << "there is none yet";
  EXPECT_EQ(QvGetMetricEx(all, 1, 0, 9, 3), 3u);
  EXPECT_EQ(QvDoesMetricExist(all, 1, REG_DWORD), S_FALSE);
  EXPECT_EQ(QvMetric_SetDefault(handle_), nullptr);
  EXPECT_EQ(QvSetMetric(all, 1, 4), S_OK);
  EXPECT_EQ(QvGetMetric(all, 1), 4u);
  EXPECT_EQ(QvGetMetric(handle_, 1), 4u);
  EXPECT_EQ(QvSetMetricUsingName(all, QV_TEXT("x"), 6), S_OK);
  EXPECT_EQ(QvGetMetricUsingName(all, QV_TEXT("x")), 6u);
  const BYTE data[2] = {1, 2};
  EXPECT_EQ(QvSetMetricBinary(all, 1, data, 2), E_FAIL);
  EXPECT_EQ(QvSetMetricString(all, 1, QV_TEXT("a")), E_FAIL);
  EXPECT_EQ(QvSetMetricMultiString(all, 1, QV_TEXT("a\0"), 3), E_FAIL);
  ASSERT_EQ(QvSetMetricBinary(handle_, 1, data, 2), S_OK);
  ASSERT_EQ(QvSetMetricString(handle_, 1, QV_TEXT("a")), S_OK);
  BYTE read[2];
  WCHAR text[4];
  EXPECT_EQ(QvGetMetricBinary(all, 1, read, 2), 2u);
  EXPECT_EQ(QvGetMetricStringEx(all, 1, text, 4, nullptr, FALSE), 1u);
  EXPECT_EQ(QvDoesMetricExist(all, 1, REG_SZ), S_OK);
  EXPECT_EQ(QvDeleteMetric(all, 1, REG_SZ), S_OK);
  EXPECT_EQ(QvDeleteMetricUsingName(all, QV_TEXT("x"), REG_DWORD), S_OK);
  EXPECT_EQ(QvMetric_Close(all), S_OK);
  EXPECT_EQ(QvGetMetric(all, 1), 4u) << "closing the default does nothing";
  EXPECT_EQ(QvMetric_SetDefault(QVMETRIC_DEFAULT), handle_);
  EXPECT_EQ(QvMetric_SetDefault(nullptr), nullptr);
}

TEST_F(MetricValues, WithoutAHandleGettersAnswerDefaults) {
  BYTE bytes[4] = {1, 1, 1, 1};
  WCHAR text[4] = {'G', 'G', 'G', 'G'};
  EXPECT_EQ(QvGetMetric(nullptr, 1), 0u);
  EXPECT_EQ(QvGetMetricEx(nullptr, 1, 0, 0, 7), 7u);
  EXPECT_EQ(QvGetMetricBool(nullptr, 1, TRUE), TRUE);
  EXPECT_EQ(QvGetMetricBinary(nullptr, 1, bytes, 4), 0u);
  EXPECT_EQ(bytes[3], 0);
  EXPECT_EQ(QvGetMetricStringEx(nullptr, 1, text, 4, QV_TEXT("no"), FALSE), 2u);
  EXPECT_EQ(QvGetMetricMultiStringEx(nullptr, 1, text, 4), 0u);
  EXPECT_EQ(text[0], 0);
  EXPECT_EQ(QvSetMetric(nullptr, 1, 1), E_FAIL);
  EXPECT_EQ(QvDeleteMetric(nullptr, 1, REG_DWORD), E_FAIL);
  EXPECT_EQ(QvDoesMetricExist(nullptr, 1, REG_DWORD), S_FALSE);
}

TEST_F(MetricValues, StreamsAreStoredWhole) {
  std::vector<BYTE> bytes(200'000);
  for (size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = static_cast<BYTE>(i * 7);
  IStream* stream = nullptr;
  IStream* back = nullptr;
  ASSERT_EQ(QvCreateMemoryStream(bytes.data(), bytes.size(), &stream), S_OK);
  ASSERT_EQ(QvCreateMemoryStream(nullptr, 0, &back), S_OK);
  LARGE_INTEGER move{};
  move.QuadPart = 1000;
  stream->Seek(move, STREAM_SEEK_SET, nullptr);
  EXPECT_EQ(QvSetMetricStream(handle_, 1, stream), S_OK);
  EXPECT_EQ(QvSetMetricStream(QVMETRIC_DEFAULT, 1, stream), E_FAIL);
  EXPECT_EQ(QvSetMetricStream(handle_, 1, nullptr), E_POINTER);
  EXPECT_EQ(QvGetMetricStream(handle_, 1, nullptr), E_POINTER);
  EXPECT_EQ(QvGetMetricStream(handle_, 2, back), E_UNEXPECTED);
  ASSERT_EQ(QvGetMetricStream(handle_, 1, back), S_OK);
  EXPECT_EQ(QvGetMetricStream(nullptr, 1, back), E_UNEXPECTED);
  std::vector<BYTE> read(bytes.size() + 1);
  ULONG count = 0;
  back->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr);
  EXPECT_EQ(back->Read(read.data(), static_cast<ULONG>(read.size()), &count), S_FALSE);
  read.resize(count);
  EXPECT_EQ(read, bytes);
  stream->SetSize({});
  EXPECT_EQ(QvSetMetricStream(handle_, 1, stream), S_OK);
  EXPECT_EQ(QvDoesMetricExist(handle_, 1, REG_BINARY), S_OK);
  EXPECT_EQ(QvGetMetricStream(handle_, 1, back), E_UNEXPECTED) << "an empty value";
  stream->Release();
  back->Release();
}

} // namespace
