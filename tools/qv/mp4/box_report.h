// A tree of boxes on standard output.
#pragma once

#include "qv/mp4/box.h"

namespace qv::tool {

/// A line for each box: position, size, size of its header, type, fields. Long values are cut.
void print_boxes(fileutil::Boxes& boxes, unsigned levels);

/// The same as JSON, written as it is told, for there may be a million boxes: an array of objects. Tables are whole, of
/// bytes there are the first.
void print_boxes_json(fileutil::Boxes& boxes, unsigned levels);

} // namespace qv::tool
