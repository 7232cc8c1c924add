/*
 * One instance of a program at a time: the first that takes a name among the user's processes has
 * it until it gives it back, or ends in whatever way.
 *
 *     if (ORVEX_CheckPreInstance("card-desk") < 0) return 1;  // another one runs
 *
 * The name is that of a mutex: see moltelib/event.h for names. A PROCESS HAS ONE NAME: the second
 * call in a process finds its name taken, or takes another one, and in either case what the first
 * took stays taken to the process's end. Functions may be called from any thread.
 *
 * Failures are reported under module "oxsysutl".
 */
#ifndef MOLTELIB_INSTANCE_H
#define MOLTELIB_INSTANCE_H

#include "moltelib/base.h"

/*
 * Takes the name; 1. -1 with error 115 when there is a process that has it, this one included; with
 * 263 when the name can't be taken at all; with 50 for a null or empty one.
 */
MOLTE_API int32_t ORVEX_CheckPreInstance(const char* pszName);

/* Gives the name back, if one is held; 1. */
MOLTE_API int32_t ORVEX_ReleaseInstance(void);

#endif
