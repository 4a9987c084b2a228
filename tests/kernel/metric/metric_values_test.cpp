// Settings of every type, what they answer when there is none, and what the store may hold against expectation.
#include "tests/kernel/metric/metric_fixture.h"

#include "qv/memory_stream.h"

#include <climits>
#include <cstring>
#include <tuple>

using namespace kernel_test;
using qv::WString;

namespace {

class MetricValues : public Metrics {};

TEST(MetricNames, FollowNumberAndType) {
  const std::tuple<LONG, DWORD, const WCHAR*> cases[] = {{7, REG_DWORD, QV_TEXT("D7")},
                                                         {-7, REG_DWORD, QV_TEXT("D7")},
                                                         {0, REG_SZ, QV_TEXT("S0")},
                                                         {123, REG_BINARY, QV_TEXT("B123")},
                                                         {5, REG_MULTI_SZ, QV_TEXT("Z5")},
                                                         {5, REG_NONE, QV_TEXT("Z5")},
                                                         {INT_MAX, REG_SZ, QV_TEXT("S2147483647")},
                                                         {-INT_MAX, REG_DWORD, QV_TEXT("D2147483647")},
                                                         {INT_MIN, REG_SZ, QV_TEXT("S-2147483648")}};
  for (const auto& [n, type, expected] : cases) {
    WCHAR name[QVMETRIC_NAME_CHARS];
    EXPECT_EQ(QvMetricGetName(n, type, name), S_OK);
    EXPECT_EQ(WString(name), expected);
  }
  EXPECT_EQ(QvMetricGetName(1, REG_SZ, nullptr), E_POINTER);
}

TEST_F(MetricValues, NumbersHaveOneNameForBothSigns) {
  EXPECT_EQ(QvGetMetric(handle_, 5), 0u);
  EXPECT_EQ(QvSetMetric(handle_, -5, 0xFEDCBA98), S_OK);
  EXPECT_EQ(QvGetMetric(handle_, 5), 0xFEDCBA98u);
  EXPECT_EQ(QvGetMetricUsingName(handle_, QV_TEXT("5")), 0xFEDCBA98u);
  EXPECT_EQ(QvSetMetric(handle_, -INT_MAX, 8), S_OK);
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
    const auto stored = static_cast<DWORD>(each.stored), expected = static_cast<DWORD>(each.expected);
    QvSetMetric(handle_, 1, stored);
    EXPECT_EQ(QvGetMetricEx(handle_, 1, each.minimum, each.maximum, 7), expected);
    EXPECT_EQ(QvGetMetricEx(handle_, 2, each.minimum, each.maximum, stored), expected) << "the default, too";
  }
  EXPECT_EQ(QvGetMetricBool(handle_, 2, 0), FALSE);
  EXPECT_EQ(QvGetMetricBool(handle_, 2, -4), TRUE);
  QvSetMetric(handle_, 2, 0);
  EXPECT_EQ(QvGetMetricBool(handle_, 2, TRUE), FALSE);
  QvSetMetric(handle_, 2, 0x80000000);
  EXPECT_EQ(QvGetMetricBool(handle_, 2, FALSE), TRUE);

  const BYTE bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  for (const size_t size : {0, 1, 3, 5, 8}) {
    store(QV_TEXT("1"), REG_DWORD, bytes, size);
    EXPECT_EQ(QvGetMetricEx(handle_, 1, 0, 0, 77), 77u) << "another size is absent: " << size;
  }
  store(QV_TEXT("1"), REG_BINARY, bytes, 4);
  EXPECT_EQ(QvGetMetric(handle_, 1), 0x04030201u) << "the size is what counts";
}

TEST_F(MetricValues, BytesFillTheRestWithZeros) {
  using Bytes = std::vector<BYTE>;
  const Bytes data = {1, 2, 3, 4, 5};
  ASSERT_EQ(QvSetMetricBinary(handle_, 1, data.data(), 5), S_OK);
  ASSERT_EQ(QvSetMetricBinary(handle_, 2, data.data(), 0), S_OK);
  store(QV_TEXT("B3"), REG_SZ, data.data(), 4);
  struct Case {
    LONG n;
    DWORD size; ///< of the buffer; 0: there is none
    HRESULT result;
    DWORD reported;
  };
  const Case cases[] = {{1, 8, S_OK, 5}, {1, 5, S_OK, 5},    {1, 4, QVERR_MOREDATA, 5}, {1, 0, QVERR_MOREDATA, 5},
                        {2, 8, S_OK, 0}, {3, 8, S_FALSE, 0}, {3, 2, S_FALSE, 0},        {4, 8, S_FALSE, 0}};
  for (const Case& each : cases) {
    SCOPED_TRACE(testing::Message() << each.n << " in " << each.size);
    const DWORD read = each.result == S_OK ? each.reported : 0;
    Bytes expected(data.begin(), data.begin() + read), buffer(each.size + 1, 0xAA), again = buffer;
    expected.resize(each.size);
    expected.push_back(0xAA);
    DWORD bytes = 77;
    EXPECT_EQ(QvGetMetricBinary(handle_, each.n, each.size ? buffer.data() : nullptr, each.size), read);
    EXPECT_EQ(buffer, expected);
    EXPECT_EQ(QvGetMetricBinaryEx(handle_, each.n, each.size ? again.data() : nullptr, each.size, &bytes), each.result);
    EXPECT_EQ(again, expected);
    EXPECT_EQ(bytes, each.reported);
  }
  EXPECT_EQ(QvGetMetricBinaryEx(handle_, 1, nullptr, 0, nullptr), E_INVALIDARG);
  EXPECT_EQ(QvSetMetricBinary(handle_, 1, nullptr, 5), E_FAIL);
}

TEST_F(MetricValues, TextsAreCutAndTerminated) {
  const WString abc(QV_TEXT("abc\0"), 4), empty(1, 0), bare(QV_TEXT("abc"));
  const WString several(QV_TEXT("one\0two\0\0"), 9);
  constexpr const WCHAR* kNo = QV_TEXT("no");
  struct Case {
    const char* name;
    DWORD type;     ///< REG_MULTI_SZ: read as a list of texts, without default
    WString stored; ///< as it is, terminators and all
    DWORD capacity;
    DWORD length;
    WString text; ///< in the buffer, whose rest is zero
    const WCHAR* absent = nullptr;
    BOOL keep_empty = FALSE;
    size_t missing = 0; ///< bytes of what is stored
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
      {"half a character", REG_SZ, bare, 4, 1, QV_TEXT("ab"), nullptr, FALSE, 1},
      {"capacity 1", REG_SZ, empty, 1, 0, {}, kNo},
      {"capacity 0", REG_SZ, abc, 0, 0, {}},
      {"several", REG_MULTI_SZ, several, 12, 8, several},
      {"several, exact", REG_MULTI_SZ, several, 9, 8, several},
      {"several, too small", REG_MULTI_SZ, several, 8, 0, {}},
      {"two terminators at the end", REG_MULTI_SZ, bare, 3, 2, QV_TEXT("a")},
      {"several, half a character", REG_MULTI_SZ, bare, 4, 1, QV_TEXT("ab"), nullptr, FALSE, 1},
      {"several, capacity 0", REG_MULTI_SZ, several, 0, 0, {}},
  };
  for (Case each : cases) {
    SCOPED_TRACE(each.name);
    const bool several_texts = each.type == REG_MULTI_SZ;
    // What follows in memory is no terminator, which the registry would store with it.
    store(several_texts ? QV_TEXT("Z1") : QV_TEXT("S1"), each.type, (each.stored + QV_TEXT("!")).data(),
          each.stored.size() * sizeof(WCHAR) - each.missing);
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
}

TEST_F(MetricValues, AnyTypeIsReadAsItIsStored) {
  const std::vector<BYTE> large(100'000, 5);
  ASSERT_EQ(QvSetMetricBinary(handle_, 1, large.data(), 100'000), S_OK);
  store(QV_TEXT("S1"), REG_BINARY, large.data(), 3);
  struct Case {
    DWORD named;    ///< the type of which the value has the name
    DWORD capacity; ///< 0: there is no buffer
    HRESULT result;
    DWORD type, size;
    HRESULT exists;
  };
  const Case cases[] = {{REG_SZ, 4, S_OK, REG_BINARY, 3, S_FALSE},
                        {REG_SZ, 2, QVERR_MOREDATA, REG_BINARY, 3, S_FALSE},
                        {REG_SZ, 0, QVERR_MOREDATA, REG_BINARY, 3, S_FALSE},
                        {REG_BINARY, 4, QVERR_MOREDATA, REG_BINARY, 100'000, S_OK},
                        {REG_DWORD, 4, S_FALSE, REG_DWORD, 0, S_FALSE}};
  BYTE buffer[4];
  for (const Case& each : cases) {
    std::memset(buffer, 0xAA, sizeof buffer);
    DWORD type = each.named, size = each.capacity;
    EXPECT_EQ(QvGetMetricAny(handle_, -1, &type, each.capacity != 0 ? buffer : nullptr, &size), each.result);
    EXPECT_EQ(type, each.type);
    EXPECT_EQ(size, each.size);
    EXPECT_EQ(buffer[2], each.result == S_OK ? 5 : 0xAA);
    EXPECT_EQ(buffer[3], 0xAA);
    EXPECT_EQ(QvDoesMetricExist(handle_, 1, each.named), each.exists);
  }
  DWORD type = REG_SZ, size = 4;
  EXPECT_EQ(QvGetMetricAny(nullptr, 1, &type, buffer, &size), QVERR_RIFF_NOTFOUND);
  EXPECT_EQ(QvGetMetricAny(handle_, 1, nullptr, buffer, &size), E_INVALIDARG);
  EXPECT_EQ(QvGetMetricAny(handle_, 1, &type, buffer, nullptr), E_INVALIDARG);
  EXPECT_EQ(QvDeleteMetric(handle_, -1, REG_BINARY), S_OK);
  EXPECT_EQ(QvDeleteMetric(handle_, 1, REG_BINARY), E_FAIL);
  EXPECT_EQ(QvDoesMetricExist(handle_, 1, REG_BINARY), S_FALSE);
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
  IStream *stream = nullptr, *back = nullptr;
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
  EXPECT_EQ(QvGetMetricStream(nullptr, 1, back), E_UNEXPECTED);
  ASSERT_EQ(QvGetMetricStream(handle_, 1, back), S_OK);
  std::vector<BYTE> read(bytes.size() + 1);
  ULONG count = 0;
  back->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr);
  back->Read(read.data(), static_cast<ULONG>(read.size()), &count);
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
