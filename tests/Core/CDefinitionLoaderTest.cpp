#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <iterator>
#include <vector>

#include "Core/CDefTemplatePayload.h"
#include "Core/CDefinitionLoader.h"
#include "Core/CError.h"
#include "Core/CObject.h"

using namespace orl;

namespace {

std::vector<uint8_t> readCompiled(const char* name) {
    std::ifstream in(std::string(ORL_TEST_DEFINITIONS_DIR) + "/" + name, std::ios::binary);
    return std::vector<uint8_t>((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

CString errorText(CError* err) {
    CString text = err ? err->text() : CString();
    deleteError(err);
    return text;
}

// Objects finished while no shared tree exists count as shared definitions and turn read-only;
// a stand-in shared root keeps the loaded trees writable so that templates can be instantiated.
class CDefinitionLoaderTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_shared = CObject::newRoot();
        CObject::setSharedRoot(m_shared);
        m_root = CObject::newRoot();
    }
    void TearDown() override {
        m_root->destroy();
        CObject::setSharedRoot(nullptr);
        m_shared->destroy();
    }
    CObject* m_shared = nullptr;
    CObject* m_root = nullptr;
};

}  // namespace

TEST_F(CDefinitionLoaderTest, CompiledTreeLoadsWithTemplatesExpandedAndTheAttributeRules) {
    const CString path = CString(ORL_TEST_DEFINITIONS_DIR) + "/LoaderTest.xml.bin";
    ASSERT_EQ(errorText(m_root->loadXMLData(path, true)), CString());

    EXPECT_EQ(m_root->getAttrString("title"), CString("Tree"));
    EXPECT_TRUE(m_root->getAttrBool("is-on"));
    EXPECT_FALSE(m_root->hasAttr("is-off"));  // "false" is never stored
    EXPECT_FALSE(m_root->hasAttr("blank"));
    EXPECT_EQ(m_root->stage(), CObject::kLoaded);

    // A compile-time template: its attributes overridden by the use's, its children first.
    CObject* gain = m_root->findObject("gain");
    ASSERT_NE(gain, nullptr);
    EXPECT_EQ(gain->tag(), CString("core:object"));
    EXPECT_EQ(gain->getAttrString("colour"), CString("red"));
    EXPECT_EQ(gain->getAttrInt("size"), 1);
    EXPECT_EQ(gain->getAttrString("label"), CString("K"));
    EXPECT_EQ(gain->stage(), CObject::kLoaded);
    CObject* trim = m_root->findObject("trim");
    ASSERT_NE(trim, nullptr);
    EXPECT_EQ(trim->getAttrInt("size"), 3);  // from the template it builds on
    EXPECT_EQ(trim->getAttrString("extra"), CString("x"));
    EXPECT_FALSE(trim->hasAttr("colour"));  // left open by the template and by the use
    ASSERT_EQ(trim->childCount(), 2);
    EXPECT_EQ(trim->child(0)->getAttrString("value"), CString("row one"));
    EXPECT_EQ(trim->child(1)->getAttrString("value"), CString("row two"));

    // The unnamed child, and UTF-8 names and values as 16-bit text.
    CObject* unnamed = m_root->findObject("holder")->child(0);
    EXPECT_EQ(unnamed->baseName(), CString());
    EXPECT_EQ(unnamed->fullName(), CString("holder."));
    CObject* wide = m_root->findObject(CString(u"Größe"));
    ASSERT_NE(wide, nullptr);
    EXPECT_EQ(wide->baseName().length(), 5);
    EXPECT_EQ(wide->getAttrString("text"), CString(u"Ω≈"));

    // A run-time template used like a compile-time one, keeping its inner template.
    CObject* compiled = m_root->findObject("compiled");
    ASSERT_NE(compiled, nullptr);
    EXPECT_EQ(compiled->getAttrString("note"), CString("filled"));
    EXPECT_EQ(compiled->findObject(".leaf")->getAttrInt("depth"), 2);
    EXPECT_TRUE(compiled->hasTemplate("inner"));
}

TEST_F(CDefinitionLoaderTest, TemplateInstancesAreIndependentAndShareOneStaticFragment) {
    const std::vector<uint8_t> bytes = readCompiled("LoaderTest.xml.bin");
    ASSERT_FALSE(bytes.empty());
    ASSERT_EQ(errorText(CDefinitionLoader::loadTree(m_root, bytes.data(), static_cast<uint32_t>(bytes.size()), true,
                                                    false)),
              CString());
    ASSERT_TRUE(m_root->hasTemplate("outer"));

    CObject* a = nullptr;
    CObject* b = nullptr;
    ASSERT_EQ(errorText(m_root->createChild(a, "outer", "a", true)), CString());
    ASSERT_EQ(errorText(m_root->createChild(b, "outer", "b", true)), CString());
    EXPECT_EQ(a->getAttrString("kind"), CString("outer"));
    EXPECT_FALSE(a->hasAttr("note"));
    EXPECT_EQ(a->findObject(".leaf")->getAttrInt("depth"), 2);

    CObject* innerA = a->findObject(".inner");
    CObject* innerB = b->findObject(".inner");
    ASSERT_NE(innerA, nullptr);
    ASSERT_NE(innerB, nullptr);
    EXPECT_NE(innerA, innerB);
    auto* payloadA = dynamic_cast<CDefTemplatePayload*>(innerA->templatePayload());
    auto* payloadB = dynamic_cast<CDefTemplatePayload*>(innerB->templatePayload());
    ASSERT_TRUE(payloadA && payloadB);
    EXPECT_EQ(payloadA->fragment(), payloadB->fragment());

    // Each instance makes its own inner instances.
    CObject* x = nullptr;
    ASSERT_EQ(errorText(a->createChild(x, "inner", "x", true)), CString());
    EXPECT_EQ(x->getAttrString("kind"), CString("inner"));
    EXPECT_EQ(x->parent(), a);
    EXPECT_EQ(b->findObject(".x"), nullptr);
}

TEST_F(CDefinitionLoaderTest, SharedDataComesFromTheResourceTableAndAnEmptyTreeIsSeventeenBytes) {
    ASSERT_EQ(errorText(m_root->loadXMLData("SharedData.xml", true)), CString());
    EXPECT_NE(m_root->findObject("audio.paramcvt"), nullptr);

    const std::vector<uint8_t> empty = readCompiled("Empty.xml.bin");
    EXPECT_EQ(empty.size(), 17u);  // no strings, a zero tag id, kind 0 and two zero counts
    CObject* other = CObject::newRoot();
    EXPECT_EQ(errorText(CDefinitionLoader::loadTree(other, empty.data(), 17, false, true)), CString());
    EXPECT_EQ(other->childCount(), 0);
    other->destroy();
}

TEST_F(CDefinitionLoaderTest, DamagedTreesFailWithAnErrorAndNeverReadOutOfBounds) {
    EXPECT_NE(errorText(m_root->loadXMLData("/nonexistent/tree.bin", true)).findText("/nonexistent/tree.bin"), -1);

    // Every cut of a valid tree fails cleanly; a heap copy lets ASan see any overread.
    const std::vector<uint8_t> bytes = readCompiled("LoaderTest.xml.bin");
    for (size_t cut = 0; cut < bytes.size(); ++cut) {
        std::vector<uint8_t> part(bytes.begin(), bytes.begin() + static_cast<long>(cut));
        CObject* root = CObject::newRoot();
        CError* err = CDefinitionLoader::loadTree(root, part.data(), static_cast<uint32_t>(cut), false, true);
        EXPECT_NE(err, nullptr) << "cut at " << cut;
        deleteError(err);
        root->destroy();
    }

    // Hand-made trees: a string id beyond the table, an unknown node kind, nesting too deep.
    // One string, the empty one: N = 1, P = 5, its offset 4, the pool "\0", then the root's tag id.
    const std::vector<uint8_t> head = {1, 0, 0, 0, 5, 0, 0, 0, 4, 0, 0, 0, 0, 0, 0, 0, 0};
    std::vector<uint8_t> badId = head;
    badId.insert(badId.end(), {0, 1, 0, 5, 0, 5, 0});
    EXPECT_NE(errorText(CDefinitionLoader::loadTree(m_root, badId.data(), static_cast<uint32_t>(badId.size()), false,
                                                    true)).findText("string id 5"),
              -1);
    const std::vector<uint8_t> badKind = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7};
    EXPECT_NE(errorText(CDefinitionLoader::loadTree(m_root, badKind.data(), 13, false, true)).findText("kind 7"), -1);
    std::vector<uint8_t> deep = head;
    for (int i = 0; i <= CDefinitionLoader::kMaxDepth + 1; ++i) {
        deep.insert(deep.end(), {0, 0, 0, 1, 0, 0, 0, 0, 0});  // kind 0, no attributes, one unnamed child
    }
    CObject* root = CObject::newRoot();
    EXPECT_NE(errorText(CDefinitionLoader::loadTree(root, deep.data(), static_cast<uint32_t>(deep.size()), false,
                                                    true)).findText("deeper"),
              -1);
    root->destroy();
}

TEST(CDefinitionCompiler, IdsFollowFirstUseAndThePoolIsSortedByBytes) {
    const std::vector<uint8_t> bytes = readCompiled("LoaderTest.xml.bin");
    ASSERT_GT(bytes.size(), 8u);
    auto u32 = [&](size_t at) {
        return static_cast<uint32_t>(bytes[at] | (bytes[at + 1] << 8) | (bytes[at + 2] << 16) | (bytes[at + 3] << 24));
    };
    const uint32_t count = u32(0);
    auto text = [&](uint32_t id) { return std::string(reinterpret_cast<const char*>(&bytes[8 + u32(8 + 4 * id)])); };
    // The root's attributes come first, keys and values in turn; "false" and "" are strings too.
    const char* const firstUse[] = {"", "title", "Tree", "is-on", "true", "is-off", "false", "blank"};
    for (uint32_t id = 0; id < 8; ++id) EXPECT_EQ(text(id), firstUse[id]) << id;
    // Each text once, and in pool order the texts ascend, so the offset table does not.
    std::vector<std::pair<uint32_t, std::string>> byOffset;
    for (uint32_t id = 0; id < count; ++id) byOffset.emplace_back(u32(8 + 4 * id), text(id));
    std::sort(byOffset.begin(), byOffset.end());
    for (size_t i = 1; i < byOffset.size(); ++i) EXPECT_LT(byOffset[i - 1].second, byOffset[i].second);
    EXPECT_GT(u32(8 + 4 * 1), u32(8 + 4 * 2));  // "title" is stored after "Tree"
}
