#include "host/cabinets/CGVariantCabinets.h"

#include "frame/HostError.h"

#include <fcntl.h>
#include <glib.h>
#include <glib/gstdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iostream>
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

// How long a temporary file must have been left alone to count as the remains of a killed save.
constexpr gint64 kStaleMicroseconds = 60 * G_USEC_PER_SEC;

// Whether name is base followed by "." and the six letters or digits that the temporary file of
// a save has.
bool isTemporaryOf(const char* name, const std::string& base) {
    size_t length = std::strlen(name);
    if (length != base.size() + 7 || std::strncmp(name, base.c_str(), base.size()) != 0 ||
        name[base.size()] != '.')
        return false;
    for (size_t i = base.size() + 1; i < length; ++i) {
        if (!g_ascii_isalnum(name[i]))
            return false;
    }
    return true;
}

} // namespace

void CGVariantCabinets::removeStaleTemporaries(const std::string& path) {
    size_t slash = path.rfind('/');
    std::string folder = path.substr(0, slash + 1);
    std::string base = path.substr(slash + 1);
    GDir* dir = g_dir_open(folder.c_str(), 0, nullptr);
    if (!dir)
        return;
    gint64 now = g_get_real_time();
    while (const char* name = g_dir_read_name(dir)) {
        if (!isTemporaryOf(name, base))
            continue;
        std::string temporary = folder + name;
        GStatBuf info;
        if (g_lstat(temporary.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
            now - static_cast<gint64>(info.st_mtime) * G_USEC_PER_SEC >= kStaleMicroseconds)
            g_unlink(temporary.c_str());
    }
    g_dir_close(dir);
}

CGVariantCabinets::CGVariantCabinets(ICore& core)
    : CGVariantCabinets(core, std::string(g_get_user_data_dir()) + "/vellum/") {}

CGVariantCabinets::CGVariantCabinets(ICore& core, std::string root)
    : CMemoryCabinets(core), m_root(withSlash(std::move(root))) {}

std::optional<std::string> CGVariantCabinets::fileOf(const char* section, const char* name) const {
    if (!isComponent(section) || !isComponent(name))
        return std::nullopt;
    return m_root + section + "/" + name;
}

namespace {

/// The contents of an open file of the given size.
void readAll(int fd, size_t size, std::string& bytes) {
    bytes.resize(size);
    size_t done = 0;
    while (done < size) {
        ssize_t n = ::read(fd, bytes.data() + done, size - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        done += static_cast<size_t>(n);
    }
    // A file that shrank while it was read is read as it now ends.
    bytes.resize(done);
}

/// Writes to an open file; a failed write raises a host error.
class FileSink final : public CabinetByteSink {
public:
    explicit FileSink(int fd) : m_fd(fd) {}

    void append(const char* bytes, size_t size) override {
        writeAt(m_end, bytes, size);
        m_end += size;
    }
    void patch(size_t at, const char* bytes, size_t size) override { writeAt(at, bytes, size); }

private:
    void writeAt(size_t at, const char* bytes, size_t size) {
        while (size > 0) {
            ssize_t n = ::pwrite(m_fd, bytes, size, static_cast<off_t>(at));
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                throw HostError{kHostErrGeneral};
            bytes += n;
            at += static_cast<size_t>(n);
            size -= static_cast<size_t>(n);
        }
    }

    int m_fd;
    size_t m_end = 0;
};

/// Writes a cabinet's byte form to a file in one step: into a temporary file beside it, made
/// durable, then renamed over it. On failure the file is as it was and a host error is raised.
void replaceFile(const std::string& path, const std::function<void(CabinetByteSink&)>& write) {
    std::string temporary = path + ".XXXXXX";
    int fd = g_mkstemp_full(temporary.data(), O_RDWR | O_CLOEXEC, 0600);
    if (fd < 0)
        throw HostError{kHostErrGeneral};
    bool written = false;
    try {
        FileSink sink(fd);
        write(sink);
        written = ::fsync(fd) == 0;
    } catch (...) {
        ::close(fd);
        g_unlink(temporary.c_str());
        throw;
    }
    written = ::close(fd) == 0 && written;
    if (!written || ::rename(temporary.c_str(), path.c_str()) != 0) {
        g_unlink(temporary.c_str());
        throw HostError{kHostErrGeneral};
    }
}

} // namespace

CGVariantCabinets::FileStamp CGVariantCabinets::stampFrom(const struct stat& info) {
    return {info.st_dev, info.st_ino, info.st_size, static_cast<long>(info.st_ctim.tv_sec),
            static_cast<long>(info.st_ctim.tv_nsec)};
}

std::optional<CGVariantCabinets::FileStamp> CGVariantCabinets::stampOf(const std::string& path) {
    struct stat info;
    if (::stat(path.c_str(), &info) != 0)
        return std::nullopt;
    return stampFrom(info);
}

QsCab CGVariantCabinets::loadFile(const std::string& path) {
    removeStaleTemporaries(path);
    m_sound.erase(path);
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return nullptr;
    struct stat info;
    std::string bytes;
    bool regular = ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
    if (regular)
        readAll(fd, static_cast<size_t>(info.st_size), bytes);
    ::close(fd);
    if (!regular)
        return nullptr;
    QsCab cab = fromBytes(bytes);
    if (cab && bytes.size() == static_cast<size_t>(info.st_size))
        m_sound[path] = stampFrom(info);
    if (!cab) {
        std::string aside = path + ".corrupt";
        if (::rename(path.c_str(), aside.c_str()) == 0)
            std::cerr << "vellum-host: the cabinet file " << path
                      << " could not be read; it was set aside as " << aside
                      << " and the cabinet starts empty" << std::endl;
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
    auto sound = m_sound.find(*path);
    if (sound == m_sound.end() || stampOf(*path) != sound->second)
        destroyCabinet(loadFile(*path));
    else
        removeStaleTemporaries(*path);
    std::string folder = m_root + section;
    if (g_mkdir_with_parents(folder.c_str(), 0700) != 0)
        throw HostError{kHostErrGeneral};
    replaceFile(*path, [&](CabinetByteSink& sink) { writeBytes(cab, sink); });
    if (auto stamp = stampOf(*path))
        m_sound[*path] = *stamp;
}
