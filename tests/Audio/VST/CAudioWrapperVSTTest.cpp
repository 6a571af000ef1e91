// The plug-in as a host meets it: the built library, loaded from its file and entered through
// VSTPluginMain. Everything is asked through the dispatcher and the effect record; what the
// interface doesn't show (channel names, stored state) is read back from the chunks.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Audio/CAudioParamStorage.h"
#include "Audio/CAudioPreset.h"
#include "Audio/VST/CVSTEffect.h"
#include "Audio/VST/CVSTEvents.h"
#include "Audio/VST/CVSTFlags.h"
#include "Audio/VST/CVSTMidiEvent.h"
#include "Audio/VST/CVSTRect.h"
#include "Audio/VST/CVSTSpeakerArrangement.h"
#include "Core/CByteBuffer.h"
#include "Core/CInputStream.h"
#include "Core/CMemoryReader.h"
#include "tests/Audio/VST/CVSTTestHost.h"
#include "tests/Support/CTestText.h"

using namespace orl;
using test::CVSTHostIdentity;
using test::CVSTTestHost;
using test::message;
using test::str;

namespace {

constexpr int32_t kThresh = 2;
constexpr int32_t kRatio = 3;
constexpr int32_t kOversampling = 1;
constexpr intptr_t kExtensionAnswer = 0xbeef;

std::unique_ptr<CVSTTestHost> makeHost(CVSTHostIdentity identity = {}) {
    auto host = std::make_unique<CVSTTestHost>(std::move(identity));
    EXPECT_NE(host->effect, nullptr);
    return host;
}

// An arrangement of channels with the given speaker names, stored in a buffer of its own size.
std::vector<uint8_t> arrangement(const std::vector<std::string>& names) {
    const int32_t n = static_cast<int32_t>(names.size());
    std::vector<uint8_t> bytes(CVSTSpeakerArrangement::bytesFor(n), 0);
    auto* a = reinterpret_cast<CVSTSpeakerArrangement*>(bytes.data());
    a->numChannels = n;
    for (int32_t i = 0; i < n; ++i) {
        std::snprintf(a->speaker(i).name, CVSTSpeaker::kNameBytes, "%s", names[i].c_str());
    }
    return bytes;
}

intptr_t setArrangement(CVSTTestHost& host, std::vector<uint8_t>& in, std::vector<uint8_t>& out) {
    return host.dispatch(CVSTOpcode::kSetSpeakerArrangement, 0, reinterpret_cast<intptr_t>(in.data()), out.data());
}

// The texts of a string parameter as the program chunk stores them.
std::vector<std::string> storedTexts(const std::vector<uint8_t>& presetChunk, const char* key, int32_t count) {
    std::vector<std::string> texts;
    if (presetChunk.size() <= 16) return texts;
    CMemoryReader block(presetChunk.data() + 16, static_cast<uint32_t>(presetChunk.size() - 16));
    CAudioPreset preset;
    EXPECT_EQ(message(preset.readCompressed(block)), "");
    const CByteBuffer* item = preset.findItem(CString(key));
    EXPECT_NE(item, nullptr) << key;
    if (!item) return texts;
    // An item is the parameter's stored path, then its storage.
    CMemoryReader reader(item->data(), item->size());
    CString path;
    EXPECT_EQ(message(reader.readString(path)), "");
    CAudioParamStorage storage;
    EXPECT_EQ(message(storage.load(reader, -1)), "");
    for (int32_t i = 0; i < count; ++i) {
        CString text;
        texts.push_back(storage.getText(0, i, text) ? str(text) : "?");
    }
    return texts;
}

bool sameSamples(const CVSTTestHost::TBlock& a, const CVSTTestHost::TBlock& b) {
    if (a.size() != b.size()) return false;
    for (size_t c = 0; c < a.size(); ++c) {
        if (a[c].size() != b[c].size() || std::memcmp(a[c].data(), b[c].data(), a[c].size() * sizeof(float)) != 0) {
            return false;
        }
    }
    return true;
}

}  // namespace

// The entry's host test, what the record says of the plug-in, and the channel count that the
// host's version and product strings decide.
TEST(CAudioWrapperVSTTest, EntryAndRecordFollowTheHost) {
    CVSTTestHost::TEntry main = CVSTTestHost::entry();
    ASSERT_NE(main, nullptr);
    EXPECT_EQ(main(nullptr), nullptr);
    EXPECT_EQ(main([](CVSTEffect*, int32_t, int32_t, intptr_t, void*, float) -> intptr_t { return 0; }), nullptr);

    auto host = makeHost();
    ASSERT_NE(host->effect, nullptr);
    const CVSTEffect& e = *host->effect;
    EXPECT_EQ(e.magic, CVSTEffect::kMagic);
    EXPECT_EQ(e.uniqueID, vstFourCC("Tmb3"));
    EXPECT_EQ(e.numParams, 7);
    EXPECT_GE(e.numPrograms, 1);
    EXPECT_EQ(e.numInputs, 16);
    EXPECT_EQ(e.numOutputs, 16);
    const int32_t wanted = CVSTFlags::kHasEditor | CVSTFlags::kCanReplacing | CVSTFlags::kProgramChunks |
                           CVSTFlags::kCanDoubleReplacing;
    EXPECT_EQ(e.flags & wanted, wanted);
    EXPECT_EQ(e.flags & CVSTFlags::kIsSynth, 0);
    EXPECT_EQ(host->dispatch(CVSTOpcode::kGetVstVersion), 2400);
    EXPECT_EQ(host->dispatch(CVSTOpcode::kGetVendorVersion), (3 << 16) + (0 << 8) + 1);  // "3.0.1"
    EXPECT_EQ(host->dispatch(CVSTOpcode::kGetPlugCategory), 1);  // no `plugin-category-vst`: an effect
    EXPECT_EQ(host->text(CVSTOpcode::kGetEffectName), "Tamberlo 3");
    EXPECT_EQ(host->text(CVSTOpcode::kGetVendorString), "Orlune");
    EXPECT_EQ(host->text(CVSTOpcode::kGetProductString), "Orlune Tamberlo 3");

    // Hosts that can't take more than stereo, recognised by version or (upper-cased) product.
    for (const CVSTHostIdentity& identity :
         {CVSTHostIdentity{2200, "Any", "Any"}, CVSTHostIdentity{2400, "Adobe", "Adobe Premiere Pro 2"},
          CVSTHostIdentity{2400, "Sony", "Sony Acid Pro"}}) {
        auto two = makeHost(identity);
        ASSERT_NE(two->effect, nullptr);
        EXPECT_EQ(two->effect->numInputs, 2) << identity.product;
        EXPECT_EQ(two->effect->numOutputs, 2) << identity.product;
    }
    // Exactly "SONY ACID PRO" only; a longer name keeps the channels.
    auto other = makeHost(CVSTHostIdentity{2400, "Sony", "Sony Acid Pro 7"});
    EXPECT_EQ(other->effect->numInputs, 16);
}

// Host-visible parameters: names, values, limits; a host's own setting never comes back to it
// as automation; the vendor-specific display and parse calls; capabilities.
TEST(CAudioWrapperVSTTest, ParametersTextsAndCapabilities) {
    auto host = makeHost();
    CVSTTestHost& h = *host;
    const char* names[] = {"Bypass", "Oversmp", "Thresh", "Ratio", "AGain", "OGain", "OGainA"};
    for (int32_t i = 0; i < 7; ++i) EXPECT_EQ(h.text(CVSTOpcode::kGetParamName, i), names[i]);
    for (int32_t op : {CVSTOpcode::kGetParamName, CVSTOpcode::kGetParamDisplay, CVSTOpcode::kGetParamLabel}) {
        EXPECT_EQ(h.text(op, 7), "");
        EXPECT_EQ(h.text(op, -1), "");
    }
    EXPECT_EQ(h.effect->getParameter(h.effect, 99), 0.0f);
    EXPECT_EQ(h.dispatch(CVSTOpcode::kCanBeAutomated, kThresh), 1);

    h.effect->setParameter(h.effect, kThresh, 0.25f);
    EXPECT_FLOAT_EQ(h.effect->getParameter(h.effect, kThresh), 0.25f);
    h.effect->setParameter(h.effect, kThresh, 1.5f);  // clamped
    EXPECT_FLOAT_EQ(h.effect->getParameter(h.effect, kThresh), 1.0f);
    EXPECT_TRUE(h.automations.empty());

    // Text to value and back: the parse answers "%f" in 8 bytes, the display shows that value.
    char text[64] = "-30";
    EXPECT_EQ(h.dispatch(CVSTOpcode::kVendorSpecific, CVSTOpcode::kString2Parameter, kThresh, text), kExtensionAnswer);
    EXPECT_EQ(std::strlen(text), 7u) << text;
    const float norm = std::strtof(text, nullptr);
    h.effect->setParameter(h.effect, kThresh, norm);
    const std::string shown = h.text(CVSTOpcode::kGetParamDisplay, kThresh);
    EXPECT_EQ(shown.rfind("-30.0", 0), 0u) << shown;
    char other[64] = {};
    EXPECT_EQ(h.dispatch(CVSTOpcode::kVendorSpecific, CVSTOpcode::kGetParamDisplay, kThresh, other, norm),
              kExtensionAnswer);
    EXPECT_EQ(std::string(other), shown);
    std::strcpy(other, "8X");
    EXPECT_EQ(h.dispatch(CVSTOpcode::kVendorSpecific, CVSTOpcode::kString2Parameter, kOversampling, other),
              kExtensionAnswer);
    EXPECT_STREQ(other, "1.00000");
    std::strcpy(other, "1");
    EXPECT_EQ(h.dispatch(CVSTOpcode::kVendorSpecific, CVSTOpcode::kString2Parameter, 42, other), kExtensionAnswer);
    EXPECT_STREQ(other, "");
    // The wheel call in both spellings, and only with its value; anything else isn't ours.
    EXPECT_EQ(h.dispatch(CVSTOpcode::kVendorSpecific, vstFourCC("stCA"), vstFourCC("Whee"), nullptr, 1.0f), 1);
    EXPECT_EQ(h.dispatch(CVSTOpcode::kVendorSpecific, vstFourCC("stCa"), vstFourCC("Whee"), nullptr, -1.0f), 1);
    EXPECT_EQ(h.dispatch(CVSTOpcode::kVendorSpecific, vstFourCC("stCA"), 1, nullptr, 1.0f), 0);
    EXPECT_EQ(h.dispatch(CVSTOpcode::kVendorSpecific, 12345, 0, text), 0);

    auto canDo = [&](const char* what) { return h.dispatch(CVSTOpcode::kCanDo, 0, 0, const_cast<char*>(what)); };
    EXPECT_EQ(canDo("hasCockosExtensions"), 0xbeef0000);
    EXPECT_EQ(canDo("receiveVstMidiEvent"), 1);
    EXPECT_EQ(canDo("receiveVstTimeInfo"), 1);
    EXPECT_EQ(canDo("sendVstMidiEvent"), 0);

    // Precision: 0 and 1 only.
    EXPECT_EQ(h.dispatch(CVSTOpcode::kSetProcessPrecision, 0, 2), 0);
    EXPECT_EQ(h.dispatch(CVSTOpcode::kSetProcessPrecision, 0, 1), 1);
    EXPECT_EQ(h.dispatch(CVSTOpcode::kSetProcessPrecision, 0, 0), 1);

    // The editor: its rectangle is the window size; without a window tree it doesn't open.
    CVSTRect* rect = nullptr;
    EXPECT_EQ(h.dispatch(CVSTOpcode::kEditGetRect, 0, 0, &rect), 1);
    ASSERT_NE(rect, nullptr);
    EXPECT_EQ(rect->top, 0);
    EXPECT_EQ(rect->left, 0);
    EXPECT_GT(rect->bottom, 0);
    EXPECT_GT(rect->right, rect->bottom);  // the main window is wider than high
    EXPECT_EQ(h.dispatch(CVSTOpcode::kEditOpen, 0, 0, nullptr), 0);
}

// Programs: count, names cut to 23 characters, selection and renaming through the host.
TEST(CAudioWrapperVSTTest, ProgramsAndNames) {
    auto host = makeHost();
    CVSTTestHost& h = *host;
    const int32_t count = h.effect->numPrograms;
    ASSERT_GE(count, 2);
    std::vector<std::string> names;
    for (int32_t i = 0; i < count; ++i) {
        char text[256];
        std::memset(text, 'x', sizeof(text));
        EXPECT_EQ(h.dispatch(CVSTOpcode::kGetProgramNameIndexed, i, -1, text), 1);
        EXPECT_LE(std::strlen(text), 23u);
        EXPECT_FALSE(std::string(text).empty());
        EXPECT_EQ(std::string(text).find(':'), std::string::npos) << "the registry id is not shown: " << text;
        names.push_back(text);
    }
    EXPECT_EQ(h.dispatch(CVSTOpcode::kGetProgram), 0);
    h.dispatch(CVSTOpcode::kSetProgram, 0, 1);
    EXPECT_EQ(h.dispatch(CVSTOpcode::kGetProgram), 1);
    EXPECT_EQ(h.text(CVSTOpcode::kGetProgramName), names[1]);

    char longName[] = "A name of more than twenty-three characters";
    h.dispatch(CVSTOpcode::kSetProgramName, 0, 0, longName);
    EXPECT_EQ(h.text(CVSTOpcode::kGetProgramName), std::string(longName).substr(0, 23));
    EXPECT_EQ(h.text(CVSTOpcode::kGetProgramNameIndexed, 1, -1), std::string(longName).substr(0, 23));
    EXPECT_EQ(h.text(CVSTOpcode::kGetProgramNameIndexed, 0, -1), names[0]);
}

// Speaker arrangements: the limits, the copies the host gets back, and the channel names, which
// reach the routing's `in-channel-names` (read back from the program chunk).
TEST(CAudioWrapperVSTTest, SpeakerArrangementsAndChannelNames) {
    auto host = makeHost();
    CVSTTestHost& h = *host;
    CVSTSpeakerArrangement* in = nullptr;
    CVSTSpeakerArrangement* out = nullptr;
    EXPECT_EQ(h.dispatch(CVSTOpcode::kGetSpeakerArrangement, 0, reinterpret_cast<intptr_t>(&in), &out), 0);
    EXPECT_EQ(in, nullptr);

    std::vector<uint8_t> in3 = arrangement({"a", "b", "c"}), out2 = arrangement({"a", "b"});
    EXPECT_EQ(setArrangement(h, in3, out2), 0);  // symmetric IO: unequal counts are refused
    std::vector<uint8_t> none = arrangement({});
    EXPECT_EQ(setArrangement(h, none, none), 0);
    std::vector<std::string> many(17, "x");
    std::vector<uint8_t> in17 = arrangement(many);
    EXPECT_EQ(setArrangement(h, in17, in17), 0);

    std::vector<uint8_t> inLR = arrangement({"Left", ""}), outLR = arrangement({"Left", ""});
    EXPECT_EQ(setArrangement(h, inLR, outLR), 1);
    EXPECT_EQ(storedTexts(h.chunk(true), "io-params.in-channel-names", 2), (std::vector<std::string>{"Left", "R"}));
    ASSERT_EQ(h.dispatch(CVSTOpcode::kGetSpeakerArrangement, 0, reinterpret_cast<intptr_t>(&in), &out), 1);
    ASSERT_NE(in, nullptr);
    EXPECT_EQ(in->numChannels, 2);
    EXPECT_STREQ(in->speaker(0).name, "Left");
    EXPECT_NE(static_cast<void*>(in), static_cast<void*>(inLR.data()));  // a copy, not the host's record

    std::vector<uint8_t> in4 = arrangement({"Surround1", "?", "", "LFE"});
    EXPECT_EQ(setArrangement(h, in4, in4), 1);
    EXPECT_EQ(storedTexts(h.chunk(true), "io-params.in-channel-names", 4),
              (std::vector<std::string>{"Surroun", "R", "IN3", "LFE"}));

    // A stereo-only host takes no more than two channels.
    auto two = makeHost(CVSTHostIdentity{2200, "Any", "Any"});
    EXPECT_EQ(setArrangement(*two, in4, in4), 0);
    EXPECT_EQ(setArrangement(*two, inLR, outLR), 1);
}

// Chunks: the header, the block tags, what is ignored and what fails (keeping the state), and a
// state moved between two instances that then sound bit for bit the same.
TEST(CAudioWrapperVSTTest, ChunksRoundTripAndFailSafely) {
    auto a = makeHost();
    a->effect->setParameter(a->effect, kThresh, 0.2f);
    a->effect->setParameter(a->effect, kRatio, 0.7f);
    const std::vector<uint8_t> preset = a->chunk(true), bank = a->chunk(false);
    for (const auto& [bytes, tag] : {std::pair{preset, CInputStream::blockId("aprs")}, std::pair{bank, CInputStream::blockId("abnk")}}) {
        ASSERT_GT(bytes.size(), 16u);
        EXPECT_EQ(std::vector<uint8_t>(bytes.begin(), bytes.begin() + 16), std::vector<uint8_t>(16, 0));
        CMemoryReader block(bytes.data() + 16, static_cast<uint32_t>(bytes.size() - 16));
        CByteBuffer record;
        EXPECT_EQ(message(block.readCompressedData(record, tag)), "") << tag;
        EXPECT_GT(record.size(), 0u);
    }

    // Nothing but the header: taken and ignored. The wrong tag, or damage: refused, state kept.
    EXPECT_EQ(a->setChunk(std::vector<uint8_t>(16, 0), true), 1);
    EXPECT_EQ(a->setChunk(std::vector<uint8_t>(16, 0), false), 1);
    EXPECT_EQ(a->setChunk(bank, true), 0);
    EXPECT_EQ(a->setChunk(preset, false), 0);
    std::vector<uint8_t> damaged = preset;
    for (size_t i = 30; i < damaged.size(); i += 7) damaged[i] ^= 0x5a;
    EXPECT_EQ(a->setChunk(damaged, true), 0);
    EXPECT_EQ(a->chunk(false), bank);
    EXPECT_FLOAT_EQ(a->effect->getParameter(a->effect, kThresh), 0.2f);

    // Another instance takes the bank whole, and then both sound the same, a fresh one not.
    auto b = makeHost();
    auto fresh = makeHost();
    EXPECT_NE(b->effect->getParameter(b->effect, kThresh), 0.2f);
    EXPECT_EQ(b->setChunk(bank, false), 1);
    EXPECT_FLOAT_EQ(b->effect->getParameter(b->effect, kThresh), 0.2f);
    EXPECT_FLOAT_EQ(b->effect->getParameter(b->effect, kRatio), 0.7f);
    // The first rewrite may order the string tables anew; from then on the state is stable.
    auto c = makeHost();
    EXPECT_EQ(c->setChunk(b->chunk(false), false), 1);
    EXPECT_EQ(c->chunk(false), b->chunk(false));
    EXPECT_EQ(c->chunk(true), b->chunk(true));

    const CVSTTestHost::TBlock signal = test::testSignal(2, 24000);
    for (CVSTTestHost* h : {a.get(), b.get(), fresh.get()}) h->resume();
    const CVSTTestHost::TBlock outA = a->run(signal), outB = b->run(signal, 300), outFresh = fresh->run(signal);
    EXPECT_TRUE(sameSamples(outA, outB));
    EXPECT_FALSE(sameSamples(outA, outFresh));

    // The program chunk alone carries the same sound.
    auto d = makeHost();
    EXPECT_EQ(d->setChunk(preset, true), 1);
    d->resume();
    EXPECT_TRUE(sameSamples(d->run(signal, 1000), outA));
}

// Several instances in one process keep to themselves: blocks of two differently set instances,
// interleaved, give what each gives alone.
TEST(CAudioWrapperVSTTest, InstancesShareNoState) {
    const CVSTTestHost::TBlock signal = test::testSignal(2, 16384);
    auto alone = [&](float thresh) {
        auto h = makeHost();
        h->effect->setParameter(h->effect, kThresh, thresh);
        h->resume();
        return h->run(signal);
    };
    const CVSTTestHost::TBlock soloA = alone(0.1f), soloB = alone(0.9f);
    ASSERT_FALSE(sameSamples(soloA, soloB));

    auto a = makeHost();
    auto b = makeHost();
    a->effect->setParameter(a->effect, kThresh, 0.1f);
    b->effect->setParameter(b->effect, kThresh, 0.9f);
    EXPECT_FLOAT_EQ(a->effect->getParameter(a->effect, kThresh), 0.1f);
    a->resume();
    b->resume();
    CVSTTestHost::TBlock outA(2, std::vector<float>(signal[0].size())), outB = outA;
    for (size_t at = 0; at < signal[0].size(); at += 512) {
        CVSTTestHost::TBlock piece(2);
        for (size_t c = 0; c < 2; ++c) piece[c].assign(signal[c].begin() + at, signal[c].begin() + at + 512);
        const CVSTTestHost::TBlock pa = a->run(piece), pb = b->run(piece);
        for (size_t c = 0; c < 2; ++c) {
            std::copy(pa[c].begin(), pa[c].end(), outA[c].begin() + at);
            std::copy(pb[c].begin(), pb[c].end(), outB[c].begin() + at);
        }
    }
    EXPECT_TRUE(sameSamples(outA, soloA));
    EXPECT_TRUE(sameSamples(outB, soloB));
}

// The block road through the adapter: latency told at resume (the uniformer's table value at the
// rate), bypass as a pure delay of exactly that, both precisions alike, MIDI taken and ignored.
TEST(CAudioWrapperVSTTest, LatencyBypassAndPrecision) {
    for (const auto& [rate, latency] : {std::pair{48000.0f, 1064}, std::pair{96000.0f, 1544}}) {
        auto h = makeHost();
        std::vector<uint8_t> mono = arrangement({"M"});
        ASSERT_EQ(setArrangement(*h, mono, mono), 1);
        h->effect->setParameter(h->effect, 0, 1.0f);  // Bypass
        h->resume(rate);
        EXPECT_EQ(h->effect->initialDelay, latency) << rate;
        const CVSTTestHost::TBlock in = test::testSignal(1, 12000, rate);
        const CVSTTestHost::TBlock out = h->run(in, 333);
        // Past the graph's start-up fades (60 ms), the output is the input exactly that late.
        const size_t warm = static_cast<size_t>(0.06 * rate), delay = static_cast<size_t>(latency);
        bool delayed = true;
        for (size_t i = warm; i < in[0].size(); ++i) delayed = delayed && out[0][i] == in[0][i - delay];
        EXPECT_TRUE(delayed) << rate;
        EXPECT_EQ(h->ioChanges, 0) << "a constant latency needs no I/O change";
    }

    // The same settings in float and in double, with MIDI in between that changes nothing.
    const CVSTTestHost::TBlock in = test::testSignal(2, 6000);
    auto f = makeHost();
    auto d = makeHost();
    f->resume();
    ASSERT_EQ(d->dispatch(CVSTOpcode::kSetProcessPrecision, 0, 1), 1);
    d->resume();
    CVSTMidiEvent note;
    note.midiData[0] = 0x91;
    note.midiData[1] = 60;
    note.midiData[2] = 0xff;
    CVSTEvents events;
    events.numEvents = 1;
    events.events[0] = reinterpret_cast<CVSTEvent*>(&note);
    EXPECT_EQ(f->dispatch(CVSTOpcode::kProcessEvents, 0, 0, &events), 1);
    const CVSTTestHost::TBlock outF = f->run(in);
    std::vector<double> l(in[0].begin(), in[0].end()), r(in[1].begin(), in[1].end()), ol(l.size()), orr(r.size());
    std::vector<double> silence(512), scratch(512);
    for (size_t at = 0; at < l.size(); at += 512) {
        const int32_t n = static_cast<int32_t>(std::min<size_t>(512, l.size() - at));
        std::vector<double*> ip(16, silence.data()), op(16, scratch.data());
        ip[0] = l.data() + at;
        ip[1] = r.data() + at;
        op[0] = ol.data() + at;
        op[1] = orr.data() + at;
        d->effect->processDoubleReplacing(d->effect, ip.data(), op.data(), n);
    }
    double largest = 0.0, energy = 0.0;
    for (size_t i = 0; i < l.size(); ++i) {
        largest = std::max({largest, std::fabs(ol[i] - outF[0][i]), std::fabs(orr[i] - outF[1][i])});
        energy += ol[i] * ol[i];
    }
    EXPECT_GT(energy, 1.0);
    EXPECT_LT(largest, 1e-5);
}

// A process level of 4 seen in a process call takes effect on that very block: with oversampling
// on "Auto", offline rendering oversamples, so the block differs from the real-time one.
TEST(CAudioWrapperVSTTest, OfflineLevelTakesEffectOnItsBlock) {
    auto realtime = makeHost();
    auto offline = makeHost();
    for (CVSTTestHost* h : {realtime.get(), offline.get()}) {
        h->effect->setParameter(h->effect, kOversampling, 0.0f);  // "Auto"
        h->resume();
    }
    offline->processLevel = CVSTHostOpcode::kLevelOffline;
    const CVSTTestHost::TBlock in = test::testSignal(2, 4096);
    const CVSTTestHost::TBlock outR = realtime->run(in, 4096), outO = offline->run(in, 4096);
    double difference = 0.0;
    for (size_t i = 0; i < in[0].size(); ++i) difference = std::max(difference, static_cast<double>(std::fabs(outR[0][i] - outO[0][i])));
    EXPECT_GT(difference, 1e-4);
}
