#include "gnss/platform/FileStream.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include "gnss/platform/Event.h"

namespace {

namespace fs = std::filesystem;
using Corvane::Event;
using Corvane::FileInput;
using Corvane::FileOutput;

std::string ReadAll(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void WriteAll(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

// Writes `count` bytes, several buffers long when count is large.
void Write(FileOutput& output, char letter, int count) {
    for (int i = 0; i < count; ++i) output.WriteChar(letter);
}

// Runs in a child process; whether it came to a good end.
template <class Work>
bool RunInChild(Work work) {
    const pid_t child = fork();
    if (child == 0) _exit(work() ? 0 : 1);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// A folder of its own for each test, and an event log that is empty at first.
class FileStream : public testing::Test {
protected:
    void SetUp() override {
        std::string name = (fs::temp_directory_path() / "gnss-file-XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder_ = name;
        target_ = folder_ / "data.bin";
        Event::Clear();
    }
    void TearDown() override { fs::remove_all(folder_); }

    [[nodiscard]] std::set<std::string> List() const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder_)) names.insert(entry.path().filename().string());
        return names;
    }
    // One event, which names the path and the reason.
    static bool HasEvent(const fs::path& path, const std::string& reason) {
        const auto events = Event::GetKept();
        if (events.size() != 1) return false;
        const std::string& text = events[0].GetText().str();
        return text.find(path.string()) != std::string::npos && text.find(reason) != std::string::npos;
    }

    fs::path folder_;
    fs::path target_;
};

TEST_F(FileStream, ReadsBackWhatWasWritten) {
    constexpr int Count = 100'000;  // several buffers, and numbers across their borders
    FileOutput output(target_.string(), Corvane::ByteOrder::PC);
    ASSERT_TRUE(output.IsOpen() && output.IsValid());
    output.WriteUChar(1);
    for (int i = 0; i < Count; ++i) output.WriteInt(i);
    EXPECT_FALSE(fs::exists(target_)) << "nothing to be seen before the end";
    EXPECT_TRUE(output.Close());
    EXPECT_TRUE(output.Close());
    EXPECT_THROW(output.WriteChar('x'), Corvane::Stream::Error);

    FileInput input(target_.string());
    ASSERT_TRUE(input.IsOpen());
    EXPECT_EQ(input.ReadUChar(), 1);
    int wrong = 0;
    for (int i = 0; i < Count; ++i) wrong += input.ReadInt() != i;
    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(input.IsValid() && input.IsAtEnd());
    EXPECT_THROW(static_cast<void>(input.ReadUChar()), Corvane::Stream::Error);
    EXPECT_FALSE(input.IsValid());
    EXPECT_TRUE(input.IsOpen());
    EXPECT_EQ(List(), std::set<std::string>{"data.bin"});
    EXPECT_TRUE(Event::GetKept().empty());
}

TEST_F(FileStream, InputThatCannotBeOpened) {
    FileInput missing(target_.string());
    EXPECT_FALSE(missing.IsOpen());
    EXPECT_TRUE(missing.IsAtEnd());
    EXPECT_THROW(static_cast<void>(missing.ReadChar()), Corvane::Stream::Error);
    EXPECT_TRUE(Event::GetKept().empty()) << "a file that is not there yet is nothing to report";
    const FileInput folder(folder_.string());
    EXPECT_FALSE(folder.IsOpen());
    EXPECT_TRUE(HasEvent(folder_, "Is a directory"));
    mkfifo((folder_ / "pipe").c_str(), 0600);
    Event::Clear();
    EXPECT_TRUE(RunInChild([&] {
        alarm(5);  // instead of waiting for a writer for ever
        const FileInput pipe((folder_ / "pipe").string());
        return !pipe.IsOpen() && HasEvent(folder_ / "pipe", "Invalid argument");
    }));
}

TEST_F(FileStream, UnclosedOutputLeavesNothing) {
    WriteAll(target_, "old");
    {
        FileOutput output(target_.string());
        Write(output, 'n', 200'000);
        EXPECT_EQ(List().size(), 2U);
    }
    EXPECT_EQ(ReadAll(target_), "old");
    EXPECT_EQ(List(), std::set<std::string>{"data.bin"});
}

// A value that is refused would be missing in the file: the file is given up, whatever follows.
TEST_F(FileStream, RefusedValueLeavesNothing) {
    WriteAll(target_, "old");
    FileOutput output(target_.string());
    output.WriteInt(1);
    EXPECT_THROW(output.WriteIntAsShort(70'000), Corvane::Stream::Error);
    EXPECT_FALSE(output.IsValid());
    EXPECT_THROW(output.WriteInt(2), Corvane::Stream::Error);
    EXPECT_THROW(output.WriteIntAsShort(70'000), Corvane::Stream::Error);
    EXPECT_FALSE(output.Close());
    EXPECT_TRUE(HasEvent(target_, "the number 70000 does not fit into 16 bits"));
    EXPECT_EQ(ReadAll(target_), "old");
    EXPECT_EQ(List(), std::set<std::string>{"data.bin"});
}

TEST_F(FileStream, KeepsModeAndLinks) {
    WriteAll(target_, "old");
    chmod(target_.c_str(), 0640);
    fs::create_symlink("data.bin", folder_ / "near");
    fs::create_directory(folder_ / "sub");
    fs::create_symlink("../near", folder_ / "sub" / "far");
    fs::create_symlink(folder_ / "made.bin", folder_ / "dangling");
    const mode_t mask = umask(027);
    for (const char* path : {"sub/far", "dangling"}) {
        FileOutput output((folder_ / path).string());
        Write(output, 'n', 3);
        EXPECT_TRUE(output.Close()) << path;
        EXPECT_TRUE(fs::is_symlink(folder_ / path)) << path;
    }
    umask(mask);
    EXPECT_EQ(ReadAll(target_), "nnn");
    EXPECT_EQ(ReadAll(folder_ / "made.bin"), "nnn");
    struct stat status {};
    ASSERT_EQ(stat(target_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U) << "of the file that was there";
    ASSERT_EQ(stat((folder_ / "made.bin").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U) << "0666 cut by the umask";

    const std::string longName(255, 'x');
    FileOutput output((folder_ / longName).string());
    EXPECT_TRUE(output.Close()) << "as long as a name can be";
}

TEST_F(FileStream, RelativePath) {
    EXPECT_TRUE(RunInChild([&] {
        if (chdir(folder_.c_str()) != 0) return false;
        FileOutput output("data.bin");
        Write(output, 'r', 2);
        return output.Close();
    }));
    EXPECT_EQ(ReadAll(target_), "rr");
}

TEST_F(FileStream, FailuresOfOpening) {
    WriteAll(target_, "old");
    WriteAll(folder_ / "locked", "old");
    fs::create_symlink("loop", folder_ / "loop");
    mkfifo((folder_ / "pipe").c_str(), 0600);
    const std::pair<fs::path, const char*> cases[] = {
        {folder_ / "absent" / "data.bin", "No such file or directory"},
        {target_ / "data.bin", "Not a directory"},
        {folder_, "Is a directory"},
        {folder_ / "", "Is a directory"},
        {folder_ / "loop", "Too many levels of symbolic links"},
        {folder_ / "pipe", "Invalid argument"},
        {folder_ / std::string(256, 'x'), "File name too long"},
        {"", "No such file or directory"},
        {"/dev/full", "Invalid argument"},
    };
    const auto before = List();
    for (const auto& [path, reason] : cases) {
        Event::Clear();
        FileOutput output(path.string());
        EXPECT_FALSE(output.IsOpen()) << path;
        EXPECT_THROW(output.WriteChar('x'), Corvane::Stream::Error);
        EXPECT_FALSE(output.Close());
        EXPECT_TRUE(HasEvent(path, reason)) << path << ": " << Event::GetKept().at(0).GetText();
    }
    EXPECT_EQ(List(), before);
}

TEST_F(FileStream, NoPermission) {
    WriteAll(target_, "old");
    const fs::path shut = folder_ / "shut";
    fs::create_directory(shut);
    WriteAll(shut / "data.bin", "old");
    chmod(shut.c_str(), 0555);
    chmod(target_.c_str(), 0444);
    chmod(folder_.c_str(), 0777);
    EXPECT_TRUE(RunInChild([&] {
        if (geteuid() == 0 && setresuid(65534, 65534, 65534) != 0) return false;
        for (const fs::path& path : {shut / "data.bin", shut / "new.bin", target_}) {
            Event::Clear();
            FileOutput output(path.string());
            if (output.IsOpen() || output.Close() || !HasEvent(path, "Permission denied")) return false;
        }
        return true;
    }));
    chmod(shut.c_str(), 0755);
    EXPECT_EQ(ReadAll(shut / "data.bin"), "old");
    EXPECT_EQ(ReadAll(target_), "old");
}

// The system lets no file grow beyond a limit, as on a full disk: while writing, and when the last bytes go out at the
// end.
TEST_F(FileStream, DiskFull) {
    WriteAll(target_, "old");
    for (const int count : {300'000, 50'000}) {
        EXPECT_TRUE(RunInChild([&] {
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit limit{40'000, 40'000};
            if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return false;
            Event::Clear();
            FileOutput output(target_.string());
            bool thrown = false;
            try {
                Write(output, 'n', count);
            } catch (const Corvane::Stream::Error&) {
                thrown = true;
            }
            return thrown == (count > 65'536) && !output.Close() && !output.IsValid() &&
                   HasEvent(target_, "File too large");
        })) << count;
        EXPECT_EQ(ReadAll(target_), "old");
        EXPECT_EQ(List(), std::set<std::string>{"data.bin"});
    }
}

TEST_F(FileStream, LeftOversGoButNotWhatIsBeingWritten) {
    const char* const leftOver = ".data.bin.0123456789abcdef.tmp";
    const std::set<std::string> others = {".data.bin.0123456789abcde.tmp", ".data.bin.0123456789ABCDEF.tmp",
                                          ".data.bin.x.0123456789abcdef.tmp", "data.bin.0123456789abcdef.tmp",
                                          ".data.bin.0123456789abcdef.tmp2"};
    WriteAll(folder_ / leftOver, "half");
    for (const auto& name : others) WriteAll(folder_ / name, "kept");
    auto expected = others;
    expected.insert("data.bin");

    FileOutput first(target_.string());
    Write(first, '1', 200'000);
    EXPECT_FALSE(fs::exists(folder_ / leftOver));
    EXPECT_TRUE(RunInChild([&] {
        FileOutput second(target_.string());
        Write(second, '2', 2);
        return second.Close();
    }));
    EXPECT_EQ(ReadAll(target_), "22");
    FileOutput third(target_.string());
    EXPECT_TRUE(first.Close());
    EXPECT_EQ(ReadAll(target_), std::string(200'000, '1'));
    EXPECT_TRUE(third.Close());
    EXPECT_EQ(ReadAll(target_), "");
    EXPECT_EQ(List(), expected);
}

// A child that stops before each of its calls of the system.
class TracedChild {
public:
    template <class Work>
    explicit TracedChild(Work work) : child_(fork()) {
        if (child_ == 0) {
            if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(2);
            raise(SIGSTOP);
            work();
            _exit(0);
        }
        waitpid(child_, &status_, 0);
        if (IsStopped()) ptrace(PTRACE_SETOPTIONS, child_, nullptr, PTRACE_O_TRACESYSGOOD);
    }
    ~TracedChild() {
        if (!IsStopped()) return;
        kill(child_, SIGKILL);
        waitpid(child_, &status_, 0);
    }
    TracedChild(const TracedChild&) = delete;
    TracedChild& operator=(const TracedChild&) = delete;

    [[nodiscard]] bool IsStopped() const { return WIFSTOPPED(status_); }
    [[nodiscard]] bool HasEndedWell() const { return WIFEXITED(status_) && WEXITSTATUS(status_) == 0; }
    // Goes on to the next call, and returns its number, or -1 when the child has ended. Calls that manage memory are
    // passed over: they leave files alone, and how many there are differs from run to run.
    long Step() {
        static const std::set<long> memory = {SYS_mmap, SYS_munmap, SYS_mremap, SYS_mprotect, SYS_madvise, SYS_brk};
        while (true) {
            ptrace(PTRACE_SYSCALL, child_, nullptr, nullptr);
            waitpid(child_, &status_, 0);
            if (!IsStopped()) return -1;
            __ptrace_syscall_info info{};
            ptrace(PTRACE_GET_SYSCALL_INFO, child_, sizeof info, &info);
            const long call = static_cast<long>(info.entry.nr);
            if (info.op == PTRACE_SYSCALL_INFO_ENTRY && !memory.contains(call)) return call;
        }
    }

private:
    pid_t child_;
    int status_ = 0;
};

// Kills a writer before its first, second, ... call of the system, from the opening of the file to the end. Whatever
// the moment, the target holds all of the old content or all of the new, and the next output removes what is left over.
TEST_F(FileStream, KilledBetweenAnyTwoCallsOfTheSystem) {
    const std::string oldText(1000, 'o');
    const std::string newText(150'000, 'n');
    const auto write = [&] {
        FileOutput output(target_.string());
        Write(output, 'n', static_cast<int>(newText.size()));
        output.Close();
    };
    std::map<long, int> calls;  // number of the call: how often it was the next
    int nmrOld = 0;
    int nmrNew = 0;
    int nmrLeftOvers = 0;
    bool ended = false;
    for (int steps = 1; !ended; ++steps) {
        ASSERT_LT(steps, 2000);
        WriteAll(target_, oldText);
        {
            TracedChild child(write);
            if (!child.IsStopped()) GTEST_SKIP() << "skipped: this machine lets no process trace another";
            long call = 0;
            for (int i = 0; i < steps && call >= 0; ++i) call = child.Step();
            ended = call < 0;
            ++calls[call];
            ASSERT_TRUE(!ended || child.HasEndedWell());
        }
        const std::string text = ReadAll(target_);
        ASSERT_TRUE(text == oldText || text == newText) << "after " << steps << " steps";
        ++(text == oldText ? nmrOld : nmrNew);
        nmrLeftOvers += List().size() > 1;
        {
            const FileOutput next(target_.string());
            ASSERT_TRUE(next.IsOpen());
        }
        ASSERT_EQ(List(), std::set<std::string>{"data.bin"}) << "after " << steps << " steps";
    }
    // The child was stopped where it matters: at each write, at the replacement, at both syncs.
    EXPECT_GE(calls[SYS_write], 3);
    EXPECT_EQ(calls[SYS_renameat], 1);
    EXPECT_EQ(calls[SYS_fsync], 2);
    EXPECT_EQ(calls[SYS_flock], 1);
    EXPECT_GT(nmrOld, 10);
    EXPECT_GT(nmrNew, 3);
    EXPECT_GT(nmrLeftOvers, 6);
}

}  // namespace
