#include "Core/CSystem.h"

#include <atomic>
#include <cstdio>

#include "Core/CError.h"
#include "Core/CLog.h"
#include "Platform/CCriticalSection.h"

namespace orl {

const char* const CSystem::kErrorTitle = "Application Message";
const char* const CSystem::kErrorCaption =
    "An issue has happened when executing the vendor's application.\n\nIf this issue persists, please contact "
    "application's support staff as soon as possible. Please, copy the following information to the clipboard by "
    "selecting its text and pressing Ctrl+Insert, and send it to the vendor.  Use Shift+Insert to insert "
    "information from the clipboard into your message.";
const char* const CSystem::kNoDetails = "<no details>";

namespace {

std::atomic<CSystem::TErrorDisplay> g_display{nullptr};

// Errors may reach the top on several threads at once; their reports are kept apart.
CCriticalSection& reportLock() {
    static auto* lock = new CCriticalSection();
    return *lock;
}

}  // namespace

CError* CSystem::postMessage(CRunLoop* loop, CRunLoop::THandler handler, void* context, uint32_t message,
                             uint64_t param) {
    if (loop && loop->post(handler, context, message, param)) return nullptr;
    return ORL_ERROR(nullptr, CString(), "@orlstr_CSystem_sendEvent_PostMessage Post message error %1.",
                     CString(loop ? "stopped" : "no loop"));
}

CString CSystem::errorDetails(const CError* error) {
    CString text = error ? error->text() : CString();
    if (text.isEmpty()) text = kNoDetails;
    return text;
}

void CSystem::showError(CError* error) {
    logError(error);
    const CString details = errorDetails(error);
    deleteError(error);
    CCriticalSectionLock hold(reportLock());
    std::fprintf(stderr, "%s\n%s\n\n%s\n", kErrorTitle, kErrorCaption, details.narrowed().c8());
    std::fflush(stderr);
    if (TErrorDisplay display = g_display.load(std::memory_order_acquire))
        display(CString(kErrorTitle), CString(kErrorCaption), details);
}

CSystem::TErrorDisplay CSystem::setErrorDisplay(TErrorDisplay display) {
    return g_display.exchange(display, std::memory_order_acq_rel);
}

}  // namespace orl
