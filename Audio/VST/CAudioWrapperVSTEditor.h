#pragma once
#include <cstdint>

#include "Audio/VST/CVSTEditorBase.h"

namespace orl {

class CAudioWrapperVST;
class CObject;

// The editor of one instance: at open a UI root of its own, loaded from the resource
// "UserInterface.xml" with the instance root, the host's window and the UI scale as its
// attributes; the window renderer of that tree is what draws. While the product has no window
// tree, open fails and the host shows no editor.
class CAudioWrapperVSTEditor : public CVSTEditorBase {
public:
    explicit CAudioWrapperVSTEditor(CAudioWrapperVST& owner);
    ~CAudioWrapperVSTEditor() override;

    bool open(void* parent) override;
    void close() override;
    void onWheel(float distance) override;

    CObject* uiRoot() const { return m_uiRoot; }

private:
    void destroyRoot();

    CAudioWrapperVST& m_owner;
    CObject* m_uiRoot = nullptr;
    CObject* m_renderer = nullptr;
};

}  // namespace orl
