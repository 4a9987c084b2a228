// Filters allocate where they are made, and answer E_OUTOFMEMORY there; they do not allocate while they process.
#include "qv/dither.h"
#include "qv/equalizer.h"
#include "qv/filter.h"
#include "qv/fir.h"
#include "qv/resample.h"

#include <atomic>
#include <cstdlib>
#include <gtest/gtest.h>
#include <new>
#include <random>
#include <vector>

namespace {

std::atomic<int> allocations = 0;
int failing = 0; // counted down: the allocation that makes it 0 fails

} // namespace

// What other libraries allocate counts too, where nothing else watches over memory.
#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
extern "C" {
void* __libc_malloc(size_t bytes);
void* __libc_calloc(size_t count, size_t bytes);
void* __libc_realloc(void* block, size_t bytes);

void* malloc(size_t bytes) {
  ++allocations;
  return __libc_malloc(bytes);
}
void* calloc(size_t count, size_t bytes) {
  ++allocations;
  return __libc_calloc(count, bytes);
}
void* realloc(void* block, size_t bytes) {
  ++allocations;
  return __libc_realloc(block, bytes);
}
}
#endif

// These stand for the library's calls too: its operator new is whatever the program has.
void* operator new(size_t bytes) {
  ++allocations;
  void* const block = failing > 0 && --failing == 0 ? nullptr : std::malloc(bytes == 0 ? 1 : bytes);
  if (!block) throw std::bad_alloc();
  return block;
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, size_t) noexcept { std::free(block); }

namespace {

struct Filters {
  CQvFIR fir;
  CQvDither dither;
  HQVEQ eq = nullptr;

  ~Filters() { QvEq_Close(eq); }
  /// With the n-th allocation of each failing; 0 for none.
  void make(int nth, HRESULT expected) {
    constexpr QVEQBAND kBands[] = {{100.0, 3.0, 1.0}, {1000.0, -3.0, 1.0}, {8000.0, 3.0, 1.0}};
    failing = nth;
    const HRESULT designed = fir.Design(QVFIR_LOWPASS, QVWINDOW_HANN, 301, 0.1, 0.0, 0.0, 2, 0);
    failing = nth;
    const HRESULT started = dither.Init(QVDITHER_SHAPED, 16, 2, 1);
    failing = nth;
    const HRESULT opened = QvEq_Init(&eq, 48000, 2, kBands, 3);
    failing = 0;
    for (const HRESULT result : {designed, started, opened})
      EXPECT_EQ(result, expected);
  }
};

} // namespace

TEST(FilterMemory, ProcessingAllocatesNothing) {
  std::vector<float> floats(2 * 1000);
  std::vector<double> doubles(2 * 1000);
  Filters filters;
  const int before = allocations;
  filters.make(0, S_OK);
  EXPECT_GE(allocations, before + 6); // the library's are counted
  const int made = allocations;
  for (const DWORD mask : {0, 1}) {
    filters.fir.ProcessFloat(floats.data(), floats.data(), 1000, mask);
    filters.fir.ProcessDouble(doubles.data(), doubles.data(), 1000, mask);
    filters.dither.ProcessFloat(floats.data(), floats.data(), 1000, mask);
    filters.dither.ProcessDouble(doubles.data(), doubles.data(), 1000, mask);
    QvEq_ProcessFloat(filters.eq, floats.data(), floats.data(), 1000);
    QvEq_ProcessDouble(filters.eq, doubles.data(), doubles.data(), 1000);
    filters.fir.ResetAll();
    filters.dither.Reset();
    QvEq_Reset(filters.eq);
  }
  EXPECT_EQ(allocations, made);
}

TEST(FilterMemory, ShortMemory) {
  Filters made;
  made.make(0, S_OK);
  for (const int nth : {1, 2}) {
    Filters filters;
    filters.make(nth, E_OUTOFMEMORY);
    failing = nth;
    EXPECT_THROW(filters.fir = made.fir, std::bad_alloc);
    failing = nth;
    EXPECT_THROW(filters.dither = made.dither, std::bad_alloc);
    EXPECT_EQ(filters.fir.getTaps() + filters.dither.getBits(), 0u);
    EXPECT_EQ(filters.eq, nullptr);
  }
}

namespace {

/// The recursive filter and the converters.
struct Streams {
  CQvIIR iir;
  HQVRESAMPLE block = nullptr;
  HQVRESAMPLE2 stream = nullptr;

  ~Streams() {
    QvAudio_ResampleClose(block);
    QvAudio_Resample2Close(stream);
  }
  HRESULT make_iir() { return iir.Design(QVIIR_BANDPASS, QVIIR_BUTTERWORTH, 9, 0.1, 1.0, 3.0, 3, 0); }
  HRESULT make_block() {
    return QvAudio_ResampleOpen(&block, QVSAMPLE_FLOAT32, 48000, 44100, 3, QVRESAMPLE_SINC | QVRESAMPLE_LOWPASS6);
  }
  HRESULT make_stream(QVRESAMPLE2_QUALITY quality) {
    return QvAudio_Resample2Open(&stream, QVSAMPLE_FLOAT32, 48000, 44100, 3, quality);
  }
};

} // namespace

TEST(FilterMemory, ConvertersAllocateNothingOnTheirWay) {
  std::vector<float> src(3 * 5000, 0.25f);
  std::vector<float> dst(3 * 6000);
  Streams made;
  ASSERT_EQ(made.make_iir(), S_OK);
  ASSERT_EQ(made.make_block(), S_OK);
  const int before = allocations;
  for (const DWORD frames : {1u, 77u, 5000u}) {
    made.iir.ProcessFloat(dst.data(), src.data(), frames, 0);
    QvAudio_ResampleEx(made.block, dst.data(), src.data(), frames);
  }
  EXPECT_EQ(allocations, before);
}

TEST(FilterMemory, StreamsAllocateNothingOnTheirWay) {
  std::vector<float> src(2 * 3000, 0.25f);
  std::vector<float> dst(2 * 3000);
  std::mt19937 random(5);
  constexpr DWORD kRates[][2] = {{44100, 48000}, {48000, 44100}, {44100, 96000}, {192000, 44100}, {44100, 22050},
                                 {8000, 48000},  {48000, 8000},  {8, 1},         {44100, 44099},  {7, 5}};
  for (const auto& [src_rate, dst_rate] : kRates) {
    HQVRESAMPLE2 stream = nullptr;
    ASSERT_EQ(QvAudio_Resample2Open(&stream, QVSAMPLE_FLOAT32, src_rate, dst_rate, 2, QVRESAMPLE2_BEST), S_OK);
    const int before = allocations;
    EXPECT_GT(before, 0);
    DWORD written = 0;
    DWORD used = 0;
    while (QvAudio_Resample2GetSrcPos(stream) < 2'000'000) {
      const DWORD given = 1 + random() % (random() % 4 == 0 ? 3000 : 300);
      const DWORD room = 1 + random() % (random() % 4 == 0 ? 3000 : 300);
      QvAudio_Resample2Process(stream, dst.data(), room, &written, src.data(), given, &used);
    }
    do
      QvAudio_Resample2Process(stream, dst.data(), 3000, &written, nullptr, 0, &used);
    while (written != 0);
    EXPECT_EQ(allocations, before) << src_rate << " to " << dst_rate;
    QvAudio_Resample2Close(stream);
  }
}

TEST(FilterMemory, ConvertersInShortMemory) {
  // One allocation after the other fails, until none is left that could.
  const auto exhaust = [](auto make) {
    int failures = 0;
    for (HRESULT result = E_OUTOFMEMORY; result != S_OK; ++failures) {
      Streams streams;
      failing = failures + 1;
      result = make(streams);
      failing = 0;
      EXPECT_TRUE(result == S_OK || result == E_OUTOFMEMORY) << result;
      EXPECT_TRUE(result == S_OK || (!streams.block && !streams.stream));
      if (result != S_OK) EXPECT_EQ(streams.iir.getNumBiquads(), 0u);
    }
    return failures;
  };
  EXPECT_GE(exhaust([](Streams& streams) { return streams.make_iir(); }), 3);
  EXPECT_GE(exhaust([](Streams& streams) { return streams.make_block(); }), 4);
  EXPECT_GE(exhaust([](Streams& streams) { return streams.make_stream(QVRESAMPLE2_SINC); }), 5);
}
