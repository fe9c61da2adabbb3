// SPDX-License-Identifier: Apache-2.0
// Where INI files live. Every read and every replacement goes through the current storage,
// so a test or the fuzzer can keep the files in memory or crash the writer at any step.
//
// A replacement never leaves a moment without the file: the new bytes go to the temporary
// twin, are synced, renamed over the file, and the directory entry is synced. A reader (or a
// restart after a crash) sees either the old or the new bytes, never a mix and never nothing.
#pragma once

#include <string>
#include <string_view>

#include "INI/iniFileAccess.h"

class IniStorage {
public:
    virtual ~IniStorage() = default;
    // An empty handle with errno ENOENT when the file is absent, another errno when unusable.
    virtual srci::ini_detail::FileHandle openForReading(const char* path) = 0;
    // The whole text of a file the storage keeps in memory, or null (always, on the disk);
    // readers then scan it in place instead of opening a stream. It stays valid until the next
    // replacement. Never asked for a null path.
    virtual const std::string* heldText(const char* /*path*/) { return nullptr; }
    // Replaces the whole file; false when the old file is still in place (or may be).
    virtual bool replace(const char* path, std::string_view content) = 0;
};

// The system calls of one replacement, in the order they are made.
enum class IniStep { removeStale, createTemp, write, syncFile, rename, syncDirectory };

class DiskIniStorage : public IniStorage {
public:
    srci::ini_detail::FileHandle openForReading(const char* path) override;
    bool replace(const char* path, std::string_view content) override;

protected:
    // Called before each system call of a replacement: the seam a crash test stops the writer at.
    virtual void beforeStep(IniStep) {}
};

// The storage every INI function uses; the disk unless a test or the fuzzer set another one.
IniStorage& iniStorage();
// Null goes back to the disk. Not thread-safe: set it before any INI call.
void setIniStorage(IniStorage* storage);
