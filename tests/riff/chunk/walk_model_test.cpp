// Searches and deletion on random files of each container, against a model that knows where every chunk was put.
#include "tests/riff/containers.h"

#include <random>
#include <vector>

using namespace riff_test;

namespace {

constexpr const char* kIds[] = {"fmt ", "data", "fact", "cue "};
constexpr const char* kTypes[] = {"INFO", "adtl", "wavl"};

template <class C>
constexpr bool kHasLists = !std::is_same_v<C, Iff>;

struct ModelChunk {
  Bytes name;
  Bytes type; ///< of a list
  Bytes data; ///< a list's sub-chunks
  Bytes bytes;
  size_t at = 0;

  bool is_list() const { return !type.empty(); }
};

template <class C>
class ModelFile {
public:
  explicit ModelFile(uint32_t seed) : random_(seed) {
    Bytes body;
    for (size_t left = random_() % 9; left > 0; --left) {
      chunks.push_back(make(2));
      chunks.back().at = kFirst<C> + body.size();
      body += chunks.back().bytes;
    }
    body_size = body.size();
    bytes = file_in<C>(body);
    // What a cut file says of itself stays.
    if (seed % 3 == 0) bytes.resize(kFirst<C> + random_() % (bytes.size() - kFirst<C> + 1));
  }

  /// What a search over the first chunks that match must return, and which chunk it finds.
  HRESULT find(const Bytes& wanted, bool as_list, const ModelChunk*& found) const {
    found = nullptr;
    for (const ModelChunk& each : chunks) {
      const bool typed = as_list && each.is_list();
      if (each.at + C::kHeader + (typed ? C::kType : 0) > bytes.size()) return QVERR_RIFF_READ;
      if (as_list ? typed && each.type == wanted : each.name == wanted) {
        found = &each;
        return S_OK;
      }
    }
    return QVERR_RIFF_NOTFOUND;
  }

  Bytes without(const ModelChunk& gone) const {
    const size_t end = std::min(gone.at + gone.bytes.size(), bytes.size());
    const Bytes kept = bytes.substr(kFirst<C>, gone.at - kFirst<C>) + bytes.substr(end);
    return file_header_in<C>(body_size - gone.bytes.size()) + kept;
  }

  size_t whole_headers() const {
    size_t count = 0;
    for (const ModelChunk& each : chunks)
      count += each.at + C::kHeader <= bytes.size();
    return count;
  }

  std::vector<ModelChunk> chunks;
  Bytes bytes;
  size_t body_size;

private:
  ModelChunk make(int depth) {
    ModelChunk made;
    if (kHasLists<C> && depth > 0 && random_() % 4 == 0) {
      if constexpr (kHasLists<C>) {
        made.name = C::kList;
        made.type = kTypes[random_() % 3];
        for (size_t left = random_() % 4; left > 0; --left)
          made.data += make(depth - 1).bytes;
        made.bytes = list_in<C>(made.type, made.data);
      }
      return made;
    }
    made.name = kIds[random_() % 4];
    // Sizes around the block that deletion moves, and mostly small ones, odd and even.
    const size_t size = random_() % 8 == 0 ? 4090 + random_() % 12 : random_() % 40;
    for (size_t k = 0; k < size; ++k)
      made.data += static_cast<char>(random_());
    made.bytes = chunk_in<C>(made.name, made.data);
    return made;
  }

  std::mt19937 random_;
};

template <class C>
void check_search(const ModelFile<C>& model, const Bytes& name, bool as_list) {
  SCOPED_TRACE(name + (as_list ? " list" : ""));
  const ScratchFile file(model.bytes);
  const typename C::Id id = id_of<C>(name);
  const ModelChunk* found = nullptr;
  const HRESULT expected = model.find(name, as_list, found);
  typename C::Count size = 77;
  typename C::Count left = 77;
  if constexpr (kHasLists<C>)
    if (as_list) ASSERT_EQ(C::find_list_from_start(file, C::argument(id), &size), expected);
  if (!as_list) ASSERT_EQ(C::find_from_start(file, C::argument(id), &size, &left), expected);
  if (!found) {
    EXPECT_EQ(size, 77u);
  } else {
    const size_t header = C::kHeader + (as_list ? C::kType : 0);
    EXPECT_EQ(size, found->data.size() + (found->is_list() && !as_list ? C::kType : 0));
    EXPECT_EQ(file.position(), static_cast<int64_t>(found->at + header));
    EXPECT_EQ(left, as_list ? 77 : kFirst<C> + model.body_size - found->at - header);
  }
  typename C::Count removed = 0;
  ASSERT_EQ(C::remove(file, C::argument(id), &removed, as_list ? 1 : 0), expected);
  EXPECT_EQ(file.contents() == (found ? model.without(*found) : model.bytes), true);
  EXPECT_EQ(removed, found ? found->bytes.size() : 0);
}

template <class C>
void check_entries(const ModelFile<C>& model) {
  const ScratchFile file(model.bytes);
  typename C::Count remaining = static_cast<typename C::Count>(model.body_size);
  DWORD count = 0;
  const size_t whole = model.whole_headers();
  ASSERT_EQ(C::seek_data_start(file), S_OK);
  EXPECT_EQ(C::count(file, &count, &remaining), whole == model.chunks.size() ? S_OK : QVERR_RIFF_READ);
  EXPECT_EQ(count, whole);
  EXPECT_EQ(file.position(), static_cast<int64_t>(kFirst<C>));
  for (size_t k = 0; k < whole; ++k) {
    ASSERT_EQ(C::seek_data_start(file), S_OK);
    ASSERT_EQ(C::seek_entry(file, static_cast<DWORD>(k), nullptr), S_OK);
    EXPECT_EQ(file.position(), static_cast<int64_t>(model.chunks[k].at));
  }
}

template <class C>
class WalkModel : public testing::Test {};
using AllContainers = testing::Types<Riff, Wave64, Iff>;
TYPED_TEST_SUITE(WalkModel, AllContainers);

TYPED_TEST(WalkModel, RandomFiles) {
  for (uint32_t seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    const ModelFile<TypeParam> model(seed);
    for (const char* id : kIds)
      check_search(model, id, false);
    if constexpr (kHasLists<TypeParam>) {
      check_search(model, TypeParam::kList, false);
      for (const char* type : kTypes)
        check_search(model, type, true);
      check_entries(model);
    }
  }
}

} // namespace
