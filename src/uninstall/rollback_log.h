#pragma once

#include <windows.h>

#include "base/text.h"

namespace tarvo {

bool IsRollbackLogOpen();

/** @return 0, the open log's name copied, cut to size - 1 bytes; ERROR_INVALID_PARAMETER, no buffer; TARVO_ERROR_NO_LOG
 */
DWORD GetRollbackLogName(char* buffer, size_t size);

/**
 * Reads a section of the open log: its lines as a list of texts ended by an empty one. A log that has gone reads as
 * empty.
 * @return 0; TARVO_ERROR_NO_LOG; ERROR_NOT_ENOUGH_MEMORY; or the code of reading the file
 */
DWORD GetRollbackSection(const char* section, HeapText& list);

} // namespace tarvo
