#include <gtest/gtest.h>

#include <unistd.h>

#include <atomic>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamRegistration.h"
#include "Audio/CAudioWrapper.h"
#include "Audio/Converters/CConverterRegistration.h"
#include "Audio/Processes/CSignalModules.h"
#include "Core/CApplication.h"
#include "Core/CError.h"
#include "Core/CObject.h"
#include "tests/RealTime/CAllocationCounter.h"

using namespace orl;
using namespace orl::test;

namespace {

// The host's side of the bridge: counts, and allocates nothing.
class CSilentHost : public CAudioWrapper {
public:
    void hostAutomate(int32_t, double) override { automations.fetch_add(1, std::memory_order_relaxed); }
    void hostUpdateDisplay() override {}
    void hostBeginEdit(int32_t) override {}
    void hostEndEdit(int32_t) override {}
    void hostResizeWindow(int32_t, int32_t) override {}
    std::atomic<int64_t> automations{0};
};

// The compiled test definitions lie beside the test programs' folder in the build tree.
std::string shellTree() {
    char exe[4096] = {};
    const ssize_t n = readlink("/proc/self/exe", exe, sizeof(exe) - 1);
    std::string path(exe, n > 0 ? static_cast<size_t>(n) : 0);
    path = path.substr(0, path.find_last_of('/'));
    return path + "/../generated/Definitions/ShellPlugin.xml.bin";
}

}  // namespace

// A warm instance runs host blocks of varying size while another thread writes the gain through
// the collector's normal road (UI side, change list, taken at the block start): the audio
// thread's work takes nothing from the general heap, and neither does the writer's.
TEST(CAudioWrapperAllocation, ProcessWithChangesFromAnotherThreadAllocatesNothing) {
    ASSERT_TRUE(CSignalModules::registerAll());
    CConverterRegistration::ensureCreatorsRegistered();
    CAudioParamRegistration::ensureCreatorsRegistered();
    const std::string tree = shellTree();
    CApplication::CSetup setup;
    setup.sharedData = tree.c_str();
    ASSERT_TRUE(CApplication::load(setup));
    {
        CSilentHost host;
        CError* err = host.init();
        ASSERT_EQ(err, nullptr) << err->text().narrowed().c8();
        host.finishInit();
        host.setSampleRate(48000.0);
        host.setInputFormat(2, false, false, 0, false, false);
        host.setOutputFormat(2, false, false);
        host.start();
        CAudioParam* gain = host.collector()->getParam(CString("plugin.modMain.gain"));

        std::vector<float> left(4096), right(4096), outL(4096), outR(4096);
        for (size_t i = 0; i < left.size(); ++i) {
            left[i] = static_cast<float>(0.5 * std::sin(0.01 * static_cast<double>(i)));
            right[i] = -left[i];
        }
        const void* in[] = {left.data(), right.data()};
        void* out[] = {outL.data(), outR.data()};

        // One change before every block, as a user's drag makes them: the writer answers each
        // block with the next value, and the block waits for it.
        std::atomic<int64_t> blocks{0};
        std::atomic<int64_t> written{-1};
        std::atomic<bool> running{true};
        std::thread writer([&] {
            int64_t seen = -1;
            while (running.load(std::memory_order_acquire)) {
                const int64_t now = blocks.load(std::memory_order_acquire);
                if (now == seen) {
                    std::this_thread::yield();
                    continue;
                }
                seen = now;
                gain->setValue(0.25 + 0.05 * static_cast<double>(now % 10), 0, nullptr, nullptr);
                written.store(now, std::memory_order_release);
            }
        });
        auto block = [&](int64_t i) {
            while (written.load(std::memory_order_acquire) < i) std::this_thread::yield();
            host.process(in, out, 32 + static_cast<int32_t>((i * 97) % 1500));
            blocks.store(i + 1, std::memory_order_release);
        };
        for (int64_t i = 0; i < 2000; ++i) block(i);  // warm-up: pools fill

        CAllocationCounter::start();
        for (int64_t i = 2000; i < 12000; ++i) block(i);
        const int64_t allocations = CAllocationCounter::stop();
        running.store(false, std::memory_order_release);
        writer.join();
        EXPECT_EQ(allocations, 0);
        // The changes did cross: the host heard of each through the gain's host-visible entry.
        EXPECT_GE(host.automations.load(), 12000);
        EXPECT_NE(outL[100], 0.0f);
    }
    CApplication::unload();
}
