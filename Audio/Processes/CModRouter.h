#pragma once
#include <cstdint>

#include "Audio/Processes/CModWholeNode.h"

namespace orl {

class CModRouterDef;

// Routes channels by a table and assigns groups (`audio:modRouter`). An element value v of
// `routing` names internal channel v - 1, 0 naming none. The input router reads one element per
// input channel (the output channel it goes to; the first input to ask for a channel keeps it),
// the output router one per output channel (the input channel it takes). Each output's group is
// `grouping` at the output's index. The router copies nothing: each output carries its source's
// buffer. With no route at all it still has one silent channel, index 0 in group 0, so that the
// graph behind it keeps running.
//
// Without a bound `routing` every input channel goes to the channel of its own index.
class CModRouter : public CModWholeNode {
public:
    static constexpr int32_t kGroupCount = 8;
    enum EParam : int32_t { kRouting = 0, kGrouping = 1 };

    struct CEntry {
        int32_t output;
        int32_t group;
        int32_t source;
    };

    int32_t entryCount() const { return m_entryCount; }
    const CEntry& entry(int32_t i) const { return m_entries[i]; }
    // The channel count last published for a group, -1 before the first publication.
    int32_t publishedCount(int32_t group) const { return m_published[group]; }

protected:
    void updateNode() override;
    void processBlock() override;

private:
    const CModRouterDef* routerDef() const;
    void buildTable();
    void addEntry(int32_t output, int32_t source);
    void publishCounts();

    CEntry m_entries[kMaxChannels];
    int32_t m_entryCount = 0;
    int32_t m_published[kGroupCount] = {-1, -1, -1, -1, -1, -1, -1, -1};
};

}  // namespace orl
