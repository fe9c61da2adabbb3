// SPDX-License-Identifier: Apache-2.0
#include "INI/iniStorage.h"

#include <fcntl.h>
#include <unistd.h>
#include <cerrno>

#include "INI/iniRewrite.h"

namespace {

std::string directoryOf(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool writeAll(int fd, std::string_view content) {
    while (!content.empty()) {
        const ssize_t n = ::write(fd, content.data(), content.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        content.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

// Some file systems cannot sync a directory (EINVAL); there the rename is all we have.
bool syncDirectory(const std::string& dir) {
    const int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return false;
    const bool ok = ::fsync(fd) == 0 || errno == EINVAL;
    ::close(fd);
    return ok;
}

DiskIniStorage diskStorage;
IniStorage* current = &diskStorage;

}  // namespace

srci::ini_detail::FileHandle DiskIniStorage::openForReading(const char* path) {
    return srci::ini_detail::openForReading(path);
}

bool DiskIniStorage::replace(const char* path, std::string_view content) {
    const std::string tempName = srci::ini_detail::temporaryName(path != nullptr ? path : "");
    if (tempName.empty()) return false;
    // A left-over twin (a crash during an earlier write) is only ever unlinked: a symlink
    // planted there goes, its target is never opened, and a directory makes the write fail.
    beforeStep(IniStep::removeStale);
    if (::unlink(tempName.c_str()) != 0 && errno != ENOENT) return false;
    beforeStep(IniStep::createTemp);
    const int fd = ::open(tempName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY, 0666);
    if (fd < 0) return false;
    beforeStep(IniStep::write);
    bool ok = writeAll(fd, content);
    if (ok) {
        beforeStep(IniStep::syncFile);
        ok = ::fsync(fd) == 0;
    }
    ok = ::close(fd) == 0 && ok;
    if (ok) {
        beforeStep(IniStep::rename);
        ok = ::rename(tempName.c_str(), path) == 0;
        if (ok) {
            beforeStep(IniStep::syncDirectory);
            return syncDirectory(directoryOf(path));
        }
    }
    ::unlink(tempName.c_str());
    return false;
}

IniStorage& iniStorage() { return *current; }

void setIniStorage(IniStorage* storage) { current = storage != nullptr ? storage : &diskStorage; }
