#include "host/files/CPosixFileSystem.h"

#include "host/files/DIPath.h"

#include <glib.h>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

std::string withSlash(std::string folder) {
    if (folder.empty() || folder.back() != '/')
        folder += '/';
    return folder;
}

/// A stream over an open file descriptor, closed with the stream.
class CFdStm final : public _t_QsStm {
public:
    CFdStm(int fd, bool canRead, bool canWrite) : m_fd(fd), m_read(canRead), m_write(canWrite) {}
    ~CFdStm() override { ::close(m_fd); }
    CFdStm(const CFdStm&) = delete;
    CFdStm& operator=(const CFdStm&) = delete;

    long read(char* buffer, long count) override {
        if (!m_read)
            return -1;
        for (;;) {
            ssize_t n = ::read(m_fd, buffer, static_cast<size_t>(count));
            if (n >= 0 || errno != EINTR)
                return static_cast<long>(n);
        }
    }

    long write(const char* buffer, long count) override {
        if (!m_write)
            return -1;
        long done = 0;
        while (done < count) {
            ssize_t n = ::write(m_fd, buffer + done, static_cast<size_t>(count - done));
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                return done > 0 ? done : -1;
            done += n;
        }
        return done;
    }

private:
    int m_fd;
    bool m_read;
    bool m_write;
};

// Paths are absolute: a relative one would depend on the working folder of the process.
bool isAbsolute(const std::string& path) {
    return !path.empty() && path[0] == '/';
}

bool statIs(const std::string& path, mode_t type) {
    if (!isAbsolute(path))
        return false;
    struct stat info;
    return ::stat(DIPathWithoutSlash(path).c_str(), &info) == 0 && (info.st_mode & S_IFMT) == type;
}

// Opens a regular file only; O_NONBLOCK keeps a FIFO or device from holding the open up.
int openRegular(const std::string& path, int mode) {
    if (!isAbsolute(path) || path.back() == '/')
        return -1;
    int fd = ::open(path.c_str(), mode | O_CLOEXEC | O_NONBLOCK, 0666);
    if (fd < 0)
        return -1;
    struct stat info;
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        ::close(fd);
        return -1;
    }
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    return fd;
}

} // namespace

std::string CPosixFileSystem::defaultDataFolder() {
    return withSlash(std::string(g_get_user_data_dir()) + "/vellum");
}

CPosixFileSystem::CPosixFileSystem() : CPosixFileSystem(defaultDataFolder(), g_get_tmp_dir()) {}

CPosixFileSystem::CPosixFileSystem(std::string dataFolder, std::string tempFolder)
    : m_dataFolder(withSlash(std::move(dataFolder))),
      m_tempFolder(withSlash(std::move(tempFolder))) {}

std::optional<std::string> CPosixFileSystem::userDataFolder() {
    // The folder is private to the user: it holds the credentials cabinet.
    if (g_mkdir_with_parents(m_dataFolder.c_str(), 0700) != 0)
        return std::nullopt;
    return m_dataFolder;
}

std::optional<std::string> CPosixFileSystem::tempFolder() {
    if (!isFolder(m_tempFolder))
        return std::nullopt;
    return m_tempFolder;
}

std::optional<std::string> CPosixFileSystem::pathFromText(const char* form, const char* text,
                                                          const char* base) {
    return DIPathFromText(form, text, base);
}

bool CPosixFileSystem::createFolder(const std::string& path) {
    if (!isAbsolute(path))
        return false;
    return g_mkdir_with_parents(DIPathWithoutSlash(path).c_str(), 0700) == 0 && isFolder(path);
}

bool CPosixFileSystem::isFolder(const std::string& path) {
    return statIs(path, S_IFDIR);
}

bool CPosixFileSystem::isFile(const std::string& path) {
    return statIs(path, S_IFREG);
}

QsStm CPosixFileSystem::open(const std::string& path, int32_t flags) {
    bool canRead = flags & kQsFileRead;
    bool canWrite = flags & kQsFileWrite;
    if (!canRead && !canWrite)
        return nullptr;
    int mode = canRead && canWrite ? O_RDWR : canWrite ? O_WRONLY : O_RDONLY;
    if (canWrite)
        mode |= O_TRUNC | ((flags & kQsFileCreate) ? O_CREAT : 0);
    int fd = openRegular(path, mode);
    return fd < 0 ? nullptr : new CFdStm(fd, canRead, canWrite);
}

QsStm CPosixFileSystem::openAt(const std::string& path, int64_t offset) {
    if (offset < 0)
        return nullptr;
    int fd = openRegular(path, O_RDONLY);
    if (fd < 0)
        return nullptr;
    if (::lseek(fd, static_cast<off_t>(offset), SEEK_SET) < 0) {
        ::close(fd);
        return nullptr;
    }
    return new CFdStm(fd, true, false);
}

bool CPosixFileSystem::remove(const std::string& path) {
    return isAbsolute(path) && ::remove(DIPathWithoutSlash(path).c_str()) == 0;
}

bool CPosixFileSystem::rename(const std::string& from, const std::string& to) {
    return isAbsolute(from) && isAbsolute(to) &&
           ::rename(DIPathWithoutSlash(from).c_str(), DIPathWithoutSlash(to).c_str()) == 0;
}

std::optional<std::string> CPosixFileSystem::newTempFilePath() {
    auto folder = tempFolder();
    if (!folder)
        return std::nullopt;
    std::string path = *folder + "vellum-XXXXXX";
    int fd = g_mkstemp(path.data());
    if (fd < 0)
        return std::nullopt;
    ::close(fd);
    return path;
}
