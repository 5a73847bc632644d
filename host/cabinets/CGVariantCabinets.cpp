#include "host/cabinets/CGVariantCabinets.h"

#include "frame/HostError.h"

#include <glib.h>

#include <cstdio>
#include <cstring>
#include <utility>

namespace {

bool isComponent(const char* text) {
    return text && *text && std::strcmp(text, ".") != 0 && std::strcmp(text, "..") != 0 &&
           !std::strchr(text, '/');
}

std::string withSlash(std::string folder) {
    if (folder.empty() || folder.back() != '/')
        folder += '/';
    return folder;
}

} // namespace

CGVariantCabinets::CGVariantCabinets(ICore& core)
    : CGVariantCabinets(core, std::string(g_get_user_data_dir()) + "/vellum/") {}

CGVariantCabinets::CGVariantCabinets(ICore& core, std::string root)
    : CMemoryCabinets(core), m_root(withSlash(std::move(root))) {}

std::optional<std::string> CGVariantCabinets::fileOf(const char* section, const char* name) const {
    if (!isComponent(section) || !isComponent(name))
        return std::nullopt;
    return m_root + section + "/" + name;
}

QsCab CGVariantCabinets::loadFile(const std::string& path) {
    gchar* contents = nullptr;
    gsize length = 0;
    if (!g_file_get_contents(path.c_str(), &contents, &length, nullptr))
        return nullptr;
    std::string bytes(contents, length);
    g_free(contents);
    QsCab cab = fromBytes(bytes);
    if (!cab) {
        std::string aside = path + ".corrupt";
        ::rename(path.c_str(), aside.c_str());
    }
    return cab;
}

QsCab CGVariantCabinets::loadCabinet(const char* section, const char* name) {
    auto path = fileOf(section, name);
    return path ? loadFile(*path) : nullptr;
}

void CGVariantCabinets::saveCabinet(QsCab cab, const char* section, const char* name) {
    auto path = fileOf(section, name);
    if (!cab || !path)
        throw HostError{kHostErrGeneral};
    // Reading what is there sets a damaged file aside before it is replaced.
    destroyCabinet(loadFile(*path));
    std::string folder = m_root + section;
    if (g_mkdir_with_parents(folder.c_str(), 0700) != 0)
        throw HostError{kHostErrGeneral};
    std::string bytes = toBytes(cab);
    auto flags = static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT |
                                                    G_FILE_SET_CONTENTS_DURABLE);
    if (!g_file_set_contents_full(path->c_str(), bytes.data(), static_cast<gssize>(bytes.size()),
                                  flags, 0600, nullptr))
        throw HostError{kHostErrGeneral};
}
