#include "host_route.h"

#include <string.h>

namespace th {

Route::Route()
{
    memset(&stRt, 0xA5, sizeof(stRt));
    memset(&stKey, 0, sizeof(stKey));
    stRt.ulKeyLen = 0u;
    stRt.pstKey = nullptr;
    stRt.ulAttrLen = 0u;
    stRt.pucAttr = nullptr;
    stRt.ulRtFlags = 0u;
}

void Route::SetKey(const BOL_SRPOLICY_NLRI_S &stNewKey)
{
    stKey = stNewKey;
    stRt.pstKey = &stKey;
    stRt.ulKeyLen = sizeof(stKey);
}

void Route::SetAttr(const std::vector<uint8_t> &vecNewAttr)
{
    vecAttr = vecNewAttr;
    stRt.pucAttr = vecAttr.empty() ? nullptr : vecAttr.data();
    stRt.ulAttrLen = static_cast<uint32_t>(vecAttr.size());
}

}  // namespace th
