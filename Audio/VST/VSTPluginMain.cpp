// The library's one export: the host's way in.
#include "Audio/VST/CAudioWrapperVST.h"
#include "Audio/VST/CVSTEffect.h"
#include "Audio/VST/CVSTHostOpcode.h"
#include "Core/CError.h"
#include "Core/CHighResTime.h"
#include "Core/CLog.h"
#include "Core/CSystem.h"

using namespace orl;

extern "C" __attribute__((visibility("default"))) CVSTEffect* VSTPluginMain(TVSTHostCallback host) {
    const int64_t started = CHighResTime::counter();
    if (!host || host(nullptr, CVSTHostOpcode::kVersion, 0, 0, nullptr, 0.0f) == 0) return nullptr;
    auto* plugin = new CAudioWrapperVST(host);
    if (CError* err = plugin->init()) {
        CSystem::showError(ORL_PASS(err, CString::empty()));
        delete plugin;
        return nullptr;
    }
    CLog::logf("VST entry time: %.4f s @ %.4f s", CHighResTime::secondsSince(started),
               CHighResTime::secondsSinceStart());
    return plugin->effect();
}
