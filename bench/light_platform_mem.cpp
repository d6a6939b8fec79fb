/*
 * A light platform allocator for the floor measurements: plain malloc and
 * free, no lock, no header, no accounting. Linked instead of the default
 * platform's memory modules so that the decoders and their floors pay only
 * for the allocator itself. A zero-byte request fails, as on the default
 * platform, so the decoders take the same paths on both.
 */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include "bol_platform.h"

extern "C" {

void *ZUN_SimpleAlloc_F(uint32_t ulMemModuleId, uint32_t ulSize, const char *pcModule, uint32_t ulLine)
{
    (void)ulMemModuleId;
    (void)pcModule;
    (void)ulLine;
    return (ulSize == 0u) ? nullptr : malloc(ulSize);
}

uint32_t ZUN_Free_F(void *pvMem, const char *pcModule, uint32_t ulLine)
{
    (void)pcModule;
    (void)ulLine;
    if (pvMem == nullptr) {
        return 1u;
    }
    free(pvMem);
    return 0u;
}

/* Nothing is counted. */
void ZUN_GetModuleUsage(uint32_t ulMemModuleId, uint32_t *pulBlocks, uint32_t *pulBytes)
{
    (void)ulMemModuleId;
    if (pulBlocks != nullptr) {
        *pulBlocks = 0u;
    }
    if (pulBytes != nullptr) {
        *pulBytes = 0u;
    }
}

void ZUN_Assert(const char *pcModule, uint32_t ulLine, uintptr_t uvValue)
{
    (void)fprintf(stderr, "%s:%u %#llx\n", (pcModule != nullptr) ? pcModule : "?", ulLine,
                  static_cast<unsigned long long>(uvValue));
}

} /* extern "C" */
