// Writes the factory bank and the preset lists from their readable source.
//   orl_presetc SharedData.xml.bin Presets.xml OUTDIR
// The presets are made by a real instance of the plug-in built from the compiled definitions:
// each preset's values are set on its parameters through their converters (the same text as a
// definition's def-values), and the registry captures the preset. So every item has exactly the
// layout that the plug-in reads back, and nothing here knows a storage format.
//
// Source: <presets> holds <bank> and <list> elements, each with `registry` (the registry object
// below the instance root), `out` (file name in OUTDIR), `group` (-1 to capture every group, or the
// group captured) and optionally `keys` (the items kept, blank-separated; a captured key not named
// is dropped, a named key not captured is an error). A <bank> is written as a compressed bank
// block; a <list> as the payload of a stored list (u32 1, then a bank record with an empty name).
// Each <preset name="..."> starts from every parameter's default and holds <value key="..."
// text="..."/> children, keys relative to the registry's hierarchy. A value of a parameter that
// has groups goes to every group. The registry's preset name parameter takes the preset's name.
#include <pugixml.hpp>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <sstream>
#include <string>

#include "Audio/CAudioParam.h"
#include "Audio/CAudioParamChange.h"
#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamData.h"
#include "Audio/CAudioParamInfo.h"
#include "Audio/CAudioParamLockContext.h"
#include "Audio/CAudioParamRegistry.h"
#include "Audio/CAudioPreset.h"
#include "Audio/CAudioPresetBank.h"
#include "Audio/CAudioWrapper.h"
#include "Core/CApplication.h"
#include "Core/CByteBufferWriter.h"
#include "Core/CError.h"
#include "Core/CObject.h"

using namespace orl;

namespace {

// An instance with nobody to tell of anything.
class CSilentHost : public CAudioWrapper {
public:
    void hostAutomate(int32_t, double) override {}
    void hostUpdateDisplay() override {}
    void hostBeginEdit(int32_t) override {}
    void hostEndEdit(int32_t) override {}
    void hostResizeWindow(int32_t, int32_t) override {}
};

int fail(const std::string& what) {
    std::fprintf(stderr, "orl_presetc: %s\n", what.c_str());
    return 1;
}

std::string text(const CError* err) {
    if (!err) return std::string();
    std::string out;
    for (int32_t i = 0; i < err->lineCount(); ++i) out += std::string(err->line(i).c8()) + "; ";
    return out;
}

// Sets a parameter from def-values text, in every group it has (or group 0 alone).
bool setFromText(CAudioParam& param, const std::string& value, int32_t groupCount, std::string& why) {
    const CAudioParamInfo* info = param.info();
    if (!info) {
        why = "has no definition";
        return false;
    }
    CAudioParamInfo parsed = *info;
    if (CError* err = parsed.parseDefValues(CString(value.c_str()))) {
        why = text(err);
        deleteError(err);
        return false;
    }
    CAudioParamData table;
    CArray<double> numbers;
    if (info->dataType == CAudioParamInfo::kNumeric) {
        numbers = parsed.defaultNumbers;
    } else {
        for (const CString& t : parsed.defaultTexts) numbers.add(info->dataType == CAudioParamInfo::kString
                                                                     ? static_cast<double>(table.addString(t))
                                                                     : static_cast<double>(table.addRaw(t.c8(), static_cast<uint32_t>(std::strlen(t.c8())))));
    }
    const int32_t size = info->elementSize > 0 ? info->elementSize : 1;
    const int32_t groups = info->singleGroup ? 1 : groupCount;
    CAudioParamLockContext lock(param);
    for (int32_t g = 0; g < groups; ++g) {
        CAudioParamChange record;
        record.setTarget(param.uiStorage(), g, 0, numbers.count() / size, nullptr);
        record.tail = true;
        record.numbers = numbers.data();
        record.data = &table;
        if (!param.change(record, &lock)) {
            why = "refused the value";
            return false;
        }
    }
    return true;
}

std::set<std::string> splitKeys(const char* keys) {
    std::set<std::string> out;
    std::istringstream in(keys ? keys : "");
    std::string key;
    while (in >> key) out.insert(key);
    return out;
}

bool writeFile(const std::string& path, const CByteBuffer& bytes) {
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return false;
    const bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    return std::fclose(f) == 0 && ok;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: orl_presetc SharedData.xml.bin Presets.xml OUTDIR\n");
        return 2;
    }
    const std::string outDir = argv[3];
    // The instance reads and may write stored data: keep it in the build folder, never the user's.
    const std::string home = outDir + "/presetc-home";
    setenv("XDG_CONFIG_HOME", home.c_str(), 1);

    pugi::xml_document doc;
    const pugi::xml_parse_result parsed = doc.load_file(argv[2]);
    if (!parsed) return fail(std::string(argv[2]) + ": " + parsed.description());

    CApplication::CSetup setup;
    setup.sharedData = argv[1];
    if (!CApplication::load(setup)) return fail("the definitions did not load");
    int status = 0;
    {
        auto host = std::make_unique<CSilentHost>();
        if (CError* err = host->init()) {
            const std::string why = text(err);
            deleteError(err);
            CApplication::unload();
            return fail("the instance did not start: " + why);
        }
        host->finishInit();
        const int32_t groupCount = host->getGroupCount();

        for (pugi::xml_node set : doc.child("presets").children()) {
            const std::string kind = set.name();
            if (kind != "bank" && kind != "list") continue;
            auto* registry =
                dynamic_cast<CAudioParamRegistry*>(host->instanceRoot()->findObject(CString(set.attribute("registry").value())));
            if (!registry) {
                status = fail(std::string("no registry ") + set.attribute("registry").value());
                break;
            }
            const int32_t group = set.attribute("group").as_int(-1);
            const std::set<std::string> keys = splitKeys(set.attribute("keys").value());
            CAudioPresetBank bank(CString(set.attribute("name").value()));
            for (pugi::xml_node p : set.children("preset")) {
                const std::string name = p.attribute("name").value();
                host->registry()->masterReset();
                if (CAudioParam* nameParam = registry->presetNameParam()) {
                    std::string why;
                    if (!setFromText(*nameParam, name, groupCount, why)) {
                        status = fail(name + ": preset name: " + why);
                        break;
                    }
                }
                for (pugi::xml_node v : p.children("value")) {
                    const std::string key = v.attribute("key").value();
                    CAudioParam* param = registry->findParam(CString(key.c_str()));
                    std::string why = "is not a parameter of the registry";
                    if (!param || !setFromText(*param, v.attribute("text").value(), groupCount, why)) {
                        status = fail(name + ": " + key + " " + why);
                        break;
                    }
                }
                if (status) break;
                CAudioPreset preset;
                registry->capturePreset(preset, group);
                preset.setName(registry->id() + CString(":") + CString(name.c_str()));
                if (!keys.empty()) {
                    std::set<std::string> captured;
                    CArray<CString> dropped;
                    for (const auto& [key, bytes] : preset.items()) {
                        captured.insert(key.c8());
                        if (!keys.count(key.c8())) dropped.add(key);
                    }
                    for (const CString& key : dropped) preset.removeItem(key);
                    for (const std::string& key : keys) {
                        if (!captured.count(key)) status = fail(name + ": no item " + key + " was captured");
                    }
                    if (status) break;
                }
                bank.add(preset);
            }
            if (status) break;

            CByteBuffer bytes;
            CError* err = nullptr;
            {
                CByteBufferWriter out(bytes);
                err = kind == "bank" ? bank.writeCompressed(out) : bank.writeList(out);
            }
            const std::string path = outDir + "/" + set.attribute("out").value();
            if (err) {
                status = fail(path + ": " + text(err));
                deleteError(err);
                break;
            }
            if (!writeFile(path, bytes)) {
                status = fail("cannot write " + path);
                break;
            }
        }
    }
    CApplication::unload();
    return status;
}
