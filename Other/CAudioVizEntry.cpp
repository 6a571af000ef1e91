#include "Other/CAudioVizEntry.h"

#include "Other/CAudioVizData.h"

namespace orl {

void CAudioVizEntry::CRing::clear() {
    for (int32_t i = 0; i < count; ++i) delete at(i);
    head = 0;
    count = 0;
}

CAudioVizEntry::~CAudioVizEntry() {
    if (pending) pending->clear();
    delete pending;
}

}  // namespace orl
