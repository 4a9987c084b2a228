// The equaliser.
#include "tests/audio/resample/stream_checks.h"

#include "qv/equalizer.h"

#include <memory>

namespace {

constexpr DWORD kRate = 48000;
using Bands = std::vector<QVEQBAND>;
const Bands kBands{{100.0, 5.0, 0.9}, {400.0, -8.0, 1.5},  {300.0, 3.0, 0.3},
                   {700.0, 0.0, 1.0}, {3000.0, 10.0, 2.0}, {9000.0, -7.0, 0.5}};

/// A handle with the members of a filter; a copy is the same handle.
struct Equalizer {
  std::shared_ptr<QVEQ> handle;

  explicit Equalizer(const Bands& bands, DWORD channels = 1) {
    HQVEQ eq = nullptr;
    EXPECT_EQ(QvEq_Init(&eq, kRate, channels, bands.data(), static_cast<DWORD>(bands.size())), S_OK);
    handle.reset(eq, QvEq_Close);
  }
  void ProcessFloat(float* dst, const float* src, DWORD frames, DWORD) {
    EXPECT_EQ(QvEq_ProcessFloat(handle.get(), dst, src, frames), S_OK);
  }
  void ProcessDouble(double* dst, const double* src, DWORD frames, DWORD) {
    EXPECT_EQ(QvEq_ProcessDouble(handle.get(), dst, src, frames), S_OK);
  }
  template <class Sample>
  std::vector<Sample> answer(const std::vector<Sample>& src, size_t channels) const {
    return stream::run(stream::running<Sample>(*this), src, channels);
  }
};

/// dB at a frequency in Hz, measured.
double level(const Bands& bands, double frequency) {
  const auto impulse = stream::impulse_response(stream::running<double>(Equalizer(bands)), kRate);
  return 20.0 * std::log10(std::abs(stream::response(impulse, frequency / kRate)));
}

} // namespace

// The published properties of the sections: a peak has its gain in its middle, half of it (in dB) at edges that are its
// bandwidth apart (but for the warping of the frequency), and none at DC and Nyquist; a shelf has half its gain at its
// frequency, all at its end and none at the other.
TEST(Equalizer, BandsAreWhereTheyShouldBe) {
  const Bands low{{200.0, 6.0, 0.7}, {1000.0, 0.0, 1.0}, {8000.0, 0.0, 1.0}};
  const Bands peak{{200.0, 0.0, 0.7}, {1000.0, -9.0, 2.0}, {8000.0, 0.0, 1.0}};
  const Bands high{{200.0, 0.0, 0.7}, {8000.0, 4.0, 1.0}};
  const Bands alone{{1000.0, 12.0, 2.0}};
  const struct {
    const Bands& bands;
    struct {
      double frequency, level;
    } points[4];
  } rows[] = {{low, {{0.0, 6.0}, {200.0, 3.0}, {24000.0, 0.0}, {20000.0, 0.0}}},
              {peak, {{0.0, 0.0}, {500.0, -4.5}, {1000.0, -9.0}, {2000.0, -4.5}}},
              {high, {{0.0, 0.0}, {20.0, 0.0}, {8000.0, 2.0}, {24000.0, 4.0}}},
              {alone, {{0.0, 0.0}, {500.0, 6.0}, {1000.0, 12.0}, {24000.0, 0.0}}}};
  for (const auto& row : rows)
    for (const auto& point : row.points)
      EXPECT_NEAR(level(row.bands, point.frequency), point.level, 0.02) << &row - rows << " at " << point.frequency;
}

TEST(Equalizer, BandsAddUp) {
  for (const double frequency : {30.0, 350.0, 1000.0, 12000.0, 20000.0}) {
    double sum = 0.0;
    for (size_t only = 0; only < kBands.size(); ++only) {
      Bands one = kBands;
      for (size_t band = 0; band < one.size(); ++band)
        one[band].gain *= band == only;
      sum += level(one, frequency);
    }
    EXPECT_NEAR(level(kBands, frequency), sum, 1e-6) << frequency;
  }
}

TEST(Equalizer, NoGainChangesNoBit) {
  const auto src = stream::noise<double>(3 * 500);
  const Equalizer eq({{100.0, 0.0, 1.0}, {1000.0, -0.0, 1.0}, {8000.0, 0.0, 1.0}}, 3);
  EXPECT_EQ(eq.answer(src, 3), src);
}

TEST(Equalizer, BlocksAndPlaces) {
  stream::check([](DWORD channels) { return Equalizer(kBands, channels); }, false);
  // Channels are filtered as if alone, and floats as doubles that are rounded once.
  const auto src = stream::noise<float>(2 * 1000);
  const auto both = Equalizer(kBands, 2).answer(src, 2);
  std::vector<double> second(1000);
  for (size_t k = 0; k < second.size(); ++k)
    second[k] = src[2 * k + 1];
  const auto alone = Equalizer(kBands).answer(second, 1);
  for (size_t k = 0; k < second.size(); ++k)
    ASSERT_EQ(both[2 * k + 1], static_cast<float>(alone[k])) << k;
}

TEST(Equalizer, ResetForgets) {
  const Equalizer eq(kBands, 2);
  const auto src = stream::noise<double>(2 * 100);
  const auto first = eq.answer(src, 2);
  EXPECT_NE(eq.answer(src, 2), first);
  eq.answer<double>({0.0, std::nan("")}, 2);
  EXPECT_EQ(QvEq_Reset(eq.handle.get()), S_OK);
  EXPECT_EQ(eq.answer(src, 2), first);
}

TEST(Equalizer, ExtremeParametersGiveNumbers) {
  const double values[] = {-HUGE_VAL, -1.0, 0.0, 1e-300, 0.5, HUGE_VAL, std::nan("")};
  const auto src = stream::noise<double>(200);
  for (const double frequency : values) {
    for (const double gain : values) {
      for (const double shape : values)
        for (const double value : Equalizer(Bands(3, {frequency, gain, shape})).answer(src, 1))
          ASSERT_TRUE(std::isfinite(value)) << frequency << " " << gain << " " << shape;
    }
  }
}

TEST(Equalizer, Refusals) {
  const struct {
    DWORD rate, channels;
    bool has_bands;
    DWORD count;
    HRESULT result;
  } rows[] = {{0, 1, true, 1, E_INVALIDARG},
              {48000, 0, true, 1, E_INVALIDARG},
              {48000, 1, false, 1, E_INVALIDARG},
              {48000, 1, true, 0, E_INVALIDARG},
              {48000, 0xFFFFFFFF, true, 0xFFFFFFFF, E_OUTOFMEMORY}};
  for (const auto& row : rows) {
    HQVEQ eq = reinterpret_cast<HQVEQ>(&eq);
    const QVEQBAND* const bands = row.has_bands ? kBands.data() : nullptr;
    EXPECT_EQ(QvEq_Init(&eq, row.rate, row.channels, bands, row.count), row.result) << &row - rows;
    EXPECT_EQ(eq, nullptr) << &row - rows;
  }
  EXPECT_EQ(QvEq_Init(nullptr, 48000, 1, kBands.data(), 1), E_INVALIDARG);

  const Equalizer eq(kBands);
  double value = 1.0;
  EXPECT_EQ(QvEq_ProcessDouble(nullptr, &value, &value, 1), E_INVALIDARG);
  EXPECT_EQ(QvEq_ProcessDouble(eq.handle.get(), nullptr, &value, 1), E_INVALIDARG);
  EXPECT_EQ(QvEq_ProcessDouble(eq.handle.get(), &value, nullptr, 1), E_INVALIDARG);
  EXPECT_EQ(QvEq_ProcessDouble(eq.handle.get(), nullptr, nullptr, 0), S_OK);
  EXPECT_EQ(QvEq_Reset(nullptr), E_INVALIDARG);
  EXPECT_EQ(QvEq_Close(nullptr), S_OK);
}
