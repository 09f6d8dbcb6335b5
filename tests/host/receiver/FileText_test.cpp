#include "host/receiver/FileText.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>
#include <zlib.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "host/receiver/GzipStream.h"

using Host::FileError;
using Host::FileText;

namespace {

// A folder of its own for a test, gone when it ends.
class TempFolder {
public:
    TempFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "gnss-filetext-XXXXXX").string();
        path_ = mkdtemp(name.data());
    }
    ~TempFolder() { std::filesystem::remove_all(path_); }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    [[nodiscard]] std::string Write(const std::string& name, const std::string& bytes) const {
        std::ofstream(path_ / name, std::ios::binary) << bytes;
        return (path_ / name).string();
    }
    [[nodiscard]] std::string Path(const std::string& name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

std::string Gzip(const std::string& text) {
    z_stream z{};
    EXPECT_EQ(deflateInit2(&z, 9, Z_DEFLATED, 16 + MAX_WBITS, 9, Z_DEFAULT_STRATEGY), Z_OK);
    std::string packed(deflateBound(&z, text.size()), '\0');
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    z.avail_in = static_cast<uInt>(text.size());
    z.next_out = reinterpret_cast<Bytef*>(packed.data());
    z.avail_out = static_cast<uInt>(packed.size());
    EXPECT_EQ(deflate(&z, Z_FINISH), Z_STREAM_END);
    packed.resize(packed.size() - z.avail_out);
    deflateEnd(&z);
    return packed;
}

// Text that gzip cannot make much smaller.
std::string Varied(std::size_t size) {
    std::string text;
    for (unsigned x = 1; text.size() < size; x = x * 1664525U + 1013904223U) text += static_cast<char>(' ' + (x >> 26));
    return text;
}

}  // namespace

TEST(FileText, GivesTheBytesPlainOrInflated) {
    const TempFolder folder;
    const std::string text = Varied(200000);
    const std::string packed = Gzip(text);
    struct Case {
        const char* name;
        std::string bytes;
        std::string content;
        bool isCut;
    };
    const Case cases[] = {
        {"empty", "", "", false},
        {"plain", text, text, false},
        {"binary", std::string("\0\x1f\x8b\xff", 4), std::string("\0\x1f\x8b\xff", 4), false},
        {"packed, whatever the name", packed, text, false},
        {"packed nothing", Gzip(""), "", false},
        {"much smaller when packed", Gzip(std::string(5000000, 'x')), std::string(5000000, 'x'), false},
        {"two members", packed + Gzip("tail"), text + "tail", false},
        {"padded", packed + std::string(512, '\0'), text, false},
        {"check sum missing", packed.substr(0, packed.size() - 8), text, true},
        {"nothing but the first bytes", packed.substr(0, 5), "", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        FileText file;
        FileError error;
        ASSERT_TRUE(file.Open(folder.Write("file.txt", c.bytes), error)) << error.Print();
        EXPECT_EQ(file.Text(), c.content);
        EXPECT_EQ(file.IsCut(), c.isCut);
        const FileText copy = file;
        file = FileText();
        EXPECT_EQ(copy.Text(), c.content);
    }
}

TEST(FileText, GivesTheBeginningOfCompressedDataThatAreCut) {
    const TempFolder folder;
    const std::string text = Varied(200000);
    const std::string packed = Gzip(text);
    FileText file;
    FileError error;
    ASSERT_TRUE(file.Open(folder.Write("cut.gz", packed.substr(0, packed.size() / 2)), error));
    EXPECT_TRUE(file.IsCut());
    EXPECT_GT(file.Text().size(), text.size() / 3);
    EXPECT_TRUE(text.starts_with(file.Text()));
}

TEST(GzipStream, GivesTheSameOfAnyPieces) {
    using State = Host::GzipStream::State;
    const std::string text = Varied(300000);
    const std::string packed = Gzip(text);
    std::string damaged = packed;
    damaged[damaged.size() - 6] = static_cast<char>(damaged[damaged.size() - 6] ^ 1);
    const struct {
        std::string bytes;
        std::string content;
        State state;
    } cases[] = {
        {packed, text, State::Whole},
        {packed + Gzip("") + Gzip("tail") + "\x1f\x8b no more" + packed, text + "tail", State::Whole},
        {packed + "\x1f\x8b", text, State::Whole},
        {packed + "\x1f\x8b\x08", text, State::Cut},
        {Gzip(std::string(1000000, 'x')), std::string(1000000, 'x'), State::Whole},
        {packed.substr(0, packed.size() - 1), text, State::Cut},
        {"", "", State::Cut},
        {damaged + packed, text, State::Damaged},
        {"plain", "", State::Damaged},
    };
    for (const auto& c : cases) {
        for (const std::size_t size : {std::size_t{1}, std::size_t{7}, std::size_t{4096}, c.bytes.size() + 1}) {
            Host::GzipStream stream;
            std::string content;
            for (std::size_t at = 0; at < c.bytes.size(); at += size) {
                stream.Feed(std::string_view(c.bytes).substr(at, size), [&](std::string_view piece) {
                    EXPECT_LE(piece.size(), 65536U);
                    content += piece;
                });
            }
            EXPECT_EQ(stream.Finish(), c.state) << c.bytes.size() << ' ' << size;
            EXPECT_TRUE(content == c.content) << c.bytes.size() << ' ' << size;
        }
    }
}

TEST(FileText, TellsWhyItCannotRead) {
    const TempFolder folder;
    const std::string packed = Gzip(Varied(50000));
    std::string damaged = packed;
    damaged[damaged.size() / 2] = static_cast<char>(damaged[damaged.size() / 2] ^ 0x55);
    std::string wrongSum = packed;
    wrongSum[wrongSum.size() - 6] = static_cast<char>(wrongSum[wrongSum.size() - 6] ^ 1);
    constexpr std::size_t Limit = 100000;
    struct Case {
        const char* name;
        std::string path;
        std::string reason;
    };
    const Case cases[] = {
        {"absent", folder.Path("absent"), "No such file"},
        {"folder", folder.Path("."), "folder"},
        {"damaged", folder.Write("damaged.gz", damaged), "damaged"},
        {"check sum", folder.Write("sum.gz", wrongSum), "damaged"},
        {"a bomb", folder.Write("bomb.gz", Gzip(std::string(100001, 'x'))), "more than 100000 bytes"},
        {"a bomb of two", folder.Write("bombs.gz", Gzip(std::string(99999, 'x')) + Gzip("xx")), "more than"},
        {"compress", folder.Write("file.Z", "\x1f\x9d\x90"), "compress (.Z)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        FileText file;
        FileError error;
        EXPECT_FALSE(file.Open(c.path, error, Limit));
        EXPECT_NE(error.Print().find(c.path + ": "), std::string::npos) << error.Print();
        EXPECT_NE(error.reason.find(c.reason), std::string::npos) << error.Print();
        EXPECT_TRUE(file.Text().empty());
    }
    FileText full;
    FileError error;
    EXPECT_TRUE(full.Open(folder.Write("full.gz", Gzip(std::string(Limit, 'x'))), error, Limit));
    EXPECT_EQ(full.Text().size(), Limit);
}

TEST(FileText, ReadsAPipeToItsEnd) {
    const TempFolder folder;
    const std::string path = folder.Path("pipe");
    const std::string text = Varied(300000);
    for (const std::size_t limit : {text.size(), text.size() - 1}) {
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
        std::thread writer([&] { std::ofstream(path, std::ios::binary) << text; });
        FileText file;
        FileError error;
        const bool isRead = file.Open(path, error, limit);
        writer.join();
        EXPECT_EQ(isRead, limit == text.size());
        EXPECT_EQ(file.Text(), isRead ? text : "");
        std::filesystem::remove(path);
    }
}
