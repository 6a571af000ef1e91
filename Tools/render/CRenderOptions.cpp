#include "Tools/render/CRenderOptions.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace orl {

namespace {

bool toInt(const char* text, int32_t& out) {
    char* end = nullptr;
    const long v = std::strtol(text, &end, 10);
    if (!end || *end || end == text || v < INT32_MIN || v > INT32_MAX) return false;
    out = static_cast<int32_t>(v);
    return true;
}

bool toDouble(const char* text, double& out) {
    char* end = nullptr;
    out = std::strtod(text, &end);
    return end && !*end && end != text;
}

}  // namespace

const char* CRenderOptions::usage() {
    return "usage: tamberlo-render [options] [IN] OUT\n"
           "Runs IN (WAV, FLAC or AIFF; without IN a built-in demo signal) through the plug-in and writes OUT.\n"
           "  --plugin PATH               the plug-in's .so (default: the one built with this tool)\n"
           "  --program NAME              a factory program by name\n"
           "  --preset FILE.cpf           a program chunk file\n"
           "  --bank FILE.cbf             a bank chunk file\n"
           "  --param NAME=TEXT           a host parameter by name and text value (repeatable)\n"
           "  --oversampling 1|2|4|8      through the \"Oversmp\" parameter\n"
           "  --no-latency-compensation   keep the plug-in's delay in the output\n"
           "  --block N                   host block size in frames (default 512)\n"
           "  --double                    64-bit processing\n"
           "  --realtime                  tell the plug-in it runs in real time, not offline\n"
           "  --demo-signal SECONDS       length of the built-in demo signal (default 8)\n"
           "  --save-preset FILE.cpf      write the program chunk after the settings\n"
           "  --save-bank FILE.cbf        write the bank chunk after the settings\n"
           "  --list                      list programs and parameters, then stop\n"
           "  --time                      report processing time per second of audio\n"
           "  --quiet                     no progress bar and no summary\n";
}

bool CRenderOptions::parse(int argc, char** argv, std::string& error) {
    std::vector<std::string> positional;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        auto value = [&](const char*& out) {
            if (i + 1 >= argc) {
                error = "option " + arg + " needs a value";
                return false;
            }
            out = argv[++i];
            return true;
        };
        const char* v = nullptr;
        if (arg == "--plugin") {
            if (!value(v)) return false;
            pluginPath = v;
        } else if (arg == "--program") {
            if (!value(v)) return false;
            program = v;
        } else if (arg == "--preset") {
            if (!value(v)) return false;
            presetPath = v;
        } else if (arg == "--bank") {
            if (!value(v)) return false;
            bankPath = v;
        } else if (arg == "--save-preset") {
            if (!value(v)) return false;
            savePresetPath = v;
        } else if (arg == "--save-bank") {
            if (!value(v)) return false;
            saveBankPath = v;
        } else if (arg == "--param") {
            if (!value(v)) return false;
            const char* eq = std::strchr(v, '=');
            if (!eq || eq == v) {
                error = std::string("--param needs NAME=TEXT, not '") + v + "'";
                return false;
            }
            params.emplace_back(std::string(v, static_cast<size_t>(eq - v)), std::string(eq + 1));
        } else if (arg == "--oversampling") {
            if (!value(v)) return false;
            if (!toInt(v, oversampling) || (oversampling != 1 && oversampling != 2 && oversampling != 4 &&
                                            oversampling != 8)) {
                error = std::string("--oversampling takes 1, 2, 4 or 8, not '") + v + "'";
                return false;
            }
        } else if (arg == "--block") {
            if (!value(v)) return false;
            if (!toInt(v, blockSize) || blockSize < 1 || blockSize > 65536) {
                error = std::string("--block takes 1 to 65536 frames, not '") + v + "'";
                return false;
            }
        } else if (arg == "--demo-signal") {
            if (!value(v)) return false;
            if (!toDouble(v, demoSeconds) || !(demoSeconds > 0.0) || demoSeconds > 3600.0) {
                error = std::string("--demo-signal takes a length in seconds, not '") + v + "'";
                return false;
            }
        } else if (arg == "--no-latency-compensation") {
            latencyCompensation = false;
        } else if (arg == "--double") {
            useDouble = true;
        } else if (arg == "--realtime") {
            realtime = true;
        } else if (arg == "--time") {
            reportTime = true;
        } else if (arg == "--quiet") {
            quiet = true;
        } else if (arg == "--list") {
            listOnly = true;
        } else if (arg == "--help" || arg == "-h") {
            error = "help";
            return false;
        } else if (arg.size() > 1 && arg[0] == '-') {
            error = "unknown option " + arg;
            return false;
        } else {
            positional.push_back(arg);
        }
    }
    if (positional.size() > 2) {
        error = "too many file names";
        return false;
    }
    if (positional.size() == 2) {
        inputPath = positional[0];
        outputPath = positional[1];
    } else if (positional.size() == 1) {
        outputPath = positional[0];
    } else if (!listOnly) {
        error = "no output file given";
        return false;
    }
    return true;
}

}  // namespace orl
