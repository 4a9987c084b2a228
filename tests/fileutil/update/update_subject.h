// A file to be updated in a folder of its own, and plans made by hand: what the tests of carrying updates out share.
#pragma once

#include "fileutil/update/update_file.h"
#include "tests/platform/scratch_path.h"

#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>
#include <string>

namespace update_test {

/// A part of the new file: some of the old one, or bytes of its own.
struct Part {
  uint64_t source = 0;
  uint64_t length = 0;
  std::string bytes = {};
};

struct Scenario {
  const char* name;
  bool is_in_place;
  std::vector<Part> parts;
};

inline std::string noise(size_t count) {
  std::minstd_rand random(7);
  std::string bytes(count, '\0');
  for (char& byte : bytes)
    byte = static_cast<char>(random() >> 8);
  return bytes;
}

/// Each way to update a file of `length` bytes, of which the first 1,000 are metadata.
inline std::vector<Scenario> scenarios(uint64_t length) {
  const std::string other(600, 'm');
  return {
      {"in place", true, {{0, 100}, {0, 0, other}, {700, length - 1000}, {0, 0, std::string(300, 'e')}}},
      {"in place, longer", true, {{0, 0, "first"}, {5, length - 205}, {0, 0, std::string(900, 'l')}}},
      {"in place, appended", true, {{0, length}, {0, 0, other}}},
      {"in place, shorter", true, {{0, 0, "first"}, {5, length - 905}, {0, 0, std::string(400, 's')}}},
      {"in place, cut", true, {{0, length - 700}}},
      {"a copy, longer", false, {{0, 100}, {0, 0, other + other}, {700, length - 700}}},
      {"a copy, shorter", false, {{0, 0, "short"}, {1000, length - 1000}}},
      {"a copy, as long", false, {{700, length - 700}, {0, 700}}},
  };
}

inline fileutil::UpdatePlan plan_of(const Scenario& scenario, uint64_t length) {
  fileutil::UpdatePlan plan = {length, 0, scenario.is_in_place, {}};
  for (const auto& [source, count, bytes] : scenario.parts) {
    plan.segments.push_back({bytes.empty() ? count : bytes.size(), source, {bytes.begin(), bytes.end()}});
    plan.newLength += plan.segments.back().length;
  }
  return plan;
}

/// The new file, put together in memory.
inline std::string updated(const Scenario& scenario, const std::string& before) {
  std::string after;
  for (const auto& [source, count, bytes] : scenario.parts)
    after += bytes.empty() ? before.substr(source, count) : bytes;
  return after;
}

class Subject {
public:
  explicit Subject(const std::string& bytes) {
    std::filesystem::create_directory(folder_.path());
    put("a.m4a", bytes);
  }

  std::filesystem::path path(const std::string& name = "a.m4a") const { return folder_.path() / name; }
  qv::WString text() const { return path().string<WCHAR>(); }
  void put(const std::string& name, const std::string& bytes) const {
    std::ofstream(path(name), std::ios::binary) << bytes;
  }
  std::string bytes(const std::string& name = "a.m4a") const {
    std::ifstream file(path(name), std::ios::binary);
    std::string all(std::filesystem::exists(path(name)) ? std::filesystem::file_size(path(name)) : 0, '\0');
    file.read(all.data(), static_cast<std::streamsize>(all.size()));
    return all;
  }
  std::set<std::string> names() const {
    std::set<std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path()))
      all.insert(entry.path().filename().string());
    return all;
  }

  /// As updateFile() does once it has a plan; where an earlier update has made the file new already, nothing.
  HRESULT update(const Scenario& scenario, bool flush) const {
    fileutil::HeldFile held;
    HRESULT result = held.open(text().c_str());
    fileutil::Recovery what = fileutil::Recovery::kNothing;
    if (result == S_OK) result = settle(held, what);
    uint64_t length = 0;
    if (result != S_OK || what == fileutil::Recovery::kFinished || !held.file().getLength(length)) return result;
    return carryOut(held, plan_of(scenario, length), {0, flush, flush});
  }

private:
  ScratchPath folder_{"update"};
};

const std::set<std::string> kTheFileAlone = {"a.m4a"};

} // namespace update_test
