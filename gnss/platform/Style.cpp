#include "gnss/platform/Style.h"

namespace Corvane {

namespace {

constexpr Colour Vermilion{213, 94, 0};

constexpr Colour Between(Colour a, Colour b) {
    const auto middle = [](std::uint8_t x, std::uint8_t y) { return static_cast<std::uint8_t>((x + y) / 2); };
    return {middle(a.red, b.red), middle(a.green, b.green), middle(a.blue, b.blue), middle(a.alpha, b.alpha)};
}

}  // namespace

Style::List::List(Colour text, Colour ground) {
    for (Style& style : styles_) style.text = text;
    styles_[Background].brush.colour = ground;
    for (const Part part : {Title, Heading, Alert}) styles_[static_cast<std::size_t>(part)].font.bold = true;
    styles_[Alert].text = Vermilion;
    styles_[Faint].text = Between(text, ground);
    styles_[Rule].pen = Pen{Between(text, ground)};
}

}  // namespace Corvane
