#pragma once
#include <cstdlib>
#include <filesystem>
#include <string>

#include "Core/CAppData.h"

namespace orl::test {

// A local scope whose library and user folders are chosen by the test.
class CTestAppData : public CAppData {
public:
    CTestAppData(std::string library, std::string user)
        : CAppData("Orlune/Audio Plug-Ins/Tamberlo 3/", "AppDataLocal_"), m_library(library), m_user(user) {}

protected:
    CString libraryFolder() const override { return CString(m_library.c_str()); }
    CString userFolder() const override { return CString(m_user.c_str()); }

private:
    std::string m_library, m_user;
};

// A fresh temporary folder, removed with the object.
struct CTempFolder {
    std::string path;
    CTempFolder() {
        char pattern[] = "/tmp/orl-test-XXXXXX";
        const char* made = mkdtemp(pattern);
        path = made ? made : "/tmp/orl-test-unavailable";
    }
    ~CTempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
};

}  // namespace orl::test
