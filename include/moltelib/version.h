/*
 * The version: of these headers, when a program is compiled, and of the library that it runs with.
 *
 * Nothing here reports failures.
 */
#ifndef MOLTELIB_VERSION_H
#define MOLTELIB_VERSION_H

#include "moltelib/base.h"

/* Of the headers. The number is for comparisons: major * 10000 + minor * 100 + patch. */
#define MOLTELIB_VERSION_MAJOR 0
#define MOLTELIB_VERSION_MINOR 1
#define MOLTELIB_VERSION_PATCH 0
#define MOLTELIB_VERSION "0.1.0"
#define MOLTELIB_VERSION_NUMBER \
    (MOLTELIB_VERSION_MAJOR * 10000 + MOLTELIB_VERSION_MINOR * 100 + MOLTELIB_VERSION_PATCH)

/*
 * Of the library, in the same forms. They work before bring-up and after tear-down; the text stays
 * the library's. A library of another patch version than that of the headers serves as well.
 */
MOLTE_API const char* MOLTELIB_Version(void);
MOLTE_API int32_t MOLTELIB_VersionNumber(void);

#endif
