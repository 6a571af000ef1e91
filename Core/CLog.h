#pragma once
#include "Core/CString.h"

namespace orl {

// The debug log: a text file with CR LF line ends. It is off when the log path, a build-time
// setting, is empty. The file is truncated by the first write of the process and appended to
// afterwards; it is opened and closed for every write so that a crash loses nothing.
class CLog {
public:
    static constexpr int kMessageSize = 1024;
    static constexpr int kContextSize = 1280;

    static bool isEnabled();
    static void log(const char* text, bool addNewline);
    // printf-style line, formatted into a buffer of kMessageSize bytes.
    static void logf(const char* format, ...) __attribute__((format(printf, 1, 2)));
    // A line with context: "message // context" when the context (usually an object's full
    // name) isn't empty, otherwise the message alone.
    static void logContext(const CString& context, const char* format, ...)
        __attribute__((format(printf, 2, 3)));

    // Points the log at another file ("" turns it off); for tools and tests. The next write
    // starts the file afresh.
    static void setPath(const char* path);
};

}  // namespace orl
