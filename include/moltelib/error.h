/*
 * Error reporting.
 */
#ifndef MOLTELIB_ERROR_H
#define MOLTELIB_ERROR_H

#include "moltelib/base.h"
#include "moltelib/format/error_record.h"

MOLTE_API int32_t ORVEX_Err_Set(uint32_t nErrNo, uint32_t nSysErrNo, const char* szFile,
                                int32_t nLine, uint8_t nDataLen, const void* pData,
                                uint8_t nOption);
MOLTE_API int32_t ORVEX_Err_AddNL(int32_t nLine, const char* szFile);

#endif
