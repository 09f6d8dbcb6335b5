#include <atomic>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "gnss/platform/Event.h"
#include "gnss/platform/Registry.h"

namespace {

namespace fs = std::filesystem;
using Corvane::Event;
using Corvane::String;
using Corvane::Registry::Key;

const char* const Name = "SOFTWARE\\The Corvane Software Company\\Halcyra\\LocalToUTC";

class RegistryTest : public testing::Test {
protected:
    void SetUp() override {
        std::string name = (fs::temp_directory_path() / "gnss-registry-XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder_ = name;
        file_ = folder_ / "registry";
        Corvane::Registry::SetFile("");
        Event::Clear();
    }
    void TearDown() override {
        Corvane::Registry::SetFile("");
        fs::remove_all(folder_);
    }

    void UseFile() const { Corvane::Registry::SetFile(file_.string()); }
    void SetText(const std::string& text) const { std::ofstream(file_, std::ios::binary) << text; }
    [[nodiscard]] std::string GetText() const {
        std::ifstream file(file_, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    static std::string ReadString(const Key& key, const char* name) {
        String value = "unset";
        return key.ReadStringValue(name, value) ? value.str() : "none, and " + value.str();
    }
    static unsigned long ReadULong(const Key& key, const char* name) {
        unsigned long value = 4711;
        EXPECT_TRUE(key.ReadULongValue(name, value)) << name;
        return value;
    }

    fs::path folder_;
    fs::path file_;
};

TEST_F(RegistryTest, KeysAndValuesInMemoryAndInAFile) {
    std::string awkward;
    for (int code = 0; code < 256; ++code) awkward += static_cast<char>(code);
    for (const bool inFile : {false, true}) {
        if (inFile) UseFile();
        EXPECT_FALSE(Key(Name).IsValid());
        Key key(Name, Key::Write);
        ASSERT_TRUE(key.IsValid());
        EXPECT_TRUE(key.WriteStringValue("Offset", "0.25"));
        EXPECT_TRUE(key.WriteULongValue("Version", 110));
        EXPECT_TRUE(key.WriteULongValue("Largest", ULONG_MAX));
        EXPECT_TRUE(key.WriteStringValue("Awkward \"=\\ name]", awkward));
        EXPECT_TRUE(key.WriteStringValue("Offset", "-1.5"));
        EXPECT_TRUE(Key("SOFTWARE\\Other", Key::Write).WriteStringValue("Offset", "other"));
        if (inFile) UseFile();  // nothing but the file remembers

        Key reader(Name);
        EXPECT_EQ(ReadString(reader, "Offset"), "-1.5");
        EXPECT_EQ(ReadULong(reader, "Version"), 110U);
        EXPECT_EQ(ReadULong(reader, "Largest"), ULONG_MAX);
        EXPECT_EQ(ReadString(reader, "Awkward \"=\\ name]"), awkward);
        EXPECT_EQ(ReadString(reader, "Version"), "none, and unset") << "of the other type";
        EXPECT_EQ(ReadString(reader, "offset"), "none, and unset");
        EXPECT_FALSE(reader.WriteStringValue("Offset", "9")) << "opened for reading";
        EXPECT_FALSE(key.WriteStringValue("", "9"));
        EXPECT_TRUE(key.WriteULongValue("Offset", 9)) << "a value may change its type";
        EXPECT_EQ(ReadULong(reader, "Offset"), 9U);
        EXPECT_TRUE(Key("SOFTWARE").IsValid()) << "a key with keys below it is there";
        EXPECT_FALSE(Key("SOFT").IsValid());
    }
    for (const char* bad : {"", "\\", "SOFTWARE\\", "\\SOFTWARE", "SOFT\\\\WARE", "SOFT\nWARE"}) {
        EXPECT_FALSE(Key(bad, Key::Write).IsValid()) << bad;
    }
    EXPECT_TRUE(Event::GetKept().empty());
}

TEST_F(RegistryTest, KeepsWhatItDoesNotUnderstand) {
    SetText(
        "# by hand\r\n"
        "\"Stray\"=1\n"
        "[A]\n"
        "\"Offset\" = \"1\" \r\n"
        "\"Cut\"=\"half\n"
        "\"Large\"=99999999999999999999\n"
        "\"Offset\"=\"2\"\n"
        "; between\n"
        "[B\n"
        "\"Offset\"=\"of a key that is not known\"\n"
        "[A]\n"
        "\"More\"=\"\\x4\"\n"
        "\"Last\"=7");
    UseFile();
    Key key("A", Key::Write);
    EXPECT_EQ(ReadString(key, "Offset"), "1") << "the first of two";
    EXPECT_EQ(ReadULong(key, "Last"), 7U);
    EXPECT_EQ(ReadString(key, "Cut"), "none, and unset");
    std::string lines;
    for (const Event& event : Event::GetKept()) lines += event.GetText().str().substr(5, 2) + ',';
    EXPECT_EQ(lines, "2 ,5 ,6 ,7 ,9 ,10,12,") << "each damaged line is told once";

    EXPECT_TRUE(key.WriteStringValue("Offset", "3"));
    EXPECT_TRUE(key.WriteULongValue("New", 8));
    EXPECT_EQ(GetText(),
              "# by hand\r\n"
              "\"Stray\"=1\n"
              "[A]\n"
              "\"Offset\"=\"3\"\n"
              "\"Cut\"=\"half\n"
              "\"Large\"=99999999999999999999\n"
              "\"Offset\"=\"2\"\n"
              "; between\n"
              "[B\n"
              "\"Offset\"=\"of a key that is not known\"\n"
              "[A]\n"
              "\"More\"=\"\\x4\"\n"
              "\"Last\"=7\n"
              "\"New\"=8\n");

    SetText("[A]\n\"Offset\"=\"edited\"\n");
    EXPECT_EQ(ReadString(key, "Offset"), "edited");
    fs::remove(file_);
    EXPECT_EQ(ReadString(key, "Offset"), "none, and unset");
    EXPECT_TRUE(key.WriteStringValue("Offset", "again"));
    EXPECT_EQ(GetText(), "[A]\n\"Offset\"=\"again\"\n");
}

TEST_F(RegistryTest, UnreadableOrUnwritableFile) {
    fs::create_directory(file_);
    UseFile();
    EXPECT_FALSE(Key("A", Key::Write).IsValid());
    Corvane::Registry::SetFile((folder_ / "absent" / "registry").string());
    EXPECT_FALSE(Key("A", Key::Write).IsValid());
    const auto events = Event::GetKept();
    ASSERT_EQ(events.size(), 2U);
    EXPECT_TRUE(events[0].GetText().EndsWith("registry: Is a directory")) << events[0].GetText();
    EXPECT_TRUE(events[1].GetText().EndsWith("absent/registry: No such file or directory")) << events[1].GetText();
}

// A sink may use the registry that has just failed, and take locks that others hold while they use it.
TEST_F(RegistryTest, SinkUsesTheRegistry) {
    SetText("[A]\n\"Offset\"=\"1\"\ndamaged\n");
    UseFile();
    std::string seen;
    const auto id = Event::InstallSink([&](const Event&) { seen = ReadString(Key("A"), "Offset"); });
    EXPECT_TRUE(Key("A").IsValid());
    Event::RemoveSink(id);
    EXPECT_EQ(seen, "1");
}

// Each process reads the whole file and writes it again: none may undo what the others wrote in between.
TEST_F(RegistryTest, ManyProcesses) {
    constexpr int NmrProcesses = 3;
    constexpr unsigned long NmrValues = 20;
    UseFile();
    std::vector<pid_t> children;
    for (int id = 0; id < NmrProcesses; ++id) {
        const pid_t child = fork();
        if (child == 0) {
            bool good = true;
            for (unsigned long i = 0; i < NmrValues; ++i) {
                Key key("Process" + std::to_string(id), Key::Write);
                good = key.WriteULongValue("Value" + std::to_string(i), i) && good;
            }
            _exit(good ? 0 : 1);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    for (int id = 0; id < NmrProcesses; ++id) {
        const Key key("Process" + std::to_string(id));
        for (unsigned long i = 0; i < NmrValues; ++i) {
            EXPECT_EQ(ReadULong(key, ("Value" + std::to_string(i)).c_str()), i) << id;
        }
    }
}

TEST_F(RegistryTest, ManyThreads) {
    constexpr int NmrThreads = 4;
    constexpr int NmrWrites = 10;
    UseFile();
    std::atomic<int> failures = 0;
    std::vector<std::thread> threads;
    threads.reserve(NmrThreads);
    for (int id = 0; id < NmrThreads; ++id) {
        threads.emplace_back([&, id] {
            const std::string own = "Value" + std::to_string(id);
            for (unsigned long i = 1; i <= NmrWrites; ++i) {
                Key key("A\\B", Key::Write);
                unsigned long read = 0;
                const bool good = key.WriteULongValue(own, i) && key.WriteStringValue("Shared", std::to_string(id)) &&
                                  key.ReadULongValue(own, read) && read == i;
                failures += !good;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures, 0);
    UseFile();
    const Key key("A\\B");
    for (int id = 0; id < NmrThreads; ++id) {
        EXPECT_EQ(ReadULong(key, ("Value" + std::to_string(id)).c_str()), NmrWrites);
    }
}

}  // namespace
