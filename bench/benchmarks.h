#pragma once

#include "report.h"

namespace bench {

/** Each adds the rows of one subsystem and leaves the machine as it was. */
void MeasurePending(Report& report);
void MeasureTrace(Report& report);
void MeasureRegistry(Report& report);
void MeasureRegistrations(Report& report);
void MeasureRecording(Report& report);
void MeasureUninstall(Report& report);
void MeasureProduct(Report& report);
void MeasureSecurity(Report& report);

/** Size and imports of the DLL itself. */
void ExamineLibraryImage(Report& report);

} // namespace bench
