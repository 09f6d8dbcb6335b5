// The sky plot on a picture of the host, as it is drawn again for each flip and each epoch.
#include <string>

#include <benchmark/benchmark.h>

#include "gnss/display/ConstellationArtist.h"
#include "gnss/display/ConstellationStyle.h"
#include "gnss/position/Constellation.h"
#include "host/render/CairoDC.h"
#include "host/render/Palette.h"

namespace {

using Corvane::Angle;
using GNSS::ConstellationArtist;

GNSS::Constellation MakeSky() {
    GNSS::Constellation sky;
    for (int i = 0; i < 24; ++i) {
        const Angle elevation = Angle::FromDegrees(5.0 + (i * 29) % 80);
        const Angle azimuth = Angle::FromDegrees(i * 137.5);
        if (i < 14)
            sky.Add(GNSS::PRN(i + 1), elevation, azimuth, i % 7 == 3 ? 3 : 1, i % 5 == 0);
        else
            sky.Add(GNSS::Glonass::Slot(i - 13), elevation, azimuth, i % 7 == 3 ? 0 : 2);
    }
    return sky;
}

// 600 pixels with 24 satellites; the arguments are the density and whether the background comes from the cache.
void SkyPlot(benchmark::State& state) {
    const GNSS::Constellation sky = MakeSky();
    const auto dc = Host::CairoDC::Make(Host::PictureKind::Png, {600, 600}, static_cast<int>(state.range(0)));
    Host::Palette::Light.Begin(*dc);
    ConstellationArtist::Style style;
    Host::Palette::Light.AddTo(style);
    ConstellationArtist artist(sky);
    artist.Init(*dc, style, 600, 1000);
    for (auto _ : state) artist.Draw(*dc, style, state.range(1) != 0);
}
BENCHMARK(SkyPlot)->ArgNames({"density", "cached"})->ArgsProduct({{1, 2}, {0, 1}})->Unit(benchmark::kMicrosecond);

// A new picture from the first font to the bytes of the file: kinds 0 PNG, 1 SVG, 2 PDF.
void SkyPicture(benchmark::State& state) {
    const GNSS::Constellation sky = MakeSky();
    for (auto _ : state) {
        const auto dc = Host::CairoDC::Make(static_cast<Host::PictureKind>(state.range(0)), {600, 600});
        Host::Palette::Light.Begin(*dc);
        ConstellationArtist::Style style;
        Host::Palette::Light.AddTo(style);
        ConstellationArtist artist(sky);
        artist.Init(*dc, style, 600, 1000);
        artist.Draw(*dc, style, true);
        std::string bytes;
        std::string failure;
        if (!dc->Encode(bytes, failure)) state.SkipWithError(failure.c_str());
        benchmark::DoNotOptimize(bytes);
    }
}
BENCHMARK(SkyPicture)->ArgName("kind")->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

}  // namespace
