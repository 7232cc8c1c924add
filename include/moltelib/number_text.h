/*
 * Bar codes, keys, numbers, sizes and bytes as text, and bounds of values.
 *
 * Failures are reported under modules "oxdatcnv" and "oxsysutl".
 */
#ifndef MOLTELIB_NUMBER_TEXT_H
#define MOLTELIB_NUMBER_TEXT_H

#include "moltelib/base.h"

/*
 * The number at the start of a bar code: up to 19 decimal digits, further ones are ignored, and the
 * first other byte ends it. 0 without a digit and for null.
 */
MOLTE_API uint64_t BarCodeTo_uint8(const char* s);

/*
 * Writes v as a bar code of exactly len digits, right-aligned behind "0"s, and a terminator: buf
 * has room for len + 1 bytes. v must have fewer digits than len, so the top digit is always "0". 1;
 * -1 with error 36 "bufflen=%d barcodelen=%d bar=%s" for a number with more, and then buf is all
 * "0"; -1 with error 50 for a null buf or len below 0.
 */
MOLTE_API int32_t uint8ToBarCode(uint64_t v, char* buf, int32_t len);

/*
 * Rewrites key in place to exactly keyLen characters; it must have room for them and a terminator.
 * keyLen below 0 or above 31 counts as 31, and 0 changes nothing and gives 0.
 * - A shorter key is right-aligned behind "0"s, the first of which prefix, if not null, replaces as
 *   far as it and they reach: prefix "A", key "123" and keyLen 8 give "A0000123".
 * - A longer key doesn't keep its head or its tail: the bytes that it has too many, from its front,
 *   are followed by "0"s, so "123456" with keyLen 4 gives "1200". Meant.
 * 1; -1 with error 50 for a null key or one longer than twice keyLen, which stays as it is.
 */
MOLTE_API int32_t MOLTE_BuildKey(char* key, const char* prefix, int32_t keyLen);

/*
 * The decimal text of v in buf, room for 21 bytes; returned. A null buf means the calling thread's
 * buffer, which its next such call overwrites; a thread that has none (out of memory) shares one
 * for each function.
 */
MOLTE_API char* MOLTE_i64toa(int64_t v, char* buf);
MOLTE_API char* MOLTE_ui64toa(uint64_t v, char* buf);

/*
 * The same as wide text. buf must have room for 21 characters: null gives null with error 51 and
 * the errno. Null too when the conversion fails. Uses the thread's buffer.
 */
MOLTE_API wchar_t* MOLTE_i64tow(int64_t v, wchar_t* buf);
MOLTE_API wchar_t* MOLTE_ui64tow(uint64_t v, wchar_t* buf);

/*
 * Reads blanks, a sign and decimal digits, up to the first other byte: 0 without a digit, the
 * smallest or largest signed 64-bit number for one beyond it. The two are one function, so the
 * second doesn't reach above 2^63 - 1. -1 with error 50 for null.
 */
MOLTE_API int64_t MOLTE_atoi64(const char* s);
MOLTE_API uint64_t MOLTE_atoui64(const char* s);

/* The same from wide text of at most 255 bytes in the process's code page; -1 when it is longer or
 * can't be converted. */
MOLTE_API int64_t MOLTE_wtoi64(const wchar_t* s);
MOLTE_API uint64_t MOLTE_wtoui64(const wchar_t* s);

/*
 * The text of a size in bytes, cut to dstLen - 1 bytes: "1 Byte", "1023 Bytes", then with two
 * decimals in KB to PB. A unit ends AT 1000 AND NOT AT 1024 of it, so 1023 KB are " 1.00 MB"; a
 * number below ten has a blank in front. A negative size counts as 0. dst; null with error 50 for
 * null or a dstLen below 1.
 */
MOLTE_API char* MOLTE_DiskSizeToString(int64_t size, char* dst, int32_t dstLen);

/*
 * The text of len bytes in hexadecimal, two capitals each, of as many bytes as fit into dst with
 * the terminator; empty for len below 1. dst; null, with nothing reported, for a null dst or a
 * dstLen below 1, with error 50 and an empty text for null data.
 */
MOLTE_API char* MOLTE_Bin2String(const void* data, int32_t len, char* dst, int32_t dstLen);

/* The smaller and the larger of two numbers. */
MOLTE_API int32_t MOLTE_min(int32_t a, int32_t b);
MOLTE_API int32_t MOLTE_max(int32_t a, int32_t b);
MOLTE_API uint32_t MOLTE_umin(uint32_t a, uint32_t b);
MOLTE_API uint32_t MOLTE_umax(uint32_t a, uint32_t b);

/* min if v is below it, else the smaller of v and max. */
MOLTE_API int32_t MOLTE_LimitData(int32_t min, int32_t max, int32_t v);
/* v if it lies in min to max, both included, else def. */
MOLTE_API int32_t MOLTE_LimitDefData(int32_t min, int32_t max, int32_t v, int32_t def);
/* Makes *pv 0 or 1 and returns it; -1 with error 50 for null. */
MOLTE_API int32_t MOLTE_LimitBool(int32_t* pv);

/* 1 when all n bytes equal ch, also for n below 1; else 0. */
MOLTE_API int32_t MOLTE_IsAllSameChar(const void* buf, int32_t n, uint8_t ch);

#endif
