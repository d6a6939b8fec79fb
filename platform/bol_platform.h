/**
 * @file bol_platform.h
 * @brief Platform services the SR Policy plug-in calls: memory modules, assertion
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

/** Header of every list node. The third word belongs to the platform. */
typedef struct BOL_SRPOLICY_LIST_NODE_S {
    struct BOL_SRPOLICY_LIST_NODE_S *pstNext; /**< next node, or the head's sentinel */
    struct BOL_SRPOLICY_LIST_NODE_S *pstPrev; /**< previous node, or the head's sentinel */
    uint32_t ulHandle;                        /**< the platform's */
} BOL_SRPOLICY_LIST_NODE_S;

/** List head: a sentinel node and the node count. */
typedef struct BOL_SRPOLICY_LIST_HEAD_S {
    BOL_SRPOLICY_LIST_NODE_S stHead; /**< pstNext = first node, pstPrev = last node */
    uint32_t ulCount;                /**< nodes in the list */
} BOL_SRPOLICY_LIST_HEAD_S;

/**
 * @brief Links @p pstNew between @p pstPrev and @p pstNext; the count grows by one.
 * @param pstList  the list
 * @param pstPrev  the node before, or &pstList->stHead
 * @param pstNew   the node to link
 * @param pstNext  the node after, or &pstList->stHead
 */
void DLL_Insert_In_Middle(BOL_SRPOLICY_LIST_HEAD_S *pstList, BOL_SRPOLICY_LIST_NODE_S *pstPrev,
                          BOL_SRPOLICY_LIST_NODE_S *pstNew, BOL_SRPOLICY_LIST_NODE_S *pstNext);
/**
 * @brief Unlinks @p pstNode; the count shrinks by one.
 * @param pstList  the list
 * @param pstNode  the node
 */
void DLL_Delete(BOL_SRPOLICY_LIST_HEAD_S *pstList, BOL_SRPOLICY_LIST_NODE_S *pstNode);

/* ---- Memory modules and assertion reports ----------------------------- */

/**
 * @brief Allocates a block from a memory module.
 * @param ulMemModuleId  the memory module
 * @param ulSize         bytes
 * @param pcModule       source module of the caller, for the platform's accounting
 * @param ulLine         source line of the caller
 * @return the block, or null
 */
void *ZUN_SimpleAlloc_F(uint32_t ulMemModuleId, uint32_t ulSize, const char *pcModule, uint32_t ulLine);
/**
 * @brief Releases a block of ZUN_SimpleAlloc_F().
 * @param pvMem     the block
 * @param pcModule  source module of the caller
 * @param ulLine    source line of the caller
 * @return 0 when the block was released; callers ignore the result
 */
uint32_t ZUN_Free_F(void *pvMem, const char *pcModule, uint32_t ulLine);
/**
 * @brief Records a failed check and returns.
 * @param pcModule  source module of the check
 * @param ulLine    source line of the check
 * @param uvValue   the offending value, or the address of a zero-terminated report text of at most 127
 *                  characters
 */
void ZUN_Assert(const char *pcModule, uint32_t ulLine, uintptr_t uvValue);

/* ---- Address text and byte comparison ---------------------------------- */

/**
 * @brief Host-order IPv4 address to "a.b.c.d".
 * @param ulAddr  the address, host order
 * @param pcBuf   at least 16 bytes
 * @return @p pcBuf
 */
char *KEO_IpAddrToStr(uint32_t ulAddr, char *pcBuf);

/** IPv6 address as eight host-order 16-bit groups; group 0 holds address bytes 0 and 1. */
typedef struct KEO_IN6ADDR_S {
    uint16_t ausGroup[8]; /**< the groups, most significant first */
} KEO_IN6ADDR_S;

/**
 * @brief RFC 5952 text of an IPv6 address.
 * @param stAddr  the address
 * @param pcBuf   receives at most 39 characters and a zero
 * @return 0 on success
 */
uint32_t KEO_Inet_ntoa_b_ipv6(KEO_IN6ADDR_S stAddr, char *pcBuf);

/**
 * @brief Byte-wise comparison, like memcmp.
 * @param pvA    first bytes
 * @param pvB    second bytes
 * @param ulLen  bytes to compare
 * @return negative, zero or positive
 */
int32_t KEO_MemCmp(const void *pvA, const void *pvB, uint32_t ulLen);

/* ---- Bounds-checked memory and formatting ------------------------------ */

/** Lets the compiler check the format arguments of the formatting functions. */
#if defined(__GNUC__)
#define BOL_PRINTF_LIKE(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define BOL_PRINTF_LIKE(fmt, args)
#endif

/* Error results of the bounds-checked functions (0 is success). */
#define BOL_SEC_EINVAL 22   /**< null pointer argument */
#define BOL_SEC_ERANGE 34   /**< count larger than the destination */
#define BOL_SEC_EOVERLAP 54 /**< source and destination overlap */

/**
 * @brief Fills @p count bytes; a count above @p destMax sets the first @p destMax bytes and fails.
 * @param dest     destination
 * @param destMax  its size
 * @param c        the byte value
 * @param count    bytes to fill
 * @return 0, or #BOL_SEC_EINVAL, #BOL_SEC_ERANGE
 */
int memset_s(void *dest, size_t destMax, int c, size_t count);
/**
 * @brief Copies @p count bytes. On any failure nothing is copied and, when @p dest is usable, its first
 *        @p destMax bytes are zeroed.
 * @param dest     destination
 * @param destMax  its size
 * @param src      source
 * @param count    bytes to copy
 * @return 0, or #BOL_SEC_EINVAL, #BOL_SEC_ERANGE, #BOL_SEC_EOVERLAP
 */
int memcpy_s(void *dest, size_t destMax, const void *src, size_t count);
/**
 * @brief Formats into @p dest.
 * @param dest     destination
 * @param destMax  its size
 * @param format   printf format and its arguments
 * @return the characters written (zero not counted); -1 and an empty string when the text and its zero do
 *         not fit
 */
int sprintf_s(char *dest, size_t destMax, const char *format, ...) BOL_PRINTF_LIKE(3, 4);
/**
 * @brief Formats at most @p count characters and a zero into @p dest (@p count < @p destMax, else -1 and an
 *        empty string).
 * @param dest     destination
 * @param destMax  its size
 * @param count    characters at most
 * @param format   printf format and its arguments
 * @return the characters written, or -1 when the text was cut to @p count
 */
int snprintf_s(char *dest, size_t destMax, size_t count, const char *format, ...) BOL_PRINTF_LIKE(4, 5);
/**
 * @brief Formats as much as fits and a zero into @p dest.
 * @param dest     destination
 * @param destMax  its size
 * @param format   printf format and its arguments
 * @return the characters written
 */
int snprintf_truncated_s(char *dest, size_t destMax, const char *format, ...) BOL_PRINTF_LIKE(3, 4);

/* ---- Default platform: per-module accounting -------------------------- */

/**
 * @brief Blocks and bytes currently allocated from a memory module (default platform).
 * @param ulMemModuleId  the memory module
 * @param pulBlocks      receives the blocks
 * @param pulBytes       receives the bytes
 */
void ZUN_GetModuleUsage(uint32_t ulMemModuleId, uint32_t *pulBlocks, uint32_t *pulBytes);

/**
 * @brief Tells report texts from values: copies the text at @p uvValue into @p pcText when @p uvValue is the
 *        address of readable, zero-terminated printable text. Used by the assertion handlers.
 * @param uvValue  the reported value
 * @param pcText   128 bytes
 * @return 1 when a text was copied, else 0
 */
uint32_t BOL_PlatformProbeReportText(uintptr_t uvValue, char *pcText);

/**
 * @brief Receives each assertion report of the default platform instead of standard error. Called on the
 *        reporting thread.
 * @param pvCtx     the context given to BOL_PlatformSetReportHook()
 * @param pcModule  the reporting module
 * @param ulLine    the reporting line
 * @param pcText    the report as the default text: "0x1f" for a value, else the report text
 */
typedef void (*BOL_PLATFORM_REPORT_FN)(void *pvCtx, const char *pcModule, uint32_t ulLine, const char *pcText);

/**
 * @brief Routes the default platform's assertion reports to a function of the host's.
 * @param pfnReport  receives every report from now on; NULL sends them to standard error again
 * @param pvCtx      passed to @p pfnReport with each report
 */
void BOL_PlatformSetReportHook(BOL_PLATFORM_REPORT_FN pfnReport, void *pvCtx);

/**
 * @brief Keeps freed small blocks per thread for the next allocations of their size instead of handing them
 *        back to the system allocator. For hosts that allocate and free the same few sizes per message; the
 *        counts per module are the same either way.
 * @param ulBlocks  how many freed blocks of up to 256 bytes each thread keeps; 0, the default, keeps none and
 *                  releases what was kept
 */
void BOL_PlatformSetBlockCache(uint32_t ulBlocks);

#ifdef __cplusplus
}
#endif

#endif /* BOL_PLATFORM_H */
