// Settings of every type, what they answer when there is none, and what the store may hold against expectation.
#include "tests/kernel/metric/metric_fixture.h"

#include "qv/memory_stream.h"

#include <climits>
#include <cstring>

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
  EXPECT_EQ(QvGetMetricBinary(handle_, 1, nullptr, 0), 0u);
  EXPECT_EQ(QvSetMetricBinary(handle_, 1, nullptr, 5), E_FAIL);
}

TEST_F(MetricValues, TextsAreCutAndTerminated) {
  const WString abc(QV_TEXT("abc\0"), 4), empty(1, 0), bare(QV_TEXT("abc"));
  const WString several(QV_TEXT("one\0two\0\0"), 9);
  constexpr const WCHAR* kNo = QV_TEXT("no");
  struct Case {
    const char* name;
    DWORD type;            ///< REG_MULTI_SZ: read as a list of texts, without default
    const WString& stored; ///< as it is, terminators and all
    DWORD capacity;
    DWORD length;
    WString text; ///< in the buffer, whose rest is zero
    const WCHAR* absent = nullptr;
    BOOL keep_empty = FALSE;
  };
  const Case cases[] = {
      {"roomy", REG_SZ, abc, 6, 3, QV_TEXT("abc")},
      {"exact", REG_SZ, abc, 4, 3, QV_TEXT("abc")},
      {"too small is absent", REG_SZ, abc, 3, 2, kNo, kNo},
      {"too small without default", REG_SZ, abc, 3, 0, {}},
      {"default is cut", REG_SZ, abc, 3, 2, kNo, QV_TEXT("nobody")},
      {"empty without keep", REG_SZ, empty, 4, 2, kNo, kNo},
      {"empty with keep", REG_SZ, empty, 4, 0, {}, kNo, TRUE},
      {"no bytes with keep", REG_SZ, {}, 4, 2, kNo, kNo, TRUE},
      {"another type", REG_BINARY, abc, 6, 2, kNo, kNo, TRUE},
      {"expandable is another type", REG_EXPAND_SZ, abc, 6, 0, {}, nullptr, TRUE},
      {"unterminated", REG_SZ, bare, 6, 2, bare},
      {"unterminated and full", REG_SZ, bare, 3, 2, QV_TEXT("ab")},
      {"one unterminated character", REG_SZ, WString(1, 'x'), 4, 0, {}, nullptr, TRUE},
      {"capacity 1", REG_SZ, empty, 1, 0, {}, kNo},
      {"capacity 0", REG_SZ, abc, 0, 0, {}},
      {"several", REG_MULTI_SZ, several, 12, 8, several},
      {"several, exact", REG_MULTI_SZ, several, 9, 8, several},
      {"several, too small", REG_MULTI_SZ, several, 8, 0, {}},
      {"two terminators at the end", REG_MULTI_SZ, bare, 3, 2, QV_TEXT("a")},
      {"several, capacity 0", REG_MULTI_SZ, several, 0, 0, {}},
  };
  for (Case each : cases) {
    SCOPED_TRACE(each.name);
    const bool several_texts = each.type == REG_MULTI_SZ;
    store_text(several_texts ? QV_TEXT("Z1") : QV_TEXT("S1"), each.type, each.stored);
    std::vector<WCHAR> buffer(each.capacity + 2, 'G'); // with a guard at both ends
    WCHAR* text = buffer.data() + 1;
    EXPECT_EQ(several_texts ? QvGetMetricMultiStringEx(handle_, 1, text, each.capacity)
                            : QvGetMetricStringEx(handle_, 1, text, each.capacity, each.absent, each.keep_empty),
              each.length);
    each.text.resize(each.capacity);
    EXPECT_EQ(WString(buffer.begin(), buffer.end()), QV_TEXT("G") + each.text + QV_TEXT("G"));
  }
  EXPECT_EQ(QvGetMetricStringEx(handle_, 1, nullptr, 10, kNo, TRUE), 0u);
}

TEST_F(MetricValues, TextsComeBack) {
  WCHAR text[10];
  const WString unusual = {'a', 0xD800, 'b', 0xDC00, 0xFFFF, 0x20AC};
  EXPECT_EQ(QvSetMetricString(handle_, -3, unusual.c_str()), S_OK);
  EXPECT_EQ(QvGetMetricStringEx(handle_, 3, text, 10, nullptr, FALSE), unusual.size());
  EXPECT_EQ(WString(text), unusual);
  EXPECT_EQ(QvSetMetricString(handle_, 3, QV_TEXT("")), S_OK);
  EXPECT_EQ(QvGetMetricStringEx(handle_, 3, text, 10, QV_TEXT("default"), TRUE), 0u);
  EXPECT_EQ(QvSetMetricString(handle_, 3, nullptr), E_FAIL);
  const WString several(QV_TEXT("one\0two\0\0"), 9);
  EXPECT_EQ(QvSetMetricMultiString(handle_, 3, several.data(), 9), S_OK);
  EXPECT_EQ(QvGetMetricMultiStringEx(handle_, 3, text, 10), 8u);
  EXPECT_EQ(WString(text, 9), several);
  EXPECT_EQ(QvSetMetricMultiString(handle_, 3, nullptr, 9), E_FAIL);

  const BYTE odd[] = {'a', 0, 'b', 0, 'c'}; // of which the last is dropped
  store(QV_TEXT("S1"), REG_SZ, odd, sizeof odd);
  store(QV_TEXT("Z1"), REG_MULTI_SZ, odd, sizeof odd);
  EXPECT_EQ(QvGetMetricStringEx(handle_, 1, text, 4, nullptr, FALSE), 1u);
  EXPECT_EQ(WString(text, 4), WString(QV_TEXT("ab\0\0"), 4));
  EXPECT_EQ(QvGetMetricMultiStringEx(handle_, 1, text, 4), 1u);
  EXPECT_EQ(WString(text, 4), WString(QV_TEXT("ab\0\0"), 4));
}

TEST_F(MetricValues, AnyTypeIsReadAsItIsStored) {
  const BYTE data[3] = {7, 8, 9};
  store(QV_TEXT("S1"), REG_BINARY, data, 3);
  struct Case {
    DWORD named; ///< the type of which the value has the name
    bool buffer;
    DWORD capacity;
    HRESULT result;
    DWORD type, size;
  };
  BYTE buffer[4];
  for (const Case& each : {Case{REG_SZ, true, 4, S_OK, REG_BINARY, 3},
                           {REG_SZ, true, 2, QVERR_MOREDATA, REG_BINARY, 3},
                           {REG_SZ, false, 4, QVERR_MOREDATA, REG_BINARY, 3},
                           {REG_DWORD, true, 4, S_FALSE, REG_DWORD, 0}}) {
    std::memset(buffer, 0xAA, sizeof buffer);
    DWORD type = each.named, size = each.capacity;
    EXPECT_EQ(QvGetMetricAny(handle_, 1, &type, each.buffer ? buffer : nullptr, &size), each.result);
    EXPECT_EQ(type, each.type);
    EXPECT_EQ(size, each.size);
    EXPECT_EQ(buffer[2], each.result == S_OK ? 9 : 0xAA);
    EXPECT_EQ(buffer[3], 0xAA);
  }
  DWORD type = REG_SZ, size = 4;
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

TEST_F(MetricValues, WithoutAHandleGettersReturnDefaults) {
  for (const HQVMETRIC none : {HQVMETRIC{nullptr}, QVMETRIC_DEFAULT}) { // there is no default handle yet
    BYTE bytes[4] = {1, 1, 1, 1};
    WCHAR text[4] = {'G', 'G', 'G', 'G'};
    DWORD size = 77;
    EXPECT_EQ(QvGetMetric(none, 1), 0u);
    EXPECT_EQ(QvGetMetricEx(none, 1, 0, 0, 7), 7u);
    EXPECT_EQ(QvGetMetricBool(none, 1, TRUE), TRUE);
    EXPECT_EQ(QvGetMetricBinary(none, 1, bytes, 4), 0u);
    EXPECT_EQ(bytes[3], 0);
    EXPECT_EQ(QvGetMetricBinaryEx(none, 1, nullptr, 0, &size), QVERR_RIFF_NOTFOUND);
    EXPECT_EQ(QvGetMetricStringEx(none, 1, text, 4, QV_TEXT("no"), FALSE), 2u);
    EXPECT_EQ(QvGetMetricMultiStringEx(none, 1, text, 4), 0u);
    EXPECT_EQ(text[0], 0);
    EXPECT_EQ(QvSetMetric(none, 1, 1), E_FAIL);
    EXPECT_EQ(QvDeleteMetric(none, 1, REG_DWORD), E_FAIL);
    EXPECT_EQ(QvDoesMetricExist(none, 1, REG_DWORD), S_FALSE);
  }
}

TEST_F(MetricValues, TheDefaultHandleServesWhatAcceptsIt) {
  const HQVMETRIC all = QVMETRIC_DEFAULT;
  const BYTE data[2] = {1, 2};
  ASSERT_EQ(QvSetMetricBinary(handle_, 1, data, 2), S_OK);
  ASSERT_EQ(QvSetMetricString(handle_, 1, QV_TEXT("a")), S_OK);
  EXPECT_EQ(QvMetric_SetDefault(handle_), nullptr);
  EXPECT_EQ(QvSetMetric(all, 1, 4), S_OK);
  EXPECT_EQ(QvGetMetric(handle_, 1), 4u);
  EXPECT_EQ(QvSetMetricUsingName(all, QV_TEXT("x"), 6), S_OK);
  EXPECT_EQ(QvGetMetricUsingName(all, QV_TEXT("x")), 6u);
  EXPECT_EQ(QvSetMetricBinary(all, 1, data, 2), E_FAIL);
  EXPECT_EQ(QvSetMetricString(all, 1, QV_TEXT("a")), E_FAIL);
  EXPECT_EQ(QvSetMetricMultiString(all, 1, QV_TEXT("a\0"), 3), E_FAIL);
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
