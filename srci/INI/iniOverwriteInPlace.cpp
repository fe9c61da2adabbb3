#include <cstring>
#include <sys/types.h>

#include "INI/iniFileAccess.h"
#include "INI/iniRewrite.h"

namespace srci::ini_detail {

bool overwriteLineInPlace(const char* filename, const IniLine& old, std::string_view newLine)
{
    if (!old.isComplete() || old.length != static_cast<long long>(newLine.size()))
        return false;
    FileHandle file = openRegularFile(filename, OpenMode::readWrite);
    if (!file)
        return false;

    // Another writer may have changed the file since it was scanned; only the
    // exact old line may be overwritten.
    char current[INI_BUFFERSIZE + 1];
    const std::size_t length = static_cast<std::size_t>(old.length);
    if (length > sizeof current || ::fseeko(file.get(), old.start, SEEK_SET) != 0 ||
        std::fread(current, 1, length, file.get()) != length)
        return false;
    if (std::memcmp(current, old.text, old.keptLength) != 0 ||
        (old.endsWithLineFeed && current[old.keptLength] != '\n'))
        return false;

    if (::fseeko(file.get(), old.start, SEEK_SET) != 0 ||
        std::fwrite(newLine.data(), 1, newLine.size(), file.get()) != newLine.size())
        return false;
    return flushSyncClose(std::move(file));
}

}  // namespace srci::ini_detail
