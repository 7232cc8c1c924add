/*
 * Services of the system: whether this program is to run as one, and starting and stopping others.
 *
 * A service is one of the service manager's: of Windows, or of systemd, whose "NAME.service" a name
 * stands for. Functions may be called from any thread; those that ask the manager wait for its
 * answer, however long that takes. With systemd they start a process: one that ignores SIGCHLD, or
 * waits for any child, takes its answer away, and the call fails.
 *
 * Failures are reported under modules "oxsysutl" and "oxparam".
 */
#ifndef MOLTELIB_SERVICE_H
#define MOLTELIB_SERVICE_H

#include "moltelib/base.h"

/*
 * Whether the program is to run as a service, by the options it was started with (those of main;
 * exact words, from the second on) or else by a parameter of the default INI file:
 *
 *     -notasservice, -notasdaemon     0, wherever it stands among the options
 *     -runasservice, -runasdaemon     1
 *     parameter pszParamName          the number that its value begins with, WHATEVER THAT IS
 *
 * 0, with an error under module "oxparam", when the parameter can't be read, has no value (52) or
 * one that isn't a number (257, "name=%s val=%s").
 */
MOLTE_API int32_t ORVEX_IsRunAsService(const char* pszParamName, int32_t nArgCount,
                                       char* const* ppszArgs);

/*
 * Starts a service; 1. -1 with error 50 (the name) and the system's error: there is none of that
 * name, it runs already, it can't be started, the user may not. Where systemd tells when a service
 * is up, the call waits for that.
 */
MOLTE_API int32_t SERVICE_Exec(const char* pszName);

/* Tells a service that runs to stop, and DOESN'T WAIT for that; 1. -1 with error 50 (the name),
 * also when it isn't running. */
MOLTE_API int32_t SERVICE_Stop(const char* pszName);

/*
 * Hides the process from the list of tasks, or shows it for 0 and below, on the Windows that had a
 * call for that; 1. On all others, those of today, ALWAYS -1; nothing is reported.
 */
MOLTE_API int32_t ORVEX_RegisterAsService(int32_t bHide);

#endif
