// SPDX-License-Identifier: Apache-2.0
#include "INI/iniHandler.h"

#include <cstdio>
#include <limits>

#include "INI/iniValueText.h"
#include "itf_rc/srci_errcode.h"

using srci::ini_detail::boolFromValue;
using srci::ini_detail::floatFromValue;
using srci::ini_detail::longFromValue;

namespace {

// The text put(double) writes: narrowed to a float (saturating), six decimals.
std::string floatText(double value) {
    constexpr double largest = std::numeric_limits<float>::max();
    const float narrowed = value > largest    ? std::numeric_limits<float>::infinity()
                           : value < -largest ? -std::numeric_limits<float>::infinity()
                                              : static_cast<float>(value);
    char text[64];
    std::snprintf(text, sizeof text, "%f", static_cast<double>(narrowed));
    return text;
}

// Text reads go through a buffer of INI_BUFFERSIZE bytes.
std::string asText(const std::string& value) { return value.substr(0, INI_BUFFERSIZE - 1); }

}  // namespace

IniRecord& IniRecord::add(const std::string& key, double value) {
    keys_.push_back(key);
    values_.push_back(floatText(value));
    return *this;
}

IniRecord& IniRecord::add(const std::string& key, int value) {
    keys_.push_back(key);
    values_.push_back(std::to_string(value));
    return *this;
}

IniRecord& IniRecord::add(const std::string& key, bool value) {
    keys_.push_back(key);
    values_.push_back(value ? "true" : "false");
    return *this;
}

INI::INI(std::string path) : path_(std::move(path)), ini_(path_) {}

bool INI::hasSection(const std::string& section) const { return ini_.hassection(section); }

bool INI::hasKey(const std::string& section, const std::string& key) const { return ini_.haskey(section, key); }

// A single key costs the same one scan as its whole section, and throws the same codes.
int INI::getInt(const std::string& section, const std::string& key) const { return this->section(section).getInt(key); }

// Read as a 32-bit float, as minIni::getf does.
double INI::getDouble(const std::string& section, const std::string& key) const {
    return this->section(section).getDouble(key);
}

std::string INI::getStr(const std::string& section, const std::string& key) const {
    return this->section(section).getStr(key);
}

bool INI::getBool(const std::string& section, const std::string& key) const {
    return this->section(section).getBool(key);
}

IniSection INI::section(const std::string& section) const {
    return IniSection(srci::ini_detail::readSectionInFile(section, path_.c_str()));
}

const std::string& IniSection::value(const std::string& key) const {
    if (!keys_.sectionFound) throw srci::err_ini_no_section;
    const std::string* found = keys_.find(key);
    if (found == nullptr) throw srci::err_ini_no_key;
    return *found;
}

int IniSection::getInt(const std::string& key) const { return static_cast<int>(longFromValue(value(key), 0)); }

double IniSection::getDouble(const std::string& key) const {
    return static_cast<double>(floatFromValue(value(key), 0.0f));
}

std::string IniSection::getStr(const std::string& key) const { return asText(value(key)); }

bool IniSection::getBool(const std::string& key) const { return boolFromValue(value(key), 0) != 0; }

bool INI::put(const std::string& section, const std::string& key, const std::string& value) {
    return ini_.put(section, key, value);
}

bool INI::put(const std::string& section, const std::string& key, const char* value) {
    return value != nullptr && ini_.put(section, key, value);
}

bool INI::put(const std::string& section, const std::string& key, int value) { return ini_.put(section, key, value); }

bool INI::put(const std::string& section, const std::string& key, double value) {
    return ini_.put(section, key, value);
}

bool INI::put(const std::string& section, const std::string& key, bool value) { return ini_.put(section, key, value); }

bool INI::put(const IniRecord& record) {
    std::vector<const char*> keys, values;
    for (std::size_t i = 0; i < record.keys().size(); ++i) {
        keys.push_back(record.keys()[i].c_str());
        values.push_back(record.values()[i].c_str());
    }
    return ini_putsection(record.section().c_str(), keys.data(), values.data(), static_cast<int>(keys.size()),
                          path_.c_str()) != 0;
}
