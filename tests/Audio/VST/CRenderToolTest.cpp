// The render tool end to end: the built executable on small float WAV files written here, its
// output read back here, and its error paths. Bypass makes the plug-in a pure delay, so with the
// latency compensated the output must equal the input bit for bit.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using TChannels = std::vector<std::vector<float>>;

struct CWav {
    int32_t rate = 0;
    TChannels channels;
};

void put32(std::vector<uint8_t>& out, uint32_t v) {
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<uint8_t>(v >> (8 * i)));
}
void put16(std::vector<uint8_t>& out, uint16_t v) {
    out.push_back(static_cast<uint8_t>(v));
    out.push_back(static_cast<uint8_t>(v >> 8));
}
uint32_t get32(const uint8_t* p) { return p[0] | (p[1] << 8) | (p[2] << 16) | (static_cast<uint32_t>(p[3]) << 24); }
uint16_t get16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }

// 32-bit float WAV, the plain (non-extensible) header.
void writeWav(const std::string& path, const CWav& wav) {
    const uint32_t count = static_cast<uint32_t>(wav.channels.size());
    const uint32_t frames = static_cast<uint32_t>(wav.channels[0].size());
    std::vector<uint8_t> b;
    b.insert(b.end(), {'R', 'I', 'F', 'F'});
    put32(b, 36 + frames * count * 4);
    b.insert(b.end(), {'W', 'A', 'V', 'E', 'f', 'm', 't', ' '});
    put32(b, 16);
    put16(b, 3);
    put16(b, static_cast<uint16_t>(count));
    put32(b, static_cast<uint32_t>(wav.rate));
    put32(b, static_cast<uint32_t>(wav.rate) * count * 4);
    put16(b, static_cast<uint16_t>(count * 4));
    put16(b, 32);
    b.insert(b.end(), {'d', 'a', 't', 'a'});
    put32(b, frames * count * 4);
    for (uint32_t i = 0; i < frames; ++i) {
        for (uint32_t c = 0; c < count; ++c) {
            uint32_t bits;
            std::memcpy(&bits, &wav.channels[c][i], 4);
            put32(b, bits);
        }
    }
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(b.data()), static_cast<std::streamsize>(b.size()));
}

// Reads a 32-bit float WAV, plain or extensible, skipping any other chunks.
bool readWav(const std::string& path, CWav& wav) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<uint8_t> b((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (b.size() < 12 || std::memcmp(b.data(), "RIFF", 4) != 0 || std::memcmp(b.data() + 8, "WAVE", 4) != 0) return false;
    uint32_t count = 0, bits = 0, tag = 0;
    for (size_t at = 12; at + 8 <= b.size();) {
        const uint32_t size = get32(&b[at + 4]);
        const uint8_t* body = &b[at + 8];
        if (std::memcmp(&b[at], "fmt ", 4) == 0) {
            tag = get16(body);
            count = get16(body + 2);
            wav.rate = static_cast<int32_t>(get32(body + 4));
            bits = get16(body + 14);
            if (tag == 0xfffe) tag = get16(body + 24);  // the sub-format's first two bytes
        } else if (std::memcmp(&b[at], "data", 4) == 0) {
            if (tag != 3 || bits != 32 || count == 0 || at + 8 + size > b.size()) return false;
            const size_t frames = size / (4 * count);
            wav.channels.assign(count, std::vector<float>(frames));
            for (size_t i = 0; i < frames; ++i) {
                for (size_t c = 0; c < count; ++c) std::memcpy(&wav.channels[c][i], body + 4 * (i * count + c), 4);
            }
            return true;
        }
        at += 8 + size + (size & 1);
    }
    return false;
}

CWav signal(int32_t channels, int32_t rate, double seconds) {
    CWav wav;
    wav.rate = rate;
    const size_t n = static_cast<size_t>(seconds * rate);
    wav.channels.assign(static_cast<size_t>(channels), std::vector<float>(n));
    for (int32_t c = 0; c < channels; ++c) {
        for (size_t i = 0; i < n; ++i) {
            const double t = static_cast<double>(i) / rate;
            wav.channels[static_cast<size_t>(c)][i] =
                static_cast<float>((0.3 + 0.1 * c) * std::sin(2.0 * 3.14159265358979 * (110.0 * (c + 1)) * t) *
                                   (0.6 + 0.4 * std::sin(2.0 * 3.14159265358979 * 3.0 * t)));
        }
    }
    return wav;
}

class CRenderToolTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/orl-render-test-XXXXXX";
        const char* made = mkdtemp(pattern);
        ASSERT_NE(made, nullptr);
        dir = made;
    }
    void TearDown() override {
        std::error_code ignored;
        std::filesystem::remove_all(dir, ignored);
    }
    std::string file(const std::string& name) const { return dir + "/" + name; }

    // Runs the tool; stdout and stderr are kept.
    int render(const std::string& args) {
        const std::string command = std::string(ORL_RENDER_TOOL_PATH) + " --quiet " + args + " >" + file("stdout") +
                                    " 2>" + file("stderr");
        const int status = std::system(command.c_str());
        std::ifstream err(file("stderr"));
        errors.assign(std::istreambuf_iterator<char>(err), std::istreambuf_iterator<char>());
        std::ifstream out(file("stdout"));
        output.assign(std::istreambuf_iterator<char>(out), std::istreambuf_iterator<char>());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    // A failure is one line on standard error and an exit code other than 0.
    void expectFailure(const std::string& args, const std::string& words) {
        EXPECT_NE(render(args), 0) << args;
        EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
        EXPECT_EQ(errors.rfind("tamberlo-render: ", 0), 0u) << errors;
        EXPECT_NE(errors.find(words), std::string::npos) << errors;
    }

    std::string dir, errors, output;
};

}  // namespace

// Mono, six channels and 96 kHz: the file's own rate and channel count, the length kept, bypass
// transparent when the delay is compensated, and exactly the latency late when it isn't.
TEST_F(CRenderToolTest, FilesOfAnyShapeComeBackAlignedAndBypassIsTransparent) {
    struct CShape {
        int32_t channels, rate;
    };
    for (const CShape& shape : {CShape{1, 48000}, CShape{6, 48000}, CShape{2, 96000}}) {
        const CWav in = signal(shape.channels, shape.rate, 0.4);
        writeWav(file("in.wav"), in);
        ASSERT_EQ(render("--param Bypass=On --block 300 " + file("in.wav") + " " + file("out.wav")), 0) << errors;
        CWav out;
        ASSERT_TRUE(readWav(file("out.wav"), out));
        EXPECT_EQ(out.rate, shape.rate);
        // Past the graph's start-up fades (60 ms) the output is the input.
        const size_t warm = static_cast<size_t>(0.06 * shape.rate);
        ASSERT_EQ(out.channels.size(), in.channels.size());
        for (size_t c = 0; c < in.channels.size(); ++c) {
            ASSERT_EQ(out.channels[c].size(), in.channels[c].size());
            EXPECT_TRUE(std::equal(in.channels[c].begin() + warm, in.channels[c].end(), out.channels[c].begin() + warm))
                << "channel " << c << " of " << shape.channels << " at " << shape.rate;
        }

        ASSERT_EQ(render("--param bypass=On " + file("in.wav") + " " + file("late.wav") + " --no-latency-compensation"), 0);
        CWav late;
        ASSERT_TRUE(readWav(file("late.wav"), late));
        const size_t delay = shape.rate == 96000 ? 1544 : 1064;
        ASSERT_EQ(late.channels.size(), in.channels.size());
        bool delayed = true;
        for (size_t c = 0; c < in.channels.size(); ++c) {
            for (size_t i = warm; i < in.channels[c].size(); ++i) delayed = delayed && late.channels[c][i] == in.channels[c][i - delay];
        }
        EXPECT_TRUE(delayed) << shape.channels << " ch at " << shape.rate;

        // Compressed: same shape, finite, not the input.
        ASSERT_EQ(render(file("in.wav") + " " + file("comp.wav")), 0) << errors;
        CWav comp;
        ASSERT_TRUE(readWav(file("comp.wav"), comp));
        ASSERT_EQ(comp.channels.size(), in.channels.size());
        EXPECT_EQ(comp.channels[0].size(), in.channels[0].size());
        bool finite = true;
        for (const auto& channel : comp.channels) {
            for (float x : channel) finite = finite && std::isfinite(x);
        }
        EXPECT_TRUE(finite);
        EXPECT_NE(comp.channels, in.channels);
    }
}

// Settings: a saved program chunk reproduces its sound bit for bit, in float and double; factory
// programs and oversampling change it; the summary reports the levels.
TEST_F(CRenderToolTest, ProgramsPresetsAndSummary) {
    writeWav(file("in.wav"), signal(2, 44100, 0.5));
    ASSERT_EQ(render("--param Thresh=-36 --param Ratio=4 --save-preset " + file("p.cpf") + " --save-bank " + file("b.cbf") +
                     " " + file("in.wav") + " " + file("set.wav")),
              0)
        << errors;
    ASSERT_EQ(render("--preset " + file("p.cpf") + " " + file("in.wav") + " " + file("preset.wav")), 0) << errors;
    ASSERT_EQ(render("--bank " + file("b.cbf") + " --block 64 " + file("in.wav") + " " + file("bank.wav")), 0) << errors;
    ASSERT_EQ(render("--program Fast " + file("in.wav") + " " + file("fast.wav")), 0) << errors;
    ASSERT_EQ(render("--oversampling 4 --double " + file("in.wav") + " " + file("os.wav")), 0) << errors;
    ASSERT_EQ(render(file("in.wav") + " " + file("default.wav")), 0) << errors;
    CWav set, preset, bank, fast, os, plain;
    ASSERT_TRUE(readWav(file("set.wav"), set) && readWav(file("preset.wav"), preset) && readWav(file("bank.wav"), bank));
    ASSERT_TRUE(readWav(file("fast.wav"), fast) && readWav(file("os.wav"), os) && readWav(file("default.wav"), plain));
    EXPECT_EQ(preset.channels, set.channels);
    EXPECT_EQ(bank.channels, set.channels);
    EXPECT_NE(set.channels, plain.channels);
    EXPECT_NE(fast.channels, plain.channels);
    EXPECT_NE(os.channels, plain.channels);

    // Without --quiet: the summary's lines, with the demo signal as input.
    const std::string command = std::string(ORL_RENDER_TOOL_PATH) + " --demo-signal 1.5 --time " + file("demo.wav") +
                                " >" + file("stdout") + " 2>" + file("stderr");
    ASSERT_EQ(std::system(command.c_str()), 0);
    std::ifstream summary(file("stdout"));
    const std::string text((std::istreambuf_iterator<char>(summary)), std::istreambuf_iterator<char>());
    for (const char* line : {"latency 1064 samples", "input  peak ", "output peak ", "RMS ", "largest level drop: ",
                             "ms of one core per second of audio"}) {
        EXPECT_NE(text.find(line), std::string::npos) << line << " in:\n" << text;
    }
    CWav demo;
    ASSERT_TRUE(readWav(file("demo.wav"), demo));
    EXPECT_EQ(demo.rate, 48000);
    EXPECT_EQ(demo.channels.size(), 2u);
    EXPECT_EQ(demo.channels[0].size(), 72000u);
}

TEST_F(CRenderToolTest, ErrorsAreOneLineAndAnExitCode) {
    writeWav(file("in.wav"), signal(2, 48000, 0.1));
    std::ofstream(file("text.wav")) << "not a sound file, only some words\n";
    std::ofstream(file("bad.cpf")) << std::string(64, '\x01');
    std::ofstream(file("short.cpf")) << std::string(16, '\0');
    expectFailure(file("missing.wav") + " " + file("out.wav"), "missing.wav");
    expectFailure(file("text.wav") + " " + file("out.wav"), "unsupported");
    expectFailure("--program Nonesuch " + file("in.wav") + " " + file("out.wav"), "unknown program 'Nonesuch'");
    expectFailure("--param Nonesuch=1 " + file("in.wav") + " " + file("out.wav"), "unknown parameter 'Nonesuch'");
    expectFailure("--preset " + file("bad.cpf") + " " + file("in.wav") + " " + file("out.wav"), "damaged preset");
    expectFailure("--preset " + file("short.cpf") + " " + file("in.wav") + " " + file("out.wav"), "damaged preset");
    expectFailure("--bank " + file("bad.cpf") + " " + file("in.wav") + " " + file("out.wav"), "damaged bank");
    expectFailure("--oversampling 3 " + file("in.wav") + " " + file("out.wav"), "--oversampling");
    EXPECT_FALSE(std::filesystem::exists(file("out.wav")));
}
