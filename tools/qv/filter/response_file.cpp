#include "tools/qv/filter/response_file.h"

#include "tools/qv/file/disk/output_file.h"
#include "tools/qv/text.h"

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <stdexcept>

namespace qv::tool {

namespace {

constexpr size_t kRows = 1000;

std::string extension_of(const std::string& name) {
  return std::filesystem::path(path_from(name)).extension().string();
}

std::string as_csv(const std::vector<Response>& responses) {
  std::string text = "frequency_hz,magnitude_db,phase_degrees,group_delay_ms\n";
  char line[128];
  for (const Response& each : responses) {
    std::snprintf(line, sizeof line, "%.6f,%.6f,%.6f,%.9f\n", each.frequency, each.magnitude, each.phase,
                  std::isfinite(each.group_delay) ? each.group_delay : 0.0);
    text += line;
  }
  return text;
}

} // namespace

std::string check_response_name(const std::string& name) {
  const std::string extension = extension_of(name);
  if (extension == ".csv") return "";
  if (extension != ".svg" && extension != ".png") return name + " ends neither in .svg nor in .png nor in .csv";
  return can_draw() ? "" : "this build draws no pictures: a name that ends in .csv gives the numbers";
}

void write_response(const std::string& name, const std::string& title, const FilterChain& chain) {
  const std::vector<Response> responses = chain.responses(kRows);
  const std::string extension = extension_of(name);
  const std::string bytes = extension == ".csv" ? as_csv(responses) : drawn(responses, title, extension == ".png");
  OutputFile file(name);
  file.append(bytes.data(), static_cast<DWORD>(bytes.size()));
  file.commit(bytes.size());
}

#ifndef QV_HAVE_CAIRO

bool can_draw() { return false; }

std::string drawn(const std::vector<Response>&, const std::string&, bool) {
  throw std::runtime_error("this build draws no pictures");
}

#endif

} // namespace qv::tool
