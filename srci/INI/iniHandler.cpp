#include "INI/iniHandler.h"

#include "itf_rc/srci_errcode.h"

INI::INI(std::string path) : path_(std::move(path)), ini_(path_) {}

bool INI::hasSection(const std::string& section) const
{
    return ini_.hassection(section);
}

bool INI::hasKey(const std::string& section, const std::string& key) const
{
    return ini_.haskey(section, key);
}

void INI::checkKey(const std::string& section, const std::string& key) const
{
    // The common case, a present key, costs one scan of the file.
    if (hasKey(section, key))
        return;
    if (!hasSection(section))
        throw srci::err_ini_no_section;
    throw srci::err_ini_no_key;
}

int INI::getInt(const std::string& section, const std::string& key) const
{
    checkKey(section, key);
    return ini_.geti(section, key, 0);
}

double INI::getDouble(const std::string& section, const std::string& key) const
{
    checkKey(section, key);
    return static_cast<double>(ini_.getf(section, key, 0.0f));
}

std::string INI::getStr(const std::string& section, const std::string& key) const
{
    checkKey(section, key);
    return ini_.gets(section, key, "");
}

bool INI::getBool(const std::string& section, const std::string& key) const
{
    checkKey(section, key);
    return ini_.getbool(section, key, false);
}

bool INI::put(const std::string& section, const std::string& key, const std::string& value)
{
    return ini_.put(section, key, value);
}

bool INI::put(const std::string& section, const std::string& key, const char* value)
{
    return value != nullptr && ini_.put(section, key, value);
}

bool INI::put(const std::string& section, const std::string& key, int value)
{
    return ini_.put(section, key, value);
}

bool INI::put(const std::string& section, const std::string& key, double value)
{
    return ini_.put(section, key, value);
}

bool INI::put(const std::string& section, const std::string& key, bool value)
{
    return ini_.put(section, key, value);
}
