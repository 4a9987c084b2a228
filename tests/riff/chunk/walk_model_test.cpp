// Searches and deletion on random files, against a model that knows where every chunk was put.
#include "tests/riff/scratch_file.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

using namespace riff_test;

namespace {

constexpr const char* kIds[] = {"fmt ", "data", "fact", "cue ", "LIST"};
constexpr const char* kTypes[] = {"INFO", "adtl", "wavl"};

struct ModelChunk {
  Bytes id;
  Bytes type; ///< of a list
  Bytes data; ///< a list's sub-chunks
  size_t at = 0;

  bool is_list() const { return id == "LIST"; }
  size_t header_bytes() const { return is_list() ? 12 : 8; }
  Bytes bytes() const { return is_list() ? list(type, data) : chunk(id, data); }
};

class ModelFile {
public:
  ModelFile(std::mt19937& random, size_t count) {
    Bytes body;
    for (size_t k = 0; k < count; ++k) {
      ModelChunk made = make(random, 2);
      made.at = 12 + body.size();
      body += made.bytes();
      chunks.push_back(made);
    }
    bytes = riff("WAVE", body);
  }

  /// Cuts the file: what it says of itself stays.
  void truncate(size_t length) { bytes.resize(length); }

  /// What a search over the first chunks that match must answer, and which chunk it finds.
  HRESULT find(const Bytes& wanted, bool as_list, const ModelChunk*& found) const {
    found = nullptr;
    for (const ModelChunk& each : chunks) {
      const bool typed = as_list && each.is_list();
      if (each.at + (typed ? 12 : 8) > bytes.size()) return QVERR_RIFF_READ;
      if (as_list ? typed && each.type == wanted : each.id == wanted) {
        found = &each;
        return S_OK;
      }
    }
    return QVERR_RIFF_NOTFOUND;
  }

  Bytes without(const ModelChunk& gone) const {
    const size_t end = std::min(gone.at + gone.bytes().size(), bytes.size());
    Bytes rest = bytes.substr(0, gone.at) + bytes.substr(end);
    const size_t length = gone.bytes().size();
    return rest.replace(4, 4, u32(u32_at(bytes, 4) - static_cast<uint32_t>(length)));
  }

  std::vector<ModelChunk> chunks;
  Bytes bytes;

private:
  static ModelChunk make(std::mt19937& random, int depth) {
    ModelChunk made;
    made.id = kIds[random() % (depth > 0 ? 5 : 4)];
    if (made.is_list()) {
      made.type = kTypes[random() % 3];
      for (size_t k = random() % 4; k > 0; --k)
        made.data += make(random, depth - 1).bytes();
      return made;
    }
    // Sizes around the block that deletion moves, and mostly small ones, odd and even.
    const size_t size = random() % 8 == 0 ? 4090 + random() % 12 : random() % 40;
    for (size_t k = 0; k < size; ++k)
      made.data += static_cast<char>(random());
    return made;
  }
};

void check_chunk_search(const ScratchFile& file, const ModelFile& model, const Bytes& id) {
  const ModelChunk* found = nullptr;
  const HRESULT result = model.find(id, false, found);
  DWORD size = 0;
  DWORD left = 0;
  ASSERT_EQ(riff_FindChunkHeaderInRIFF(file, u32_at(id, 0), &size, &left), result) << id;
  if (!found) return;
  EXPECT_EQ(size, found->data.size() + (found->is_list() ? 4 : 0));
  EXPECT_EQ(file.position(), static_cast<int64_t>(found->at + 8));
  EXPECT_EQ(left, u32_at(model.bytes, 4) + 8 - (found->at + 8));
}

void check_list_search(const ScratchFile& file, const ModelFile& model, const Bytes& type) {
  const ModelChunk* found = nullptr;
  const HRESULT result = model.find(type, true, found);
  DWORD size = 0;
  ASSERT_EQ(riff_FindListChunkFromStart(file, u32_at(type, 0), &size), result) << type;
  if (!found) return;
  EXPECT_EQ(size, found->data.size());
  EXPECT_EQ(file.position(), static_cast<int64_t>(found->at + 12));
}

void check_entries(const ScratchFile& file, const ModelFile& model) {
  if (model.bytes.size() < 12) return;
  DWORD remaining = u32_at(model.bytes, 4) - 4;
  DWORD count = 0;
  size_t whole_headers = 0;
  for (const ModelChunk& each : model.chunks)
    whole_headers += each.at + 8 <= model.bytes.size();
  ASSERT_EQ(riff_SeekDataStart(file), S_OK);
  EXPECT_EQ(riff_GetNumListEntries(file, &count, &remaining),
            whole_headers == model.chunks.size() ? S_OK : QVERR_RIFF_READ);
  EXPECT_EQ(count, whole_headers);
  for (size_t k = 0; k < whole_headers; ++k) {
    ASSERT_EQ(riff_SeekDataStart(file), S_OK);
    ASSERT_EQ(riff_SeekListEntry(file, static_cast<DWORD>(k), nullptr), S_OK);
    EXPECT_EQ(file.position(), static_cast<int64_t>(model.chunks[k].at));
  }
}

void check_deletion(const ModelFile& model, const Bytes& id, bool as_list) {
  const ScratchFile file(model.bytes);
  const ModelChunk* found = nullptr;
  const HRESULT result = model.find(id, as_list, found);
  DWORD removed = 0;
  ASSERT_EQ(riff_DeleteChunk(file, u32_at(id, 0), &removed, as_list ? 1 : 0), result) << id;
  const Bytes contents = file.contents();
  if (!found) {
    EXPECT_EQ(contents == model.bytes, true) << id;
  } else {
    EXPECT_EQ(contents == model.without(*found), true) << id;
    EXPECT_EQ(removed, found->bytes().size());
  }
}

TEST(WalkModel, RandomFiles) {
  for (uint32_t seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    ModelFile model(random, random() % 9);
    if (seed % 3 == 0) model.truncate(12 + random() % (model.bytes.size() - 11));
    {
      const ScratchFile file(model.bytes);
      for (const char* id : kIds)
        check_chunk_search(file, model, id);
      for (const char* type : kTypes)
        check_list_search(file, model, type);
      check_entries(file, model);
    }
    for (const char* id : kIds)
      check_deletion(model, id, false);
    for (const char* type : kTypes)
      check_deletion(model, type, true);
  }
}

} // namespace
