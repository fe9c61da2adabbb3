// SPDX-License-Identifier: Apache-2.0
#include "INI/iniHandler.h"

#include <cstdio>
#include <limits>

#include "itf_rc/srci_errcode.h"

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

void INI::checkKey(const std::string& section, const std::string& key) const {
    // The common case, a present key, costs one scan of the file.
    if (hasKey(section, key)) return;
    if (!hasSection(section)) throw srci::err_ini_no_section;
    throw srci::err_ini_no_key;
}

int INI::getInt(const std::string& section, const std::string& key) const {
    checkKey(section, key);
    return ini_.geti(section, key, 0);
}

double INI::getDouble(const std::string& section, const std::string& key) const {
    checkKey(section, key);
    return static_cast<double>(ini_.getf(section, key, 0.0f));
}

std::string INI::getStr(const std::string& section, const std::string& key) const {
    checkKey(section, key);
    return ini_.gets(section, key, "");
}

bool INI::getBool(const std::string& section, const std::string& key) const {
    checkKey(section, key);
    return ini_.getbool(section, key, false);
}

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
