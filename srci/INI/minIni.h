// SPDX-License-Identifier: Apache-2.0
// Reading and writing single keys of a plain-text INI file.
//
// Every call opens, scans and closes the file; nothing is cached, so a value
// written by one call is what the next call reads. Section and key names compare
// without regard to ASCII letter case. An empty section name ("") addresses the
// keys in front of the first section line.
//
// Reads never fail: a missing file, section or key gives the default. Writes
// return non-zero on success and zero when the file could not be written or when
// a name or value cannot be stored so that it reads back the same (line breaks
// anywhere, "=" in a key, "]" in a section name, blanks around a name, a line
// longer than the read buffer).
#pragma once

#include <string>
#include <utility>

// One line, section name, key or value is read through a buffer of this size;
// longer ones are cut to INI_BUFFERSIZE - 1 characters.
#define INI_BUFFERSIZE 512

// Called for every key of the file in order; a zero return stops the walk.
using ini_browse_callback = int (*)(const char* section, const char* key, const char* value, void* userData);

// Copies at most size - 1 characters of the value (or of defValue) into buffer and
// returns how many were copied.
int ini_gets(const char* section, const char* key, const char* defValue, char* buffer, int size, const char* filename);
// Hexadecimal when the second character of the value is "x" or "X", else decimal.
long ini_getl(const char* section, const char* key, long defValue, const char* filename);
float ini_getf(const char* section, const char* key, float defValue, const char* filename);
// "1", "T", "Y" (any case) give 1, "0", "F", "N" give 0, anything else defValue.
int ini_getbool(const char* section, const char* key, int defValue, const char* filename);

int ini_hassection(const char* section, const char* filename);
int ini_haskey(const char* section, const char* key, const char* filename);
// Name of the idx-th section (from 0), or "" and 0 when there is none.
int ini_getsection(int idx, char* buffer, int size, const char* filename);
// Name of the idx-th key of a section (from 0), or "" and 0 when there is none.
int ini_getkey(const char* section, int idx, char* buffer, int size, const char* filename);
// Returns 0 when the file cannot be read.
int ini_browse(ini_browse_callback callback, void* userData, const char* filename);

// A null key removes the whole section, a null value removes the key.
int ini_puts(const char* section, const char* key, const char* value, const char* filename);
int ini_putl(const char* section, const char* key, long value, const char* filename);
// Six decimals ("%f"): the precision kept in the file.
int ini_putf(const char* section, const char* key, float value, const char* filename);
// "true" or "false".
int ini_putbool(const char* section, const char* key, int value, const char* filename);
// Writes count keys of one section in a single replacement of the file, with the result
// ini_puts would give key by key in this order. Refuses all of them (0) when one cannot be
// written; a key that already holds its value is left as it is.
int ini_putsection(const char* section, const char* const* keys, const char* const* values, int count,
                   const char* filename);

// The free functions bound to one file name.
class minIni {
public:
    explicit minIni(std::string filename) : iniFilename(std::move(filename)) {}

    bool getbool(const std::string& section, const std::string& key, bool defValue = false) const;
    long getl(const std::string& section, const std::string& key, long defValue = 0) const;
    int geti(const std::string& section, const std::string& key, int defValue = 0) const;
    std::string gets(const std::string& section, const std::string& key, const std::string& defValue = "") const;
    float getf(const std::string& section, const std::string& key, float defValue = 0) const;

    bool hassection(const std::string& section) const;
    bool haskey(const std::string& section, const std::string& key) const;
    std::string getsection(int idx) const;
    std::string getkey(const std::string& section, int idx) const;

    bool put(const std::string& section, const std::string& key, const std::string& value);
    // A null value removes the key, as in ini_puts.
    bool put(const std::string& section, const std::string& key, const char* value);
    bool put(const std::string& section, const std::string& key, long value);
    bool put(const std::string& section, const std::string& key, int value);
    bool put(const std::string& section, const std::string& key, bool value);
    bool put(const std::string& section, const std::string& key, float value);
    // Narrowed to float first: values beyond the float range become infinite.
    bool put(const std::string& section, const std::string& key, double value);

    bool del(const std::string& section, const std::string& key);
    bool del(const std::string& section);

    std::string iniFilename;
};
