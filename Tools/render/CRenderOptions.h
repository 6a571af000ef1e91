#pragma once
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace orl {

// The command line of the render tool.
struct CRenderOptions {
    std::string pluginPath;
    std::string inputPath;   // empty: the built-in demo signal
    std::string outputPath;
    double demoSeconds = 8.0;
    std::string program;     // a factory program by name
    std::string presetPath;  // a chunk file of one program (.cpf)
    std::string bankPath;    // a chunk file of the bank (.cbf)
    std::string savePresetPath;
    std::string saveBankPath;
    std::vector<std::pair<std::string, std::string>> params;  // host parameter name, text value
    int32_t oversampling = 0;  // 0: leave it; else 1, 2, 4 or 8
    bool latencyCompensation = true;
    int32_t blockSize = 512;
    bool useDouble = false;
    bool realtime = false;  // the host tells a real-time process level instead of offline
    bool reportTime = false;
    bool quiet = false;
    bool listOnly = false;  // list programs and parameters, process nothing

    // Fills the options; false with a one-line message on a bad command line.
    bool parse(int argc, char** argv, std::string& error);
    static const char* usage();
};

}  // namespace orl
