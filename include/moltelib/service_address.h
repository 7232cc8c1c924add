/*
 * The texts by which the system names its services and tables, taken apart.
 *
 * A part that is absent leaves its output as it was. Lengths are those of the buffers in bytes; a
 * part that doesn't fit is a failure, and what fitted stands there, terminated. Such a failure adds
 * a line to the history of the error record; one of the grammar tells nothing. Null pointers are
 * error 50. Numbers that are too large become the largest one.
 *
 * Failures are reported under module "oxsysutl".
 */
#ifndef MOLTELIB_SERVICE_ADDRESS_H
#define MOLTELIB_SERVICE_ADDRESS_H

#include "moltelib/base.h"

/*
 * Takes "first:second@host:port" apart, of which any part may be absent ("first@host", "@host:99").
 * A ':' behind the '@' belongs to the port. The port is read by the rules of atoi from at most 15
 * bytes; an empty one is 0. 1, or -1 for a part that doesn't fit (lines 4159, 4165, 4173 and, of
 * the port, 4179).
 */
MOLTE_API int32_t MOLTE_AnalyzeService(const char* pszText, char* pszFirst, int32_t nFirstLen,
                                       char* pszSecond, int32_t nSecondLen, char* pszHost,
                                       int32_t nHostLen, int32_t* pnPort);

/*
 * Takes "first:second" apart, two numbers of at most 5 bytes; the second may be absent. The first
 * must be all digits; of the second, digits up to the first other byte count, and a negative one is
 * 0. 1, or -1 for more bytes (lines 4199 and 4208), and for an empty first number.
 */
MOLTE_API int32_t MOLTE_AnalyzeDTID(const char* pszText, uint16_t* pnFirst, uint16_t* pnSecond);

#endif
