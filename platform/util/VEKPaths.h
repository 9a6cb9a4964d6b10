#pragma once

#include <cstddef>

namespace ZEB {

// The instrument's directories: data, settings, backup/data and backup/settings
// in the directory that the environment variable VEK_ROOT names (./vek if not set).
// It is looked up at each call; no directory is created here.
//
// Each function writes the full path of name into buffer, or that of the directory
// for an empty name. Conversions in name are kept, since some paths serve as formats.
// A path that does not fit, or a root with a '%', gives a path below /dev/null, where
// nothing can be opened or made, and a message at level 1.
void VEKDataFile(char const* name, char* buffer, std::size_t size);
void VEKBackupDataFile(char const* name, char* buffer, std::size_t size);
void VEKSettingsFile(char const* name, char* buffer, std::size_t size);

// Returns 0 when the settings directory has no file of that name, else 1. The
// instrument's own library also checks the record count; standard is its default.
int SettingsFileExist(char const* name, unsigned short* recordCount, unsigned short standard);

// Copies the file of that name from the backup settings to the settings, with mode
// 0600, and flushes it before it gets its name. False when that fails.
bool GetBackupSetting(char const* name);

}  // namespace ZEB
