#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "Audio/CAudioCCTable.h"
#include "Audio/CAudioExtParam.h"
#include "Audio/CAudioExtParamHostBridge.h"
#include "Audio/CAudioExtParamList.h"
#include "Audio/CAudioParamLockContext.h"
#include "Core/CAppDataLocal.h"
#include "Core/CByteBufferWriter.h"
#include "tests/Support/CTestCollector.h"
#include "tests/Support/CTestText.h"

using namespace orl;

namespace {

using test::str;
using test::message;

struct CHost : CAudioExtParamHostBridge {
    void hostAutomate(int32_t index, double norm) override { calls.emplace_back(index, norm); }
    std::vector<std::pair<int32_t, double>> calls;
};

class CAudioExtParamTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CAudioParamRegistration::ensureCreatorsRegistered());
        m_shared = CObject::newRoot();
        CObject::setSharedRoot(m_shared);
        ASSERT_EQ(message(m_shared->loadXMLData("SharedData.xml", true)), "");
        m_tc = std::make_unique<test::CTestCollector>();
        m_instance = m_tc->collector().parent();
        ASSERT_EQ(message(m_instance->createChild(m_list, CString("audio:ext-param-list"), CString("list"))), "");
    }
    void TearDown() override {
        m_tc.reset();
        CObject::setSharedRoot(nullptr);
        m_shared->destroy();
    }
    CError* add(const char* name, const char* extName, const char* paramName, const char* element = "0") {
        CAttrMap attrs;
        attrs[CString("param-collector")].setText(CString("param-collector"));
        attrs[CString("ext-name")].setText(CString(extName));
        attrs[CString("param-name")].setText(CString(paramName));
        attrs[CString("group")].setText(CString("0"));
        attrs[CString("element-index")].setText(CString(element));
        CAudioExtParam* p = nullptr;
        return m_list->createChild(p, CString("audio:ext-param"), CString(name), false, &attrs);
    }

    CObject* m_shared = nullptr;
    std::unique_ptr<test::CTestCollector> m_tc;
    CObject* m_instance = nullptr;
    CAudioExtParamList* m_list = nullptr;
};

}  // namespace

TEST_F(CAudioExtParamTest, HostAndUiChangesMeetInOnePath) {
    CAudioParam& ratio = m_tc->declare("plugin.modMain.ratio", 1, "2", false, "1 21");
    ASSERT_EQ(message(add("ratio", "Ratio", "plugin.modMain.ratio")), "");
    ASSERT_EQ(message(add("oversampling", "Oversmp", "plugin.modMain.not-declared")), "");
    CObject* plain = nullptr;
    ASSERT_EQ(message(m_list->createChild(plain, CString("core:object"), CString("note"))), "");
    ASSERT_EQ(m_list->getCount(), 2);
    CAudioExtParam* ext = m_list->getParam(0);
    CAudioExtParam* undeclared = m_list->getParam(1);
    EXPECT_EQ(m_list->getParam(2), nullptr);
    EXPECT_EQ(m_list->getParam(-1), nullptr);
    CHost host;
    ext->setHostBridge(&host, 3);
    undeclared->setHostBridge(&host, 4);

    // The host's value: clamped, the parameter takes the plain value, and nothing echoes back.
    ext->setNormalised(1.5);
    EXPECT_EQ(ext->getNormalised(), 1.0);
    EXPECT_EQ(ratio.getValue(0, 0, -1.0), 21.0);
    ext->setNormalised(0.5);
    EXPECT_EQ(ratio.getValue(0, 0, -1.0), 11.0);
    EXPECT_TRUE(host.calls.empty());

    // A change from elsewhere reaches the host, once the outermost lock is gone.
    {
        CAudioParamLockContext outer(ratio);
        m_tc->set("plugin.modMain.ratio", 6.0);
        EXPECT_TRUE(host.calls.empty());
    }
    ASSERT_EQ(host.calls.size(), 1u);
    EXPECT_EQ(host.calls[0].first, 3);
    EXPECT_DOUBLE_EQ(host.calls[0].second, 0.25);
    EXPECT_DOUBLE_EQ(ext->getNormalised(), 0.25);

    // Text both ways; nonsense parses to the normalised default.
    CString text;
    ext->getDisplay(text);
    EXPECT_FALSE(text.isEmpty());
    EXPECT_DOUBLE_EQ(ext->parseText(text), 0.25);
    ext->formatNormalised(text, 1.0);
    EXPECT_DOUBLE_EQ(ext->parseText(text), 1.0);
    EXPECT_DOUBLE_EQ(ext->parseText(CString("nonsense")), 0.05);
    EXPECT_EQ(str(ext->getName()), "Ratio");

    // A parameter without a definition keeps the host's value and formats nothing.
    undeclared->setNormalised(0.7);
    EXPECT_DOUBLE_EQ(undeclared->getNormalised(), 0.7);
    EXPECT_DOUBLE_EQ(undeclared->parseText(CString("3")), 0.5);
    undeclared->getDisplay(text);
    EXPECT_TRUE(text.isEmpty());

    EXPECT_EQ(message(add("long", "Oversamp", "plugin.modMain.ratio")),
              "Externalized parameter name 'Oversamp' is too long");
    EXPECT_NE(message(add("empty", "", "plugin.modMain.ratio")), "");
}

TEST_F(CAudioExtParamTest, ElementBeyondTheGroupGrowsIt) {
    CAudioParam& routing = m_tc->declare("plugin.modMain.routing", 1, "5", false, "0 10");
    ASSERT_EQ(message(add("third", "Third", "plugin.modMain.routing", "2")), "");
    m_list->getParam(0)->setNormalised(0.3);
    CAudioParamLockContext lock(routing);
    ASSERT_EQ(routing.uiStorage().elementCount(0), 3);
    EXPECT_EQ(routing.getValue(0, 1, -1.0), 5.0);  // the default fills the gap
    EXPECT_DOUBLE_EQ(routing.getValue(0, 2, -1.0), 3.0);
}

TEST_F(CAudioExtParamTest, ControllerTableFollowsItsDatum) {
    m_tc->declare("plugin.modMain.ratio", 1, "2", false, "1 21");
    ASSERT_EQ(message(add("ratio", "Ratio", "plugin.modMain.ratio")), "");
    CAudioCCTable* table = nullptr;
    ASSERT_EQ(message(m_instance->createChild(table, CString("audio:cctable"), CString("cctable"))), "");
    EXPECT_EQ(table->find(5), nullptr);

    auto writeMap = [](std::initializer_list<std::pair<uint32_t, const char*>> entries, uint32_t count) {
        CByteBuffer bytes;
        {
            CByteBufferWriter out(bytes);
            deleteError(out.writeUInt32(count));
            for (const auto& [cc, path] : entries) {
                deleteError(out.writeUInt32(cc));
                deleteError(out.writeString(CString(path)));
            }
        }
        CAppDataLocal::instance().write(CString("ccmap"), bytes, nullptr, CAppData::kTypeData);
    };
    // An unknown path or a controller beyond 127 enters nothing; the others enter.
    writeMap({{5, "^list.ratio"}, {7, "^list.missing"}, {300, "^list.ratio"}, {9, "^list.ratio"}}, 4);
    EXPECT_EQ(table->find(5), m_list->getParam(0));
    EXPECT_EQ(table->find(7), nullptr);
    EXPECT_EQ(table->find(9), m_list->getParam(0));
    // A datum cut short keeps the entries before the damage.
    writeMap({{11, "^list.ratio"}}, 3);
    EXPECT_EQ(table->find(11), m_list->getParam(0));
    EXPECT_EQ(table->find(5), nullptr);
    writeMap({}, 0);
    EXPECT_EQ(table->find(11), nullptr);
}
