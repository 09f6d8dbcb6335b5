#include "host/render/CairoSurface.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <map>
#include <string_view>

#include <cairo-pdf.h>
#include <cairo-svg.h>

namespace Host {

namespace {

constexpr double PointsPerPixel = 72.0 / 96.0;

cairo_status_t Append(void* to, const unsigned char* data, unsigned int size) {
    try {
        static_cast<std::string*>(to)->append(reinterpret_cast<const char*>(data), size);
    } catch (const std::exception&) {
        return CAIRO_STATUS_NO_MEMORY;
    }
    return CAIRO_STATUS_SUCCESS;
}

// Cairo's names of surfaces and images in SVG count everything that the process has made so far. Numbered from 0 in the
// order in which they appear instead, they are the same for the same picture.
std::string NumberAfresh(std::string_view svg) {
    std::map<std::string_view, std::size_t> numbers;
    std::string out;
    out.reserve(svg.size());
    constexpr std::array<std::string_view, 2> Names = {"surface", "image"};
    while (!svg.empty()) {
        // A name stands behind id=" or behind the # of a reference.
        const std::size_t begin = std::min(svg.find_first_of("\"#"), svg.size() - 1) + 1;
        out += svg.substr(0, begin);
        svg.remove_prefix(begin);
        for (const std::string_view name : Names) {
            if (!svg.starts_with(name)) continue;
            const std::size_t end = std::min(svg.find_first_not_of("0123456789", name.size()), svg.size());
            if (end == name.size()) continue;
            out += name;
            out += std::to_string(numbers.emplace(svg.substr(0, end), numbers.size()).first->second);
            svg.remove_prefix(end);
            break;
        }
    }
    return out;
}

// The date of creation in the description of a PDF, which Cairo always writes, gives way to blanks: it need not be
// there, and the table of places in the file stays right.
void BlankDate(std::string& pdf) {
    const std::size_t begin = pdf.rfind("/CreationDate (");
    const std::size_t end = begin == std::string::npos ? begin : pdf.find(')', begin);
    if (end != std::string::npos) std::fill(pdf.data() + begin, pdf.data() + end + 1, ' ');
}

}  // namespace

CairoSurface::CairoSurface(PictureKind kind, Corvane::Size size, int density)
    : kind_(kind), size_(size), density_(kind == PictureKind::Png ? density : 1), isCanvas_(false) {
    switch (kind) {
        case PictureKind::Png:
            surface_ = cairo_image_surface_create(CAIRO_FORMAT_RGB24, size.width * density, size.height * density);
            break;
        case PictureKind::Svg:
            surface_ = cairo_svg_surface_create_for_stream(Append, &bytes_, size.width, size.height);
            cairo_svg_surface_set_document_unit(surface_, CAIRO_SVG_UNIT_PX);
            break;
        case PictureKind::Pdf:
            surface_ = cairo_pdf_surface_create_for_stream(Append, &bytes_, size.width * PointsPerPixel,
                                                           size.height * PointsPerPixel);
            break;
    }
    Begin();
    if (kind == PictureKind::Png) {
        SetColour(Corvane::Colour::White);
        cairo_paint(context_);
    }
}

CairoSurface::CairoSurface(const CairoSurface& picture, Corvane::Size size)
    : kind_(picture.kind_),
      size_(size),
      density_(picture.density_),
      isCanvas_(true),
      surface_(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, size.width * density_, size.height * density_)) {
    Begin();
}

CairoSurface::~CairoSurface() {
    cairo_destroy(context_);
    cairo_surface_destroy(surface_);
}

void CairoSurface::Begin() {
    if (kind_ == PictureKind::Png) cairo_surface_set_device_scale(surface_, density_, density_);
    context_ = cairo_create(surface_);
    if (kind_ == PictureKind::Pdf) cairo_scale(context_, PointsPerPixel, PointsPerPixel);
    cairo_set_line_width(context_, 1.0);
}

bool CairoSurface::IsGood() const {
    return cairo_status(context_) == CAIRO_STATUS_SUCCESS;
}

void CairoSurface::SetColour(Corvane::Colour colour, double opacity) const {
    cairo_set_source_rgba(context_, colour.red / 255.0, colour.green / 255.0, colour.blue / 255.0,
                          opacity * colour.alpha / 255.0);
}

Corvane::Colour CairoSurface::GetPixel(Corvane::Point at) const {
    if (kind_ != PictureKind::Png || at.x < 0 || at.y < 0 || at.x >= cairo_image_surface_get_width(surface_) ||
        at.y >= cairo_image_surface_get_height(surface_))
        return Corvane::Colour::Transparent;
    cairo_surface_flush(surface_);
    const std::ptrdiff_t offset =
        std::ptrdiff_t{at.y} * cairo_image_surface_get_stride(surface_) + std::ptrdiff_t{at.x} * 4;
    std::uint32_t pixel = 0;
    std::memcpy(&pixel, cairo_image_surface_get_data(surface_) + offset, sizeof pixel);
    const std::uint32_t alpha = isCanvas_ ? pixel >> 24U : 255U;
    if (alpha == 0) return Corvane::Colour::Transparent;
    // The colours are kept multiplied by the opacity.
    const auto part = [&](unsigned shift) {
        return static_cast<std::uint8_t>(std::min(((pixel >> shift & 0xFFU) * 255U + alpha / 2U) / alpha, 255U));
    };
    return {part(16), part(8), part(0), static_cast<std::uint8_t>(alpha)};
}

bool CairoSurface::Encode(std::string& bytes, std::string& failure) {
    cairo_status_t status = cairo_status(context_);
    if (status == CAIRO_STATUS_SUCCESS && kind_ == PictureKind::Png) {
        status = cairo_surface_write_to_png_stream(surface_, Append, &bytes_);
    }
    cairo_surface_finish(surface_);
    if (status == CAIRO_STATUS_SUCCESS) status = cairo_surface_status(surface_);
    if (status != CAIRO_STATUS_SUCCESS) {
        failure = cairo_status_to_string(status);
        return false;
    }
    bytes = kind_ == PictureKind::Svg ? NumberAfresh(bytes_) : std::move(bytes_);
    if (kind_ == PictureKind::Pdf) BlankDate(bytes);
    bytes_.clear();
    return true;
}

}  // namespace Host
