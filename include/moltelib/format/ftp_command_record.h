/*
 * What stands before everything that moltelib/remote_file.h exchanges over a socket. 32 bytes;
 * reserved bytes are 0.
 */
#ifndef MOLTELIB_FORMAT_FTP_COMMAND_RECORD_H
#define MOLTELIB_FORMAT_FTP_COMMAND_RECORD_H

#include "moltelib/base.h"

/* Values of nCommand. The numbers between are free for programs. */
enum {
    ORVEX_FTP_ENTER = 1,     /* an OXFILESTAT follows: make a folder and enter it */
    ORVEX_FTP_LAST = 2,      /* there are no more entries */
    ORVEX_FTP_ENTRY = 5,     /* an OXFILESTAT follows: an entry of a list */
    ORVEX_FTP_LEAVE = 6,     /* an OXFILESTAT follows: leave the folder */
    ORVEX_FTP_FILE = 7,      /* an OXFILESTAT follows: a file begins */
    ORVEX_FTP_DATA = 8,      /* the payload follows: bytes of the file */
    ORVEX_FTP_FILE_END = 11, /* the file ends; nResult tells how */
    ORVEX_FTP_STOP = 13      /* the exchange ends */
};

/* Values of nResult. */
#define ORVEX_FTP_SUCCESS 1
#define ORVEX_FTP_FAILURE 0xFF

typedef struct FTP_CMDREC {
    uint8_t abyReserved1[8];
    uint8_t nCommand;
    uint8_t nResult; /* of ORVEX_FTP_FILE_END alone, else 0 */
    uint8_t abyReserved2[2];
    uint8_t nPayloadLen[4]; /* bytes of the payload, high byte first; an OXFILESTAT isn't counted */
    uint8_t abyReserved3[16];
} FTP_CMDREC;

#if defined(__cplusplus)
static_assert(sizeof(FTP_CMDREC) == 32, "the layout is a format");
static_assert(offsetof(FTP_CMDREC, nCommand) == 8, "the layout is a format");
static_assert(offsetof(FTP_CMDREC, nPayloadLen) == 12, "the layout is a format");
#endif

#endif
