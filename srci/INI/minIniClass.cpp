// SPDX-License-Identifier: Apache-2.0
// minIni: the free INI functions bound to one file name.
#include <limits>

#include "INI/minIni.h"

namespace {

// A double outside the float range has no float value; converting it directly
// would be undefined, so it saturates to infinity as the hardware would.
float narrowToFloat(double value) {
    constexpr double largest = std::numeric_limits<float>::max();
    if (value > largest) return std::numeric_limits<float>::infinity();
    if (value < -largest) return -std::numeric_limits<float>::infinity();
    return static_cast<float>(value);
}

}  // namespace

bool minIni::getbool(const std::string& section, const std::string& key, bool defValue) const {
    return ini_getbool(section.c_str(), key.c_str(), defValue ? 1 : 0, iniFilename.c_str()) != 0;
}

long minIni::getl(const std::string& section, const std::string& key, long defValue) const {
    return ini_getl(section.c_str(), key.c_str(), defValue, iniFilename.c_str());
}

int minIni::geti(const std::string& section, const std::string& key, int defValue) const {
    return static_cast<int>(getl(section, key, defValue));
}

std::string minIni::gets(const std::string& section, const std::string& key, const std::string& defValue) const {
    char buffer[INI_BUFFERSIZE];
    const int length =
        ini_gets(section.c_str(), key.c_str(), defValue.c_str(), buffer, sizeof buffer, iniFilename.c_str());
    return std::string(buffer, static_cast<std::size_t>(length));
}

float minIni::getf(const std::string& section, const std::string& key, float defValue) const {
    return ini_getf(section.c_str(), key.c_str(), defValue, iniFilename.c_str());
}

bool minIni::hassection(const std::string& section) const {
    return ini_hassection(section.c_str(), iniFilename.c_str()) != 0;
}

bool minIni::haskey(const std::string& section, const std::string& key) const {
    return ini_haskey(section.c_str(), key.c_str(), iniFilename.c_str()) != 0;
}

std::string minIni::getsection(int idx) const {
    char buffer[INI_BUFFERSIZE];
    const int length = ini_getsection(idx, buffer, sizeof buffer, iniFilename.c_str());
    return std::string(buffer, static_cast<std::size_t>(length));
}

std::string minIni::getkey(const std::string& section, int idx) const {
    char buffer[INI_BUFFERSIZE];
    const int length = ini_getkey(section.c_str(), idx, buffer, sizeof buffer, iniFilename.c_str());
    return std::string(buffer, static_cast<std::size_t>(length));
}

bool minIni::put(const std::string& section, const std::string& key, const std::string& value) {
    return put(section, key, value.c_str());
}

bool minIni::put(const std::string& section, const std::string& key, const char* value) {
    return ini_puts(section.c_str(), key.c_str(), value, iniFilename.c_str()) != 0;
}

bool minIni::put(const std::string& section, const std::string& key, long value) {
    return ini_putl(section.c_str(), key.c_str(), value, iniFilename.c_str()) != 0;
}

bool minIni::put(const std::string& section, const std::string& key, int value) {
    return put(section, key, static_cast<long>(value));
}

bool minIni::put(const std::string& section, const std::string& key, bool value) {
    return ini_putbool(section.c_str(), key.c_str(), value ? 1 : 0, iniFilename.c_str()) != 0;
}

bool minIni::put(const std::string& section, const std::string& key, float value) {
    return ini_putf(section.c_str(), key.c_str(), value, iniFilename.c_str()) != 0;
}

bool minIni::put(const std::string& section, const std::string& key, double value) {
    return put(section, key, narrowToFloat(value));
}

bool minIni::del(const std::string& section, const std::string& key) {
    return ini_puts(section.c_str(), key.c_str(), nullptr, iniFilename.c_str()) != 0;
}

bool minIni::del(const std::string& section) {
    return ini_puts(section.c_str(), nullptr, nullptr, iniFilename.c_str()) != 0;
}
