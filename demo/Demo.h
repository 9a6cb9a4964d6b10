#pragma once

namespace ZEB::demo {

// Each takes its log through a day of several runs of the instrument, prints what it
// sees, and ends the process with 1 when a record is missing or wrong.

void events(char const* inputPath, char const* repliesPath);
void lamps();
void measurements(char const* takenPath, char const* exportPath);

}  // namespace ZEB::demo
