/*
 * The error record: what went wrong, where, when, on which machine and in which program, with a
 * short history of the callers. 640 bytes that one process can hand to another as they stand:
 * numbers are big-endian byte fields (moltelib/byte_field.h), reserved bytes are 0.
 */
#ifndef MOLTELIB_FORMAT_ERROR_RECORD_H
#define MOLTELIB_FORMAT_ERROR_RECORD_H

#include "moltelib/base.h"
#include "moltelib/format/date_time_record.h"

#define ORVEX_ERRDATA_HISTORY_MAX 14
#define ORVEX_ERRDATA_DATA1_SIZE 96
#define ORVEX_ERRDATA_DATA2_SIZE 48

/* One caller that passed the failure on. */
typedef struct ORVEX_ERRHIST {
    uint8_t nLine[2];
    char szFile[18]; /* at most 17 characters and a terminator */
} ORVEX_ERRHIST;

typedef struct ORVEX_ERRDATA {
    uint8_t nRecSize[4];  /* 640 */
    uint8_t nErrNo[4];    /* the library's error number; 0: no error recorded */
    uint8_t nSysErrNo[4]; /* the system's number as the reporter gave it */
    uint8_t nLine[2];     /* source line of the failure */
    uint8_t nHistCount;   /* entries of astHist in use, 0 to 14 */
    uint8_t nDataLen;     /* bytes of error data, 0 to 144 */
    char szFile[32];      /* base name of the source; not terminated when it fills the field */
    uint8_t bHasSysErr;   /* 1 when the reporter named a system error */
    uint8_t nReserved1;
    uint8_t nSubErrNo[2]; /* signed */
    uint8_t nWinErrNo[4]; /* the platform's last error at the moment of the report */
    uint8_t abyData1[ORVEX_ERRDATA_DATA1_SIZE]; /* the first 96 bytes of the error data */
    char szSysErr[60];                          /* message of the system, terminated */
    ORVEX_ERRHIST astHist[ORVEX_ERRDATA_HISTORY_MAX];
    ORVEXDATETIME stTime; /* local time of the report */
    uint8_t abyReserved2[12];
    char szHostName[16];
    char szEnv[64]; /* program, version, platform and machine figures, see ORVEX_GetEnvString */
    uint8_t abyData2[ORVEX_ERRDATA_DATA2_SIZE]; /* bytes 97 to 144 of the error data */
} ORVEX_ERRDATA;

#if defined(__cplusplus)
static_assert(sizeof(ORVEX_ERRHIST) == 20);
static_assert(sizeof(ORVEX_ERRDATA) == 640);
static_assert(offsetof(ORVEX_ERRDATA, szFile) == 16);
static_assert(offsetof(ORVEX_ERRDATA, nWinErrNo) == 52);
static_assert(offsetof(ORVEX_ERRDATA, szSysErr) == 152);
static_assert(offsetof(ORVEX_ERRDATA, astHist) == 212);
static_assert(offsetof(ORVEX_ERRDATA, stTime) == 492);
static_assert(offsetof(ORVEX_ERRDATA, szHostName) == 512);
static_assert(offsetof(ORVEX_ERRDATA, szEnv) == 528);
static_assert(offsetof(ORVEX_ERRDATA, abyData2) == 592);
#endif

#endif
