// Audio sample layouts and formats: the sample type, the compact format record, and wave format headers.
//
// Every uncompressed sample layout has one QVSAMPLETYPE. A whole format is a _qvwaveformat, which converts to and from
// WAVEFORMATEX and WAVEFORMATEXTENSIBLE.
//
//     _qvwaveformat record;
//     record.Init(sizeof record, header);                 // from a file's "fmt " chunk
//     if (!record.IsCompressed()) kernel = QvAudio_GetCopyFunction2(QVSAMPLE_FLOAT32, record.sampleType);
//
// A WAVEFORMATEX whose tag is 0xFFFE (extensible) must be followed in memory by the rest of a WAVEFORMATEXTENSIBLE
// (40 bytes in all), whatever its cbSize says; any other header by its 18 bytes and cbSize more, except that tags 1 and
// 3 may be a bare 16-byte record where a comment says so. Headers, records and destinations are not null unless a
// comment says what null does. Functions here may be called from any thread; none raises an error except as documented.
#pragma once

#include "qv/win32.h"

// ---- sample types --------------------------------------------------------------------------------------------------

/// Private format tags of the library; no other producer writes them.
enum : uint32_t {
  QVTAG_UNPACKED = 0xFE00,
  QVTAG_SIGNED = 0xFE01,
  QVTAG_BIGENDIAN = 0xFE02,
  QVTAG_RA = 0xFE03,
};

// Every layout is one row: enumerator, value, name, bits and bytes of the container, tag of a plain header; how the
// bits stand there, how many of them count, whether there are kernels that mix and measure it, and the kind of text
// that QvAudio_GetSampleTypeText gives. The little-endian layouts, which are mixed, come first. The last two have no
// kernels and no headers: their containers are unknown.
// clang-format off
#define QV_SAMPLE_TYPE_TABLE(ROW)                                                                                      \
  ROW(QVSAMPLE_PCM8,        16, "pcm8",        8, 1, WAVE_FORMAT_PCM,        Offset,     8, true,  Bits)               \
  ROW(QVSAMPLE_PCM16,       17, "pcm16",      16, 2, WAVE_FORMAT_PCM,        Integer,   16, true,  Bits)               \
  ROW(QVSAMPLE_PCM24,       18, "pcm24",      24, 3, WAVE_FORMAT_PCM,        Integer,   24, true,  Bits)               \
  ROW(QVSAMPLE_PCM32,       19, "pcm32",      32, 4, WAVE_FORMAT_PCM,        Integer,   32, true,  Bits)               \
  ROW(QVSAMPLE_FLOAT32,     32, "float32",    32, 4, WAVE_FORMAT_IEEE_FLOAT, Float,     32, true,  BitsFloat)          \
  ROW(QVSAMPLE_FLOAT64,     33, "float64",    64, 8, WAVE_FORMAT_IEEE_FLOAT, Float,     64, true,  BitsFloat)          \
  ROW(QVSAMPLE_PCM24IN32,   48, "pcm24in32",  32, 4, QVTAG_UNPACKED,         Integer,   24, true,  BitsUnpacked)       \
  ROW(QVSAMPLE_PCM8SIGNED,  49, "pcm8signed",  8, 1, QVTAG_SIGNED,           Integer,    8, true,  BitsSigned)         \
  ROW(QVSAMPLE_BE16,        64, "be16",       16, 2, QVTAG_BIGENDIAN,        BigEndian, 16, false, BitsMac)            \
  ROW(QVSAMPLE_BE24,        65, "be24",       24, 3, QVTAG_BIGENDIAN,        BigEndian, 24, false, BitsMac)            \
  ROW(QVSAMPLE_BE32,        66, "be32",       32, 4, QVTAG_BIGENDIAN,        BigEndian, 32, false, BitsMac)            \
  ROW(QVSAMPLE_RA16,       128, "ra16",        0, 0, 0,                      Unknown,   16, false, BitsRa)             \
  ROW(QVSAMPLE_RA24,       129, "ra24",        0, 0, 0,                      Unknown,   24, false, BitsRa)
// clang-format on

/// Uncompressed sample layouts: 8-bit integers are unsigned but for PCM8SIGNED, others signed; BE is big-endian. 24
/// bits are packed in 3 bytes, or stand right-justified and sign-extended in 32 (PCM24IN32).
enum QVSAMPLETYPE : uint32_t {
  QVSAMPLE_NONE = 0, ///< compressed or unknown
#define QV_SAMPLE_TYPE_CONSTANT(type, value, ...) type = value,
  QV_SAMPLE_TYPE_TABLE(QV_SAMPLE_TYPE_CONSTANT)
#undef QV_SAMPLE_TYPE_CONSTANT
};

/// Bits of one sample: 8 to 64 for the types 16 to 66 of the enumeration, 0 for any other value (the "RA" types too).
QV_FUNCTION uint32_t QvAudio_BitsFromSampleType(QVSAMPLETYPE type);
/// Bytes of one sample, by the same rule.
QV_FUNCTION uint32_t QvAudio_BytesFromSampleType(QVSAMPLETYPE type);
/// Format tag of a plain header: 1, 3 or a private tag, by the same rule.
QV_FUNCTION uint32_t QvAudio_FormatTagFromSampleType(QVSAMPLETYPE type);

/// The type of a tag and a bit count; QVSAMPLE_NONE for what is no uncompressed layout. 20-bit PCM counts as 24-bit;
/// tag 0xFE01 with 16 to 32 bits is as PCM, tag 0xFE02 with 8 bits is QVSAMPLE_PCM8.
QV_FUNCTION QVSAMPLETYPE QvAudio_GetSampleType2(uint32_t formatTag, uint32_t bitsPerSample);

/// The type of a header. An extensible one is taken by its sub-format, when that has the form
/// xxxxxxxx-0000-0010-8000-00AA00389B71 with a zero upper half of Data1; 32-bit PCM of 24 valid bits is
/// QVSAMPLE_PCM24IN32. With tag 0xFFFE the sub-format is read whatever cbSize says: 40 bytes must be readable. Any
/// other header may be a bare 16-byte record. Not null.
QV_FUNCTION QVSAMPLETYPE QvAudio_GetSampleType(const WAVEFORMATEX* format);

// ---- the format record ---------------------------------------------------------------------------------------------

/// How a header is written from a record. None is extensible, whatever is asked for, in fewer than 40 bytes, nor one
/// with QVWAVEFORMAT_TAGGED whose mask is 0 or the default: a compressed format is then told by its tag alone.
enum QVWAVEFORMAT_COPY_DEST : uint32_t {
  QVWAVEFORMAT_COPY_AUTO = 0,       ///< extensible with flag 16, or as 1
  QVWAVEFORMAT_COPY_MASK = 1,       ///< extensible only when the mask is neither 0 nor the default
  QVWAVEFORMAT_COPY_PLAIN = 2,      ///< always WAVEFORMATEX; the mask is dropped
  QVWAVEFORMAT_COPY_MULTI = 3,      ///< extensible with more than 2 channels
  QVWAVEFORMAT_COPY_EXTENSIBLE = 4, ///< extensible wherever it can be
};

enum : uint32_t {
  QVWAVEFORMAT_TAGGED = 8,      ///< described by formatTag and bitsPerSample; sampleType is 0
  QVWAVEFORMAT_EXTENSIBLE = 16, ///< built from an extensible header; written back as one
};

namespace qv::on_records {
/// An empty base of the record: a call with a record then looks for functions in this namespace too
/// (qv/audio_records.h).
struct Found {};
} // namespace qv::on_records

/// The compact format record, little-endian. Only the first 32 bytes are always there: extraSize and extra exist as far
/// as the capacity that the caller allocated reaches, and are present when cbStruct is at least 34.
struct QV_API _qvwaveformat : qv::on_records::Found {
  DWORD cbStruct;          ///< 32 + count of extra bytes
  QVSAMPLETYPE sampleType; ///< 0: not an uncompressed layout
  DWORD samplesPerSec;     ///< frames per second
  WORD channels;
  WORD blockAlign;    ///< bytes per frame
  DWORD channelMask;  ///< speakers; 0 is the default, (1 << channels) - 1 (all ones from 32 channels on)
  DWORD flags;        ///< QVWAVEFORMAT_TAGGED, QVWAVEFORMAT_EXTENSIBLE
  WORD formatTag;     ///< with QVWAVEFORMAT_TAGGED
  WORD bitsPerSample; ///< with QVWAVEFORMAT_TAGGED
  DWORD avgBytesPerSec;
  WORD extraSize; ///< codec-specific bytes that follow, at most 1024 and at most capacity - 34
  BYTE extra[2];  ///< as many as extraSize says

  /// Describes an uncompressed layout. `capacity` is the size in bytes that the caller allocated for the record: below
  /// 33 it counts as 32 and the fixed part is cleared, otherwise the whole is.
  void Init(DWORD samplesPerSecond, QVSAMPLETYPE type, WORD channelCount, DWORD mask, DWORD capacity);
  /// Describes a tag and a bit count; what is no uncompressed layout becomes QVWAVEFORMAT_TAGGED.
  void InitAsWfx(WORD tag, DWORD samplesPerSecond, WORD bits, WORD channelCount, DWORD mask, DWORD capacity);
  /// Takes over a header, with as many of its extra bytes as the capacity holds: those behind the 22 of an extensible
  /// one, and none of an extensible one that has fewer than 22.
  void Init(DWORD capacity, const WAVEFORMATEX& format);

  /// Sets blockAlign and avgBytesPerSec from the sample type (nothing for type 0); returns blockAlign.
  DWORD UpdateBlockAlign();
  DWORD FormatTag() const;
  DWORD BitsPerSample() const;
  DWORD BytesPerSample() const;
  /// Whether QVWAVEFORMAT_TAGGED is set.
  bool IsCompressed() const;
  /// QvAudio_GeneralCopyWfx from this record: dst may be null when dstSize is 0.
  WAVEFORMATEX* ToWfx(WAVEFORMATEX* dst, DWORD dstSize, QVWAVEFORMAT_COPY_DEST dest) const;

  /// Type, rate, channels, flag 8 and masks (0 standing for the default); with flag 8 also tag, average rate, bits and
  /// extra bytes.
  bool operator==(const _qvwaveformat& other) const;
  /// Rate, channels and mask; with flag 8 tag, average rate and bits, else the sample type.
  bool operator==(const WAVEFORMATEX& format) const;

  /// The extra bytes that are present (cbStruct at least 34), and where they are.
  DWORD ExtraCount() const;
  const BYTE* ExtraBytes() const;
};

/// A record with room for 1024 extra bytes.
struct QVWAVEFORMATBUFFER {
  _qvwaveformat format;
  BYTE room[1024 - 2];
};

static_assert(offsetof(_qvwaveformat, channels) == 12 && offsetof(_qvwaveformat, channelMask) == 16);
static_assert(offsetof(_qvwaveformat, formatTag) == 24 && offsetof(_qvwaveformat, avgBytesPerSec) == 28);
static_assert(offsetof(_qvwaveformat, extraSize) == 32 && offsetof(_qvwaveformat, extra) == 34);

/// A WAVEFORMATEX copy of a record (copy mode 2); a compressed format's extra bytes are left out. It stands in 40
/// bytes, the rest zero, since the tag may be 0xFFFE.
class QV_API _qvwaveformat_wfxcopyhelper {
public:
  explicit _qvwaveformat_wfxcopyhelper(const _qvwaveformat& format);
  operator const WAVEFORMATEX*() const { return &wfx_.Format; }
  const WAVEFORMATEX& operator*() const { return wfx_.Format; }

private:
  WAVEFORMATEXTENSIBLE wfx_;
};

/// A WAVEFORMATEXTENSIBLE copy of a record (copy mode 4; the rest of a header that is not extensible is zero).
class QV_API _qvwaveformat_wfxecopyhelper {
public:
  explicit _qvwaveformat_wfxecopyhelper(const _qvwaveformat& format);
  operator const WAVEFORMATEX*() const { return &wfx_.Format; }
  operator const WAVEFORMATEXTENSIBLE*() const { return &wfx_; }
  const WAVEFORMATEXTENSIBLE& operator*() const { return wfx_; }

private:
  WAVEFORMATEXTENSIBLE wfx_;
};

/// A header of up to 40 bytes, filled from another header (not null) as a copy mode asks; what it does not need is
/// zero.
struct QV_API _qvwaveformat_wfxplus {
  WAVEFORMATEXTENSIBLE wfx;
  void Init(const WAVEFORMATEX* format, QVWAVEFORMAT_COPY_DEST dest);
};

// ---- questions about headers ---------------------------------------------------------------------------------------
// No header is null. Headers of tags 1 and 3 may be bare 16-byte records.

/// Channels, rate, tag and bits are equal; nothing else is compared.
QV_FUNCTION BOOL QvAudio_IsEqualFormat(const WAVEFORMATEX* a, const WAVEFORMATEX* b);
/// Tags 1, 3 and 0xFE00 to 0xFE02 are compressed only when the block align is not (bits / 8) x channels; an extensible
/// header as QvAudio_IsCompressedExtensible; every other tag is.
QV_FUNCTION BOOL QvAudio_IsCompressed(const WAVEFORMATEX* format);
/// True when cbSize is below 22 or the sub-format is neither PCM nor IEEE float.
QV_FUNCTION BOOL QvAudio_IsCompressedExtensible(const WAVEFORMATEXTENSIBLE* format);
/// For tag 1 only: 20 bits become 24, and a wrong block align is set right. Returns 1 when anything changed.
QV_FUNCTION BOOL QvAudio_FixBadWfx(WAVEFORMATEX* format);
/// Byte offset of colour channel 1, 2 or 3 in a 4-channel pixel of `pixelBytes` bytes; 0 for any other channel.
QV_FUNCTION uint32_t GetByteOffsetFromChannelEnum(uint32_t channel, int32_t pixelBytes);

// ---- header copies -------------------------------------------------------------------------------------------------
// Sources are not null; a destination is null only where its size is 0. Source and destination do not overlap.

/// Copies 18 + cbSize bytes, at most 40. The rest of dst is left alone.
QV_FUNCTION void QvAudio_CopyWfxToWfExt(const WAVEFORMATEX* src, WAVEFORMATEXTENSIBLE* dst);
/// Makes a plain header: 0 on success. An extensible source that is neither PCM nor IEEE float leaves dst untouched and
/// returns 1. Extra bytes are never copied; cbSize becomes 0 from an extensible source, and stays the source's from any
/// other. dst has 18 bytes.
QV_FUNCTION HRESULT QvAudio_CopyWfExtToWfx(const WAVEFORMATEXTENSIBLE* src, WAVEFORMATEX* dst);

/// Allocates a header (GlobalAlloc, moveable and zeroed, returned locked) that the caller unlocks and frees through
/// GlobalHandle. An exact copy with `dest` 0, from an extensible source with 4, or from a plain one with 1 or 2;
/// otherwise by way of a record. One with tag 0xFFFE has at least 40 bytes. Null when memory is short.
QV_FUNCTION WAVEFORMATEX* QvAudio_AllocAndCopyWfx(const WAVEFORMATEX* src, QVWAVEFORMAT_COPY_DEST dest);
QV_API WAVEFORMATEX* QvAudio_AllocAndCopyWfx(const _qvwaveformat& src, QVWAVEFORMAT_COPY_DEST dest);
QV_API WAVEFORMATEX* QvAudio_AllocAndCopyWfx(const _qvwaveformat* src, QVWAVEFORMAT_COPY_DEST dest);

/// Writes a header from a record, never beyond `dstSize` bytes (below 18 the header is cut). A record with tag 0xFFFE
/// and no extra bytes gives an 18-byte header of that tag: hand it on in 40 zeroed bytes. Returns dst.
QV_FUNCTION WAVEFORMATEX* QvAudio_GeneralCopyWfx(WAVEFORMATEX* dst, DWORD dstSize, const _qvwaveformat& src,
                                                 QVWAVEFORMAT_COPY_DEST dest);
/// Header to header by way of a record with up to 1024 extra bytes. Returns dst.
QV_FUNCTION WAVEFORMATEX* QvAudio_CopyWfx(WAVEFORMATEX* dst, DWORD dstSize, const WAVEFORMATEX* src,
                                          QVWAVEFORMAT_COPY_DEST dest);
/// The same into an extensible header of 40 bytes; what the header written does not need stays.
QV_FUNCTION WAVEFORMATEXTENSIBLE* QvAudio_CopyWfExt(WAVEFORMATEXTENSIBLE* dst, const WAVEFORMATEX* src,
                                                    QVWAVEFORMAT_COPY_DEST dest);
/// Record to record within `capacity` bytes (at least 32); flag 16 and the mask become what a header written with
/// `dest` would say. Returns dst.
QV_FUNCTION _qvwaveformat* QvAudio_GeneralCopyQvWaveFormat(_qvwaveformat* dst, DWORD capacity, const _qvwaveformat& src,
                                                           QVWAVEFORMAT_COPY_DEST dest);
/// A plain header (18 bytes) of an uncompressed layout; type 0 gives tag, bits, block align and average 0. Returns dst.
QV_FUNCTION WAVEFORMATEX* QvAudio_InitWfx(WAVEFORMATEX* dst, DWORD samplesPerSec, QVSAMPLETYPE type, WORD channels);
/// A header from parts, never beyond `dstSize` bytes: extensible when the mask is neither 0 nor the default and 40
/// bytes are there, plain otherwise. Returns dst.
QV_FUNCTION WAVEFORMATEX* QvAudio_InitWfxFlex(WAVEFORMATEX* dst, WORD formatTag, DWORD samplesPerSec, WORD bits,
                                              WORD channels, DWORD channelMask, DWORD dstSize);

// ---- texts ---------------------------------------------------------------------------------------------------------
// In the user's language. A null buffer or a size below 1 is left alone (the result is as if it had been written). Text
// is cut at `dstChars`, terminator included.

/// "PCM", "PCM (float)", ...; other tags by the Audio Compression Manager's names. E_FAIL with "Unknown" when it has
/// none.
QV_FUNCTION HRESULT QvAudio_GetTagText(uint32_t formatTag, WCHAR* dst, int dstChars);
/// Rate, bits and channels in words: "44,100 Hz, 16 Bit, Stereo". Compressed formats are described by the Audio
/// Compression Manager: E_FAIL with "Unknown" when it cannot.
QV_FUNCTION HRESULT QvAudio_GetAttribsText(const WAVEFORMATEX* format, WCHAR* dst, int dstChars);
QV_API HRESULT QvAudio_GetAttribsText(const _qvwaveformat& format, WCHAR* dst, int dstChars);
/// "16 Bit", "32 Bit (IEEE Float)", "24 Bit (MAC)", ...; an empty text for QVSAMPLE_NONE. E_FAIL and an empty text for
/// a value that is no sample type.
QV_FUNCTION HRESULT QvAudio_GetSampleTypeText(QVSAMPLETYPE type, WCHAR* dst, int dstChars);
