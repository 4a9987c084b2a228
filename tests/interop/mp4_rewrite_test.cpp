// Other programs' files, read and written again by the library: not a byte of them changes.
#include "tests/interop/mp4_material.h"

#include "qv/mp4.h"

#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>

using namespace interop_test;
using namespace fileutil;

namespace {

using Write = uint64_t (*)(std::fstream& out, std::istream& source, Boxes* boxes);

uint64_t copy(std::fstream& out, std::istream& source, Boxes* boxes) { return BoxCopy(out, source, boxes, 0).doIt(); }
uint64_t write_over(std::fstream& out, std::istream& /*source*/, Boxes* boxes) {
  return BoxWriter(out, boxes, 0).doIt();
}

/// What a file holds that began as `before` when its boxes, read as `bytes` are, have been planned and written into it.
std::string written(const std::string& bytes, Boxes* (BoxReader::*read)(), Write write, const std::string& before) {
  const ScratchFolder folder;
  std::istringstream in(bytes);
  BoxReader reader(in, bytes.size());
  const std::unique_ptr<Boxes> boxes((reader.*read)());
  PrepareWrite(boxes.get()).doIt();
  const std::string name = folder.put("out.mp4", before);
  std::fstream out(name, std::ios::in | std::ios::out | std::ios::binary);
  std::istringstream source(bytes);
  EXPECT_EQ(write(out, source, boxes.get()), bytes.size());
  EXPECT_TRUE(out.good());
  out.close();
  return cli_test::read_file(name);
}

TEST(Mp4, StaysTheSameWhenItIsWrittenAgain) {
  for (const Mp4Recipe& recipe : kMp4Recipes) {
    SCOPED_TRACE(recipe.name);
    const ScratchFolder folder;
    const std::string bytes = cli_test::read_file(make_mp4(folder, recipe));
    for (const auto read : {&BoxReader::readFile, &BoxReader::readMeta, &BoxReader::readMetaForUpdate}) {
      EXPECT_TRUE(written(bytes, read, copy, "") == bytes);
      EXPECT_TRUE(written(bytes, read, write_over, bytes) == bytes);
    }
  }
}

} // namespace
