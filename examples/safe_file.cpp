// A file that holds the old or the new content, whatever happens in between, and reading it back.
#include <filesystem>
#include <iostream>

#include "gnss/platform/FileStream.h"

int main() {
    const std::string path = (std::filesystem::temp_directory_path() / "gnss_example.bin").string();
    Corvane::FileOutput output(path, Corvane::ByteOrder::PC);
    output.WriteInt(2026);
    output.WriteString("kept as a whole");
    std::cout << (output.Close() ? "written" : "not written, and nothing changed") << '\n';

    Corvane::FileInput input(path, Corvane::ByteOrder::PC);
    const int year = input.ReadInt();
    std::cout << year << ' ' << input.ReadString() << '\n';
    std::filesystem::remove(path);
}
