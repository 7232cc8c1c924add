/*
 * The console: a prompt for a password, and who is told when the user or the system wants the
 * program to end.
 *
 * Functions may be called from any thread.
 *
 * Failures are reported under module "oxsysutl".
 */
#ifndef MOLTELIB_CONSOLE_H
#define MOLTELIB_CONSOLE_H

#include "moltelib/base.h"

/* ---- Passwords ---- */

/*
 * Asks for a password, whose characters aren't shown; their number, 0 and more. dst is nDstLen
 * bytes, zeroed first. Enter ends the input, and so does the last character for which there is
 * room: nDstLen CHARACTERS LEAVE NO TERMINATOR in dst. What was typed behind it stays for the next
 * to read. Backspace takes the last character back but LEAVES ITS BYTE IN dst: the result alone
 * tells how many count. Arrows and other keys that print nothing are ignored.
 *
 * -1 at Ctrl-C and at the end of the input, with nothing reported; with error 50 for a null dst or
 * a length below 0.
 *
 * pszPrompt IS THE FORMAT OF A PRINTF without arguments: write "%%" for a percent sign, and never
 * pass what came from outside. Null prints nothing. It goes to the standard output, and so does the
 * line end behind the password.
 *
 * Keys come from the console. Where there are terminals that is the standard input if it is one,
 * else the terminal of the session, or without one the standard input as it is; the terminal's own
 * keys for erase, interrupt and end of input count. The terminal is as before when the call
 * returns, and when the program exits or a signal ends it, apart from SIGKILL, real-time signals
 * and a crash. One thread prompts at a time, others wait.
 */
MOLTE_API int32_t ORVEX_GetPassWord(const char* pszPrompt, char* dst, int32_t nDstLen)
    MOLTE_PRINTF(1, 0);

#define ORVEX_PASSWORD_SIZE 16

/*
 * Writes the complement of 16 bytes; twice gives them back. IT HIDES A PASSWORD FROM A GLANCE, and
 * from nobody who knows this line. dst may be src. ALWAYS 0, but -1 with error 50 for a null.
 */
MOLTE_API int32_t ORVEX_PassEnc(const uint8_t* src, uint8_t* dst);

/* ---- Being told to end ---- */

#define OXCONSOLE_CTRL_C 0u   /* Ctrl-C; SIGINT */
#define OXCONSOLE_CLOSE 2u    /* the console goes; SIGHUP */
#define OXCONSOLE_SHUTDOWN 6u /* the system goes down; SIGTERM */

/*
 * Is told one of these (Windows has some more: 1 for Ctrl-Break, 5 when the user logs off), on a
 * thread of its own. Not 0: seen to, and no further handler is asked. WINDOWS THEN ENDS THE PROCESS
 * all the same, but for Ctrl-C and Ctrl-Break; elsewhere it runs on.
 */
typedef int32_t (*OXCONSOLEHANDLER)(uint32_t nEvent);

/*
 * Adds a handler (bAdd not 0), or takes it away; 1, or -1 with error 50 and the system's error. The
 * last one added is asked first; when none sees to it the process ends. A null handler: Ctrl-C is
 * ignored from now on, or with bAdd 0 no longer.
 *
 * Where there are signals the first call that adds takes over SIGINT, SIGTERM and SIGHUP, from
 * whatever handlers they have, but one that is ignored (nohup), and starts the thread that handlers
 * run on. It does so once: A SIGNAL THAT ORVEX_Signal, or the run-time's signal, TAKES LATER IS NO
 * EVENT ANY MORE, whatever is added here; only setting back the handler that was found does. There
 * is room for 32 handlers. A forked child has no such thread: in it a signal ends the process until
 * it calls this itself, and has the handlers it was forked with.
 */
MOLTE_API int32_t ORVEX_WIN_SetConsoleCtrlEvent(OXCONSOLEHANDLER pfnHandler, int32_t bAdd);

/* Is told the number of the signal, wherever the thread that it interrupts then is: it may do next
 * to nothing there. */
typedef void (*OXSIGNALHANDLER)(int32_t nSignal);

/*
 * The run-time's signal: pfnHandler, or SIG_DFL or SIG_IGN of <signal.h>, for a signal of that
 * number; 1. The handler before goes to *ppfnOld unless that is null. -1 with error 50 and errno
 * for a signal that there isn't. On Windows a handler is taken away when it is called; elsewhere it
 * stays.
 */
MOLTE_API int32_t ORVEX_Signal(int32_t nSignal, OXSIGNALHANDLER pfnHandler,
                               OXSIGNALHANDLER* ppfnOld);

#endif
