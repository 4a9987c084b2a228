// Sections one after the other over the channels of interleaved buffers, and their states.
#pragma once

#include "audio/filter/iir_sections.h"

#include <vector>

namespace qv::audio {

class Cascade {
public:
  /// `in_pairs` filters two channels side by side, where the processor support word allows it. Throws std::bad_alloc,
  /// or std::length_error where the states are more than there can be.
  Cascade(std::vector<IirSection> sections, DWORD channels, bool in_pairs);

  /// Makes the output input x dry + what the sections make x gain.
  void set_gain(double gain, double dry) {
    gain_ = gain;
    dry_ = dry;
  }
  /// Filters the channels that the mask chooses (is_chosen), and copies the others. dst may be src.
  template <class Sample>
  void process(Sample* dst, const Sample* src, DWORD frames, DWORD mask);

  /// Sets the state of one channel, or of all, to 0.
  void reset(DWORD channel);
  void reset();
  /// Takes the states of a cascade with as many sections and channels; nothing from any other.
  void take_states(const Cascade& other);

  const std::vector<IirSection>& sections() const { return sections_; }
  DWORD channels() const { return channels_; }
  double gain() const { return gain_; }
  double dry() const { return dry_; }

private:
  /// The states of a channel's sections, in the order of the sections.
  IirState* states_of(DWORD channel) { return states_.data() + size_t{channel} * sections_.size(); }

  std::vector<IirSection> sections_;
  std::vector<IirState> states_; ///< channel after channel
  DWORD channels_;
  bool in_pairs_;
  double gain_ = 1.0;
  double dry_ = 0.0;
};

} // namespace qv::audio
