#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamDataItemRaw.h"
#include "Audio/CAudioParamDef.h"
#include "Audio/CAudioParamRegistration.h"
#include "Audio/CAudioParamSharedStorage.h"
#include "Audio/CSharedParam.h"
#include "Audio/Converters/CConverterRegistration.h"
#include "Core/CAppDataLocal.h"
#include "Core/CError.h"
#include "Core/CObject.h"
#include "tests/Support/CTestAppData.h"
#include "tests/Support/CTestText.h"

using namespace orl;

namespace {

using test::str;
using test::message;

class CSharedParamTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CConverterRegistration::ensureCreatorsRegistered());
        ASSERT_TRUE(CAudioParamRegistration::ensureCreatorsRegistered());
        m_shared = CObject::newRoot();
        CObject::setSharedRoot(m_shared);
        ASSERT_EQ(message(m_shared->loadXMLData("SharedData.xml", true)), "");
        m_root = CObject::newRoot();
    }
    void TearDown() override {
        m_root->destroy();
        CObject::setSharedRoot(nullptr);
        m_shared->destroy();
    }
    CError* make(const char* tag, const char* name, std::initializer_list<std::pair<const char*, const char*>> attrs,
                 CObject*& out) {
        CAttrMap map;
        for (const auto& [k, v] : attrs) map[CString(k)].setText(CString(v));
        return m_root->createChild(out, CString(tag), CString(name), false, &map);
    }
    const CAudioParamInfo& define(const char* name, std::initializer_list<std::pair<const char*, const char*>> attrs) {
        CObject* def = nullptr;
        EXPECT_EQ(message(make("audio:param", name, attrs, def)), "");
        return static_cast<CAudioParamDef*>(def)->info();
    }
    // One instance's parameter, tied to the datum.
    struct CInstance {
        std::unique_ptr<CAudioParam> param;
        std::unique_ptr<CSharedParam> tie;
    };
    CInstance instance(const CAudioParamInfo& info, CAppData& store, const char* dataName) {
        CInstance i;
        i.param = std::make_unique<CAudioParam>(CString("plugin.modMain.") + info.name);
        i.param->allocate(info, nullptr);
        i.tie = std::make_unique<CSharedParam>(*i.param, store, CString(dataName));
        i.tie->start();
        return i;
    }

    test::CTempFolder m_temp;
    CObject* m_shared = nullptr;
    CObject* m_root = nullptr;
};

}  // namespace

TEST_F(CSharedParamTest, InstancesFollowTheStoredValue) {
    test::CTestAppData store(m_temp.path + "/lib/", m_temp.path + "/user/");
    const CAudioParamInfo& numeric =
        define("meter-rmstime", {{"converter", "real"}, {"min-values", "0"}, {"max-values", "5000"}, {"def-values", "300"}});
    CInstance a = instance(numeric, store, "integration-time");
    EXPECT_EQ(a.param->getValue(0, 0, -1.0), 300.0);  // nothing stored: the default stays

    // A change from anyone but the tie itself is written, as the converter's text.
    ASSERT_TRUE(a.param->setValue(1250.0, 0, nullptr, nullptr));
    CString text;
    ASSERT_TRUE(store.readString(CString("integration-time"), text));
    double stored = 0.0;
    ASSERT_TRUE(text.toDouble(stored));
    EXPECT_EQ(stored, 1250.0);

    // A second instance starts with the stored value and then follows the first.
    CInstance b = instance(numeric, store, "integration-time");
    EXPECT_EQ(b.param->getValue(0, 0, -1.0), 1250.0);
    ASSERT_TRUE(a.param->setValue(80.0, 0, nullptr, nullptr));
    EXPECT_EQ(b.param->getValue(0, 0, -1.0), 80.0);
    ASSERT_TRUE(b.param->setValue(4000.0, 0, nullptr, nullptr));
    EXPECT_EQ(a.param->getValue(0, 0, -1.0), 4000.0);
    // Unparsable stored text leaves the parameter alone.
    store.writeString(CString("integration-time"), CString("fast"), nullptr);
    EXPECT_EQ(a.param->getValue(0, 0, -1.0), 4000.0);

    // Strings as text, raw data as bytes.
    const CAudioParamInfo& name = define("mode-name", {{"data-type", "string"}, {"converter", "text"}, {"def-values", "Gray"}});
    CInstance s1 = instance(name, store, "uicolor-name");
    CInstance s2 = instance(name, store, "uicolor-name");
    ASSERT_TRUE(s1.param->setString(0, 0, CString("Navy"), nullptr, nullptr));
    ASSERT_TRUE(s2.param->getString(text, 0, 0));
    EXPECT_EQ(str(text), "Navy");

    const CAudioParamInfo& raw = define("palette", {{"data-type", "raw"}, {"converter", "text"}});
    CInstance r1 = instance(raw, store, "uicolor-palette");
    CInstance r2 = instance(raw, store, "uicolor-palette");
    const uint8_t bytes[] = {1, 2, 3, 250};
    ASSERT_TRUE(r1.param->setRaw(0, 0, bytes, sizeof(bytes), nullptr, nullptr));
    const auto* item = r2.param->uiStorage().findElementItem(0, 0);
    ASSERT_NE(item, nullptr);
    ASSERT_EQ(item->getType(), CAudioParamDataItem::kRaw);
    const CByteBuffer& got = static_cast<const CAudioParamDataItemRaw*>(item)->bytes();
    ASSERT_EQ(got.size(), 4u);
    EXPECT_EQ(got[3], 250);

    // After stop, the tie neither writes nor follows.
    b.tie->stop();
    ASSERT_TRUE(a.param->setValue(10.0, 0, nullptr, nullptr));
    EXPECT_EQ(b.param->getValue(0, 0, -1.0), 4000.0);
}

TEST_F(CSharedParamTest, DeclarationMessages) {
    CObject* o = nullptr;
    ASSERT_EQ(message(make("audio:param-shared-storage", "ok",
                           {{"param", "lp-oversampling-enable"}, {"data-name", "lp-oversampling-enable"},
                            {"storage-type", "local"}},
                           o)),
              "");
    EXPECT_EQ(static_cast<CAudioParamSharedStorage*>(o)->store(), &CAppDataLocal::instance());
    EXPECT_EQ(message(make("audio:param-shared-storage", "a", {{"data-name", "x"}, {"storage-type", "local"}}, o)),
              "Invalid parameter name specified.");
    EXPECT_EQ(message(make("audio:param-shared-storage", "b", {{"param", "x"}, {"storage-type", "local"}}, o)),
              "Invalid shared data name specified.");
    EXPECT_EQ(message(make("audio:param-shared-storage", "c", {{"param", "x"}, {"data-name", "x"}, {"storage-type", "user"}}, o)),
              "Invalid storage type \"user\" specified.");
}
