#pragma once
#include <cstdint>

#include "Core/CString.h"
#include "Platform/CRunLoop.h"

namespace orl {

class CError;

// Process-wide services that stand in for the system's own: posting a message to a thread, and
// the error of last resort.
class CSystem {
public:
    // Shows the error to the person in front of the program. Called with title, caption and the
    // error's text; it may block until the person has read it.
    using TErrorDisplay = void (*)(const CString& title, const CString& caption, const CString& details);

    static const char* const kErrorTitle;
    static const char* const kErrorCaption;
    static const char* const kNoDetails;

    // Posts a message to the thread that runs the loop. Fails when the loop has stopped.
    static CError* postMessage(CRunLoop* loop, CRunLoop::THandler handler, void* context, uint32_t message,
                               uint64_t param);

    // For errors that reach the top: logs the error, writes it to standard error and hands it to
    // the display, then deletes it. A null error or one with no lines shows kNoDetails.
    static void showError(CError* error);
    // The text showError shows for an error.
    static CString errorDetails(const CError* error);

    // Replaces the display (the editor puts up its window here); null leaves standard error alone.
    // Returns the display that was set.
    static TErrorDisplay setErrorDisplay(TErrorDisplay display);
};

}  // namespace orl
