#include "host/render/PictureFile.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

namespace {

using Corvane::Size;
using Host::CairoDC;
using Host::PictureFile;
using Host::PictureKind;

std::string Read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void Draw(Corvane::DC& dc) {
    dc.Clear();
    const auto canvas = dc.CreateCanvas({40, 40});
    canvas->DrawText({20, 20}, "07", {Corvane::TextPlace::Centre, Corvane::TextPlace::Middle});
    EXPECT_TRUE(dc.Blit(*canvas, {10, 10}));
    dc.SetPen(Corvane::Colour{0, 0, 255, 100}, 3, Corvane::Pen::Dash);
    dc.DrawCircle({50, 50}, 30.0, 1.0);
    EXPECT_TRUE(dc.Blit(*canvas, {50, 50}));
}

TEST(PictureFile, IsOfTheKindThatItsEndingSays) {
    for (const auto& [path, kind] :
         {std::pair("a.png", PictureKind::Png), {"/x.y/b.SVG", PictureKind::Svg}, {"c.d.Pdf", PictureKind::Pdf}}) {
        EXPECT_EQ(Host::KindOfPicture(path), kind) << path;
    }
    for (const char* path : {"", "png", ".png", "a.jpg", "a.png ", "a.svgz", "-"}) {
        EXPECT_FALSE(Host::KindOfPicture(path)) << path;
    }
    const std::string folder = testing::TempDir();
    for (const auto& [name, magic] : {std::pair("p.PNG", "\x89PNG\r\n"),
                                      {"p.svg", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"},
                                      {"p.pdf", "%PDF-1"}}) {
        PictureFile picture(folder + name, {100, 80});
        ASSERT_TRUE(picture.IsOpen());
        Draw(picture.GetDC());
        EXPECT_FALSE(std::filesystem::exists(folder + name));  // nothing before Save
        EXPECT_EQ(picture.Save(), "");
        EXPECT_TRUE(Read(folder + name).starts_with(magic)) << name;
        std::filesystem::remove(folder + name);
    }
}

TEST(PictureFile, TellsWhyThereIsNoPicture) {
    struct Case {
        const char* path;
        Size size;
        int density;
        const char* reason;
    };
    for (const Case& c : {Case{"a.gif", {10, 10}, 1, "a.gif: a picture's file ends in .png, .svg or .pdf"},
                          {"a.png", {0, 600}, 1, "a.png: a picture of 0 x 600 pixels has no area"},
                          {"a.svg", {600, -1}, 1, "a.svg: a picture of 600 x -1 pixels has no area"},
                          {"a.png",
                           {20'000, 20'000},
                           1,
                           "a.png: a picture of 20000 x 20000 pixels is too large for PNG: it can have 50 "
                           "million pixels, and 32000 on a side"},
                          {"a.png",
                           {4'000, 4'000},
                           2,
                           "a.png: a picture of 8000 x 8000 pixels is too large for PNG: it can have 50 "
                           "million pixels, and 32000 on a side"},
                          {"a.pdf",
                           {20'000, 20'000},
                           1,
                           "a.pdf: a picture of 20000 x 20000 pixels is too large: a side can have 19200"},
                          {"a.png", {10, 10}, 0, "a.png: a density of 0 is not one of 1 to 4"},
                          {"a.png",
                           {INT32_MAX, INT32_MAX},
                           4,
                           "a.png: a picture of 8589934588 x 8589934588 pixels is too large for PNG: "
                           "it can have 50 million pixels, and 32000 on a side"}}) {
        EXPECT_EQ(PictureFile::Check(c.path, c.size, c.density), c.reason);
        PictureFile picture(c.path, c.size, c.density);
        EXPECT_FALSE(picture.IsOpen());
        EXPECT_EQ(picture.Save(), c.reason);
    }
    EXPECT_EQ(PictureFile::Check("a.svg", {CairoDC::MaxVectorSide, CairoDC::MaxVectorSide}, 4), "");

    const std::string absent = testing::TempDir() + "absent/a.svg";
    PictureFile nowhere(absent, {10, 10});
    EXPECT_NE(nowhere.Save().find(absent + ": No such file or directory"), std::string::npos);
    // What cannot be replaced stays.
    const std::string folder = testing::TempDir() + "folder.png";
    std::filesystem::create_directory(folder);
    PictureFile blocked(folder, {10, 10});
    EXPECT_NE(blocked.Save().find(folder), std::string::npos);
    EXPECT_TRUE(std::filesystem::is_directory(folder));
    std::filesystem::remove(folder);
}

TEST(PictureFile, HasTheSameBytesAtAnyTime) {
    const std::string folder = testing::TempDir();
    const char* zone = std::getenv("TZ");
    const std::string before = zone == nullptr ? "" : zone;
    for (const char* name : {"same.png", "same.svg", "same.pdf"}) {
        std::string first;
        for (const char* tz : {"Pacific/Auckland", "America/Halifax"}) {
            ::setenv("TZ", tz, 1);
            ::tzset();
            PictureFile picture(folder + name, {100, 100});
            Draw(picture.GetDC());
            EXPECT_EQ(picture.Save(), "");
            if (first.empty()) first = Read(folder + name);
            EXPECT_TRUE(Read(folder + name) == first) << name;
            // Of the day, or of what else the process has drawn, there is nothing in it.
            EXPECT_EQ(first.find("Date"), std::string::npos);
        }
        if (std::string_view(name).ends_with("svg")) {
            EXPECT_NE(first.find("id=\"surface0\""), std::string::npos);
        }
    }
    if (zone == nullptr)
        ::unsetenv("TZ");
    else
        ::setenv("TZ", before.c_str(), 1);
    ::tzset();
}

}  // namespace
