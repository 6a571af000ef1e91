#pragma once
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "Tools/defc/CDefcNode.h"

namespace orl {

// Writes an expanded definition tree in the compiled form the loader reads: a string table
// (ids in order of first use, the pool sorted by bytes) followed by the root fragment.
class CDefTreeWriter {
public:
    bool write(const CDefcNode& root, std::vector<uint8_t>& out);
    const std::string& error() const { return m_error; }

private:
    bool collect(const CDefcNode& node);
    bool collectChild(const CDefcNode& child);
    bool idOf(const std::string& text);
    bool emitNode(const CDefcNode& node, std::vector<uint8_t>& out);
    bool emitChild(const CDefcNode& child, std::vector<uint8_t>& out);
    bool emitCount(size_t count, const char* what, std::vector<uint8_t>& out);

    std::map<std::string, uint32_t> m_ids;
    std::vector<const std::string*> m_byId;
    std::string m_error;
};

}  // namespace orl
