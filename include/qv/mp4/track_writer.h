// Writing a new file with one audio track.
#pragma once

#include "qv/mp4/boxes.h"

#include <fstream>

namespace fileutil {

class QV_API ITrackWriter {
public:
  virtual ~ITrackWriter() = default;
  virtual bool init() = 0;
  virtual HRESULT writeSamples(const std::vector<char>& bytes, uint32_t duration) = 0;
  virtual void close() = 0;
};

/// A tree for one track of AAC: "ftyp", "moov" and "mdat", every table empty. The caller owns it.
QV_API Boxes* makeAudioTree(uint32_t sampleRate, uint16_t channels, const Bytes& decoderSpecificInfo);

class QV_API TrackWriter : public BoxVisitor, public ITrackWriter {
public:
  TrackWriter(Boxes* tree, std::ofstream& out, uint64_t headerReserve);
  ~TrackWriter() override;
  bool init() override;
  HRESULT writeSamples(const std::vector<char>& bytes, uint32_t duration) override;
  void close() override;
};

} // namespace fileutil
