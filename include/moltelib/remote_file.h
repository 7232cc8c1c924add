/*
 * Folders listed and copied over a socket, by fixed records. Both ends are programs that hold a
 * connection already (moltelib/socket.h); it is no public protocol, with no login and no text.
 *
 *     ORVEX_ChDir("cards");                            // the sender
 *     NET_ORVEX_FTP_RecDo(peer, ".", buffer, size, NET_ORVEX_FTP_ACTION_COPYPUT);
 *     FTP_CMDREC stop = {.nCommand = ORVEX_FTP_STOP};
 *     NET_ORVEX_FTP_SendCmd(peer, &stop, NULL);
 *
 *     ORVEX_ChDir("copy");                             // the receiver
 *     NET_ORVEX_FTP_ACTION_COPYGET(peer, NULL);
 *
 * A walk goes through one folder and calls an action for each entry; what goes deeper is the
 * action. Who calls them chooses the folder to start in and gives entries by their bare names.
 *
 * WALKS AND THE RECEIVER CHANGE THE CURRENT FOLDER OF THE PROCESS: only one of them at a time may
 * run in a process, and no other thread may use relative names meanwhile. A socket is for one
 * thread at a time.
 *
 * What is copied are the bytes and names of files and folders. Times and permissions aren't.
 *
 * Failures are reported under modules "oftpbase" and "oftplib".
 */
#ifndef MOLTELIB_REMOTE_FILE_H
#define MOLTELIB_REMOTE_FILE_H

#include "moltelib/array.h"
#include "moltelib/base.h"
#include "moltelib/format/file_stat_record.h"
#include "moltelib/format/ftp_command_record.h"

/* ---- On this machine ---- */

/*
 * What is done with an entry; null marks the end of a folder's entries. The two values and the
 * context are those the walk was given. A negative result stops the walk, but for that of null.
 */
typedef int32_t (*ORVEX_FTP_ACTION)(int64_t nFirst, int64_t nSecond, const OXFILESTAT* pRecord,
                                    void* pContext);

/*
 * Calls the action for each entry of a folder, in no order, "." and ".." among them, with the
 * folder as the current one, and then for null: 1. The record tells of an entry what is known: of
 * one that can't be looked at, or whose name would lead elsewhere, the name. For a file the action
 * is called once, WITH A RECORD THAT HAS NO NAME; its result. The former folder is current again
 * afterwards. -1 when the action stopped the walk, and with error 23 or 10 for a path without a
 * state, 1 for a folder that can't be read, 142 when the current folder has no name of 1023 bytes
 * or less, 29 when a folder can't be entered or left.
 */
MOLTE_API int32_t ORVEX_FTP_RecDo(const char* pszPath, int64_t nFirst, int64_t nSecond,
                                  ORVEX_FTP_ACTION pfnAction, void* pContext);

/* An action that appends the record to the array of OXFILESTAT (a PA*) that is the context: as
 * PA_SetAt; 0 for null. */
MOLTE_API int32_t ORVEX_FTP_ACTION_LIST(int64_t nFirst, int64_t nSecond, const OXFILESTAT* pRecord,
                                        void* pArray);

/* ---- Over a socket ---- */

/* The same, with the socket and the buffer that the walk was given. */
typedef int32_t (*NET_ORVEX_FTP_ACTION)(OXSOCKET hSocket, void* pBuf, int32_t nBufSize,
                                        const OXFILESTAT* pRecord);

/*
 * As ORVEX_FTP_RecDo, with differences. The record of a file has the path as its name; a path
 * without a state is reported and goes to the action with what is known, which is its name. A
 * current folder without a name, or a folder that can't be entered, is reported and stops nothing.
 * AT THE END THE FOLDER IS LEFT BY ITS PATH, also after such a failure: one of "." isn't left, one
 * of ".." by way back to the former folder, ANY OTHER BY ONE STEP UP, so that a path of several
 * parts ends elsewhere. A folder that can't be read: the current folder is printed to standard
 * output, the error to standard error; -1.
 */
MOLTE_API int32_t NET_ORVEX_FTP_RecDo(OXSOCKET hSocket, const char* pszPath, void* pBuf,
                                      int32_t nBufSize, NET_ORVEX_FTP_ACTION pfnAction);

/* An action that sends the record as ORVEX_FTP_ENTRY, null as ORVEX_FTP_LAST. 0, whatever comes of
 * it. The buffer isn't used. */
MOLTE_API int32_t NET_ORVEX_FTP_ACTION_LISTSVR(OXSOCKET hSocket, void* pBuf, int32_t nBufSize,
                                               const OXFILESTAT* pRecord);

/* A kept name that does nothing; 0. */
MOLTE_API int32_t NET_ORVEX_FTP_ACTION_LISTCLI(OXSOCKET hSocket, void* pBuf, int32_t nBufSize,
                                               const OXFILESTAT* pRecord);

/*
 * An action that sends a file of the current folder with its bytes, or a folder with all below it;
 * null is sent as ORVEX_FTP_LAST, and of "." and ".." nothing. ALWAYS 0: a file that fails is told
 * to the receiver (ORVEX_FTP_FAILURE) and printed to standard error, and so is a folder that is
 * passed over, and the walk goes on. What a socket fails to send for a folder isn't looked at.
 *
 * A file is sent in chunks of the buffer, AND THE RECEIVER TAKES ONE CHUNK OF A FILE: the buffer
 * must take the largest file, or that one arrives cut, and its other chunks are read as commands. A
 * file is opened to be read and written, AND MADE WRITABLE for its owner. It is sent at the length
 * that its record tells; one that has become shorter fails. A link to a file is sent as that file.
 * A link to a folder, and a folder more than 100 deep, is passed over.
 * Errors: 1 not opened, 3 not read ("fd=%d pbuf=%p nsize=%d"), 29 a folder that is passed over, 50
 * an nBufSize below 1 or a null buffer with a file that isn't empty, and a name without an end,
 * those of ORVEX_SOCK_Send.
 */
MOLTE_API int32_t NET_ORVEX_FTP_ACTION_COPYPUT(OXSOCKET hSocket, void* pBuf, int32_t nBufSize,
                                               const OXFILESTAT* pRecord);

/*
 * Receives into the current folder what NET_ORVEX_FTP_ACTION_COPYPUT sends, until ORVEX_FTP_STOP:
 * 0, ALSO WHEN FILES FAILED; the error record tells of the last failure. -1 when a command can't be
 * received whole, which is printed to standard output with the error. Each file is announced there
 * ("Getting File:%s\n"). THE BUFFER ISN'T USED, and may be null. Unknown commands are passed over.
 *
 * The current folder is then where the commands have led, which is never above the start. Nothing
 * outside it is touched, whatever the peer sends: names are refused that are empty, "." or "..",
 * not terminated or with a delimiter (on Windows also with a colon or another sign that names
 * can't have, a dot or blank at the end, or a device's name); no link is followed. Of a folder that
 * is refused, or can't be entered, all that is below it is dropped as well; the exchange goes on.
 * What is there is written over: a folder stays with what it holds, A FILE IS EMPTIED FIRST. A file
 * that fails later stays with what was written until then.
 * Errors: 29 a folder, 1 a file that is refused or can't be opened, each with its name, 4 not
 * written ("fd=%d buf=%p size=%d").
 */
MOLTE_API int32_t NET_ORVEX_FTP_ACTION_COPYGET(OXSOCKET hSocket, void* pBuf);

/*
 * Sends a command, and a text with its terminator as its payload, unless it is null; the length of
 * that is put into the record. 1, WHATEVER COMES OF IT; a failure is reported, as is a text of
 * 2 GiB, of which nothing is sent (50). Reading such a payload is up to programs.
 */
MOLTE_API int32_t NET_ORVEX_FTP_SendCmd(OXSOCKET hSocket, FTP_CMDREC* pCommand,
                                        const char* pszText);

#endif
