// What convert and filter keep of a file beside its audio, and what info says about it.
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"
#include "tests/cli/wave_bytes.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>

using namespace cli_test;

namespace {

Bytes big16(uint32_t value) { return {static_cast<char>(value >> 8), static_cast<char>(value)}; }
Bytes big32(uint32_t value) { return big16(value >> 16) + big16(value); }

/// The chunks of a RIFF or AIFF file by id, lists by type, and their order.
struct Chunks {
  std::map<std::string, Bytes> data;
  std::string order;
};

Chunks chunks_of(const std::string& path) {
  const Bytes file = read_file(path);
  Chunks chunks;
  for (size_t at = 12; at + 8 <= file.size();) {
    std::string id = file.substr(at, 4);
    Bytes size_bytes = file.substr(at + 4, 4);
    if (file.starts_with("FORM")) std::reverse(size_bytes.begin(), size_bytes.end());
    const uint32_t size = riff_test::u32_at(size_bytes, 0);
    if (id == "LIST") id = file.substr(at + 8, 4);
    chunks.data[id] = file.substr(at + 8, size);
    chunks.order += id + " ";
    at += 8 + size + size % 2;
  }
  return chunks;
}

Bytes point(uint32_t id, uint32_t frame, uint32_t block = 0) {
  return u32(id) + u32(frame) + "data" + u32(0) + u32(block) + u32(frame);
}
Bytes region(uint32_t id, uint32_t length) { return u32(id) + u32(length) + "rgn " + Bytes(8, '\1'); }
Bytes loop(uint32_t start, uint32_t end) { return u32(0) + u32(1) + u32(start) + u32(end) + u32(7) + u32(3); }
Bytes smpl(uint32_t period, const Bytes& loops, uint32_t count) {
  return u32(1) + u32(2) + u32(period) + u32(61) + u32(0x40000000) + u32(5) + u32(6) + u32(count) + u32(3) + loops +
         "own";
}
Bytes bext(uint64_t reference, bool has_loudness, const Bytes& history) {
  Bytes bytes = "A description";
  bytes.resize(338);
  bytes +=
      u32(static_cast<uint32_t>(reference)) + u32(static_cast<uint32_t>(reference >> 32)) + u16(2) + Bytes(64, 'u');
  for (int k = 0; k < 5; ++k)
    bytes += u16(has_loudness ? 100 : 0x7FFF);
  return bytes + Bytes(180, '\0') + history;
}
Bytes cart(uint32_t timer) { return Bytes(684, 'c') + "MRK " + u32(timer) + Bytes(7 * 8, '\0') + "rest"; }
Bytes marks(uint32_t first, uint32_t second) {
  return big16(2) + big16(1) + big32(first) + Bytes("\2ab\0", 4) + big16(7) + big32(second) + Bytes("\3one", 4);
}

constexpr uint64_t kReference = uint64_t{48000} * 36000 + 0x100000000;
const Bytes kHistory = "A=PCM,F=48000,W=16,M=mono,T=rec\r\n";

/// A chunk as it is, and as it becomes at half the rate; empty: it is gone.
struct Kept {
  const char* id;
  Bytes bytes;
  Bytes halved;
};

const Kept kWaveChunks[] = {
    {"bext", bext(kReference, true, kHistory),
     bext(kReference / 2, false, kHistory + "A=PCM,F=24000,W=16,M=mono,T=qv\r\n")},
    {"JUNK", "padding", ""},
    {"levl", "peaks", ""},
    {"cue ", u32(3) + point(4, 101, 9) + point(4, 9) + point(1, 4801) + "tail",
     u32(3) + point(4, 51) + point(4, 5) + point(1, 2401) + "tail"},
    // A region of 101 frames from 101 on; one of an id that no point has; one from 4801 to 4804, from 2401 to 2402.
    {"adtl",
     "adtl" + chunk("labl", u32(1) + Bytes("n\0", 2)) + chunk("ltxt", region(4, 101)) + chunk("ltxt", region(2, 9)) +
         chunk("note", u32(1) + "odd") + chunk("ltxt", region(1, 3) + "text"),
     "adtl" + chunk("labl", u32(1) + Bytes("n\0", 2)) + chunk("ltxt", region(4, 50)) + chunk("ltxt", region(2, 5)) +
         chunk("note", u32(1) + "odd") + chunk("ltxt", region(1, 1) + "text")},
    {"plst", u32(1) + u32(4) + u32(100) + u32(2), u32(1) + u32(4) + u32(50) + u32(2)},
    // The last frame of a loop is played: frames 1000 up to 2000 become 500 up to 1000.
    {"smpl", smpl(20833, loop(1000, 1999) + loop(0, 0), 2), smpl(41667, loop(500, 999) + loop(0, 0), 2)},
    {"inst", Bytes("\x3C\0\0\0\x7F\1\x7F", 7), Bytes("\x3C\0\0\0\x7F\1\x7F", 7)},
    {"acid", Bytes(24, 'a'), Bytes(24, 'a')},
    {"cart", cart(96001), cart(48001)},
    {"INFO", "INFO" + chunk("INAM", "Title") + header("ICMT", 99) + "cut",
     "INFO" + chunk("INAM", "Title") + header("ICMT", 99) + "cut"},
    {"iXML", "<BWFXML/>", "<BWFXML/>"},
    {"id3 ", "ID3", "ID3"},
    {"\xA9new", "odd", "odd"},
    {"MD5 ", Bytes(16, 'm'), ""},
    {"chna", "c", ""},
    {"axml", "x", ""},
    {"PEAK", Bytes(16, 'p'), ""},
};

TEST(Metadata, EveryChunkOfAWaveFileFollowsItsRule) {
  const ScratchFolder folder;
  Bytes before;
  Bytes behind;
  std::string order = "fmt ";
  for (const Kept& row : kWaveChunks) {
    Bytes& side = std::string(row.id) == "bext" || std::string(row.id) == "levl" ? before : behind;
    side +=
        std::string(row.id) == "adtl" || std::string(row.id) == "INFO"
            ? header("LIST", static_cast<uint32_t>(row.bytes.size())) + row.bytes + Bytes(row.bytes.size() & 1, '\0')
            : chunk(row.id, row.bytes);
  }
  const Bytes audio = chunk("fmt ", format_bytes({})) + before + chunk("data", Bytes(96000, '\0')) + behind;
  const std::string in = folder.put("in.wav", riff("WAVE", audio));
  const Outcome as_it_is = run_qv({"convert", in, folder.file("same.wav")});
  EXPECT_EQ(as_it_is.exit_code, 0);
  EXPECT_EQ(as_it_is.error, "");
  const Outcome by_wave64 = run_qv({"convert", in, folder.file("x.w64")});
  EXPECT_EQ(run_qv({"convert", folder.file("x.w64"), folder.file("back.wav")}).error, "") << by_wave64.error;
  const Outcome halved = run_qv({"convert", in, folder.file("half.wav"), "--rate", "24000"});
  EXPECT_EQ(halved.error, "qv: " + in +
                              ": warning: left out, because they are not true of the new audio: the loudness in "
                              "\"bext\", \"levl\", \"MD5 \", \"chna\", \"axml\"\n");
  EXPECT_EQ(run_qv({"filter", in, folder.file("filtered.wav"), "--type", "lowpass"}).exit_code, 0);
  Chunks same = chunks_of(folder.file("same.wav"));
  Chunks back = chunks_of(folder.file("back.wav"));
  Chunks half = chunks_of(folder.file("half.wav"));
  Chunks filtered = chunks_of(folder.file("filtered.wav"));
  for (const Kept& row : kWaveChunks) {
    SCOPED_TRACE(row.id);
    const bool is_made_anew = std::string(row.id) == "JUNK" || std::string(row.id) == "PEAK";
    EXPECT_EQ(same.data[row.id], is_made_anew ? "" : row.bytes);
    if (std::string(row.id) != "INFO") EXPECT_EQ(back.data[row.id], is_made_anew ? "" : row.bytes);
    EXPECT_EQ(testing::PrintToString(half.data[row.id]), testing::PrintToString(row.halved));
    EXPECT_EQ(filtered.data[row.id].empty(), row.halved.empty());
    if (row.bytes == row.halved) EXPECT_EQ(filtered.data[row.id], row.bytes);
  }
  EXPECT_EQ(same.order,
            "fmt  bext levl data cue  adtl plst smpl inst acid cart INFO iXML id3  \xA9new MD5  chna axml ");
}

TEST(Metadata, MoreBitsLeaveLoudnessTrueAndCheckSumsFalse) {
  const ScratchFolder folder;
  const std::string in =
      folder.put("in.wav", riff("WAVE", chunk("fmt ", format_bytes({1, 2, 48000, 16})) + kData +
                                            chunk("bext", bext(kReference, true, "")) + chunk("MD5 ", Bytes(16, 'm'))));
  EXPECT_EQ(run_qv({"convert", in, folder.file("out.wav"), "--type", "pcm24"}).error,
            "qv: " + in + ": warning: left out, because they are not true of the new audio: \"MD5 \"\n");
  EXPECT_EQ(chunks_of(folder.file("out.wav")).data["bext"],
            bext(kReference, true, "A=PCM,F=48000,W=24,M=stereo,T=qv\r\n"));
}

TEST(Metadata, WhatAiffSaysInChunksOfItsOwn) {
  const ScratchFolder folder;
  const auto swapped = [](const char* id, const Bytes& data) {
    return id + big32(static_cast<uint32_t>(data.size())) + data + Bytes(data.size() & 1, '\0');
  };
  const Bytes comm = big16(1) + big32(4) + big16(16) + Bytes("\x40\x0E\xBB\x80\0\0\0\0\0\0", 10);
  const Bytes inst = Bytes("\x3D\xF6\x0A\x64\1\x78\xFF\xFD", 8) + big16(2) + big16(1) + big16(7) + Bytes(6, '\0');
  const Bytes comments =
      big16(2) + big32(9) + big16(7) + big16(5) + "noted" + Bytes(1, '\0') + big32(9) + big16(0) + big16(4) + "free";
  const Bytes form = "AIFF" + swapped("COMM", comm) + swapped("NAME", "Gr\xC3\xBCn") + swapped("ANNO", "first") +
                     swapped("SSND", Bytes(16, '\0')) + swapped("MARK", marks(100, 301)) + swapped("INST", inst) +
                     swapped("COMT", comments) + swapped("ID3 ", "ID3") + swapped("APPL", "own");
  const std::string in = folder.put("in.aiff", swapped("FORM", form));
  EXPECT_EQ(run_qv({"convert", in, folder.file("half.aiff"), "--rate", "24000"}).error, "");
  Chunks half = chunks_of(folder.file("half.aiff"));
  EXPECT_EQ(half.data["MARK"], marks(50, 151));
  EXPECT_EQ(half.data["INST"], inst);
  EXPECT_EQ(half.data["APPL"], "own");
  const Outcome outcome = run_qv({"convert", in, folder.file("out.wav")});
  EXPECT_EQ(outcome.error, "qv: " + in + ": warning: left out, because a wave file has nothing like it: \"APPL\"\n");
  Chunks wave = chunks_of(folder.file("out.wav"));
  EXPECT_EQ(wave.data["cue "], u32(2) + point(1, 100) + point(7, 301));
  EXPECT_EQ(wave.data["adtl"], "adtl" + chunk("labl", u32(1) + Bytes("ab\0", 3)) +
                                   chunk("labl", u32(7) + Bytes("one\0", 4)) +
                                   chunk("note", u32(7) + Bytes("noted\0", 6)));
  // Ten cents below note 61 are 90 above note 60.
  EXPECT_EQ(wave.data["smpl"], u32(0) + u32(0) + u32(20833) + u32(60) + u32(3865470566) + u32(0) + u32(0) + u32(1) +
                                   u32(0) + u32(0) + u32(1) + u32(100) + u32(300) + u32(0) + u32(0));
  EXPECT_EQ(wave.data["inst"], Bytes("\x3D\xF6\xFD\x0A\x64\1\x78", 7));
  EXPECT_EQ(wave.data["INFO"], "INFO" + chunk("INAM", Bytes("Gr\xC3\xBCn\0", 6)) + chunk("ICMT", Bytes("first\0", 6)) +
                                   chunk("ICMT", Bytes("free\0", 5)));
  EXPECT_EQ(wave.data["CSET"], u16(65001) + Bytes(6, '\0'));
  EXPECT_EQ(wave.data["id3 "], "ID3");
}

TEST(Metadata, WhatAiffCannotSayIsNamed) {
  const ScratchFolder folder;
  const Bytes name(300, 'n');
  const std::string in = folder.put(
      "in.wav", riff("WAVE", chunk("fmt ", format_bytes({})) + kData + chunk("bext", bext(0, false, "")) +
                                 chunk("cue ", u32(1) + point(5, 2)) +
                                 list("adtl", chunk("labl", u32(5) + name) + chunk("ltxt", region(5, 1))) +
                                 chunk("smpl", smpl(20833, loop(0, 1), 1)) + list("INFO", chunk("IENG", "e"))));
  EXPECT_EQ(run_qv({"convert", in, folder.file("out.aiff")}).error,
            "qv: " + in +
                ": warning: left out, because AIFF has nothing like it: the text IENG, the lengths of regions, "
                "what is longer than 255 bytes of a marker's name, how often a loop is played, \"bext\"\n");
  EXPECT_EQ(chunks_of(folder.file("out.aiff")).data["MARK"],
            big16(3) + big16(3) + big32(2) + Bytes("\10end loop\0", 10) + big16(2) + big32(0) +
                Bytes("\10beg loop\0", 10) + big16(1) + big32(2) + "\xFF" + name.substr(0, 255));
  // Note 61, 25 cents above it, all keys and velocities, no gain; an alternating loop between marks 2 and 3.
  EXPECT_EQ(chunks_of(folder.file("out.aiff")).data["INST"],
            Bytes("\x3D\x19\0\x7F\1\x7F\0\0", 8) + big16(2) + big16(2) + big16(3) + Bytes(6, '\0'));
}

TEST(Metadata, RifxSaysItInBigEndianNumbers) {
  const auto swapped = [](const char* id, const Bytes& data) {
    return id + big32(static_cast<uint32_t>(data.size())) + data;
  };
  const Bytes format = big16(1) + big16(1) + big32(48000) + big32(96000) + big16(2) + big16(16);
  const Bytes labels = swapped("labl", big32(7) + "name") + swapped("ltxt", big32(7) + big32(100) + Bytes(12, '\0'));
  Bytes sampler;
  for (const uint32_t word : {0, 0, 20833, 61, 0, 0, 0, 1, 0, /* the loop */ 0, 1, 10, 19, 0, 2})
    sampler += big32(word);
  const Bytes body = "WAVE" + swapped("fmt ", format) + swapped("data", Bytes(4, '\0')) +
                     swapped("cue ", big32(1) + big32(7) + Bytes(16, '\0') + big32(1000)) +
                     swapped("LIST", "adtl" + labels) + swapped("smpl", sampler) + swapped("iXML", "text") +
                     swapped("acid", Bytes(24, 'a'));
  const ScratchFolder folder;
  const std::string in = folder.put("in.wav", swapped("RIFX", body));
  EXPECT_EQ(run_qv({"convert", in, folder.file("out.wav"), "--rate", "24000"}).error,
            "qv: " + in + ": warning: left out, because their numbers may be big-endian: \"acid\"\n");
  Chunks out = chunks_of(folder.file("out.wav"));
  EXPECT_EQ(out.data["cue "], u32(1) + point(7, 500));
  EXPECT_EQ(out.data["adtl"], "adtl" + chunk("labl", u32(7) + Bytes("name\0", 5)) +
                                  chunk("ltxt", u32(7) + u32(50) + "rgn " + Bytes(8, '\0')));
  EXPECT_EQ(out.data["smpl"].substr(36), u32(0) + u32(1) + u32(5) + u32(9) + u32(0) + u32(2));
  EXPECT_EQ(out.data["iXML"], "text");
}

TEST(Metadata, Wave64KeepsItsOwnNames) {
  const Bytes tail("\xF3\xAC\xD3\x11\x8C\xD1\0\xC0\x4F\x8E\xDB\x8A", 12);
  const auto named = [](const Bytes& guid, const Bytes& data) {
    const Bytes padding((8 - data.size() % 8) % 8, '\0');
    return guid + u32(static_cast<uint32_t>(data.size()) + 24) + u32(0) + data + padding;
  };
  const Bytes own = Bytes("\xAB\xF7\x62\x56\x39\x2D\xD2\x11\x86\xC7\0\xC0\x4F\x8E\xDB\x8A", 16);
  const Bytes body = named("fmt " + tail, format_bytes({})) + named(own, "marker!") +
                     named("abcd" + Bytes(12, 'x'), "own") + named("data" + tail, kSamples);
  const Bytes file = Bytes("riff\x2E\x91\xCF\x11\xA5\xD6\x28\xDB\x04\xC1\0\0", 16) +
                     u32(static_cast<uint32_t>(body.size()) + 40) + u32(0) + "wave" + tail + body;
  const ScratchFolder folder;
  const std::string in = folder.put("in.w64", file);
  qv_says({"convert", in, folder.file("same.w64")});
  EXPECT_EQ(read_file(folder.file("same.w64")) == file, true);
  const std::string error = run_qv({"convert", in, folder.file("out.wav")}).error;
  EXPECT_NE(error.find("left out, because they have Wave64's names alone"), std::string::npos) << error;
  EXPECT_EQ(chunks_of(folder.file("out.wav")).order, "fmt  abcd data ");
}

std::string field_texts(const nlohmann::json& json, const char* name, const char* text) {
  std::string all;
  for (const auto& item : json)
    all += item[name].get<std::string>() + "=" + item[text].get<std::string>() + ";";
  return all;
}

TEST(Metadata, InfoShowsFieldsOfIxmlAndId3) {
  const auto frame = [](const char* id, const Bytes& size, const Bytes& flags, const Bytes& content) {
    return id + size + flags + content;
  };
  const Bytes none(2, '\0');
  const struct {
    const char* id;
    Bytes bytes;
    const char* fields;
  } cases[] = {
      {"iXML",
       "<?xml version=\"1.0\"?><BWFXML><!-- <X>no</X> --><A x=\"1\">a&amp;b &#252;&#x1F600;&none;</A><L><T><N> "
       "l</N></T><T><N><![CDATA[<r>]]></N><E/></T></L></BWFXML>" +
           Bytes(3, '\0'),
       "A=a&b ü😀&none;;L/T/N=l;L/T/N=<r>;"},
      {"iXML", "<BWFXML><A>a</A><B>b</C></BWFXML>", "A=a;"},
      {"id3 ",
       Bytes("ID3\2\0\0\0\0\0\x27", 10) + frame("TT2", Bytes("\0\0\6", 3), "", Bytes("\1\xFF\xFE\xFC\0\0", 6)) +
           frame("PIC", Bytes("\0\0\3", 3), "", "abc") + frame("TP1", Bytes("\0\0\3", 3), "", Bytes("\0\xE9z", 3)) +
           Bytes(9, '\0'),
       "TT2=ü;PIC=;TP1=éz;"},
      {"id3 ",
       Bytes("ID3\3\0\x80\0\0\1\x0B", 10) + frame("COMM", big32(9), none, Bytes("\0engd\0tex", 9)) +
           frame("TIT2", big32(4), Bytes("\0\x80", 2), Bytes("\0abc", 4)) + frame("WOAR", big32(3), none, "a.b") +
           frame("TALB", big32(5), none, Bytes("\1\xFE\xFF\0\0A", 6)) + Bytes(82, '\0'),
       "COMM=d / tex;TIT2=;WOAR=a.b;TALB=A;"},
      {"id3 ",
       Bytes("ID3\4\0\0\0\0\0\x7F", 10) + frame("TPE1", Bytes("\0\0\0\7", 4), none, Bytes("\3a\0b\xC3\xA9\0", 7)) +
           frame("TIT2", Bytes("\0\0\0\7", 4), Bytes("\0\3", 2), Bytes("\0\0\0\3\0\xFF\0", 7)) +
           frame("TALB", Bytes("\0\0\0\5", 4), none, Bytes("\2\0A\0B", 5)) +
           frame("TCOM", Bytes("\0\0\1\0", 4), none, "cut"),
       "TPE1=a / bé;TIT2=ÿ;TALB=AB;TCOM=;"},
      // In front of the file's form.
      {"", Bytes("ID3\3\0\0\0\0\0\x0E", 10) + frame("TIT2", big32(4), none, Bytes("\0abc", 4)), "TIT2=abc;"},
  };
  for (const auto& row : cases) {
    const ScratchFolder folder;
    const Bytes form = chunk("fmt ", format_bytes({})) + kData;
    const std::string in = folder.put("in.wav", *row.id == '\0' ? row.bytes + riff("WAVE", form)
                                                                : riff("WAVE", form + chunk(row.id, row.bytes)));
    const auto info = nlohmann::json::parse(run_qv({"info", "--json", in}).out);
    EXPECT_EQ(*row.id == 'i' && row.id[1] == 'X' ? field_texts(info["ixml"], "field", "text")
                                                 : field_texts(info["id3"]["frames"], "id", "text"),
              row.fields);
  }
}

TEST(Metadata, TimecodeOfTheTimeReference) {
  const struct {
    const char* speed;
    uint64_t reference;
    const char* label;
    const char* rate;
  } cases[] = {{"", 48000 * 3600 + 47999, "01:00:00:24", "25"},
               {"<TIMECODE_RATE>24/1</TIMECODE_RATE>", 2000 * 25, "00:00:01:01", "24"},
               {"<TIMECODE_RATE>24000/1001</TIMECODE_RATE>", 2002 * 25, "00:00:01:01", "24000/1001"},
               // A minute of drop frame begins with frame 2: frame 1800 of 1601.6 samples each.
               {"<TIMECODE_RATE>30000/1001</TIMECODE_RATE><TIMECODE_FLAG>DF</TIMECODE_FLAG>", 2882880, "00:01:00;02",
                "30000/1001"},
               {"<TIMECODE_RATE>30000/1001</TIMECODE_RATE><TIMECODE_FLAG>NDF</TIMECODE_FLAG>", 2882880, "00:01:00:00",
                "30000/1001"},
               {"<TIMECODE_RATE>7/0</TIMECODE_RATE>", uint64_t{48000} * 86400 * 3 + 1920, "00:00:00:01", "25"}};
  for (const auto& row : cases) {
    const ScratchFolder folder;
    const Bytes ixml = "<BWFXML><SPEED>" + std::string(row.speed) + "</SPEED></BWFXML>";
    const std::string in =
        folder.put("in.wav", riff("WAVE", chunk("fmt ", format_bytes({})) + kData +
                                              chunk("bext", bext(row.reference, true, "")) + chunk("iXML", ixml)));
    const auto record = qv_json({"info", in})["bext"];
    EXPECT_EQ(record["timecode"], row.label) << row.speed;
    EXPECT_EQ(record["timecode_rate"], row.rate) << row.speed;
    EXPECT_EQ(record["time-reference"], row.reference);
  }
}

} // namespace
