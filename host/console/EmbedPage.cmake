# Writes OUTPUT, a source file with the bytes of FILES ("name=path" each): the console's page, for ConsolePage.cpp.
# Run by cmake -P at build time.
set(arrays "")
set(table "")
set(number 0)
foreach(entry ${FILES})
  string(FIND "${entry}" "=" split)
  string(SUBSTRING "${entry}" 0 ${split} name)
  math(EXPR begin "${split} + 1")
  string(SUBSTRING "${entry}" ${begin} -1 path)
  file(READ ${path} hex HEX)
  file(SHA256 ${path} digest)
  string(SUBSTRING ${digest} 0 32 tag)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
  string(APPEND arrays "constexpr unsigned char Asset${number}[] = {${bytes}0};\n")
  string(APPEND table "    {\"${name}\", Asset${number}, sizeof Asset${number} - 1, \"\\\"${tag}\\\"\"},\n")
  math(EXPR number "${number} + 1")
endforeach()
file(WRITE ${OUTPUT} "// Made by EmbedPage.cmake.
#include \"host/console/ConsolePage.h\"

namespace Host {

namespace {

${arrays}
constexpr EmbeddedFile Files[] = {
${table}};

}  // namespace

std::span<const EmbeddedFile> GetEmbeddedFiles() {
    return Files;
}

}  // namespace Host
")
