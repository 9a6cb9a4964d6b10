#pragma once

// What comes before and after the data in a report; see assemble.
extern "C" char const PageHead[];
extern "C" char const PageTail[];
