// SPDX-License-Identifier: Apache-2.0
// The INI access used by the parameter store: typed getters that insist on the
// section and key being present, and typed writers.
//
// Getters throw a bare int: srci::err_ini_no_section when the section is missing,
// otherwise srci::err_ini_no_key when the key is missing. Doubles are kept in the
// file as 32-bit floats with six decimals; that precision is the file format.
#pragma once

#include <string>
#include <vector>

#include "INI/iniLookup.h"
#include "INI/minIni.h"

// The keys of one section, written together so that after any crash the section holds
// either all the old or all the new values. Values are formatted as INI::put formats them.
class IniRecord {
public:
    explicit IniRecord(std::string section) : section_(std::move(section)) {}
    IniRecord& add(const std::string& key, double value);
    IniRecord& add(const std::string& key, int value);
    IniRecord& add(const std::string& key, bool value);

    const std::string& section() const { return section_; }
    const std::vector<std::string>& keys() const { return keys_; }
    const std::vector<std::string>& values() const { return values_; }

private:
    std::string section_;
    std::vector<std::string> keys_;
    std::vector<std::string> values_;
};

// One section as read in one pass of the file. Its getters answer as INI's would have at the
// moment of the read, and throw the same codes.
class IniSection {
public:
    int getInt(const std::string& key) const;
    double getDouble(const std::string& key) const;
    std::string getStr(const std::string& key) const;
    bool getBool(const std::string& key) const;

private:
    friend class INI;
    explicit IniSection(srci::ini_detail::SectionKeys keys) : keys_(std::move(keys)) {}
    const std::string& value(const std::string& key) const;

    srci::ini_detail::SectionKeys keys_;
};

class INI {
public:
    // Binds to the file; nothing is read or created yet.
    explicit INI(std::string path);

    bool hasSection(const std::string& section) const;
    bool hasKey(const std::string& section, const std::string& key) const;

    int getInt(const std::string& section, const std::string& key) const;
    // Read as a 32-bit float and widened: 0.1 comes back as 0.100000001...
    double getDouble(const std::string& section, const std::string& key) const;
    std::string getStr(const std::string& section, const std::string& key) const;
    bool getBool(const std::string& section, const std::string& key) const;
    // Every key of a section from one scan of the file: for records of several keys.
    IniSection section(const std::string& section) const;

    // All return false when the file could not be written.
    bool put(const std::string& section, const std::string& key, const std::string& value);
    // A null value is refused (false) rather than taken as "remove the key".
    bool put(const std::string& section, const std::string& key, const char* value);
    bool put(const std::string& section, const std::string& key, int value);
    // Narrowed to a 32-bit float and written with six decimals.
    bool put(const std::string& section, const std::string& key, double value);
    // Written as "true" or "false".
    bool put(const std::string& section, const std::string& key, bool value);
    // Every key of the record in one replacement of the file, in the record's order.
    bool put(const IniRecord& record);

    const std::string& path() const { return path_; }

private:
    std::string path_;
    minIni ini_;
};
