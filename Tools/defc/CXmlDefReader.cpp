#include "Tools/defc/CXmlDefReader.h"

#include <cstring>
#include <pugixml.hpp>

namespace orl {

namespace {

// Deep enough for any real layout, shallow enough to stop an include cycle quickly.
constexpr int kMaxDepth = 200;

std::string folderOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string(".") : path.substr(0, slash);
}

bool isBlank(const char* text) {
    for (; *text; ++text) {
        if (*text != ' ' && *text != '\t' && *text != '\r' && *text != '\n') return false;
    }
    return true;
}

}  // namespace

bool CXmlDefReader::read(const std::string& path, CDefcNode& root) {
    m_error.clear();
    root = CDefcNode();
    std::vector<TScope> scopes(1);
    return readFile(path, root.children, &root, scopes, 0);
}

bool CXmlDefReader::fail(const pugi::xml_node& at, const std::string& message) {
    if (m_error.empty()) {
        m_error = m_currentFile + ": <" + std::string(at.name()) + "> (byte " + std::to_string(at.offset_debug()) +
                  "): " + message;
    }
    return false;
}

bool CXmlDefReader::readFile(const std::string& path, std::vector<CDefcNode>& out, CDefcNode* rootAttrs,
                             std::vector<TScope>& scopes, int depth) {
    if (depth > kMaxDepth) {
        m_error = path + ": includes nested too deeply (a cycle?)";
        return false;
    }
    pugi::xml_document doc;
    const pugi::xml_parse_result parsed = doc.load_file(path.c_str(), pugi::parse_default, pugi::encoding_utf8);
    if (!parsed) {
        m_error = path + ": " + parsed.description() + " at byte " + std::to_string(parsed.offset);
        return false;
    }
    m_files.push_back(path);
    const std::string outerFile = m_currentFile;
    m_currentFile = path;
    const pugi::xml_node top = doc.document_element();
    if (rootAttrs) {
        for (const pugi::xml_attribute& a : top.attributes()) {
            if (std::strcmp(a.name(), "name") != 0) rootAttrs->setAttr(a.name(), a.value());
        }
    }
    // An included file's templates stay visible to the file that includes it.
    const bool ok = readChildren(top, folderOf(path), out, scopes, depth + 1);
    m_currentFile = outerFile;
    return ok;
}

bool CXmlDefReader::readChildren(const pugi::xml_node& parent, const std::string& dir, std::vector<CDefcNode>& out,
                                 std::vector<TScope>& scopes, int depth) {
    for (const pugi::xml_node& n : parent.children()) {
        if (n.type() == pugi::node_pcdata || n.type() == pugi::node_cdata) {
            if (!isBlank(n.value())) return fail(parent, "text content is not part of the dialect; use a value attribute");
            continue;
        }
        if (n.type() != pugi::node_element) continue;
        if (!readElement(n, dir, out, scopes, depth)) return false;
    }
    return true;
}

const CDefcNode* CXmlDefReader::findTemplate(const std::vector<TScope>& scopes, const std::string& name) const {
    for (auto it = scopes.rbegin(); it != scopes.rend(); ++it) {
        auto found = it->find(name);
        if (found != it->end()) return found->second;
    }
    return nullptr;
}

bool CXmlDefReader::defineTemplate(const pugi::xml_node& element, const std::string& dir, std::vector<TScope>& scopes,
                                   int depth, CDefcNode& out) {
    const std::string name = element.attribute("name").value();
    const std::string cls = element.attribute("class").value();
    if (name.empty()) return fail(element, "a template needs a name");
    if (cls.empty()) return fail(element, "template '" + name + "' needs a class");
    // A template may build on another one: it then starts from that one's prototype.
    if (const CDefcNode* base = findTemplate(scopes, cls)) {
        out.tag = base->tag;
        out.attrs = base->attrs;
        out.children = base->children;
    } else {
        out.tag = cls;
    }
    for (const pugi::xml_attribute& a : element.attributes()) {
        if (std::strcmp(a.name(), "name") != 0 && std::strcmp(a.name(), "class") != 0) out.setAttr(a.name(), a.value());
    }
    scopes.emplace_back();
    const bool ok = readChildren(element, dir, out.children, scopes, depth + 1);
    scopes.pop_back();
    return ok;
}

bool CXmlDefReader::readElement(const pugi::xml_node& element, const std::string& dir, std::vector<CDefcNode>& out,
                                std::vector<TScope>& scopes, int depth) {
    if (depth > kMaxDepth) return fail(element, "elements nested too deeply");
    const std::string tag = element.name();
    if (tag == "define" || tag == "template") {
        auto prototype = std::make_unique<CDefcNode>();
        if (!defineTemplate(element, dir, scopes, depth, *prototype)) return false;
        const std::string name = element.attribute("name").value();
        scopes.back()[name] = prototype.get();
        if (tag == "template") {
            CDefcNode held;
            held.tag = "template";
            held.name = name;
            held.isRuntimeTemplate = true;
            held.prototype.push_back(*prototype);
            out.push_back(std::move(held));
        }
        m_defines.push_back(std::move(prototype));
        return true;
    }
    if (tag == "include") {
        const std::string file = element.attribute("file").value();
        if (file.empty()) return fail(element, "an include needs a file");
        return readFile(file[0] == '/' ? file : dir + "/" + file, out, nullptr, scopes, depth + 1);
    }
    CDefcNode node;
    if (const CDefcNode* templ = findTemplate(scopes, tag)) {
        node.tag = templ->tag;
        node.attrs = templ->attrs;
        node.children = templ->children;
    } else {
        node.tag = tag;
    }
    for (const pugi::xml_attribute& a : element.attributes()) {
        if (std::strcmp(a.name(), "name") == 0) {
            node.name = a.value();
        } else {
            node.setAttr(a.name(), a.value());
        }
    }
    scopes.emplace_back();
    const bool ok = readChildren(element, dir, node.children, scopes, depth + 1);
    scopes.pop_back();
    if (ok) out.push_back(std::move(node));
    return ok;
}

}  // namespace orl
