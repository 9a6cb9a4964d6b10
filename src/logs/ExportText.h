#pragma once

#include <cstdio>

#include "msgclasses/MeasurementRecord.h"

namespace ZEB {

// The lines of a measurement export: a header, then one line for each record.

inline void writeExportHeader(std::FILE* out) {
    char header[1024];
    std::fputs(MeasurementRecord::GetHeader(header, sizeof header), out);
}

inline void writeExportLine(std::FILE* out, MeasurementRecord& record) {
    constexpr unsigned short ExportClient = 110;
    char date[100];
    char time[100];
    record.setClient(ExportClient);
    std::fprintf(out, "%s\t%s\t%s\n", record.GetDateText(date, sizeof date),
                 record.GetTimeText(time, sizeof time), record.asText().c_str());
}

}  // namespace ZEB
