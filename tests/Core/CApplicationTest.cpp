#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "Audio/CAudioParamRegistration.h"
#include "Audio/Converters/CConverterRegistration.h"
#include "Audio/Processes/CSignalModules.h"
#include "Core/CAppData.h"
#include "Core/CApplication.h"
#include "Core/CCoreClasses.h"
#include "Core/CDataSet.h"
#include "Core/CError.h"
#include "Core/CEventBus.h"
#include "Core/CObject.h"
#include "tests/Support/CTestText.h"

using namespace orl;

namespace {

using test::message;

bool registerParameterClasses() {
    return CConverterRegistration::ensureCreatorsRegistered() && CAudioParamRegistration::ensureCreatorsRegistered();
}

CApplication::CSetup productSetup() {
    CApplication::CSetup setup;
    setup.productKey = "Orlune Tamberlo 3 VST2 ";
    setup.classTables[0] = &CCoreClasses::registerAll;
    setup.classTables[1] = &registerParameterClasses;
    setup.classTables[2] = &CSignalModules::registerAll;
    return setup;
}

}  // namespace

TEST(CApplicationTest, LoadBuildsTheSharedTreeAndInstanceRoots) {
    ASSERT_EQ(CApplication::instance(), nullptr);
    ASSERT_TRUE(CApplication::load(productSetup()));
    CApplication* app = CApplication::instance();
    ASSERT_NE(app, nullptr);
    EXPECT_TRUE(CApplication::load(productSetup()));  // a second load changes nothing
    EXPECT_EQ(CApplication::instance(), app);
    // The library is this test program; its folder ends in "/".
    const CString folder = CApplication::libraryFolder();
    ASSERT_FALSE(folder.isEmpty());
    EXPECT_EQ(folder.at(folder.length() - 1), u'/');

    // The shared tree came from the linked-in definitions, read-only.
    CObject* shared = CObject::sharedRoot();
    ASSERT_NE(shared, nullptr);
    EXPECT_EQ(shared->bus(), nullptr);
    EXPECT_EQ(shared->objectId(), -1);
    CObject* converter = shared->findObject(CString("shared::audio.paramcvt"));
    ASSERT_NE(converter, nullptr);
    EXPECT_TRUE(converter->isReadOnly());
    EXPECT_EQ(message(app->initSharedObject(CString())), "Shared object already exists.");

    // Instance roots get buses of their own; a name that loads nothing leaves no root behind.
    CObject* first = nullptr;
    CObject* second = nullptr;
    ASSERT_EQ(message(app->initRootObject(first, CString())), "");
    ASSERT_EQ(message(app->initRootObject(second, CString())), "");
    ASSERT_NE(first->bus(), nullptr);
    ASSERT_NE(second->bus(), nullptr);
    EXPECT_NE(first->bus()->id(), second->bus()->id());
    EXPECT_TRUE(CEventBus::isLive(first->bus()->id()));
    EXPECT_EQ(first->stage(), CObject::kChildsDone);
    const uint32_t firstBus = first->bus()->id();
    first->destroy();
    EXPECT_FALSE(CEventBus::isLive(firstBus));
    second->destroy();
    CObject* broken = reinterpret_cast<CObject*>(&second);
    EXPECT_NE(message(app->initRootObject(broken, CString("NoSuchTree.xml"))), "");
    EXPECT_EQ(broken, nullptr);

    // Unload takes the shared tree with it; a later load starts afresh.
    CApplication::unload();
    EXPECT_EQ(CApplication::instance(), nullptr);
    EXPECT_EQ(CObject::sharedRoot(), nullptr);
    ASSERT_TRUE(CApplication::load(productSetup()));
    ASSERT_NE(CObject::sharedRoot(), nullptr);
    CApplication::unload();
}

TEST(CApplicationTest, RootsNeedASharedTree) {
    CApplication::CSetup setup;
    setup.sharedData = nullptr;  // no shared tree at load
    ASSERT_TRUE(CApplication::load(setup));
    CObject* root = nullptr;
    EXPECT_EQ(message(CApplication::instance()->initRootObject(root, CString())), "No shared object created.");
    EXPECT_EQ(root, nullptr);
    // An empty shared tree made later serves.
    ASSERT_EQ(message(CApplication::instance()->initSharedObject(CString())), "");
    ASSERT_EQ(message(CApplication::instance()->initRootObject(root, CString())), "");
    root->destroy();
    CApplication::unload();
}

TEST(CApplicationTest, DataSetReadsAResourceOrAFile) {
    struct CBlockSet : CDataSet {
        CByteBuffer bytes;
        CError* read(CInputStream& in) override { return in.readCompressedData(bytes, CAppData::kTypeString); }
    };
    CBlockSet fromResource;
    ASSERT_EQ(message(fromResource.load(CString("AppDataLocal_uicolor-name"))), "");
    ASSERT_EQ(fromResource.bytes.size(), 8u);  // u32 length 4, then "Gray"
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(fromResource.bytes.data()) + 4, 4), "Gray");

    const std::string path = testing::TempDir() + "orl-dataset-test";
    FILE* f = fopen(path.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    fputs("not a block", f);
    fclose(f);
    CBlockSet fromFile;
    EXPECT_NE(message(fromFile.load(CString(path.c_str()))), "");
    EXPECT_NE(message(fromFile.load(CString("NoSuchResourceOrFile"))), "");
    remove(path.c_str());
}
