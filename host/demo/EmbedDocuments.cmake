# Turns documents into a C++ source that serves them by file name.
#   cmake -DOUTPUT=<file.cpp> -DFILES=<file;file...> [-DHEADER=<path> -DFUNCTION=<name>]
#         -P EmbedDocuments.cmake
# Each file is kept byte for byte; its name is its file name. The function, declared in the
# header, takes a name and answers the document (the demo's demoDocument by default).
if(NOT HEADER)
    set(HEADER host/demo/DemoDocuments.h)
endif()
if(NOT FUNCTION)
    set(FUNCTION demoDocument)
endif()

set(arrays "")
set(records "")
set(index 0)
foreach(file IN LISTS FILES)
    get_filename_component(name ${file} NAME)
    file(READ ${file} hex HEX)
    string(LENGTH "${hex}" digits)
    math(EXPR size "${digits} / 2")
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
    string(REGEX REPLACE "((0x[0-9a-f][0-9a-f],){16})" "\\1\n    " bytes "${bytes}")
    string(APPEND arrays "const unsigned char kDocument${index}[] = {\n    ${bytes}\n};\n")
    string(APPEND records
           "    {\"${name}\", reinterpret_cast<const char*>(kDocument${index}), ${size}},\n")
    math(EXPR index "${index} + 1")
endforeach()

file(WRITE ${OUTPUT}.tmp
"// Generated from documents at build time; edit those, not this.
#include \"${HEADER}\"

#include <cstddef>

namespace {

${arrays}
struct Document {
    const char* name;
    const char* text;
    size_t size;
};

const Document kDocuments[] = {
${records}};

} // namespace

std::string_view ${FUNCTION}(std::string_view name) {
    for (const Document& document : kDocuments) {
        if (name == document.name)
            return {document.text, document.size};
    }
    return {};
}
")
file(COPY_FILE ${OUTPUT}.tmp ${OUTPUT} ONLY_IF_DIFFERENT)
file(REMOVE ${OUTPUT}.tmp)
