// Changing a title, against mutagen and TagLib doing the same, and against copying the file and copying it back.
#include "bench/fileutil/groups.h"
#include "bench/fileutil/song.h"
#include "bench/ratios.h"

#include "qv/mp4.h"

#include <cstdlib>
#include <fstream>
#include <memory>
#include <sys/stat.h>

#if defined(QV_BENCH_taglib)
#include <mp4file.h>
#include <mp4tag.h>
#endif

namespace bench {
namespace {

using std::filesystem::path;

constexpr uint64_t kSongBytes = 205000000;
constexpr size_t kTitle = 400; // longer than the one that is there

HRESULT change_title(fileutil::Boxes* tree) {
  fileutil::Boxes* list = tree;
  for (const fileutil::FourCC type :
       {QvFourCC("moov"), QvFourCC("udta"), QvFourCC("meta"), QvFourCC("ilst"), QvFourCC("\251nam")})
    list = &dynamic_cast<fileutil::IContainerBox&>(*list->find(type)).children();
  dynamic_cast<fileutil::IDataBox&>(*list->front()).value.assign(kTitle, 'n');
  return S_OK;
}

void update(const path& file) {
  if (fileutil::updateFile(file.string<WCHAR>().c_str(), change_title, {.flushCopy = false}) != S_OK) std::abort();
}

/// mutagen in a process of its own, which opens a file and saves it with another title for each line that it is sent.
/// What is measured is that, and a word through a pipe each way: loading the interpreter is not.
class Mutagen {
public:
  explicit Mutagen(const ScratchFolder& folder) {
    const path script = folder.file("saving.py");
    std::ofstream(script) << "import sys, mutagen.mp4\n"
                             "mutagen.mp4.MP4Info._parse_stsd = lambda *unused: None\n" // our songs have no codec
                             "print('ready', flush=True)\n"
                             "for line in sys.stdin:\n"
                             "    song = mutagen.mp4.MP4(line.strip())\n"
                             "    song['\\xa9nam'] = 'n' * "
                          << kTitle << "\n    song.save()\n    print('done', flush=True)\n";
    const std::string in = folder.file("in").string();
    const std::string out = folder.file("out").string();
    if (mkfifo(in.c_str(), 0600) != 0 || mkfifo(out.c_str(), 0600) != 0) return;
    const std::string command = "/usr/bin/python3 " + script.string() + " <" + in + " >" + out + " 2>/dev/null &";
    if (std::system(command.c_str()) != 0) return;
    to_.open(in);
    from_.open(out);
    is_there_ = is_answered("ready");
  }

  bool is_there() const { return is_there_; }
  void save(const path& file) {
    to_ << file.string() << std::endl;
    if (!is_answered("done")) std::abort();
  }

private:
  bool is_answered(const std::string& expected) {
    std::string answer;
    return std::getline(from_, answer) && answer == expected;
  }

  std::ofstream to_;
  std::ifstream from_;
  bool is_there_ = false;
};

void add_absorbed(const ScratchFolder& folder) {
  const path file = folder.file("absorbed.m4a");
  Group group{"update: 205 MB, absorbed", [=] { update(file); }, {}};
  group.prepare = [=] { write_song(file, kSongBytes, true); };
  const auto mutagen = std::make_shared<Mutagen>(folder);
  if (mutagen->is_there()) group.others.push_back({"mutagen", [=] { mutagen->save(file); }, 300.0});
  add(std::move(group));
}

/// Twice, as the update does: to another name, and over the file.
void copy_and_back(const path& file) {
  const path copy = file.string() + ".copy";
  std::filesystem::copy_file(file, copy, std::filesystem::copy_options::overwrite_existing);
  std::filesystem::copy_file(copy, file, std::filesystem::copy_options::overwrite_existing);
  std::filesystem::remove(copy);
}

std::string full(const std::string& type, const std::string& payload) {
  return mp4_box(type, std::string(4, '\0') + payload);
}

/// A song whose "free" box cannot take the title, of bytes that are there: no holes.
void write_solid_song(const path& file) {
  const std::string item = mp4_box("\251nam", mp4_box("data", std::string("\0\0\0\1\0\0\0\0title", 13)));
  const std::string items = full("meta", mp4_box("ilst", item));
  std::ofstream out(file, std::ios::binary);
  out << mp4_file_type() << mp4_box("moov", mp4_box("udta", items)) << big_endian(kSongBytes + 8, 4) << "mdat";
  const std::string block(1000000, 'm');
  for (uint64_t left = kSongBytes; left > 0; left -= block.size())
    out << block;
}

void add_copied(const ScratchFolder& folder) {
  const path file = folder.file("copied.m4a");
  Group group{"update: 205 MB, copied", [=] { update(file); }, {}};
  group.prepare = [=] { write_solid_song(file); };
  group.others.push_back({"copying and back", [=] { copy_and_back(file); }, 1 / 1.4});
  add(std::move(group));
}

/// A million chunks of one sample each.
void write_many_chunks(const path& file, bool movie_first) {
  constexpr uint32_t kChunks = 1000000;
  constexpr uint32_t kBytes = 2;
  const std::string type = mp4_file_type();
  const auto movie = [](uint64_t media) {
    std::string offsets = big_endian(kChunks, 4);
    for (uint32_t k = 0; k < kChunks; ++k)
      offsets += big_endian(media + k * kBytes, 4);
    const std::string table = full("stsz", big_endian(kBytes, 4) + big_endian(kChunks, 4)) +
                              full("stsc", big_endian(1, 4) + big_endian(1, 4) + big_endian(1, 4) + big_endian(1, 4)) +
                              full("stco", offsets);
    const std::string handler = full("hdlr", std::string(4, '\0') + "soun" + std::string(13, '\0'));
    const std::string track = mp4_box("trak", mp4_box("mdia", handler + mp4_box("minf", mp4_box("stbl", table))));
    const std::string item = mp4_box("\251nam", mp4_box("data", std::string("\0\0\0\1\0\0\0\0title", 13)));
    const std::string items = std::string(4, '\0') + "mdirappl" + std::string(9, '\0');
    return mp4_box("moov", track + mp4_box("udta", full("meta", full("hdlr", items) + mp4_box("ilst", item))));
  };
  const uint64_t length = movie(0).size();
  const std::string media = mp4_box("mdat", std::string(uint64_t{kChunks} * kBytes, 'm'));
  const std::string tables = movie(type.size() + 8 + (movie_first ? length : 0));
  std::ofstream(file, std::ios::binary) << type << (movie_first ? tables + media : media + tables);
}

void add_many_chunks(const ScratchFolder& folder, bool movie_first) {
  const path original = folder.file(movie_first ? "first.m4a" : "last.m4a");
  write_many_chunks(original, movie_first);
  const path file = folder.file(movie_first ? "chunks first.m4a" : "chunks last.m4a");
  Group group{
      std::string("update: 1,000,000 chunks, moov ") + (movie_first ? "first" : "last"), [=] { update(file); }, {}};
  group.prepare = [=] {
    std::filesystem::copy_file(original, file, std::filesystem::copy_options::overwrite_existing);
  };
#if defined(QV_BENCH_taglib)
  group.others.push_back({"TagLib",
                          [=] {
                            TagLib::MP4::File song(file.c_str(), false);
                            song.tag()->setTitle(TagLib::String(std::string(kTitle, 'n')));
                            if (!song.save()) std::abort();
                          },
                          movie_first ? 12.0 : 0.0});
#endif
  add(std::move(group));
}

} // namespace

void add_updates(const ScratchFolder& folder) {
  add_absorbed(folder);
  add_copied(folder);
  add_many_chunks(folder, true);
  add_many_chunks(folder, false);
}

} // namespace bench
