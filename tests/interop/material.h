// Real recordings, other programs' commands, and samples read without the library.
#pragma once

#include "tests/cli/scratch_folder.h"
#include "tests/interop/sample_types.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace interop_test {

/// A recording of the alsa-utils package: mono, 16 bits, 48 kHz.
std::string recording(const std::string& name);

/// Two recordings as a stereo file of 32 bits, every one of which is in use. Written by sox.
std::string stereo_source(const cli_test::ScratchFolder& folder);

/// Runs a shell command that must succeed; answers what it printed.
std::string shell(const std::string& command);
/// Runs qv, which must succeed without a word on standard error.
std::string qv(const std::vector<std::string>& arguments);
nlohmann::json qv_info(const std::string& file);

/// The bytes of a wave file's data chunk.
std::string data_chunk(const std::string& file);

/// Samples of a type as numbers: integers in their own scale, floats as they are.
std::vector<double> decode(const SampleType& type, const std::string& bytes);
/// 2^(bits - 1) for integers, 1 for floats.
double full_scale(const SampleType& type);

} // namespace interop_test
