/*
 * The SRv6 Binding SID sub-TLV decoder.
 */
#define BOL_THIS_MODULE BOL_MOD_PARSE_BINDSID

#include <stddef.h>
#include <stdint.h>

#include "bol_platform.h"
#include "bol_srpolicy.h"
#include "bol_srpolicy_priv.h"
#include "bol_srpolicy_wire.h"

/* ======================================================================== */
/* SRv6 Binding SID decoder                                                 */
/* ======================================================================== */
