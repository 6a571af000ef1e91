// Every test program keeps its stored application data in a temporary folder of its own, so that
// no test reads or writes the user's real settings. The folder goes when the program ends.
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

struct CTestDataFolder {
    std::string path;
    CTestDataFolder() {
        char pattern[] = "/tmp/orl-test-data-XXXXXX";
        if (const char* made = mkdtemp(pattern)) {
            path = made;
            setenv("XDG_CONFIG_HOME", made, 1);
        } else {
            // Without a private folder, no folder: stored data then lives in memory only.
            setenv("XDG_CONFIG_HOME", "", 1);
            unsetenv("HOME");
        }
    }
    ~CTestDataFolder() {
        std::error_code ignored;
        if (!path.empty()) std::filesystem::remove_all(path, ignored);
    }
};

const CTestDataFolder g_testDataFolder;

}  // namespace
