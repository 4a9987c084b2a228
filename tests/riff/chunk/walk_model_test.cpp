// Searches, counts and deletion on random files of each container, against a model that knows where every chunk was
// put.
#include "tests/riff/containers.h"
#include "tests/riff/scratch_file.h"

#include <optional>
#include <random>
#include <vector>

using namespace riff_test;

namespace {

constexpr const char* kNames[] = {"fmt ", "data", "fact", "cue "};
constexpr const char* kTypes[] = {"INFO", "adtl", "wavl"};
constexpr uint64_t kUnbounded = ~uint64_t{0};

template <class C>
constexpr bool kHasLists = !std::is_same_v<C, Iff>;

struct ModelChunk {
  Bytes name;
  Bytes type;      ///< of a list that is large enough to have one
  Bytes data;      ///< a list's sub-chunks
  Bytes bytes;     ///< the whole of it
  size_t size = 0; ///< as its header says
  size_t at = 0;
};

/// What a search, a count or a skip from the first chunk on comes to.
struct Outcome {
  HRESULT result = S_OK;
  uint64_t left = 0; ///< of the bound
  size_t position = 0;
  const ModelChunk* found = nullptr;
  DWORD passed = 0;
};

template <class C>
class ModelFile {
public:
  explicit ModelFile(uint32_t seed, bool large = true) : random_(seed), large_(large) {
    Bytes body;
    for (size_t count = large ? random_() % 9 : 4; count > 0; --count) {
      chunks.push_back(make(2));
      chunks.back().at = kFirst<C> + body.size();
      body += chunks.back().bytes;
    }
    body_size = body.size();
    bytes = file_in<C>(body);
    // What a cut file says of itself stays.
    if (large && seed % 3 == 0) bytes.resize(kFirst<C> + random_() % (bytes.size() - kFirst<C> + 1));
  }

  /// Looks for a chunk, or a list of a type, within a bound; without `wanted` passes over `count` chunks.
  Outcome walk(uint64_t bound, const Bytes* wanted, bool as_list, DWORD count = 0xFFFFFFFF) const {
    Outcome out{S_OK, bound, kFirst<C>};
    const auto fits = [&](size_t more) {
      if (out.left < more)
        out.result = QVERR_RIFF_NOTFOUND;
      else if (out.position + more > bytes.size()) {
        out.result = QVERR_RIFF_READ;
        out.position = std::max(out.position, bytes.size()); // what is there is read
      } else
        pass(out, more);
      return out.result == S_OK;
    };
    for (size_t k = 0; out.passed < count; ++k, ++out.passed) {
      if (!fits(C::kHeader)) return out;
      const ModelChunk& each = chunks[k]; // where there is a header there is a chunk
      size_t rest = each.bytes.size() - C::kHeader;
      const bool typed = as_list && !each.type.empty();
      if (typed && !fits(C::kType)) return out;
      if (typed) rest -= C::kType;
      if (wanted && (as_list ? typed && each.type == *wanted : each.name == *wanted)) {
        out.found = &each;
        return out;
      }
      pass(out, rest);
    }
    return out;
  }

  Bytes without(const ModelChunk& gone) const {
    const size_t end = std::min(gone.at + gone.bytes.size(), bytes.size());
    const Bytes kept = bytes.substr(kFirst<C>, gone.at - kFirst<C>) + bytes.substr(end);
    return file_header_in<C>(body_size - gone.bytes.size()) + kept;
  }

  /// Bounds that end before and behind the parts of a header, in every chunk.
  std::vector<uint64_t> bounds() const {
    std::vector<uint64_t> all = {kUnbounded, body_size, body_size + C::kHeader - 1, body_size + C::kHeader};
    for (const ModelChunk& each : chunks)
      for (const size_t part : {size_t{0}, C::kHeader - size_t{1}, size_t{C::kHeader}, kFirst<C> - 1, kFirst<C>})
        all.push_back(each.at - kFirst<C> + part);
    return all;
  }

  std::vector<ModelChunk> chunks;
  Bytes bytes;
  size_t body_size;

private:
  static void pass(Outcome& out, size_t more) {
    out.position += more;
    if (out.left != kUnbounded) out.left -= std::min<uint64_t>(out.left, more);
  }

  ModelChunk make(int depth) {
    ModelChunk made;
    // Sizes around the block that deletion moves, and mostly small ones, odd and even.
    size_t size = large_ && random_() % 8 == 0 ? 4090 + random_() % 12 : random_() % 40;
    made.name = kNames[random_() % 4];
    if constexpr (kHasLists<C>) {
      const bool is_list = depth > 0 && random_() % 3 == 0;
      if (is_list) made.name = C::kList;
      if (is_list && random_() % 4 == 0)
        size = random_() % C::kType; // too small for a type
      else if (is_list) {
        made.type = kTypes[random_() % 3];
        for (size_t count = random_() % 4; count > 0; --count)
          made.data += make(depth - 1).bytes;
        made.bytes = list_in<C>(made.type, made.data);
        made.size = C::kType + made.data.size();
        return made;
      }
    }
    for (made.size = size; size > 0; --size)
      made.data += static_cast<char>(random_());
    made.bytes = chunk_in<C>(made.name, made.data);
    return made;
  }

  std::mt19937 random_;
  bool large_;
};

template <class C>
void check_search(const ModelFile<C>& model, const ScratchFile& file, const Bytes& name, bool as_list) {
  using Count = typename C::Count;
  const typename C::Id id = id_of<C>(name);
  for (const uint64_t bound : model.bounds()) {
    SCOPED_TRACE(testing::Message() << name << (as_list ? " list" : "") << " within " << bound);
    const Outcome expected = model.walk(bound, &name, as_list);
    Count left = static_cast<Count>(bound);
    Count size = 77;
    auto search = C::find;
    if constexpr (kHasLists<C>)
      if (as_list) search = C::find_list;
    file.move_to(kFirst<C>);
    ASSERT_EQ(search(file, C::argument(id), &size, bound == kUnbounded ? nullptr : &left), expected.result);
    EXPECT_EQ(size, expected.found ? expected.found->size - (as_list ? C::kType : 0) : 77);
    EXPECT_EQ(file.position(), static_cast<int64_t>(expected.position));
    EXPECT_EQ(left, static_cast<Count>(expected.left));
  }
  // From the file's start, wherever the position is.
  const Outcome expected = model.walk(model.body_size, &name, as_list);
  Count size = 77;
  Count left = static_cast<Count>(expected.left);
  if constexpr (kHasLists<C>)
    if (as_list) ASSERT_EQ(C::find_list_from_start(file, C::argument(id), &size), expected.result);
  if (!as_list) ASSERT_EQ(C::find_from_start(file, C::argument(id), &size, &left), expected.result);
  EXPECT_EQ(size, expected.found ? expected.found->size - (as_list ? C::kType : 0) : 77);
  EXPECT_EQ(left, !as_list && expected.result == QVERR_RIFF_READ ? model.body_size : expected.left);
  if (expected.found) EXPECT_EQ(file.position(), static_cast<int64_t>(expected.position));
}

template <class C>
void check_deletion(const ModelFile<C>& model, const Bytes& name, bool as_list) {
  SCOPED_TRACE(name + (as_list ? " list" : ""));
  const ScratchFile file(model.bytes);
  const typename C::Id id = id_of<C>(name);
  const Outcome expected = model.walk(model.body_size, &name, as_list);
  const ModelChunk* gone = expected.found;
  typename C::Count removed = 77;
  ASSERT_EQ(C::remove(file, C::argument(id), &removed, as_list ? 1 : 0), expected.result);
  EXPECT_EQ(file.contents() == (gone ? model.without(*gone) : model.bytes), true);
  EXPECT_EQ(removed, gone ? gone->bytes.size() : 77);
}

template <class C>
void check_entries(const ModelFile<C>& model, const ScratchFile& file) {
  using Count = typename C::Count;
  for (const uint64_t bound : model.bounds()) {
    SCOPED_TRACE(bound);
    const Outcome all = model.walk(bound, nullptr, false);
    Count left = static_cast<Count>(bound);
    Count* const remaining = bound == kUnbounded ? nullptr : &left;
    DWORD count = 77;
    ASSERT_EQ(C::seek_data_start(file), S_OK);
    EXPECT_EQ(C::count(file, &count, remaining), all.result == QVERR_RIFF_READ ? QVERR_RIFF_READ : S_OK);
    EXPECT_EQ(count, all.passed);
    EXPECT_EQ(file.position(), static_cast<int64_t>(kFirst<C>));
    EXPECT_EQ(left, static_cast<Count>(bound));
    for (const DWORD index : {DWORD{0}, all.passed / 2, all.passed, all.passed + 1, DWORD{0xFFFFFFFF}}) {
      const Outcome sought = model.walk(bound, nullptr, false, index);
      left = static_cast<Count>(bound);
      file.move_to(kFirst<C>);
      EXPECT_EQ(C::seek_entry(file, index, remaining), sought.result) << index;
      EXPECT_EQ(file.position(), static_cast<int64_t>(sought.position));
      EXPECT_EQ(left, static_cast<Count>(sought.left));
    }
  }
}

template <class C>
void check_all(const ModelFile<C>& model) {
  const ScratchFile file(model.bytes);
  for (const char* name : kNames) {
    check_search(model, file, name, false);
    check_deletion(model, name, false);
  }
  if constexpr (kHasLists<C>) {
    for (const char* type : {C::kList, kTypes[0], kTypes[1], kTypes[2]}) {
      check_search(model, file, type, type != C::kList);
      check_deletion(model, type, type != C::kList);
    }
    check_entries(model, file);
  }
}

template <class C>
class WalkModel : public testing::Test {};
using AllContainers = testing::Types<Riff, Wave64, Iff>;
TYPED_TEST_SUITE(WalkModel, AllContainers);

TYPED_TEST(WalkModel, RandomFiles) {
  for (uint32_t seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    check_all(ModelFile<TypeParam>(seed));
  }
}

TYPED_TEST(WalkModel, OneFileCutAfterEachByte) {
  ModelFile<TypeParam> model(7, false);
  for (; model.bytes.size() > kFirst<TypeParam>; model.bytes.pop_back()) {
    SCOPED_TRACE(model.bytes.size());
    check_all(model);
  }
}

} // namespace
