#include "host/render/TextLayouts.h"

#include <algorithm>
#include <cmath>

#include "gnss/platform/Number.h"

namespace Host {

namespace {

constexpr double PixelsPerInch = 96.0;
constexpr std::size_t MaxFonts = 32;
constexpr std::size_t MaxTexts = 512;        // of each font
constexpr std::size_t MaxTextLength = 256;   // a longer one is not kept
constexpr std::int32_t MaxPixels = 2000000;  // Pango counts in 1/1024 pixel with 32 bits

double Pixels(int units) {
    return static_cast<double>(units) / PANGO_SCALE;
}

std::string Family(const Corvane::String& family) {
    if (family.IsEmpty() || family == "sans") return "DejaVu Sans";
    if (family == "serif") return "DejaVu Serif";
    if (family == "monospace") return "DejaVu Sans Mono";
    return family.ToUTF8();
}

PangoFontDescription* Describe(const Corvane::Font& font) {
    PangoFontDescription* description = pango_font_description_new();
    pango_font_description_set_family(description, Family(font.family).c_str());
    pango_font_description_set_size(description, std::clamp(font.points, 1, Corvane::Font::MaxPoints) * PANGO_SCALE);
    pango_font_description_set_weight(description, font.bold ? PANGO_WEIGHT_BOLD : PANGO_WEIGHT_NORMAL);
    pango_font_description_set_style(description, font.italic ? PANGO_STYLE_ITALIC : PANGO_STYLE_NORMAL);
    return description;
}

}  // namespace

std::int32_t WholePixels(double pixels) {
    return Corvane::ToInt(std::ceil(pixels - 1.0 / PANGO_SCALE));
}

TextLayouts::TextLayouts()
    : map_(pango_cairo_font_map_new_for_font_type(CAIRO_FONT_TYPE_FT)),
      context_(pango_font_map_create_context(map_.get())) {
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    pango_cairo_context_set_font_options(context_.get(), options);
    cairo_font_options_destroy(options);
    pango_cairo_context_set_resolution(context_.get(), PixelsPerInch);
    pango_context_set_round_glyph_positions(context_.get(), FALSE);
    // Not that of the environment: it chooses glyphs, and the sample of the average width.
    pango_context_set_language(context_.get(), pango_language_from_string("en"));
    pango_context_set_base_dir(context_.get(), PANGO_DIRECTION_LTR);
}

TextLayouts::Entry& TextLayouts::Find(const Corvane::Font& font) {
    const auto found = std::find_if(fonts_.begin(), fonts_.end(), [&](const Entry& e) { return e.font == font; });
    if (found != fonts_.end()) return *found;
    if (fonts_.size() >= MaxFonts) fonts_.clear();
    Entry entry;
    entry.font = font;
    entry.description.reset(Describe(font));
    PangoFontMetrics* metrics = pango_context_get_metrics(context_.get(), entry.description.get(), nullptr);
    entry.metrics.ascent = WholePixels(Pixels(pango_font_metrics_get_ascent(metrics)));
    entry.metrics.descent = WholePixels(Pixels(pango_font_metrics_get_descent(metrics)));
    entry.metrics.averageWidth =
        Corvane::ToInt(std::round(Pixels(pango_font_metrics_get_approximate_char_width(metrics))));
    pango_font_metrics_unref(metrics);
    const Laid capital = Make(entry.description.get(), "H", font.points);
    if (pango_layout_get_unknown_glyphs_count(capital.layout.get()) > 0) hasFont_ = false;
    PangoRectangle ink;
    pango_layout_get_extents(capital.layout.get(), &ink, nullptr);
    entry.capHeight = capital.baseline - Pixels(ink.y);
    entry.metrics.capHeight = Corvane::ToInt(std::round(entry.capHeight));
    return fonts_.emplace_back(std::move(entry));
}

TextLayouts::Laid TextLayouts::Make(const PangoFontDescription* description, std::string_view latin1,
                                    int points) const {
    const auto limit = static_cast<std::size_t>(MaxPixels / (2 * std::clamp(points, 1, Corvane::Font::MaxPoints)));
    const std::string utf8 = Corvane::String(latin1.substr(0, limit)).ToUTF8();
    Laid laid;
    laid.layout.reset(pango_layout_new(context_.get()));
    PangoLayout* layout = laid.layout.get();
    pango_layout_set_font_description(layout, description);
    pango_layout_set_single_paragraph_mode(layout, TRUE);
    pango_layout_set_auto_dir(layout, FALSE);
    pango_layout_set_text(layout, utf8.data(), static_cast<int>(utf8.size()));
    PangoRectangle logical;
    pango_layout_get_extents(layout, nullptr, &logical);
    laid.width = Pixels(logical.width);
    laid.baseline = Pixels(pango_layout_get_baseline(layout));
    return laid;
}

const TextLayouts::Laid& TextLayouts::LayOut(const Corvane::Font& font, const Corvane::String& text) {
    Entry& entry = Find(font);
    if (text.Length() > MaxTextLength) return longText_ = Make(entry.description.get(), text.View(), font.points);
    const auto found = entry.texts.find(text.str());
    if (found != entry.texts.end()) return found->second;
    if (entry.texts.size() >= MaxTexts) entry.texts.clear();
    return entry.texts.emplace(text.str(), Make(entry.description.get(), text.View(), font.points)).first->second;
}

}  // namespace Host
