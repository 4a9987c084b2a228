// Time texts and timecode against the C library, libavutil and the published arithmetic of drop frame.
#include "qv/time.h"

#include "bench/kernel/closed_form.h"
#include "bench/kernel/groups.h"
#include "bench/ratios.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#ifdef QV_BENCH_avutil
extern "C" {
#include <libavutil/timecode.h>
}
#endif

namespace bench {

namespace {

constexpr size_t kTimes = 1000;
constexpr uint32_t kDay = 2'589'408;

const std::vector<QVNANOTIME>& times() {
  static const std::vector<QVNANOTIME> all = [] {
    std::vector<QVNANOTIME> made(kTimes);
    std::mt19937_64 random(1);
    for (QVNANOTIME& time : made)
      time = static_cast<QVNANOTIME>(random() % (8 * 3600 * uint64_t{QVNANOTIME_SECOND}));
    return made;
  }();
  return all;
}

const std::vector<uint32_t>& counts() {
  static const std::vector<uint32_t> all = [] {
    std::vector<uint32_t> made(kTimes);
    std::mt19937 random(2);
    for (uint32_t& count : made)
      count = random() % kDay;
    return made;
  }();
  return all;
}

_qvposfmt shown_as(DWORD format) {
  _qvposfmt shown = {};
  shown.format = format;
  return shown;
}

void print_milliseconds() {
  char text[64];
  for (const QVNANOTIME time : times()) {
    const auto milliseconds = static_cast<uint64_t>(time / 10'000);
    std::snprintf(text, sizeof text, "%02u:%02u:%02u.%03u", static_cast<unsigned>(milliseconds / 3'600'000),
                  static_cast<unsigned>(milliseconds / 60'000 % 60), static_cast<unsigned>(milliseconds / 1000 % 60),
                  static_cast<unsigned>(milliseconds % 1000));
    keep(text);
  }
}

void add_texts() {
  const auto print_default = [] {
    const _qvposfmt shown = shown_as(QVPOSFMT_TIME);
    WCHAR text[QVTIME_TEXT_CHARS];
    for (const QVNANOTIME time : times()) {
      QvNanoTimeToText(text, &shown, time, FALSE);
      keep(text);
    }
  };
  const auto print_own = [] {
    const _qvposfmt shown = shown_as(QVPOSFMT_TIME);
    WCHAR text[QVTIME_TEXT_CHARS];
    for (const QVNANOTIME time : times()) {
      QvNanoTimeToTextFormat(text, &shown, time, QV_TEXT("%02u:%02u:%02u.%03u"), 0);
      keep(text);
    }
  };
  add(Group{"time: 1000 texts with the default format", print_default, {{"snprintf", print_milliseconds, 8.0}}});
  add(Group{"time: 1000 texts with a format of the caller's", print_own, {{"snprintf", print_milliseconds, 1.0}}});
}

void add_drop_frame() {
  static std::vector<_smpteval> labels(kTimes);
  static std::vector<PlainLabel> plain(kTimes);
  for (size_t i = 0; i < kTimes; ++i) {
    labels[i] = {};
    labels[i].format = QVSMPTE_FMT_2997DF;
    QVSMPTE_FrameCountToSMPTE(&labels[i], counts()[i]);
    closed_form_label(counts()[i], &plain[i]);
    if (QVSMPTE_SMPTEToFrameCount(&labels[i]) != counts()[i] || closed_form_count(&plain[i]) != counts()[i])
      std::abort();
  }
  add(Group{"smpte: 1000 drop-frame labels of counts",
            [] {
              for (size_t i = 0; i < kTimes; ++i)
                QVSMPTE_FrameCountToSMPTE(&labels[i], counts()[i]);
              keep(labels.data());
            },
            {{"closed form",
              [] {
                for (size_t i = 0; i < kTimes; ++i)
                  closed_form_label(counts()[i], &plain[i]);
                keep(plain.data());
              },
              1.0}}});
  add(Group{"smpte: 1000 counts of drop-frame labels",
            [] {
              uint32_t sum = 0;
              for (const _smpteval& label : labels)
                sum += QVSMPTE_SMPTEToFrameCount(&label);
              keep(&sum);
            },
            {{"closed form",
              [] {
                uint32_t sum = 0;
                for (const PlainLabel& label : plain)
                  sum += closed_form_count(&label);
                keep(&sum);
              },
              1.0}}});
}

#ifdef QV_BENCH_avutil
void add_timecode_texts() {
  static std::vector<std::array<WCHAR, 16>> texts(kTimes);
  static std::vector<std::array<char, 16>> narrow(kTimes);
  const auto write = [] {
    const _qvposfmt shown = shown_as(QVPOSFMT_SMPTE2997DF);
    for (size_t i = 0; i < kTimes; ++i)
      QvNanoTimeToText(texts[i].data(), &shown, times()[i], FALSE);
    keep(texts.data());
  };
  const auto peer_writes = [] {
    AVTimecode timecode;
    av_timecode_init(&timecode, {30000, 1001}, AV_TIMECODE_FLAG_DROPFRAME, 0, nullptr);
    char text[AV_TIMECODE_STR_SIZE];
    for (const QVNANOTIME time : times()) {
      av_timecode_make_string(&timecode, text, static_cast<int>(static_cast<double>(time) * 30000 / 1001 / 1e7));
      keep(text);
    }
  };
  write();
  for (size_t i = 0; i < kTimes; ++i)
    std::copy(texts[i].begin(), texts[i].end(), narrow[i].begin());
  const auto read = [] {
    const _qvposfmt shown = shown_as(QVPOSFMT_SMPTE2997DF);
    QVNANOTIME sum = 0;
    for (const auto& text : texts)
      sum ^= QvTextToNanoTimeToken(text.data(), &shown, FALSE, nullptr);
    keep(&sum);
  };
  const auto peer_reads = [] {
    int sum = 0;
    for (const auto& text : narrow) {
      AVTimecode timecode;
      av_timecode_init_from_string(&timecode, {30000, 1001}, text.data(), nullptr);
      sum ^= timecode.start;
    }
    keep(&sum);
  };
  add(Group{"smpte: 1000 times as text", write, {{"libavutil", peer_writes, 8.0}}});
  add(Group{"smpte: 1000 texts as times", read, {{"libavutil", peer_reads, 6.0}}});
}
#else
void add_timecode_texts() {}
#endif

} // namespace

void add_time_groups() {
  add_texts();
  add_drop_frame();
  add_timecode_texts();
}

} // namespace bench
