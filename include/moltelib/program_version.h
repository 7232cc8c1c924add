/*
 * Puts a version into a program, where MOLTE_GetAppVersion and "-printver" find it. In a source of
 * its own, say version.c, outside of any function:
 *
 *     #include "moltelib/program_version.h"
 *     MOLTE_PROGRAM_VERSION(1, 2, 3, 4)
 *
 * On Linux that file is compiled and linked with the others. On Windows it goes through the
 * resource compiler instead, which needs no other text; with CMake:
 *
 *     add_executable(program main.c version.c)
 *     if(WIN32)
 *       enable_language(RC)
 *       set_source_files_properties(version.c PROPERTIES LANGUAGE RC)
 *     endif()
 *
 * The numbers are 0 to 65535, as digits or as macros of digits. Once per program.
 *
 * Elsewhere than on Windows the macro makes an ELF note: owner "moltelib", type 1, and as its
 * content the four numbers, each of two bytes, the most significant first. "readelf -n" shows it,
 * and strip leaves it.
 */
#ifndef MOLTELIB_PROGRAM_VERSION_H
#define MOLTELIB_PROGRAM_VERSION_H

#if !defined(RC_INVOKED)
#include "moltelib/base.h"
#endif

#if defined(RC_INVOKED)

#define MOLTE_PROGRAM_VERSION(major, minor, build, revision) \
    1 VERSIONINFO FILEVERSION major, minor, build, revision {}

#elif !defined(_WIN32)

#define MOLTE_PROGRAM_VERSION(major, minor, build, revision)                \
    __asm__(                                                                \
        ".pushsection .note.moltelib, \"a\", %note\n"                       \
        ".balign 4\n"                                                       \
        ".4byte 9, 8, 1\n"                                                  \
        ".asciz \"moltelib\"\n"                                             \
        ".balign 4\n" MOLTE_VERSION_BYTES(major) MOLTE_VERSION_BYTES(minor) \
            MOLTE_VERSION_BYTES(build) MOLTE_VERSION_BYTES(revision) ".popsection\n");

/* The number, as two bytes. */
#define MOLTE_VERSION_BYTES(number) MOLTE_VERSION_BYTES_(number)
#define MOLTE_VERSION_BYTES_(number) ".byte (" #number ") >> 8, (" #number ") & 255\n"

#endif

#endif
