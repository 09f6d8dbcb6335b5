// Host::CairoSurface: a surface of Cairo that becomes the bytes of a picture. For sources that draw with Cairo alone.
#pragma once

#include <cairo.h>
#include <memory>
#include <string>

#include "gnss/platform/Colour.h"
#include "gnss/platform/Point.h"
#include "host/render/CairoDC.h"

namespace Host {

// Coordinates are those of CairoDC; x and y are whole numbers at the corners of the pixels.
class CairoSurface {
public:
    // A picture that CairoDC::Check has nothing to say about.
    CairoSurface(PictureKind kind, Corvane::Size size, int density);
    // A canvas of pixels for a PNG.
    CairoSurface(const CairoSurface& picture, Corvane::Size size);
    CairoSurface(const CairoSurface&) = delete;
    CairoSurface& operator=(const CairoSurface&) = delete;
    ~CairoSurface();

    [[nodiscard]] PictureKind GetKind() const { return kind_; }
    [[nodiscard]] Corvane::Size GetSize() const { return size_; }
    [[nodiscard]] int GetDensity() const { return density_; }
    // Whether there was memory for it.
    [[nodiscard]] bool IsGood() const;
    [[nodiscard]] cairo_t* Context() const { return context_; }
    [[nodiscard]] cairo_surface_t* Get() const { return surface_; }
    void SetColour(Corvane::Colour colour, double opacity = 1.0) const;
    [[nodiscard]] Corvane::Colour GetPixel(Corvane::Point at) const;

    // See CairoDC::Encode. A canvas has no bytes.
    [[nodiscard]] bool Encode(std::string& bytes, std::string& failure);

private:
    void Begin();

    PictureKind kind_;
    Corvane::Size size_;
    int density_;
    bool isCanvas_;
    std::string bytes_;  // what Cairo has written so far; before the surface, which writes when it ends
    cairo_surface_t* surface_ = nullptr;
    cairo_t* context_ = nullptr;
};

}  // namespace Host
