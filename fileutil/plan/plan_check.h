// The last net under a plan: what has to hold of any, found from the two files alone.
#pragma once

#include "fileutil/plan/byte_source.h"

namespace fileutil {

/// Looks at the old file and at the new one as the plan says it will be, knowing nothing of how the plan was made, and
/// without reading media:
///
/// - the segments lie within the old file, use each of its bytes once at most, add up to the new one, and keep their
///   places where the plan says so;
/// - every "mdat" and "moof" of the old file is in the new one, the media whole;
/// - the same positions are in the new file as in the old one, and each points to what it pointed to: the samples that
///   are found through the new tables are those of the old. Positions outside all boxes may stay what they are, where
///   every box stays where it is.
///
/// S_OK, QVERR_MP4_OFFSETS for the last point, QVERR_MP4_UNSAFE for the others.
QV_API HRESULT checkPlan(const UpdatePlan& plan, const ByteSource& old);

} // namespace fileutil
