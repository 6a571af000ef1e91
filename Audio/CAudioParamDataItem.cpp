#include "Audio/CAudioParamDataItem.h"

#include <atomic>

#include "Audio/CAudioParamDataItemRaw.h"
#include "Audio/CAudioParamDataItemString.h"

namespace orl {

namespace {

std::atomic<int32_t> g_liveItems{0};

}  // namespace

CAudioParamDataItem::CAudioParamDataItem() { g_liveItems.fetch_add(1, std::memory_order_relaxed); }

CAudioParamDataItem::CAudioParamDataItem(const CAudioParamDataItem& /*other*/) {
    g_liveItems.fetch_add(1, std::memory_order_relaxed);
}

CAudioParamDataItem::~CAudioParamDataItem() { g_liveItems.fetch_sub(1, std::memory_order_relaxed); }

CAudioParamDataItem* CAudioParamDataItem::create(int32_t type) {
    switch (type) {
        case kString:
            return new CAudioParamDataItemString();
        case kRaw:
            return new CAudioParamDataItemRaw();
        default:
            return nullptr;
    }
}

int32_t CAudioParamDataItem::liveCount() { return g_liveItems.load(std::memory_order_relaxed); }

}  // namespace orl
