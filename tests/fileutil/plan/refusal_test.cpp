// Files and changes that no update is planned for, and the result that each gives.
#include "tests/fileutil/plan/planned.h"

#include <stdexcept>

using namespace fileutil_test;

namespace {

std::string movieOf(const std::string& inTable, const std::string& title = "title") {
  Movie movie{.title = title};
  movie.inTable = inTable;
  return movie.make();
}

HRESULT resultOf(const std::string& file, const TreeChange& change, const UpdateOptions& options = {}) {
  const Outcome outcome = update(file, change, options);
  EXPECT_EQ(outcome.result == S_OK, !outcome.plan.segments.empty()) << "no plan without success";
  return outcome.result;
}

HRESULT nothing(Boxes* /*tree*/) { return S_OK; }

/// Boxes of a type in each other, all in "moov".
std::string nested(const std::string& type, int depth) {
  std::string bytes;
  for (int level = 0; level < depth; ++level)
    bytes = box(type, bytes);
  return box("moov", bytes);
}

TEST(Refusal, FilesThatAreNotReadWhole) {
  const std::string head = box("ftyp", "M4A isom");
  const std::string movie = Movie().make().substr(head.size());
  const std::string table = box("stbl", "");
  const auto inTrack = [&](const std::string& level) { return head + box("moov", box("trak", level)); };
  const struct {
    const char* what;
    std::string file;
    HRESULT result;
  } rows[] = {
      {"an empty file", "", QVERR_MP4_UNSAFE},
      {"a wave file", "RIFF" + std::string("\x24\0\0\0", 4) + "WAVEfmt " + std::string(40, '\0'), QVERR_MP4_UNSAFE},
      {"a type alone", head, QVERR_MP4_UNSAFE},
      {"media alone", head + box("mdat", "media"), QVERR_MP4_UNSAFE},
      {"a movie behind what cannot be read", head + be32(4) + "what" + movie, QVERR_MP4_UNSAFE},
      {"a movie alone", box("moov"), S_OK},
      {"metadata alone", head + full("meta"), S_OK},
      {"fewer chunk offsets than counted", movieOf(full("stco", be32(2) + be32(0))), QVERR_MP4_UNSAFE},
      {"more chunk offsets than counted", movieOf(full("co64", be32(1) + be64(0) + be64(0))), QVERR_MP4_UNSAFE},
      {"no count of chunk offsets", movieOf(full("stco")), QVERR_MP4_UNSAFE},
      {"a box of 7 bytes in a movie", head + box("moov", lying("trak", 7) + table), QVERR_MP4_UNSAFE},
      {"a size of 0 in a track", inTrack(lying("free", 0) + box("mdia")), QVERR_MP4_UNSAFE},
      {"bytes behind a sample table", inTrack(box("mdia", box("minf", box("stbl", lying("what", 7))))),
       QVERR_MP4_UNSAFE},
      {"zeros behind a track", head + box("moov", box("trak", std::string(40, '\0'))), S_OK},
      {"up to 7 bytes behind a track", head + box("moov", box("trak", "sevenby")), S_OK},
      {"bytes behind user data", head + box("moov", box("udta", lying("what", 7) + "ever")), S_OK},
      {"a movie cut short", head + lying("moov", 60, box("trak")), QVERR_MP4_UNSAFE},
      {"a track cut short", head + box("moov", lying("trak", 60, box("free"))), QVERR_MP4_UNSAFE},
      {"user data cut short", head + box("moov", lying("udta", 60, box("free"))), S_OK},
      {"tracks in tracks, deeper than is read", nested("trak", 40), QVERR_MP4_UNSAFE},
      {"the same of user data", nested("udta", 40), S_OK},
  };
  for (const auto& row : rows)
    EXPECT_EQ(resultOf(row.file, nothing), row.result) << row.what;
}

/// As many boxes as a list holds, and one more.
TEST(Refusal, ListsThatAreFull) {
  std::string many;
  for (size_t count = 0; count <= Boxes::kMaxLength; ++count)
    many += box("wide");
  EXPECT_EQ(resultOf(box("moov") + many, nothing), QVERR_MP4_UNSAFE);
  EXPECT_EQ(resultOf(box("moov", many), nothing), QVERR_MP4_UNSAFE);
}

TEST(Refusal, MediaThatMustMoveWithOffsetsThatCannot) {
  const auto with = [](const std::string& inTrack, const std::string& behindMedia = "") {
    return Movie{.behindMedia = behindMedia, .inTrack = inTrack};
  };
  const auto extent = [](unsigned sizes, const std::string& item) {
    return full("meta", full("iloc", be16(sizes) + be16(1) + be16(1) + item));
  };
  const std::string references = full("url ") + box("url ", be32(1));
  const Movie rows[] = {
      with(box("cmov", box("dcom", "zlib"))),
      with(box("uuid", std::string(16, 'c') + box("CTBO", be32(1)))),
      with(box("what", full("co64", be32(0)))),
      with(box("mdia", box("minf", box("dinf", full("dref", be32(2) + references))))), // media here and elsewhere
      with(full("saio", be32(2) + be32(0))),                                           // cut short
      with("", box("moof", box("traf", box("tfhd", be32(1) + be32(1) + be64(1 << 30))))),
      with("", box("mfra", full("tfra", be32(1) + be32(0) + be32(1) + be32(0) + be32(1 << 30) + "123"))),
      with("", box("mfra", full("tfra", be32(1) + be32(0) + be32(9) + be32(0)))),
      with("", extent(0x4400, be16(0) + be16(1) + be32(1 << 30) + be32(1))), // nowhere
      with("", extent(0x4400, be16(1) + be16(1) + be32(16) + be32(1))),      // of another file's list
      with("", extent(0x0400, be16(0) + be16(1) + be32(4))),                 // the whole file, without a number
      with("", extent(0x4400, be16(0) + be16(2) + be32(16) + be32(4))),      // cut short
  };
  for (const Movie& movie : rows) {
    SCOPED_TRACE(&movie - rows);
    Movie roomy = movie;
    roomy.room = 100;
    const bool isExtentAtStart = &movie == &rows[10]; // the whole file begins where it did
    EXPECT_EQ(resultOf(movie.make(), grown(movie, 20)), isExtentAtStart ? S_OK : QVERR_MP4_OFFSETS);
    EXPECT_EQ(resultOf(roomy.make(), grown(roomy, 20)), S_OK) << "nothing moves";
  }
}

/// A source of which only the beginning and the tables are there.
class Sparse : public std::streambuf {
public:
  Sparse(std::string head, uint64_t length) : head_(std::move(head)), length_(length) {}

protected:
  pos_type seekoff(off_type offset, std::ios::seekdir from, std::ios::openmode which) override {
    const uint64_t base = from == std::ios::beg ? 0 : from == std::ios::cur ? position_ : length_;
    return seekpos(static_cast<off_type>(base) + offset, which);
  }
  pos_type seekpos(pos_type to, std::ios::openmode /*which*/) override {
    position_ = static_cast<uint64_t>(off_type(to));
    return to;
  }
  std::streamsize xsgetn(char* into, std::streamsize count) override {
    const uint64_t left = position_ < length_ ? length_ - position_ : 0;
    const auto got = std::min<uint64_t>(static_cast<uint64_t>(count), left);
    for (uint64_t k = 0; k < got; ++k)
      into[k] = position_ + k < head_.size() ? head_[position_ + k] : '\0';
    position_ += got;
    return static_cast<std::streamsize>(got);
  }
  int_type underflow() override { return position_ < head_.size() ? head_[position_] & 0xFF : traits_type::eof(); }
  int_type uflow() override {
    const int_type byte = underflow();
    ++position_;
    return byte;
  }

private:
  std::string head_;
  uint64_t length_;
  uint64_t position_ = 0;
};

HRESULT resultOfSparse(const Movie& movie, uint64_t mediaSize, UpdatePlan& plan) {
  std::string head = movie.make();
  head.resize(head.size() - Movie::payload().size());
  Sparse buffer(head, head.size() - 16 + mediaSize);
  std::istream in(&buffer);
  return planUpdate(in, head.size() - 16 + mediaSize, grown(movie, 50), {}, plan);
}

/// Media of 5 GB: its own header passes, wide offsets move, and 32 bits are enough up to their end.
TEST(Refusal, OffsetsThatNoLongerFit) {
  const uint64_t size = 5'000'000'000;
  const std::string header = be32(1) + "mdat" + be64(size);
  const auto withOffset = [&](uint64_t offset, int width) {
    Movie movie{.hasWideOffsets = true, .mediaHeader = header};
    movie.inMovie = box(
        "trak", box("mdia", box("minf", box("stbl", full(width == 4 ? "stco" : "co64", be32(1) + be(offset, width))))));
    return movie;
  };
  UpdatePlan plan;
  EXPECT_EQ(resultOfSparse(withOffset(0xFFFFFFFF - 50, 4), size, plan), S_OK);
  EXPECT_EQ(plan.newLength, plan.oldLength + 50);
  EXPECT_EQ(resultOfSparse(withOffset(0xFFFFFFFF - 49, 4), size, plan), QVERR_MP4_OFFSETS);
  EXPECT_EQ(resultOfSparse(withOffset(4'999'999'000, 8), size, plan), S_OK);
}

TEST(Refusal, ChangesThatCannotBeWritten) {
  const Movie movie;
  const Movie open{.mediaHeader = be32(0) + "mdat"};
  const auto table = [](Boxes* tree) {
    Boxes* list = tree;
    for (const FourCC type : {QvFourCC("moov"), QvFourCC("trak"), QvFourCC("mdia"), QvFourCC("minf"), QvFourCC("stbl")})
      list = &dynamic_cast<IContainerBox&>(*list->find(type)).children();
    return list;
  };
  const struct {
    const char* what;
    const Movie& movie;
    TreeChange change;
    HRESULT result;
  } rows[] = {
      {"a change that gives up", movie, [](Boxes*) { return QVERR_RIFF_NOTFOUND; }, QVERR_RIFF_NOTFOUND},
      {"one that says false", movie, [](Boxes*) { return S_FALSE; }, S_FALSE},
      {"one that throws", movie, [](Boxes*) -> HRESULT { throw std::logic_error(""); }, E_FAIL},
      {"one that has no memory", movie, [](Boxes*) -> HRESULT { throw std::bad_alloc(); }, E_OUTOFMEMORY},
      {"other chunk offsets", movie,
       [&](Boxes* tree) {
         dynamic_cast<ChunkOffsetBox&>(*table(tree)->find(QvFourCC("stco"))).offsets.front() += 1;
         return S_OK;
       },
       QVERR_MP4_UNSAFE},
      {"no chunk offsets", movie,
       [&](Boxes* tree) {
         table(tree)->erase(std::prev(table(tree)->end()));
         return S_OK;
       },
       QVERR_MP4_OFFSETS},
      {"media taken away", movie,
       [](Boxes* tree) {
         tree->erase(std::prev(tree->end()));
         return S_OK;
       },
       QVERR_MP4_UNSAFE},
      {"a new box of unknown kind", movie,
       [](Boxes* tree) {
         tree->push_front(new UnknownBox);
         return S_OK;
       },
       QVERR_MP4_UNSAFE},
      {"a new box that nothing writes", movie,
       [](Boxes* tree) {
         tree->push_back(new MetaDataBox);
         return S_OK;
       },
       QVERR_MP4_UNSAFE},
      {"a box behind media without end", open,
       [](Boxes* tree) {
         tree->push_back(new UserDataBox);
         return S_OK;
       },
       QVERR_MP4_UNSAFE},
      {"the same behind media of some size", movie,
       [](Boxes* tree) {
         tree->push_back(new UserDataBox);
         return S_OK;
       },
       S_OK},
  };
  for (const auto& row : rows)
    EXPECT_EQ(resultOf(row.movie.make(), row.change), row.result) << row.what;
}

/// What is put behind a box that claims more than it has would be read as a part of it.
TEST(Refusal, AdditionsBehindABoxThatIsCutShort) {
  const auto addition = [](Boxes* tree) {
    childOf(childOf(*tree, "moov")->children(), "udta")->children().push_back(new FreeBox);
    return S_OK;
  };
  const auto make = [](uint64_t size) { return box("moov", box("udta", lying("what", size, "four"))); };
  EXPECT_EQ(resultOf(make(12), addition), S_OK);
  EXPECT_EQ(resultOf(make(13), addition), QVERR_MP4_UNSAFE);
}

TEST(Refusal, SourcesThatEndEarlyOrFail) {
  const Movie movie;
  const std::string file = movie.make();
  for (size_t length = 0; length < file.size(); ++length) {
    std::istringstream in(file.substr(0, length));
    UpdatePlan plan;
    const HRESULT result = planUpdate(in, file.size(), grown(movie, 30), {}, plan);
    EXPECT_TRUE(result == QVERR_RIFF_READ || result == QVERR_MP4_UNSAFE) << length << ": " << result;
    EXPECT_TRUE(plan.segments.empty());
  }
}

} // namespace
