// readMetaForUpdate() on any bytes.
// Sources: fileutil/reader fileutil/box fileutil/descriptor fileutil/id3
#include "fuzz/fileutil/read_tree.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::read_trees(data, size, &fileutil::BoxReader::readMetaForUpdate);
  return 0;
}
