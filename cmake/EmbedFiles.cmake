# cmake -DOUTPUT=FILE -DFILES="A;B" -P EmbedFiles.cmake: the files of the receiver's page as C++.
set(arrays "")
set(entries "")
set(number 0)
foreach(file IN LISTS FILES)
  file(READ "${file}" bytes HEX)
  get_filename_component(name "${file}" NAME)
  string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
  string(APPEND arrays "const unsigned char bytes${number}[] = {${bytes}};\n")
  string(APPEND entries "        {\"${name}\", textOf(bytes${number}, sizeof bytes${number})},\n")
  math(EXPR number "${number} + 1")
endforeach()
file(WRITE "${OUTPUT}" "#include \"receiver/web/page_files.h\"

namespace receiver {

namespace {

${arrays}
std::string_view textOf(const unsigned char* bytes, size_t count)
{
    return {reinterpret_cast<const char*>(bytes), count};
}

}  // namespace

const std::vector<PageFile>& pageFiles()
{
    static const std::vector<PageFile> files = {
${entries}    };
    return files;
}

}  // namespace receiver
")
