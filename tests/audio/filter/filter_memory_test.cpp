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
#include <utility>
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
  CQvIIR iir;
  HQVEQ eq = nullptr;
  HQVRESAMPLE block = nullptr;
  HQVRESAMPLE2 stream = nullptr;

  ~Filters() {
    QvEq_Close(eq);
    QvAudio_ResampleClose(block);
    QvAudio_Resample2Close(stream);
  }
  bool are_empty() const {
    return !fir.getCoefficients() && dither.getBits() == 0 && iir.getNumBiquads() == 0 && !eq && !block && !stream;
  }
};

constexpr QVEQBAND kBands[] = {{100.0, 3.0, 1.0}, {1000.0, -3.0, 1.0}, {8000.0, 3.0, 1.0}};

const struct {
  HRESULT (*make)(Filters& filters);
  int allocations; ///< at least
} kMakers[] = {
    {[](Filters& filters) { return filters.fir.Design(QVFIR_LOWPASS, QVWINDOW_HANN, 301, 0.1, 0.0, 0.0, 3, 0); }, 2},
    {[](Filters& filters) { return filters.dither.Init(QVDITHER_SHAPED, 16, 3, 1); }, 2},
    {[](Filters& filters) { return filters.iir.Design(QVIIR_BANDPASS, QVIIR_BUTTERWORTH, 9, 0.1, 1.0, 3.0, 3, 0); }, 2},
    {[](Filters& filters) { return QvEq_Init(&filters.eq, 48000, 3, kBands, 3); }, 2},
    {[](Filters& filters) {
       return QvAudio_ResampleOpen(&filters.block, QVSAMPLE_FLOAT32, 48000, 44100, 3,
                                   QVRESAMPLE_SINC | QVRESAMPLE_LOWPASS6);
     },
     3},
    {[](Filters& filters) {
       return QvAudio_Resample2Open(&filters.stream, QVSAMPLE_FLOAT32, 48000, 44100, 3, QVRESAMPLE2_SINC);
     },
     4}};

} // namespace

TEST(FilterMemory, ProcessingAllocatesNothing) {
  std::vector<float> floats(3 * 5000, 0.25f);
  std::vector<double> doubles(3 * 5000);
  std::vector<float> converted(3 * 6000);
  Filters filters;
  for (const auto& each : kMakers) {
    const int before = allocations;
    ASSERT_EQ(each.make(filters), S_OK);
    EXPECT_GE(allocations, before + each.allocations); // the library's are counted
  }
  const int made = allocations;
  for (const DWORD frames : {1u, 77u, 5000u}) {
    const DWORD mask = frames == 77 ? 1 : 0;
    const auto process = [&](auto& filter) {
      filter.ProcessFloat(floats.data(), floats.data(), frames, mask);
      filter.ProcessDouble(doubles.data(), doubles.data(), frames, mask);
    };
    process(filters.fir);
    process(filters.dither);
    process(filters.iir);
    QvEq_ProcessFloat(filters.eq, floats.data(), floats.data(), frames);
    QvEq_ProcessDouble(filters.eq, doubles.data(), doubles.data(), frames);
    QvAudio_ResampleEx(filters.block, converted.data(), floats.data(), frames);
    filters.fir.ResetAll();
    filters.dither.Reset();
    QvEq_Reset(filters.eq);
  }
  EXPECT_EQ(allocations, made);
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

// One allocation after the other fails, until none is left that could. Sorting does without the memory that it asks
// for.
TEST(FilterMemory, ShortMemory) {
  for (const auto& each : kMakers) {
    int failures = 0;
    bool has_failed = true;
    for (int nth = 1; has_failed; ++nth) {
      Filters filters;
      failing = nth;
      const HRESULT result = each.make(filters);
      has_failed = std::exchange(failing, 0) == 0;
      EXPECT_TRUE(result == S_OK || (has_failed && result == E_OUTOFMEMORY)) << &each - kMakers << " " << nth;
      EXPECT_EQ(filters.are_empty(), result != S_OK) << &each - kMakers << " " << nth;
      failures += result != S_OK;
    }
    EXPECT_GE(failures, each.allocations) << &each - kMakers;
  }
  Filters made;
  for (const auto& each : kMakers)
    each.make(made);
  for (const int nth : {1, 2}) {
    Filters filters;
    failing = nth;
    EXPECT_THROW(filters.fir = made.fir, std::bad_alloc);
    failing = nth;
    EXPECT_THROW(filters.dither = made.dither, std::bad_alloc);
    failing = nth;
    EXPECT_THROW(filters.iir = made.iir, std::bad_alloc);
    EXPECT_TRUE(filters.are_empty());
  }
}
