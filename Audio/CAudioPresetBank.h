#pragma once
#include <cstdint>

#include "Audio/CAudioPreset.h"
#include "Core/CArray.h"
#include "Core/CInputStream.h"
#include "Core/CString.h"

namespace orl {

class CError;
class COutputStream;

// A named list of presets: the factory bank, the session bank of the host's programs, and the
// lists of partial presets that the UI keeps in stored application data.
//
// Bank record: string name, u32 preset count, then the preset records one after the other. As
// a file, chunk or resource it is a compressed block with id "abnk". A list record (stored
// data of type "alst") is u32 1 followed by a bank record with an empty name.
class CAudioPresetBank {
public:
    static constexpr uint32_t kBlockId = CInputStream::blockId("abnk");
    static constexpr uint32_t kListVersion = 1;

    CAudioPresetBank() = default;
    explicit CAudioPresetBank(const CString& name) : m_name(name) {}

    const CString& name() const { return m_name; }
    void setName(const CString& name) { m_name = name; }
    int32_t count() const { return m_presets.count(); }
    bool isEmpty() const { return m_presets.isEmpty(); }
    CAudioPreset& preset(int32_t i) { return m_presets[i]; }
    const CAudioPreset& preset(int32_t i) const { return m_presets[i]; }
    void add(const CAudioPreset& preset) { m_presets.add(preset); }
    void clear() { m_presets.clear(); }

    // The bank record. read replaces name and presets only when the whole record was read.
    CError* read(CInputStream& in);
    CError* write(COutputStream& out) const;
    // The bank record inside a compressed block of id "abnk".
    CError* readCompressed(CInputStream& in);
    CError* writeCompressed(COutputStream& out) const;
    // The list record: version 1, then the bank with an empty name (the name isn't written, and
    // reads back empty).
    CError* readList(CInputStream& in);
    CError* writeList(COutputStream& out) const;

private:
    CString m_name;
    CArray<CAudioPreset> m_presets;
};

}  // namespace orl
