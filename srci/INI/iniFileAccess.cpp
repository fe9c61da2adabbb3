// SPDX-License-Identifier: Apache-2.0
#include "INI/iniFileAccess.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>

namespace srci::ini_detail {

FileHandle unbuffered(FileHandle file) {
    if (file) std::setvbuf(file.get(), nullptr, _IONBF, 0);
    return file;
}

FileHandle openForReading(const char* path) {
    if (path == nullptr || *path == '\0') {
        errno = EINVAL;
        return {};
    }
    // O_NONBLOCK only matters for the open itself: it keeps a FIFO under the INI
    // name from stalling the main cycle. It is cleared again for regular files.
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (fd < 0) return {};

    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        const int reason = S_ISDIR(info.st_mode) ? EISDIR : EINVAL;
        ::close(fd);
        errno = reason;
        return {};
    }
    const int flags = ::fcntl(fd, F_GETFL);
    if (flags >= 0) ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK);

    std::FILE* file = ::fdopen(fd, "rb");
    if (file == nullptr) {
        const int reason = errno;
        ::close(fd);
        errno = reason;
        return {};
    }
    return unbuffered(FileHandle(file));
}

}  // namespace srci::ini_detail
