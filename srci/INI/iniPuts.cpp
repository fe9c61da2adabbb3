// Writing, changing and removing one key (or a whole section) of an INI file.
#include <cerrno>

#include "INI/iniFileAccess.h"
#include "INI/iniLineSyntax.h"
#include "INI/iniLookup.h"
#include "INI/iniRewrite.h"
#include "INI/minIni.h"

using namespace srci::ini_detail;

namespace {

// A line that does not fit the read buffer would be cut when read back.
bool fitsReadBuffer(const std::string& line)
{
    return line.size() - 1 <= INI_BUFFERSIZE - 1;  // the line feed is not read into the buffer
}

bool isWritableChange(std::string_view section, const char* key, const char* value)
{
    if (!isWritableSection(section) || !fitsReadBuffer(sectionLine(section)))
        return false;
    if (key == nullptr)
        return true;  // the whole section goes, whatever the value
    if (!isWritableKey(key))
        return false;
    return value == nullptr || (isWritableValue(value) && fitsReadBuffer(keyLine(key, value)));
}

int createWithKey(const char* filename, std::string_view section, const char* key,
                  const char* value)
{
    FileHandle file = openRegularFile(filename, OpenMode::createWrite);
    if (!file)
        return 0;
    std::string text = section.empty() ? std::string() : sectionLine(section);
    text += keyLine(key, value);
    const bool written = std::fwrite(text.data(), 1, text.size(), file.get()) == text.size();
    return flushSyncClose(std::move(file)) && written ? 1 : 0;
}

}  // namespace

int ini_puts(const char* section, const char* key, const char* value, const char* filename)
{
    if (filename == nullptr || *filename == '\0')
        return 0;
    const std::string_view sectionName = section != nullptr ? section : "";
    if (!isWritableChange(sectionName, key, value))
        return 0;

    FileHandle source = openRegularFile(filename, OpenMode::read);
    if (!source) {
        // Only a file that is really absent may be created; anything else
        // (a directory, no permission) is a failed write.
        if (errno != ENOENT)
            return 0;
        if (key == nullptr || value == nullptr)
            return 1;  // nothing to remove
        return createWithKey(filename, sectionName, key, value);
    }

    IniLineReader reader(source.get());
    const KeyLookup found = lookupKey(reader, sectionName, key != nullptr ? key : "");
    if (key == nullptr) {
        if (!found.sectionFound)
            return 1;
    } else if (value == nullptr) {
        if (!found.keyFound)
            return 1;
    } else if (found.keyFound) {
        if (found.value == value)
            return 1;
        const std::string newLine = keyLine(key, value);
        if (found.line.isComplete() && found.line.length == static_cast<long long>(newLine.size())) {
            source.reset();
            if (overwriteLineInPlace(filename, found.line, newLine))
                return 1;
            // The file changed under us or cannot be opened for update: take the long way.
            source = openRegularFile(filename, OpenMode::read);
            if (!source)
                return 0;
            reader = IniLineReader(source.get());
        }
    }

    if (!reader.rewind())
        return 0;
    return rewriteThroughTemp(filename, reader, {sectionName, key, value}) ? 1 : 0;
}
