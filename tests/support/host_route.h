/*
 * A host's route record as the tests and fuzz targets hand it to the plug-in:
 * a key and/or an attribute, owned by the record; every other byte is 0xA5 so
 * that a read of a field the host did not fill stands out.
 */
#ifndef BOL_TEST_HOST_ROUTE_H
#define BOL_TEST_HOST_ROUTE_H

#include <stdint.h>

#include <vector>

#include "bol_srpolicy.h"

namespace th {

struct Route {
    BOL_RT_DATA_S stRt;
    BOL_SRPOLICY_NLRI_S stKey;
    std::vector<uint8_t> vecAttr;

    Route();
    void SetKey(const BOL_SRPOLICY_NLRI_S &stNewKey);
    /* An empty attribute leaves no attribute pointer. */
    void SetAttr(const std::vector<uint8_t> &vecNewAttr);
};

}  // namespace th

#endif
