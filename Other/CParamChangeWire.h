#pragma once
#include <cstdint>

namespace orl {

class CAudioParamChange;
class CError;
class CInputStream;
class COutputStream;

// A parameter change as it travels between the audio side and a window: the place and layout,
// then the values. Numbers go as doubles; string and raw elements go as ids into a data table
// that holds exactly the items the change names, renumbered from 1 in order of first use, so
// that a message never carries the rest of the sender's table or leaks its ids.
class CParamChangeWire {
public:
    // More numbers than this in one change is damage, not data: no parameter is that large.
    static constexpr int32_t kMaxNumbers = 1 << 20;

    static CError* write(COutputStream& out, const CAudioParamChange& record);
    // Fills record in its own storage; its source becomes `source`, since the sender's address
    // means nothing here.
    static CError* read(CInputStream& in, CAudioParamChange& record, const void* source);
};

}  // namespace orl
