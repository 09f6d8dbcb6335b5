// Corvane::Style: how the parts of a table look.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "gnss/platform/Colour.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Font.h"
#include "gnss/platform/Pen.h"

namespace Corvane {

// The look of one part of a table: colour and font of its text, pen of its lines, brush of its area. What the font
// leaves open is the metric font's of the context.
struct Style {
    // The parts of a table.
    enum Part : std::int32_t {
        Background = 0,  // the whole table: its brush fills, its pen frames
        Title = 1,
        Heading = 2,
        Cell = 3,
        Alert = 4,  // a cell that the operator must not overlook
        Faint = 5,  // a cell that matters less: old, or not in use
        Rule = 6,   // the lines between rows: its pen
    };
    static constexpr std::size_t NmrParts = 7;

    Colour text = Colour::Black;
    Pen pen = Pen::None;
    Brush brush{};
    Font font{};

    class List;
};

// The styles of all parts. At first: text on a plain ground without a frame, title, headings and alerts bold, alerts in
// a vermilion that is told from black and white with any colour vision, faint cells and rules half way between text
// and ground.
class GNSS_EXPORT Style::List {
public:
    explicit List(Colour text = Colour::Black, Colour ground = Colour::White);

    // A number that is no part counts as Cell.
    [[nodiscard]] const Style& Get(Part part) const { return styles_[IndexOf(part)]; }
    void Set(Part part, const Style& style) { styles_[IndexOf(part)] = style; }

private:
    static constexpr std::size_t IndexOf(Part part) {
        const auto index = static_cast<std::size_t>(static_cast<std::uint32_t>(part));
        return index < NmrParts ? index : static_cast<std::size_t>(Cell);
    }

    std::array<Style, NmrParts> styles_;
};

}  // namespace Corvane
