/*
 * An error record as one line, for logs, terminals and whoever searches them:
 *
 *     2026-03-01 09:30:05.125 error 3 "Reading failed", system 5 "Input/output error",
 *         at oxfileop:213, by matcher:14 main:20, data "/srv/prints/7", on desk2, in "server 1.0"
 *
 * (without the line break). What the record hasn't is left out.
 *
 * Nothing here reports failures.
 */
#ifndef MOLTELIB_ERROR_LINE_H
#define MOLTELIB_ERROR_LINE_H

#include "moltelib/base.h"
#include "moltelib/format/error_record.h"

/* Bytes that are enough for every record, with the terminator. */
#define MOLTELIB_ERROR_LINE_SIZE 4096

/*
 * Writes the line, terminated and without an end of line; what doesn't fit is left out from there
 * on, by whole characters. 1; 0 for a null buffer, an nBufLen below 1, or a null record, which
 * leaves the buffer empty. A record without an error gives "No error history recorded.".
 *
 * A record from elsewhere may hold anything: nothing outside its fields is read, and nothing in the
 * line ends it or steers a terminal. Texts stand in quotes, and within them
 *   \" \\ \t \n \r   are what they are in C
 *   \xNN             is any other control byte, and one that is no character of the process's code
 *                    page
 * Names that are letters, digits and . _ - alone stand without quotes. Data that isn't text stands
 * as "hex " and its bytes. The texts of numbers are those in use now, at most 255 bytes of each.
 * The current record stays as it is, and may be the one that is shown.
 */
MOLTE_API int32_t MOLTELIB_ErrorLine(const ORVEX_ERRDATA* pRec, char* szBuf, int32_t nBufLen);

#endif
