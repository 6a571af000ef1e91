#include "Platform/CCpuFeatures.h"
#include <gtest/gtest.h>
#include <fstream>
#include <string>

using namespace orl;

TEST(CCpuFeatures, AgreesWithTheKernelsFlags) {
    std::ifstream cpuinfo("/proc/cpuinfo");
    std::string line;
    bool found = false;
    while (std::getline(cpuinfo, line)) {
        if (line.rfind("flags", 0) != 0) continue;
        found = true;
        line += ' ';
        EXPECT_EQ(CCpuFeatures::hasAVX2(), line.find(" avx2 ") != std::string::npos);
        EXPECT_EQ(CCpuFeatures::hasFMA(), line.find(" fma ") != std::string::npos);
        break;
    }
    if (!found) GTEST_SKIP() << "no flags line in /proc/cpuinfo";
}
