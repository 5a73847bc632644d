# Turns resource files into the plug-in's resource table, a C++ source.
#   cmake -DOUTPUT=<file.cpp> -DFILES=<file;file...> -P EmbedResources.cmake
# A file's type comes from its ending: ".png" is PNGI, ".bundle" BNDL. Its name is the file name.

set(arrays "")
set(records "")
set(index 0)
foreach(file IN LISTS FILES)
    get_filename_component(name ${file} NAME)
    string(TOLOWER "${name}" lower)
    if(lower MATCHES "\\.png$")
        set(type kRscTypePNG)
    elseif(lower MATCHES "\\.bundle$")
        set(type kRscTypeBundle)
    else()
        message(FATAL_ERROR "EmbedResources: no resource type for ${name}")
    endif()
    file(READ ${file} hex HEX)
    string(LENGTH "${hex}" digits)
    math(EXPR size "${digits} / 2")
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
    string(REGEX REPLACE "((0x[0-9a-f][0-9a-f],){16})" "\\1\n    " bytes "${bytes}")
    string(APPEND arrays "const unsigned char kResource${index}[] = {\n    ${bytes}\n};\n")
    string(APPEND records "    {${type}, \"${name}\", kResource${index}, ${size}},\n")
    math(EXPR index "${index} + 1")
endforeach()

file(WRITE ${OUTPUT}.tmp
"// Generated from the resource files at build time; edit those, not this.
#include \"frame/Resources.h\"

namespace {

${arrays}
} // namespace

extern const RscRec kPluginResources[] = {
${records}};
extern const size_t kPluginResourceCount = ${index};
")
file(COPY_FILE ${OUTPUT}.tmp ${OUTPUT} ONLY_IF_DIFFERENT)
file(REMOVE ${OUTPUT}.tmp)
