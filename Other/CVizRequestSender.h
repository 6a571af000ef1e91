#pragma once
#include <cstdint>

#include "Core/CString.h"

namespace orl {

// What the visualisation exchange needs of the link to the audio side: the three messages that
// it sends. The interface client implements it.
class CVizRequestSender {
public:
    virtual ~CVizRequestSender() = default;
    // A display of this window listens to a source now (`listen-viz`); slot below 0 means the
    // source of this instance.
    virtual void listenViz(const CString& name, int32_t slot) = 0;
    // The last display of this window stopped listening to it (`unlisten-viz`).
    virtual void unlistenViz(const CString& name) = 0;
    // Asks for the records made since the last request, at this many records per second.
    virtual void requestVizData(double rate) = 0;
};

}  // namespace orl
