/*
 * Platform services the SR Policy plug-in calls: memory modules, assertion
 * reports, the doubly linked list, address text, byte comparison and the
 * bounds-checked memory and formatting functions.
 *
 * The plug-in only declares and calls these; a host links one implementation
 * (the default one in this directory, or its own). Valid C99 and C++.
 */
#ifndef BOL_PLATFORM_H
#define BOL_PLATFORM_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Doubly linked list ------------------------------------------------ */

/* Header of every list node. The third word belongs to the platform. */
typedef struct BOL_SRPOLICY_LIST_NODE_S {
    struct BOL_SRPOLICY_LIST_NODE_S *pstNext; /* next node, or the head's sentinel */
    struct BOL_SRPOLICY_LIST_NODE_S *pstPrev; /* previous node, or the head's sentinel */
    uint32_t ulHandle;
} BOL_SRPOLICY_LIST_NODE_S;

/* List head: a sentinel node and the node count. */
typedef struct BOL_SRPOLICY_LIST_HEAD_S {
    BOL_SRPOLICY_LIST_NODE_S stHead; /* pstNext = first node, pstPrev = last node */
    uint32_t ulCount;
} BOL_SRPOLICY_LIST_HEAD_S;

/* Links pstNew between pstPrev and pstNext (either may be &pstList->stHead);
 * the count grows by one. */
void DLL_Insert_In_Middle(BOL_SRPOLICY_LIST_HEAD_S *pstList, BOL_SRPOLICY_LIST_NODE_S *pstPrev,
                          BOL_SRPOLICY_LIST_NODE_S *pstNew, BOL_SRPOLICY_LIST_NODE_S *pstNext);
/* Unlinks pstNode; the count shrinks by one. */
void DLL_Delete(BOL_SRPOLICY_LIST_HEAD_S *pstList, BOL_SRPOLICY_LIST_NODE_S *pstNode);

/* ---- Memory modules and assertion reports ----------------------------- */

void *ZUN_SimpleAlloc_F(uint32_t ulMemModuleId, uint32_t ulSize, const char *pcModule, uint32_t ulLine);
/* Returns 0 when the block was released; callers ignore the result. */
uint32_t ZUN_Free_F(void *pvMem, const char *pcModule, uint32_t ulLine);
/* Records a failed check and returns. uvValue is the offending value, or the
 * address of a zero-terminated report text of at most 127 characters. */
void ZUN_Assert(const char *pcModule, uint32_t ulLine, uintptr_t uvValue);

/* ---- Address text and byte comparison ---------------------------------- */

/* Host-order IPv4 address to "a.b.c.d"; pcBuf holds at least 16 bytes. Returns pcBuf. */
char *KEO_IpAddrToStr(uint32_t ulAddr, char *pcBuf);

/* IPv6 address as eight host-order 16-bit groups; group 0 holds address bytes 0 and 1. */
typedef struct KEO_IN6ADDR_S {
    uint16_t ausGroup[8];
} KEO_IN6ADDR_S;

/* RFC 5952 text into pcBuf (at most 39 characters and a zero); 0 on success. */
uint32_t KEO_Inet_ntoa_b_ipv6(KEO_IN6ADDR_S stAddr, char *pcBuf);

/* Byte-wise comparison: negative, zero or positive like memcmp. */
int32_t KEO_MemCmp(const void *pvA, const void *pvB, uint32_t ulLen);

/* ---- Bounds-checked memory and formatting ------------------------------ */

#if defined(__GNUC__)
#define BOL_PRINTF_LIKE(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define BOL_PRINTF_LIKE(fmt, args)
#endif

/* Error results of the bounds-checked functions (0 is success). */
#define BOL_SEC_EINVAL 22   /* null pointer argument */
#define BOL_SEC_ERANGE 34   /* count larger than the destination */
#define BOL_SEC_EOVERLAP 54 /* source and destination overlap */

/* Fills count bytes. count > destMax sets the first destMax bytes and fails. */
int memset_s(void *dest, size_t destMax, int c, size_t count);
/* Copies count bytes. On any failure nothing is copied and, when dest is
 * usable, its first destMax bytes are zeroed. */
int memcpy_s(void *dest, size_t destMax, const void *src, size_t count);
/* Returns the characters written (zero not counted); -1 and an empty string
 * when the text and its zero do not fit. */
int sprintf_s(char *dest, size_t destMax, const char *format, ...) BOL_PRINTF_LIKE(3, 4);
/* Writes at most count characters and a zero (count < destMax, else -1 and an
 * empty string). Returns the count, or -1 when the text was cut to count. */
int snprintf_s(char *dest, size_t destMax, size_t count, const char *format, ...) BOL_PRINTF_LIKE(4, 5);
/* Writes as much as fits and a zero; returns the characters written. */
int snprintf_truncated_s(char *dest, size_t destMax, const char *format, ...) BOL_PRINTF_LIKE(3, 4);

/* ---- Default platform: per-module accounting -------------------------- */

/* Blocks and bytes currently allocated from a memory module (default platform). */
void ZUN_GetModuleUsage(uint32_t ulMemModuleId, uint32_t *pulBlocks, uint32_t *pulBytes);

/* Copies the report text at uvValue into pcText (128 bytes) when uvValue is
 * the address of readable, zero-terminated printable text; returns 1 then,
 * else 0. Used by the assertion handlers to tell texts from values. */
uint32_t BOL_PlatformProbeReportText(uintptr_t uvValue, char *pcText);

/* Receives each assertion report instead of standard error: the module, the
 * line, and the report as the default text ("0x1f" for a value, else the
 * report text). Called on the reporting thread. */
typedef void (*BOL_PLATFORM_REPORT_FN)(void *pvCtx, const char *pcModule, uint32_t ulLine, const char *pcText);

/* Routes the default platform's assertion reports to pfnReport (with pvCtx);
 * NULL sends them to standard error again. */
void BOL_PlatformSetReportHook(BOL_PLATFORM_REPORT_FN pfnReport, void *pvCtx);

#ifdef __cplusplus
}
#endif

#endif /* BOL_PLATFORM_H */
