#pragma once

#include <cstdlib>
#include <string>

#include "msgclasses/EventMsg.h"
#include "msgclasses/LightSourceRecord.h"
#include "msgclasses/MeasurementRecord.h"
#include "msgclasses/Var.h"

// What the tests need to know of a platform beyond what the library calls. To test an
// SDK, fill in a copy: scripts/test-platform says how. Below, the stand-in's answers.
namespace ZEB {

// Valid records of a time; a lamp's with a light-source key.
inline EventMsg event(int time) { return {TimeStamp(time), 1, 0, std::to_string(time)}; }
inline LightSourceRecord lamp(int time, int key) { return {TimeStamp(time), 1, key}; }
inline MeasurementRecord measurement(int time) { return {TimeStamp(time), 1}; }

// From here on, all directories of the platform lie below root, a short path in /tmp.
inline void useRoot(std::string const& root) {
    setenv("VEK_ROOT", root.c_str(), 1);
    setenv("VEK_LOG_LEVEL", "2", 1);  // every message is shown
}
// Where GetBackupSetting looks; the other directories are asked of the platform.
inline std::string backupSettings(std::string const& root) { return root + "/backup/settings"; }

// What VEKLogMsg writes to standard error for a text; "" where messages go elsewhere.
inline std::string shown(int level, std::string const& text) {
    return '[' + std::to_string(level) + "] " + text + '\n';
}

// A request value of these bytes, a buffer for a reply, and what it then holds.
inline Var request(std::string const& bytes) { return Var(ByteBuf(bytes.data(), bytes.size())); }
using Reply = ByteBuf;
inline std::string contents(ByteBuf const& buffer) { return {buffer.data(), buffer.size()}; }

}  // namespace ZEB
