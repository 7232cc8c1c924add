/*
 * Plug-in libraries, loaded while the program runs.
 *
 * A name with a path delimiter is that file. One without is looked for beside the program, then
 * where the system looks. A name without extension stands for one with ".dll". Where libraries are
 * not called so, "NAME.dll" that isn't there stands for "libNAME.so", and then for "NAME.so".
 *
 * Functions may be called from any thread. Errors carry errno.
 *
 * Failures are reported under module "oxsysop".
 */
#ifndef MOLTELIB_PLUGIN_H
#define MOLTELIB_PLUGIN_H

#include "moltelib/base.h"

/*
 * Loads a library, or counts one more use of it if it is loaded; its handle, closed by OX_DLL_Close
 * as often. nFlags are LoadLibraryEx's; elsewhere than on Windows 0 and 8 alone. Null with error
 * 143 and the name.
 */
MOLTE_API OXHANDLE OX_DLL_Open(const char* pszName, uint32_t nFlags);
MOLTE_API OXHANDLE OX_DLL_OpenW(const wchar_t* pwszName, uint32_t nFlags);

/* The address of a function or variable of a library; null with error 146 and its name. */
MOLTE_API void* OX_DLL_GetProc(OXHANDLE hModule, const char* pszName);

/* Gives a use back; 1. 0 for null, -1 with error 147. */
MOLTE_API int32_t OX_DLL_Close(OXHANDLE hModule);

#endif
