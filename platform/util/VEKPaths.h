#pragma once

#include <cstddef>

namespace ZEB {

// The instrument's directories: data, settings, backup/data and backup/settings
// below the directory that the environment variable VEK_ROOT names (./vek
// without it), looked up at each call and never created here.
//
// Each writes the full path of name into buffer, the directory itself for an
// empty name; conversions in name are kept, since some paths serve as formats.
// A path that does not fit, or a root with a '%' in it, gives a path below
// /dev/null, where nothing can be opened or made, and a message at level 1.
void VEKDataFile(char const* name, char* buffer, std::size_t size);
void VEKBackupDataFile(char const* name, char* buffer, std::size_t size);
void VEKSettingsFile(char const* name, char* buffer, std::size_t size);

// Returns 0 when the settings directory has no file of that name. The
// instrument's own library also checks the record count, by default standard.
int SettingsFileExist(char const* name, unsigned short* recordCount, unsigned short standard);

// Copies the file from the backup settings, readable and writable for its owner
// whatever the backup is, and flushed before it gets its name; false when it can't.
bool GetBackupSetting(char const* name);

}  // namespace ZEB
