// qv cpu: what the processor offers and what the kernel lookups make of it.
#include "qv/cpu.h"

#include "tools/qv/command/command.h"
#include "tools/qv/failure.h"
#include "tools/qv/json.h"
#include "tools/qv/text.h"

#include "qv/audio_kernels.h"

#include <cstdio>
#include <iostream>
#include <memory>

namespace qv::tool {

namespace {

struct NamedBit {
  uint32_t bit;
  const char* name;
};

constexpr NamedBit kFeatures[] = {
    {QVCPU_MMX, "MMX"},     {QVCPU_SSE, "SSE"},      {QVCPU_SSE2, "SSE2"},    {QVCPU_SSE3, "SSE3"},
    {QVCPU_SSSE3, "SSSE3"}, {QVCPU_SSE41, "SSE4.1"}, {QVCPU_SSE42, "SSE4.2"}, {QVCPU_AVX, "AVX"},
    {QVCPU_CMOV, "CMOV"},   {QVCPU_FCMOV, "FCMOV"},  {QVCPU_TSC, "TSC"},
};
constexpr NamedBit kClasses[] = {
    {QVCPU_CLASS_GENERIC, "generic"}, {QVCPU_CLASS_MMX, "MMX"}, {QVCPU_CLASS_SSE, "SSE"}, {QVCPU_CLASS_SSE2, "SSE2"}};
constexpr NamedBit kLevels[] = {{QVKERNELLEVEL_GENERIC, "generic"},
                                {QVKERNELLEVEL_SSE2, "SSE2"},
                                {QVKERNELLEVEL_AVX2, "AVX2"},
                                {QVKERNELLEVEL_AVX512, "AVX-512"}};
#define QV_LISTED_TYPE(type, ...) type,
constexpr QVSAMPLETYPE kTypes[] = {QV_SAMPLE_TYPE_TABLE(QV_LISTED_TYPE)};
#undef QV_LISTED_TYPE

/// A kernel that a lookup can hand out, and whether it is a vector variant.
struct Pair {
  const char* family;
  QVSAMPLETYPE dst;
  QVSAMPLETYPE src;
};

std::string hexadecimal(uint32_t word) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%X", static_cast<unsigned>(word));
  return text;
}

template <size_t count>
const char* name_of(const NamedBit (&table)[count], uint32_t value) {
  for (const NamedBit& row : table)
    if (row.bit == value) return row.name;
  return "unknown";
}

std::vector<std::string> features_of(uint32_t word) {
  std::vector<std::string> names;
  for (const NamedBit& row : kFeatures)
    if (word & row.bit) names.emplace_back(row.name);
  return names;
}

struct Kernels {
  QVAUDIO_COPYFUNC copy;
  QVAUDIO_MIXFUNC mix;
};

std::vector<Kernels> look_up_all() {
  std::vector<Kernels> all;
  for (const QVSAMPLETYPE dst : kTypes)
    for (const QVSAMPLETYPE src : kTypes)
      all.push_back({QvAudio_GetCopyFunction2(dst, src), QvAudio_GetMixFunction2(dst, src)});
  return all;
}

/// The pairs that get another kernel when SSE and SSE2 are not allowed.
std::vector<Pair> vector_pairs() {
  constexpr uint32_t kVectorBits = QVCPU_SSE | QVCPU_SSE2;
  const std::vector<Kernels> now = look_up_all();
  QvDisallowCPUSupport(kVectorBits);
  const std::vector<Kernels> generic = look_up_all();
  QvAllowCPUSupport(kVectorBits);
  std::vector<Pair> pairs;
  size_t k = 0;
  for (const QVSAMPLETYPE dst : kTypes) {
    for (const QVSAMPLETYPE src : kTypes) {
      if (now[k].copy != generic[k].copy) pairs.push_back({"copy", dst, src});
      if (now[k].mix != generic[k].mix) pairs.push_back({"mix", dst, src});
      ++k;
    }
  }
  return pairs;
}

std::string type_text(QVSAMPLETYPE type) {
  WCHAR text[64] = {};
  QvAudio_GetSampleTypeText(type, text, 64);
  return utf8(text);
}

std::string joined(const std::vector<std::string>& words) {
  std::string all;
  for (const std::string& word : words)
    all += (all.empty() ? "" : " ") + word;
  return all;
}

void print_json() {
  const uint32_t word = QvGetCPUSupport(0);
  Json pairs = Json::array();
  for (const Pair& pair : vector_pairs()) {
    pairs.push_back(Json::object(
        {{"family", pair.family}, {"dst", static_cast<uint32_t>(pair.dst)}, {"src", static_cast<uint32_t>(pair.src)}}));
  }
  const Json json = Json::object({{"support", word},
                                  {"support_hex", hexadecimal(word)},
                                  {"features", features_of(word)},
                                  {"class", word & QVCPU_CLASS_MASK},
                                  {"class_text", name_of(kClasses, word & QVCPU_CLASS_MASK)},
                                  {"os_support", QvGetOSSupport(0)},
                                  {"os_features", features_of(QvGetOSSupport(0))},
                                  {"processors", QvGetProcessorCount()},
                                  {"kernel_level", name_of(kLevels, QvGetKernelLevel())},
                                  {"vector_kernels", pairs}});
  std::cout << json.dump() << "\n";
}

void print_text() {
  const uint32_t word = QvGetCPUSupport(0);
  const uint32_t class_value = word & QVCPU_CLASS_MASK;
  std::cout << "support         " << hexadecimal(word) << "  " << joined(features_of(word)) << "\n"
            << "class           " << class_value << " (" << name_of(kClasses, class_value) << ")\n"
            << "system saves    " << hexadecimal(QvGetOSSupport(0)) << "  " << joined(features_of(QvGetOSSupport(0)))
            << "\n"
            << "processors      " << QvGetProcessorCount() << "\n"
            << "kernel level    " << name_of(kLevels, QvGetKernelLevel()) << "\n";
  for (const Pair& pair : vector_pairs()) {
    std::cout << "vector kernel   " << pair.family << " " << type_text(pair.src) << " to " << type_text(pair.dst)
              << "\n";
  }
}

} // namespace

void add_cpu(const Command& program) {
  auto json = std::make_shared<bool>(false);
  const Command command = program.subcommand("cpu", "Show the processor support and the kernels chosen by it");
  command.flag("--json", *json, "Print JSON");
  command.runs([json] {
    *json ? print_json() : print_text();
    return int{kSuccess};
  });
}

} // namespace qv::tool
