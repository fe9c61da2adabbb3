#include "INI/iniFileAccess.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace srci::ini_detail {

namespace {

int openFlags(OpenMode mode)
{
    // O_NONBLOCK only matters for the open itself: it keeps a FIFO under the INI
    // name from stalling the main cycle. It is cleared again for regular files.
    const int common = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    switch (mode) {
    case OpenMode::read:
        return O_RDONLY | common;
    case OpenMode::readWrite:
        return O_RDWR | common;
    case OpenMode::createWrite:
        return O_WRONLY | O_CREAT | O_TRUNC | common;
    }
    return O_RDONLY | common;
}

const char* stdioMode(OpenMode mode)
{
    switch (mode) {
    case OpenMode::read:
        return "rb";
    case OpenMode::readWrite:
        return "r+b";
    case OpenMode::createWrite:
        return "wb";
    }
    return "rb";
}

}  // namespace

FileHandle openRegularFile(const char* path, OpenMode mode)
{
    if (path == nullptr || *path == '\0') {
        errno = EINVAL;
        return {};
    }
    const int fd = ::open(path, openFlags(mode), 0666);
    if (fd < 0)
        return {};

    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        const int reason = S_ISDIR(info.st_mode) ? EISDIR : EINVAL;
        ::close(fd);
        errno = reason;
        return {};
    }
    const int flags = ::fcntl(fd, F_GETFL);
    if (flags >= 0)
        ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK);

    std::FILE* file = ::fdopen(fd, stdioMode(mode));
    if (file == nullptr) {
        const int reason = errno;
        ::close(fd);
        errno = reason;
        return {};
    }
    return FileHandle(file);
}

bool flushSyncClose(FileHandle file)
{
    if (!file)
        return false;
    bool ok = std::fflush(file.get()) == 0 && std::ferror(file.get()) == 0;
    ok = ::fsync(::fileno(file.get())) == 0 && ok;
    ok = std::fclose(file.release()) == 0 && ok;
    return ok;
}

}  // namespace srci::ini_detail
