#include "tests/fakehost/FakeCabinets.h"

#include "frame/HostError.h"
#include "frame/host/IFileSystem.h"

#include <cstring>

namespace {

bool isComponent(const char* text) {
    return text && *text && std::strcmp(text, ".") != 0 && std::strcmp(text, "..") != 0 &&
           !std::strchr(text, '/');
}

} // namespace

FakeCabinets::FakeCabinets(ICore& core, IFileSystem& files)
    : CMemoryCabinets(core), m_files(files) {}

std::optional<std::string> FakeCabinets::fileOf(const char* section, const char* name) {
    auto data = m_files.userDataFolder();
    if (!data || !isComponent(section) || !isComponent(name))
        return std::nullopt;
    return *data + section + "/" + name;
}

QsCab FakeCabinets::loadFile(const std::string& path) {
    QsStm stream = m_files.open(path, kQsFileRead);
    if (!stream)
        return nullptr;
    std::string bytes;
    char block[4096];
    for (long n; (n = stream->read(block, sizeof block)) > 0;)
        bytes.append(block, static_cast<size_t>(n));
    delete stream;
    QsCab cab = fromBytes(bytes);
    if (!cab)
        m_files.rename(path, path + ".corrupt");
    return cab;
}

QsCab FakeCabinets::loadCabinet(const char* section, const char* name) {
    auto path = fileOf(section, name);
    return path ? loadFile(*path) : nullptr;
}

void FakeCabinets::saveCabinet(QsCab cab, const char* section, const char* name) {
    auto path = fileOf(section, name);
    if (!cab || !path)
        throw HostError{kHostErrGeneral};
    destroyCabinet(loadFile(*path));
    if (!m_files.createFolder(*m_files.userDataFolder() + section + "/"))
        throw HostError{kHostErrGeneral};
    std::string bytes = toBytes(cab);
    QsStm stream = m_files.open(*path, kQsFileWrite | kQsFileCreate);
    if (!stream)
        throw HostError{kHostErrGeneral};
    long written = stream->write(bytes.data(), static_cast<long>(bytes.size()));
    delete stream;
    if (written != static_cast<long>(bytes.size()))
        throw HostError{kHostErrGeneral};
    ++m_saves;
}
