#include "Tools/defc/CDefTreeWriter.h"

#include <algorithm>

namespace orl {

namespace {

constexpr uint32_t kMaxStrings = 65536;

void put16(std::vector<uint8_t>& out, uint32_t v) {
    out.push_back(static_cast<uint8_t>(v));
    out.push_back(static_cast<uint8_t>(v >> 8));
}

void put32(std::vector<uint8_t>& out, uint32_t v) {
    put16(out, v & 0xFFFF);
    put16(out, v >> 16);
}

}  // namespace

bool CDefTreeWriter::idOf(const std::string& text) {
    if (m_ids.count(text)) return true;
    if (m_ids.size() >= kMaxStrings) {
        m_error = "more than 65536 distinct strings";
        return false;
    }
    auto it = m_ids.emplace(text, static_cast<uint32_t>(m_ids.size())).first;
    m_byId.push_back(&it->first);
    return true;
}

// Ids follow the order of first use in a depth-first walk: a child's tag, its name, its
// attributes' keys and values in turn, then its children.
bool CDefTreeWriter::collect(const CDefcNode& node) {
    for (const auto& [key, value] : node.attrs) {
        if (!idOf(key) || !idOf(value)) return false;
    }
    for (const CDefcNode& child : node.children) {
        if (!collectChild(child)) return false;
    }
    return true;
}

bool CDefTreeWriter::collectChild(const CDefcNode& child) {
    if (!idOf(child.tag) || !idOf(child.name)) return false;
    if (!child.isRuntimeTemplate) return collect(child);
    const CDefcNode& prototype = child.prototype.front();
    return idOf(prototype.tag) && collect(prototype);
}

bool CDefTreeWriter::emitCount(size_t count, const char* what, std::vector<uint8_t>& out) {
    if (count > 0xFFFF) {
        m_error = std::string("more than 65535 ") + what + " on one object";
        return false;
    }
    put16(out, static_cast<uint32_t>(count));
    return true;
}

bool CDefTreeWriter::emitNode(const CDefcNode& node, std::vector<uint8_t>& out) {
    out.push_back(0);
    if (!emitCount(node.attrs.size(), "attributes", out)) return false;
    for (const auto& [key, value] : node.attrs) {
        put16(out, m_ids.at(key));
        put16(out, m_ids.at(value));
    }
    if (!emitCount(node.children.size(), "children", out)) return false;
    for (const CDefcNode& child : node.children) {
        if (!emitChild(child, out)) return false;
    }
    return true;
}

bool CDefTreeWriter::emitChild(const CDefcNode& child, std::vector<uint8_t>& out) {
    put16(out, m_ids.at(child.tag));
    put16(out, m_ids.at(child.name));
    if (!child.isRuntimeTemplate) return emitNode(child, out);
    // A run-time template: its class, then its prototype as a fragment of its own.
    const CDefcNode& prototype = child.prototype.front();
    const uint32_t classId = m_ids.at(prototype.tag);
    out.push_back(1);
    put16(out, classId);
    const size_t lengthAt = out.size();
    put32(out, 0);
    const size_t fragmentAt = out.size();
    put32(out, classId);
    if (!emitNode(prototype, out)) return false;
    const uint32_t length = static_cast<uint32_t>(out.size() - fragmentAt);
    for (int i = 0; i < 4; ++i) out[lengthAt + i] = static_cast<uint8_t>(length >> (8 * i));
    return true;
}

bool CDefTreeWriter::write(const CDefcNode& root, std::vector<uint8_t>& out) {
    m_ids.clear();
    m_byId.clear();
    m_error.clear();
    if (!idOf("") || !collect(root)) return false;

    // The pool holds each text once, sorted by bytes; the offsets follow the ids.
    std::vector<const std::string*> sorted(m_byId);
    std::sort(sorted.begin(), sorted.end(), [](const std::string* a, const std::string* b) { return *a < *b; });
    // A tree that names nothing needs no table at all, not even the empty string.
    if (m_byId.size() == 1) {
        m_byId.clear();
        sorted.clear();
    }
    const uint32_t n = static_cast<uint32_t>(m_byId.size());
    std::map<const std::string*, uint32_t> poolOffset;
    uint32_t at = 4 * n;
    for (const std::string* s : sorted) {
        poolOffset[s] = at;
        at += static_cast<uint32_t>(s->size()) + 1;
    }
    out.clear();
    put32(out, n);
    put32(out, at);
    for (const std::string* s : m_byId) put32(out, poolOffset.at(s));
    for (const std::string* s : sorted) {
        out.insert(out.end(), s->begin(), s->end());
        out.push_back(0);
    }
    put32(out, 0);  // the root fragment's tag id
    return emitNode(root, out);
}

}  // namespace orl
