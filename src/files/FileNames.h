#pragma once

namespace ZEB {

// Every file name of the three logs. A name format is its path format without the
// leading "%s/".
constexpr char const* EventPathFormat = "%s/event_log-%d-%d-%d#%d.vek";
constexpr char const* EventNameFormat = EventPathFormat + 3;
constexpr char const* LightSourceName = "lightsource_log.vek";
constexpr char const* LampStatisticsName = "LampStats";
constexpr char const* MeasurementPathFormat = "%s/measurement_log%d.vek";
constexpr char const* MeasurementNameFormat = MeasurementPathFormat + 3;
constexpr char const* PointerPathFormat = "%s/currentMeasurementLog";
constexpr char const* MeasurementBackupDirectory = "/mnt/sysdata/veklogs";

// How the hidden names begin that the platform may give new files for a while.
constexpr char const* EventCreatorName = ".NxtEventLogFile";
constexpr char const* MeasurementCreatorName = ".NxtMeasurementLogFile";

}  // namespace ZEB
