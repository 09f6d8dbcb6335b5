// Host::TextLayouts: fonts and laid-out texts, kept for the next time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include <pango/pangocairo.h>

#include "gnss/platform/Font.h"
#include "gnss/platform/String.h"

namespace Host {

// The whole pixels that hold a width of text; what exceeds them by no more than Pango's unit does not count.
[[nodiscard]] std::int32_t WholePixels(double pixels);

// Lays texts out in pixels of normal density, the same for every surface. A picture draws few texts, many times: each
// is laid out once. The number that is kept is bounded; when it is reached, the texts or fonts are laid out afresh.
class TextLayouts {
public:
    struct FreeObject {
        void operator()(void* object) const { g_object_unref(object); }
    };
    struct Laid {
        std::unique_ptr<PangoLayout, FreeObject> layout;
        double width = 0.0;     // where the next text would begin
        double baseline = 0.0;  // below the top of the layout
    };

    TextLayouts();

    [[nodiscard]] const Corvane::FontMetrics& Measure(const Corvane::Font& font) { return Find(font).metrics; }
    // Height of capitals and digits, not rounded.
    [[nodiscard]] double CapHeight(const Corvane::Font& font) { return Find(font).capHeight; }
    // False when a font that was asked for has no letters, nor has any that stands in for it: there is none on the
    // system. Texts are then empty boxes.
    [[nodiscard]] bool HasFont() const { return hasFont_; }
    // Good until the next call.
    [[nodiscard]] const Laid& LayOut(const Corvane::Font& font, const Corvane::String& text);

private:
    struct FreeDescription {
        void operator()(PangoFontDescription* description) const { pango_font_description_free(description); }
    };
    struct Entry {
        Corvane::Font font;
        std::unique_ptr<PangoFontDescription, FreeDescription> description;
        Corvane::FontMetrics metrics;
        double capHeight = 0.0;
        std::unordered_map<std::string, Laid> texts;
    };

    [[nodiscard]] Entry& Find(const Corvane::Font& font);
    [[nodiscard]] Laid Make(const PangoFontDescription* description, std::string_view latin1, int points) const;

    std::unique_ptr<PangoFontMap, FreeObject> map_;
    std::unique_ptr<PangoContext, FreeObject> context_;
    std::vector<Entry> fonts_;
    Laid longText_;
    bool hasFont_ = true;
};

}  // namespace Host
