// Where there is no soxr the library's own filter does the work: none of these is made.
#include "audio/resample/soxr_filter.h"

namespace qv::audio {

std::unique_ptr<SoxrFilter> SoxrFilter::make(const Timeline&, DWORD) { return nullptr; }
SoxrFilter::~SoxrFilter() = default;
void SoxrFilter::give(const double*, DWORD) {}
void SoxrFilter::take(double*, DWORD) {}

} // namespace qv::audio
