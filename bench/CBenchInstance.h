#pragma once
#include <benchmark/benchmark.h>

#include <memory>

#include "Audio/CAudioWrapper.h"
#include "Core/CApplication.h"
#include "Core/CError.h"
#include "Core/CString.h"

namespace orl::bench {

// A whole plug-in instance for a benchmark: the application loaded from a compiled tree (the
// library's own resources when none is given), and a shell with nobody to tell of anything.
// A failure skips the benchmark with its message; ok() is false then. The instance stops and
// the application unloads when it goes.
class CBenchInstance {
public:
    class CHost : public CAudioWrapper {
    public:
        void hostAutomate(int32_t, double) override {}
        void hostUpdateDisplay() override {}
        void hostBeginEdit(int32_t) override {}
        void hostEndEdit(int32_t) override {}
        void hostResizeWindow(int32_t, int32_t) override {}
    };

    explicit CBenchInstance(benchmark::State& state, const char* sharedData = nullptr) {
        CApplication::CSetup setup;
        if (sharedData) setup.sharedData = sharedData;
        if (!CApplication::load(setup)) {
            state.SkipWithError("application load failed");
            return;
        }
        m_loaded = true;
        m_host = std::make_unique<CHost>();
        if (CError* err = m_host->init()) {
            state.SkipWithError(err->text().narrowed().c8());
            deleteError(err);
            m_host.reset();
            return;
        }
        m_host->finishInit();
    }
    ~CBenchInstance() {
        if (m_host) m_host->stop();
        m_host.reset();
        if (m_loaded) CApplication::unload();
    }
    CBenchInstance(const CBenchInstance&) = delete;
    CBenchInstance& operator=(const CBenchInstance&) = delete;

    bool ok() const { return m_host != nullptr; }
    CHost& host() { return *m_host; }

    // Stereo float planar at 48 kHz, started.
    void startStereo48k() {
        m_host->setSampleRate(48000.0);
        m_host->setInputFormat(2, false, false, 0, false, false);
        m_host->setOutputFormat(2, false, false);
        m_host->start();
    }

private:
    bool m_loaded = false;
    std::unique_ptr<CHost> m_host;
};

}  // namespace orl::bench
