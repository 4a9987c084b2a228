// What `qv info` shows of an MP4 file, in its two forms.
#pragma once

#include "tools/qv/json.h"
#include "tools/qv/mp4/mp4_summary.h"

namespace qv::tool {

void print_mp4_info(const Mp4Summary& summary);
Json mp4_info_json(const Mp4Summary& summary);

} // namespace qv::tool
