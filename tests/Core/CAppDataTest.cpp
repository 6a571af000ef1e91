#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "Core/CAppDataGlobal.h"
#include "Core/CAppDataLocal.h"
#include "Core/CAttrDoubler.h"
#include "Core/CCoreClasses.h"
#include "Core/CError.h"
#include "Core/CObject.h"
#include "Core/COwnedUpdateListener.h"
#include "Core/CSharedAttribute.h"
#include "Core/CStdEventBridge.h"
#include "Platform/CRunLoop.h"
#include "tests/Support/CTestAppData.h"
#include "tests/Support/CTestText.h"

using namespace orl;
namespace fs = std::filesystem;

namespace {

using test::str;
using test::message;

using test::CTestAppData;

class CAppDataTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_dir = m_temp.path;
        m_user = m_dir + "/user/";
        m_library = m_dir + "/lib/";
        fs::create_directories(m_library);
    }
    std::string localFolder(const std::string& base) const { return base + "Orlune/Audio Plug-Ins/Tamberlo 3/"; }
    static void writeBytes(const std::string& path, const std::string& bytes) {
        fs::create_directories(fs::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << bytes;
    }
    static std::string readBytes(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }

    test::CTempFolder m_temp;
    std::string m_dir, m_user, m_library;
};

struct CCountingListener {
    int calls = 0;
    const void* lastSource = nullptr;
    void onUpdate(const CUpdateNotifier::Notification& n) {
        ++calls;
        lastSource = n.source;
    }
};

}  // namespace

TEST_F(CAppDataTest, DefaultsCacheAndRoundTrip) {
    CTestAppData data(m_library, m_user);
    CString text;
    // No file anywhere: the linked-in default.
    ASSERT_TRUE(data.readString(CString("uicolor-name"), text));
    EXPECT_EQ(str(text), "Gray");
    EXPECT_FALSE(data.readString(CString("no-such-datum"), text));
    EXPECT_TRUE(text.isEmpty());

    CCountingListener counter;
    COwnedUpdateListener<CCountingListener> listener(&counter, &CCountingListener::onUpdate);
    listener.attach(&data, data.getUpdateKey(CString("uicolor-name")));
    data.writeString(CString("uicolor-name"), CString("Navy"), &counter);
    EXPECT_EQ(counter.calls, 1);
    EXPECT_EQ(counter.lastSource, &counter);
    // The file holds one "dstr" block whose payload is the string primitive.
    const std::string file = readBytes(localFolder(m_user) + "uicolor-name");
    ASSERT_GE(file.size(), 12u);
    EXPECT_EQ(file.substr(0, 4), "dstr");
    EXPECT_FALSE(fs::exists(localFolder(m_user) + "uicolor-name.new"));

    // A cached datum asked for with another type gives nothing and stays as it is.
    CByteBuffer bytes;
    data.read(CString("uicolor-name"), bytes, CAppData::kTypeData);
    EXPECT_TRUE(bytes.isEmpty());
    ASSERT_TRUE(data.readString(CString("uicolor-name"), text));
    EXPECT_EQ(str(text), "Navy");

    // A fresh scope (another process) finds the file.
    CTestAppData later(m_library, m_user);
    ASSERT_TRUE(later.readString(CString("uicolor-name"), text));
    EXPECT_EQ(str(text), "Navy");
    EXPECT_EQ(data.getUpdateKey(CString("uicolor-name")), data.getUpdateKey(CString("uicolor-name")));
    EXPECT_NE(data.getUpdateKey(CString("uicolor-name")), data.getUpdateKey(CString("other")));
}

TEST_F(CAppDataTest, DamagedOrForeignFilesReadAsNothing) {
    const std::string folder = localFolder(m_user);
    CTestAppData writer(m_library, m_user);
    writer.writeString(CString("uicolor-name"), CString("Orange"), nullptr);
    const std::string good = readBytes(folder + "uicolor-name");

    struct {
        const char* what;
        std::string bytes;
    } cases[] = {
        {"cut inside the stream", good.substr(0, 14)},
        {"header only", good.substr(0, 12)},
        {"empty", ""},
        {"size field damaged", good.substr(0, 4) + "\xff\xff\xff\x7f" + good.substr(8)},
        {"another block id", "adat" + good.substr(4)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        writeBytes(folder + "uicolor-name", c.bytes);
        CTestAppData data(m_library, m_user);
        CString text("x");
        // The file was opened, so the default isn't tried: nothing at all.
        EXPECT_FALSE(data.readString(CString("uicolor-name"), text));
        EXPECT_TRUE(text.isEmpty());
        // A write repairs the datum.
        data.writeString(CString("uicolor-name"), CString("Red"), nullptr);
        CTestAppData again(m_library, m_user);
        ASSERT_TRUE(again.readString(CString("uicolor-name"), text));
        EXPECT_EQ(str(text), "Red");
    }
}

TEST_F(CAppDataTest, PortableFolderBesideTheLibrary) {
    fs::create_directories(m_library + "Orlune Settings");
    // Data from before the portable folder existed.
    CTestAppData old(m_library, m_user);
    old.writeString(CString("old-setting"), CString("kept"), nullptr);

    CTestAppData data(m_library, m_user);
    EXPECT_EQ(str(data.primaryFolder()), m_library + "Orlune Settings/Audio Plug-Ins/Tamberlo 3/");
    EXPECT_EQ(str(data.fallbackFolder()), localFolder(m_user));
    CString text;
    ASSERT_TRUE(data.readString(CString("old-setting"), text));
    EXPECT_EQ(str(text), "kept");
    data.writeString(CString("new-setting"), CString("portable"), nullptr);
    EXPECT_TRUE(fs::exists(m_library + "Orlune Settings/Audio Plug-Ins/Tamberlo 3/new-setting"));
    EXPECT_FALSE(fs::exists(localFolder(m_user) + "new-setting"));

    // Without the portable folder the user's folder is primary and there is no fallback.
    CTestAppData plain(m_dir + "/elsewhere/", m_user);
    EXPECT_EQ(str(plain.primaryFolder()), localFolder(m_user));
    EXPECT_TRUE(plain.fallbackFolder().isEmpty());
}

TEST_F(CAppDataTest, UnwritableFolderKeepsTheValueSilently) {
    // A regular file where a folder should be: nothing below it can be created.
    writeBytes(m_dir + "/blocked", "x");
    for (const std::string& user : {m_dir + "/blocked/user/", std::string()}) {
        CTestAppData data(m_library, user);
        CCountingListener counter;
        COwnedUpdateListener<CCountingListener> listener(&counter, &CCountingListener::onUpdate);
        listener.attach(&data, data.getUpdateKey(CString("uicolor-name")));
        data.writeString(CString("uicolor-name"), CString("Beige"), nullptr);
        data.writeString(CString("my-setting"), CString("on"), nullptr);
        CString text;
        ASSERT_TRUE(data.readString(CString("uicolor-name"), text));
        EXPECT_EQ(str(text), "Beige");
        // A forced read goes back to the sources: the default where there is one, else the
        // cached value.
        ASSERT_TRUE(data.readString(CString("uicolor-name"), text, true));
        EXPECT_EQ(str(text), "Gray");
        ASSERT_TRUE(data.readString(CString("my-setting"), text, true));
        EXPECT_EQ(str(text), "on");
        EXPECT_EQ(counter.calls, 0);
    }
}

TEST_F(CAppDataTest, ConcurrentReadersAndWriters) {
    CTestAppData data(m_library, m_user);
    std::atomic<int> heard{0};
    struct CListener : CUpdateListener {
        std::atomic<int>* count;
        void update(const CUpdateNotifier::Notification&) override { count->fetch_add(1); }
        ~CListener() override { detach(); }
    } listener;
    listener.count = &heard;
    listener.attach(&data, data.getUpdateKey(CString("shared")));
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&data, t] {
            for (int i = 0; i < 50; ++i) {
                data.writeString(CString(t % 2 ? "shared" : "own"), CString::fromInt(t * 1000 + i), nullptr);
                CString text;
                EXPECT_TRUE(data.readString(CString("shared"), text, i % 3 == 0) || t % 2 == 0);
            }
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_EQ(heard.load(), 100);
    CString text;
    ASSERT_TRUE(data.readString(CString("shared"), text, true));
    int32_t value = -1;
    ASSERT_TRUE(text.toInt(value));
    EXPECT_TRUE(value == 1049 || value == 3049) << value;
}

namespace {

// Two instance trees, each owned by this thread through an event bridge, as two editors are.
class CSharedAttributeTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CCoreClasses::registerAll());
        m_shared = CObject::newRoot();
        CObject::setSharedRoot(m_shared);
    }
    void TearDown() override {
        CRunLoop::current()->runPending();
        for (CObject* root : m_roots) root->destroy();
        CObject::setSharedRoot(nullptr);
        m_shared->destroy();
    }
    CObject* instance(const char* bridgeTag = "ui:ui-event-bridge") {
        CObject* root = CObject::newRoot();
        root->attachNewBus();
        m_roots.push_back(root);
        CObject* ui = nullptr;
        EXPECT_EQ(message(root->createChild(ui, CString(bridgeTag), CString("ui"))), "");
        return ui;
    }
    static CError* make(CObject* parent, const char* name, CAttrMap attrs, CObject*& out,
                        const char* tag = "core:shared-attribute") {
        return parent->createChild(out, CString(tag), CString(name), false, &attrs);
    }
    static CAttrMap attrs(std::initializer_list<std::pair<const char*, const char*>> list) {
        CAttrMap m;
        for (auto& [k, v] : list) m[CString(k)].setString(CString(v));
        return m;
    }

    CObject* m_shared = nullptr;
    std::vector<CObject*> m_roots;
};

}  // namespace

TEST_F(CSharedAttributeTest, TwoInstancesFollowOneDatum) {
    CObject* a = nullptr;
    CObject* b = nullptr;
    CObject* uiA = instance();
    CObject* uiB = instance();
    const CAttrMap settings = attrs({{"storage-type", "local"}, {"attribute", "value"}, {"def-value", "40"}});
    ASSERT_EQ(message(make(uiA, "frames-per-second", settings, a)), "");
    ASSERT_EQ(message(make(uiB, "frames-per-second", settings, b)), "");
    EXPECT_EQ(str(static_cast<CSharedAttribute*>(a)->dataName()), "frames-per-second");
    EXPECT_EQ(a->getAttrInt(CString("value")), 40);

    // A write on another thread reaches both objects on their own thread, at their next turn.
    std::thread([] { CAppDataLocal::instance().writeString(CString("frames-per-second"), CString("60"), nullptr); })
        .join();
    EXPECT_EQ(b->getAttrInt(CString("value")), 40);
    CRunLoop::current()->runPending();
    EXPECT_EQ(a->getAttrInt(CString("value")), 60);
    EXPECT_EQ(b->getAttrInt(CString("value")), 60);

    // Without a data name, the name behind the last "." of the full name; the datum default
    // comes from the resources.
    CObject* global = nullptr;
    CObject* mode = nullptr;
    ASSERT_EQ(message(make(uiA, "global-data", CAttrMap(), global, "core:object")), "");
    ASSERT_EQ(message(make(global, "ui-shadows", attrs({{"storage-type", "global"}, {"attribute", "on"},
                                                        {"def-value", "true"}, {"data-name", ""}}),
                           a)),
              "");
    EXPECT_EQ(str(a->fullName()), "ui.global-data.ui-shadows");
    EXPECT_EQ(str(static_cast<CSharedAttribute*>(a)->dataName()), "ui-shadows");
    EXPECT_EQ(static_cast<CSharedAttribute*>(a)->store(), &CAppDataGlobal::instance());
    EXPECT_TRUE(a->getAttrBool(CString("on")));
    ASSERT_EQ(message(make(uiB, "mode", attrs({{"storage-type", "local"}, {"attribute", "name"},
                                                  {"data-name", "uicolor-name"}}),
                           mode)),
              "");
    EXPECT_EQ(str(mode->getAttrString(CString("name"))), "Gray");

    EXPECT_EQ(message(make(uiA, "bad", attrs({{"storage-type", "roaming"}, {"attribute", "v"}}), a)),
              "Invalid storage type \"roaming\" specified.");
    EXPECT_EQ(message(make(uiA, "bad2", attrs({{"storage-type", "group"}}), a)),
              "No attached attribute name specified.");
}

TEST_F(CSharedAttributeTest, AttrDoublerCopiesToEveryTarget) {
    CObject* ui = instance();
    CObject* first = nullptr;
    CObject* second = nullptr;
    CObject* doubler = nullptr;
    ASSERT_EQ(message(make(ui, "first", CAttrMap(), first, "core:object")), "");
    ASSERT_EQ(message(make(ui, "second", CAttrMap(), second, "core:object")), "");
    ASSERT_EQ(message(make(ui, "doubler",
                           attrs({{"target", "ui.first  ui.second"}, {"attr", "fps"}, {"value", "25"}}), doubler,
                           "core:attr-doubler")),
              "");
    EXPECT_EQ(first->getAttrInt(CString("fps")), 25);
    ASSERT_EQ(message(doubler->setAttr(CString("value"), CString("50"), true)), "");
    EXPECT_EQ(first->getAttrInt(CString("fps")), 50);
    EXPECT_EQ(second->getAttrInt(CString("fps")), 50);

    EXPECT_EQ(message(make(ui, "d2", attrs({{"target", "ui.first ui.missing"}, {"attr", "x"}}), doubler,
                           "core:attr-doubler")),
              "Target object 'ui.missing' not found.");
    EXPECT_EQ(message(make(ui, "d3", attrs({{"target", " "}, {"attr", "x"}}), doubler, "core:attr-doubler")),
              "No target objects specified.");
}
