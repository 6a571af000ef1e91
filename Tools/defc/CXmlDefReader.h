#pragma once
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Tools/defc/CDefcNode.h"

namespace pugi {
class xml_node;
}

namespace orl {

// Reads a definition file of our XML dialect into a tree with every compile-time template
// expanded. The dialect is described in Definitions/README.md.
class CXmlDefReader {
public:
    // Reads `path` into `root` (the root element's attributes and children). On failure returns
    // false and leaves a message in error().
    bool read(const std::string& path, CDefcNode& root);
    const std::string& error() const { return m_error; }
    // Every file read, the main one and its includes, for the build's dependency list.
    const std::vector<std::string>& filesRead() const { return m_files; }

private:
    using TScope = std::map<std::string, const CDefcNode*>;
    bool readFile(const std::string& path, std::vector<CDefcNode>& out, CDefcNode* rootAttrs, std::vector<TScope>& scopes,
                  int depth);
    bool readChildren(const pugi::xml_node& parent, const std::string& dir, std::vector<CDefcNode>& out,
                      std::vector<TScope>& scopes, int depth);
    bool readElement(const pugi::xml_node& element, const std::string& dir, std::vector<CDefcNode>& out,
                     std::vector<TScope>& scopes, int depth);
    bool defineTemplate(const pugi::xml_node& element, const std::string& dir, std::vector<TScope>& scopes, int depth,
                        CDefcNode& out);
    const CDefcNode* findTemplate(const std::vector<TScope>& scopes, const std::string& name) const;
    bool fail(const pugi::xml_node& at, const std::string& message);

    std::string m_error;
    std::string m_currentFile;
    std::vector<std::string> m_files;
    // Compile-time templates live as long as the reader, since expansions copy from them.
    std::vector<std::unique_ptr<CDefcNode>> m_defines;
};

}  // namespace orl
