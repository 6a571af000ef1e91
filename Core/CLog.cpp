#include "Core/CLog.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "Platform/CCriticalSection.h"

#ifndef ORL_LOG_PATH
#define ORL_LOG_PATH ""
#endif

namespace orl {
namespace {

struct LogState {
    CCriticalSection lock;
    char path[1024] = ORL_LOG_PATH;
    bool started = false;
};

LogState& state() {
    // Never destroyed: static destructors of other objects may still log.
    static LogState* s = new LogState();
    return *s;
}

}  // namespace

bool CLog::isEnabled() {
    LogState& s = state();
    s.lock.enter();
    bool on = s.path[0] != 0;
    s.lock.leave();
    return on;
}

void CLog::setPath(const char* path) {
    LogState& s = state();
    s.lock.enter();
    std::snprintf(s.path, sizeof s.path, "%s", path ? path : "");
    s.started = false;
    s.lock.leave();
}

void CLog::log(const char* text, bool addNewline) {
    LogState& s = state();
    s.lock.enter();
    if (s.path[0]) {
        if (FILE* f = std::fopen(s.path, s.started ? "ab" : "wb")) {
            s.started = true;
            if (text) std::fwrite(text, 1, std::strlen(text), f);
            if (addNewline) std::fwrite("\r\n", 1, 2, f);
            std::fclose(f);
        }
    }
    s.lock.leave();
}

void CLog::logf(const char* format, ...) {
    if (!isEnabled()) return;
    char buffer[kMessageSize];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    log(buffer, true);
}

void CLog::logContext(const CString& context, const char* format, ...) {
    if (!isEnabled()) return;
    char message[kMessageSize];
    va_list args;
    va_start(args, format);
    std::vsnprintf(message, sizeof message, format, args);
    va_end(args);
    if (context.isEmpty()) {
        log(message, true);
        return;
    }
    char line[kContextSize];
    std::snprintf(line, sizeof line, "%s // %s", message, context.narrowed().c8());
    log(line, true);
}

}  // namespace orl
