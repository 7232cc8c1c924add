/*
 * Whole texts between UTF-8 and the 8-bit text of a code page, for programs whose files, terminals
 * or peers speak UTF-8. A character that the other side lacks is a failure; nothing is replaced or
 * dropped. Single characters, in an older form: moltelib/utf8.h.
 *
 *     char* name = MOLTELIB_CodePageFromUtf8(argv[1], 0);
 *     if (name == NULL) return -1;
 *     ...
 *     ORVEX_free(name);
 *
 * Failures are reported under module "oxstring".
 */
#ifndef MOLTELIB_UTF8_TEXT_H
#define MOLTELIB_UTF8_TEXT_H

#include "moltelib/base.h"

/* The code pages that are known by number on every platform. */
#define MOLTELIB_PAGE_PROCESS 0   /* the one in use now, see OXLANG_SetLocale */
#define MOLTELIB_PAGE_GBK 936     /* simplified Chinese */
#define MOLTELIB_PAGE_LATIN 1252  /* English, Spanish */
#define MOLTELIB_PAGE_BYTES 28591 /* each byte the character of its number, as at a start */
#define MOLTELIB_PAGE_UTF8 65001

/*
 * The converted text, which the caller owns. UTF-8 is that of RFC 3629: 1 to 4 bytes a character,
 * up to U+10FFFF; overlong forms and surrogates are malformed. A mark of byte order in front is a
 * character like any other.
 *
 * Null for null, without memory, or with an error:
 *   134   the code page isn't known, or the system lacks its tables; "code page %u"
 *   103   with errno EILSEQ: malformed text, "no text of code page %u at byte %lld"; or a character
 *         that the other side lacks, "code page %u lacks U+%04X of byte %lld". Bytes count from 0.
 */
MOLTE_API char* MOLTELIB_CodePageFromUtf8(const char* szUtf8, uint32_t nCodePage);
MOLTE_API char* MOLTELIB_Utf8FromCodePage(const char* szText, uint32_t nCodePage);

#endif
