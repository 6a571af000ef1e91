#include "Core/CError.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "Core/CLog.h"

using namespace orl;

namespace {

int g_innerLine = 0;
int g_middleLine = 0;

CError* innermost() {
    g_innerLine = __LINE__ + 1;
    return ORL_ERROR(nullptr, CString("plugin.modMain"), "@orlstr_CTest_inner_Bad Value %1 is out of %2.", CString("7"),
                     CString("range"));
}

CError* middle() {
    CError* err = innermost();
    g_middleLine = __LINE__ + 1;
    return err ? ORL_PASS(err, CString::empty()) : nullptr;
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

}  // namespace

TEST(CError, MessageKeyParametersAndPercent) {
    const CString x("x");
    EXPECT_EQ(formatMessage("100%% of %1", &x, 1), "100% of x");
    EXPECT_EQ(formatMessage("@orlstr_CA_b_C Text %1.", &x, 1), "Text x.");
    // A parameter that wasn't given gives nothing; a lone "%" stays.
    EXPECT_EQ(formatMessage("a%3b%9c 5% d", &x, 1), "abc 5% d");
    EXPECT_EQ(formatMessage("@keyonly", &x, 1), "");
    EXPECT_EQ(formatMessage("@k %1%1%%%1", &x, 1), "xx%x");
}

TEST(CError, FramesStandUnderTheMessageInCallOrder) {
    CError* err = middle();
    ASSERT_NE(err, nullptr);
    ASSERT_EQ(err->lineCount(), 3);
    EXPECT_EQ(err->line(0), "Value 7 is out of range.");
    EXPECT_EQ(err->line(1), CString::format("tests/Core/CErrorTest( %d ) // plugin.modMain", g_innerLine));
    EXPECT_EQ(err->line(2), CString::format("tests/Core/CErrorTest( %d )", g_middleLine));

    // A further level may add a message of its own below the frames so far.
    err = ORL_ERROR(err, CString("root"), "Loading failed.");
    ASSERT_EQ(err->lineCount(), 5);
    EXPECT_EQ(err->line(3), "Loading failed.");
    EXPECT_TRUE(err->line(4).startsWith("tests/Core/CErrorTest( "));
    EXPECT_EQ(err->text().findText(CString("\nLoading failed.\n")), err->line(0).length() + err->line(1).length() +
                                                                          err->line(2).length() + 2);
    deleteError(err);
}

TEST(CLog, WritesCrLfLinesAndContextOnlyWhenEnabled) {
    const std::string path = ::testing::TempDir() + "orl_log_test.txt";
    std::remove(path.c_str());

    CLog::setPath("");
    EXPECT_FALSE(CLog::isEnabled());
    CLog::log("nothing", true);
    EXPECT_EQ(readFile(path), "");

    CLog::setPath(path.c_str());
    EXPECT_TRUE(CLog::isEnabled());
    CLog::log("first", true);
    CLog::logf("value %d", 42);
    CLog::logContext(CString("plugin.modMain"), "Bad %s", "thing");
    CLog::logContext(CString(), "No context");
    CError* err = ORL_ERROR(nullptr, CString("obj"), "Broken.");
    logError(err);
    deleteError(err);
    const int errLine = __LINE__ - 3;
    EXPECT_EQ(readFile(path), "first\r\nvalue 42\r\nBad thing // plugin.modMain\r\nNo context\r\nBroken.\r\n" +
                                  std::string("tests/Core/CErrorTest( ") + std::to_string(errLine) + " ) // obj\r\n");

    // A new path starts the file afresh rather than appending to an old run.
    CLog::setPath(path.c_str());
    CLog::log("again", false);
    EXPECT_EQ(readFile(path), "again");

    CLog::setPath("");
    std::remove(path.c_str());
}
