// Reading metadata, against TagLib's reading of the same without audio properties, and against opening the file and
// reading the same bytes.
#include "bench/fileutil/groups.h"
#include "bench/fileutil/song.h"
#include "bench/ratios.h"

#include "qv/mp4.h"

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

#if defined(QV_BENCH_taglib)
#include <mp4file.h>
#include <mp4tag.h>
#endif

namespace bench {
namespace {

constexpr uint64_t kItems = 8;

/// Finds the items, as a caller would.
class ItemCount : public fileutil::BoxVisitor {
public:
  uint64_t count = 0;

protected:
  void visitData(fileutil::IDataBox* box) override { count += box->value.empty() ? 0 : 1; }
};

void read_metadata(const qv::WString& path) {
  fileutil::BoxReader reader(path.c_str());
  const std::unique_ptr<fileutil::Boxes> boxes(reader.readMeta());
  ItemCount items;
  for (fileutil::IBox* box : *boxes)
    box->accept(&items);
  if (items.count != kItems) std::abort();
}

/// What the reading above asks of the system.
void bare_calls(const std::string& path, const std::vector<uint64_t>& reads) {
  char buffer[4096];
  struct stat status;
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0 || fstat(file, &status) != 0) std::abort();
  for (const uint64_t at : reads)
    if (pread(file, buffer, sizeof buffer, static_cast<off_t>(at)) <= 0) std::abort();
  keep(buffer);
  close(file);
}

/// The allocator sorts freed blocks when it is next asked for a large one: each contender begins behind that, and is
/// not charged for what the other has freed.
void settle_allocator() { std::free(std::malloc(size_t{1} << 16)); }

void add_read(const std::string& name, const std::filesystem::path& path, const std::vector<uint64_t>& reads,
              double least) {
  Group group{"read: " + name, [text = path.string<WCHAR>()] { read_metadata(text); }, {}};
#if defined(QV_BENCH_taglib)
  group.others.push_back({"TagLib",
                          [text = path.string()] {
                            TagLib::MP4::File file(text.c_str(), false);
                            if (file.tag()->itemMap().size() != kItems) std::abort();
                          },
                          least});
#endif
  if (!reads.empty())
    group.others.push_back({"bare system calls", [text = path.string(), reads] { bare_calls(text, reads); }});
  if (reads.empty()) group.prepare = settle_allocator; // long runs, which the call does not weigh in
  add(std::move(group));
}

void add_song(const ScratchFolder& folder, const std::string& name, uint64_t bytes, bool movie_first) {
  const Song song = write_song(folder.file(name + ".m4a"), bytes, movie_first);
  std::vector<uint64_t> reads = {0, song.user_data};
  if (!movie_first) reads.insert(reads.begin() + 1, song.movie);
  add_read(name + (movie_first ? ", moov first" : ", moov last"), song.path, reads, 4.4);
}

/// 100,000 boxes that mean nothing, behind the movie.
std::filesystem::path many_boxes(const std::filesystem::path& path) {
  std::ofstream out(path, std::ios::binary);
  out << mp4_file_type() << mp4_movie(100, 600, 0);
  for (int k = 0; k < 100000; ++k)
    out << mp4_box("free", std::string(24, '\0'));
  return path;
}

/// A movie without samples, and 2000 fragments of a second.
std::filesystem::path fragments(const std::filesystem::path& path) {
  std::ofstream out(path, std::ios::binary);
  out << mp4_file_type() << mp4_movie(0, 600, 0);
  for (uint32_t k = 0; k < 2000; ++k) {
    const std::string header = mp4_box("mfhd", big_endian(k + 1, 8));
    const std::string run = mp4_box("trun", big_endian(0x201, 4) + big_endian(43, 4) + std::string(4 + 43 * 4, '\0'));
    const std::string track = mp4_box("traf", mp4_box("tfhd", big_endian(0x20000, 4) + big_endian(1, 4)) +
                                                  mp4_box("tfdt", std::string(8, '\0')) + run);
    out << mp4_box("moof", header + track) << mp4_box("mdat", std::string(43 * 300, '\0'));
  }
  return path;
}

} // namespace

void add_reads(const ScratchFolder& folder) {
  Mpeg4MetaStartUp(); // for the life of the program, as of an application
  add_song(folder, "3 MB", 3000000, false);
  add_song(folder, "3 MB first", 3000000, true);
  add_song(folder, "205 MB", 205000000, false);
  add_song(folder, "205 MB first", 205000000, true);
  add_read("100,000 boxes", many_boxes(folder.file("boxes.m4a")), {}, 11.0);
  add_read("2000 fragments", fragments(folder.file("fragments.m4a")), {}, 6.6);
}

} // namespace bench
