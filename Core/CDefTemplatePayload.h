#pragma once
#include <cstdint>

#include "Core/CString.h"
#include "Core/CTemplatePayload.h"

namespace orl {

class CDefStringTable;

// A run-time template read from a compiled definition tree: the class its instances get and its
// prototype fragment, left unparsed until an instance is made. A fragment in a resource is
// pointed at; one from a file is copied, since the file's buffer goes when loading ends.
class CDefTemplatePayload : public CTemplatePayload {
public:
    // Takes a reference to the string table.
    CDefTemplatePayload(CDefStringTable* strings, const CString& classTag, const uint8_t* fragment, uint32_t length,
                        bool isStatic);
    ~CDefTemplatePayload() override;
    CDefTemplatePayload(const CDefTemplatePayload&) = delete;
    CDefTemplatePayload& operator=(const CDefTemplatePayload&) = delete;

    const CString& classTag() const override { return m_classTag; }
    CError* applyAttributes(CObject* instance) override;
    CError* createChildren(CObject* instance) override;

    bool isStatic() const { return m_isStatic; }
    const uint8_t* fragment() const { return m_fragment; }
    uint32_t length() const { return m_length; }

private:
    static constexpr uint32_t kInlineBytes = 64;

    CString m_classTag;
    CDefStringTable* m_strings;
    bool m_isStatic;
    const uint8_t* m_fragment;
    uint32_t m_length;
    uint8_t* m_heapCopy = nullptr;
    alignas(8) uint8_t m_inline[kInlineBytes];
};

}  // namespace orl
