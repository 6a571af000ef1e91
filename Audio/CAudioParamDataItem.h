#pragma once
#include <cstdint>

namespace orl {

class CError;
class CInputStream;
class COutputStream;

// One value of a string or raw parameter. The storage keeps only an id for it, as a number, and
// the item itself in its data table; items travel with change records and are copied on arrival.
class CAudioParamDataItem {
public:
    // The same numbers as the parameter data types that use them.
    enum Type : int32_t { kString = 1, kRaw = 2 };

    CAudioParamDataItem();
    CAudioParamDataItem(const CAudioParamDataItem& other);
    CAudioParamDataItem& operator=(const CAudioParamDataItem&) = delete;

    // Virtual operations, in slot order.
    virtual ~CAudioParamDataItem();
    virtual CAudioParamDataItem* clone() const = 0;
    virtual CError* save(COutputStream& out) const = 0;
    // Replaces the content; on failure the item keeps what it had.
    virtual CError* load(CInputStream& in) = 0;
    virtual int32_t getType() const = 0;

    // An empty item of a type, or null for a type that isn't one of the above.
    static CAudioParamDataItem* create(int32_t type);
    // Items alive in the process, for leak checks.
    static int32_t liveCount();
};

}  // namespace orl
