// qv tag: the texts of a file, its broadcast chunk, and nothing else of it.
#include "tests/cli/process.h"
#include "tests/cli/scratch_folder.h"
#include "tests/cli/wave_bytes.h"
#include "tests/riff/wave64_bytes.h"

#include <gtest/gtest.h>

using namespace cli_test;
using namespace std::string_literals;
using riff_test::chunk64;
using riff_test::wave64;

namespace {

Bytes info_list(std::string_view body) { return chunk("LIST", "INFO" + Bytes(body)); }

/// A text with its terminator.
Bytes text(std::string_view id, std::string_view characters) { return chunk(id, Bytes(characters) + '\0'); }

/// A "CSET" chunk; the other fields are country, language and dialect.
Bytes cset(uint32_t page, const Bytes& others = Bytes(6, '\0')) { return chunk("CSET", u16(page) + others); }

Bytes label(std::string_view characters) { return chunk("labl", u32(1) + Bytes(characters) + '\0'); }

const Bytes kTitle = text("INAM", "title");
const Bytes kPlain = kFormat + kData;
const Bytes kCue = chunk("cue ", Bytes(7, 'c')); // odd, with its pad byte
const Bytes kGermany = u16(49) + u16(7) + u16(1);

struct Case {
  Bytes before, after; ///< the chunks of a RIFF file
  Arguments arguments;
  const char* remark = ""; ///< what the one warning says
};

void expect_tagged(const std::string& name, const Bytes& before, const Bytes& after, const Arguments& arguments,
                   const std::string& remark) {
  const ScratchFolder folder;
  const std::string file = folder.put(name, before);
  const Outcome outcome = run_qv({"tag", file}, arguments);
  EXPECT_EQ(outcome.exit_code, 0);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.error.empty(), remark.empty()) << outcome.error;
  EXPECT_NE(outcome.error.find(remark), std::string::npos) << outcome.error;
  EXPECT_EQ(testing::PrintToString(read_file(file)), testing::PrintToString(after));
  EXPECT_EQ(folder.names(), std::vector<std::string>{name});
}

void expect_tagged(const std::vector<Case>& cases) {
  for (size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    expect_tagged("file.wav", riff("WAVE", cases[i].before), riff("WAVE", cases[i].after), cases[i].arguments,
                  cases[i].remark);
  }
}

TEST(Tag, ReplacesTheListWhole) {
  expect_tagged({
      {kPlain, kPlain + info_list(kTitle), {"title=title"}},
      {kPlain + info_list(chunk("IART", Bytes("Me\0\0", 4))),
       kPlain + info_list(chunk("IART", Bytes("Me\0\0", 4)) + kTitle), // not changed: to the byte
       {"INAM=title"}},
      {kFormat + info_list(kTitle) + kData + kCue, kPlain + kCue + info_list(text("INAM", "new")), {"INAM=new"}},
      {kPlain + info_list(kTitle) + kCue, kPlain + kCue, {"--remove", "title"}},
      {kPlain + info_list(kTitle) + kCue + info_list(kTitle), kPlain + kCue, {"--clear"}},
      {kPlain + info_list(kTitle), kPlain + info_list(text("ICMT", "a=b")), {"--clear", "ICMT=a=b"}},
      {kPlain + info_list(kTitle + kTitle), kPlain, {"--remove", "INAM"}}, // both
      {kPlain + info_list(kTitle + text("ICMT", "x") + kTitle),
       kPlain + info_list(text("INAM", "") + text("ICMT", "x")),
       {"INAM=no", "title="}},
      {kPlain, kPlain, {"--remove", "INAM", "--clear"}},
      // Several lists, one without its last pad byte, one without a pad byte between items, one filled up with zeros.
      {kPlain + info_list(header("IART", 3) + "Me\0"s) + kCue +
           info_list(header("IGNR", 3) + "ab\0"s + text("ICMT", "x")) + info_list(text("ISFT", "y") + Bytes(12, '\0')),
       kPlain + kCue +
           info_list(text("IART", "Me") + text("IGNR", "ab") + text("ICMT", "x") + text("ISFT", "y") + kTitle),
       {"INAM=title"}},
      {kFormat + header("data", 5) + "abcde", // an odd end without its pad byte
       kFormat + chunk("data", "abcde") + info_list(kTitle),
       {"INAM=title"}},
  });
}

TEST(Tag, WritesOneCodePage) {
  const Bytes umlaut = info_list(text("ICMT", "\xFC"));
  const Bytes umlaut_utf8 = text("ICMT", "\xC3\xBC");
  expect_tagged({
      {kPlain, kPlain + cset(65001) + info_list(text("INAM", "\xC3\xA9")), {"INAM=\xC3\xA9"}},
      {kPlain + umlaut,
       kPlain + cset(65001) + info_list(umlaut_utf8 + kTitle),
       {"INAM=title"},
       "taken for code page 1252"},
      {kPlain + info_list(umlaut_utf8),
       kPlain + cset(65001) + info_list(umlaut_utf8 + kTitle),
       {"INAM=title"},
       "taken for UTF-8"},
      {kPlain + info_list(text("INAM", "\xFC")), kPlain + info_list(kTitle), {"INAM=title"}}, // no text was guessed
      {cset(1252, kGermany) + kPlain + umlaut,
       kPlain + cset(65001, kGermany) + info_list(umlaut_utf8 + kTitle),
       {"INAM=title"}},
      {cset(28591) + kPlain + umlaut, kPlain + cset(65001) + info_list(umlaut_utf8 + kTitle), {"INAM=title"}},
      {cset(932) + kPlain + umlaut,
       kPlain + cset(65001) + info_list(umlaut_utf8 + kTitle),
       {"INAM=title"},
       "taken for code page 1252"},
      {cset(65001) + kPlain + umlaut,
       cset(65001) + kPlain + info_list(umlaut_utf8 + kTitle),
       {"INAM=title"},
       "taken for code page 1252"},
      // What is UTF-8 by chance is what its page makes of it.
      {cset(1252) + kPlain + info_list(umlaut_utf8),
       kPlain + cset(65001) + info_list(text("ICMT", "\xC3\x83\xC2\xBC")),
       {"--remove", "INAM"}},
      // Labels, with the list that they are in; a cue point's id is no text.
      {kPlain + list("adtl", label("\xE4") + chunk("file", "\xE4\xE4")), // a file is no text
       kPlain + list("adtl", label("\xC3\xA4") + chunk("file", "\xE4\xE4")) + cset(65001) + info_list(kTitle),
       {"INAM=title"},
       "taken for code page 1252"},
      {kPlain + list("adtl", label("a")) + umlaut,
       kPlain + list("adtl", label("a")) + cset(65001) + info_list(umlaut_utf8 + kTitle),
       {"INAM=title"},
       "taken for code page 1252"},
      {kPlain + list("adtl", label("\xC3\xA4")) + kCue,
       kPlain + list("adtl", label("\xC3\xA4")) + kCue + cset(65001) + info_list(kTitle),
       {"INAM=title"},
       "taken for UTF-8"},
      // All ASCII: no chunk is added, and none is kept that was there for a text.
      {cset(932) + kPlain, cset(932) + kPlain + info_list(kTitle), {"INAM=title"}},
      {kPlain + cset(65001) + info_list(umlaut_utf8), kPlain, {"--clear"}},
      {kPlain + cset(65001, kGermany) + info_list(umlaut_utf8), kPlain + cset(65001, kGermany), {"--clear"}},
      {kPlain + cset(65001) + info_list(umlaut_utf8) + list("adtl", label("\xC3\xA4")),
       kPlain + list("adtl", label("\xE4")) + cset(1252) + umlaut,
       {"--code-page", "1252"}},
      {kPlain + info_list(kTitle),
       kPlain + cset(1252) + info_list(kTitle + text("ICMT", "\x80")),
       {"--code-page", "1252", "comment=\xE2\x82\xAC"}},
      {kPlain + cset(65001) + info_list(kTitle), kPlain + info_list(kTitle), {"--code-page", "1252"}},
  });
}

/// A "bext" chunk of version 1: description, time reference, and more behind the fixed fields.
Bytes bext(const Bytes& description, uint32_t time, const Bytes& history = "") {
  Bytes data(602, '\0');
  data = with(with(with(data, 0, description), 338, u32(time)), 346, u16(1));
  return chunk("bext", data + history);
}

TEST(Tag, SetsFieldsOfTheBroadcastChunk) {
  const Bytes filled = chunk("JUNK", Bytes(702, 'j'));
  const Bytes odd = bext("old", 5, "abc"); // with its pad byte
  expect_tagged({
      {bext("old", 5) + kPlain, bext("new", 5) + kPlain, {"description=new"}},
      {odd + kPlain, bext("old", 0, "abc") + kPlain, {"--remove", "time-reference"}},
      {bext("old", 5, "abcde") + kPlain, bext("old", 5, "x\r\n\0\0"s) + kPlain, {"coding-history=x"}}, // fits
      {odd + kPlain, kPlain + bext("old", 5, "x\r\nyy\r\n"), {"coding-history=x\nyy"}},
      {kPlain, kPlain + bext("", 7), {"time-reference=7"}},
      {filled + kPlain, bext("d", 0) + chunk("JUNK", Bytes(92, '\0')) + kPlain, {"description=d"}},
      {chunk("JUNK", Bytes(602, 'j')) + kPlain, bext("d", 0) + kPlain, {"description=d"}},
      {chunk("JUNK", Bytes(604, 'j')) + kPlain,
       chunk("JUNK", Bytes(604, 'j')) + kPlain + bext("d", 0),
       {"description=d"}},
      {kPlain + filled, kPlain + filled + bext("d", 0), {"description=d"}}, // behind the audio no better
      {odd + kPlain, kPlain, {"--remove", "bext"}},
      {bext("old", 5) + kPlain, kPlain, {"--remove", "bext"}},
      {odd + kPlain, kPlain + bext("d", 0), {"--remove", "bext", "description=d"}},
      {kPlain, kPlain, {"--remove", "description"}},
      {odd + kPlain + info_list(kTitle), odd + kPlain, {"--clear"}},
      // Latin texts are not confused with those of lists.
      {kPlain + info_list(text("INAM", "\xFC")),
       kPlain + info_list(text("INAM", "\xFC")) + bext("\xC3\xA9", 0),
       {"description=\xC3\xA9"}},
  });
}

TEST(Tag, CorrectsTheSizeOfTheForm) {
  const Bytes whole = riff("WAVE", kPlain + info_list(kTitle));
  const auto sized = [](const Bytes& chunks, uint32_t size) { return header("RIFF", size) + "WAVE" + chunks; };
  struct Row {
    Bytes before, after;
    const char* remark;
  };
  const Row rows[] = {
      {sized(kPlain, 5000), whole, "that is corrected"},
      {sized(kPlain, 0), whole, "that is corrected"},
      {sized(kPlain + kCue, 4 + kPlain.size()), riff("WAVE", kPlain + kCue + info_list(kTitle)), "that is corrected"},
      {sized(kPlain + info_list(kTitle), 4 + kPlain.size()), whole, "that is corrected"}, // a list that was not counted
      {kGood + "more", whole + "more", ""},
      {riff("WAVE", kPlain + "more"), whole + "more", "that is corrected"},
      {kGood + Bytes(9, '\0'), whole + Bytes(9, '\0'), ""},
      {kGood + "TAG" + Bytes(125, 't'), whole + "TAG" + Bytes(125, 't'), ""},
      // Chunks behind an odd one without its pad byte, which it gets.
      {sized(kFormat + header("data", 3) + "abc" + kCue, 4 + kFormat.size() + 12),
       riff("WAVE", kFormat + chunk("data", "abc") + kCue + info_list(kTitle)), "that is corrected"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(&row - rows);
    expect_tagged("file.wav", row.before, row.after, {"INAM=title"}, row.remark);
  }
}

Bytes big32(size_t value) {
  const Bytes little = u32(static_cast<uint32_t>(value));
  return {little.rbegin(), little.rend()};
}
Bytes iff_chunk(std::string_view id, std::string_view data) {
  return Bytes(id) + big32(data.size()) + Bytes(data) + Bytes(data.size() & 1, '\0');
}
Bytes aiff(const Bytes& chunks) { return "FORM" + big32(chunks.size() + 4) + "AIFF" + chunks; }

TEST(Tag, WritesAiffAndWave64) {
  const Bytes sound = iff_chunk("COMM", Bytes("\0\1\0\0\0\1\0\x10\x40\x0E\xBB\x80\0\0\0\0\0\0", 18)) +
                      iff_chunk("SSND", Bytes(10, '\0'));
  const Bytes notes = iff_chunk("ANNO", "\xFC") + iff_chunk("ANNO", "two");
  expect_tagged("a.aiff", aiff(iff_chunk("NAME", "old") + sound + notes),
                aiff(sound + notes + iff_chunk("NAME", "\xC3\xA9") + iff_chunk("(c) ", "me")),
                {"title=\xC3\xA9", "copyright=me"}, "");
  expect_tagged("a.aiff", aiff(iff_chunk("AUTH", "me") + sound + notes), aiff(iff_chunk("AUTH", "me") + sound),
                {"--remove", "comment"}, "");
  expect_tagged("a.aiff", aiff(iff_chunk("AUTH", "me") + sound + notes), aiff(sound), {"--clear"}, "");
  const Bytes format64 = chunk64("fmt ", format_bytes({}));
  const Bytes data64 = chunk64("data", "abcd");
  const Bytes id = "\xBC\x94\x5F\x92\x5A\x52\xD2\x11\x86\xDC\0\xC0\x4F\x8E\xDB\x8A"s;
  const auto summary = [&](const Bytes& items) {
    return id + riff_test::u64(items.size() + 24) + items + riff_test::padding64(items.size());
  };
  const Bytes artist = "IART" + u32(4) + u16(0xD834) + u16(0); // half a character, but not ours
  const Bytes title = "INAM" + u32(4) + u16(0x17D) + u16(0);
  // In front of the audio, whatever follows that.
  expect_tagged("a.w64", wave64(format64 + data64 + summary(u32(1) + artist) + chunk64("bext", "")),
                wave64(format64 + summary(u32(2) + artist + title) + data64 + chunk64("bext", "")), {"title=\xC5\xBD"},
                "");
  expect_tagged("a.w64", wave64(summary(u32(1) + title) + format64 + data64), wave64(format64 + data64),
                {"--remove", "title"}, "");
}

TEST(Tag, PrintsTheTexts) {
  const ScratchFolder folder;
  const std::string one = folder.put("one.wav", riff("WAVE", kPlain + info_list(kTitle + text("IART", "M\xE9"))));
  const std::string two = folder.put("two.wav", riff("WAVE", bext("d\xE9", 9, "A=PCM\r\n") + kPlain));
  EXPECT_EQ(qv_says({"tag", one}), "INAM=title\nIART=M\xC3\xA9\n");
  EXPECT_EQ(qv_says({"tag", one, two}), one + "\nINAM=title\nIART=M\xC3\xA9\n" + two +
                                            "\ndescription=d\xC3\xA9\ntime-reference=9\nbext-version=1\n"
                                            "coding-history=A=PCM\n");
  const nlohmann::json json = qv_json({"tag", one, two});
  EXPECT_EQ(json[0]["tags"], (nlohmann::json{{"INAM", "title"}, {"IART", "M\xC3\xA9"}}));
  EXPECT_EQ(json[0]["code_page"], 1252);
  EXPECT_EQ(json[1]["bext"]["time-reference"], 9);
}

TEST(Tag, MakesABroadcastChunkOfVersionTwoForLoudness) {
  const ScratchFolder folder;
  const std::string file = folder.put("a.wav", riff("WAVE", bext("d", 9) + kPlain));
  qv_says({"tag", file, "loudness=-23"});
  EXPECT_EQ(qv_says({"tag", file}), "description=d\ntime-reference=9\nbext-version=2\nloudness=-23.00\n");
}

TEST(Tag, ReadsTheTextsOfRifx) {
  const Bytes chunks = iff_chunk("fmt ", Bytes("\0\1\0\1\0\0\xBB\x80\0\1\x77\0\0\2\0\x10", 16)) +
                       iff_chunk("data", "abcd") + iff_chunk("CSET", Bytes("\4\xE4\0\0\0\0\0\0", 8)) +
                       iff_chunk("LIST", "INFO" + iff_chunk("INAM", "\xC3\xA9") + iff_chunk("IART", "Me"));
  const ScratchFolder folder;
  const std::string file = folder.put("x.wav", "RIFX" + big32(chunks.size() + 4) + "WAVE" + chunks);
  EXPECT_EQ(qv_says({"tag", file}), "INAM=\u00C3\u00A9\nIART=Me\n");
  expect_refused(run_qv({"tag", file, "title=x"}), 1, file, "is read only");
}

TEST(Tag, SetsTextsOfSeveralFiles) {
  const ScratchFolder folder;
  const std::string one = folder.put("one.wav", kGood);
  const std::string two = folder.put("t=o.wav", kGood);
  const Outcome outcome = run_qv({"tag", "INAM=title", one, folder.file("none.wav"), two});
  expect_refused(outcome, 1, folder.file("none.wav"), "no such file");
  for (const std::string& name : {one, two})
    EXPECT_EQ(read_file(name), riff("WAVE", kPlain + info_list(kTitle))) << name;
}

TEST(Tag, ChangesAFileOfSeveralNamesInPlace) {
  struct Row {
    Bytes before, after;
    Arguments arguments;
  };
  const Bytes filling = chunk("JUNK", "INFO" + kTitle);
  Bytes unpadded = riff("WAVE", kPlain + bext("old", 5, "abc"));
  unpadded.pop_back();
  const Row rows[] = {
      {riff("WAVE", kPlain), riff("WAVE", kPlain + info_list(kTitle)), {"INAM=title"}},
      {riff("WAVE", info_list(kTitle) + kPlain + info_list(kTitle)) + "rest",
       riff("WAVE", filling + kPlain) + "rest",
       {"--clear"}},
      {riff("WAVE", info_list(kTitle) + kFormat + header("data", 3) + "abc"),
       riff("WAVE", filling + kFormat + chunk("data", "abc") + info_list(text("INAM", "b"))),
       {"INAM=b"}},
      {riff("WAVE", bext("old", 5) + kPlain + kCue), riff("WAVE", bext("new", 5) + kPlain + kCue), {"description=new"}},
      {unpadded, riff("WAVE", kPlain + bext("new", 5, "abc")), {"description=new"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(&row - rows);
    const ScratchFolder folder;
    const std::string file = folder.put("file.wav", row.before);
    std::filesystem::create_hard_link(file, folder.file("other.wav"));
    EXPECT_EQ(qv_says({"tag", file}, row.arguments), "");
    EXPECT_EQ(testing::PrintToString(read_file(folder.file("other.wav"))), testing::PrintToString(row.after));
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"file.wav", "other.wav"}));
  }
}

TEST(Tag, ReadsNoMoreThanIsThere) {
  const ScratchFolder folder;
  Bytes lists = kPlain;
  for (int k = 0; k < 64'000; ++k)
    lists += info_list("");
  const std::string many = folder.put("many.wav", riff("WAVE", lists));
  EXPECT_EQ(run_qv({"tag", many, "INAM=title"}).exit_code, 0);
  EXPECT_EQ(read_file(many), riff("WAVE", kPlain + info_list(kTitle)));
  Bytes items;
  for (int k = 0; k < 20'000; ++k)
    items += header("ICMT", 0);
  const std::string full = folder.put("full.wav", riff("WAVE", kPlain + info_list(items)));
  expect_refused(run_qv({"tag", full, "INAM=title"}), 1, full, "more than 16384 items");
  const Bytes large = info_list(text("ICMT", Bytes(3 << 20, 'c')));
  const std::string long_one = folder.put("long.wav", riff("WAVE", kPlain + large + large));
  expect_refused(run_qv({"tag", long_one, "INAM=title"}), 1, long_one, "more than 4 MiB");
  const std::string odds = folder.put("odds.wav", riff("WAVE", kPlain + info_list(kTitle + "\1\2\3\4")));
  expect_refused(run_qv({"tag", odds, "INAM=x"}), 1, odds, "4 bytes that are no item");
  const std::string cut = folder.put("cut.wav", riff("WAVE", kPlain + info_list(kTitle + header("IART", 99) + "Me")));
  const Outcome shown = run_qv({"tag", cut});
  EXPECT_EQ(shown.out, "INAM=title\nIART=Me\n");
  EXPECT_NE(shown.error.find("\"IART\" claims 99 bytes, its list has 2 left"), std::string::npos) << shown.error;
  expect_refused(run_qv({"tag", cut, "ICMT=x"}), 1, cut, "--clear");
  qv_says({"tag", cut, "--clear", "INAM=title"});
  EXPECT_EQ(read_file(cut), riff("WAVE", kPlain + info_list(kTitle)));
}

} // namespace
