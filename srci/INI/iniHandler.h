// The INI access used by the parameter store: typed getters that insist on the
// section and key being present, and typed writers.
//
// Getters throw a bare int: srci::err_ini_no_section when the section is missing,
// otherwise srci::err_ini_no_key when the key is missing. Doubles are kept in the
// file as 32-bit floats with six decimals; that precision is the file format.
#pragma once

#include <string>

#include "INI/minIni.h"

class INI {
public:
    // Binds to the file; nothing is read or created yet.
    explicit INI(std::string path);

    bool hasSection(const std::string& section) const;
    bool hasKey(const std::string& section, const std::string& key) const;
    void checkKey(const std::string& section, const std::string& key) const;

    int getInt(const std::string& section, const std::string& key) const;
    // Read as a 32-bit float and widened: 0.1 comes back as 0.100000001...
    double getDouble(const std::string& section, const std::string& key) const;
    std::string getStr(const std::string& section, const std::string& key) const;
    bool getBool(const std::string& section, const std::string& key) const;

    // All return false when the file could not be written.
    bool put(const std::string& section, const std::string& key, const std::string& value);
    // A null value is refused (false) rather than taken as "remove the key".
    bool put(const std::string& section, const std::string& key, const char* value);
    bool put(const std::string& section, const std::string& key, int value);
    // Narrowed to a 32-bit float and written with six decimals.
    bool put(const std::string& section, const std::string& key, double value);
    // Written as "true" or "false".
    bool put(const std::string& section, const std::string& key, bool value);

    const std::string& path() const { return path_; }

private:
    std::string path_;
    minIni ini_;
};
