#include "tools/qv/filter/response_file.h"

#include <algorithm>
#include <cairo-svg.h>
#include <cairo.h>
#include <cmath>
#include <cstdio>
#include <memory>
#include <stdexcept>

#if defined(__SANITIZE_ADDRESS__)
// Cairo's font library keeps its patterns to the end of the program.
#define QV_SANITIZER_HOOK extern "C" __attribute__((visibility("default"))) const char*
QV_SANITIZER_HOOK __lsan_default_suppressions() { return "leak:libfontconfig"; }
QV_SANITIZER_HOOK __lsan_default_options() { return "print_suppressions=0"; }
#endif

namespace qv::tool {

namespace {

constexpr double kWidth = 900.0;
constexpr double kHeight = 900.0;
constexpr double kLeft = 80.0;
constexpr double kRight = 20.0;
constexpr double kTop = 70.0;
constexpr double kBottom = 50.0;
constexpr double kGap = 40.0;
constexpr int kPanels = 3;

struct Color {
  double red, green, blue;
};
constexpr Color kInk = {0.15, 0.15, 0.15};
constexpr Color kFaint = {0.88, 0.88, 0.88};
constexpr Color kStrong = {0.60, 0.60, 0.60};

struct Panel {
  const char* label;
  Color color;
  double Response::*value;
  double min, max, step; ///< of its axis
};

/// The distance of lines on an axis: 1, 2 or 5 times a power of ten, so that there are eight at most.
double nice_step(double range) {
  const double power = std::pow(10.0, std::floor(std::log10(range / 8.0)));
  for (const double factor : {1.0, 2.0, 5.0})
    if (range / (factor * power) <= 8.0) return factor * power;
  return 10.0 * power;
}

std::string number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", std::fabs(value) < 1e-12 ? 0.0 : value);
  return text;
}

/// A frequency as it stands at its axis: 20, 1k, 10k.
std::string hertz(double frequency) {
  return frequency >= 1000.0 ? number(frequency / 1000.0) + "k" : number(frequency);
}

class Picture {
public:
  Picture(cairo_surface_t* surface, const std::vector<Response>& responses)
      : cairo_(cairo_create(surface), cairo_destroy), responses_(responses), lowest_(responses.front().frequency),
        highest_(responses.back().frequency) {}

  void draw(const std::string& title) {
    cairo_set_source_rgb(cairo(), 1.0, 1.0, 1.0);
    cairo_paint(cairo());
    cairo_select_font_face(cairo(), "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    text(title, kLeft, kTop - 36.0, 16.0, 0.0);
    const Panel panels[kPanels] = {
        magnitude(), {"phase, degrees", {0.2, 0.5, 0.2}, &Response::phase, -180, 180, 45}, delay()};
    for (int k = 0; k < kPanels; ++k)
      draw_panel(panels[k], kTop + k * (panel_height() + kGap), k == kPanels - 1);
  }

private:
  static constexpr double panel_height() { return (kHeight - kTop - kBottom - (kPanels - 1) * kGap) / kPanels; }
  cairo_t* cairo() const { return cairo_.get(); }

  /// The magnitude from 6 dB above what is reached down to 100 dB, or less where less is reached.
  Panel magnitude() const {
    const auto [min, max] = range(&Response::magnitude);
    const double top = std::ceil((max + 3.0) / 6.0) * 6.0;
    const double bottom = std::max(std::floor((min - 3.0) / 6.0) * 6.0, top - 102.0);
    return {"magnitude, dB", {0.1, 0.3, 0.7}, &Response::magnitude, bottom, top, top - bottom > 48.0 ? 12.0 : 6.0};
  }

  Panel delay() const {
    const auto [min, max] = range(&Response::group_delay);
    const double from = std::min(0.0, min);
    const double step = nice_step(std::max(max - from, 1e-6));
    return {"group delay, ms",
            {0.7, 0.3, 0.1},
            &Response::group_delay,
            std::floor(from / step) * step,
            std::max(std::ceil(max / step), 1.0) * step,
            step};
  }

  std::pair<double, double> range(double Response::*value) const {
    double min = HUGE_VAL;
    double max = -HUGE_VAL;
    for (const Response& each : responses_) {
      if (!std::isfinite(each.*value)) continue;
      min = std::min(min, each.*value);
      max = std::max(max, each.*value);
    }
    return {min, max};
  }

  double x_of(double frequency) const {
    return kLeft + (kWidth - kLeft - kRight) * std::log(frequency / lowest_) / std::log(highest_ / lowest_);
  }

  void color(const Color& color) { cairo_set_source_rgb(cairo(), color.red, color.green, color.blue); }

  void line(double x1, double y1, double x2, double y2, const Color& ink) {
    color(ink);
    cairo_set_line_width(cairo(), 1.0);
    cairo_move_to(cairo(), x1, y1);
    cairo_line_to(cairo(), x2, y2);
    cairo_stroke(cairo());
  }

  /// Writes words of whose width `part` lies left of x.
  void text(const std::string& words, double x, double y, double size, double part) {
    color(kInk);
    cairo_set_font_size(cairo(), size);
    cairo_text_extents_t extents;
    cairo_text_extents(cairo(), words.c_str(), &extents);
    cairo_move_to(cairo(), x - extents.x_advance * part, y);
    cairo_show_text(cairo(), words.c_str());
  }

  void draw_frequencies(double top, double bottom, bool labels) {
    for (double decade = std::pow(10.0, std::floor(std::log10(lowest_))); decade <= highest_; decade *= 10.0)
      for (int factor = 1; factor < 10; ++factor) {
        const double frequency = decade * factor;
        if (frequency < lowest_ * 0.999 || frequency > highest_) continue;
        line(x_of(frequency), top, x_of(frequency), bottom, factor == 1 ? kStrong : kFaint);
        if (labels && (factor == 1 || factor == 2 || factor == 5))
          text(hertz(frequency), x_of(frequency), bottom + 18.0, 12.0, 0.5);
      }
    if (labels) text("frequency, Hz", (kLeft + kWidth - kRight) / 2.0, bottom + 38.0, 13.0, 0.5);
  }

  void draw_panel(const Panel& panel, double top, bool is_last) {
    const double bottom = top + panel_height();
    const auto y_of = [&](double value) {
      return bottom - (std::clamp(value, panel.min, panel.max) - panel.min) / (panel.max - panel.min) * (bottom - top);
    };
    draw_frequencies(top, bottom, is_last);
    const auto lines = static_cast<int>(std::floor((panel.max - panel.min) / panel.step + 1e-9));
    for (int k = 0; k <= lines; ++k) {
      const double value = panel.min + k * panel.step;
      line(kLeft, y_of(value), kWidth - kRight, y_of(value), std::fabs(value) < panel.step * 1e-6 ? kStrong : kFaint);
      text(number(value), kLeft - 8.0, y_of(value) + 4.0, 12.0, 1.0);
    }
    text(panel.label, kLeft, top - 6.0, 13.0, 0.0);
    draw_curve(panel, y_of);
  }

  /// Draws all but a jump of the phase from one end of the circle to the other.
  template <class Y>
  void draw_curve(const Panel& panel, Y y_of) {
    color(panel.color);
    cairo_set_line_width(cairo(), 2.0);
    bool is_down = false;
    double last = 0.0;
    for (const Response& each : responses_) {
      const double value = each.*(panel.value);
      const bool goes_on = is_down && std::fabs(value - last) < (panel.value == &Response::phase ? 180.0 : HUGE_VAL);
      is_down = std::isfinite(value);
      if (!is_down) continue;
      if (goes_on)
        cairo_line_to(cairo(), x_of(each.frequency), y_of(value));
      else
        cairo_move_to(cairo(), x_of(each.frequency), y_of(value));
      last = value;
    }
    cairo_stroke(cairo());
  }

  std::unique_ptr<cairo_t, void (*)(cairo_t*)> cairo_;
  const std::vector<Response>& responses_;
  double lowest_;
  double highest_;
};

cairo_status_t append(void* bytes, const unsigned char* data, unsigned int size) {
  static_cast<std::string*>(bytes)->append(reinterpret_cast<const char*>(data), size);
  return CAIRO_STATUS_SUCCESS;
}

} // namespace

bool can_draw() { return true; }

std::string drawn(const std::vector<Response>& responses, const std::string& title, bool as_png) {
  std::string bytes;
  cairo_surface_t* const made =
      as_png ? cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(kWidth), static_cast<int>(kHeight))
             : cairo_svg_surface_create_for_stream(append, &bytes, kWidth, kHeight);
  const std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> surface(made, cairo_surface_destroy);
  Picture(surface.get(), responses).draw(title);
  if (as_png) cairo_surface_write_to_png_stream(surface.get(), append, &bytes);
  cairo_surface_finish(surface.get());
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS || bytes.empty())
    throw std::runtime_error("the picture could not be drawn");
  return bytes;
}

} // namespace qv::tool
